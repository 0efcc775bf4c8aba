#include "WindowPage.hpp"

#include <algorithm>
#include <utility>

#include "SettleCopy.hpp"
#include "Strings.hpp"
#include "ViewParts.hpp"

namespace kestrelune::WindowViews {
namespace {

using Key = Copy::Key;
using namespace ViewParts;

std::string stateText(const std::optional<std::string>& state) {
  if (state == "needs_you") return Copy::text(Key::stateNeedsYou);
  if (state == "running") return Copy::text(Key::stateRunning);
  if (state == "done") return Copy::text(Key::stateDone);
  return "";
}

}  // namespace

std::string dotted(std::initializer_list<std::string> pieces) {
  std::string result;
  for (const std::string& piece : pieces) {
    if (!piece.empty()) result += (result.empty() ? "" : " · ") + piece;
  }
  return result;
}

View Page::pressable(View view, Press pressed) {
  // Equal things in two places stay two: the second one of a key gets its number.
  const int ordinal = ordinals_[view.key]++;
  if (ordinal > 0) view.key += "#" + std::to_string(ordinal);
  handlers_[view.key] = [pressed = std::move(pressed)](WindowModel& model, const std::string&) { pressed(model); };
  return view;
}

View Page::button(const std::string& key, const std::string& title, Press pressed, View::ButtonStyle style) {
  return pressable(View{.kind = View::Kind::button, .key = key, .text = title, .style = style}, std::move(pressed));
}

View Page::actionButton(const std::string& key, const std::string& title, Action action, View::ButtonStyle style) {
  return button(
      key, title, [action = std::move(action)](WindowModel& model) { model.actions().perform(action); }, style);
}

View Page::picker() {
  View picker{.kind = View::Kind::segmented, .key = "place", .name = Copy::text(Key::windowTitle)};
  const std::string& place = state_.place;
  const std::string selected = place.starts_with("task:") ? "tasks" : place;
  for (const auto& [tag, key] : {std::pair{"tasks", Key::tabTasks},
                                 {"ais", Key::tabAIs},
                                 {"macs", Key::tabMacs},
                                 {"general", Key::tabGeneral}}) {
    picker.children.push_back({.kind = View::Kind::option, .key = tag, .text = Copy::text(key), .on = selected == tag});
  }
  handlers_["place"] = [](WindowModel& model, const std::string& value) { model.setPlace(value); };
  return picker;
}

View Page::content() {
  const std::string& place = state_.place;
  if (place.starts_with("task:")) return taskDetail(place.substr(5));
  if (place == "ais") return ais();
  if (place == "macs") return macs();
  if (place == "general") return general();
  return tasks();
}

DrawnView Page::draw() {
  View page = content();
  // Each page scrolls by itself and stays where it was.
  page.key = "page:" + state_.place;
  page.padding = 16;
  if (page.kind == View::Kind::longList) {
    page.padding = 8;
    handlers_[page.key] = [](WindowModel& model, const std::string& wanted) { model.setInSight(wanted); };
  }
  View tree{.kind = View::Kind::stack, .key = "main", .padding = 0, .spacing = 0};
  tree.children.push_back(stack({picker()}, 10, 12));
  tree.children.push_back({.kind = View::Kind::divider});
  tree.children.push_back(std::move(page));
  return {std::move(tree), std::move(handlers_)};
}

/// Only the rows in sight become views: a history can have any length.
View Page::tasks() {
  View page{.kind = View::Kind::longList, .spacing = 6};
  std::size_t index = 0;
  const auto inSight = [&] {
    const std::size_t at = index++;
    return at >= state_.inSight.first && at < state_.inSight.last;
  };
  // As far from the edge as the text of a row.
  const auto add = [&](View view) {
    if (inSight()) page.children.push_back({.kind = View::Kind::card, .children = {stack({std::move(view)})}});
  };
  const auto addTasks = [&](const std::string& group, const std::vector<const WindowTask*>& tasks) {
    for (const WindowTask* task : tasks) {
      if (inSight()) page.children.push_back(taskRow(group, *task));
    }
  };
  int number = 0;
  for (const TaskGroup& group : lists_.groups) {
    add(sectionTitle(group.title));
    if (group.tasks.empty()) add(secondary(group.empty));
    addTasks(std::to_string(number++), group.tasks);
  }
  if (!lists_.leftovers.empty()) add({.kind = View::Kind::divider});
  addTasks("older", lists_.leftovers);
  if (state_.schedules) add(schedules(*state_.schedules));
  add(footnote(Copy::text(Key::keptNote)));

  page.total = static_cast<int>(index);
  page.count = static_cast<int>(std::min(state_.inSight.first, index));
  return page;
}

View Page::taskRow(const std::string& group, const WindowTask& task) {
  const auto repeat = lists_.repeats.find(&task);
  // Equal things in two places stay two.
  const std::string id =
      group + "/" + task.taskId + (repeat == lists_.repeats.end() ? "" : "#" + std::to_string(repeat->second));
  const std::string name = task.name(), subtitle = WindowPlan::subtitle(task, calendar_), state = stateText(task.state);
  View row = titledRow(name, subtitle, {secondary(state)});
  row.kind = View::Kind::card;
  row.pressable = true;
  row.key = "task/" + id;
  row.name = dotted({name, subtitle, state});
  row = pressable(std::move(row), [id = task.taskId](WindowModel& model) { model.setPlace("task:" + id); });
  if (!task.settleKey) return row;

  View again = button("again/" + id, SettleCopy::text(SettleCopy::Key::showAgain),
                      [settleKey = *task.settleKey](WindowModel& model) {
                        if (model.onShowAgain) model.onShowAgain(settleKey);
                      });
  again.help = name;
  return View{.kind = View::Kind::row, .key = row.key + "/row", .children = {std::move(row), std::move(again)}};
}

View Page::taskDetail(const std::string& id) {
  View page{.kind = View::Kind::scroll, .spacing = 10};
  page.children.push_back(button(
      "back", Copy::text(Key::back), [](WindowModel& model) { model.setPlace("tasks"); },
      View::ButtonStyle::borderless));
  const std::vector<WindowTask>& all = lists_.all;
  const auto found = std::find_if(all.begin(), all.end(), [&](const WindowTask& task) { return task.taskId == id; });
  if (found == all.end()) {
    page.children.push_back(secondary(Copy::text(Key::nothingRuns)));
    return page;
  }
  const WindowTask& task = *found;
  const bool open = task.state == "running" || task.state == "needs_you";
  page.children.push_back(label(task.name(), View::Role::title, true));
  const std::string from = task.from ? Copy::filled(Key::fromApp, {*task.from}) : "";
  if (const std::string facts = dotted({stateText(task.state), from}); !facts.empty()) {
    page.children.push_back(secondary(facts));
  }
  if (task.state == "running" && task.ballAt) {
    page.children.push_back(label(Copy::filled(Key::ballWith, {*task.ballAt})));
  }
  if (task.line && !task.line->empty()) page.children.push_back(selectable(*task.line));
  for (const WindowTask::Step& step : task.steps.list()) {
    const auto at = step.at ? parseIso8601(*step.at) : std::nullopt;
    View time = secondary(at ? calendar_.format(*at, "HH:mm", "en_US") : "");
    time.width = 44;
    page.children.push_back({.kind = View::Kind::row,
                             .oneElement = true,
                             .children = {std::move(time), selectable(step.line.value_or(""))}});
  }
  if (Action::appLink(task.open)) {
    page.children.push_back(
        actionButton("chat", Copy::text(Key::openChat), Action::openLink(*task.open), View::ButtonStyle::primary));
  }
  if (open && task.label) {
    page.children.push_back(footnote(Copy::filled(Key::stopHint, {*task.label})));
  }
  return page;
}

View Page::schedules(const std::vector<Schedule>& list) {
  View section{.kind = View::Kind::stack, .key = "schedules"};
  section.children.push_back(sectionTitle(Copy::text(Key::schedules)));
  if (list.empty()) section.children.push_back(secondary(Copy::text(Key::noSchedules)));
  for (const Schedule& each : list) {
    const bool paused = each.paused == true;
    const std::string verb = paused ? "resume" : "pause";
    const std::string name = each.name ? *each.name : Copy::text(Key::schedules);
    View change = button(verb + "/" + each.scheduleId, Copy::text(paused ? Key::resumeSchedule : Key::pauseSchedule),
                         [verb, each](WindowModel& model) { model.schedule(verb, each); });
    View remove = button("remove/" + each.scheduleId, Copy::text(Key::removeSchedule),
                         [each](WindowModel& model) { model.schedule("remove", each); });
    change.help = remove.help = name;
    section.children.push_back(titledRow(name, each.subtitle(now_, calendar_), {std::move(change), std::move(remove)}));
  }
  return section;
}

DrawnView mainView(const WindowModel::State& state, const TaskLists& lists, Date now, const Calendar& calendar) {
  return Page(state, lists, now, calendar).draw();
}

}  // namespace kestrelune::WindowViews
