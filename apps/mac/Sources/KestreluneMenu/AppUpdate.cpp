#include "AppUpdate.hpp"

#include <utility>

#include "AppUpdateTimes.hpp"
#include "Runtime.hpp"
#include "base/Move.hpp"

namespace kestrelune {
namespace {

constexpr double kPendingSeconds = 600;
constexpr double kReadAgainSeconds = 5;
constexpr double kConfirmAgainSeconds = 1;
constexpr double kScriptSeconds = 60;  ///< far more than the script needs to see a confirmation
constexpr double kStaleSeconds = 600;  ///< longer than any script lives

}  // namespace

AppSelfUpdater::AppSelfUpdater(const Configuration& configuration, Outside outside, Notifications& notifications,
                               bool runsTests)
    : appBusy([] { return false; }),
      snapshot([] { return Snapshot{.signal = Signal::red, .issue = StatusIssue::missing}; }),
      configuration_(configuration),
      outside_(std::move(outside)),
      files_(outside_.files, configuration.helperRoot.appending("app-update")),
      installed_(InstalledApp::from(outside_.bundle)),
      notifications_(notifications),
      runsTests_(runsTests) {}

void AppSelfUpdater::start() {
  started_ = true;
  reportIn();
  const auto requirement = requirementForUpdates();
  if (!requirement) return;
  inBackground([satisfies = outside_.signature.satisfies, app = installed_->url,
                wanted = *requirement] { return satisfies(app, wanted); },
               [this, requirement](bool satisfied) {
                 if (!satisfied || !started_) return;
                 requirement_ = requirement;
                 setTimers();
               });
}

void AppSelfUpdater::stop() {
  started_ = false;
  timers_.clear();
}

void AppSelfUpdater::reportIn() {
  if (!installed_ || configuration_.dryRun) return;
  files_.removeTemporaries();
  removeTree(outside_.files, AppUpdateFiles::wayURL(installed_->url).path());
  auto state = currentState();
  if (!state) {
    // What is perhaps sound isn't written over.
    confirmation_ = outside_.loop.after(kReadAgainSeconds, [this] { reportIn(); });
    return;
  }
  bool confirms = false;
  if (state->pending && state->pending->toBuild == installed_->build) {
    state->pending.reset();
    confirms = true;
  } else if (state->pending && outside_.clock.now().seconds - state->pending->startedAt > kPendingSeconds) {
    state->pending.reset();
  }
  writeQuietly(*state);
  if (confirms) {
    confirmsUntil_ = outside_.clock.uptime() + AppUpdateTimes::kWatchdogRounds;
    confirmation_ = outside_.loop.after(AppUpdateTimes::kConfirmation, [this] { confirm(); });
  }
  // A script that was killed leaves them, and a build that was put aside keeps a package from bringing a newer one.
  if (!confirms && !state->pending && files_.hasBackups()) {
    confirmation_ = outside_.loop.after(kStaleSeconds, [this] {
      if (const auto now = files_.read(); now && !now->pending) files_.removeBackups();
    });
  }
}

std::optional<AppUpdateState> AppSelfUpdater::currentState() const {
  auto state = files_.read();
  const auto note = [&](std::int64_t build) {
    state->skippedBuild = build;
    state->pending.reset();
    files_.write(*state);
  };
  return state && files_.takeRolledBack(note) ? state : std::nullopt;
}

void AppSelfUpdater::confirm() {
  bool stands = true;
  try {
    files_.place(files_.confirmationURL(installed_->build), "");
  } catch (const RuntimeError&) {
    stands = false;
  }
  files_.clean({});
  // A disk that is full at this moment must not cost a good build, which the script would take back.
  if (!stands && outside_.clock.uptime() < confirmsUntil_) {
    confirmation_ = outside_.loop.after(kConfirmAgainSeconds, [this] { confirm(); });
    return;
  }
  confirmation_ = outside_.loop.after(kScriptSeconds, [this] {
    // The script takes the mark and the build before at once; one that was killed takes neither.
    if (outside_.files.info(files_.confirmationURL(installed_->build).path())) files_.removeBackups();
  });
}

/// All gates but the last, which reads the whole application.
std::optional<std::string> AppSelfUpdater::requirementForUpdates() {
  if (configuration_.dryRun || runsTests_ || outside_.defaults.boolean(kOffKey) || !installed_) return std::nullopt;
  if (!outside_.signature.runningTeam || !outside_.signature.satisfies) return std::nullopt;
  const auto team = outside_.signature.runningTeam();
  return team ? AppUpdatePolicy::requirement(installed_->bundleIdentifier, *team) : std::nullopt;
}

void AppSelfUpdater::setTimers() {
  RunLoop& loop = outside_.loop;
  timers_.push_back(loop.after(AppUpdateTimes::kFirstCheck, [this] { check(); }));
  timers_.push_back(loop.every(AppUpdateTimes::kCheckPeriod, [this] { check(); }));
  timers_.push_back(loop.every(AppUpdateTimes::kQuietPeriod, [this] { installIfQuiet(); }));
}

void AppSelfUpdater::backToIdle() {
  phase_ = Phase::idle;
  claim_.reset();
}

void AppSelfUpdater::writeQuietly(const AppUpdateState& state) const {
  try {
    files_.write(state);
  } catch (const RuntimeError&) {
  }
}

void AppSelfUpdater::inBackground(std::function<bool()> work, std::function<void(bool)> then) {
  outside_.loop.background(
      [&loop = outside_.loop, work = std::move(work), then = lifetime_.guarded(std::move(then))]() mutable {
        const bool result = work();
        loop.post([then = std::move(then), result] { then(result); });
      });
}

}  // namespace kestrelune
