#include "Menu.hpp"

namespace kestrelune {

/// What the subsystems, which don't know each other, have to do with each other.
void MenuController::wire() {
  actions_.afterSwitch = [this] { refreshAll(); };
  actions_.profileLookup = [this](const std::string& executorId) { return profile(executorId); };
  actions_.restartAction = [this] { return background_.restart(); };
  actions_.problemAction = [this] { problems_.start(snapshot_); };
  actions_.updateAllAction = [this] { updater_.start(); };

  problems_.onChange = [this] { buildMenu(); };
  updater_.onChange = [this] { buildMenu(); };
  updater_.onFinished = [this](const std::string& title, const std::string& body) {
    notifications_.send({"update-all", title, body, Action::window("ais")});
  };
}

std::optional<AIProfile> MenuController::profile(const std::string& executorId) const {
  if (!snapshot_.status || !snapshot_.status->profiles) return std::nullopt;
  for (const AIProfile& found : *snapshot_.status->profiles)
    if (found.executorId == executorId) return found;
  return std::nullopt;
}

}  // namespace kestrelune
