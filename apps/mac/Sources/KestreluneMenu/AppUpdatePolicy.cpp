#include "AppUpdatePolicy.hpp"

#include <algorithm>
#include <charconv>
#include <vector>

#include "Endpoints.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isLetter(char c) { return isUpper(c) || (c >= 'a' && c <= 'z'); }
bool isHex(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

std::optional<std::int64_t> wholeNumber(std::string_view text) {
  const bool plus = text.starts_with('+');
  if (plus) text.remove_prefix(1);
  if (plus && text.starts_with('-')) return std::nullopt;
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

void decodeJson(const Json& json, AppRelease& release) {
  requireObject(json);
  decodeMember(json, "schemaVersion", release.schemaVersion);
  decodeMember(json, "version", release.version);
  decodeMember(json, "build", release.build);
  decodeMember(json, "url", release.url);
  decodeMember(json, "sha256", release.sha256);
  decodeMember(json, "size", release.size);
  decodeMember(json, "minimumSystemVersion", release.minimumSystemVersion);
}

std::optional<InstalledApp> InstalledApp::from(const Bundle& bundle) {
  const auto identifier = bundle.infoString("CFBundleIdentifier");
  const auto version = bundle.infoString("CFBundleShortVersionString");
  const auto text = bundle.infoString("CFBundleVersion");
  if (!identifier || !version || !text) return std::nullopt;
  const auto build = wholeNumber(*text);
  if (!build || *build < 1) return std::nullopt;
  return InstalledApp{.bundleIdentifier = *identifier, .version = *version, .build = *build, .url = bundle.url()};
}

namespace AppUpdatePolicy {

Url manifestURL() { return *Url::parse(std::string(endpoints::kServiceUrl) + "/download/Kestrelune-mac.json"); }
Url downloadPage() { return *Url::parse(std::string(endpoints::kServiceUrl) + "/download/Kestrelune.zip"); }

bool isSHA256(std::string_view text) { return text.size() == 64 && std::all_of(text.begin(), text.end(), isHex); }

std::optional<SystemVersion> systemVersion(std::string_view text) {
  SystemVersion version{};
  for (std::size_t piece = 0;; ++piece) {
    if (piece == version.size()) return std::nullopt;
    const std::size_t point = text.find('.');
    const auto number = wholeNumber(text.substr(0, point));
    if (!number || *number < 0) return std::nullopt;
    version[piece] = *number;
    if (point == std::string_view::npos) return version;
    text.remove_prefix(point + 1);
  }
}

std::optional<Url> download(const AppRelease& release) {
  if (release.schemaVersion != 1 || release.build < 1) return std::nullopt;
  if (release.version.empty() || text::hasAtLeast(release.version, 33)) return std::nullopt;
  if (release.size < 1 || release.size > kLargestRelease || !isSHA256(release.sha256)) return std::nullopt;
  if (!systemVersion(release.minimumSystemVersion)) return std::nullopt;

  std::optional<Url> url = Url::parse(release.url);
  if (!url || url->scheme() != "https") return std::nullopt;
  if (text::lowercased(url->host().value_or("")) != endpoints::kServiceHost) return std::nullopt;
  // A port is the refusal in itself, whatever its value; so is anything that signs in.
  if (url->user() || url->port()) return std::nullopt;
  const std::string name = url->path().substr(url->path().rfind('/') + 1);
  const std::size_t point = name.rfind('.');
  if (point == std::string::npos || point == 0 || name.substr(point) != ".zip") return std::nullopt;
  return url;
}

std::optional<std::string> requirement(std::string_view bundleIdentifier, std::string_view teamID) {
  const auto inTeam = [](char c) { return isUpper(c) || isDigit(c); };
  const auto inIdentifier = [](char c) { return isLetter(c) || isDigit(c) || c == '.' || c == '-'; };
  if (teamID.size() != 10 || !std::all_of(teamID.begin(), teamID.end(), inTeam)) return std::nullopt;
  if (bundleIdentifier.empty() || !std::all_of(bundleIdentifier.begin(), bundleIdentifier.end(), inIdentifier)) {
    return std::nullopt;
  }
  return "anchor apple generic and identifier \"" + std::string(bundleIdentifier) +
         "\" and certificate 1[field.1.2.840.113635.100.6.2.6] exists"
         " and certificate leaf[field.1.2.840.113635.100.6.1.13] exists"
         " and certificate leaf[subject.OU] = \"" +
         std::string(teamID) + "\"";
}

bool replaceable(const Url& app, Files& files) {
  const Url url = app.standardized();
  const std::string& path = url.path();
  if (!path.ends_with(".app") || url.lastComponent() == ".app") return false;
  if (path.find("/AppTranslocation/") != std::string::npos || path.starts_with("/Volumes/")) return false;
  return isWritable(files, url.deletingLastComponent().path()) && isWritable(files, path);
}

bool quiet(const Snapshot& snapshot, bool appBusy) {
  if (appBusy) return false;
  if (snapshot.issue) {
    switch (*snapshot.issue) {
      case StatusIssue::missing:
      case StatusIssue::invalidPID:
      case StatusIssue::stopped:
      case StatusIssue::disconnected: return true;
      // Something is there that can't be understood: it may well be at work.
      case StatusIssue::unreadable:
      case StatusIssue::outdated:
      case StatusIssue::unsupported: return false;
    }
  }
  if (!snapshot.status) return false;
  const std::int64_t counted = snapshot.status->tasks ? snapshot.status->tasks->running.value_or(0) : 0;
  return counted <= 0 && (!snapshot.status->running || snapshot.status->running->empty());
}

bool wants(const AppRelease& release, const InstalledApp& installed, const std::optional<std::int64_t>& skippedBuild,
           const SystemVersion& system) {
  if (!download(release) || release.build <= installed.build || skippedBuild == release.build) return false;
  const auto minimum = systemVersion(release.minimumSystemVersion);
  return minimum && system >= *minimum;
}

}  // namespace AppUpdatePolicy
}  // namespace kestrelune
