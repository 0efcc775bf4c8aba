#include "SetupFlow.hpp"

#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"

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
  const Table<const char*, Snapshot, SetupStep> rows = {
      {"no status", {.signal = Signal::red}, SetupStep::account},
      {"green, but not at work", connectedTo({}, Signal::green, "starting"), SetupStep::account},
      {"at work, but red", connectedTo({{.family = "claude", .state = "connected"}}, Signal::red), SetupStep::account},
      {"nothing connected", connectedTo({}), SetupStep::ai},
      {"a stale connection", connectedTo({{.family = "claude", .state = "stale"}}), SetupStep::ai},
      {"connected to something else", connectedTo({{.family = "codex", .state = "connected"}}), SetupStep::ai},
      {"the last of the five", connectedTo({{.family = "claude"}, {.family = "google", .state = "connected"}}),
       SetupStep::mac},
  };
  for (const auto& [name, snapshot, step] : rows) EXPECT_EQ(SetupFlow::firstOpenStep(snapshot), step) << name;
}

TEST(SetupFlow, RowOfAnApplication) {
  const testing_support::English english;
  const AppAccount pro{std::nullopt, "Pro"};
  const struct {
    HostApp app;
    const char* row;  ///< title, detail, kind, action and button
  } rows[] = {
      {{.host = "claude", .state = "ready", .account = pro, .version = "2"}, "Claude Code | Pro · v2 | ready"},
      {{.host = "claude", .name = "Claude", .state = "ready"}, "Claude | Signed in | ready"},
      {{.host = "claude", .state = "signed_out"},
       "Claude Code is signed out | Optional. Needed only when a task goes to Claude Code. | signedOut | signIn:claude "
       "Sign in"},
      {{.host = "antigravity", .state = "signed_out"},
       "Antigravity is signed out | Optional. Needed only when a task goes to Antigravity. | signedOut"},
      {{.host = "cursor", .state = "usage_limited"},
       "Cursor | Usage limit reached. Tasks wait until it resets. | limited"},
      {{.host = "cursor", .state = "model_unavailable"},
       "Cursor | The chosen model is not available for this account. | needsUpdate"},
      {{.host = "t3code", .state = "not_installed"},
       "T3 Code is not installed | Optional. Needed only when a task goes to T3 Code. | notInstalled"},
      {{.host = "codex"}, "Codex | Not checked yet | unknown"},
      {{.host = "cursor", .state = "signed_out", .account = pro, .version = "1", .outdated = true, .update = "command"},
       "Cursor needs an update | Signed in (Pro), but version 1 is too old for Kestrelune. | needsUpdate | "
       "update:cursor Update now"},
      {{.host = "codex", .account = AppAccount{"a@b", ""}, .version = "1", .outdated = true, .update = "app"},
       "Codex needs an update | Version 1 is too old for Kestrelune. | needsUpdate | signIn:codex Update now"},
      {{.host = "t3code", .version = "", .outdated = true, .update = "command"},
       "T3 Code needs an update | T3 Code needs an update | needsUpdate"},
  };
  for (const auto& row : rows) {
    const std::optional<SetupAppRow> found = SetupFlow::row(row.app);
    ASSERT_TRUE(found) << row.row;
    std::string text = found->title + " | " + found->detail + " | " + std::string(rawValue(found->kind));
    if (found->action) text += " | " + found->action->identifier() + " " + found->actionTitle().value_or("");
    EXPECT_EQ(text, row.row);
    EXPECT_EQ(found->host, row.app.host);
    EXPECT_EQ(found->actionTitle().has_value(), found->action.has_value());
  }
  EXPECT_FALSE(SetupFlow::row({.host = "", .name = "Ghost", .state = "ready"}));
  EXPECT_FALSE(SetupFlow::row({.name = "Ghost", .state = "ready"}));
}

TEST(SetupFlow, ProjectsLine) {
  const testing_support::English english;
  const std::string start = "Found your projects: ";
  const std::string end = ". Every AI working there sees what the others did lately.";
  const Table<const char*, std::vector<std::string>, std::optional<std::string>> rows = {
      {"none", {}, {}},
      {"blanks only", {" ", "\n\t"}, {}},
      {"one", {" site\n"}, start + "site" + end},
      {"five", {"a", "b", "c", "d", "e"}, start + "a, b and 3 more" + end},
      {"a percent sign", {"100%", "%@", "c"}, start + "100%, %@ and 1 more" + end},
  };
  for (const auto& [name, projects, line] : rows) {
    EXPECT_EQ(SetupFlow::projectsLine(HelperStatus{.projects = projects}), line) << name;
  }
  EXPECT_FALSE(SetupFlow::projectsLine(std::nullopt));
}

TEST(SetupFlow, InstalledIsAPlaceThatLasts) {
  for (const char* path : {"/Applications/Kestrelune.app", "/home/mia/Applications/Kestrelune.app",
                           "/home/mia/Downloads/../Applications/Kestrelune.app", "~/Applications/Kestrelune.app"})
    EXPECT_TRUE(SetupFlow::isInstalled(path, "/home/mia")) << path;
  for (const char* path :
       {"~/Downloads/Kestrelune.app", "/home/mia/Downloads/Kestrelune.app", "/home/mia/ApplicationsOld/Kestrelune.app",
        "/home/other/Applications/Kestrelune.app", "/Applications/../tmp/Kestrelune.app",
        "/Applications/x/AppTranslocation/y/Kestrelune.app", "/home/mia/Applications"})
    EXPECT_FALSE(SetupFlow::isInstalled(path, "/home/mia")) << path;
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
