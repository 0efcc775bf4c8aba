#include "SetupFlow.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Fakes/Languages.hpp"

namespace kestrelune {
namespace {

using Kind = SetupAppRow::Kind;

Snapshot connectedTo(const std::vector<Connection>& connections, Signal signal = Signal::green,
                     const char* state = "running") {
  HelperStatus status;
  status.state = state;
  status.connections = connections;
  return {.status = status, .signal = signal};
}

TEST(SetupFlow, OpensAtTheFirstStepThatIsNotDone) {
  const struct {
    const char* name;
    Snapshot snapshot;
    SetupStep step;
  } rows[] = {
      {"no status", {.signal = Signal::red}, SetupStep::account},
      {"green, but not at work", connectedTo({}, Signal::green, "starting"), SetupStep::account},
      {"at work, but red", connectedTo({{.family = "claude", .state = "connected"}}, Signal::red), SetupStep::account},
      {"nothing connected", connectedTo({}), SetupStep::ai},
      {"needs the user, nothing connected", connectedTo({}, Signal::yellow), SetupStep::ai},
      {"a stale connection", connectedTo({{.family = "claude", .state = "stale"}}), SetupStep::ai},
      {"connected to something else", connectedTo({{.family = "codex", .state = "connected"}}), SetupStep::ai},
      {"the last of the five", connectedTo({{.family = "claude"}, {.family = "google", .state = "connected"}}),
       SetupStep::mac},
  };
  for (const auto& row : rows) EXPECT_EQ(SetupFlow::firstOpenStep(row.snapshot), row.step) << row.name;
}

TEST(SetupFlow, RowOfAnApplication) {
  const testing_support::English english;
  const AppAccount pro{std::nullopt, "Pro"};
  const struct {
    const char* name;
    HostApp app;
    SetupAppRow row;
    std::optional<std::string> button;
  } rows[] = {
      {"ready",
       {.host = "claude", .state = "ready", .account = pro, .version = "2"},
       {"claude", "Claude Code", "Pro · v2", Kind::ready, {}},
       {}},
      {"ready, nothing known",
       {.host = "claude", .name = "Claude", .state = "ready"},
       {"claude", "Claude", "Signed in", Kind::ready, {}},
       {}},
      {"signed out",
       {.host = "claude", .state = "signed_out"},
       {"claude", "Claude Code is signed out", "Optional. Needed only when a task goes to Claude Code.",
        Kind::signedOut, Action::signIn("claude")},
       "Sign in"},
      {"signed out, without a way to sign in",
       {.host = "antigravity", .state = "signed_out"},
       {"antigravity",
        "Antigravity is signed out",
        "Optional. Needed only when a task goes to Antigravity.",
        Kind::signedOut,
        {}},
       {}},
      {"limited",
       {.host = "cursor", .state = "usage_limited"},
       {"cursor", "Cursor", "Usage limit reached. Tasks wait until it resets.", Kind::limited, {}},
       {}},
      {"no model",
       {.host = "cursor", .state = "model_unavailable"},
       {"cursor", "Cursor", "The chosen model is not available for this account.", Kind::needsUpdate, {}},
       {}},
      {"not installed",
       {.host = "t3code", .state = "not_installed"},
       {"t3code",
        "T3 Code is not installed",
        "Optional. Needed only when a task goes to T3 Code.",
        Kind::notInstalled,
        {}},
       {}},
      {"not checked", {.host = "codex"}, {"codex", "Codex", "Not checked yet", Kind::unknown, {}}, {}},
      {"outdated goes before signed out",
       {.host = "cursor",
        .state = "signed_out",
        .account = pro,
        .version = "0.1",
        .outdated = true,
        .update = "command"},
       {"cursor", "Cursor needs an update", "Signed in (Pro), but version 0.1 is too old for Kestrelune.",
        Kind::needsUpdate, Action::updateApp("cursor")},
       "Update now"},
      {"outdated, updated from within",
       {.host = "codex", .account = AppAccount{"a@b", ""}, .version = "0.1", .outdated = true, .update = "app"},
       {"codex", "Codex needs an update", "Version 0.1 is too old for Kestrelune.", Kind::needsUpdate,
        Action::signIn("codex")},
       "Update now"},
      {"outdated, nothing else known",
       {.host = "t3code", .version = "", .outdated = true, .update = "command"},
       {"t3code", "T3 Code needs an update", "T3 Code needs an update", Kind::needsUpdate, {}},
       {}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(SetupFlow::row(row.app), row.row) << row.name;
    EXPECT_EQ(row.row.actionTitle(), row.button) << row.name;
  }
  EXPECT_FALSE(SetupFlow::row({.host = "", .name = "Ghost", .state = "ready"}));
  EXPECT_FALSE(SetupFlow::row({.name = "Ghost", .state = "ready"}));
}

TEST(SetupFlow, ProjectsLine) {
  const testing_support::English english;
  const std::string start = "Found your projects: ";
  const std::string end = ". Every AI working there sees what the others did lately.";
  const struct {
    const char* name;
    std::vector<std::string> projects;
    std::optional<std::string> line;
  } rows[] = {
      {"none", {}, {}},
      {"blanks only", {" ", "\n\t"}, {}},
      {"one", {" site\n"}, start + "site" + end},
      {"two and a blank", {"site", "", "shop"}, start + "site, shop" + end},
      {"five", {"a", "b", "c", "d", "e"}, start + "a, b and 3 more" + end},
      {"a percent sign", {"100%", "%@", "c"}, start + "100%, %@ and 1 more" + end},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(SetupFlow::projectsLine(HelperStatus{.projects = row.projects}), row.line) << row.name;
  }
  EXPECT_FALSE(SetupFlow::projectsLine(std::nullopt));
}

TEST(SetupFlow, InstalledIsAPlaceThatLasts) {
  const struct {
    const char* path;
    bool installed;
  } rows[] = {
      {"/Applications/Kestrelune.app", true},
      {"/home/mia/Applications/Kestrelune.app", true},
      {"/home/mia/Downloads/../Applications/Kestrelune.app", true},
      {"~/Applications/Kestrelune.app", true},
      {"~/Downloads/Kestrelune.app", false},
      {"/home/mia/Downloads/Kestrelune.app", false},
      {"/home/mia/ApplicationsOld/Kestrelune.app", false},
      {"/home/other/Applications/Kestrelune.app", false},
      {"/Applications/../tmp/Kestrelune.app", false},
      {"/Applications/x/AppTranslocation/y/Kestrelune.app", false},
      {"/home/mia/Applications", false},
  };
  for (const auto& row : rows) EXPECT_EQ(SetupFlow::isInstalled(row.path, "/home/mia"), row.installed) << row.path;
}

TEST(SetupFlow, FirstTaskGoesToTheFirstThatCanTakeIt) {
  const auto rowOf = [](const char* host, Kind kind) { return SetupAppRow{.host = host, .kind = kind}; };
  const struct {
    const char* name;
    std::vector<SetupAppRow> rows;
    const char* app;
  } rows[] = {
      {"none", {}, "Codex"},
      {"order of preference", {rowOf("cursor", Kind::ready), rowOf("claude", Kind::ready)}, "Claude Code"},
      {"limited counts", {rowOf("cursor", Kind::ready), rowOf("codex", Kind::limited)}, "Codex"},
      {"signed out doesn't", {rowOf("codex", Kind::signedOut), rowOf("cursor", Kind::ready)}, "Cursor"},
      {"another application", {rowOf("t3code", Kind::ready)}, "Codex"},
  };
  for (const auto& row : rows) EXPECT_EQ(SetupFlow::firstTaskApp(row.rows), row.app) << row.name;
}

TEST(SetupFlow, TheSentenceStaysWholeInTheAddress) {
  const std::string sentence = "Äsk & tell? 1+1=2 #3";
  EXPECT_EQ(SetupFlow::firstTaskURL("claude", sentence)->text(),
            "https://claude.ai/new?q=%C3%84sk%20%26%20tell%3F%201%2B1%3D2%20%233");
  EXPECT_EQ(SetupFlow::firstTaskURL("chatgpt", "a/b")->text(), "https://chatgpt.com/?q=a/b");
  EXPECT_FALSE(SetupFlow::firstTaskURL("cursor", sentence));
  EXPECT_FALSE(SetupFlow::firstTaskURL(std::nullopt, sentence));
}

}  // namespace
}  // namespace kestrelune
