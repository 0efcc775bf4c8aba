#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "StatusReader.hpp"
#include "base/Bundle.hpp"
#include "base/Files.hpp"
#include "base/Json.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// The release that the service publishes. All keys are required.
struct AppRelease {
  std::int64_t schemaVersion = 0;
  std::string version;     ///< compared as text, never ordered
  std::int64_t build = 0;  ///< the one thing that tells a newer release
  std::string url;
  std::string sha256;
  std::int64_t size = 0;  ///< bytes
  std::string minimumSystemVersion;

  bool operator==(const AppRelease&) const = default;
};

void decodeJson(const Json& json, AppRelease& release);

/// What is known of an application bundle: the running one, or one that may take its place.
struct InstalledApp {
  std::string bundleIdentifier;
  std::string version;
  std::int64_t build = 0;
  Url url;

  /// Absent for a bundle without identifier, version, or a build of at least 1.
  static std::optional<InstalledApp> from(const Bundle& bundle);

  bool operator==(const InstalledApp&) const = default;
};

/// The rules of the self-update: what may be taken, what may be replaced, and when. None says why it said no.
namespace AppUpdatePolicy {

inline constexpr std::int64_t kLargestRelease = 1073741824;

Url manifestURL();
/// Where a person downloads the application; never taken from the manifest.
Url downloadPage();

/// The one gate that says whether a manifest may be acted on: its archive's address, or nothing.
std::optional<Url> download(const AppRelease& release);
bool isSHA256(std::string_view text);

using SystemVersion = std::array<std::int64_t, 3>;
/// One to three dotted numbers; missing ones count as 0.
std::optional<SystemVersion> systemVersion(std::string_view text);

/// What an application of this maker must satisfy, as a requirement text. Absent when either value could not stand
/// between double quotes, or isn't what such a value looks like.
std::optional<std::string> requirement(std::string_view bundleIdentifier, std::string_view teamID);

/// Whether the application may be replaced in place without the user's help.
bool replaceable(const Url& app, Files& files);

/// Whether the application may quit and replace itself now: nothing runs, as far as can be told.
bool quiet(const Snapshot& snapshot, bool appBusy);

/// Whether a release is newer than what is installed, admitted, not one that failed before, and runs here.
bool wants(const AppRelease& release, const InstalledApp& installed, const std::optional<std::int64_t>& skippedBuild,
           const SystemVersion& system);

/// The text of the restart script; `rounds`: the seconds it waits for the new build to report in.
std::string watchdog(int rounds);

}  // namespace AppUpdatePolicy
}  // namespace kestrelune
