#include "Background.hpp"

#include <cerrno>
#include <csignal>

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "base/System.hpp"

namespace kestrelune {
namespace {

TaskEnd exited(int status) { return {TaskEnd::Reason::exited, status, "", ""}; }
TaskEnd signalled(int number) { return {TaskEnd::Reason::signalled, number, "", ""}; }

struct BackgroundTest : testing::Test, World {
  void SetUp() override {
    folder.write("runner/in-app", "");
    folder.write("root/helper/kestrelune-runner.mjs", "");
    writeProgram("root/node/node-v1/bin/node");
    std::filesystem::create_symlink("node-v1", folder.path("root/node/current"));
  }
  std::unique_ptr<BackgroundProcess> make(const std::string& leash = "", bool dryRun = false) {
    return std::make_unique<BackgroundProcess>(
        configuration(dryRun), BackgroundProcess::Reach{loop, clock, systemFiles(), tasks, outside().output, leash});
  }
  void removeMarker() { systemFiles().unlink(folder.path("runner/in-app")); }
  /// Ends the newest child.
  void end(const TaskEnd& how) {
    tasks.end(tasks.children.size() - 1, how);
    loop.turn();
  }
  std::size_t started() const { return tasks.children.size(); }
};

TEST_F(BackgroundTest, StartsTheHelperUnderItsNameWithItsLog) {
  const auto descriptors = [] {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), std::filesystem::end(entries));
  };
  const auto before = descriptors();
  const auto process = make();
  process->start();
  process->start();
  ASSERT_EQ(started(), 1u);
  EXPECT_EQ(descriptors(), before) << "the log is the child's alone";
  const TaskRequest& request = tasks.children[0]->request;
  EXPECT_EQ(request.executable, folder.path("root/node/node-v1/bin/Kestrelune"));
  EXPECT_EQ(request.arguments,
            (std::vector<std::string>{folder.path("root/helper/kestrelune-runner.mjs"), "run", "--service"}));
  EXPECT_EQ(request.folder, system::homeFolder().path());
  EXPECT_EQ(request.environment->at("HOME"), system::homeFolder().path());
  EXPECT_EQ(request.output, TaskRequest::Stream::file);
  EXPECT_EQ(request.errors, TaskRequest::Stream::file);
  EXPECT_EQ(systemFiles().info(folder.path("runner/logs")).value.mode, 0700u);
  EXPECT_EQ(systemFiles().info(folder.path("runner/logs/helper.log")).value.mode, 0600u);
}

TEST_F(BackgroundTest, ALeashComesBetween) {
  make("/bin/true")->start();
  const TaskRequest& request = tasks.children[0]->request;
  EXPECT_EQ(request.executable, "/bin/true");
  EXPECT_EQ(request.arguments[0], std::to_string(system::processId()));
  EXPECT_EQ(request.arguments[1], folder.path("root/node/node-v1/bin/Kestrelune"));
}

TEST_F(BackgroundTest, WithoutWhatItNeedsItStaysQuiet) {
  const Table<const char*, const char*> rows = {
      {"marker", "runner/in-app"}, {"runtime", "root/node/current"}, {"runner", "root/helper/kestrelune-runner.mjs"}};
  for (const auto& [name, missing] : rows) {
    std::filesystem::remove_all(folder.path("root"));
    SetUp();
    systemFiles().unlink(folder.path(missing));
    const auto process = make();
    process->start();
    loop.pass(3600);
    EXPECT_EQ(started(), 0u) << name;
    EXPECT_TRUE(lines.empty()) << name;
  }
}

TEST_F(BackgroundTest, ADryRunOnlySaysSo) {
  make("", true)->start();
  removeMarker();
  make("", true)->start();
  EXPECT_EQ(lines, (std::vector<std::string>{"DRY_RUN background start"}));
  EXPECT_EQ(started(), 0u);
}

TEST_F(BackgroundTest, HowItEndedDecidesWhenItComesBack) {
  // lived: a negative pause: never
  const Table<const char*, TaskEnd, double, double> rows = {
      {"of its own will", exited(0), 5, -1},        {"asks for a restart", exited(75), 5, 1},
      {"asks at once", exited(75), 0, 1},           {"fails after 5 seconds", exited(1), 5, 25},
      {"fails at once", exited(1), 0, 30},          {"fails after an hour", exited(1), 3600, 1},
      {"fails after 29 seconds", exited(1), 29, 1}, {"killed", signalled(SIGKILL), 5, 25},
      {"signal 75", signalled(75), 5, 25}};
  for (const auto& [name, how, lived, pause] : rows) {
    SCOPED_TRACE(name);
    const auto process = make();
    process->start();
    const std::size_t before = started();
    loop.pass(lived);
    clock.set({0});  // a wall clock that jumps changes nothing
    end(how);
    EXPECT_FALSE(process->running());
    if (pause < 0) {
      loop.pass(7200);
      EXPECT_EQ(started(), before);
      continue;
    }
    loop.pass(pause - 0.01);
    EXPECT_EQ(started(), before);
    loop.pass(0.02);
    EXPECT_EQ(started(), before + 1);
  }
}

