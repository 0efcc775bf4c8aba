#include "session/ScreenChannel.hpp"

#include <signal.h>

#include "Fakes/TestFolder.hpp"
#include "Fakes/TestLoop.hpp"
#include "Fakes/Testing.hpp"
#include "base/System.hpp"

namespace kestrelune {
namespace {

/// A screen that is a shell script; its socket is the descriptor after "--socket".
struct ScreenChannelTest : testing::Test {
  bool start(const std::string& script) {
    folder.write("screen", "#!/bin/sh\n[ \"$1 $2\" = '--socket 3' ] || exit 9\n" + script);
    std::filesystem::permissions(folder.path("screen"), std::filesystem::perms::owner_all);
    channel = makeScreenStarter(*loop, *launcher, folder.path("screen"),
                                system::environment())({[this](std::string_view line) { lines.emplace_back(line); },
                                                        [this] {
                                                          ++writable;
                                                          if (whenWritable) whenWritable();
                                                        },
                                                        [this] { ++ended; }});
    return channel != nullptr;
  }
  bool served(const std::function<bool()>& done) { return serveUntil(*loop, done); }

  TestFolder folder;
  std::unique_ptr<RunLoop> loop = makePollRunLoop();
  std::unique_ptr<TaskLauncher> launcher = makeTaskLauncher(*loop);
  std::unique_ptr<ScreenChannel> channel;
  std::vector<std::string> lines;
  std::function<void()> whenWritable;
  int writable = 0, ended = 0;
};

TEST_F(ScreenChannelTest, CarriesLinesBothWaysAndTellsTheEndOnce) {
  ASSERT_TRUE(start(R"(
printf 'first\n\nsec' >&3
read -r answer <&3
printf 'ond %s\nrest without an end' "$answer" >&3
)"));
  EXPECT_EQ(channel->write("hello\n"), 6u);
  ASSERT_TRUE(served([&] { return ended > 0; }));
  EXPECT_EQ(lines, (std::vector<std::string>{"first", "", "second hello"}));
  EXPECT_EQ(ended, 1);
  EXPECT_LE(channel->write("nobody reads this\n"), 18u) << "and no signal came";
}

TEST_F(ScreenChannelTest, ADescendantThatHoldsTheSocketDelaysNothing) {
  ASSERT_TRUE(start("sleep 100 & echo $! >&3\n"));
  ASSERT_TRUE(served([&] { return ended > 0; }));
  ASSERT_EQ(lines.size(), 1u);
  ::kill(std::stoi(lines.front()), SIGKILL);
}

TEST_F(ScreenChannelTest, WritingNeverWaitsAndLosesNothing) {
  constexpr std::size_t kSize = 4'000'000;
  ASSERT_TRUE(
      start("while [ ! -e \"$0.go\" ]; do sleep 0.01; done\n"
            "head -c 4000000 <&3 >\"$0.heard\"; echo done >&3\n"));
  std::string bytes;
  for (int i = 0; bytes.size() < kSize; ++i) bytes += std::to_string(i) + "\n";
  bytes.resize(kSize);
  std::size_t written = 0;
  whenWritable = [&] { written += channel->write(std::string_view(bytes).substr(written)); };
  whenWritable();
  EXPECT_LT(written, kSize) << "no socket holds that much";
  folder.write("screen.go", "");
  ASSERT_TRUE(served([&] { return ended > 0; }));
  EXPECT_EQ(lines, std::vector<std::string>{"done"});
  EXPECT_GT(writable, 0);
  EXPECT_TRUE(folder.read("screen.heard") == bytes);
}

TEST_F(ScreenChannelTest, AHangingScreenIsEndedByForce) {
  ASSERT_TRUE(start("trap '' TERM HUP; echo ready >&3; while :; do sleep 1; done\n"));
  ASSERT_TRUE(served([&] {
    if (!lines.empty()) channel->kill();
    return ended > 0;
  }));
}

TEST_F(ScreenChannelTest, ALineThatNeverEndsIsTheEnd) {
  ASSERT_TRUE(start("head -c 70000000 /dev/zero >&3 2>/dev/null; sleep 100\n"));
  ASSERT_TRUE(served([&] { return ended > 0; }));
  EXPECT_TRUE(lines.empty());
  channel->kill();
}

TEST_F(ScreenChannelTest, AFloodOfLinesLeavesTimeForOthersAndLosesNone) {
  ASSERT_TRUE(start("yes x | head -n 5000 >&3\n"));
  std::size_t most = 0, before = 0;
  RunLoop::Work turn = [&] {
    most = std::max(most, lines.size() - before);
    before = lines.size();
    if (ended == 0) loop->post(turn);
  };
  loop->post(turn);
  ASSERT_TRUE(served([&] { return ended > 0; }));
  EXPECT_EQ(lines.size(), 5000u);
  EXPECT_LE(most, 100u) << "in one pass";
}

TEST_F(ScreenChannelTest, AProgramThatIsMissingIsNoScreen) {
  EXPECT_EQ(makeScreenStarter(*loop, *launcher, folder.path("none"), {})({nullptr, nullptr, nullptr}), nullptr);
}

}  // namespace
}  // namespace kestrelune
