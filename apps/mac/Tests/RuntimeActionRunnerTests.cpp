#include "RuntimeActionRunner.hpp"

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "RuntimeActionText.hpp"
#include "base/System.hpp"

namespace kestrelune {
namespace {

constexpr const char* kProfile = "00000000-0000-4000-8000-000000000001";

class ActionRunnerTest : public testing::Test, protected World {
 protected:
  ActionRunner& make(bool dryRun = false) {
    runner_ = std::make_unique<ActionRunner>(dryRun, actionReach());
    return *runner_;
  }
  std::string lastError() { return session.alert().asked.empty() ? "" : session.alert().asked.back().text; }

  const std::string helper = folder.path("root/bin/kestrelune") + " ";
  std::unique_ptr<ActionRunner> runner_;
};

std::string failure(const std::string& reason) { return "The action could not be completed: " + reason; }

TEST_F(ActionRunnerTest, ADryRunPrintsWhatWouldHappenAndTouchesNothing) {
  ActionRunner& runner = make(true);
  const std::string tool = "~/.kestrelune/bin/kestrelune ";
  const std::string service = "gui/" + std::to_string(system::userId()) + "/com.kestrelune.helper";
  const Table<Action, std::string> rows = {
      {Action::signIn("codex"), "open -b com.openai.codex"},
      {Action::signIn("nobody"), "unsupported sign-in host"},
      {Action::reconnect("google"), "open antigravity://"},
      {Action::reconnect("nobody"), "unsupported connector"},
      {Action::openLink("codex://threads/1"), "open codex://threads/1"},
      {Action::openLink("http://elsewhere"), "unsupported link"},
      {Action::updateApp("cursor"), "Terminal: " + tool + "update-app cursor"},
      {Action::updateApp("t3code"), "unsupported update"},
      {Action::window("tasks"), "window tasks"},
      {Action::account(), "open " + Action::accountURL().text()},
      {Action::switchOff("app:codex"), tool + "switch off app codex (requires confirmation)"},
      {Action::readOnly("app:codex"), "unsupported switch"},
      {Action::shareTool("skills", true), tool + "share-tools set skills on (background)"},
      {Action::shareTool("other", true), "unsupported tool"},
      {Action::workers("auto"), tool + "workers auto (background)"},
      {Action::workers("antigravity"), "unsupported worker setting"},
      {Action::smallModel(false), tool + "small-model off (background)"},
      {Action::editProfile(kProfile), tool + "profile set|clear " + kProfile + " (background)"},
      {Action::editProfile("x"), "unsupported profile"},
      {Action::restart(), "launchctl kickstart -k " + service},
      {Action::setup(), "Terminal: " + ActionText::installCommand() + " (requires confirmation)"},
      {Action::loginItem(), "SMAppService.mainApp toggle registration"},
      {Action::quit(), "quit KestreluneMenu"},
      {Action::updateAll(), tool + "update-all (background)"},
      {Action::reportProblem(), tool + "report-problem (asks first)"},
  };
  for (const auto& [action, text] : rows) {
    lines.clear();
    runner.perform(action);
    loop.turn();
    EXPECT_EQ(lines, std::vector<std::string>{"DRY_RUN " + text});
  }
  EXPECT_TRUE(tasks.children.empty() && session.alert().asked.empty() && session.workspace().links.empty());
  EXPECT_TRUE(session.terminal().commands.empty() && session.loginItem().calls.empty() && !terminated);
}

TEST_F(ActionRunnerTest, FlowsTakeOverTheirActions) {
  const struct {
    Action action;
    std::string flow;      ///< the flow that is called outside a dry run
    bool calledInADryRun;  ///< and then no line is printed
  } rows[] = {
      {Action::window("ais"), "window ais", true}, {Action::setup(), "setup", true},
      {Action::updateAll(), "updateAll", true},    {Action::restart(), "restart", false},
      {Action::reportProblem(), "problem", false},
  };
  for (const bool dryRun : {false, true})
    for (const auto& row : rows) {
      SCOPED_TRACE(row.flow + (dryRun ? ", dry run" : ""));
      lines.clear();
      std::string flow;
      ActionRunner& runner = make(dryRun);
      runner.windowAction = [&](const std::string& place) { flow = "window " + place; };
      runner.setupAction = [&] { flow = "setup"; };
      runner.updateAllAction = [&] { flow = "updateAll"; };
      runner.problemAction = [&] { flow = "problem"; };
      runner.restartAction = [&] { return (flow = "restart") == "restart"; };
      runner.perform(row.action);
      const bool called = !dryRun || row.calledInADryRun;
      EXPECT_EQ(flow, called ? row.flow : "");
      EXPECT_EQ(lines.size(), called ? 0u : 1u);
    }
  EXPECT_TRUE(tasks.children.empty());
}

TEST_F(ActionRunnerTest, HelperCommandsGoWithoutAShell) {
  ActionRunner& runner = make();
  for (const auto& [action, command] : {std::pair{Action::shareTool("skills", false), "share-tools set skills off"},
                                        {Action::workers("t3code"), "workers t3code"},
                                        {Action::smallModel(true), "small-model on"},
                                        {Action::autoDelegate(false), "auto-delegate off"}}) {
    runner.perform(action);
    EXPECT_EQ(tasks.commandLine(tasks.children.size() - 1), helper + command);
    EXPECT_EQ(tasks.children.back()->request.output, TaskRequest::Stream::null);
  }
  for (const Action& refused : {Action::workers("antigravity"), Action::editProfile("x"), Action::updateApp("x; y")})
    runner.perform(refused);
  EXPECT_EQ(tasks.children.size(), 4u);
  EXPECT_TRUE(session.terminal().commands.empty() && session.alert().asked.empty());
}

TEST_F(ActionRunnerTest, ACommandsEndIsToldAndRefreshes) {
  const std::string silent = "Setup could not be completed. Please try again.";
  const Table<const char*, TaskEnd, std::string> rows = {
      {"well", {.status = 0, .errors = "a warning"}, ""},
      {"with a reason", {.status = 1, .errors = " no such tool \n"}, failure("no such tool")},
      {"silently", {.status = 2, .errors = " \n"}, failure(silent)},
      {"by a signal", {.reason = TaskEnd::Reason::signalled, .status = 9}, failure(silent)},
      {"at length", {.status = 1, .errors = std::string(1000, 'x')}, failure(std::string(300, 'x'))},
  };
  for (const auto& [name, end, shown] : rows) {
    SCOPED_TRACE(name);
    session.alert().asked.clear();
    int refreshes = 0;
    ActionRunner& runner = make();
    runner.afterSwitch = [&] { ++refreshes; };
    runner.perform(Action::smallModel(true));
    tasks.end(tasks.children.size() - 1, end);
    loop.turn();
    EXPECT_EQ(lastError(), shown);
    EXPECT_EQ(refreshes, 1);
  }
}

TEST_F(ActionRunnerTest, ACommandThatOutlivesTheRunnerIsForgotten) {
  make().perform(Action::smallModel(true));
  runner_.reset();
  tasks.end(0, {.status = 1});
  loop.turn();
  EXPECT_TRUE(session.alert().asked.empty());
}

TEST_F(ActionRunnerTest, ACommandThatCannotStartIsAnError) {
  tasks.launchError = ENOENT;
  make().perform(Action::workers("auto"));
  EXPECT_EQ(lastError(), failure("No such file or directory"));
}

TEST_F(ActionRunnerTest, RightsAreLoweredOnlyAfterAYes) {
  const Table<Action, const char*, const char*, const char*> rows = {
      {Action::switchOff("connection:google"), "Turn off Antigravity?", "Turn off", "switch off connection google"},
      {Action::switchOff("app:claude"), "Turn off Claude Code?", "Turn off", "switch off app claude"},
      {Action::readOnly("connection:grok"), "Set Grok Bot to Read only?", "Read only", "switch read connection grok"},
  };
  ActionRunner& runner = make();
  for (const auto& [action, title, label, command] : rows)
    for (const std::optional<int> button : {std::optional<int>(0), std::optional<int>(1), std::optional<int>()}) {
      const std::size_t before = tasks.children.size();
      runner.perform(action);
      EXPECT_EQ(session.alert().asked.back().title, title);
      EXPECT_EQ(session.alert().asked.back().buttons, (std::vector<std::string>{label, "Cancel"}));
      EXPECT_EQ(tasks.children.size(), before) << "nothing is done unasked";
      session.alert().answer({.button = button});
      loop.turn();
      ASSERT_EQ(tasks.children.size(), before + (button == 0 ? 1 : 0));
      if (button == 0) {
        EXPECT_EQ(tasks.commandLine(before), helper + command);
      }
    }
}

TEST_F(ActionRunnerTest, AProfileIsSavedInOneLineOfAtMost400Characters) {
  const std::string set = helper + "profile set " + kProfile + " ";
  const std::string clear = helper + "profile clear " + kProfile;
  const Table<const char*, std::optional<int>, std::string, std::string> rows = {
      {"saved", 0, "business\n and\tinvoices ", set + "business and invoices"},
      {"too long", 0, std::string(500, 'x'), set + std::string(400, 'x')},
      {"emptied", 0, " \n ", clear},
      {"to be written anew", 1, "ignored", clear},
      {"cancelled", 2, "ignored", ""},
      {"closed", std::nullopt, "ignored", ""},
  };
  ActionRunner& runner = make();
  AIProfile profile;
  profile.name = "Codex";
  profile.profile = "the website";
  runner.profileLookup = [&](const std::string&) { return profile; };
  for (const auto& [name, button, typed, command] : rows) {
    SCOPED_TRACE(name);
    tasks.children.clear();
    session.alert().answers.push_back({button, typed});
    runner.perform(Action::editProfile(kProfile));
    loop.turn();
    EXPECT_EQ(session.alert().asked.back().title, "Profile of Codex");
    EXPECT_EQ(session.alert().asked.back().field->text, "the website");
    EXPECT_EQ(tasks.children.empty() ? "" : tasks.commandLine(0), command);
  }
}

TEST_F(ActionRunnerTest, WhatCannotBeOpenedIsNamed) {
  session.workspace().opens = session.workspace().hasApplications = false;
  ActionRunner& runner = make();
  std::string place;
  runner.windowAction = [&](const std::string& shown) { place = shown; };
  runner.perform(Action::reconnect("google"));
  loop.turn();
  EXPECT_EQ(lastError(), failure("antigravity://"));
  runner.perform(Action::signIn("codex"));
  loop.turn();
  EXPECT_EQ(lastError(), failure("com.openai.codex"));
  const std::size_t told = session.alert().asked.size();
  runner.perform(Action::openLink("codex://threads/1"));
  loop.turn();
  EXPECT_EQ(place, "tasks") << "a link that fails leads to the task list";
  EXPECT_EQ(session.alert().asked.size(), told);
}

TEST_F(ActionRunnerTest, TheTerminalGetsItsCommandIntact) {
  ActionRunner& runner = make();
  runner.perform(Action::signIn("claude"));
  runner.perform(Action::updateApp("codex"));
  session.alert().answers = {{.button = 1}, {.button = 0}};
  for (int i = 0; i < 2; ++i) runner.perform(Action::setup());
  loop.turn();
  EXPECT_EQ(session.terminal().commands,
            (std::vector<std::string>{"claude auth login", "~/.kestrelune/bin/kestrelune update-app codex",
                                      ActionText::installCommand()}));
  session.terminal().failure = "no terminal";
  runner.perform(Action::signIn("cursor"));
  loop.turn();
  EXPECT_EQ(lastError(), failure("no terminal"));
}

TEST_F(ActionRunnerTest, RestartFallsBackToTheService) {
  ActionRunner& runner = make();
  runner.restartAction = [] { return false; };
  runner.perform(Action::restart());
  ASSERT_EQ(tasks.children.size(), 1u);
  EXPECT_EQ(tasks.commandLine(0), "/app/Contents/Helpers/launchctl kickstart -k gui/" +
                                      std::to_string(system::userId()) + "/com.kestrelune.helper");
  tasks.end(0, {.status = 3});
  loop.turn();
  EXPECT_EQ(lastError(), failure("No such process"));
}

TEST_F(ActionRunnerTest, OpeningAtLoginIsToggled) {
  using Status = LoginItem::Status;
  const Table<Status, std::string, std::string, std::string> rows = {
      {Status::notRegistered, "", "register, asked", ""},
      {Status::enabled, "", "unregister", ""},
      {Status::requiresApproval, "", "unregister", ""},
      {Status::enabled, "read-only", "unregister", failure("read-only")},
  };
  for (const auto& [before, failure, call, shown] : rows) {
    session.alert().asked.clear();
    session.loginItem().state = before;
    session.loginItem().failure = failure;
    make().perform(Action::loginItem());
    EXPECT_EQ(session.loginItem().calls.back(), call);
    EXPECT_EQ(lastError(), shown);
  }
}

}  // namespace
}  // namespace kestrelune
