#include "MenuPlan.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "Fakes/Languages.hpp"

namespace kestrelune {
namespace {

const Date kNow = *parseIso8601("2026-03-10T12:00:00Z");
const Calendar kUtc = Calendar::zone("UTC");

std::string ago(double seconds) { return formatIso8601(kNow - seconds); }

Snapshot snapshotOf(HelperStatus status, Signal signal = Signal::green) {
  return Snapshot{.status = std::move(status), .signal = signal};
}

std::vector<std::string> titles(const std::vector<MenuEntry>& entries) {
  std::vector<std::string> result;
  for (const MenuEntry& entry : entries) {
    if (entry.kind == MenuEntry::Kind::separator) {
      result.emplace_back("-");
    } else {
      result.push_back((entry.kind == MenuEntry::Kind::section ? "# " : "") + entry.title);
    }
  }
  return result;
}

const MenuEntry* entryTitled(const std::vector<MenuEntry>& entries, const std::string& title) {
  const auto found =
      std::find_if(entries.begin(), entries.end(), [&](const auto& each) { return each.title == title; });
  return found == entries.end() ? nullptr : &*found;
}

using Lines = std::vector<std::string>;

class MenuPlanTest : public testing::Test {
  const testing_support::English english_;
};

TEST_F(MenuPlanTest, EachStateGivesItsLines) {
  const Lines fixed = {
      "-", "All tasks …", "Settings …", "Report a problem …", "Account and billing ↗", "Connect another AI …"};
  struct Row {
    const char* name;
    Snapshot snapshot;
    MenuPlan::Context context;
    Lines extra;  // between the fixed lines and "Quit"
    bool finish = false;
  };
  const Snapshot good = snapshotOf({.schemaVersion = 1});
  const Snapshot gone{.signal = Signal::red, .issue = StatusIssue::missing};
  const Snapshot removed{.signal = Signal::red, .issue = StatusIssue::disconnected};
  const Row rows[] = {
      {"good", good, {.hasAgent = true}, {}},
      {"good, setup open", good, {.hasAgent = true, .setupOpen = true}, {}, true},
      {"good, setup open, no agent", good, {.setupOpen = true}, {}, true},
      {"gone, agent", gone, {.hasAgent = true}, {"Restart Kestrelune"}},
      {"gone, agent, setup open", gone, {.hasAgent = true, .setupOpen = true}, {"Restart Kestrelune"}, true},
      {"gone, no agent", gone, {}, {"Set up this Mac …"}},
      {"gone, no agent, setup open", gone, {.setupOpen = true}, {"Set up this Mac …"}},
      {"disconnected", removed, {.hasAgent = true, .setupOpen = true}, {"Connect this Mac …"}},
      {"disconnected wins over a failed setup", removed, {.setupFailed = true}, {"Connect this Mac …"}},
      {"setup failed", good, {.setupFailed = true, .hasAgent = true, .setupOpen = true}, {"Set up this Mac …"}},
  };
  for (const Row& row : rows) {
    Lines expected = fixed;
    if (row.finish) expected.insert(expected.begin() + 2, "Finish setting up …");
    expected.insert(expected.end(), row.extra.begin(), row.extra.end());
    expected.insert(expected.end(), {"-", "Quit"});
    EXPECT_EQ(titles(MenuPlan::entries(row.snapshot, kNow, row.context, kUtc)), expected) << row.name;
  }
}

TEST_F(MenuPlanTest, ListsAreCutToFiveWhilePillAndHeadingsCountOn) {
  HelperStatus status{.schemaVersion = 1};
  status.attention.emplace(7, Attention{.title = "Question"});
  status.running.emplace(7, RunningTask{.title = "Job"});
  status.done.emplace(7, DoneTask{.title = "Old", .endedAt = ago(3600)});
  const auto entries = MenuPlan::entries(snapshotOf(status, Signal::yellow), kNow, {}, kUtc);
  EXPECT_EQ(std::count_if(entries.begin(), entries.end(), [](const auto& e) { return e.settleKey.has_value(); }), 5);
  ASSERT_TRUE(entryTitled(entries, "Running · 5"));
  EXPECT_EQ(entryTitled(entries, "Running · 5")->children->size(), 5u);
  ASSERT_TRUE(entryTitled(entries, "Done today · 7"));
  EXPECT_EQ(entryTitled(entries, "Done today · 7")->children->size(), 5u);
  EXPECT_EQ(MenuPlan::pill(snapshotOf(status, Signal::yellow), kNow, kUtc),
            (MenuPlan::Pill{"7 need you", MenuPlan::Tone::needsYou}));
}

TEST_F(MenuPlanTest, AttentionLinesSayWhereToAnswerAndWhatAClickDoes) {
  HelperStatus status{.schemaVersion = 1};
  status.attention = std::vector<Attention>{
      {.label = "#4", .title = "Which colour?", .line = "Blue or red", .taskId = "ab-12", .open = "codex://x"},
      {.open = "https://elsewhere.example/"},
      {.title = "Nightly", .open = "claude://chat", .scheduleId = "s1"},
      {.title = "Bad link", .taskId = "ab-13", .open = "javascript:alert(1)"},
  };
  const auto lines = MenuPlan::needsYou(status);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0].title, "#4 Which colour?");
  EXPECT_EQ(lines[0].subtitle, "Blue or red");
  EXPECT_EQ(lines[0].detail, "Answer in Codex");
  EXPECT_EQ(lines[0].action, Action::openLink("codex://x"));
  EXPECT_EQ(lines[0].settleKey, SettlePlan::key(status.attention->front()));
  EXPECT_EQ(lines[1].title, "Needs you");
  EXPECT_EQ(lines[1].detail, std::nullopt);
  EXPECT_EQ(lines[1].action, Action::window("tasks"));
  EXPECT_EQ(lines[2].detail, "Answer in Claude");
  EXPECT_EQ(lines[2].action, Action::window("tasks")) << "a schedule has no chat of its own";
  EXPECT_EQ(lines[3].action, Action::window("task:ab-13"));
}

