#include "WindowViews.hpp"

#include <algorithm>
#include <utility>

#include "MenuPlan.hpp"
#include "ProblemCopy.hpp"
#include "RuntimeAction.hpp"
#include "SettleCopy.hpp"
#include "Strings.hpp"
#include "Usage.hpp"
#include "ViewParts.hpp"
#include "base/Text.hpp"

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

std::string dotted(std::initializer_list<std::string> pieces) {
  std::string result;
  for (const std::string& piece : pieces) {
    if (!piece.empty()) result += (result.empty() ? "" : " · ") + piece;
  }
  return result;
}

/// Draws one page of the window, gathering what its controls do.
class Page {
 public:
  Page(WindowModel& model, Date now, const Calendar& calendar) : model_(model), now_(now), calendar_(calendar) {}

  DrawnView draw();

 private:
  const std::optional<HelperStatus>& status() const { return model_.state().snapshot.status; }

  View pressable(View view, std::function<void()> pressed);
  View button(const std::string& key, const std::string& title, std::function<void()> pressed,
              View::ButtonStyle style = View::ButtonStyle::normal);
  View actionButton(const std::string& key, const std::string& title, Action action,
                    View::ButtonStyle style = View::ButtonStyle::normal);

  View picker();
  View content();
  View tasks();
  View taskRow(const std::string& group, const WindowTask& task);
  View taskDetail(const std::string& id);
  View schedules(const std::vector<Schedule>& list);
  View ais();
  View connectionRow(const Connection& connection, std::size_t index);
  View appRow(const HostApp& app, std::size_t index);
  View usage(const std::vector<HostApp>& apps);
  View macs();
  View general();
  View switchRow(const std::string& key, const std::string& title, const std::string& subtitle, bool on,
                 void (WindowModel::*toggle)());
  View problem();

  WindowModel& model_;
  const Date now_;
  const Calendar calendar_;
  ViewHandlers handlers_;
  std::map<std::string, int> ordinals_;
};

View Page::pressable(View view, std::function<void()> pressed) {
  // Equal things in two places stay two: the second one of a key gets its number.
  const int ordinal = ordinals_[view.key]++;
  if (ordinal > 0) view.key += "#" + std::to_string(ordinal);
  handlers_[view.key] = [pressed = std::move(pressed)](const std::string&) { pressed(); };
  return view;
}

View Page::button(const std::string& key, const std::string& title, std::function<void()> pressed,
                  View::ButtonStyle style) {
  return pressable(View{.kind = View::Kind::button, .key = key, .text = title, .style = style}, std::move(pressed));
}

View Page::actionButton(const std::string& key, const std::string& title, Action action, View::ButtonStyle style) {
  return button(
      key, title, [&model = model_, action = std::move(action)] { model.actions().perform(action); }, style);
}

View Page::picker() {
  View picker{.kind = View::Kind::segmented, .key = "place", .name = Copy::text(Key::windowTitle)};
  const std::string& place = model_.state().place;
  const std::string selected = place.starts_with("task:") ? "tasks" : place;
  for (const auto& [tag, key] : {std::pair{"tasks", Key::tabTasks},
                                 {"ais", Key::tabAIs},
                                 {"macs", Key::tabMacs},
                                 {"general", Key::tabGeneral}}) {
    picker.children.push_back({.kind = View::Kind::option, .key = tag, .text = Copy::text(key), .on = selected == tag});
  }
  handlers_["place"] = [&model = model_](const std::string& value) { model.setPlace(value); };
  return picker;
}

View Page::content() {
  const std::string& place = model_.state().place;
  if (place.starts_with("task:")) return taskDetail(place.substr(5));
  if (place == "ais") return ais();
  if (place == "macs") return macs();
  if (place == "general") return general();
  return tasks();
}

DrawnView Page::draw() {
  View page = content();
  // Each page scrolls by itself and stays where it was.
  page.key = "page:" + model_.state().place;
  page.padding = 16;
  View tree{.kind = View::Kind::stack, .key = "main", .padding = 0, .spacing = 0};
  tree.children.push_back(stack({picker()}, 10, 12));
  tree.children.push_back({.kind = View::Kind::divider});
  tree.children.push_back(std::move(page));
  return {std::move(tree), std::move(handlers_)};
}

