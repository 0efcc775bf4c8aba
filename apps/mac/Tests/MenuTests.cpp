#include "Menu.hpp"

#include <csignal>

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "base/Digest.hpp"

namespace kestrelune {
namespace {

class MenuTest : public testing::Test, protected World {
 protected:
  MenuController& make(bool dryRun = true) {
    Outside outside = World::outside();
    outside.bundle = Bundle(folder.url("app"));
    outside.execute = [this](const HelperCommand& command, double, auto completed) {
      commands.push_back(command.arguments.back());
      complete = std::move(completed);
    };
    controller_ = std::make_unique<MenuController>(configuration(dryRun), std::move(outside));
    return *controller_;
  }
  /// A live status of this moment, whose helper is this test.
  void writeStatus(const std::string& members) { World::writeStatus(R"(,"state":"running")" + members); }
  long stateLines() const {
    return std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("STATE "); });
  }
  FakeStatusItem& item() { return session.statusItem(); }

  std::vector<std::string> commands;
  std::function<void(const HelperCommandResult&)> complete;
  std::unique_ptr<MenuController> controller_;
};

constexpr const char* kAttention =
    R"(,"attention":[{"task_id":"aa-1","title":"Pick a date","line":"Monday or Friday?"}])";

TEST_F(MenuTest, TheIconFollowsTheFileAndTheClosedMenuDoesNot) {
  make();
  const MenuTree before = item().menu;
  writeStatus(kAttention);
  loop.pass(4.9);
  EXPECT_EQ(stateLines(), 1);
  loop.pass(0.2);
  EXPECT_EQ(lines.back(), "STATE yellow Something needs you");
  EXPECT_EQ(item().look.pill, "Pick a date");
  EXPECT_EQ(item().look.tone, StatusItemLook::PillTone::needsYou);
  EXPECT_EQ(item().look.accessibilityLabel, "Kestrelune — Pick a date");
  EXPECT_EQ(item().look.dot, (Color{217, 130, 43}));
  EXPECT_EQ(item().menu, before);
  item().openMenu();
  EXPECT_NE(item().row("Pick a date"), nullptr);
  EXPECT_NE(item().row("Finish setting up …"), nullptr) << "no helper of ours is installed";
}

TEST_F(MenuTest, AnOpenMenuStaysAsItOpened) {
  for (const bool wantsMenu : {false, true}) {
    item().wantsMenu = wantsMenu;
    writeStatus("");
    make();
    item().openMenu();
    const int before = item().menus;
    writeStatus(kAttention);
    loop.pass(5.1);
    EXPECT_EQ(item().menus, before);
    item().open = false;
  }
}

TEST_F(MenuTest, AHostWithACopyOfItsOwnGetsEachChangeOnce) {
  item().wantsMenu = true;
  writeStatus("");
  make();
  const int before = item().menus;
  loop.pass(5.1);
  EXPECT_EQ(item().menus, before) << "nothing changed";
  writeStatus(kAttention);
  loop.pass(15);
  EXPECT_EQ(item().menus, before + 1);
  EXPECT_NE(item().row("Pick a date"), nullptr);
}

TEST_F(MenuTest, LaterAndDoneCloseTheMenuAndThenTakeTheRowAway) {
  for (const auto& [part, line] :
       {std::pair{MenuChoice::Part::later, "DRY_RUN settle later"}, {MenuChoice::Part::done, "DRY_RUN settle done"}}) {
    SCOPED_TRACE(line);
    defaults.bytes.clear();
    writeStatus(kAttention);
    make();
    item().openMenu();
    const int cancels = item().cancels;
    ASSERT_TRUE(item().press("Pick a date", part));
    EXPECT_EQ(item().cancels, cancels + 1);
    EXPECT_NE(item().row("Pick a date"), nullptr) << "acted upon only after the menu has gone";
    loop.turn();
    EXPECT_EQ(item().row("Pick a date"), nullptr);
    EXPECT_EQ(item().look.pill, "");
    EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end());
  }
}

TEST_F(MenuTest, ChoicesGoThroughTheGrammarOfActions) {
  make();
  const std::size_t before = lines.size();
  for (const char* refused : {"", "nonsense", "update:t3code", "off:app:"}) item().send({.represented = refused});
  loop.turn();
  EXPECT_EQ(lines.size(), before);
  item().send({.represented = "signIn:claude"});
  EXPECT_EQ(lines.size(), before);
  loop.turn();
  EXPECT_EQ(lines.back(), "DRY_RUN Terminal: claude auth login");
  item().send({.represented = "quit"});
  loop.turn();
  EXPECT_TRUE(loop.stopped());
}

TEST_F(MenuTest, AHeartbeatThatFailsIsALineAndTriedAgain) {
  folder.write("runner", "a file where the folder should be");
  make();
  const auto isError = [](const std::string& line) { return line.starts_with("Heartbeat error: "); };
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), isError), 1);
  std::filesystem::remove(folder.path("runner"));
  loop.pass(30.1);
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), isError), 1);
  EXPECT_TRUE(folder.has("runner/menubar.json"));
}

