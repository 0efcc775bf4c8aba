#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <mutex>
#include <system_error>
#include <vector>

#include "base/BackgroundThreads.hpp"
#include "base/Descriptor.hpp"
#include "base/RunLoop.hpp"

namespace kestrelune {
namespace {

constexpr int kMostThreads = 64;
constexpr double kShortestPeriod = 0.001;
constexpr double kLongestWait = 3600;

double now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

int checked(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

/// What a subscription stands for. The loop holds it weakly, and firmly only while its callback runs.
struct Entry {
  RunLoop::Work work;
  int descriptor = -1;
  double due = 0;
  double period = 0;
};
using Entries = std::vector<std::weak_ptr<Entry>>;

struct Holder final : Subscription {
  explicit Holder(std::shared_ptr<Entry> held) : entry(std::move(held)) {}
  std::shared_ptr<Entry> entry;
};

struct SignalHolder final : Subscription {
  Descriptor descriptor;
  std::unique_ptr<Subscription> watch;
};

std::vector<std::shared_ptr<Entry>> living(Entries& entries) {
  std::vector<std::shared_ptr<Entry>> result;
  std::erase_if(entries, [&](const std::weak_ptr<Entry>& weak) {
    std::shared_ptr<Entry> entry = weak.lock();
    if (entry) result.push_back(std::move(entry));
    return weak.expired();
  });
  return result;
}

class PollRunLoop final : public RunLoop {
 public:
  PollRunLoop()
      : wake_(checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
        threads_(std::make_unique<BackgroundThreads>(kMostThreads)) {}
  // While its members still stand: background work may post until it has ended.
  ~PollRunLoop() override { threads_.reset(); }

  void post(Work work) override {
    std::lock_guard lock(mutex_);
    posted_.push_back(std::move(work));
    if (posted_.size() > 1) return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wake_.number(), &one, sizeof one);
  }

  Timer after(double seconds, Work work) override { return addTimer(seconds, 0, std::move(work)); }
  Timer every(double seconds, Work work) override {
    const double period = std::max(seconds, kShortestPeriod);
    return addTimer(period, period, std::move(work));
  }
  void background(Work work) override { threads_->run(std::move(work)); }

  std::unique_ptr<Subscription> watch(int descriptor, Work work) override {
    auto entry = std::make_shared<Entry>();
    entry->work = std::move(work);
    entry->descriptor = descriptor;
    watches_.push_back(entry);
    return std::make_unique<Holder>(std::move(entry));
  }

  std::unique_ptr<Subscription> onSignal(int signal, Work work) override {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    auto holder = std::make_unique<SignalHolder>();
    holder->descriptor = Descriptor(checked(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK), "signalfd"));
    const int descriptor = holder->descriptor.number();
    holder->watch = watch(descriptor, [descriptor, work = std::move(work)] {
      signalfd_siginfo info{};
      if (::read(descriptor, &info, sizeof info) == sizeof info) work();
    });
    return holder;
  }

  void run() override {
    while (!stopped_) {
      wait();
      deliverPosted();
      fireWatches();
      fireTimers();
    }
  }

  void stop() override { stopped_ = true; }
  bool finish(double seconds) override { return threads_->finish(seconds); }

 private:
  Timer addTimer(double seconds, double period, Work work) {
    auto entry = std::make_shared<Entry>();
    entry->work = std::move(work);
    entry->due = now() + std::max(seconds, 0.0);
    entry->period = period;
    timers_.push_back(entry);
    return std::make_unique<Holder>(std::move(entry));
  }

  void wait() {
    double until = now() + kLongestWait;
    for (const auto& timer : living(timers_)) until = std::min(until, timer->due);
    // Upwards: a wait that ends a moment early would only begin again.
    const int milliseconds = static_cast<int>(std::ceil(std::max(until - now(), 0.0) * 1000));
    ready_.clear();
    ready_.push_back({wake_.number(), POLLIN, 0});
    watched_ = living(watches_);
    for (const auto& entry : watched_) ready_.push_back({entry->descriptor, POLLIN, 0});
    if (::poll(ready_.data(), ready_.size(), milliseconds) < 0)
      for (pollfd& descriptor : ready_) descriptor.revents = 0;
  }

  void deliverPosted() {
    std::vector<Work> batch;
    {
      std::lock_guard lock(mutex_);
      std::uint64_t count = 0;
      [[maybe_unused]] const ssize_t size = ::read(wake_.number(), &count, sizeof count);
      batch.swap(posted_);
    }
    for (Work& work : batch) {
      work();
      work = nullptr;
    }
  }

  void fireWatches() {
    std::vector<std::weak_ptr<Entry>> due;
    for (std::size_t i = 0; i < watched_.size(); ++i)
      if (ready_[i + 1].revents != 0) due.push_back(watched_[i]);
    watched_.clear();
    for (const auto& weak : due)
      if (const auto entry = weak.lock(); entry && !stopped_) entry->work();
  }

  void fireTimers() {
    const double time = now();
    Entries due;
    std::vector<std::shared_ptr<Entry>> timers = living(timers_);
    std::stable_sort(timers.begin(), timers.end(), [](const auto& a, const auto& b) { return a->due < b->due; });
    for (const auto& timer : timers)
      if (timer->due <= time) due.push_back(timer);
    timers.clear();
    for (const auto& weak : due) {
      const auto timer = weak.lock();
      if (!timer || stopped_) continue;
      timer->due = timer->period > 0 ? std::max(timer->due + timer->period, time) : HUGE_VAL;
      timer->work();
    }
  }

  Descriptor wake_;
  std::mutex mutex_;
  std::vector<Work> posted_;
  Entries timers_, watches_;
  std::vector<pollfd> ready_;
  std::vector<std::shared_ptr<Entry>> watched_;  ///< those of `ready_`, only within one pass
  std::unique_ptr<BackgroundThreads> threads_;
  bool stopped_ = false;
};

}  // namespace

std::unique_ptr<RunLoop> makePollRunLoop() { return std::make_unique<PollRunLoop>(); }

}  // namespace kestrelune
