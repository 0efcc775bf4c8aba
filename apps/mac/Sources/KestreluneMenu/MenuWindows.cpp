#include "Menu.hpp"

namespace kestrelune {

void MenuController::showWindow(const std::string& place) {
  if (configuration_.dryRun) outside_.output("DRY_RUN window " + place);
  if (!mainWindow_) mainWindow_ = std::make_unique<MainWindowController>(configuration_, outside_, actions_);
  mainWindow_->model().onShowAgain = [this](const std::string& key) { settle(key, std::nullopt); };
  mainWindow_->show(place, snapshot_);
  mainWindow_->model().setUpdateLine(updateLine());
}

void MenuController::showSetupWindow(std::optional<SetupStep> step) {
  if (!setupWindow_) {
    setupWindow_ = std::make_unique<SetupWindowController>(configuration_, outside_, setup_, actions_, step,
                                                           [this] { setupWindow_.reset(); });
  } else if (step) {
    setupWindow_->setStep(*step);
  }
  setupWindow_->present();
}

/// The window follows the refresh; a hidden one only learns of a running update, which it shows when it comes back.
void MenuController::updateWindow() {
  if (!mainWindow_) return;
  if (mainWindow_->isVisible()) mainWindow_->follow(snapshot_);
  mainWindow_->model().setUpdateLine(updateLine());
}

}  // namespace kestrelune
