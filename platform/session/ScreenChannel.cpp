#include "session/ScreenChannel.hpp"

#include <signal.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "base/Descriptor.hpp"
#include "base/Lifetime.hpp"
#include "base/Messages.hpp"

namespace kestrelune {
namespace {

/// Read, and lines handed over, in one pass at most, so that a chattering screen leaves time for others. A line may
/// mean as much work as composing a menu.
constexpr std::size_t kMostInOnePass = 1u << 20;
constexpr int kMostLinesInOnePass = 32;

/// Calls back while a descriptor takes bytes. The loop watches for reading only; an epoll set is itself readable when
/// something in it is ready.
class WritableWatch {
 public:
  WritableWatch(RunLoop& loop, int descriptor, RunLoop::Work work) : set_(epoll_create1(EPOLL_CLOEXEC)) {
    epoll_event event{};
    event.events = EPOLLOUT;
    if (epoll_ctl(set_.number(), EPOLL_CTL_ADD, descriptor, &event) == 0)
      watch_ = loop.watch(set_.number(), std::move(work));
    else
      watch_ = loop.after(1, std::move(work));
  }

 private:
  Descriptor set_;
  std::unique_ptr<Subscription> watch_;
};

class ScreenProcess final : public ScreenChannel {
 public:
  ScreenProcess(RunLoop& loop, Descriptor socket, Events events)
      : loop_(loop), socket_(std::move(socket)), events_(std::move(events)) {
    watch_ = loop_.watch(socket_.number(), [this] { readable(); });
  }

  bool launch(TaskLauncher& launcher, const TaskRequest& request) {
    auto child = launcher.launch(request, lifetime_.guarded([this](const TaskEnd&) { processEnded(); }));
    task_ = std::move(child.value);
    return task_ != nullptr;
  }

  std::size_t write(std::string_view bytes) override {
    std::size_t written = 0;
    while (written < bytes.size()) {
      const ssize_t count =
          ::send(socket_.number(), bytes.data() + written, bytes.size() - written, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) break;
      written += static_cast<std::size_t>(count);
    }
    // A connection that is gone is told by the reading side.
    if (written < bytes.size() && !writable_) {
      writable_ = std::make_unique<WritableWatch>(loop_, socket_.number(), [this] {
        const auto done = std::move(writable_);
        events_.writable();
      });
    }
    return written;
  }

  void kill() override {
    if (task_ && task_->running()) task_->signal(SIGKILL);
  }

 private:
  void readable() {
    int lines = 0;
    deliverLines(lines);
    std::size_t total = 0;
    while (watch_ && total < kMostInOnePass && lines < kMostLinesInOnePass) {
      std::array<char, 65536> bytes;
      const ssize_t count = ::recv(socket_.number(), bytes.data(), bytes.size(), MSG_DONTWAIT);
      if (count < 0 && errno == EINTR) continue;
      const bool isEmpty = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
      if (isEmpty && !processEnded_) return;
      if (count <= 0) return end();
      total += static_cast<std::size_t>(count);
      buffer_.append(bytes.data(), static_cast<std::size_t>(count));
      deliverLines(lines);
    }
    // What is left here makes no descriptor readable.
    if (watch_ && (!buffer_.empty() || processEnded_)) goOn();
  }

  void goOn() {
    if (std::exchange(goingOn_, true)) return;
    loop_.post(lifetime_.guarded([this] {
      goingOn_ = false;
      if (watch_) readable();
    }));
  }

  void deliverLines(int& delivered) {
    std::size_t start = 0;
    for (std::size_t feed; delivered < kMostLinesInOnePass &&
                           (feed = buffer_.find('\n', std::max(start, searched_))) != std::string::npos;) {
      const std::string line = buffer_.substr(start, feed - start);
      start = feed + 1;
      searched_ = start;
      ++delivered;
      events_.line(line);
    }
    buffer_.erase(0, start);
    searched_ = delivered < kMostLinesInOnePass ? buffer_.size() : 0;
    if (buffer_.size() > messages::kLongestLine) end();
  }

  /// What it said last may still lie in the socket; a child of its own that holds the socket must not delay the news.
  void processEnded() {
    processEnded_ = true;
    if (watch_) readable();
  }

  void end() {
    if (!watch_) return;
    watch_.reset();
    writable_.reset();
    events_.ended();
  }

  RunLoop& loop_;
  Descriptor socket_;
  Events events_;
  std::unique_ptr<Task> task_;
  std::string buffer_;
  std::size_t searched_ = 0;  ///< no line feed before
  bool goingOn_ = false;
  bool processEnded_ = false;
  std::unique_ptr<Subscription> watch_;
  std::unique_ptr<WritableWatch> writable_;
  Lifetime lifetime_;
};

}  // namespace

ScreenStarter makeScreenStarter(RunLoop& loop, TaskLauncher& launcher, std::string program, Environment environment) {
  return [&loop, &launcher, program = std::move(program),
          environment = std::move(environment)](ScreenChannel::Events events) -> std::unique_ptr<ScreenChannel> {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) return nullptr;
    Descriptor ours(pair[0]), theirs(pair[1]);
    TaskRequest request;
    request.executable = program;
    request.arguments = {"--socket", std::to_string(TaskRequest::kPassedDescriptor)};
    request.environment = environment;
    request.errors = TaskRequest::Stream::inherit;
    request.passedDescriptor = theirs.number();
    auto process = std::make_unique<ScreenProcess>(loop, std::move(ours), std::move(events));
    if (!process->launch(launcher, request)) return nullptr;
    return process;
  };
}

}  // namespace kestrelune
