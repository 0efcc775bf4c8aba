#include "WindowPage.hpp"

#include <algorithm>
#include <utility>

#include "ProblemCopy.hpp"
#include "Strings.hpp"
#include "ViewParts.hpp"

namespace kestrelune::WindowViews {
namespace {

using Key = Copy::Key;
using namespace ViewParts;

}  // namespace

View Page::macs() {
  const Snapshot& snapshot = state_.snapshot;
  View page{.kind = View::Kind::scroll, .spacing = 10};
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
  page.children.push_back(
      button("add-mac", Copy::text(Key::addMac), [](WindowModel& model) { model.copyDownloadLink(); }));
  if (state_.copied) page.children.push_back(secondary(Copy::text(Key::linkCopied)));
  return page;
}

View Page::switchRow(const std::string& key, const std::string& title, const std::string& subtitle, bool on,
                     void (WindowModel::*toggle)()) {
  View control = pressable(View{.kind = View::Kind::toggle, .key = key, .help = subtitle, .name = title, .on = on},
                           [toggle](WindowModel& model) { (model.*toggle)(); });
  return titledRow(title, subtitle, {std::move(control)});
}

View Page::general() {
  View page{.kind = View::Kind::scroll, .spacing = 10};
  page.children.push_back(
      switchRow("login", Copy::text(Key::loginItem), "", state_.loginItem, &WindowModel::toggleLogin));
  page.children.push_back(switchRow("notifications", Copy::text(Key::notifications),
                                    Copy::text(Key::notificationsDetail), !state_.muted, &WindowModel::toggleMuted));
  page.children.push_back(titledRow(Copy::text(Key::accountRow), Copy::text(Key::accountDetail),
                                    {actionButton("account", Copy::text(Key::account), Action::account())}));
  page.children.push_back(titledRow(Copy::text(Key::restart), message(state_.snapshot).value_or(""),
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
  const std::optional<ProblemRecord>& record = state_.problem;
  const bool running = state_.problemRunning;
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
        button("problem-chat", ProblemCopy::text(P::openChat), [](WindowModel& model) { model.openProblemChat(); }));
  }
  if (ProblemPlan::reportFolder(record, state_.reportsURL)) {
    buttons.children.push_back(button("problem-report", ProblemCopy::text(P::showReport),
                                      [](WindowModel& model) { model.showProblemReport(); }));
  }
  if (!buttons.children.empty()) {
    buttons.children.push_back({.kind = View::Kind::spacer});
    panel.children.push_back(std::move(buttons));
  }
  section.children.push_back(std::move(panel));
  return section;
}

}  // namespace kestrelune::WindowViews
