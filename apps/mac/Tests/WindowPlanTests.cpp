#include "WindowPlan.hpp"

#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

constexpr Date kNow{1'769'850'900};  // 2026-01-31 09:15 UTC, a Saturday; 10:15 in Berlin
const Calendar kBerlin = Calendar::zone("Europe/Berlin");

std::vector<std::string> described(const std::vector<const WindowTask*>& tasks) {
  std::vector<std::string> result;
  result.reserve(tasks.size());
  for (const WindowTask* task : tasks) {
    result.push_back(task->taskId + " | " + task->name() + " | " + WindowPlan::subtitle(*task, kBerlin));
  }
  return result;
}
using Lines = std::vector<std::string>;

class WindowPlanTest : public testing::Test {
  const testing_support::English english;
};

TEST_F(WindowPlanTest, LiveFactsWinAndHistoryAddsTheRest) {
  HelperStatus status;
  status.attention = {{.label = "#1", .line = "Which one?", .taskId = "both"}, {.title = "cannot be opened"}};
  status.running = {{.label = "#2", .ballAt = "Claude", .taskId = "running"}, {.label = "#1", .taskId = "both"}};
  status.done = {{.label = "#3", .endedAt = "2026-01-31T08:00:00Z", .taskId = "done"}};
  const Snapshot snapshot{
      .status = status,
      .hidden = {{.item = {.taskId = "both"}, .key = "seen"},
                 {.item = {.label = "#4", .line = "Later?", .taskId = "hidden"}, .key = "k", .mark = {.done = true}},
                 {.item = {.taskId = "hidden"}, .key = "again"}}};
  const auto history = decodeHistory(R"({"tasks":[
    {"task_id":"running","label":"old","line":"old","state":"done","from":"ChatGPT","app":"Codex","steps":[{"line":"a"}]},
    {"task_id":"running","from":"never looked at"},
    {"task_id":"still","state":"running","line":"the status says nothing of it"},
    {"task_id":"today","state":"done","ended_at":"2026-01-30T23:00:00.000Z"},
    {"task_id":"unreadable","state":"done","ended_at":"soon"},
    {"task_id":"yesterday","state":"done","ended_at":"2026-01-30T22:59:59Z","from":"ChatGPT"},
    {"task_id":"yesterday","state":"done","ended_at":"2026-01-30T22:00:00Z"},
    {"task_id":"odd","state":"paused","from":"Cursor"}]})");
  const TaskLists lists(snapshot, history, kNow, kBerlin);

  ASSERT_EQ(lists.groups.size(), 3u);
  EXPECT_EQ(described(lists.groups[0].tasks), (Lines{"both | #1 | Which one?", "hidden | #4 | Hidden as done"}));
  EXPECT_EQ(described(lists.groups[1].tasks), (Lines{"running | #2 | Ball with Claude", "both | #1 | ",
                                                     "still | Needs you | the status says nothing of it"}));
  EXPECT_EQ(described(lists.groups[2].tasks),
            (Lines{"done | #3 | ✓ 09:00", "today | Needs you | ✓ 00:00", "unreadable | Needs you | "}));
  EXPECT_EQ(described(lists.leftovers), (Lines{"yesterday | Needs you | ✓ 23:59", "yesterday | Needs you | ✓ 23:00",
                                               "odd | Needs you | from Cursor"}));

  const WindowTask& running = *lists.groups[1].tasks[0];
  EXPECT_EQ(running.from, "ChatGPT");
  EXPECT_EQ(running.app, "Codex");
  EXPECT_EQ(running.steps.list(), (std::vector<WindowTask::Step>{{.line = "a"}}));
  EXPECT_EQ(lists.groups[0].tasks[1]->settleKey, "k");
  EXPECT_EQ(lists.repeats.at(lists.leftovers[1]), 2);
  EXPECT_FALSE(lists.repeats.contains(lists.leftovers[0]));
}

TEST_F(WindowPlanTest, ScheduleSaysWhenAndWho) {
  const Table<const char*, Schedule, const char*, const char*> rows = {
      {"paused without a reason", {.when = "daily", .paused = true}, "Paused", "Pausiert"},
      {"paused for a reason", {.paused = true, .pauseNote = "until May"}, "until May", "until May"},
      {"later today",
       {.when = "daily", .nextRunAt = "2026-01-31T20:00:00Z", .app = "Codex"},
       "daily · Codex · next run 21:00",
       "daily · Codex · nächster Lauf 21:00"},
      {"another day", {.nextRunAt = "2026-02-01T23:30:00Z"}, "next run Mon 00:30", "nächster Lauf Mo. 00:30"},
      {"a time that can't be read",
       {.when = "daily", .nextRunAt = "tomorrow", .app = "Codex"},
       "daily · Codex",
       "daily · Codex"},
      {"nothing known", {}, "", ""},
  };
  for (const auto& [name, schedule, inEnglish, inGerman] : rows)
    EXPECT_EQ(schedule.subtitle(kNow, kBerlin), inEnglish) << name;
  const testing_support::German german;
  for (const auto& [name, schedule, inEnglish, inGerman] : rows) {
    EXPECT_EQ(schedule.subtitle(kNow, kBerlin), inGerman) << name;
  }
}

TEST_F(WindowPlanTest, AnAnswerIsTakenWholeOrNotAtAll) {
  for (const char* answer :
       {"", "[]", "{}", R"({"tasks":{}})", R"({"tasks":[{"task_id":"a"},{"label":"no identifier"}]})",
        R"({"tasks":[{"task_id":"a","steps":[{"at":5}]}]})", R"({"tasks":[{"task_id":"a"}]} trailing)",
        R"({"tasks":[{"task_id":"a"})", R"({"tasks":[7]})"}) {
    EXPECT_THROW(decodeHistory(answer), JsonError) << answer;
  }
  EXPECT_EQ(decodeHistory(R"({"x":[[1]],"tasks":[{"task_id":"a","steps":null},{"task_id":"b","new":[{}]}]})").size(),
            2u);
  EXPECT_THROW(decodeSchedules(R"({"schedules":[{"name":"no identifier"}]})"), JsonError);
}

}  // namespace
}  // namespace kestrelune
