#include <utility>

#include "Menu.hpp"
#include "Strings.hpp"

namespace kestrelune {
namespace {

/// The kind of desktop of which the user was told that it has no place for the icon.
constexpr const char* kUnseenKey = "kestrelune.toldUnseenOn";

}  // namespace

/// What the subsystems, which don't know each other, have to do with each other. They are owned here and call back
/// only while they live, so that each callback finds the controller.
void MenuController::wire() {
  appUpdater_.snapshot = [this] { return snapshot_; };
  appUpdater_.appBusy = [this] { return appBusy(); };

  actions_.setupAction = [this] { showSetupWindow(); };
  actions_.windowAction = [this](const std::string& place) { showWindow(place); };
  actions_.problemAction = [this] { problems_.start(snapshot_); };
  actions_.updateAllAction = [this] { updater_.start(); };
  actions_.restartAction = [this] { return background_.restart(); };
  actions_.afterSwitch = [this] { refreshAll(); };
  actions_.profileLookup = [this](const std::string& executorId) { return profile(executorId); };

  problems_.onChange = [this] {
    buildMenu();
    if (mainWindow_) mainWindow_->model().loadProblem();
  };
  updater_.onChange = [this] {
    if (mainWindow_) mainWindow_->model().setUpdateLine(updateLine());
    buildMenu();
  };
  updater_.onFinished = [this](const std::string& title, const std::string& body) {
    notifications_.send({"update-all", title, body, Action::window("ais")});
  };

  setup_.onChange = [this] {
    refreshAll();
    if (setupWindow_) setupWindow_->setupChanged();
  };
  setup_.onFirstRun = [this] { showSetupWindow(); };
  setup_.onBeforeInstall = [this] { background_.stop(); };
  setup_.restartBackground = [this] { return background_.restart(); };
  setup_.onFinished = [this](std::int32_t code, const std::string& lastLine) { setupFinished(code, lastLine); };
}

void MenuController::tellUnseen(const UnseenIcon& unseen) {
  if (outside_.defaults.data(kUnseenKey) == unseen.desktop) return;
  outside_.defaults.setData(kUnseenKey, unseen.desktop);
  notifications_.send({"no-icon", "Kestrelune", unseen.why, Action::window("tasks")});
}

bool MenuController::appBusy() const {
  return setup_.busy() || updater_.running() || problems_.running() || (setupWindow_ && setupWindow_->isVisible());
}

SetupController::Reach MenuController::setupReach() {
  SetupController::Reach reach;
  reach.execute = outside_.execute;
  reach.registerLoginItem = [this](bool isNewSetup) -> std::string {
    LoginItem& item = outside_.session.loginItem();
    return item.status() == LoginItem::Status::enabled ? "" : item.registerItem(isNewSetup);
  };
  reach.showError = [this](const RuntimeError& error) { actions_.showError(error); };
  return reach;
}

void MenuController::setupFinished(std::int32_t code, const std::string& lastLine) {
  background_.start();
  if (code != 0) {
    actions_.showError(RuntimeError::script(lastLine.empty() ? Copy::text(Copy::Key::setupFailed) : lastLine));
    return;
  }
  notifications_.send({"setup", "Kestrelune", Copy::text(Copy::Key::setupSuccess), Action::window("tasks")});
}

std::optional<AIProfile> MenuController::profile(const std::string& executorId) const {
  if (!snapshot_.status || !snapshot_.status->profiles) return std::nullopt;
  for (const AIProfile& found : *snapshot_.status->profiles)
    if (found.executorId == executorId) return found;
  return std::nullopt;
}

}  // namespace kestrelune
