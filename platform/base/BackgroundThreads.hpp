#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace kestrelune {

/// Threads of low priority that exist only while there is work for them. Signals are blocked in all of them.
class BackgroundThreads {
 public:
  explicit BackgroundThreads(int most) : most_(most) {}
  /// Drops what hasn't begun and waits for what has.
  ~BackgroundThreads();

  void run(std::function<void()> work);
  /// Drops what hasn't begun and waits for what has, at most `seconds`. False when some is still under way.
  bool finish(double seconds);

 private:
  void work();

  const int most_;
  std::mutex mutex_;
  std::condition_variable ended_;
  std::deque<std::function<void()>> waiting_;
  int running_ = 0;
};

}  // namespace kestrelune
