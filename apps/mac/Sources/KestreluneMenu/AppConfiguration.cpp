#include "AppConfiguration.hpp"

#include <optional>
#include <string>

#include "Runtime.hpp"

namespace kestrelune {
namespace {

std::optional<std::string> variable(const Environment& environment, const std::string& name) {
  const auto found = environment.find(name);
  if (found == environment.end()) return std::nullopt;
  return found->second;
}

bool isFilled(const std::optional<std::string>& value) { return value && !value->empty(); }

Url fileOr(const std::optional<std::string>& path, const Url& usual) { return path ? Url::file(*path) : usual; }

Url chosenRoot(const Environment& environment, const Url& usual, const Url& statusURL, bool dryRun) {
  const auto home = variable(environment, "KESTRELUNE_HOME");
  if (isFilled(home)) return Url::file(*home).standardized();
  return dryRun ? statusURL.deletingLastComponent().appending("helper-home") : usual;
}

/// Compares whole path components, so that a sibling folder with a longer name is outside.
bool liesWithin(const Url& url, const std::string& folder) {
  const std::string path = url.resolvingSymbolicLinks().path();
  return path == folder || path.starts_with(folder + "/");
}

}  // namespace

Configuration Configuration::resolve(const Environment& environment, const Url& home, bool runsTests) {
  const Url usualRoot = home.appending(".kestrelune");
  const auto status = variable(environment, "KESTRELUNE_STATUS_FILE");
  const auto heartbeat = variable(environment, "KESTRELUNE_MENUBAR_FILE");

  Configuration result;
  result.dryRun = variable(environment, "KESTRELUNE_DRY_RUN") == "1";
  if (result.dryRun && !(isFilled(status) && isFilled(heartbeat))) throw RuntimeError::unsafeDryRun();

  result.statusURL = fileOr(status, usualRoot.appending("runner/status.json"));
  result.heartbeatURL = fileOr(heartbeat, usualRoot.appending("runner/menubar.json"));
  if (result.statusURL.standardized() == result.heartbeatURL.standardized()) throw RuntimeError::unsafeDryRun();

  result.helperRoot =
      result.dryRun || runsTests ? chosenRoot(environment, usualRoot, result.statusURL, result.dryRun) : usualRoot;
  if (!result.dryRun) {
    result.launchAgentURL = home.appending("Library/LaunchAgents/com.kestrelune.helper.plist");
    return result;
  }

  result.launchAgentURL = result.helperRoot.appending("LaunchAgents/com.kestrelune.helper.plist");
  const std::string userFolder = usualRoot.resolvingSymbolicLinks().path();
  for (const Url* url : {&result.statusURL, &result.heartbeatURL, &result.helperRoot})
    if (liesWithin(*url, userFolder)) throw RuntimeError::unsafeDryRun();
  return result;
}

}  // namespace kestrelune
