#include "base/Instance.hpp"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <future>

#include "Fakes/TestFolder.hpp"
#include "Fakes/TestLoop.hpp"
#include "Fakes/Testing.hpp"
#include "base/Files.hpp"

namespace kestrelune {
namespace {

using Start = Instance::Start;
using namespace std::chrono_literals;

constexpr double kLong = 20;

rusage used() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage;
}
double seconds(const rusage& usage) {
  const auto of = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return of(usage.ru_utime) + of(usage.ru_stime);
}

struct InstanceTest : testing::Test {
  TestFolder folder;
  std::string root = folder.path("root");
  std::unique_ptr<RunLoop> loop = makePollRunLoop();
  std::vector<Environment> told;

  std::unique_ptr<Instance> first() {
    auto instance = std::make_unique<Instance>(root);
    EXPECT_EQ(instance->begin({}, 0), Start::first);
    return instance;
  }
  void serve(Instance& instance) {
    instance.serve(*loop, [this](const Environment& variables) { told.push_back(variables); });
  }
  /// Another start, on a thread of its own since it waits, while the loop serves the first one.
  std::future<Start> another(const Environment& variables = {}, double patience = kLong) {
    return std::async(std::launch::async, [this, variables, patience] {
      Instance instance(root);
      return instance.begin(variables, patience);
    });
  }
  /// Somebody at the other end who says this; nothing: he goes on.
  Descriptor visitor(std::string_view words) const {
    Descriptor peer(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (root + "/menubar.socket").copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(connect(peer.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(send(peer.number(), words.data(), words.size(), 0), static_cast<ssize_t>(words.size()));
    if (!words.empty()) shutdown(peer.number(), SHUT_WR);
    return peer;
  }
  bool isSentAway(const Descriptor& peer) {
    char byte = 0;
    return serveUntil(*loop, [&] { return recv(peer.number(), &byte, 1, MSG_DONTWAIT) >= 0 || errno != EAGAIN; }) &&
           byte == 0 && told.empty();
  }
  Start ended(std::future<Start>& start) {
    EXPECT_TRUE(serveUntil(*loop, [&] { return start.wait_for(0s) == std::future_status::ready; }));
    return start.get();
  }
};

TEST_F(InstanceTest, ALaterStartTellsTheFirstWhateverItHolds) {
  for (const std::string& name : {std::string("root"), std::string("a home \"$x\"\n") + std::string(200, 'x')}) {
    root = folder.path(name);
    loop = makePollRunLoop();
    const auto running = first();
    serve(*running);
    const Environment variables = {
        {"DISPLAY", ":7"}, {"EMPTY", ""}, {"ODD", "a=b\n\xff"}, {"LONG", std::string(50'000, 'x')}};
    auto later = another(variables);
    EXPECT_EQ(ended(later), Start::told);
    EXPECT_EQ(told, std::vector{variables});
    told.clear();
    EXPECT_EQ(systemFiles().info(root).value.mode, 0700u);
    EXPECT_EQ(systemFiles().info(root + "/menubar.socket").value.mode, 0600u);
  }
}

TEST_F(InstanceTest, OneThatIsStillStartingIsWaitedFor) {
  const auto running = first();
  auto later = another();
  EXPECT_EQ(later.wait_for(100ms), std::future_status::timeout);
  serve(*running);
  EXPECT_EQ(ended(later), Start::told);
}

TEST_F(InstanceTest, OneThatEndsIsSucceeded) {
  auto running = first();
  serve(*running);
  auto earlier = another();
  running->close();
  auto later = another();
  EXPECT_EQ(later.wait_for(150ms), std::future_status::timeout) << "it still holds the lock";
  running.reset();
  // Whichever comes second finds nobody who answers, until the other one has ended too.
  EXPECT_EQ(earlier.get(), Start::first);
  EXPECT_EQ(later.get(), Start::first);
}

TEST_F(InstanceTest, OneThatAnswersNothingIsNotRunBeside) {
  const auto running = first();
  auto later = another({}, 0.2);
  EXPECT_EQ(later.get(), Start::unheeded);
}

TEST_F(InstanceTest, WhatWasLeftBehindKeepsNobodyFromStarting) {
  folder.write("root/menubar.lock", "4711\n");
  folder.write("root/menubar.socket", "");
  const auto running = first();
  serve(*running);
  auto later = another();
  EXPECT_EQ(ended(later), Start::told);
}

TEST_F(InstanceTest, WithoutAPlaceForALockItRuns) {
  folder.write("root", "a file");
  EXPECT_EQ(first()->begin({}, 0), Start::first);
}

TEST_F(InstanceTest, WordsThatAreCutOffOrNeverComeAreNotHeeded) {
  for (const std::string_view words : {std::string_view("DISPLAY=:7\0XAUTH", 16), std::string_view()}) {
    loop = makePollRunLoop();
    const auto running = first();
    serve(*running);
    EXPECT_TRUE(isSentAway(visitor(words)));
  }
}

TEST_F(InstanceTest, WordsWithoutAnEndAreNotKept) {
  const auto running = first();
  serve(*running);
  const Descriptor peer = visitor("");
  int pieces = 0;
  EXPECT_TRUE(serveUntil(*loop, [&] {
    return ++pieces > 200 ||
           (send(peer.number(), std::string(8192, 'x').data(), 8192, MSG_DONTWAIT | MSG_NOSIGNAL) < 0 &&
            errno != EAGAIN);
  }));
  EXPECT_LE(pieces, 200);
}

TEST_F(InstanceTest, ACrowdOfVisitorsLeavesTimeForOthers) {
  const auto running = first();
  serve(*running);
  // On a thread of its own: whoever the queue doesn't hold waits.
  auto crowd = std::async(std::launch::async, [this] {
    std::vector<Descriptor> visitors;
    for (int i = 0; i < 30; ++i) visitors.push_back(visitor(""));
    return visitors;
  });
  int turns = 0;
  const Timer turn = loop->every(0.01, [&] { ++turns; });
  const rusage before = used();
  std::future<Start> later;
  const Timer start = loop->after(0.5, [&] {
    EXPECT_GT(turns, 5);
    EXPECT_LT(seconds(used()) - seconds(before), 0.3) << "those who wait cost nothing";
    crowd.get().clear();
    later = another();
  });
  EXPECT_TRUE(serveUntil(*loop, [&] { return later.valid() && later.wait_for(0s) == std::future_status::ready; }));
  EXPECT_EQ(later.get(), Start::told);
}

TEST_F(InstanceTest, AnotherAccountIsNotHeeded) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can be somebody else";
  const auto running = first();
  serve(*running);
  // As if all could get there.
  for (const std::string& path : {folder.path(), root, root + "/menubar.socket"}) systemFiles().chmod(path, 0777);
  ASSERT_EQ(seteuid(65534), 0);
  const Descriptor peer = visitor(std::string_view("DISPLAY=:7\0", 12));
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_TRUE(isSentAway(peer));
}

}  // namespace
}  // namespace kestrelune