TEST_F(MenuTest, TheMainWindowFollowsTheRefreshWhileItIsVisible) {
  writeStatus("");
  MenuController& controller = make();
  controller.performAction("window:tasks");
  EXPECT_NE(std::find(lines.begin(), lines.end(), "DRY_RUN window tasks"), lines.end());
  EXPECT_EQ(session.windows().texts("main").find("Pick a date"), std::string::npos);
  writeStatus(kAttention);
  loop.pass(5.1);
  EXPECT_NE(session.windows().texts("main").find("Pick a date"), std::string::npos);

  const int drawn = session.windows().drawn;
  loop.pass(61);
  EXPECT_EQ(session.windows().drawn, drawn + 1) << "it tells times of day and how long";
  const auto checks = [&](pid_t pid) {
    folder.write("runner/reports/latest.json", R"({"state":"running","pid":)" + std::to_string(pid) + "}");
  };
  const auto runs = [&] { return session.windows().texts("main").find("Running now") != std::string::npos; };
  checks(::getpid());
  controller.performAction("window:general");
  EXPECT_TRUE(runs());
  checks(0x3fffffff);
  loop.pass(5.1);
  EXPECT_FALSE(runs()) << "its process has gone";

  session.windows().userCloses("main");
  const int updates = session.windows().updates;
  writeStatus("");
  loop.pass(5.1);
  EXPECT_EQ(session.windows().updates, updates);
  controller.performAction("window:tasks");
  EXPECT_EQ(session.windows().texts("main").find("Pick a date"), std::string::npos);
}

TEST_F(MenuTest, ThereIsOneSetupWindowUntilItIsClosed) {
  MenuController& controller = make();
  controller.performAction("setup");
  const View account = session.windows().shown.at("setup").tree;
  controller.showSetupWindow(SetupStep::mac);
  EXPECT_NE(session.windows().shown.at("setup").tree, account);
  controller.performAction("setup");
  EXPECT_NE(session.windows().shown.at("setup").tree, account) << "the step stays";
  session.windows().userCloses("setup");
  loop.turn();
  controller.performAction("setup");
  EXPECT_EQ(session.windows().shown.at("setup").tree, account) << "a new one opens at its own step";
}

TEST_F(MenuTest, RestartIsForTheHelperInTheApplicationWhereTheMarkerSaysSo) {
  MenuController& controller = make(false);
  controller.performAction("restart");
  ASSERT_EQ(tasks.children.size(), 1u);
  EXPECT_TRUE(tasks.commandLine(0).starts_with(folder.path("app") + "/Contents/Helpers/launchctl kickstart"));
  folder.write("runner/in-app", "");
  folder.write("root/helper/kestrelune-runner.mjs", "");
  writeProgram("root/node/current/bin/node");
  controller.performAction("restart");
  ASSERT_EQ(tasks.children.size(), 2u);
  EXPECT_TRUE(tasks.commandLine(1).ends_with("kestrelune-runner.mjs run --service"));
  controller.performAction("restart");
  EXPECT_EQ(tasks.children[1]->signals, std::vector<int>{SIGTERM});
  tasks.end(1, {});
  loop.turn();
  EXPECT_EQ(tasks.children.size(), 3u) << "at once, when the old one has ended";
  controller.performAction("reportProblem");
  EXPECT_EQ(session.alert().asked.back().title, "Report a problem");
  controller.stop();
  EXPECT_EQ(tasks.children[2]->signals, std::vector<int>{SIGTERM});
}

TEST_F(MenuTest, ASetupStopsTheHelperAndStartsItAgain) {
  folder.write("app/Contents/Info.json", R"({"KestreluneHelperVersion":"1.0","KestreluneNodeVersion":"v20",)"
                                         R"("KestreluneHelperSHA256":")" +
                                             sha256("helper") + "\"}");
  folder.write("app/Contents/Resources/helper/kestrelune-runner.mjs", "helper");
  for (const char* processor : {"arm64", "x64"})
    writeProgram(std::string("app/Contents/Helpers/node-darwin-") + processor + "/node");
  folder.write("root/helper/kestrelune-runner.mjs", "helper");
  folder.write("runner/in-app", "");
  writeProgram("root/node/current/bin/node");
  std::filesystem::rename(folder.path("root/node/current"), folder.path("root/node/old"));
  std::filesystem::create_directory_symlink("old", folder.path("root/node/current"));
  MenuController& controller = make(false);
  controller.background().start();
  controller.showSetupWindow(SetupStep::account);
  const struct {
    const char* greyed;
    HelperCommandResult result;
    std::string notice, alert;
    bool setUpAgain;
  } rows[] = {
      {"Restart Kestrelune", {1, "no network"}, "", "The action could not be completed: no network", true},
      {"Set up this Mac …", {0, "done"}, "This Mac is connected to Kestrelune.", "", false},
  };
  for (const auto& row : rows) {
    const std::size_t running = tasks.children.size() - 1;
    session.alert().asked.clear();
    const int drawn = session.windows().drawn;
    controller.setup().setup();
    EXPECT_GT(session.windows().drawn, drawn) << "the window doesn't wait for its next look";
    EXPECT_EQ(tasks.children[running]->signals, std::vector<int>{SIGTERM});
    ASSERT_NE(item().row(row.greyed), nullptr);
    EXPECT_FALSE(item().row(row.greyed)->enabled);
    EXPECT_EQ(item().look.dot, (Color{208, 52, 44})) << "nothing runs yet but the copying";
    tasks.end(running, {});
    loop.turn();
    EXPECT_EQ(commands.back(), "--in-app");
    EXPECT_EQ(item().look.toolTip, "Kestrelune — Setting up Kestrelune");
    complete(row.result);
    EXPECT_EQ(tasks.children.size(), running + 2) << "it is started again, however the setup went";
    const auto& delivered = session.notifications().delivered;
    EXPECT_EQ(delivered.empty() ? "" : delivered.back().body, row.notice);
    EXPECT_EQ(session.alert().asked.empty() ? "" : session.alert().asked.back().text, row.alert);
    EXPECT_EQ(item().row("Set up this Mac …") != nullptr, row.setUpAgain);
  }
}

}  // namespace
}  // namespace kestrelune
