#include "WindowPage.hpp"

#include <algorithm>
#include <utility>

#include "MenuPlan.hpp"
#include "Strings.hpp"
#include "Usage.hpp"
#include "ViewParts.hpp"

namespace kestrelune::WindowViews {
namespace {

using Key = Copy::Key;
using namespace ViewParts;

std::string shownName(const HostApp& app) {
  if (app.name) return Copy::appName(*app.name);
  return app.host ? Copy::appName(*app.host) : Copy::text(Key::unknown);
}

}  // namespace

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
  if (const auto& line = state_.updateLine; line && !line->empty()) {
    page.children.push_back(footnote(*line));
  } else if (anyInstalled) {
    page.children.push_back(actionButton("update-all", Copy::text(Key::updateAll), Action::updateAll()));
  }
  page.children.push_back(
      actionButton("connect", Copy::text(Key::connectAnother), Action::account(), View::ButtonStyle::link));
  return page;
}

}  // namespace kestrelune::WindowViews
