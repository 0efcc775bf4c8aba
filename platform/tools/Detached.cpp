#include "Detached.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "base/Bundle.hpp"
#include "base/Files.hpp"

namespace kestrelune::tools {
namespace {

constexpr int kFirstOwn = STDERR_FILENO + 1;

std::vector<std::string> programsIn(const Url& folder) {
  std::vector<std::string> found;
  for (const std::string& name : systemFiles().list(folder.path()).value)
    if (const std::string path = folder.appending(name).path(); isExecutableFile(systemFiles(), path))
      found.push_back(path);
  return found;
}

}  // namespace

int startDetached(const std::string& program) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  sigset_t all, none;
  std::memset(&all, 0xff, sizeof all);
  sigemptyset(&none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
  posix_spawn_file_actions_addclosefrom_np(&actions, kFirstOwn);
  std::string name = program;
  char* const arguments[] = {name.data(), nullptr};
  pid_t pid = 0;
  const int error = posix_spawn(&pid, program.c_str(), &actions, &attributes, arguments, environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  return error;
}

std::string programOf(const std::string& bundle) {
  const Bundle application(Url::file(bundle));
  const Url folder = application.contents("MacOS");
  if (const auto name = application.infoString("CFBundleExecutable")) {
    const bool isBare = !name->empty() && name->find('/') == std::string::npos;
    const std::string path = folder.appending(*name).path();
    return isBare && isExecutableFile(systemFiles(), path) ? path : "";
  }
  const std::vector<std::string> programs = programsIn(folder);
  return programs.size() == 1 ? programs.front() : "";
}

}  // namespace kestrelune::tools