TEST_F(BackgroundTest, StopEndsTheChildOrThePendingStart) {
  const auto process = make();
  process->start();
  process->stop();
  EXPECT_EQ(tasks.children[0]->signals, std::vector{SIGTERM});
  end(exited(1));
  loop.pass(3600);
  EXPECT_EQ(started(), 1u);

  process->start();
  end(exited(1));
  process->stop();
  loop.pass(3600);
  EXPECT_EQ(started(), 2u);
}

TEST_F(BackgroundTest, TheLaterWishHoldsWhileItIsEnding) {
  const auto process = make();
  process->start();
  process->stop();
  process->start();
  EXPECT_EQ(started(), 1u);
  end(signalled(SIGTERM));
  EXPECT_EQ(started(), 2u);
  process->restart();
  process->stop();
  end(signalled(SIGTERM));
  loop.pass(3600);
  EXPECT_EQ(started(), 2u);
}

TEST_F(BackgroundTest, RestartWaitsForTheEndAndForNothingElse) {
  const auto process = make();
  EXPECT_TRUE(process->restart()) << "nothing runs: a start";
  EXPECT_TRUE(process->restart());
  EXPECT_EQ(tasks.children[0]->signals, std::vector{SIGTERM});
  EXPECT_EQ(started(), 1u);
  end(signalled(SIGTERM));
  EXPECT_EQ(started(), 2u);
  end(exited(1));
  loop.pass(29);
  EXPECT_EQ(started(), 2u) << "only once";
  removeMarker();
  EXPECT_FALSE(process->restart());
}

TEST_F(BackgroundTest, ALaunchThatFailsIsToldAndTriedAgain) {
  tasks.launchError = ENOEXEC;
  const auto process = make();
  process->start();
  EXPECT_EQ(lines, (std::vector<std::string>{"Kestrelune could not start: Exec format error"}));
  loop.pass(29.9);
  tasks.launchError = 0;
  EXPECT_EQ(started(), 0u);
  loop.pass(0.2);
  EXPECT_EQ(started(), 1u);
}

TEST_F(BackgroundTest, ALogThatCannotBeOpenedLeavesOurOutput) {
  std::filesystem::create_directories(folder.path("runner/logs/helper.log"));
  make()->start();
  EXPECT_EQ(tasks.children[0]->request.output, TaskRequest::Stream::inherit);
}

TEST_F(BackgroundTest, TheAliasIsALinkToTheRuntime) {
  Files& disk = systemFiles();
  const Url node = folder.url("root/node/current/bin/node");
  const Url alias = folder.url("root/node/node-v1/bin/Kestrelune");
  const auto inode = [&](const Url& url) { return disk.info(url.path()).value.inode; };
  EXPECT_EQ(BackgroundProcess::executable(node, disk), alias);
  const auto changed = disk.info(node.path()).value.changed;
  EXPECT_EQ(BackgroundProcess::executable(node, disk), alias);
  EXPECT_EQ(disk.info(node.path()).value.changed, changed) << "no second link";

  disk.unlink(alias.path());
  folder.write("root/node/node-v1/bin/Kestrelune", "an older runtime");
  EXPECT_EQ(BackgroundProcess::executable(node, disk), alias);
  EXPECT_EQ(inode(alias), inode(node));

  for (const char* target : {"node", "nowhere"}) {
    disk.unlink(alias.path());
    disk.symlink(target, alias.path());
    EXPECT_EQ(BackgroundProcess::executable(node, disk), alias) << "a link to " << target;
    EXPECT_EQ(disk.linkInfo(alias.path()).value.inode, inode(node)) << target;
  }

  disk.unlink(alias.path());
  std::filesystem::create_directories(alias.appending("in the way").path());
  EXPECT_EQ(BackgroundProcess::executable(node, disk), node);
  EXPECT_EQ(BackgroundProcess::executable(folder.url("missing"), disk), folder.url("missing"));
}

TEST(BackgroundEnvironmentTest, PathHomeAndLanguage) {
  const std::string usual = "/opt/homebrew/bin:/usr/local/bin:/h u/.local/bin:/usr/bin:/bin:/usr/sbin:/sbin";
  const Url home = Url::file("/h u");
  const Table<const char*, Environment, std::string, std::string> rows = {
      {"nothing", {}, usual, "en_US.UTF-8"},
      {"an old path", {{"PATH", "::bin:/usr/bin:/x:/x:./y:"}, {"LANG", "fr"}}, usual + ":/x", "fr"},
      {"empty values", {{"PATH", ""}, {"LANG", ""}}, usual, ""},
      {"a locale of another variable", {{"LC_ALL", "de_DE.ISO-8859-1"}}, usual, "de_DE.UTF-8"}};
  for (const auto& [name, base, path, lang] : rows) {
    const Environment got = BackgroundProcess::environment(base, home);
    EXPECT_EQ(got.at("PATH"), path) << name;
    EXPECT_EQ(got.at("HOME"), "/h u") << name;
    EXPECT_EQ(got.at("LANG"), lang) << name;
  }
  EXPECT_EQ(BackgroundProcess::environment({{"OTHER", "kept"}}, home).at("OTHER"), "kept");
}

}  // namespace
}  // namespace kestrelune
