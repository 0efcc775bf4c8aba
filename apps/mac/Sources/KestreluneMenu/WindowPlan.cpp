#include "WindowPlan.hpp"

#include <unordered_map>
#include <unordered_set>

#include "MenuPlan.hpp"
#include "SettleCopy.hpp"
#include "Strings.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

using Key = Copy::Key;

std::optional<Date> parsed(const std::optional<std::string>& timeStamp) {
  return timeStamp ? parseIso8601(*timeStamp) : std::nullopt;
}

/// The order is that of the groups on screen.
enum class Group { needsYou, running, doneToday, none };

Group groupOf(const WindowTask& task, Date now, const Calendar& calendar) {
  if (task.state == "needs_you") return Group::needsYou;
  if (task.state == "running") return Group::running;
  if (task.state != "done") return Group::none;
  const auto ended = parsed(task.endedAt);
  // A time that can't be read counts as today: better shown once too often than lost.
  return !ended || calendar.isSameDay(*ended, now) ? Group::doneToday : Group::none;
}

template <class Live>
WindowTask liveTask(const Live& live, const char* state) {
  return WindowTask{
      .taskId = *live.taskId, .label = live.label, .title = live.title, .state = state, .open = live.open};
}

std::vector<WindowTask> liveTasks(const std::optional<HelperStatus>& status, const std::vector<HiddenAttention>& hidden,
                                  Date now, const Calendar& calendar) {
  std::vector<WindowTask> result;
  std::unordered_set<std::string> needing;
  if (status && status->attention) {
    for (const Attention& item : *status->attention) {
      if (!item.taskId) continue;
      WindowTask task = liveTask(item, "needs_you");
      task.line = item.line;
      needing.insert(task.taskId);
      result.push_back(std::move(task));
    }
  }
  for (const HiddenAttention& each : hidden) {
    if (!each.item.taskId || !needing.insert(*each.item.taskId).second) continue;
    WindowTask task = liveTask(each.item, "needs_you");
    task.line = each.item.line;
    task.hiddenNote = WindowPlan::note(each.mark, now, calendar);
    task.settleKey = each.key;
    result.push_back(std::move(task));
  }
  if (status && status->running) {
    for (const RunningTask& running : *status->running) {
      if (!running.taskId) continue;
      WindowTask task = liveTask(running, "running");
      task.ballAt = running.ballAt;
      task.queuedAt = running.since;
      result.push_back(std::move(task));
    }
  }
  for (const DoneTask& done : MenuPlan::doneToday(status, now, calendar)) {
    if (!done.taskId) continue;
    WindowTask task = liveTask(done, "done");
    task.line = done.line;
    task.endedAt = done.endedAt;
    result.push_back(std::move(task));
  }
  return result;
}

std::unordered_map<const WindowTask*, int> repeatsIn(const std::vector<WindowTask>& tasks) {
  std::unordered_map<const WindowTask*, int> result;
  std::unordered_map<std::string_view, int> seen;
  seen.reserve(tasks.size());
  for (const WindowTask& task : tasks) {
    const int times = ++seen[task.taskId];
    if (times > 1) result[&task] = times;
  }
  return result;
}

}  // namespace

void decodeJson(const Json& json, WindowTask::Step& step) {
  requireObject(json);
  decodeMember(json, "at", step.at);
  decodeMember(json, "line", step.line);
}

void decodeJson(const Json& json, WindowTask& task) {
  requireObject(json);
  decodeMember(json, "task_id", task.taskId);
  decodeMember(json, "label", task.label);
  decodeMember(json, "title", task.title);
  decodeMember(json, "state", task.state);
  decodeMember(json, "line", task.line);
  decodeMember(json, "from", task.from);
  decodeMember(json, "app", task.app);
  decodeMember(json, "ball_at", task.ballAt);
  decodeMember(json, "queued_at", task.queuedAt);
  decodeMember(json, "ended_at", task.endedAt);
  decodeMember(json, "open", task.open);
  const Json* steps = json.find("steps");
  if (steps && !steps->isNull()) task.steps = WindowTask::Steps(*steps);
}

void decodeJson(const Json& json, Schedule& schedule) {
  requireObject(json);
  decodeMember(json, "schedule_id", schedule.scheduleId);
  decodeMember(json, "name", schedule.name);
  decodeMember(json, "when", schedule.when);
  decodeMember(json, "next_run_at", schedule.nextRunAt);
  decodeMember(json, "paused", schedule.paused);
  decodeMember(json, "pause_note", schedule.pauseNote);
  decodeMember(json, "app", schedule.app);
  decodeMember(json, "computer", schedule.computer);
}

WindowTask::Steps::Steps(const Json& json) {
  std::vector<Step> decoded;
  decodeJson(json, decoded);
  text_ = std::make_shared<const std::string>(json.write());
}

std::vector<WindowTask::Step> WindowTask::Steps::list() const {
  std::vector<Step> decoded;
  if (text_) decodeJson(Json::parse(*text_), decoded);
  return decoded;
}

namespace {

template <class T>
std::vector<T> decodeList(std::string_view answer, const char* name) {
  std::vector<T> list;
  const Json rest = Json::parse(answer, name, [&list](const Json& each) {
    T decoded;
    decodeJson(each, decoded);
    list.push_back(std::move(decoded));
  });
  requireObject(rest);
  if (const Json* array = rest.find(name); !array || !array->array()) throw JsonError("expected a list");
  return list;
}

}  // namespace

