#include "Setup.hpp"

#include <algorithm>
#include <utility>

#include "base/Digest.hpp"
#include "base/System.hpp"

namespace kestrelune {
namespace {

/// What the status says of tasks under way: the counter or the list, whichever is more.
std::int64_t activeTasks(const HelperStatus& status) {
  const std::int64_t counted = status.tasks ? status.tasks->running.value_or(0) : 0;
  const std::int64_t listed = status.running ? static_cast<std::int64_t>(status.running->size()) : 0;
  return std::max(counted, listed);
}

}  // namespace

bool AutoSetupPolicy::claim(bool payloadAvailable, bool hasAgent, const Snapshot& snapshot, Defaults& defaults) {
  if (!payloadAvailable || hasAgent) return false;
  if (snapshot.signal != Signal::red && snapshot.status && snapshot.status->state == "running") return false;
  if (defaults.boolean(kAttemptedKey)) return false;
  defaults.setBoolean(kAttemptedKey, true);
  return true;
}

SetupController::SetupController(Configuration configuration, std::optional<HelperPayload> payload, Outside outside,
                                 Reach reach)
    : configuration_(std::move(configuration)),
      payload_(std::move(payload)),
      outside_(std::move(outside)),
      reach_(std::move(reach)),
      files_{configuration_.helperRoot, outside_.files},
      runner_(configuration_.dryRun, reach_.execute, outside_.output) {
  runner_.onChange = [this](const SetupRunner::State& state) { runnerChanged(state); };
}

bool SetupController::agentIsThere() const {
  if (reach_.agentExists) return reach_.agentExists();
  return static_cast<bool>(outside_.files.info(configuration_.launchAgentURL.path()));
}

bool SetupController::runsInApp() const {
  if (reach_.inAppExists) return reach_.inAppExists();
  return static_cast<bool>(
      outside_.files.info(configuration_.statusURL.deletingLastComponent().appending("in-app").path()));
}

bool SetupController::hasAgent() const { return !configuration_.dryRun && (agentIsThere() || runsInApp()); }

bool SetupController::needsMoveIntoApp() const {
  return !configuration_.dryRun && payload_ && agentIsThere() && !runsInApp();
}

void SetupController::setChecking(bool checking) {
  if (checkingUpdate_ == checking) return;
  checkingUpdate_ = checking;
  if (onChange) onChange();
}

/// Runs `work` off the main thread, and what it gives on it.
void SetupController::inBackground(std::function<std::function<void()>()> work) {
  auto finish = lifetime_.guarded([](const std::function<void()>& after) { after(); });
  outside_.loop.background([&loop = outside_.loop, work = std::move(work), finish] {
    loop.post([after = work(), finish] { finish(after); });
  });
}

void SetupController::start(const Snapshot& snapshot) {
  if (configuration_.dryRun) return;
  files_.removeTemporaries();
  const bool helperRuns = snapshot.signal != Signal::red && snapshot.status && snapshot.status->state == "running";
  if (onFirstRun && payload_ && !outside_.defaults.boolean(kWindowCompletedKey) && !hasAgent() && !helperRuns) {
    return onFirstRun();
  }
  if (AutoSetupPolicy::claim(payload_.has_value(), hasAgent(), snapshot, outside_.defaults) || needsMoveIntoApp()) {
    return setup();
  }
  checkForUpdates();
}

std::optional<std::string> SetupController::hashInstalled() const {
  const auto hash = sha256OfFile(outside_.files, files_.helper().path());
  return hash ? std::optional(hash.value) : std::nullopt;
}

void SetupController::askVersion(std::function<void(const HelperCommandResult&)> completed) {
  reach_.execute({.executable = files_.launcher().path(),
                  .arguments = {"version"},
                  .environment = system::environment(),
                  .endsWithUs = true},
                 kCommandTimeout, lifetime_.guarded(std::move(completed)));
}

void SetupController::setup() {
  if (busy() || !payload_) return;
  if (configuration_.dryRun) return runner_.start(files_, kInstallTimeout);

  const std::optional<std::string> installed = hashInstalled();
  if (!installed || *installed == payload_->helperSHA256) return install(true);
  setChecking(true);
  askVersion([this](const HelperCommandResult& result) {
    setChecking(false);
    // Forward, never backward over a newer helper; one that can't tell its version is replaced.
    const auto version = result.code == 0 ? HelperVersion::parse(result.lastLine) : std::nullopt;
    const auto carried = HelperVersion::parse(payload_->helperVersion);
    install(!version || (carried && *version < *carried));
  });
}

void SetupController::install(bool replaceHelper) {
  if (onBeforeInstall) onBeforeInstall();
  isNewSetup_ = true;
  placed_.reset();
  place(replaceHelper, [this](const HelperFileChanges&) {
    cachedVersion_.reset();
    runner_.start(files_, kInstallTimeout);
  });
}

/// A runtime is large: hashing and copying it must not stop the menu, and meanwhile everything that asks is told that
/// something is under way.
void SetupController::place(bool replaceHelper, Placed placed) {
  setChecking(true);
  inBackground([files = files_, payload = *payload_, replaceHelper, this, placed = std::move(placed)] {
    std::function<void()> after;
    try {
      const HelperFileChanges changes = files.place(payload, currentArchitecture(), replaceHelper);
      after = [this, changes, placed] {
        checkingUpdate_ = false;
        placed(changes);
        if (onChange) onChange();
      };
    } catch (const RuntimeError& error) {
      after = [this, error] {
        checkingUpdate_ = false;
        runner_.fail(error);
      };
    }
    return after;
  });
}

void SetupController::runnerChanged(const SetupRunner::State& state) {
  if (onChange) onChange();
  if (state.kind != SetupRunner::State::Case::finished) return;
  cachedVersion_.reset();
  if (state.code == 0 && !configuration_.dryRun) {
    // A login item that fails doesn't fail the setup.
    const std::string reason = reach_.registerLoginItem ? reach_.registerLoginItem(isNewSetup_) : "";
    if (!reason.empty()) reach_.showError(RuntimeError::script(reason));
  }
  if (onFinished) onFinished(state.code, state.lastLine);
}

Snapshot SetupController::look() const {
  return StatusReader::read(outside_.files, configuration_.statusURL, outside_.clock.now());
}

void SetupController::checkForUpdates() {
  if (busy() || !payload_ || configuration_.dryRun) return;
  if (!agentIsThere() && !runsInApp()) return;
  if (placed_) return useUpdate();
  const Snapshot snapshot = look();
  if (snapshot.status && snapshot.signal != Signal::red && activeTasks(*snapshot.status) > 0) return;

  checkingUpdate_ = true;
  inBackground([this, files = files_]() -> std::function<void()> {
    const auto hash = sha256OfFile(files.files, files.helper().path());
    return [this, hash] {
      if (!hash || hash.value == payload_->helperSHA256) {
        checkingUpdate_ = false;
        return;
      }
      if (cachedVersion_ && cachedVersion_->sha == hash.value) return applyUpdate(*cachedVersion_);
      askVersion([this, sha = hash.value](const HelperCommandResult& result) {
        if (result.code != 0) {
          checkingUpdate_ = false;
          return;
        }
        cachedVersion_ = Version{.sha = sha, .version = result.lastLine};
        applyUpdate(*cachedVersion_);
      });
    };
  });
}

bool SetupController::isSafeToReplace() const {
  const Snapshot snapshot = look();
  const auto& status = snapshot.status;
  if (status && status->pid.value_or(0) > 0 && !isAlive(outside_.files, *status->pid)) return true;
  // A status that doesn't say what runs counts as busy here.
  return snapshot.signal != Signal::red && status && status->tasks && status->tasks->running == 0 && status->running &&
         status->running->empty();
}

void SetupController::applyUpdate(const Version& installed) {
  checkingUpdate_ = false;
  if (runner_.running() || !hasAgent()) return;
  // The helper may have changed while its version was asked.
  if (hashInstalled() != installed.sha || payload_->helperSHA256 == installed.sha) return;
  const auto carried = HelperVersion::parse(payload_->helperVersion);
  const auto present = HelperVersion::parse(installed.version);
  if (!carried || !present || !(*present < *carried) || !isSafeToReplace()) return;

  place(true, [this](const HelperFileChanges& changes) {
    cachedVersion_.reset();
    placed_ = changes;
    useUpdate();
  });
}

/// Placing takes its time, and a task that has begun meanwhile is not cut off: the next check looks again.
void SetupController::useUpdate() {
  if (!isSafeToReplace()) return;
  const HelperFileChanges changes = *std::exchange(placed_, std::nullopt);
  if (changes.runtimeChanged) {
    // The helper's install must run under the new runtime.
    if (onBeforeInstall) onBeforeInstall();
    isNewSetup_ = false;
    return runner_.start(files_, kInstallTimeout);
  }
  if (restartBackground && restartBackground()) return;
  restartAgent();
}

void SetupController::restartAgent() {
  checkingUpdate_ = true;
  const std::string service = "gui/" + std::to_string(system::userId()) + "/com.kestrelune.helper";
  reach_.execute({.executable = outside_.bundle.contents("Helpers/launchctl").path(),
                  .arguments = {"kickstart", "-k", service},
                  .environment = system::environment()},
                 kCommandTimeout, lifetime_.guarded([this](const HelperCommandResult& result) {
                   checkingUpdate_ = false;
                   if (result.code != 0 && onFinished) onFinished(result.code, result.lastLine);
                 }));
}

}  // namespace kestrelune
