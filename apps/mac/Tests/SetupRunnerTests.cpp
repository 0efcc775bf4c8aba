#include "SetupRunner.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Fakes/FakeFiles.hpp"
#include "base/System.hpp"

namespace kestrelune {
namespace {

using State = SetupRunner::State;

struct SetupRunnerTest : testing::Test {
  FakeFiles files;
  std::vector<HelperCommand> commands;
  std::vector<std::function<void(const HelperCommandResult&)>> completions;
  std::vector<State> changes;
  std::vector<std::string> lines;
  HelperFiles place{Url::file("/home/u/.kestrelune"), files};

  std::unique_ptr<SetupRunner> make(bool dryRun) {
    auto runner = std::make_unique<SetupRunner>(
        dryRun,
        [this](const HelperCommand& command, double timeout, auto completed) {
          EXPECT_EQ(timeout, 720);
          commands.push_back(command);
          completions.push_back(completed);
        },
        [this](const std::string& line) { lines.push_back(line); });
    runner->onChange = [this](const State& state) { changes.push_back(state); };
    return runner;
  }
};

TEST_F(SetupRunnerTest, RunsTheInstallCommandOnceAtATime) {
  const auto runner = make(false);
  runner->start(place, 720);
  runner->start(place, 720);
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(commands[0].executable, "/home/u/.kestrelune/node/current/bin/node");
  EXPECT_EQ(commands[0].arguments,
            (std::vector<std::string>{"/home/u/.kestrelune/helper/kestrelune-runner.mjs", "install", "--in-app"}));
  EXPECT_EQ(commands[0].environment, system::environment());
  completions[0]({3, "reason"});
  EXPECT_EQ(changes, (std::vector{State{State::Case::running, 0, ""}, State{State::Case::finished, 3, "reason"}}));
  runner->start(place, 720);
  EXPECT_TRUE(runner->running());
}

TEST_F(SetupRunnerTest, AFailureBeforeTheCommandFinishesToo) {
  const auto runner = make(false);
  runner->fail(RuntimeError::script("no room"));
  EXPECT_EQ(runner->state(), (State{State::Case::finished, -1, "no room"}));
  runner->start(place, 720);
  EXPECT_TRUE(runner->running());
}

TEST_F(SetupRunnerTest, ADryRunOnlySaysSo) {
  const auto runner = make(true);
  runner->start(place, 720);
  runner->start(place, 720);
  EXPECT_EQ(lines, (std::vector<std::string>{"DRY_RUN setup", "DRY_RUN setup"}));
  EXPECT_EQ(runner->state(), State{});
  EXPECT_TRUE(commands.empty());
  EXPECT_TRUE(changes.empty());
}

TEST_F(SetupRunnerTest, ACommandMayOutliveIt) {
  auto runner = make(false);
  runner->start(place, 720);
  runner.reset();
  completions[0]({0, ""});
  EXPECT_EQ(changes.size(), 1u);
}

}  // namespace
}  // namespace kestrelune
