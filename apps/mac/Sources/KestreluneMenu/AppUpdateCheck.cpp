#include <utility>

#include "AppUpdate.hpp"
#include "AppUpdateCopy.hpp"
#include "Runtime.hpp"
#include "base/Digest.hpp"
#include "base/Move.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr double kManifestTimeout = 30;
constexpr double kDownloadTimeout = 60;
constexpr double kWholeTimeout = 1800;
constexpr double kUnpackTimeout = 300;
constexpr std::int64_t kLargestManifest = 1 << 20;

std::optional<AppRelease> releaseOf(const std::optional<HttpResponse>& response) {
  if (!response || response->status != 200) return std::nullopt;
  try {
    AppRelease release;
    decodeJson(Json::parse(response->body), release);
    return release;
  } catch (const JsonError&) {
    return std::nullopt;
  }
}

/// For the background.
bool isWhole(Files& files, const std::string& zip, const AppRelease& release) {
  const auto info = files.info(zip);
  if (!info || info.value.size != static_cast<std::uint64_t>(release.size)) return false;
  const auto digest = sha256OfFile(files, zip);
  return digest && digest.value == text::lowercased(release.sha256);
}

}  // namespace

void AppSelfUpdater::check() {
  if (phase_ != Phase::idle || !requirement_ || !installed_) return;
  phase_ = Phase::checking;
  outside_.http.get({AppUpdatePolicy::manifestURL(), kManifestTimeout, kWholeTimeout, kLargestManifest},
                    lifetime_.guarded([this](const std::optional<HttpResponse>& response) { checked(response); }));
}

void AppSelfUpdater::checked(const std::optional<HttpResponse>& response) {
  const auto release = releaseOf(response);
  const auto state = currentState();
  const auto system = AppUpdatePolicy::systemVersion(system::systemVersion());
  if (!release || !state || refused_.contains(release->build) || !system ||
      !AppUpdatePolicy::wants(*release, *installed_, state->skippedBuild, *system)) {
    return backToIdle();
  }
  if (!AppUpdatePolicy::replaceable(installed_->url, outside_.files)) {
    backToIdle();
    return askForManualUpdate(*release, *state);
  }
  download(*release);
}

void AppSelfUpdater::askForManualUpdate(const AppRelease& release, AppUpdateState state) {
  if (state.notifiedBuild == release.build) return;
  state.notifiedBuild = release.build;
  writeQuietly(state);
  notifications_.send({"app-update", AppUpdateCopy::text(AppUpdateCopy::Key::manualTitle),
                       AppUpdateCopy::filled(AppUpdateCopy::Key::manualBody, {release.version}),
                       Action::openLink(AppUpdatePolicy::downloadPage().text())});
}

void AppSelfUpdater::download(const AppRelease& release) {
  const auto url = AppUpdatePolicy::download(release);
  if (!url) return backToIdle();
  phase_ = Phase::downloading;
  try {
    files_.prepare();
  } catch (const RuntimeError&) {
    return backToIdle();
  }
  // Another companion of this user may be at it.
  claim_ = files_.claim();
  if (!claim_) return backToIdle();
  std::vector<std::int64_t> keeping{release.build};
  if (const auto standing = standingBuild()) keeping.push_back(*standing);
  files_.clean(keeping);
  const std::string part = files_.zipURL(release.build).path() + ".part";
  outside_.http.download({*url, kDownloadTimeout, kWholeTimeout, release.size}, part,
                         lifetime_.guarded([this, release, part](const std::optional<HttpResponse>& response) {
                           downloaded(release, part, response);
                         }));
}

void AppSelfUpdater::downloaded(const AppRelease& release, const std::string& part,
                                const std::optional<HttpResponse>& response) {
  const bool arrived =
      response && response->status == 200 && outside_.files.rename(part, files_.zipURL(release.build).path()) == 0;
  if (arrived) return unpack(release);
  outside_.files.unlink(part);
  backToIdle();
}

void AppSelfUpdater::unpack(const AppRelease& release) {
  inBackground([&files = outside_.files, zip = files_.zipURL(release.build).path(),
                release] { return isWhole(files, zip, release); },
               [this, release](bool same) { compared(release, same); });
}

void AppSelfUpdater::compared(const AppRelease& release, bool same) {
  const std::string zip = files_.zipURL(release.build).path();
  if (!same) {
    outside_.files.unlink(zip);
    return backToIdle();
  }
  const std::string folder = files_.stagedURL(release.build).path();
  removeTree(outside_.files, folder);
  makeFolders(outside_.files, folder, 0700);
  outside_.execute(
      {outside_.bundle.contents("Helpers/ditto").path(), {"-x", "-k", zip, folder}, system::environment(), true},
      kUnpackTimeout,
      lifetime_.guarded([this, release](const HelperCommandResult& result) { unpacked(release, result); }));
}

void AppSelfUpdater::unpacked(const AppRelease& release, const HelperCommandResult& result) {
  const Url folder = files_.stagedURL(release.build);
  outside_.files.unlink(files_.zipURL(release.build).path());
  if (const auto app = files_.singleApp(folder); app && result.code == 0) return verify(release, *app);
  removeTree(outside_.files, folder.path());
  backToIdle();
}

}  // namespace kestrelune