View Page::tasks() {
  const WindowModel::State& state = model_.state();
  const auto all = WindowPlan::tasks(status(), state.history, state.snapshot.hidden, now_, calendar_);
  View page{.kind = View::Kind::longList, .spacing = 6};
  int number = 0;
  for (const TaskGroup& group : TaskGroup::groups(all, now_, calendar_)) {
    page.children.push_back(sectionTitle(group.title));
    if (group.tasks.empty()) page.children.push_back(secondary(group.empty));
    for (const WindowTask& task : group.tasks) page.children.push_back(taskRow(std::to_string(number), task));
    ++number;
  }
  const auto leftovers = TaskGroup::leftovers(all, now_, calendar_);
  if (!leftovers.empty()) page.children.push_back({.kind = View::Kind::divider});
  for (const WindowTask& task : leftovers) page.children.push_back(taskRow("older", task));
  if (state.schedules) page.children.push_back(schedules(*state.schedules));
  page.children.push_back(footnote(Copy::text(Key::keptNote)));
  return page;
}

View Page::taskRow(const std::string& group, const WindowTask& task) {
  View row = titledRow(task.name(), WindowPlan::subtitle(task, calendar_), {secondary(stateText(task.state))});
  row.kind = View::Kind::card;
  row.pressable = true;
  row.key = "task/" + group + "/" + task.taskId;
  row.name = dotted({task.name(), WindowPlan::subtitle(task, calendar_), stateText(task.state)});
  row = pressable(std::move(row), [&model = model_, id = task.taskId] { model.setPlace("task:" + id); });
  if (!task.settleKey) return row;

  const std::string key = "again/" + group + "/" + task.taskId;
  View again =
      button(key, SettleCopy::text(SettleCopy::Key::showAgain), [&model = model_, settleKey = *task.settleKey] {
        if (model.onShowAgain) model.onShowAgain(settleKey);
      });
  return View{.kind = View::Kind::row, .key = row.key + "/row", .children = {std::move(row), std::move(again)}};
}

View Page::taskDetail(const std::string& id) {
  View page{.kind = View::Kind::scroll, .spacing = 10};
  page.children.push_back(button(
      "back", Copy::text(Key::back), [&model = model_] { model.setPlace("tasks"); }, View::ButtonStyle::borderless));
  const WindowModel::State& state = model_.state();
  const auto all = WindowPlan::tasks(status(), state.history, state.snapshot.hidden, now_, calendar_);
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
  if (task.steps) {
    for (const WindowTask::Step& step : *task.steps) {
      const auto at = step.at ? parseIso8601(*step.at) : std::nullopt;
      View time = secondary(at ? calendar_.format(*at, "HH:mm", "en_US") : "");
      time.width = 44;
      page.children.push_back({.kind = View::Kind::row,
                               .oneElement = true,
                               .children = {std::move(time), selectable(step.line.value_or(""))}});
    }
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
                         [&model = model_, verb, each] { model.schedule(verb, each); });
    View remove = button("remove/" + each.scheduleId, Copy::text(Key::removeSchedule),
                         [&model = model_, each] { model.schedule("remove", each); });
    change.help = remove.help = name;
    section.children.push_back(titledRow(name, each.subtitle(now_, calendar_), {std::move(change), std::move(remove)}));
  }
  return section;
}

View Page::connectionRow(const Connection& connection, std::size_t index) {
  const std::string family = connection.family.value_or("");
  const std::string target = "connection:" + family, key = "connection/" + std::to_string(index);
  const bool off = connection.power == "off";
  std::string subtitle = Copy::text(Key::reconnect);
  if (off) {
    subtitle = Copy::text(Key::off);
  } else if (connection.access == "read") {
    subtitle = Copy::text(Key::readOnly);
  } else if (connection.state == "connected") {
    subtitle = Copy::text(Key::givesTasks);
  }

  const auto turnOff = [&] { return actionButton(key + "/off", Copy::text(Key::turnOff), Action::switchOff(target)); };
  std::vector<View> controls;
  if (connection.state == "not_connected" || connection.state == "stale") {
    controls = {actionButton(key + "/reconnect", Copy::text(Key::reconnect), Action::reconnect(family))};
  } else if (off) {
    controls = {actionButton(key + "/on", Copy::text(Key::turnOn), Action::account(target))};
  } else if (connection.access == "read") {
    controls = {actionButton(key + "/allow", Copy::text(Key::allowTasks), Action::account(target)), turnOff()};
  } else if (connection.access == "delegate") {
    controls = {actionButton(key + "/read", Copy::text(Key::setReadOnly), Action::readOnly(target)), turnOff()};
  } else {
    controls = {turnOff()};
  }
  return titledRow(MenuPlan::displayName(connection), subtitle, std::move(controls));
}

