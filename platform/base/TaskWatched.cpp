#include <poll.h>
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cmath>

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
bool waitForChild(const spawn::Child& child, double due) {
  const double seconds = std::clamp(due - uptime(), 0.0, kLongestWait);
  // An entry with a negative descriptor is skipped.
  std::array<pollfd, 2> ready = {pollfd{child.handle.number(), POLLIN, 0}, pollfd{child.output.number(), POLLIN, 0}};
  if (::poll(ready.data(), ready.size(), static_cast<int>(std::ceil(seconds * 1000))) <= 0) return false;
  return ready[0].revents != 0;
}

}  // namespace

WatchedEnd runWatched(const TaskRequest& request, double timeout,
                      const std::function<void(std::string_view)>& onOutput) {
  TaskRequest joined = request;
  joined.output = TaskRequest::Stream::capture;
  joined.errorsJoinOutput = true;
  Outcome<spawn::Child> started = spawn::start(joined);
  if (!started) return {{}, false, started.error};

  spawn::Child& child = started.value;
  WatchedEnd result;
  double due = uptime() + timeout;
  int nextSignal = SIGTERM;
  while (!waitForChild(child, due)) {
    // A stream that has ended would be ready at every turn.
    if (child.output && spawn::drain(child.output, onOutput) == spawn::Drained::ended) child.output.reset();
    if (uptime() < due) continue;
    result.timedOut = true;
    spawn::signal(child, nextSignal);
    due = nextSignal == SIGTERM ? uptime() + kGrace : HUGE_VAL;
    nextSignal = SIGKILL;
  }
  result.end = spawn::reap(child);
  if (child.output) spawn::drain(child.output, onOutput);
  return result;
}

}  // namespace kestrelune
