#include "base/Descriptor.hpp"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace kestrelune {
namespace {

/// Keeps the SIGPIPE of this thread's own writes from being delivered.
class PipeSignalHeld {
 public:
  PipeSignalHeld() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  ~PipeSignalHeld() {
    const timespec now{};
    if (!wasPending_)
      while (sigtimedwait(&pipe_, nullptr, &now) == -1 && errno == EINTR) continue;
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  PipeSignalHeld(const PipeSignalHeld&) = delete;
  PipeSignalHeld& operator=(const PipeSignalHeld&) = delete;

 private:
  sigset_t pipe_{}, before_{};
  bool wasPending_ = false;
};

}  // namespace

void Descriptor::reset() {
  if (number_ >= 0) ::close(std::exchange(number_, -1));
}

int writeAll(int descriptor, const char* bytes, std::size_t size) {
  const PipeSignalHeld held;
  while (size > 0) {
    const ssize_t written = ::write(descriptor, bytes, size);
    if (written > 0) {
      bytes += written;
      size -= static_cast<std::size_t>(written);
      continue;
    }
    if (written == 0) return EIO;
    if (errno == EAGAIN) {
      pollfd writable{descriptor, POLLOUT, 0};
      ::poll(&writable, 1, -1);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

}  // namespace kestrelune