std::string shownName(const HostApp& app) {
  if (app.name) return Copy::appName(*app.name);
  return app.host ? Copy::appName(*app.host) : Copy::text(Key::unknown);
}

View Page::appRow(const HostApp& app, std::size_t index) {
  const std::string host = app.host.value_or(""), key = "app/" + std::to_string(index), name = shownName(app);
  const bool off = app.power == "off";
  const std::string subtitle = dotted({app.accountLine().value_or(""), off ? Copy::text(Key::off) : ""});
  std::vector<View> trailing;
  if (app.state == "signed_out") {
    trailing = {actionButton(key + "/sign-in", Copy::text(Key::signIn), Action::signIn(host))};
  } else if (const auto update = MenuPlan::updateAction(app)) {
    trailing = {actionButton(key + "/update", Copy::filled(Key::updateNow, {name}), *update)};
  } else if (app.state == "not_installed") {
    trailing = {secondary(Copy::text(Key::notInstalled))};
  } else if (off) {
    trailing = {actionButton(key + "/on", Copy::text(Key::turnOn), Action::account("app:" + host))};
  } else {
    trailing = {actionButton(key + "/off", Copy::text(Key::turnOff), Action::switchOff("app:" + host))};
  }
  return titledRow(name, subtitle, std::move(trailing));
}

View Page::usage(const std::vector<HostApp>& apps) {
  View section{.kind = View::Kind::stack, .key = "usage", .spacing = 10};
  for (const HostApp& app : apps) {
    if (!app.usage || *app.usage == PlanUsage{}) continue;
    const std::string plan = app.account ? app.account->plan.value_or("") : "";
    std::vector<View> left;
    if (const auto figure = UsagePlan::left(app.usage)) left.push_back(label(*figure, View::Role::body, true));
    View block{.kind = View::Kind::stack, .oneElement = true, .spacing = 2};
    block.children.push_back(titledRow(dotted({shownName(app), plan}), "", std::move(left)));
    for (const std::string& line : UsagePlan::lines(app.usage, now_, calendar_)) {
      block.children.push_back(secondary(line));
    }
    section.children.push_back(std::move(block));
  }
  if (section.children.empty()) return section;
  section.children.insert(section.children.begin(), sectionTitle(UsageCopy::text(UsageCopy::Key::title)));
  section.children.push_back(footnote(UsageCopy::text(UsageCopy::Key::note)));
  return section;
}

View Page::ais() {
  View page{.kind = View::Kind::scroll, .spacing = 8};
  page.children.push_back(sectionTitle(Copy::text(Key::yourAIs)));
  if (status() && status()->connections) {
    std::size_t index = 0;
    for (const Connection& each : *status()->connections) page.children.push_back(connectionRow(each, index++));
  }
  page.children.push_back(sectionTitle(Copy::text(Key::apps)));
  const std::vector<HostApp> apps = status() ? status()->apps.value_or(std::vector<HostApp>{}) : std::vector<HostApp>{};
  bool anyInstalled = false;
  for (std::size_t index = 0; index < apps.size(); ++index) {
    anyInstalled = anyInstalled || apps[index].state != "not_installed";
    page.children.push_back(appRow(apps[index], index));
  }
  if (View section = usage(apps); !section.children.empty()) page.children.push_back(std::move(section));
  if (const auto& line = model_.state().updateLine; line && !line->empty()) {
    page.children.push_back(footnote(*line));
  } else if (anyInstalled) {
    page.children.push_back(actionButton("update-all", Copy::text(Key::updateAll), Action::updateAll()));
  }
  page.children.push_back(
      actionButton("connect", Copy::text(Key::connectAnother), Action::account(), View::ButtonStyle::link));
  return page;
}

