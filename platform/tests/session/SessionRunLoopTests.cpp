#include "session/SessionRunLoop.hpp"

#include <dirent.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

namespace kestrelune {
namespace {

int threadCount() {
  int count = 0;
  DIR* folder = opendir("/proc/self/task");
  while (const dirent* entry = readdir(folder)) count += entry->d_name[0] != '.';
  closedir(folder);
  return count;
}

struct SessionRunLoopTest : testing::Test {
  SessionRunLoop loop;
  Timer limit = loop.after(60, [] { throw std::runtime_error("the test takes too long"); });
};

TEST_F(SessionRunLoopTest, PostedWorkRunsInOrderAndInALaterPass) {
  std::vector<int> order;
  loop.post([&] {
    loop.post([&] {
      order.push_back(3);
      loop.stop();
    });
    order.push_back(1);
  });
  loop.post([&] { order.push_back(2); });
  EXPECT_TRUE(order.empty());
  loop.run();
  EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST_F(SessionRunLoopTest, PostsFromManyThreadsAllArriveOnTheMainThread) {
  constexpr int kThreads = 4, kEach = 2000;
  const auto mainThread = std::this_thread::get_id();
  int seen = 0;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&] {
      for (int n = 0; n < kEach; ++n)
        loop.post([&] {
          EXPECT_EQ(std::this_thread::get_id(), mainThread);
          if (++seen == kThreads * kEach) loop.stop();
        });
    });
  loop.run();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(seen, kThreads * kEach);
}

TEST_F(SessionRunLoopTest, TimersNeverFireEarlyAndMayEndThemselves) {
  const auto start = std::chrono::steady_clock::now();
  const auto elapsed = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); };
  int ticks = 0;
  Timer every = loop.every(0.02, [&] {
    ++ticks;
    EXPECT_GE(elapsed(), 0.02 * ticks);
    if (ticks == 3) every.reset();
  });
  Timer dropped = loop.after(0, [] { FAIL() << "fired after it was dropped"; });
  dropped.reset();
  Timer end = loop.after(0.15, [&] {
    EXPECT_GE(elapsed(), 0.15);
    end.reset();
    loop.stop();
  });
  loop.run();
  EXPECT_EQ(ticks, 3);
}

TEST_F(SessionRunLoopTest, SignalsAndDescriptorsBecomeCallbacks) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  bool signalled = false;
  auto onSignal = loop.onSignal(SIGUSR2, [&] {
    signalled = true;
    close(ends[1]);
  });
  std::unique_ptr<Subscription> watch = loop.watch(ends[0], [&] {
    watch.reset();
    loop.stop();
  });
  kill(getpid(), SIGUSR2);
  loop.run();
  EXPECT_TRUE(signalled);
  close(ends[0]);
}

TEST_F(SessionRunLoopTest, BackgroundThreadsComeAndGo) {
  const int before = threadCount();
  std::atomic<int> inside = 0;
  int left = 3;
  for (int i = 0; i < 3; ++i)
    loop.background([&] {
      // Each waits for all: one thread alone would never get on.
      ++inside;
      while (inside < 3) std::this_thread::yield();
      loop.post([&] {
        if (--left == 0) loop.stop();
      });
    });
  loop.run();
  while (threadCount() > before) std::this_thread::yield();
}

TEST_F(SessionRunLoopTest, AnExceptionEndsTheLoopAndComesOut) {
  loop.post([] { throw std::runtime_error("broken"); });
  EXPECT_THROW(loop.run(), std::runtime_error);
}

TEST_F(SessionRunLoopTest, StopBeforeRunHolds) {
  loop.stop();
  loop.run();
}

}  // namespace
}  // namespace kestrelune
