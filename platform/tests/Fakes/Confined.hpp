#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <functional>
#include <string>

#include "base/Descriptor.hpp"
#include "confine/Confinement.hpp"

/// Processes that have confined themselves, and what becomes of them.
namespace kestrelune::confined {

/// Somebody who listens on this machine.
class Listener {
 public:
  Listener() {
    if (bind(socket_.number(), address(), sizeof address_) != 0 || listen(socket_.number(), 4) != 0) throw errno;
    socklen_t size = sizeof address_;
    getsockname(socket_.number(), address(), &size);
  }
  std::uint16_t port() const { return ntohs(address_.sin_port); }
  Descriptor accepted() const { return Descriptor(accept(socket_.number(), nullptr, nullptr)); }
  /// An error number, or 0.
  int connectTo() const {
    const Descriptor other(socket(AF_INET, SOCK_STREAM, 0));
    if (!other) return errno;
    return connect(other.number(), reinterpret_cast<const sockaddr*>(&address_), sizeof address_) == 0 ? 0 : errno;
  }

 private:
  sockaddr* address() { return reinterpret_cast<sockaddr*>(&address_); }
  Descriptor socket_{socket(AF_INET, SOCK_STREAM, 0)};
  sockaddr_in address_{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
};

/// Confines the process; empty, or why not.
using Confining = std::function<std::string()>;

/// How a process ends that confines itself and then does this: its status, negative for the signal that ended it.
inline int fate(const Confining& confining, const std::function<int()>& attempt) {
  const pid_t pid = fork();
  if (pid == 0) _exit(confining().empty() ? attempt() : 255);
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// What becomes of the attempts to read a file, to connect, to become another program, and to signal the parent.
inline std::array<int, 4> fates(const Confining& confining, const std::string& file, const Listener& listener) {
  const auto of = [&](const std::function<int()>& attempt) { return fate(confining, attempt); };
  const auto result = [](bool done) { return done ? 0 : errno; };
  return {of([&] { return result(open(file.c_str(), O_RDONLY) >= 0); }), of([&] { return listener.connectTo(); }),
          of([&] { return result(execl("/bin/true", "true", nullptr) == 0); }),
          of([&, parent = getpid()] { return result(kill(parent, SIGURG) == 0); })};
}

/// What the kernel says of a process under this name.
inline std::string statusOf(pid_t pid, const std::string& name) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(name + ":\t")) return line.substr(name.size() + 2);
  return "";
}

}  // namespace kestrelune::confined
