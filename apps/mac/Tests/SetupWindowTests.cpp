#include "SetupWindow.hpp"

#include "Endpoints.hpp"
#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "RuntimeAction.hpp"

namespace kestrelune {
namespace {

constexpr const char* kReady =
    R"(,"state":"running","apps":[{"host":"codex","state":"ready"},{"host":"cursor","state":"signed_out"}])";

class SetupWindowTest : public testing::Test {
 protected:
  void make(bool dryRun = false, std::optional<SetupStep> step = std::nullopt) {
    configuration = world.configuration(dryRun);
    setup = std::make_unique<SetupController>(
        configuration, payload, world.outside(),
        SetupController::Reach{.execute = [this](auto&, double, auto completed) { install = completed; }});
    actions = std::make_unique<ActionRunner>(dryRun, world.actionReach());
    window = std::make_unique<SetupWindowController>(configuration, world.outside(), *setup, *actions, step,
                                                     [this] { closed = true; });
    window->present();
  }
  bool press(const char* key, const char* value = "") {
    const bool pressed = windows().press("setup", key, value);
    world.loop.turn();
    return pressed;
  }
  bool shows(const std::string& text) const { return texts().find(text) != std::string::npos; }
  std::string texts() const { return const_cast<World&>(world).session.windows().texts("setup"); }
  FakeWindows& windows() { return world.session.windows(); }
  bool completed() { return world.defaults.boolean(SetupController::kWindowCompletedKey); }