TEST_F(MenuPlanTest, RunningLinesTellWhoActsAndForHowLong) {
  HelperStatus status{.schemaVersion = 1};
  status.running = std::vector<RunningTask>{
      {.title = "a", .ballAt = "Codex", .since = ago(125), .taskId = "1f"},
      {.title = "b", .since = ago(-600)},
      {.title = "c", .ballAt = "Cursor", .since = "yesterday"},
      {.title = "d", .taskId = "../../etc"},
  };
  const auto lines = MenuPlan::running(status, kNow);
  EXPECT_EQ(lines[0].detail, "Codex · 2 min");
  EXPECT_EQ(lines[0].action, Action::window("task:1f"));
  EXPECT_EQ(lines[1].detail, "0 min") << "a clock that jumped gives no negative age";
  EXPECT_EQ(lines[2].detail, "Cursor");
  EXPECT_EQ(lines[3].detail, std::nullopt);
  EXPECT_EQ(lines[3].action, Action::window("tasks")) << "text of the file never becomes a place";
}

TEST_F(MenuPlanTest, DoneTodayIsTheCalendarDayOfTheZoneNewestFirst) {
  HelperStatus status{.schemaVersion = 1};
  status.done = std::vector<DoneTask>{
      {.title = "morning", .endedAt = "2026-03-10T00:10:00+01:00"},
      {.title = "yesterday", .endedAt = "2026-03-09T23:59:00+01:00"},
      {.title = "no time"},
      {.title = "late", .endedAt = "2026-03-10T11:00:00Z"},
      {.title = "late too", .endedAt = "2026-03-10T11:00:00.000Z"},
  };
  std::vector<std::string> names;
  for (const auto& task : MenuPlan::doneToday(status, kNow, Calendar::zone("Europe/Berlin")))
    names.push_back(*task.title);
  EXPECT_EQ(names, (std::vector<std::string>{"late", "late too", "morning"}));
  EXPECT_EQ(MenuPlan::done(status, kNow, Calendar::zone("Europe/Berlin"))[0].detail, "✓ 12:00");
}

