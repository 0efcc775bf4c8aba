#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "AppConfiguration.hpp"
#include "BackgroundCommand.hpp"
#include "Outside.hpp"
#include "SetupFiles.hpp"
#include "SetupPayload.hpp"
#include "SetupRunner.hpp"
#include "StatusReader.hpp"
#include "base/Lifetime.hpp"

namespace kestrelune {

/// Whether the helper is set up without the user having asked: once for each user, ever.
namespace AutoSetupPolicy {

inline constexpr const char* kAttemptedKey = "kestrelune.autoSetupAttempted";

/// True at most once, and only where a helper can be installed and none is there or at work. The claim is spent
/// whether the setup goes well or not.
bool claim(bool payloadAvailable, bool hasAgent, const Snapshot& snapshot, Defaults& defaults);

}  // namespace AutoSetupPolicy

/// Decides what happens to the helper at start and every ten minutes after: first-run window, automatic setup, the
/// move of an old install into the application, and the update from the helper that the application carries. It has no
/// user interface. Main thread only; the long file work is done in the background, and `busy` says so meanwhile.
class SetupController {
 public:
  static constexpr const char* kWindowCompletedKey = "kestrelune.setupWindowCompleted";
  static constexpr double kInstallTimeout = 720;  ///< the twelve minutes of the message about it
  static constexpr double kCommandTimeout = 15;
  static constexpr double kCheckPeriod = 600;

  struct Reach {
    ExecuteCommand execute;
    /// Opens the application at login, unless it does already. One that the user switched off stays off but for a new
    /// setup, which an update of the helper isn't. The reason of a failure; empty: done.
    std::function<std::string(bool isNewSetup)> registerLoginItem;
    std::function<void(const RuntimeError& error)> showError;
    std::function<bool()> agentExists;  ///< absent: the launch agent's file is looked for
    std::function<bool()> inAppExists;  ///< absent: the marker is looked for
  };

  SetupController(Configuration configuration, std::optional<HelperPayload> payload, Outside outside, Reach reach);

  std::function<void()> onChange;    ///< the state of the install, or `checkingUpdate`, has changed
  std::function<void()> onFirstRun;  ///< the first-run window is to be shown
  /// The install command has ended, or a restart after an update has failed.
  std::function<void(std::int32_t code, const std::string& lastLine)> onFinished;
  std::function<void()> onBeforeInstall;    ///< files are about to change: end the helper that runs in the application
  std::function<bool()> restartBackground;  ///< starts that helper anew; false: it doesn't run here

  /// Called once, at the end of the application's start, with the first snapshot.
  void start(const Snapshot& snapshot);
  /// Sets the helper up now; does nothing while something is under way.
  void setup();
  /// Brings an older installed helper up to date, unless something stands against it.
  void checkForUpdates();

  /// An old install that runs by itself and is to be moved into the application.
  bool needsMoveIntoApp() const;
  /// A helper install of either kind is there.
  bool hasAgent() const;
  bool checkingUpdate() const { return checkingUpdate_; }
  bool busy() const { return checkingUpdate_ || runner_.running(); }
  const SetupRunner& runner() const { return runner_; }
  const std::optional<HelperPayload>& payload() const { return payload_; }

 private:
  struct Version {
    std::string sha, version;
  };
  using Placed = std::function<void(const HelperFileChanges&)>;

  bool agentIsThere() const;
  bool runsInApp() const;
  void setChecking(bool checking);
  Snapshot look() const;
  bool isSafeToReplace() const;
  std::optional<std::string> hashInstalled() const;
  void inBackground(std::function<std::function<void()>()> work);
  void askVersion(std::function<void(const HelperCommandResult&)> completed);
  void install(bool replaceHelper);
  void place(bool replaceHelper, Placed placed);
  void applyUpdate(const Version& installed);
  void useUpdate();
  void restartAgent();
  void runnerChanged(const SetupRunner::State& state);

  const Configuration configuration_;
  const std::optional<HelperPayload> payload_;
  Outside outside_;
  Reach reach_;
  const HelperFiles files_;
  SetupRunner runner_;
  bool checkingUpdate_ = false;
  std::optional<Version> cachedVersion_;
  std::optional<HelperFileChanges> placed_;  ///< by an update that the helper doesn't run yet
  bool isNewSetup_ = true;                   ///< the install that runs; else an update's
  Lifetime lifetime_;
};

}  // namespace kestrelune