std::vector<WindowTask> decodeHistory(std::string_view answer) { return decodeList<WindowTask>(answer, "tasks"); }
std::vector<Schedule> decodeSchedules(std::string_view answer) { return decodeList<Schedule>(answer, "schedules"); }

std::string WindowTask::name() const {
  const std::string joined = MenuPlan::join(label, title);
  return joined.empty() ? Copy::text(Key::needsYou) : joined;
}

std::string Schedule::whenText(Date date, Date now, const Calendar& calendar) {
  const char* locale = (currentLanguage() == Language::german) ? "de_DE" : "en_US";
  return calendar.format(date, calendar.isSameDay(date, now) ? "HH:mm" : "EEE HH:mm", locale);
}

std::string Schedule::subtitle(Date now, const Calendar& calendar) const {
  if (paused == true) return pauseNote ? *pauseNote : Copy::text(Key::schedulePaused);
  std::optional<std::string> next;
  if (const auto date = parsed(nextRunAt)) {
    next = Copy::filled(Key::nextRun, {whenText(*date, now, calendar)});
  }
  std::string result;
  for (const std::optional<std::string>* piece : {&when, &app, static_cast<const std::optional<std::string>*>(&next)}) {
    if (*piece) result += (result.empty() ? "" : " · ") + **piece;
  }
  return result;
}

std::vector<TaskGroup> TaskGroup::groups(const std::vector<WindowTask>& tasks, Date now, const Calendar& calendar) {
  std::vector<TaskGroup> result = {
      {.title = Copy::text(Key::needsYou), .empty = Copy::text(Key::nothingNeedsYou)},
      {.title = Copy::text(Key::running), .empty = Copy::text(Key::nothingRuns)},
      {.title = Copy::text(Key::doneToday), .empty = Copy::text(Key::nothingDone)},
  };
  for (const WindowTask& task : tasks) {
    const Group group = groupOf(task, now, calendar);
    if (group != Group::none) result[static_cast<std::size_t>(group)].tasks.push_back(&task);
  }
  return result;
}

std::vector<const WindowTask*> TaskGroup::leftovers(const std::vector<WindowTask>& tasks, Date now,
                                                    const Calendar& calendar) {
  // By identifier, so that a task shown in a group isn't listed a second time.
  std::unordered_set<std::string_view> grouped;
  for (const WindowTask& task : tasks) {
    if (groupOf(task, now, calendar) != Group::none) grouped.insert(task.taskId);
  }
  std::vector<const WindowTask*> result;
  for (const WindowTask& task : tasks) {
    if (!grouped.contains(task.taskId)) result.push_back(&task);
  }
  return result;
}

namespace WindowPlan {

std::vector<WindowTask> tasks(const std::optional<HelperStatus>& status, const std::vector<WindowTask>& history,
                              const std::vector<HiddenAttention>& hidden, Date now, const Calendar& calendar) {
  std::unordered_map<std::string_view, const WindowTask*> remembered;
  for (const WindowTask& task : history) remembered.emplace(task.taskId, &task);

  std::vector<WindowTask> result = liveTasks(status, hidden, now, calendar);
  std::unordered_set<std::string> live;
  for (WindowTask& task : result) {
    live.insert(task.taskId);
    const auto found = remembered.find(task.taskId);
    if (found == remembered.end()) continue;
    task.steps = found->second->steps;
    if (!task.from) task.from = found->second->from;
    if (!task.app) task.app = found->second->app;
  }
  for (const WindowTask& task : history) {
    if (live.contains(task.taskId)) continue;
    result.push_back(task);
    // Of two entries with one identifier the first one knows the steps.
    const WindowTask& first = *remembered.at(task.taskId);
    if (&first == &task) continue;
    result.back().steps = first.steps;
    if (!task.from) result.back().from = first.from;
    if (!task.app) result.back().app = first.app;
  }
  return result;
}

std::string subtitle(const WindowTask& task, const Calendar& calendar) {
  if (task.hiddenNote) return *task.hiddenNote;
  if (task.state == "running" && task.ballAt) return Copy::filled(Key::ballWith, {*task.ballAt});
  if (task.line && !task.line->empty()) return *task.line;
  if (const auto ended = parsed(task.endedAt)) {
    return Copy::filled(Key::doneAt, {calendar.format(*ended, "HH:mm", "en_US")});
  }
  if (task.from) return Copy::filled(Key::fromApp, {*task.from});
  return "";
}

std::string note(const SettleMark& mark, Date now, const Calendar& calendar) {
  if (mark.done) return SettleCopy::text(SettleCopy::Key::settledNote);
  return SettleCopy::filled(SettleCopy::Key::laterNote, {Schedule::whenText(Date{mark.until}, now, calendar)});
}

}  // namespace WindowPlan

TaskLists::TaskLists(const Snapshot& snapshot, const std::vector<WindowTask>& history, Date now,
                     const Calendar& calendar)
    : madeAt(now),
      all(WindowPlan::tasks(snapshot.status, history, snapshot.hidden, now, calendar)),
      groups(TaskGroup::groups(all, now, calendar)),
      leftovers(TaskGroup::leftovers(all, now, calendar)),
      repeats(repeatsIn(all)) {}

}  // namespace kestrelune