TEST_F(MenuPlanTest, ThePillTellsTheMostUrgentThing) {
  struct Row {
    const char* name;
    Signal signal;
    HelperStatus status;
    MenuPlan::Pill pill;
  };
  using MenuPlan::Tone;
  const auto ended = [](double seconds, const char* open = nullptr) {
    return std::vector<DoneTask>{{.title = "t",
                                  .endedAt = formatIso8601(kNow - seconds),
                                  .open = open ? std::optional<std::string>(open) : std::nullopt}};
  };
  const std::string exact(28, 'x'), tooLong(40, 'x');
  const Row rows[] = {
      {"one nameless", Signal::yellow, {.attention = {{Attention{}}}}, {"Needs you", Tone::needsYou}},
      {"attention shines through red", Signal::red, {.attention = {{Attention{.title = "Q"}}}}, {"Q", Tone::needsYou}},
      {"red hides the rest", Signal::red, {.running = {{RunningTask{.title = "T"}}}, .done = ended(1)}, {}},
      {"done flash, at its end", Signal::green, {.done = ended(20)}, {"✓ Done", Tone::done}},
      {"done flash is over", Signal::green, {.done = ended(21)}, {}},
      {"done in the future", Signal::green, {.done = ended(-1)}, {}},
      {"done in an application", Signal::green, {.done = ended(5, "grokbot://x")}, {"✓ Grok Bot done", Tone::done}},
      {"done on the web",
       Signal::green,
       {.done = ended(5, "https://" KESTRELUNE_SERVICE_HOST "/t")},
       {"✓ Done", Tone::done}},
      {"flash before running",
       Signal::running,
       {.running = {{RunningTask{.title = "T"}}}, .done = ended(0)},
       {"✓ Done", Tone::done}},
      {"one running",
       Signal::running,
       {.running = {{RunningTask{.label = "#3", .title = exact.substr(3)}}}},
       {"#3 " + exact.substr(3), Tone::running}},
      {"one running, long",
       Signal::running,
       {.running = {{RunningTask{.title = tooLong}}}},
       {std::string(27, 'x') + "…", Tone::running}},
      {"cut at a blank",
       Signal::running,
       {.running = {{RunningTask{.title = std::string(25, 'x') + "  " + tooLong}}}},
       {std::string(25, 'x') + "…", Tone::running}},
      {"one nameless running", Signal::running, {.running = {{RunningTask{}}}}, {"1 running", Tone::running}},
      {"counter wins",
       Signal::running,
       {.tasks = TaskCount{.running = 3}, .running = std::vector<RunningTask>(2)},
       {"3 running", Tone::running}},
      {"list wins",
       Signal::running,
       {.tasks = TaskCount{.running = 1}, .running = std::vector<RunningTask>(2)},
       {"2 running", Tone::running}},
      {"never blank while running", Signal::running, {}, {"0 running", Tone::running}},
      {"nothing", Signal::green, {}, {}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(MenuPlan::pill(snapshotOf(row.status, row.signal), kNow, kUtc), row.pill) << row.name;
  }
}

TEST_F(MenuPlanTest, ConnectionLinesLetPowerWinOverStateAndStateOverAccess) {
  HelperStatus status{.schemaVersion = 1};
  status.connections = std::vector<Connection>{
      {.family = "claude", .name = "My Claude", .state = "connected", .access = "delegate"},
      {.family = "chatgpt", .state = "stale", .access = "read"},
      {.family = "grok", .state = "stale", .power = "off"},
      {.family = "cursor", .name = "", .state = "connected", .access = "read"},
      {.family = "google", .state = "not_connected"},
      {.family = "codex", .state = "connected"},
      {.state = "connected"},
  };
  const auto lines = MenuPlan::yourAIs(status, std::nullopt);
  struct Row {
    const char *title, *detail;
    Action action;
    bool checked;
  };
  const Row rows[] = {
      {"My Claude", "gives tasks", Action::switchOff("connection:claude"), true},
      {"ChatGPT", "Reconnect", Action::reconnect("chatgpt"), false},
      {"Grok Bot", "off", Action::account("connection:grok"), false},
      {"Cursor", "Read only", Action::switchOff("connection:cursor"), true},
  };
  ASSERT_EQ(lines.size(), std::size(rows));
  for (std::size_t i = 0; i < lines.size(); ++i) {
    EXPECT_EQ(lines[i].title, rows[i].title);
    EXPECT_EQ(lines[i].detail, rows[i].detail);
    EXPECT_EQ(lines[i].action, rows[i].action) << rows[i].title;
    EXPECT_EQ(lines[i].checked, rows[i].checked) << rows[i].title;
  }
}

TEST_F(MenuPlanTest, AppLinesTellTheStateAndTheWayOut) {
  struct Row {
    const char* name;
    HostApp app;
    std::string detail;
    std::optional<Action> action;
    bool checked;
  };
  const Row rows[] = {
      {"ready", {.host = "codex", .state = "ready"}, "this Mac ✓", Action::switchOff("app:codex"), true},
      {"ready with usage",
       {.host = "codex", .state = "ready", .usage = PlanUsage{.left = 40}},
       "this Mac · 40 % left ✓",
       Action::switchOff("app:codex"),
       true},
      {"unknown state", {.host = "codex", .state = "odd"}, "this Mac", Action::switchOff("app:codex"), false},
      {"not switchable", {.host = "other", .state = "ready"}, "this Mac ✓", std::nullopt, true},
      {"off", {.host = "codex", .state = "ready", .power = "off"}, "off", Action::account("app:codex"), false},
      {"signed out wins over off",
       {.host = "antigravity", .state = "signed_out", .power = "off"},
       "signed out",
       Action::signIn("antigravity"),
       false},
      {"no sign-in to offer", {.host = "t3code", .state = "signed_out"}, "signed out", std::nullopt, false},
      {"limit without a time",
       {.host = "codex", .state = "usage_limited", .limitedUntil = "soon"},
       "Usage limit reached",
       Action::window("ais"),
       false},
      {"model",
       {.host = "codex", .state = "model_unavailable", .model = "m-1"},
       "Model m-1 not available",
       Action::window("ais"),
       false},
      {"any model",
       {.host = "codex", .state = "model_unavailable"},
       "Model not available",
       Action::window("ais"),
       false},
  };
  for (const Row& row : rows) {
    HelperStatus status{.schemaVersion = 1};
    status.apps = std::vector<HostApp>{{.state = "ready"}, {.host = "cursor", .state = "not_installed"}, row.app};
    const auto lines = MenuPlan::yourAIs(status, std::nullopt);
    ASSERT_EQ(lines.size(), 1u) << row.name;
    EXPECT_EQ(lines[0].detail, row.detail) << row.name;
    EXPECT_EQ(lines[0].action, row.action) << row.name;
    EXPECT_EQ(lines[0].checked, row.checked) << row.name;
  }
}

TEST_F(MenuPlanTest, OutdatedAppsOfferTheirUpdateUntilOneRuns) {
  HelperStatus status{.schemaVersion = 1};
  status.apps =
      std::vector<HostApp>{{.host = "codex", .state = "ready", .outdated = true, .update = "app"},
                           {.host = "cursor", .state = "ready", .outdated = true, .update = "command"},
                           {.host = "claude", .name = "CC", .state = "ready", .outdated = true, .update = "app"},
                           {.host = "t3code", .state = "ready", .outdated = true, .update = "command"}};
  EXPECT_EQ(titles(MenuPlan::yourAIs(status, std::nullopt)),
            (Lines{"Codex", "Codex is outdated – update the app", "Cursor", "Update Cursor now", "CC", "T3 Code",
                   "Update all AI apps"}));
  EXPECT_EQ(titles(MenuPlan::yourAIs(status, "Updating …")).back(), "Updating …");
  EXPECT_EQ(titles(MenuPlan::entries({.signal = Signal::red}, kNow, {.update = "Updating …"}, kUtc))[1], "Updating …");
}

TEST_F(MenuPlanTest, WorkersShowModeAndChoices) {
  HelperStatus status{.schemaVersion = 1};
  status.apps = std::vector<HostApp>{{.host = "codex", .state = "ready"}, {.host = "cursor", .state = "not_installed"}};
  struct Row {
    const char* name;
    Workers workers;
    std::string title;
    Lines children;
    int checkedAt;
  };
  const Row rows[] = {
      {"automatic", {.mode = "automatic"}, "Workers: Automatic", {"Automatic", "Only Codex"}, 0},
      {"one", {.mode = "only", .apps = {{"codex"}}}, "Workers: Only Codex", {"Automatic", "Only Codex"}, 1},
      {"two",
       {.mode = "only", .apps = {{"claude", "cursor", "odd"}}},
       "Workers: Only Claude Code, Cursor",
       {"Automatic", "Only Codex", "Only Claude Code", "Only Cursor"},
       -1},
      {"none known", {.mode = "only", .apps = {{"odd"}}}, "Workers: Custom", {"Automatic", "Only Codex"}, -1},
  };
  for (const Row& row : rows) {
    status.workers = row.workers;
    const auto entry = MenuPlan::workers(status);
    ASSERT_TRUE(entry) << row.name;
    EXPECT_EQ(entry->title, row.title);
    Lines expected = row.children;
    expected.insert(expected.end(), {"-", "Applies when no app is named"});
    EXPECT_EQ(titles(*entry->children), expected) << row.name;
    for (std::size_t i = 0; i < row.children.size(); ++i) {
      EXPECT_EQ((*entry->children)[i].checked, static_cast<int>(i) == row.checkedAt) << row.name << " " << i;
    }
  }
  status.workers = Workers{};
  EXPECT_FALSE(MenuPlan::workers(status));
}

TEST_F(MenuPlanTest, ProfilesCountOnlyRealExecutors) {
  const std::string id = "00000000-0000-4000-8000-00000000000";
  HelperStatus status{.schemaVersion = 1};
  status.profiles = std::vector<AIProfile>{{.executorId = id + "1", .name = "A", .profile = "Writes.", .by = "owner"},
                                           {.executorId = id + "2", .name = "B", .profile = "Reads.", .by = "ai"},
                                           {.executorId = id + "3", .name = "C", .profile = ""},
                                           {.executorId = id, .name = "short", .profile = "x"}};
  const auto entry = MenuPlan::profiles(status);
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->title, "Profiles: 2 of 3");
  const auto& children = *entry->children;
  ASSERT_EQ(children.size(), 5u);
  EXPECT_EQ(children[0].detail, "by you");
  EXPECT_EQ(children[1].detail, "by the AI");
  EXPECT_EQ(children[2].subtitle, "None yet – the AI writes it itself");
  EXPECT_EQ(children[2].action, Action::editProfile(id + "3"));
}

