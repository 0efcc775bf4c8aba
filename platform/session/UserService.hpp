#pragma once

#include <string>

namespace kestrelune {

/// 0, or an error number with its reason in words.
struct ServiceOutcome {
  int error = 0;
  std::string reason;
};

/// Has the session's systemd start a service of the user's, or, with `again`, end it first where it runs. Waits for it
/// to have started, at most `seconds`.
ServiceOutcome startUserService(const std::string& unit, bool again, double seconds);

}  // namespace kestrelune