View Page::macs() {
  const Snapshot& snapshot = model_.state().snapshot;
  View page{.kind = View::Kind::scroll, .spacing = 8};
  std::string computer = status() ? status()->computer.value_or("") : "";
  if (computer.empty()) computer = "Mac";

  std::string names;
  if (status() && status()->apps) {
    for (const HostApp& app : *status()->apps) {
      if (app.state == "not_installed") continue;
      names += (names.empty() ? "" : ", ") + (app.name   ? *app.name
                                              : app.host ? Copy::appName(*app.host)
                                                         : Copy::text(Key::unknown));
    }
  }
  const std::string version =
      status() && status()->helperVersion ? Copy::filled(Key::helperVersion, {*status()->helperVersion}) : "";
  page.children.push_back(
      titledRow(Copy::filled(Key::thisMacSuffix, {computer}), dotted({names, version}),
                {secondary(Copy::text(snapshot.signal == Signal::red ? Key::macOffline : Key::macOnline))}));
  if (status() && status()->computers) {
    for (const Computer& other : *status()->computers) {
      if (other.name == status()->computer) continue;
      page.children.push_back(
          titledRow(other.name.value_or("Mac"), other.apps.value_or(""),
                    {secondary(Copy::text(other.online == "online" ? Key::macOnline : Key::macOffline))}));
    }
  }
  View add{.kind = View::Kind::row,
           .children = {button("add-mac", Copy::text(Key::addMac), [&model = model_] { model.copyDownloadLink(); })}};
  if (model_.state().copied) add.children.push_back(secondary(Copy::text(Key::linkCopied)));
  page.children.push_back(std::move(add));
  return page;
}

View Page::switchRow(const std::string& key, const std::string& title, const std::string& subtitle, bool on,
                     void (WindowModel::*toggle)()) {
  View control = pressable(View{.kind = View::Kind::toggle, .key = key, .help = subtitle, .name = title, .on = on},
                           [&model = model_, toggle] { (model.*toggle)(); });
  return titledRow(title, subtitle, {std::move(control)});
}

View Page::general() {
  const WindowModel::State& state = model_.state();
  View page{.kind = View::Kind::scroll, .spacing = 10};
  page.children.push_back(
      switchRow("login", Copy::text(Key::loginItem), "", state.loginItem, &WindowModel::toggleLogin));
  page.children.push_back(switchRow("notifications", Copy::text(Key::notifications),
                                    Copy::text(Key::notificationsDetail), !state.muted, &WindowModel::toggleMuted));
  page.children.push_back(titledRow(Copy::text(Key::accountRow), Copy::text(Key::accountDetail),
                                    {actionButton("account", Copy::text(Key::account), Action::account())}));
  page.children.push_back(titledRow(Copy::text(Key::restart), message(state.snapshot).value_or(""),
                                    {actionButton("restart", Copy::text(Key::restart), Action::restart())}));
  page.children.push_back({.kind = View::Kind::divider});
  page.children.push_back(problem());
  if (status() && status()->helperVersion) {
    page.children.push_back(footnote(Copy::filled(Key::helperVersion, {*status()->helperVersion})));
  }
  return page;
}

View Page::problem() {
  using P = ProblemCopy::Key;
  const std::optional<ProblemRecord>& record = model_.state().problem;
  const bool running = model_.state().problemRunning;
  View check = actionButton("problem", ProblemCopy::text(P::check), Action::reportProblem());
  check.enabled = !running;
  View section{.kind = View::Kind::stack, .key = "problem-section"};
  section.children.push_back(titledRow(ProblemCopy::text(P::rowTitle),
                                       ProblemCopy::text(running ? P::running : P::rowIdle), {std::move(check)}));
  const bool done = record && record->state == "done";
  if (!done && !(record && record->state == "failed")) return section;

  const std::string app = record->app.value_or("").empty() ? "Kestrelune" : *record->app;
  View panel{.kind = View::Kind::panel, .key = "problem-panel", .padding = 10};
  panel.children.push_back(
      label(done ? ProblemCopy::filled(P::answered, {app}) : ProblemCopy::text(P::failed), View::Role::caption, true));
  View said = selectable((done ? record->answer : record->reason).value_or(""));
  said.role = View::Role::caption;
  panel.children.push_back(std::move(said));
  View buttons{.kind = View::Kind::row};
  if (Action::appLink(record->open)) {
    buttons.children.push_back(
        button("problem-chat", ProblemCopy::text(P::openChat), [&model = model_] { model.openProblemChat(); }));
  }
  if (ProblemPlan::reportFolder(record, model_.reportsURL())) {
    buttons.children.push_back(
        button("problem-report", ProblemCopy::text(P::showReport), [&model = model_] { model.showProblemReport(); }));
  }
  if (!buttons.children.empty()) panel.children.push_back(std::move(buttons));
  section.children.push_back(std::move(panel));
  return section;
}

}  // namespace

DrawnView mainView(WindowModel& model, Date now, const Calendar& calendar) { return Page(model, now, calendar).draw(); }

}  // namespace kestrelune::WindowViews