TEST_F(MenuPlanTest, TheAiBlockKeepsItsOrder) {
  HelperStatus status{.schemaVersion = 1, .autoDelegate = false};
  status.apps = std::vector<HostApp>{{.host = "codex", .state = "ready"}};
  status.attention = std::vector<Attention>{{.title = "Q"}};
  status.workers = Workers{.mode = "automatic"};
  MenuPlan::Context context{.hasAgent = true, .smallModel = true};
  context.sharedTools =
      SharedToolsState{.tools = {{.id = "skills", .available = true, .mode = "direct"}}, .newApps = {"cursor"}};
  const auto lines = titles(MenuPlan::entries(snapshotOf(status, Signal::yellow), kNow, context, kUtc));
  EXPECT_EQ(Lines(lines.begin(), lines.begin() + 11),
            (Lines{"# Needs you", "Q", "-", "# Your AIs", "Auto-Delegate", "Codex", "Shared tools · 0 on",
                   "New: Cursor uses your shared tools", "Workers: Automatic", "Small model", "-"}));
}

TEST(MenuPlanGerman, SpeaksGerman) {
  const testing_support::German german;
  HelperStatus status{.schemaVersion = 1};
  status.attention.emplace(2, Attention{});
  EXPECT_EQ(MenuPlan::pill(snapshotOf(status), kNow, kUtc).text, "2 brauchen dich");
  EXPECT_EQ(titles(MenuPlan::entries(snapshotOf(status), kNow, {}, kUtc)).back(), "Beenden");
}

}  // namespace
}  // namespace kestrelune
