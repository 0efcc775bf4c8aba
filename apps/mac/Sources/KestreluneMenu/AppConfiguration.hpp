#pragma once

#include "base/System.hpp"
#include "base/Task.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// Where the program reads and writes, and whether it may reach the system. Fixed at start and copied freely.
struct Configuration {
  /// What is said in place of starting when `resolve` throws.
  static constexpr const char* kRefusal = "KESTRELUNE_DRY_RUN requires distinct, explicit status and heartbeat paths.";

  Url statusURL;        ///< the status file that the helper writes
  Url heartbeatURL;     ///< the heartbeat file that this program writes
  bool dryRun = false;  ///< nothing outside the test paths is touched
  Url helperRoot;       ///< the folder under which the helper lives
  Url launchAgentURL;   ///< the description of the helper's service

  bool operator==(const Configuration&) const = default;

  /// The folder of the status file, where the helper's small files lie.
  Url runnerFolder() const { return statusURL.deletingLastComponent(); }

  /// Reads `KESTRELUNE_DRY_RUN`, `KESTRELUNE_STATUS_FILE`, `KESTRELUNE_MENUBAR_FILE` and, in a dry run or under tests
  /// only, `KESTRELUNE_HOME`. Looks at the file system only to resolve symbolic links, and creates nothing.
  /// Throws `RuntimeError::unsafeDryRun` for a dry run whose paths aren't explicit, distinct and outside the user's
  /// own ".kestrelune" folder, and in every mode when the two files are the same.
  static Configuration resolve(const Environment& environment, const Url& home = system::homeFolder(),
                               bool runsTests = system::isRunningTests());
};

}  // namespace kestrelune
