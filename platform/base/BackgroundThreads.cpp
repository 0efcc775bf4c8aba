#include "base/BackgroundThreads.hpp"

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <utility>

namespace kestrelune {
namespace {
constexpr int kNice = 10;
}

BackgroundThreads::~BackgroundThreads() {
  std::deque<std::function<void()>> dropped;
  std::unique_lock lock(mutex_);
  dropped.swap(waiting_);
  ended_.wait(lock, [this] { return running_ == 0; });
}

bool BackgroundThreads::finish(double seconds) {
  std::deque<std::function<void()>> dropped;
  std::unique_lock lock(mutex_);
  dropped.swap(waiting_);
  return ended_.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return running_ == 0; });
}

void BackgroundThreads::run(std::function<void()> work) {
  std::lock_guard lock(mutex_);
  waiting_.push_back(std::move(work));
  if (running_ >= most_) return;
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    std::thread([this] { this->work(); }).detach();
    ++running_;
  } catch (...) {
    // No thread to be had: another one takes it; without any the caller must know.
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (running_ > 0) return;
    waiting_.pop_back();
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void BackgroundThreads::work() {
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kNice);
  std::unique_lock lock(mutex_);
  while (!waiting_.empty()) {
    std::function<void()> next = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    next();
    next = nullptr;
    lock.lock();
  }
  --running_;
  // Under the lock: the owner may be gone as soon as it is released.
  ended_.notify_all();
}

}  // namespace kestrelune
