#include "base/Instance.hpp"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>

#include "Fakes/TestFolder.hpp"
#include "Fakes/TestLoop.hpp"

namespace kestrelune {
namespace {

using Start = Instance::Start;
using namespace std::chrono_literals;

constexpr double kLong = 20;

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

TEST_F(InstanceTest, WordsThatAreCutOffAreNotHeeded) {
  const auto running = first();
  serve(*running);
  const Descriptor peer(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (root + "/menubar.socket").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(connect(peer.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  constexpr std::string_view kWords("DISPLAY=:7\0XAUTH", 16);
  ASSERT_EQ(send(peer.number(), kWords.data(), kWords.size(), 0), static_cast<ssize_t>(kWords.size()));
  shutdown(peer.number(), SHUT_WR);
  char byte = 0;
  ASSERT_TRUE(serveUntil(*loop, [&] { return recv(peer.number(), &byte, 1, MSG_DONTWAIT) == 0; }));
  EXPECT_TRUE(told.empty());
}

}  // namespace
}  // namespace kestrelune
