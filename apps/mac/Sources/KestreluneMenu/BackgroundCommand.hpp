#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/Task.hpp"

namespace kestrelune {

/// A short-lived child program to run and wait for.
struct HelperCommand {
  std::string executable;  ///< absolute; PATH isn't searched
  std::vector<std::string> arguments;
  Environment environment;  ///< the child's whole environment
  bool endsWithUs = false;  ///< only asks for something that we want to know; what changes something goes on

  bool operator==(const HelperCommand&) const = default;
};

/// How such a child ended.
struct HelperCommandResult {
  static constexpr std::int32_t kTimedOut = 124;
  static constexpr std::int32_t kNotStarted = -1;

  std::int32_t code = 0;
  std::string lastLine;  ///< the last line it printed that isn't empty; for `kNotStarted` the reason

  bool operator==(const HelperCommandResult&) const = default;
};

/// Runs a command for at most `timeout` seconds of monotonic time. `completed` is called exactly once, on the main
/// thread, never from within the call. A seam, so that what runs commands can be tried without children.
using ExecuteCommand = std::function<void(const HelperCommand& command, double timeout,
                                          std::function<void(const HelperCommandResult&)> completed)>;

}  // namespace kestrelune
