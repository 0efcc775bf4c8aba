#include <sstream>

#include "Inspect.hpp"
#include "SetupWindowViews.hpp"
#include "ShareTools.hpp"
#include "WindowViews.hpp"
#include "base/Files.hpp"

namespace kestrelune::inspect {

namespace {

/// A list that the helper prints, from a file; the option's own words for one that isn't there or can't be used.
template <class T>
std::vector<T> listFrom(const std::string& file, std::vector<T> (*decode)(std::string_view)) {
  const Outcome<std::string> answer = readFile(systemFiles(), file, kMostBytes);
  if (!answer) throw Unusable("can't read " + file);
  try {
    return decode(answer.value);
  } catch (const JsonError& error) {
    throw Unusable(file + ": " + error.what());
  }
}

std::vector<WindowTask> historyOption(const Arguments& arguments) {
  const auto file = arguments.option("--history");
  return file ? listFrom(*file, decodeHistory) : std::vector<WindowTask>{};
}

Json toJson(const WindowTask& task) {
  Json object = Json::Object{{"task_id", task.taskId}, {"name", task.name()}, {"subtitle", WindowPlan::subtitle(task)}};
  object.setIfPresent("label", task.label);
  object.setIfPresent("title", task.title);
  object.setIfPresent("state", task.state);
  object.setIfPresent("line", task.line);
  object.setIfPresent("from", task.from);
  object.setIfPresent("app", task.app);
  object.setIfPresent("ball_at", task.ballAt);
  object.setIfPresent("queued_at", task.queuedAt);
  object.setIfPresent("ended_at", task.endedAt);
  object.setIfPresent("open", task.open);
  object.setIfPresent("hiddenNote", task.hiddenNote);
  object.setIfPresent("settleKey", task.settleKey);
  if (task.steps == WindowTask::Steps()) return object;
  Json::Array steps;
  for (const WindowTask::Step& step : task.steps.list()) {
    Json each{Json::Object{}};
    each.setIfPresent("at", step.at);
    each.setIfPresent("line", step.line);
    steps.push_back(each);
  }
  object.set("steps", steps);
  return object;
}

Json toJson(const std::vector<const WindowTask*>& tasks) {
  Json::Array list;
  for (const WindowTask* task : tasks) list.push_back(toJson(*task));
  return list;
}

Json tasks(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const TaskLists lists(snapshotOf(arguments.words()[0], arguments), historyOption(arguments), nowOption(arguments));
  Json::Array groups;
  for (const TaskGroup& group : lists.groups) {
    groups.push_back(Json::Object{{"title", group.title}, {"empty", group.empty}, {"tasks", toJson(group.tasks)}});
  }
  return Json::Object{{"groups", groups}, {"leftovers", toJson(lists.leftovers)}};
}

Json schedules(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  Json::Array list;
  for (const Schedule& schedule : listFrom(arguments.words()[0], decodeSchedules)) {
    list.push_back(
        Json::Object{{"schedule_id", schedule.scheduleId}, {"subtitle", schedule.subtitle(nowOption(arguments))}});
  }
  return list;
}

/// A tree as people read it: names for the closed sets, which travel as numbers.
Json readable(const View& view) {
  static constexpr const char* kKinds[] = {"text",  "button",  "toggle",   "radioGroup", "segmented", "option", "row",
                                           "stack", "section", "divider",  "spacer",     "spinner",   "icon",   "panel",
                                           "card",  "scroll",  "longList", "progress",   "field"};
  static constexpr const char* kRoles[] = {"body",     "largeTitle", "title",    "heading",
                                           "headline", "caption",    "footnote", "monospaced"};
  static constexpr const char* kTints[] = {"primary", "secondary", "tertiary", "accent", "green", "orange", "red"};
  static constexpr const char* kIcons[] = {
      "none",  "checkCircle", "exclamationCircle", "clock", "minusCircle", "chevron",
      "flame", "circle",      "refresh",           "folder"};
  static constexpr const char* kStyles[] = {"normal", "primary", "link", "borderless", "destructive"};
  Json object = kestrelune::toJson(view);
  const auto named = [&](const char* field, const auto& names, auto value) {
    if (value != decltype(value){} || std::string_view(field) == "kind") {
      object.set(field, names[static_cast<std::size_t>(value)]);
    }
  };
  named("kind", kKinds, view.kind);
  named("role", kRoles, view.role);
  named("tint", kTints, view.tint);
  named("icon", kIcons, view.icon);
  named("style", kStyles, view.style);
  Json::Array children;
  for (const View& child : view.children) children.push_back(readable(child));
  if (!children.empty()) object.set("children", children);
  return object;
}

SetupRunner::State installOption(const Arguments& arguments) {
  using State = SetupRunner::State;
  const std::string state = arguments.option("--install").value_or("idle");
  if (state == "idle") return {};
  if (state == "running") return {.kind = State::Case::running};
  std::istringstream words(state);
  std::string first;
  State finished{.kind = State::Case::finished};
  if (!(words >> first >> finished.code) || first != "finished") {
    throw Unusable("--install takes idle, running, or \"finished CODE LAST LINE\"");
  }
  std::getline(words >> std::ws, finished.lastLine);
  return finished;
}

View setupTree(const std::string& file, const Arguments& arguments) {
  SetupWindowModel model{.snapshot = snapshotOf(file, arguments),
                         .install = installOption(arguments),
                         .checkingUpdate = arguments.flag("--checking-update"),
                         .needsMove = arguments.flag("--needs-move"),
                         .chosen = arguments.option("--chosen"),
                         .firstTaskCopied = arguments.flag("--copied")};
  model.step = SetupFlow::firstOpenStep(model.snapshot);
  if (const auto name = arguments.option("--step")) {
    bool known = false;
    for (const SetupStep step : {SetupStep::account, SetupStep::ai, SetupStep::mac}) {
      if (rawValue(step) != *name) continue;
      model.step = step;
      known = true;
    }
    if (!known) throw Unusable("--step takes account, ai or mac");
  }
  if (const auto opened = arguments.option("--opened")) {
    std::istringstream words(*opened);
    for (std::string word; std::getline(words, word, ',');) model.opened.insert(word);
  }
  if (const auto folder = arguments.option("--runner-dir")) {
    model.sharedTools = ShareTools::state(systemFiles(), Url::file(*folder));
  }
  return SetupWindowViews::tree(model);
}

View mainTree(const std::string& file, const Arguments& arguments) {
  const Date now = nowOption(arguments);
  WindowModel::State state{.snapshot = snapshotOf(file, arguments),
                           .history = historyOption(arguments),
                           .copied = arguments.flag("--copied"),
                           .loginItem = arguments.flag("--login-item"),
                           .muted = arguments.flag("--muted"),
                           .problem = problemOption(arguments),
                           .updateLine = arguments.option("--update")};
  state.place = arguments.option("--place").value_or("tasks");
  if (const auto list = arguments.option("--schedules")) state.schedules = listFrom(*list, decodeSchedules);
  if (const auto reports = arguments.option("--reports")) state.reportsURL = Url::file(*reports);
  state.problemRunning = state.problem && state.problem->state == "running";
  const TaskLists lists(state.snapshot, state.history, now);
  if (!arguments.flag("--first-rows")) state.inSight = {0, lists.all.size() * 2 + 16};
  return WindowViews::mainView(state, lists, now).tree;
}

Json window(const Arguments& arguments) {
  arguments.requireWords(2, 2);
  const std::string& which = arguments.words()[0];
  if (which != "setup" && which != "main") throw Unusable("the window is setup or main");
  const View tree = (which == "setup" ? setupTree : mainTree)(arguments.words()[1], arguments);
  return arguments.flag("--message") ? kestrelune::toJson(tree) : readable(tree);
}

const Subcommand kTasks("tasks", "FILE [--history FILE] [--now T] [--alive real|all|none] [--marks FILE]",
                        {"--history", "--now", "--alive", "--marks"}, tasks);
const Subcommand kSchedules("schedules", "FILE [--now T]", {"--now"}, schedules);
const Subcommand kWindow(
    "window",
    "setup FILE [--step account|ai|mac] [--chosen ID] [--opened ID,ID] [--install STATE] [--checking-update] "
    "[--needs-move] [--copied] [--runner-dir DIR] | main FILE [--place PLACE] [--history FILE] [--schedules FILE] "
    "[--update TEXT] [--problem FILE] [--reports DIR] [--copied] [--login-item] [--muted] [--first-rows]; both with "
    "[--now T] [--alive real|all|none] [--marks FILE] [--message]",
    {"--now", "--alive", "--marks", "--step", "--chosen", "--opened", "--install", "--runner-dir", "--place",
     "--history", "--schedules", "--update", "--problem", "--reports"},
    window, {"--checking-update", "--needs-move", "--copied", "--login-item", "--muted", "--first-rows", "--message"});

}  // namespace

}  // namespace kestrelune::inspect
