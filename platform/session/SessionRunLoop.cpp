#include "session/SessionRunLoop.hpp"

#include <signal.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <limits>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "base/BackgroundThreads.hpp"
#include "session/Desktop.hpp"

namespace kestrelune {
namespace {

// Work in the background is mostly waiting for a child, and one long command must not hold up the others.
constexpr int kMostThreads = 64;
constexpr std::uint64_t kSecond = 1000000;
constexpr double kLongestTime = 3e9;  // about a hundred years; keeps the sum below the end of the clock

void check(int result, const char* what) {
  if (result < 0) throw std::system_error(-result, std::generic_category(), what);
}

std::uint64_t microseconds(double seconds) {
  return static_cast<std::uint64_t>(std::clamp(seconds, 0.0, kLongestTime) * static_cast<double>(kSecond));
}

// The loop's own idea of the present is that of the start of the pass.
std::uint64_t now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * kSecond + static_cast<std::uint64_t>(time.tv_nsec) / 1000;
}

std::uint64_t accuracy(std::uint64_t period) { return std::clamp<std::uint64_t>(period / 50, 1000, kSecond / 4); }

// An exception must not pass through the C library: it is kept here, and `run` throws it on.
std::exception_ptr& thrown() {
  static thread_local std::exception_ptr exception;
  return exception;
}

template <class Work>
int guarded(const Work& work) {
  try {
    work();
  } catch (...) {
    thrown() = std::current_exception();
  }
  return 0;
}

/// The part of a subscription that a callback under way keeps alive, so that it may end its own subscription.
struct Entry {
  RunLoop::Work work;
  std::uint64_t period = 0;
  std::uint64_t due = 0;
  std::shared_ptr<Entry> self;  ///< while the subscription lives
};

class EventSubscription final : public Subscription {
 public:
  explicit EventSubscription(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) { entry_->self = entry_; }
  ~EventSubscription() override {
    sd_event_source_disable_unref(source);
    entry_->self = nullptr;
  }
  EventSubscription(const EventSubscription&) = delete;
  EventSubscription& operator=(const EventSubscription&) = delete;

  Entry& entry() { return *entry_; }

  sd_event_source* source = nullptr;

 private:
  std::shared_ptr<Entry> entry_;
};

std::unique_ptr<EventSubscription> makeSubscription(RunLoop::Work work) {
  auto entry = std::make_shared<Entry>();
  entry->work = std::move(work);
  return std::make_unique<EventSubscription>(std::move(entry));
}

int runEntry(sd_event_source*, void* data) {
  const std::shared_ptr<Entry> entry = static_cast<Entry*>(data)->self;
  return guarded(entry->work);
}

int timeCame(sd_event_source* source, std::uint64_t, void* data) {
  Entry* entry = static_cast<Entry*>(data);
  if (entry->period > 0) {
    // On the grid of the first one, so that timers of commensurable periods go on falling together.
    const std::uint64_t time = now();
    entry->due += entry->period;
    if (entry->due <= time) entry->due = time + entry->period;
    sd_event_source_set_time(source, entry->due);
  }
  return runEntry(source, data);
}

int descriptorReady(sd_event_source* source, int, std::uint32_t, void* data) { return runEntry(source, data); }
int signalCame(sd_event_source* source, const signalfd_siginfo*, void* data) { return runEntry(source, data); }

}  // namespace

/// Work from any thread, and the descriptor that wakes the loop for it.
class PostBox {
 public:
  explicit PostBox(sd_event* event) : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    const int result = sd_event_add_io(event, &source_, descriptor_, EPOLLIN, &PostBox::woken, this);
    if (result < 0) {
      ::close(descriptor_);
      check(result, "sd_event_add_io");
    }
  }
  ~PostBox() {
    sd_event_source_disable_unref(source_);
    ::close(descriptor_);
  }
  PostBox(const PostBox&) = delete;
  PostBox& operator=(const PostBox&) = delete;

  void put(RunLoop::Work work) {
    std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(work));
    if (waiting_.size() > 1) return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(descriptor_, &one, sizeof one);
  }

 private:
  static int woken(sd_event_source*, int, std::uint32_t, void* data) {
    return guarded([box = static_cast<PostBox*>(data)] { box->deliver(); });
  }

  void deliver() {
    std::vector<RunLoop::Work> batch;
    {
      std::lock_guard lock(mutex_);
      std::uint64_t count = 0;
      [[maybe_unused]] const ssize_t size = ::read(descriptor_, &count, sizeof count);
      batch.swap(waiting_);
    }
    for (RunLoop::Work& work : batch) {
      work();
      work = nullptr;
    }
  }

  int descriptor_;
  sd_event_source* source_ = nullptr;
  std::mutex mutex_;
  std::vector<RunLoop::Work> waiting_;
};

SessionRunLoop::SessionRunLoop() {
  check(sd_event_new(&event_), "sd_event_new");
  posted_ = std::make_unique<PostBox>(event_);
  threads_ = std::make_unique<BackgroundThreads>(kMostThreads);
}

SessionRunLoop::~SessionRunLoop() {
  threads_.reset();
  posted_.reset();
  sd_event_unref(event_);
}

void SessionRunLoop::post(Work work) { posted_->put(std::move(work)); }

void SessionRunLoop::background(Work work) { threads_->run(std::move(work)); }

namespace {

Timer addTimer(sd_event* event, double seconds, bool repeats, RunLoop::Work work) {
  const std::uint64_t time = std::max<std::uint64_t>(microseconds(seconds), repeats ? 1000 : 0);
  auto subscription = makeSubscription(std::move(work));
  Entry& entry = subscription->entry();
  entry.period = repeats ? time : 0;
  entry.due = now() + time;
  check(sd_event_add_time(event, &subscription->source, CLOCK_MONOTONIC, entry.due, accuracy(time), timeCame, &entry),
        "sd_event_add_time");
  if (repeats) check(sd_event_source_set_enabled(subscription->source, SD_EVENT_ON), "sd_event_source_set_enabled");
  return subscription;
}

}  // namespace

Timer SessionRunLoop::after(double seconds, Work work) { return addTimer(event_, seconds, false, std::move(work)); }

Timer SessionRunLoop::every(double seconds, Work work) { return addTimer(event_, seconds, true, std::move(work)); }

std::unique_ptr<Subscription> SessionRunLoop::watch(int descriptor, Work work) {
  auto subscription = makeSubscription(std::move(work));
  check(sd_event_add_io(event_, &subscription->source, descriptor, EPOLLIN, descriptorReady, &subscription->entry()),
        "sd_event_add_io");
  return subscription;
}

std::unique_ptr<Subscription> SessionRunLoop::onSignal(int signal, Work work) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  auto subscription = makeSubscription(std::move(work));
  check(sd_event_add_signal(event_, &subscription->source, signal, signalCame, &subscription->entry()),
        "sd_event_add_signal");
  return subscription;
}

void SessionRunLoop::run() {
  // Not `sd_event_loop` and its exit: on that way out the bus would be waited for, and a mute one would hold up the
  // end.
  while (!stopped_) {
    const int result = sd_event_run(event_, std::numeric_limits<std::uint64_t>::max());
    if (std::exception_ptr exception = std::exchange(thrown(), nullptr)) std::rethrow_exception(exception);
    check(result, "sd_event_run");
  }
}

void SessionRunLoop::stop() { stopped_ = true; }

bool SessionRunLoop::finish(double seconds) { return threads_->finish(seconds); }

std::unique_ptr<RunLoop> makeSessionRunLoop() { return std::make_unique<SessionRunLoop>(); }

}  // namespace kestrelune
