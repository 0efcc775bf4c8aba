#include "WindowViews.hpp"

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "Window.hpp"

namespace kestrelune {
namespace {

constexpr Date kNow{1'769'850'900};
const Calendar kBerlin = Calendar::zone("Europe/Berlin");

/// The texts of a tree as one line: a button in brackets, a row's parts between bars.
void read(const View& view, std::string& out) {
  if (view.kind == View::Kind::option) return;
  if (view.kind == View::Kind::divider) out += "---|";
  if (view.kind == View::Kind::button) {
    out += "[" + view.text + "]|";
  } else if (view.kind == View::Kind::toggle) {
    out += std::string(view.on ? "(on)" : "(off)") + "|";
  } else if (!view.text.empty()) {
    out += view.text + "|";
  }
  for (const View& child : view.children) read(child, out);
}

std::string texts(const WindowModel::State& state) {
  const TaskLists lists(state.snapshot, state.history, kNow, kBerlin);
  std::string out;
  read(WindowViews::mainView(state, lists, kNow, kBerlin).tree.children.back(), out);
  return out;
}

class WindowViewsTest : public testing::Test {
 protected:
  HelperStatus& status() { return state.snapshot.status ? *state.snapshot.status : state.snapshot.status.emplace(); }

  const testing_support::English english;
  WindowModel::State state;
};

TEST_F(WindowViewsTest, TasksStandInTheirGroupsAndTheRestBelow) {
  EXPECT_EQ(texts(state),
            "Needs you|Nothing needs you right now.|Running|Nothing is running.|Done today|Nothing finished yet "
            "today.|Your AIs can also answer “What happened with #46?”.|");
  state.snapshot.hidden = {{.item = {.label = "#4", .taskId = "a"}, .key = "k", .mark = {.done = true}}};
  state.history = decodeHistory(R"({"tasks":[{"task_id":"b","label":"#5","state":"odd"}]})");
  state.schedules =
      decodeSchedules(R"({"schedules":[{"schedule_id":"s","paused":true},{"schedule_id":"t","name":"Mail"}]})");
  EXPECT_EQ(texts(state),
            "Needs you|#4|Hidden as done|Needs you|[Show again]|Running|Nothing is running.|Done today|Nothing "
            "finished yet today.|---|#5|Schedules|Schedules|Paused|[Resume]|[Remove]|Mail|[Pause]|[Remove]|Your AIs "
            "can also answer “What happened with #46?”.|");
  state.schedules.emplace();
  EXPECT_NE(texts(state).find("None yet."), std::string::npos);
}

TEST_F(WindowViewsTest, ADetailShowsWhatIsKnown) {
  state.place = "task:gone";
  EXPECT_EQ(texts(state), "[‹ All tasks]|Nothing is running.|");
  state.history = decodeHistory(
      R"({"tasks":[{"task_id":"gone","label":"#7","title":"Plan","state":"running","from":"ChatGPT","ball_at":"Codex",
      "line":"Looking","open":"codex://threads/7","steps":[{"at":"2026-01-31T08:00:00.5Z","line":"Began"},{"at":"x"}]}]})");
  EXPECT_EQ(texts(state),
            "[‹ All tasks]|#7 Plan|Running · from ChatGPT|Ball with Codex|Looking|09:00|Began|[Open the chat]|To stop "
            "it, tell any of your AIs “Stop #7”.|");
  state.history = decodeHistory(
      R"({"tasks":[{"task_id":"gone","label":"#7","state":"done","ball_at":"Codex","open":"file:///etc"}]})");
  EXPECT_EQ(texts(state), "[‹ All tasks]|#7|Done|");
}

TEST_F(WindowViewsTest, EachAIOffersWhatFitsItsState) {
  state.place = "ais";
  EXPECT_EQ(texts(state), "Your AIs|Working on this Mac|[Connect another AI …]|");
  const std::pair<Connection, const char*> connections[] = {
      {{.state = "stale", .power = "off", .access = "read"}, "Claude|off|[Reconnect]|"},
      {{.state = "connected", .power = "off", .access = "read"}, "Claude|off|[Turn on ↗]|"},
      {{.state = "connected", .access = "read"}, "Claude|Read only|[Allow tasks ↗]|[Turn off]|"},
      {{.state = "connected", .access = "delegate"}, "Claude|gives tasks|[Read only]|[Turn off]|"},
      {{.state = "new"}, "Claude|Reconnect|[Turn off]|"},
  };
  for (const auto& [connection, row] : connections) {
    status().connections = std::vector{connection};
    status().connections->front().family = "claude";
    EXPECT_EQ(texts(state), std::string("Your AIs|") + row + "Working on this Mac|[Connect another AI …]|");
  }
  status().connections.reset();
  const std::pair<HostApp, const char*> apps[] = {
      {{.host = "codex", .state = "signed_out", .power = "off"}, "Codex|off|[Sign in]|[Update all AI apps]|"},
      {{.host = "codex", .state = "not_installed", .power = "off"}, "Codex|off|not installed|"},
      {{.host = "codex", .state = "ready", .power = "off"}, "Codex|off|[Turn on ↗]|[Update all AI apps]|"},
      {{}, "unknown|[Turn off]|[Update all AI apps]|"},
      {{.host = "codex", .usage = PlanUsage{}}, "Codex|[Turn off]|[Update all AI apps]|"},
  };
  for (const auto& [app, row] : apps) {
    status().apps = std::vector{app};
    EXPECT_EQ(texts(state), std::string("Your AIs|Working on this Mac|") + row + "[Connect another AI …]|");
  }
  state.updateLine = "Updating Codex";
  EXPECT_NE(texts(state).find("|Updating Codex|[Connect"), std::string::npos) << "the line instead of the button";
}

TEST_F(WindowViewsTest, ThisMacIsListedOnce) {
  state.place = "macs";
  EXPECT_EQ(texts(state), "Mac (this Mac)|Offline|[Add a Mac · copy download link]|");
  status().computer = "Studio";
  status().helperVersion = "1.4";
  status().apps = {{.host = "codex"}, {.host = "cursor", .state = "not_installed"}};
  status().computers = {{.name = "Studio", .online = "offline"}, {.online = "online", .apps = "Cursor"}};
  state.snapshot.signal = Signal::yellow;
  state.copied = true;
  EXPECT_EQ(texts(state),
            "Studio (this Mac)|Codex · Kestrelune 1.4|Online|Mac|Cursor|Online|[Add a Mac · copy download link]|Link "
            "copied|");
}

TEST_F(WindowViewsTest, AProblemShowsItsAnswer) {
  state.place = "general";
  state.reportsURL = Url::file("/r/reports");
  const auto tail = [this] {
    const std::string all = texts(state);
    return all.substr(all.find("---|"));
  };
  EXPECT_EQ(tail(), "---|Report a problem|Codex or Claude Code checks on this Mac what is not working.|[Check it]|");
  state.problemRunning = true;
  state.problem = ProblemRecord{.state = "running", .app = "Codex"};
  EXPECT_EQ(tail(), "---|Report a problem|Running now; the answer comes as a notification.|[Check it]|");
  state.problemRunning = false;
  state.problem =
      ProblemRecord{.state = "done", .folder = "/r/reports/1", .answer = "All well.", .open = "codex://threads/1"};
  EXPECT_NE(tail().find("Kestrelune checked the problem|All well.|[Open chat]|[Show report]|"), std::string::npos)
      << tail();
  state.problem = ProblemRecord{.state = "failed", .folder = "/elsewhere", .reason = "No app."};
  EXPECT_NE(tail().find("not checked|No app.|"), std::string::npos);
  EXPECT_EQ(tail().find("[Show report]"), std::string::npos);
}

TEST_F(WindowViewsTest, OnlyThePieceInSightBecomesViews) {
  std::string answer = R"({"tasks":[{"task_id":"twice"},{"task_id":"twice"})";
  for (int i = 0; i < 20'000; ++i) answer += R"(,{"task_id":")" + std::to_string(i) + "\"}";
  state.history = decodeHistory(answer + "]}");
  const TaskLists lists(state.snapshot, state.history, kNow, kBerlin);
  state.inSight = *RowRange::around("10000-10020");
  const DrawnView drawn = WindowViews::mainView(state, lists, kNow, kBerlin);
  const View* list = findView(drawn.tree, "page:tasks");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->total, 20'002 + 8);
  EXPECT_EQ(list->count, static_cast<int>(state.inSight.first));
  EXPECT_LT(list->children.size(), 1000u);
  EXPECT_TRUE(findView(*list, "task/older/10000"));
  state.inSight = {};
  const DrawnView top = WindowViews::mainView(state, lists, kNow, kBerlin);
  EXPECT_TRUE(findView(top.tree, "task/older/twice") && findView(top.tree, "task/older/twice#2"));
  state.inSight = {.first = 90'000, .last = 90'100};
  EXPECT_TRUE(findView(WindowViews::mainView(state, lists, kNow, kBerlin).tree, "page:tasks")->children.empty());
}

TEST(MainWindowTest, ManyChangesCostOneRedrawAndAGoneControlDoesNothing) {
  World world;
  ActionRunner actions(false, world.actionReach());
  MainWindowController window(world.configuration(), world.outside(), actions);
  const auto tree = [&] { return world.session.windows().shown.at("main").tree; };
  window.show("task:../x", Snapshot{.signal = Signal::red});
  EXPECT_EQ(window.model().state().place, "tasks");
  world.loop.turn();
  const int before = world.session.windows().updates;
  Snapshot snapshot{.signal = Signal::yellow};
  snapshot.status.emplace().running = std::vector{RunningTask{.label = "#1", .taskId = "z1"}};
  window.model().setSnapshot(snapshot);
  window.model().setCopied(true);
  window.model().setUpdateLine("x");
  world.loop.turn();
  EXPECT_EQ(world.session.windows().updates, before + 1);

  EXPECT_TRUE(world.session.windows().press("main", "task/1/z1"));
  world.loop.turn();
  EXPECT_TRUE(findView(tree(), "back")) << "whatever the identifier is made of";
  world.session.windows().shown.at("main").events.event({.node = "task/1/z1"});
  world.session.windows().press("main", "place", "ais");
  world.loop.turn();
  EXPECT_TRUE(findView(tree(), "connect"));
}

}  // namespace
}  // namespace kestrelune
