#include "session/DesktopTerminal.hpp"

#include <fcntl.h>

#include <deque>
#include <utility>

#include "base/System.hpp"
#include "base/Text.hpp"
#include "session/DesktopEntry.hpp"
#include "session/SessionCopy.hpp"

namespace kestrelune {

using session_copy::Key;

Environment environmentForChildren(Environment environment) {
  environment.erase("XDG_ACTIVATION_TOKEN");
  environment.erase("DESKTOP_STARTUP_ID");
  return environment;
}

/// One command on its way to a terminal.
struct DesktopTerminal::Attempt {
  std::string command;
  std::string shell;
  std::function<void(const std::string&)> failed;
  std::deque<terminal_plan::Emulator> left;
  std::string marker;  ///< exists until the command begins
  std::string tried;   ///< the emulator that was tried last
};

DesktopTerminal::DesktopTerminal(TaskLauncher& launcher, RunLoop& loop, Files& files, Environment environment,
                                 bool hasDisplay, bool dryRun)
    : launcher_(launcher),
      loop_(loop),
      files_(files),
      environment_(environmentForChildren(std::move(environment))),
      hasDisplay_(hasDisplay),
      dryRun_(dryRun) {}

void DesktopTerminal::setEnvironment(Environment environment, bool hasDisplay) {
  environment_ = environmentForChildren(std::move(environment));
  hasDisplay_ = hasDisplay;
}

void DesktopTerminal::run(const std::string& command, std::function<void(const std::string&)> failed) {
  if (dryRun_) return;
  if (!hasDisplay_)
    return loop_.post([failed = std::move(failed)] { failed(session_copy::text(Key::noDisplayCommand)); });
  auto attempt = std::make_shared<Attempt>();
  attempt->command = command;
  attempt->failed = std::move(failed);
  for (terminal_plan::Emulator& emulator : terminal_plan::candidates(environment_)) {
    emulator.name = desktop_entry::findExecutable(files_, environment_, emulator.name);
    if (emulator.name.empty()) continue;
    terminal_plan::takeForm(emulator, Url::file(emulator.name).resolvingSymbolicLinks().lastComponent());
    attempt->left.push_back(std::move(emulator));
  }
  attempt->shell = desktop_entry::findExecutable(files_, environment_, terminal_plan::shellOf(environment_));
  if (attempt->shell.empty()) attempt->shell = "/bin/sh";
  attempt->marker = makeMarker();
  loop_.post(lifetime_.guarded([this, attempt] { tryNext(attempt); }));
}

std::string DesktopTerminal::makeMarker() const {
  const auto folder = environment_.find("XDG_RUNTIME_DIR");
  const bool usable = folder != environment_.end() && folder->second.starts_with('/');
  std::string path = (usable ? folder->second : "/tmp") + "/kestrelune-" + text::makeUuid();
  const Outcome<int> file = files_.open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (file) files_.close(file.value);
  return path;
}

void DesktopTerminal::tryNext(const std::shared_ptr<Attempt>& attempt) {
  while (!attempt->left.empty()) {
    const terminal_plan::Emulator emulator = std::move(attempt->left.front());
    attempt->left.pop_front();
    attempt->tried = emulator.name;
    TaskRequest request;
    request.executable = emulator.name;
    request.arguments = terminal_plan::emulatorArguments(
        emulator, terminal_plan::shellArguments(attempt->shell, attempt->marker, attempt->command));
    request.environment = environment_;
    request.folder = system::homeFolder().path();
    request.detached = true;
    const auto child =
        launcher_.launch(request, lifetime_.guarded([this, attempt](const TaskEnd& end) { ended(attempt, end); }));
    if (child.value) return;  // it goes on without us
  }
  files_.unlink(attempt->marker);
  attempt->failed(attempt->tried.empty() ? session_copy::text(Key::noTerminal)
                                         : text::filled(session_copy::text(Key::terminalFailed), {attempt->tried}));
}

void DesktopTerminal::ended(const std::shared_ptr<Attempt>& attempt, const TaskEnd& end) {
  // An emulator that only asks a running one for a window ends at once and well, before the command began.
  const bool well = end.reason == TaskEnd::Reason::exited && end.status == 0;
  const bool began = files_.access(attempt->marker, 0) != 0;
  if (!well && !began) tryNext(attempt);
}

}  // namespace kestrelune