  World world;
  Configuration configuration;
  std::optional<HelperPayload> payload;
  std::function<void(const HelperCommandResult&)> install;
  std::unique_ptr<SetupController> setup;
  std::unique_ptr<ActionRunner> actions;
  std::unique_ptr<SetupWindowController> window;
  bool closed = false;
};

TEST_F(SetupWindowTest, MovesOnByItselfOnceAndComesToTheFront) {
  make();
  EXPECT_TRUE(shows("Welcome to Kestrelune"));
  EXPECT_TRUE(shows("Step 1 of 3"));
  windows().raised.clear();
  world.writeStatus(kReady);
  world.loop.pass(1);
  EXPECT_TRUE(shows("Which AI do you ask in?"));
  EXPECT_EQ(windows().raised.size(), 1u);

  EXPECT_TRUE(press(SetupKeys::kBackToAccount));
  world.loop.pass(3);
  EXPECT_TRUE(shows("Signed in. This Mac is connected.")) << "who goes back stays there";
  EXPECT_EQ(windows().raised.size(), 1u);
}

TEST_F(SetupWindowTest, GrokFallsBackToItsPage) {
  world.writeStatus(kReady);
  for (const bool installed : {true, false}) {
    world.session.workspace().handles = installed;
    world.session.workspace().links.clear();
    make();
    EXPECT_FALSE(press(SetupKeys::kConnect)) << "nothing is chosen";
    press(SetupKeys::kAssistants, "nonsense");
    EXPECT_FALSE(window->model().chosen);
    press(SetupKeys::kAssistants, "grok");
    press(SetupKeys::kConnect);
    const std::string expected = installed ? SetupFlow::grokBotApp().text() : Action::connectorURL("grok")->text();
    EXPECT_EQ(world.session.workspace().links, std::vector<std::string>{expected});
    EXPECT_TRUE(world.session.pasteboard().text.starts_with("Add a custom MCP server"));
  }
}

TEST_F(SetupWindowTest, TheFirstTaskOpensOrIsCopied) {
  world.writeStatus(kReady);
  make(false, SetupStep::mac);
  EXPECT_TRUE(shows("✓ Ready"));
  EXPECT_TRUE(press(SetupKeys::kFirstTask));
  EXPECT_TRUE(shows("The first task is copied. Paste it into Claude."));
  EXPECT_EQ(world.session.pasteboard().text,
            "Ask Codex on my Mac to create hello.md with three ideas for a weekend project.");
  EXPECT_FALSE(closed);
  EXPECT_FALSE(press(SetupKeys::kFirstTask)) << "it is offered once";
  EXPECT_TRUE(press(SetupKeys::kDone));
  EXPECT_TRUE(closed && completed());
}

TEST_F(SetupWindowTest, NoReadyApplicationOffersNoFirstTask) {
  world.writeStatus(R"(,"state":"running","apps":[{"host":"cursor","state":"signed_out"}])");
  make(false, SetupStep::mac);
  EXPECT_TRUE(shows("No app on this Mac can take tasks yet."));
  EXPECT_FALSE(press(SetupKeys::kFirstTask));
  EXPECT_TRUE(press("app/0"));
  EXPECT_EQ(world.session.terminal().commands, std::vector<std::string>{"cursor-agent login"});
  EXPECT_FALSE(press("app/7"));
}

TEST_F(SetupWindowTest, ADownloadMustBeMovedBeforeItInstalls) {
  payload = HelperPayload{.helperURL = Url::file("/nowhere"), .helperVersion = "1"};
  make();
  EXPECT_TRUE(shows("Move Kestrelune to Applications first"));
  EXPECT_FALSE(press(SetupKeys::kSignIn));
  EXPECT_TRUE(press(SetupKeys::kQuit));
  EXPECT_TRUE(world.terminated);
  world.writeStatus(kReady);
  world.loop.pass(1);
  EXPECT_FALSE(shows("Move Kestrelune")) << "a helper that runs needs no move";
}

TEST_F(SetupWindowTest, AFailedInstallSaysWhyAndCanBeTriedAgain) {
  payload = HelperPayload{.helperURL = world.folder.url("gone"), .helperVersion = "1", .helperSHA256 = "x"};
  make(true);
  EXPECT_TRUE(press(SetupKeys::kSignIn));
  EXPECT_EQ(world.lines, std::vector<std::string>{"DRY_RUN setup"});

  SetupWindowModel model{.install = {SetupRunner::State::Case::finished, 124, "Setup timed out."}};
  View tree = SetupWindowViews::tree(model);
  EXPECT_EQ(findView(tree, SetupKeys::kSignIn)->text, "Try again");
  model.install = {SetupRunner::State::Case::running, 0, ""};
  tree = SetupWindowViews::tree(model);
  EXPECT_EQ(findView(tree, SetupKeys::kSignIn), nullptr) << "no way out while it runs but closing the window";
  model = {.checkingUpdate = true};
  EXPECT_FALSE(findView(SetupWindowViews::tree(model), SetupKeys::kSignIn)->enabled);
}

TEST_F(SetupWindowTest, ADryRunOnlySaysWhatItWouldDo) {
  world.writeStatus(std::string(kReady) + R"(,"connections":[{"family":"claude","state":"connected"}])");
  make(true);
  press(SetupKeys::kBackToAI);
  press(SetupKeys::kAssistants, "claude");
  press(SetupKeys::kContinueFromAI);
  press(SetupKeys::kFirstTask);
  ASSERT_EQ(world.lines.size(), 1u);
  EXPECT_TRUE(world.lines[0].starts_with("DRY_RUN open https://claude.ai/new?q=Ask%20Codex"));
  EXPECT_TRUE(closed);
  EXPECT_FALSE(completed());
}

TEST_F(SetupWindowTest, SharedToolsAreSwitchedByNameAndTasksOnlyShown) {
  world.writeStatus(kReady);
  world.folder.write("runner/share-tools.json",
                     R"({"schemaVersion":2,"view":[{"id":"skills","on":true,"available":true,"mode":"direct","to":[]},
                        {"id":"computer_use","on":true,"available":true,"mode":"task","to":[]}]})");
  make(true, SetupStep::mac);
  EXPECT_TRUE(shows("as a task to Codex"));
  EXPECT_TRUE(press("tool/skills", "off"));
  EXPECT_FALSE(press("tool/computer_use", "off"));
  window->handle({.node = "tool/computer_use", .value = "off"});
  ASSERT_EQ(world.lines.size(), 1u);
  EXPECT_TRUE(world.lines[0].find("share-tools set skills off") != std::string::npos);
}

}  // namespace
}  // namespace kestrelune
