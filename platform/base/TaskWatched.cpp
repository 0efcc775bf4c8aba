#include <poll.h>
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "base/Task.hpp"
#include "base/TaskSpawn.hpp"

namespace kestrelune {
namespace {

constexpr double kGrace = 1;
constexpr double kLongestWait = 3600;

double uptime() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Waits for the child's end, its output or the moment `due`. True: the child has ended.
bool waitForChild(const spawn::Child& child, bool outputIsOpen, double due) {
  const double seconds = std::clamp(due - uptime(), 0.0, kLongestWait);
  // An entry with a negative descriptor is skipped.
  std::array<pollfd, 2> ready = {pollfd{child.handle.number(), POLLIN, 0},
                                 pollfd{outputIsOpen ? child.output.number() : -1, POLLIN, 0}};
  if (::poll(ready.data(), ready.size(), static_cast<int>(std::ceil(seconds * 1000))) <= 0) return false;
  return ready[0].revents != 0;
}

class SpawnedWatchedTask final : public WatchedTask {
 public:
  explicit SpawnedWatchedTask(spawn::Child child) : child_(std::move(child)), started_(uptime()) {}

  WatchedEnd watch(double timeout, const std::function<void(std::string_view)>& onOutput) override {
    WatchedEnd result;
    double due = started_ + timeout;
    int nextSignal = SIGTERM;
    bool outputIsOpen = true;
    while (!waitForChild(child_, outputIsOpen, due)) {
      // A stream that has ended would be ready at every turn.
      if (outputIsOpen) outputIsOpen = spawn::drain(child_.output, onOutput) != spawn::Drained::ended;
      if (uptime() < due) continue;
      result.timedOut = true;
      spawn::signal(child_, nextSignal);
      due = nextSignal == SIGTERM ? uptime() + kGrace : HUGE_VAL;
      nextSignal = SIGKILL;
    }
    result.end = spawn::reap(child_);
    if (outputIsOpen) spawn::drain(child_.output, onOutput);
    return result;
  }

  void leave() const override { spawn::leave(child_); }

 private:
  spawn::Child child_;
  double started_;
};

}  // namespace

Outcome<std::shared_ptr<WatchedTask>> startWatched(const TaskRequest& request) {
  TaskRequest joined = request;
  joined.output = TaskRequest::Stream::capture;
  joined.errorsJoinOutput = true;
  Outcome<spawn::Child> started = spawn::start(joined);
  if (!started) return {nullptr, started.error};
  return {std::make_shared<SpawnedWatchedTask>(std::move(started.value)), 0};
}

WatchedEnd runWatched(const TaskRequest& request, double timeout,
                      const std::function<void(std::string_view)>& onOutput) {
  const Outcome<std::shared_ptr<WatchedTask>> started = startWatched(request);
  if (!started) return {{}, false, started.error};
  return started.value->watch(timeout, onOutput);
}

}  // namespace kestrelune
