#include "NoticeTracker.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Fakes/Languages.hpp"

namespace kestrelune {
namespace {

constexpr Date kStart{1'769'850'900};

Snapshot withSignal(Signal signal) {
  Snapshot snapshot;
  snapshot.signal = signal;
  snapshot.status = HelperStatus{};
  return snapshot;
}

Snapshot reachable(std::optional<bool> value) {
  Snapshot snapshot = withSignal(Signal::green);
  snapshot.status->serverReachable = value;
  return snapshot;
}

Snapshot withoutStatus() {
  Snapshot snapshot;
  snapshot.signal = Signal::red;
  snapshot.issue = StatusIssue::missing;
  return snapshot;
}

Snapshot withApp(const std::string& state) {
  Snapshot snapshot = withSignal(Signal::green);
  HostApp app;
  app.host = "claude";
  app.state = state;
  app.model = "Opus";
  snapshot.status->apps = {app};
  return snapshot;
}

Snapshot withState(const std::string& state) {
  Snapshot snapshot = withSignal(Signal::green);
  snapshot.status->state = state;
  return snapshot;
}

Snapshot withAttention(const std::vector<std::string>& ids) {
  Snapshot snapshot = withSignal(Signal::yellow);
  snapshot.status->attention.emplace();
  for (const std::string& id : ids) {
    Attention item;
    item.taskId = id;
    snapshot.status->attention->push_back(item);
  }
  return snapshot;
}

struct Step {
  double at;
  Snapshot snapshot;
};

/// "at:id" of each notice of a sequence.
std::string told(const std::vector<Step>& steps) {
  NoticeTracker tracker;
  std::string all;
  for (const Step& step : steps)
    for (const Notice& notice : tracker.update(step.snapshot, kStart + step.at))
      all += (all.empty() ? "" : " ") + std::to_string(static_cast<int>(step.at)) + ":" + notice.id;
  return all;
}

TEST(NoticeTracker, EachThingIsToldOnce) {
  const testing_support::English english;
  const Snapshot red = withSignal(Signal::red), green = withSignal(Signal::green);
  const Snapshot up = reachable(true), down = reachable(false);
  const struct {
    const char* name;
    std::vector<Step> steps;
    const char* told;
  } rows[] = {
      {"a red that lasts", {{0, green}, {5, red}, {124, red}, {125, red}, {600, red}}, "125:helper"},
      {"red from the very start", {{0, red}, {120, red}, {900, red}}, ""},
      {"a new red starts the clock over",
       {{0, green}, {5, red}, {100, green}, {105, red}, {224, red}, {225, red}},
       "225:helper"},
      {"a second outage",
       {{0, green}, {1, red}, {121, red}, {130, green}, {131, red}, {251, red}},
       "121:helper 251:helper"},
      {"a clock that went back", {{1000, green}, {1005, red}, {0, red}, {1125, red}}, "1125:helper"},
      {"a service out of reach", {{0, up}, {10, down}, {309, down}, {310, down}, {900, down}}, "310:server"},
      {"reached again in between",
       {{0, up}, {10, down}, {309, up}, {310, down}, {609, down}, {610, down}},
       "610:server"},
      {"out of reach with no word before", {{0, green}, {10, down}, {310, down}}, "310:server"},
      {"out of reach since the start", {{0, down}, {900, down}}, ""},
      {"the status goes meanwhile",
       {{0, up}, {10, down}, {20, withoutStatus()}, {140, withoutStatus()}, {310, withoutStatus()}},
       "140:helper 310:server"},
      {"removed, twice in a row, and anew",
       {{0, withState("running")},
        {1, withState("removed")},
        {2, withState("removed")},
        {3, withoutStatus()},
        {4, withState("removed")},
        {5, withState("running")},
        {6, withState("removed")}},
       "1:removed 6:removed"},
      {"removed at the start", {{0, withState("removed")}, {5, withState("removed")}}, ""},
      {"signed out",
       {{0, withApp("ready")}, {5, withApp("signed_out")}, {10, withApp("signed_out")}},
       "5:signin-claude"},
      {"signed out from another state", {{0, withApp("usage_limited")}, {5, withApp("signed_out")}}, ""},
      {"a new application that is signed out", {{0, green}, {5, withApp("signed_out")}}, ""},
      {"no model, twice",
       {{0, withApp("ready")},
        {5, withApp("model_unavailable")},
        {10, withApp("ready")},
        {15, withApp("model_unavailable")}},
       "5:model-claude 15:model-claude"},
      {"a new application without its model", {{0, green}, {5, withApp("model_unavailable")}}, ""},
      {"attention at the start, and one more",
       {{0, withAttention({"a", "b"})}, {5, withAttention({"a", "b", "c"})}},
       "5:attention-c"},
      {"attention that comes back",
       {{0, withAttention({"a"})}, {5, withAttention({})}, {10, withAttention({"a"})}},
       "10:attention-a"},
      {"no list at all keeps what is known", {{0, withAttention({"a"})}, {5, green}, {10, withAttention({"a"})}}, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(told(row.steps), row.told);
  }
}

TEST(NoticeTracker, TextsAndActions) {
  const testing_support::English english;
  const auto second = [](const Snapshot& before, const Snapshot& after) {
    NoticeTracker tracker;
    tracker.update(before, kStart);
    return tracker.update(after, kStart + 5).at(0);
  };
  EXPECT_EQ(second(withApp("ready"), withApp("signed_out")),
            (Notice{"signin-claude", "Kestrelune", "Claude Code is signed out. Open Claude Code and sign in.",
                    Action::signIn("claude")}));
  EXPECT_EQ(second(withApp("ready"), withApp("model_unavailable")).body,
            "Claude Code: the model Opus is not available for your account. Choose another model in Claude Code.");
  EXPECT_EQ(second(withState("running"), withState("removed")).action, Action::setup());

  const Notice bare = second(withAttention({}), withAttention({"aa-1"}));
  EXPECT_EQ(bare, (Notice{"attention-aa-1", "Needs you", "Needs you", Action::window("task:aa-1")}));
  Snapshot full = withAttention({"aa-1"});
  full.status->attention->front().label = "#46";
  full.status->attention->front().title = "Pick a date";
  full.status->attention->front().line = "Monday or Friday?";
  const Notice named = second(withAttention({}), full);
  EXPECT_EQ(named.title + "|" + named.body, "#46 Pick a date|Monday or Friday?");
  full.status->attention->front().label = "";
  EXPECT_EQ(second(withAttention({}), full).title, "Pick a date");
}

}  // namespace
}  // namespace kestrelune
