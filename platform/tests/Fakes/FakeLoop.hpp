#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "base/Clock.hpp"
#include "base/RunLoop.hpp"

namespace kestrelune {

/// A clock that goes only when it is turned.
class FakeClock final : public Clock {
 public:
  explicit FakeClock(Date start = {1'769'850'900}) : now_(start) {}

  Date now() const override { return now_; }
  double uptime() const override { return uptime_; }

  void pass(double seconds) {
    now_ = now_ + seconds;
    uptime_ += seconds;
  }
  /// The wall clock jumps; monotonic time doesn't.
  void set(Date now) { now_ = now; }

 private:
  Date now_;
  double uptime_ = 1000;
};

/// A run loop that is turned by hand. Work for the background runs in the same turn, on the same thread.
class FakeLoop final : public RunLoop {
 public:
  explicit FakeLoop(FakeClock& clock) : clock_(clock) {}

  void post(Work work) override { posted_.push_back(std::move(work)); }
  void background(Work work) override { posted_.push_back(std::move(work)); }
  Timer after(double seconds, Work work) override { return addTimer(seconds, 0, std::move(work)); }
  Timer every(double seconds, Work work) override { return addTimer(seconds, seconds, std::move(work)); }
  /// No descriptor ever becomes readable.
  std::unique_ptr<Subscription> watch(int, Work) override { return nullptr; }
  std::unique_ptr<Subscription> onSignal(int signal, Work work) override {
    auto pending = std::make_shared<Pending>();
    pending->work = std::move(work);
    signals_.emplace(signal, pending);
    return std::make_unique<Holder>(std::move(pending));
  }
  void run() override { turn(); }
  void stop() override { stopped_ = true; }
  bool finish(double) override { return true; }

  bool stopped() const { return stopped_; }
  /// Whether it was stopped since the last time.
  bool takeStop() { return std::exchange(stopped_, false); }
  std::size_t timerCount() const {
    std::size_t count = 0;
    for (const auto& timer : timers_) count += timer.expired() ? 0 : 1;
    return count;
  }

  /// Runs what was posted, and what that posts.
  void turn() {
    while (!posted_.empty()) {
      const Work work = std::move(posted_.front());
      posted_.pop_front();
      work();
    }
  }

  /// Turns the loop, then lets time pass and fires each timer that comes due, in order of time.
  void pass(double seconds) {
    turn();
    const double end = clock_.uptime() + seconds;
    while (const std::shared_ptr<Pending> next = nextDue(end)) {
      if (next->due > clock_.uptime()) clock_.pass(next->due - clock_.uptime());
      next->due = next->period > 0 ? next->due + next->period : kNever;
      const Work work = next->work;
      work();
      turn();
    }
    if (end > clock_.uptime()) clock_.pass(end - clock_.uptime());
  }

  /// The process was stopped for a while: what came due meanwhile fires now, and a repeating timer only once.
  void standStill(double seconds) {
    clock_.pass(seconds);
    for (const auto& weak : timers_)
      if (const auto timer = weak.lock(); timer && timer->period > 0)
        timer->due = std::max(timer->due, clock_.uptime());
    pass(0);
  }

  /// A signal has come.
  void raise(int signal) {
    std::vector<std::shared_ptr<Pending>> found;
    const auto [first, last] = signals_.equal_range(signal);
    for (auto it = first; it != last; ++it)
      if (auto listener = it->second.lock()) found.push_back(std::move(listener));
    for (const auto& listener : found) {
      const Work work = listener->work;
      work();
    }
    turn();
  }

 private:
  static constexpr double kNever = 1e18;

  struct Pending final {
    double due = 0;
    double period = 0;
    Work work;
  };
  struct Holder final : Subscription {
    explicit Holder(std::shared_ptr<Pending> held) : pending(std::move(held)) {}
    std::shared_ptr<Pending> pending;
  };

  Timer addTimer(double seconds, double period, Work work) {
    auto pending = std::make_shared<Pending>();
    pending->due = clock_.uptime() + seconds;
    pending->period = period;
    pending->work = std::move(work);
    std::erase_if(timers_, [](const auto& timer) { return timer.expired(); });
    timers_.push_back(pending);
    return std::make_unique<Holder>(std::move(pending));
  }

  std::shared_ptr<Pending> nextDue(double end) {
    std::shared_ptr<Pending> next;
    for (const auto& weak : timers_)
      if (auto timer = weak.lock(); timer && timer->due <= end && (!next || timer->due < next->due)) next = timer;
    return next;
  }

  FakeClock& clock_;
  std::deque<Work> posted_;
  std::vector<std::weak_ptr<Pending>> timers_;
  std::multimap<int, std::weak_ptr<Pending>> signals_;
  bool stopped_ = false;
};

}  // namespace kestrelune
