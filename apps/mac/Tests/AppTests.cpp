#include "App.hpp"

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"

namespace kestrelune {
namespace {

using Lines = std::vector<std::string>;

/// The program from launch on, over a folder of its own.
struct Program : World {
  explicit Program(Lines arguments, bool dryRun = true)
      : delegate(configuration(dryRun), outside(), std::move(arguments)) {
    delegate.applicationDidFinishLaunching();
  }

  AppDelegate delegate;
};

TEST(App, QuitAfterTakesANumberOfSeconds) {
  const Table<Lines, bool, bool> rows = {
      {{"--quit-after", "2.5"}, true, true}, {{"--quit-after", "abc"}, true, false},
      {{"--quit-after", "2x"}, true, false}, {{"--quit-after", ""}, true, false},
      {{"--quit-after"}, true, false},       {{"--quit-after", "2.5"}, false, false},
  };
  for (const auto& [arguments, dryRun, quits] : rows) {
    SCOPED_TRACE(::testing::PrintToString(arguments));
    Program program(arguments, dryRun);
    program.loop.pass(2.4);
    EXPECT_FALSE(program.loop.stopped());
    program.loop.pass(0.2);
    EXPECT_EQ(program.loop.stopped(), quits);
  }
}

TEST(App, ShowMenuOpensItAndTellsItsPlace) {
  Program program({"--show-menu"});
  program.session.windows().frames = {{100, 28, 368, 500}};
  EXPECT_FALSE(program.session.statusItem().open);
  program.loop.pass(0.6);
  EXPECT_TRUE(program.session.statusItem().open);
  EXPECT_FALSE(program.lines.back().starts_with("MENU_RECT"));
  program.loop.pass(1.5);
  EXPECT_EQ(program.lines.back(), "MENU_RECT 94,0,380,540");
}

TEST(App, ExerciseActionsPrintsOneLineForEach) {
  Program program({"--exercise-actions"});
  Lines printed;
  for (const std::string& line : program.lines)
    if (line.starts_with("DRY_RUN ")) printed.push_back(line.substr(8));
  ASSERT_FALSE(printed.empty());
  EXPECT_TRUE(printed.front().starts_with("open https://")) << printed.front();
  EXPECT_EQ(printed.back(),
            "~/.kestrelune/bin/kestrelune profile set|clear 00000000-0000-4000-8000-000000000001 (background)");
  EXPECT_EQ(printed.size(), 24u);
  EXPECT_TRUE(program.session.windows().isVisible("setup")) << "which prints nothing";
  EXPECT_TRUE(program.tasks.children.empty());

  EXPECT_EQ(Program({"--exercise-actions"}, false).lines, Lines{});
}

TEST(App, ShowSetupTakesAStepAndOpensWithoutOne) {
  // sameAs: the value whose window looks the same
  const Table<Lines, bool, bool, const char*> rows = {
      {{"--show-setup", "1"}, true, true, "1"}, {{"--show-setup", "3"}, true, true, "3"},
      {{"--show-setup", "7"}, true, true, "1"}, {{"--show-setup", "x"}, true, true, "1"},
      {{"--show-setup"}, true, true, "1"},      {{"--show-setup", "2"}, false, false, ""},
  };
  for (const auto& [arguments, dryRun, shown, sameAs] : rows) {
    SCOPED_TRACE(::testing::PrintToString(arguments));
    Program program(arguments, dryRun);
    ASSERT_EQ(program.session.windows().isVisible("setup"), shown);
    if (!shown) continue;
    Program same({"--show-setup", sameAs});
    EXPECT_EQ(program.session.windows().shown.at("setup").tree, same.session.windows().shown.at("setup").tree);
  }
}

}  // namespace
}  // namespace kestrelune
