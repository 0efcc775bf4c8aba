#include <cerrno>
#include <utility>

#include "AppUpdate.hpp"
#include "AppUpdateTimes.hpp"
#include "Runtime.hpp"
#include "base/Move.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr double kAssessTimeout = 120;
constexpr const char* kAssessed = "source=Notarized Developer ID";

void require(int error) {
  if (error != 0) throw RuntimeError::posix(error);
}

}  // namespace

void AppSelfUpdater::verify(const AppRelease& release, const Url& app) {
  const auto candidate = InstalledApp::from(Bundle(outside_.files, app));
  if (!installed_ || !requirement_ || !candidate || candidate->bundleIdentifier != installed_->bundleIdentifier ||
      candidate->build != release.build || candidate->version != release.version) {
    return refuse(release);
  }
  inBackground([satisfies = outside_.signature.satisfies, app,
                requirement = *requirement_] { return satisfies(app, requirement); },
               [this, release, app](bool satisfied) { satisfied ? assess(release, app) : refuse(release); });
}

void AppSelfUpdater::assess(const AppRelease& release, const Url& app) {
  outside_.execute({outside_.bundle.contents("Helpers/spctl").path(),
                    {"--assess", "--type", "execute", "-v", app.path()},
                    system::environment(),
                    true},
                   kAssessTimeout, lifetime_.guarded([this, release, app](const HelperCommandResult& result) {
                     // Accepted for another reason is refused.
                     if (result.code != 0 || text::trimmed(result.lastLine) != kAssessed) return refuse(release);
                     staged_ = Staged{release, app};
                     phase_ = Phase::ready;
                     installIfQuiet();
                   }));
}

void AppSelfUpdater::refuse(const AppRelease& release) {
  removeTree(outside_.files, files_.stagedURL(release.build).path());
  refused_.insert(release.build);
  backToIdle();
}

void AppSelfUpdater::installIfQuiet() {
  if (phase_ != Phase::ready || !staged_ || !installed_) return;
  if (AppUpdatePolicy::quiet(snapshot(), appBusy())) install();
}

void AppSelfUpdater::install() {
  phase_ = Phase::installing;
  const Staged staged = *staged_;
  const Url backup = files_.backupURL(installed_->build);
  AppUpdateState state = files_.read().value_or(AppUpdateState{});
  state.pending.reset();
  const AppUpdateState before = state;
  removeTree(outside_.files, backup.path());
  // One of an earlier attempt would be taken for this one's.
  outside_.files.unlink(files_.confirmationURL(staged.release.build).path());
  try {
    // Where the backup has no room nothing is moved.
    if (outside_.files.linkInfo(backup.path())) throw RuntimeError::posix(EEXIST);
    placeWatchdog();
    state.pending = {installed_->build, staged.release.build, outside_.clock.now().seconds};
    files_.write(state);
    swap(installed_->url, staged.app, backup);
    if (startWatchdog(backup, staged.release.build)) return outside_.loop.stop();
    swap(installed_->url, backup, staged.app);
  } catch (const RuntimeError&) {
  }
  writeQuietly(before);
  staged_.reset();
  if (standingBuild() != staged.release.build) return refuse(staged.release);
  // The exchange went only half: what lies in the new one's folder is the old one, and nothing else to go back to.
  refused_.insert(staged.release.build);
  backToIdle();
}

std::optional<std::int64_t> AppSelfUpdater::standingBuild() const {
  const auto standing = InstalledApp::from(Bundle(outside_.files, installed_->url));
  return standing ? std::optional(standing->build) : std::nullopt;
}

/// The script and the tools it needs, all of this build, so that none depends on the new one.
void AppSelfUpdater::placeWatchdog() const {
  for (const char* tool : {"open", "move"}) files_.placeTool(outside_.bundle.contents(std::string("Helpers/") + tool));
  files_.place(files_.watchdogURL(), AppUpdatePolicy::watchdog(AppUpdateTimes::kWatchdogRounds));
}

bool AppSelfUpdater::startWatchdog(const Url& backup, std::int64_t build) {
  TaskRequest script;
  script.executable = "/bin/sh";
  script.detached = true;
  script.arguments = {files_.watchdogURL().path(), std::to_string(outside_.pid), installed_->url.path(), backup.path(),
                      files_.directory().path(),   std::to_string(build)};
  return static_cast<bool>(outside_.tasks.launch(script, [](const TaskEnd&) {}));
}

/// Puts the application at `with` in place of `app`, which goes to `backup`.
void AppSelfUpdater::swap(const Url& app, const Url& with, const Url& backup) const {
  Files& files = outside_.files;
  const int error = files.exchange(app.path(), with.path());
  if (error == EXDEV) return swapAcross(app, with, backup);
  if (error != 0) return swapByMoves(app, with, backup);
  syncFolder(files, app.deletingLastComponent().path());
  require(moveItem(files, with.path(), backup.path()));
}

/// Each is brought to the other's file system before, so that the place changes hands in one step here too, and what
/// may want room comes before it.
void AppSelfUpdater::swapAcross(const Url& app, const Url& with, const Url& backup) const {
  Files& files = outside_.files;
  const Url way = AppUpdateFiles::wayURL(app);
  const Url next = way.appending("next.app");
  removeTree(files, way.path());
  try {
    require(makeFolders(files, way.path(), 0700));
    require(copyItem(files, with.path(), next.path()));
    require(copyItem(files, app.path(), backup.path()));
    if (files.exchange(app.path(), next.path()) == 0) {
      syncFolder(files, app.deletingLastComponent().path());
    } else {
      swapByMoves(app, next, way.appending("previous.app"));
    }
    removeTree(files, with.path());
    removeTree(files, way.path());
  } catch (const RuntimeError&) {
    if (files.linkInfo(app.path())) removeTree(files, backup.path());
    removeTree(files, way.path());
    throw;
  }
}

void AppSelfUpdater::swapByMoves(const Url& app, const Url& with, const Url& backup) const {
  Files& files = outside_.files;
  require(moveItem(files, app.path(), backup.path()));
  const int error = moveItem(files, with.path(), app.path());
  if (error != 0) moveItem(files, backup.path(), app.path());
  require(error);
}

}  // namespace kestrelune
