#include "MenuPlan.hpp"

#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

const Date kNow = *parseIso8601("2026-03-10T12:00:00Z");
const Calendar kUtc = Calendar::zone("UTC");

std::string ago(double seconds) { return formatIso8601(kNow - seconds); }

Snapshot snapshotOf(HelperStatus status, Signal signal = Signal::green) {
  return Snapshot{.status = std::move(status), .signal = signal};
}

using Lines = std::vector<std::string>;

Lines titles(const std::vector<MenuEntry>& entries) {
  Lines result;
  for (const MenuEntry& entry : entries) {
    if (entry.kind == MenuEntry::Kind::separator) {
      result.emplace_back("-");
    } else {
      result.push_back((entry.kind == MenuEntry::Kind::section ? "# " : "") + entry.title);
    }
  }
  return result;
}

/// Each line with what is under it, what is beside it, what it does, and its check mark.
Lines drawn(const std::vector<MenuEntry>& entries) {
  Lines result = titles(entries);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const MenuEntry& entry = entries[i];
    if (entry.subtitle) result[i] += " / " + *entry.subtitle;
    if (entry.detail) result[i] += " | " + *entry.detail;
    if (entry.action) result[i] += " -> " + entry.action->identifier();
    if (entry.checked) result[i] += *entry.checked ? " [x]" : " [ ]";
  }
  return result;
}

const MenuEntry* entryTitled(const std::vector<MenuEntry>& entries, const std::string& title) {
  const auto found =
      std::find_if(entries.begin(), entries.end(), [&](const auto& each) { return each.title == title; });
  return found == entries.end() ? nullptr : &*found;
}

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
  EXPECT_EQ(drawn(lines),
            (Lines{"#4 Which colour? / Blue or red | Answer in Codex -> open:codex://x", "Needs you -> window:tasks",
                   "Nightly | Answer in Claude -> window:tasks", "Bad link -> window:task:ab-13"}));
  EXPECT_EQ(lines[0].settleKey, SettlePlan::key(status.attention->front()));
}

TEST_F(MenuPlanTest, RunningLinesTellWhoActsAndForHowLong) {
  HelperStatus status{.schemaVersion = 1};
  status.running = std::vector<RunningTask>{
      {.title = "a", .ballAt = "Codex", .since = ago(125), .taskId = "1f"},
      {.title = "a clock that jumped", .since = ago(-600)},
      {.title = "c", .ballAt = "Cursor", .since = "yesterday"},
      {.title = "no place", .taskId = "../../etc"},
  };
  EXPECT_EQ(drawn(MenuPlan::running(status, kNow)),
            (Lines{"a | Codex · 2 min -> window:task:1f", "a clock that jumped | 0 min -> window:tasks",
                   "c | Cursor -> window:tasks", "no place -> window:tasks"}));
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
  using MenuPlan::Tone;
  const auto asks = [](Attention item) { return HelperStatus{.attention = std::vector{std::move(item)}}; };
  const auto runs = [](RunningTask task) { return HelperStatus{.running = std::vector{std::move(task)}}; };
  const auto ended = [](double seconds, std::optional<std::string> open = std::nullopt) {
    return HelperStatus{.done = {{{.title = "t", .endedAt = ago(seconds), .open = std::move(open)}}}};
  };
  const auto counted = [](int count, std::size_t listed) {
    return HelperStatus{.tasks = TaskCount{.running = count}, .running = std::vector<RunningTask>(listed)};
  };
  HelperStatus both = ended(0);
  both.running = std::vector{RunningTask{.title = "T"}};
  const std::string exact(25, 'x'), tooLong(40, 'x');
  const Table<const char*, Signal, HelperStatus, MenuPlan::Pill> rows = {
      {"one nameless", Signal::yellow, asks({}), {"Needs you", Tone::needsYou}},
      {"attention shines through red", Signal::red, asks({.title = "Q"}), {"Q", Tone::needsYou}},
      {"red hides the rest", Signal::red, both, {}},
      {"done flash, at its end", Signal::green, ended(20), {"✓ Done", Tone::done}},
      {"done flash is over", Signal::green, ended(21), {}},
      {"done in the future", Signal::green, ended(-1), {}},
      {"done in an application", Signal::green, ended(5, "grokbot://x"), {"✓ Grok Bot done", Tone::done}},
      {"on the web", Signal::green, ended(5, "https://" KESTRELUNE_SERVICE_HOST "/t"), {"✓ Done", Tone::done}},
      {"flash before running", Signal::running, both, {"✓ Done", Tone::done}},
      {"one", Signal::running, runs({.label = "#3", .title = exact}), {"#3 " + exact, Tone::running}},
      {"one, long", Signal::running, runs({.title = tooLong}), {std::string(27, 'x') + "…", Tone::running}},
      {"cut at a blank", Signal::running, runs({.title = exact + "  " + tooLong}), {exact + "…", Tone::running}},
      {"one nameless running", Signal::running, runs({}), {"1 running", Tone::running}},
      {"counter wins", Signal::running, counted(3, 2), {"3 running", Tone::running}},
      {"list wins", Signal::running, counted(1, 2), {"2 running", Tone::running}},
      {"never blank while running", Signal::running, {}, {"0 running", Tone::running}},
      {"nothing", Signal::green, {}, {}},
  };
  for (const auto& [name, signal, status, pill] : rows)
    EXPECT_EQ(MenuPlan::pill(snapshotOf(status, signal), kNow, kUtc), pill) << name;
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
  EXPECT_EQ(
      drawn(MenuPlan::yourAIs(status, std::nullopt)),
      (Lines{"My Claude | gives tasks -> off:connection:claude [x]", "ChatGPT | Reconnect -> reconnect:chatgpt [ ]",
             "Grok Bot | off -> account:connection:grok [ ]", "Cursor | Read only -> off:connection:cursor [x]"}));
}

