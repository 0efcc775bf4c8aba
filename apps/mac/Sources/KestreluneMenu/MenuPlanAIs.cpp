#include <algorithm>

#include "MenuPlan.hpp"
#include "RuntimeAction.hpp"
#include "Strings.hpp"
#include "Usage.hpp"
#include "base/Text.hpp"

namespace kestrelune::MenuPlan {
namespace {

using Key = Copy::Key;

template <class Range>
bool contains(const Range& range, std::string_view value) {
  return std::find(std::begin(range), std::end(range), value) != std::end(range);
}

/// The applications that can be brought to their sign-in.
constexpr std::string_view kSignInApps[] = {"codex", "claude", "cursor", "antigravity"};

bool isInstalled(const HostApp& app) { return app.host && app.state != "not_installed"; }

std::string nameOf(const HostApp& app) { return app.name ? *app.name : Copy::appName(app.host.value_or("")); }

MenuEntry connectionLine(const Connection& connection, const std::string& family) {
  const std::string target = "connection:" + family;
  const bool off = connection.power == "off";
  MenuEntry entry{.title = displayName(connection), .checked = !off && connection.state == "connected"};
  if (off) {
    entry.detail = Copy::text(Key::off);
    entry.action = Action::account(target);
  } else if (connection.state == "stale") {
    entry.detail = Copy::text(Key::reconnect);
    entry.action = Action::reconnect(family);
  } else {
    entry.detail = Copy::text(connection.access == "read" ? Key::readOnly : Key::givesTasks);
    entry.action = Action::switchOff(target);
  }
  return entry;
}

std::string limitText(const HostApp& app) {
  const std::optional<Date> until = app.limitedUntil ? parseIso8601(*app.limitedUntil) : std::nullopt;
  if (!until) return Copy::text(Key::limited);
  return Copy::filled(Key::limitUntil, {Calendar::current().format(*until, "HH:mm", "en_US")});
}

std::string hereText(const HostApp& app) {
  std::string result = Copy::text(Key::thisMac);
  if (const auto left = UsagePlan::left(app.usage)) result += " · " + *left;
  if (app.state == "ready") result += " ✓";
  return result;
}

MenuEntry appLine(const HostApp& app) {
  const std::string& host = *app.host;
  const bool off = app.power == "off";
  const bool switchable = contains(Action::kSwitchableApps, host);
  MenuEntry entry{.title = nameOf(app), .checked = !off && app.state == "ready"};
  if (app.state == "signed_out") {
    entry.detail = Copy::text(Key::signedOut);
    if (contains(kSignInApps, host)) entry.action = Action::signIn(host);
  } else if (app.state == "usage_limited") {
    entry.detail = limitText(app);
    entry.action = Action::window("ais");
  } else if (app.state == "model_unavailable") {
    entry.detail = app.model ? Copy::filled(Key::modelUnavailable, {*app.model}) : Copy::text(Key::modelUnavailableAny);
    entry.action = Action::window("ais");
  } else if (off) {
    entry.detail = Copy::text(Key::off);
    if (switchable) entry.action = Action::account("app:" + host);
  } else {
    entry.detail = hereText(app);
    if (switchable) entry.action = Action::switchOff("app:" + host);
  }
  return entry;
}

std::optional<MenuEntry> updateLine(const HostApp& app) {
  const std::optional<Action> action = updateAction(app);
  if (!action) return std::nullopt;
  const Key key = *action == Action::signIn("codex") ? Key::updateApp : Key::updateNow;
  return MenuEntry{.title = Copy::filled(key, {nameOf(app)}), .action = action};
}

}  // namespace

std::string displayName(const Connection& connection) {
  if (connection.name && !connection.name->empty()) return *connection.name;
  return Copy::familyName(connection.family ? *connection.family : Copy::text(Key::unknown));
}

std::optional<Action> updateAction(const HostApp& app) {
  if (app.outdated != true || !app.host || !contains(Action::kUpdatable, *app.host)) return std::nullopt;
  if (app.update == "command") return Action::updateApp(*app.host);
  // No command updates Codex; its sign-in opens the application, and there the user is led to the update.
  if (app.update == "app" && app.host == "codex") return Action::signIn("codex");
  return std::nullopt;
}

std::vector<MenuEntry> yourAIs(const std::optional<HelperStatus>& status, const std::optional<std::string>& update) {
  std::vector<MenuEntry> result;
  bool anyOutdated = false;
  if (status && status->connections) {
    for (const Connection& connection : *status->connections) {
      if (connection.state == "not_connected" || !connection.family) continue;
      if (!contains(kConnectable, *connection.family)) continue;
      result.push_back(connectionLine(connection, *connection.family));
    }
  }
  if (status && status->apps) {
    for (const HostApp& app : *status->apps) {
      anyOutdated = anyOutdated || app.outdated == true;
      if (!isInstalled(app)) continue;
      result.push_back(appLine(app));
      if (auto line = updateLine(app)) result.push_back(std::move(*line));
    }
  }
  if (update) {
    result.push_back({.title = *update});
  } else if (anyOutdated) {
    result.push_back({.title = Copy::text(Key::updateAll), .action = Action::updateAll()});
  }
  return result;
}

std::optional<MenuEntry> workers(const std::optional<HelperStatus>& status) {
  if (!status || !status->workers || !status->workers->mode) return std::nullopt;
  const std::string& mode = *status->workers->mode;

  std::vector<std::string> selected = status->workers->apps.value_or(std::vector<std::string>{});
  std::erase_if(selected, [](const std::string& host) { return !contains(Action::kWorkerApps, host); });
  std::vector<std::string> present;
  for (const HostApp& app : status->apps.value_or(std::vector<HostApp>{})) {
    if (isInstalled(app)) present.push_back(*app.host);
  }

  std::string state = Copy::text(Key::workersCustom);
  if (mode == "automatic") {
    state = Copy::text(Key::workersAutomatic);
  } else if (mode == "only" && !selected.empty()) {
    std::string names;
    for (const std::string& host : selected) names += (names.empty() ? "" : ", ") + Copy::appName(host);
    state = Copy::filled(Key::workersOnly, {names});
  }

  std::vector<MenuEntry> children;
  children.push_back(
      {.title = Copy::text(Key::workersAutomatic), .action = Action::workers("auto"), .checked = mode == "automatic"});
  for (const std::string_view app : Action::kWorkerApps) {
    const std::string host(app);
    if (!contains(present, host) && !contains(selected, host)) continue;
    children.push_back({.title = Copy::filled(Key::workersOnly, {Copy::appName(host)}),
                        .action = Action::workers(host),
                        .checked = mode == "only" && selected == std::vector<std::string>{host}});
  }
  children.push_back({.kind = MenuEntry::Kind::separator});
  children.push_back({.title = Copy::text(Key::workersHint)});
  return MenuEntry{.title = Copy::filled(Key::workers, {state}), .children = std::move(children)};
}

std::optional<MenuEntry> profiles(const std::optional<HelperStatus>& status) {
  if (!status || !status->profiles) return std::nullopt;
  std::vector<MenuEntry> children;
  long long valid = 0, written = 0;
  for (const AIProfile& profile : *status->profiles) {
    if (!Action::validExecutor(profile.executorId)) continue;
    ++valid;
    MenuEntry entry{.title = profile.name, .action = Action::editProfile(profile.executorId)};
    if (profile.profile && !profile.profile->empty()) {
      ++written;
      entry.subtitle = *profile.profile;
      entry.detail = Copy::text(profile.by == "owner" ? Key::profileByYou : Key::profileByAI);
    } else {
      entry.subtitle = Copy::text(Key::profileNone);
    }
    children.push_back(std::move(entry));
  }
  if (valid == 0) return std::nullopt;
  children.push_back({.kind = MenuEntry::Kind::separator});
  children.push_back({.title = Copy::text(Key::profilesHint)});
  return MenuEntry{.title = Copy::filled(Key::profiles, {written, valid}), .children = std::move(children)};
}

}  // namespace kestrelune::MenuPlan
