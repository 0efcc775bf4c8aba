#pragma once

#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "Fakes/Testing.hpp"
#include "base/RunLoop.hpp"

/// What holds for each run loop. Included by the one file that tests a loop, and instantiated there with what makes it.
namespace kestrelune {

class RunLoopContract : public testing::TestWithParam<std::unique_ptr<RunLoop> (*)()> {
 protected:
  std::unique_ptr<RunLoop> loop = GetParam()();
  Timer limit = loop->after(60, [] { throw std::runtime_error("the test takes too long"); });
};

TEST_P(RunLoopContract, PostedWorkRunsInOrderAndInALaterPass) {
  std::vector<int> order;
  loop->post([&] {
    loop->post([&] {
      order.push_back(3);
      loop->stop();
    });
    order.push_back(1);
  });
  loop->post([&] { order.push_back(2); });
  EXPECT_TRUE(order.empty());
  loop->run();
  EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST_P(RunLoopContract, PostsFromManyThreadsArriveInTheirOrderOnTheMainThread) {
  constexpr int kThreads = 4, kEach = 2000;
  const auto mainThread = std::this_thread::get_id();
  std::vector<int> last(kThreads, -1);
  int seen = 0;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&, i] {
      for (int n = 0; n < kEach; ++n)
        loop->post([&, i, n] {
          EXPECT_EQ(std::this_thread::get_id(), mainThread);
          EXPECT_EQ(std::exchange(last[static_cast<std::size_t>(i)], n), n - 1);
          if (++seen == kThreads * kEach) loop->stop();
        });
    });
  loop->run();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(seen, kThreads * kEach);
}

TEST_P(RunLoopContract, TimersNeverFireEarlyAndMayEndThemselvesAndEachOther) {
  const auto start = std::chrono::steady_clock::now();
  const auto elapsed = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); };
  Timer dropped = loop->after(30, [] { FAIL() << "fired after it was dropped"; });
  Timer first = loop->after(0.01, [&] {
    dropped.reset();
    first.reset();
  });
  Timer once = loop->after(0.05, [&] {
    EXPECT_GE(elapsed(), 0.05);
    once.reset();
  });
  int ticks = 0;
  Timer every = loop->every(0.02, [&] {
    EXPECT_GE(elapsed(), 0.02 * ++ticks);
    if (ticks < 4) return;
    every.reset();
    loop->stop();
  });
  loop->run();
  EXPECT_FALSE(first || every);
}

TEST_P(RunLoopContract, DescriptorsAndSignalsBecomeCallbacksUntilTheirOwnersGo) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::unique_ptr<Subscription> watch, signal;
  signal = loop->onSignal(SIGUSR2, [&] {
    signal.reset();
    close(ends[1]);
  });
  watch = loop->watch(ends[0], [&] {
    watch.reset();
    close(ends[0]);
    loop->post([&] { loop->stop(); });
  });
  kill(getpid(), SIGUSR2);
  loop->run();
  EXPECT_FALSE(signal);
}

TEST_P(RunLoopContract, BackgroundWorkRunsBesideTheLoopAtLowPriorityAndLeavesNoThread) {
  const auto threads = [] {
    const std::filesystem::directory_iterator entries("/proc/self/task");
    return std::distance(begin(entries), end(entries));
  };
  const auto before = threads();
  std::atomic<int> inside = 0;
  int left = 3, priority = 0;
  for (int i = 0; i < 3; ++i)
    loop->background([&] {
      // Each waits for all: one thread alone would never get on.
      ++inside;
      while (inside < 3) std::this_thread::yield();
      const int own = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
      loop->post([&, own] {
        priority = own;
        if (--left == 0) loop->stop();
      });
    });
  loop->run();
  EXPECT_GE(priority, 10);
  while (threads() > before) std::this_thread::yield();
}

TEST_P(RunLoopContract, TheEndWaitsForBackgroundWorkNoLongerThanItIsTold) {
  std::atomic<bool> goesOn = true, begun = false;
  loop->background([&] {
    begun = true;
    while (goesOn) std::this_thread::yield();
  });
  while (!begun) std::this_thread::yield();
  EXPECT_FALSE(loop->finish(0.05));
  goesOn = false;
  EXPECT_TRUE(loop->finish(20));
}

TEST_P(RunLoopContract, StopBeforeRunHolds) {
  loop->stop();
  loop->run();
}

TEST_P(RunLoopContract, AnExceptionEndsTheLoopAndComesOut) {
  loop->post([] { throw std::runtime_error("broken"); });
  EXPECT_THROW(loop->run(), std::runtime_error);
}

}  // namespace kestrelune