TEST_F(MenuPlanTest, AppLinesTellTheStateAndTheWayOut) {
  const Table<HostApp, const char*> rows = {
      {{.host = "codex", .state = "ready"}, "Codex | this Mac ✓ -> off:app:codex [x]"},
      {{.host = "codex", .state = "ready", .usage = PlanUsage{.left = 40}},
       "Codex | this Mac · 40 % left ✓ -> off:app:codex [x]"},
      {{.host = "codex", .state = "odd"}, "Codex | this Mac -> off:app:codex [ ]"},
      {{.host = "other", .state = "ready"}, "other | this Mac ✓ [x]"},
      {{.host = "codex", .state = "ready", .power = "off"}, "Codex | off -> account:app:codex [ ]"},
      {{.host = "antigravity", .state = "signed_out", .power = "off"},
       "Antigravity | signed out -> signIn:antigravity [ ]"},
      {{.host = "t3code", .state = "signed_out"}, "T3 Code | signed out [ ]"},
      {{.host = "codex", .state = "usage_limited", .limitedUntil = "soon"},
       "Codex | Usage limit reached -> window:ais [ ]"},
      {{.host = "codex", .state = "model_unavailable", .model = "m-1"},
       "Codex | Model m-1 not available -> window:ais [ ]"},
      {{.host = "codex", .state = "model_unavailable"}, "Codex | Model not available -> window:ais [ ]"},
  };
  for (const auto& [app, line] : rows) {
    HelperStatus status{.schemaVersion = 1};
    status.apps = std::vector<HostApp>{{.state = "ready"}, {.host = "cursor", .state = "not_installed"}, app};
    EXPECT_EQ(drawn(MenuPlan::yourAIs(status, std::nullopt)), Lines{line});
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
  const std::string automatic = "Automatic -> workers:auto", codex = "Only Codex -> workers:codex";
  const Table<Workers, const char*, Lines> rows = {
      {{.mode = "automatic"}, "Workers: Automatic", {automatic + " [x]", codex + " [ ]"}},
      {{.mode = "only", .apps = {{"codex"}}}, "Workers: Only Codex", {automatic + " [ ]", codex + " [x]"}},
      {{.mode = "only", .apps = {{"claude", "cursor", "odd"}}},
       "Workers: Only Claude Code, Cursor",
       {automatic + " [ ]", codex + " [ ]", "Only Claude Code -> workers:claude [ ]",
        "Only Cursor -> workers:cursor [ ]"}},
      {{.mode = "only", .apps = {{"odd"}}}, "Workers: Custom", {automatic + " [ ]", codex + " [ ]"}},
  };
  for (const auto& [workers, title, choices] : rows) {
    status.workers = workers;
    const auto entry = MenuPlan::workers(status);
    ASSERT_TRUE(entry) << title;
    EXPECT_EQ(entry->title, title);
    Lines expected = choices;
    expected.insert(expected.end(), {"-", "Applies when no app is named"});
    EXPECT_EQ(drawn(*entry->children), expected);
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
  ASSERT_EQ(entry->children->size(), 5u);
  const Lines lines = drawn(*entry->children);
  EXPECT_EQ(Lines(lines.begin(), lines.begin() + 3),
            (Lines{"A / Writes. | by you -> profile:" + id + "1", "B / Reads. | by the AI -> profile:" + id + "2",
                   "C / None yet – the AI writes it itself -> profile:" + id + "3"}));
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

}  // namespace
}  // namespace kestrelune
