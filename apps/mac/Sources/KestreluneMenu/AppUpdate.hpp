#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "AppConfiguration.hpp"
#include "AppUpdateFiles.hpp"
#include "AppUpdatePolicy.hpp"
#include "Notifications.hpp"
#include "Outside.hpp"
#include "base/Lifetime.hpp"
#include "base/System.hpp"

namespace kestrelune {

/// Keeps the program itself current without asking: fetches and proves a new build in the background, waits for a quiet
/// moment, swaps it in, and quits; a small script then starts it, and brings the old one back unless the new one
/// reports in. Says nothing to the user, except that an application which can't be replaced in place is announced
/// once. Every failure is silent, and the next timer tries again. Main thread only.
class AppSelfUpdater {
 public:
  static constexpr const char* kOffKey = "kestrelune.autoUpdateOff";

  enum class Phase {
    idle,
    checking,     ///< asks for the manifest
    downloading,  ///< fetches, unpacks and proves
    ready,        ///< a proved build waits for a quiet moment
    installing,   ///< the swap has begun
  };

  AppSelfUpdater(const Configuration& configuration, Outside outside, Notifications& notifications,
                 bool runsTests = system::isRunningTests());

  std::function<bool()> appBusy;       ///< absent: never
  std::function<Snapshot()> snapshot;  ///< absent: nothing is known of the helper

  /// Confirms a build that was just installed. Then, unless something stands against updates, sets the timers once the
  /// signature of the running application has been checked, which takes a moment in the background.
  void start();
  /// Ends the timers. A request under way goes on, and what it brings is dropped with this.
  void stop();

  Phase phase() const { return phase_; }

 private:
  struct Staged {
    AppRelease release;
    Url app;
  };
  using Step = void (AppSelfUpdater::*)();

  void reportIn();
  /// What is remembered, a rollback since included. Absent: that can't be known or noted for the moment.
  std::optional<AppUpdateState> currentState() const;
  void confirm();
  std::optional<std::string> requirementForUpdates();
  void setTimers();

  void check();
  void checked(const std::optional<HttpResponse>& response);
  void askForManualUpdate(const AppRelease& release, AppUpdateState state);
  void download(const AppRelease& release);
  void downloaded(const AppRelease& release, const std::string& part, const std::optional<HttpResponse>& response);
  void unpack(const AppRelease& release);
  void compared(const AppRelease& release, bool same);
  void unpacked(const AppRelease& release, const HelperCommandResult& result);

  void verify(const AppRelease& release, const Url& app);
  void assess(const AppRelease& release, const Url& app);
  /// What stands in the application's place now, which after an update is not what runs. Absent: nothing whole.
  std::optional<std::int64_t> standingBuild() const;
  void refuse(const AppRelease& release);
  void installIfQuiet();
  void install();
  void placeWatchdog() const;
  bool startWatchdog(const Url& backup, std::int64_t build);
  void swap(const Url& app, const Url& with, const Url& backup) const;
  void swapAcross(const Url& app, const Url& with, const Url& backup) const;
  void swapByMoves(const Url& app, const Url& with, const Url& backup) const;

  void backToIdle();
  void writeQuietly(const AppUpdateState& state) const;
  /// Runs `work` on a thread of low priority, and what it gives on the main thread while this lives.
  void inBackground(std::function<bool()> work, std::function<void(bool)> then);

  const Configuration configuration_;
  Outside outside_;
  const AppUpdateFiles files_;
  const std::optional<InstalledApp> installed_;
  Notifications& notifications_;
  const bool runsTests_;
  bool started_ = false;
  Phase phase_ = Phase::idle;
  std::optional<Staged> staged_;
  std::set<std::int64_t> refused_;  ///< in this run; only a rollback is remembered longer
  std::vector<Timer> timers_;
  Timer confirmation_;
  double confirmsUntil_ = 0;  ///< uptime at which the script no longer waits
  std::unique_ptr<AppUpdateFiles::Claim> claim_;  ///< held while this process handles the folder
  std::optional<std::string> requirement_;        ///< what this maker's applications satisfy; absent: no updates
  Lifetime lifetime_;
};

}  // namespace kestrelune
