#include "NoticeTracker.hpp"

#include <utility>

#include "Strings.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

using Key = Copy::Key;
using Notices = std::vector<Notice>;

constexpr const char* kProduct = "Kestrelune";

std::string nameOf(const HostApp& app) { return app.name ? *app.name : Copy::appName(*app.host); }

Notice signedOut(const HostApp& app) {
  const std::string name = nameOf(app);
  return {"signin-" + *app.host, kProduct, Copy::filled(Key::signedOutNotification, {name, name}),
          Action::signIn(*app.host)};
}

Notice modelUnavailable(const HostApp& app) {
  const std::string name = nameOf(app);
  return {"model-" + *app.host, kProduct, Copy::filled(Key::modelNotification, {name, app.model.value_or(""), name}),
          Action::window("ais")};
}

Notice needsYou(const Attention& item) {
  std::string title = item.label.value_or("");
  if (!title.empty() && !item.title.value_or("").empty()) title += " ";
  title += item.title.value_or("");
  return {"attention-" + item.identity(), title.empty() ? Copy::text(Key::needsYou) : title,
          item.line ? *item.line : Copy::text(Key::needsYou), Action::open(item.open, item.taskId)};
}

std::set<std::string> identities(const std::vector<Attention>& items) {
  std::set<std::string> result;
  for (const Attention& item : items) result.insert(item.identity());
  return result;
}

}  // namespace

Notices NoticeTracker::update(const Snapshot& snapshot, Date now) {
  Notices notices;
  if (!previous) {
    learn(snapshot);
  } else {
    trackHelper(snapshot, now, notices);
    trackServer(snapshot, now, notices);
    // A status that vanishes for a moment is no change: without one the remembered states stay.
    if (snapshot.status) {
      trackState(*snapshot.status, notices);
      trackApps(*snapshot.status, notices);
      trackAttention(*snapshot.status, notices);
    }
  }
  previous = snapshot.signal;
  return notices;
}

void NoticeTracker::learn(const Snapshot& snapshot) {
  if (!snapshot.status) return;
  const HelperStatus& status = *snapshot.status;
  lastServerReachable = status.serverReachable;
  lastState = status.state;
  if (status.apps)
    for (const HostApp& app : *status.apps)
      if (app.host && app.state) appStates[*app.host] = *app.state;
  if (status.attention) attentionIDs = identities(*status.attention);
}

void NoticeTracker::trackHelper(const Snapshot& snapshot, Date now, Notices& notices) {
  if (snapshot.signal != Signal::red) {
    helperLostAt.reset();
    helperNotified = false;
    return;
  }
  if (previous != Signal::red) helperLostAt = now;
  if (!helperLostAt || now - *helperLostAt < kHelperSeconds || std::exchange(helperNotified, true)) return;
  notices.push_back({"helper", kProduct, Copy::text(Key::helperNotification), Action::restart()});
}

void NoticeTracker::trackServer(const Snapshot& snapshot, Date now, Notices& notices) {
  if (snapshot.status && snapshot.status->serverReachable) {
    const bool reachable = *snapshot.status->serverReachable;
    if (reachable) {
      serverLostAt.reset();
      serverNotified = false;
    } else if (lastServerReachable.value_or(true)) {
      serverLostAt = now;
    }
    lastServerReachable = reachable;
  }
  if (!serverLostAt || now - *serverLostAt < kServerSeconds || std::exchange(serverNotified, true)) return;
  notices.push_back({"server", kProduct, Copy::text(Key::serverNotification), Action::window("general")});
}

void NoticeTracker::trackState(const HelperStatus& status, Notices& notices) {
  if (!status.state) return;
  if (status.state == "removed" && lastState != "removed")
    notices.push_back({"removed", kProduct, Copy::text(Key::removedNotification), Action::setup()});
  lastState = status.state;
}

void NoticeTracker::trackApps(const HelperStatus& status, Notices& notices) {
  if (!status.apps) return;
  for (const HostApp& app : *status.apps) {
    if (!app.host || !app.state) continue;
    const auto known = appStates.find(*app.host);
    if (known != appStates.end()) {
      if (app.state == "signed_out" && known->second == "ready") notices.push_back(signedOut(app));
      if (app.state == "model_unavailable" && known->second != "model_unavailable")
        notices.push_back(modelUnavailable(app));
    }
    appStates[*app.host] = *app.state;
  }
}

void NoticeTracker::trackAttention(const HelperStatus& status, Notices& notices) {
  if (!status.attention) return;
  for (const Attention& item : *status.attention)
    if (!attentionIDs.contains(item.identity())) notices.push_back(needsYou(item));
  attentionIDs = identities(*status.attention);
}

}  // namespace kestrelune
