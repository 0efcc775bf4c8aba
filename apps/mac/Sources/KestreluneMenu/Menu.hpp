#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AppConfiguration.hpp"
#include "AppUpdate.hpp"
#include "Background.hpp"
#include "MenuPlan.hpp"
#include "NoticeTracker.hpp"
#include "Notifications.hpp"
#include "Outside.hpp"
#include "ProblemReport.hpp"
#include "RuntimeActionRunner.hpp"
#include "RuntimeHeartbeat.hpp"
#include "Settle.hpp"
#include "Setup.hpp"
#include "SetupWindow.hpp"
#include "StatusReader.hpp"
#include "StringsTable.hpp"
#include "Update.hpp"
#include "Window.hpp"
#include "base/Lifetime.hpp"
#include "base/MenuTree.hpp"

namespace kestrelune {

/// The main loop of the program: owns every subsystem and wires them to each other, looks at the status file every
/// five seconds, and draws what it finds into icon and menu. Construction does the first refresh and the first
/// heartbeat. Lives on the main thread, from the end of launch to termination.
class MenuController {
 public:
  static constexpr double kRefreshSeconds = 5;
  static constexpr double kHeartbeatSeconds = 30;

  MenuController(Configuration configuration, Outside outside);
  MenuController(const MenuController&) = delete;
  MenuController& operator=(const MenuController&) = delete;

  /// Reads, judges, announces and draws the icon. A menu that is open stays as it is.
  void refresh();
  /// Composes the menu anew from the current snapshot.
  void buildMenu();
  /// A failure is told on standard output; the next one tries again.
  void writeHeartbeat();
  /// Runs `action` every `seconds` until `stop`.
  void schedule(double seconds, std::function<void()> action);
  /// Puts an attention item off (`hide` false), takes it off the list (true), or shows it again (absent).
  void settle(const std::string& key, std::optional<bool> hide);
  /// Shows the main window at a place.
  void showWindow(const std::string& place);
  /// Shows the first-run window, at a step if one is given.
  void showSetupWindow(std::optional<SetupStep> step = std::nullopt);
  /// Carries out what a row stands for. A text that is no action does nothing.
  void performAction(const std::string& identifier);
  /// Ends the timers and what runs for this program, and removes the heartbeat.
  void stop();

  /// In a dry run only: performs one action of each kind.
  void exerciseActions();
  /// In a dry run only: prints a line for each menu or window of ours on screen.
  void logMenuBounds();

  const Configuration& configuration() const { return configuration_; }
  const Snapshot& snapshot() const { return snapshot_; }
  SetupController& setup() { return setup_; }
  BackgroundProcess& background() { return background_; }
  AppSelfUpdater& appUpdater() { return appUpdater_; }
  StatusItem& item() { return outside_.session.statusItem(); }

 private:
  void wire();
  /// Something is under way that a restart of the program would break off.
  bool appBusy() const;
  void chosen(const MenuChoice& choice);
  void menuWillOpen();
  /// Tells the user, once for all, how to get at a program that shows no icon.
  void tellUnseen(const UnseenIcon& unseen);
  void readStatus();
  void refreshAll();
  void showLook(Date now);
  /// What a menu says beside the snapshot; of the time only the minute, which is as exactly as a menu tells it.
  struct MenuBasis {
    MenuPlan::Context context;
    double minute = 0;
    bool settingUp = false, busy = false;
    Language language{};

    bool operator==(const MenuBasis&) const = default;
  };
  MenuTree compose() const;
  void offerMenuWhileClosed();
  void setMenu(MenuTree menu);
  MenuBasis menuBasis() const;
  MenuPlan::Context context() const;
  /// What is said about a running update of the AI applications.
  std::optional<std::string> updateLine() const;
  std::optional<AIProfile> profile(const std::string& executorId) const;
  SetupController::Reach setupReach();
  void setupFinished(std::int32_t code, const std::string& lastLine);
  void updateWindow();
  bool settingUp() const { return setup_.runner().running(); }

  const Configuration configuration_;
  Outside outside_;
  ActionRunner actions_;
  Notifications notifications_;
  Heartbeat heartbeat_;
  SetupController setup_;
  BackgroundProcess background_;
  ProblemReporter problems_;
  AppsUpdater updater_;
  AppSelfUpdater appUpdater_;
  SettleStore settled_;
  NoticeTracker tracker_;
  StatusFile statusFile_;
  Snapshot snapshot_;
  MenuTree menu_;                                       ///< as last handed to the item
  std::optional<MenuBasis> offered_;                    ///< what the menu of that item says beside the snapshot
  std::unique_ptr<MainWindowController> mainWindow_;    ///< made on first use, then kept
  std::unique_ptr<SetupWindowController> setupWindow_;  ///< there while it is open
  std::vector<Timer> timers_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
