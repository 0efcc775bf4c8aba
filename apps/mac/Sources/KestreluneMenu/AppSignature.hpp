#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/Bundle.hpp"
#include "base/Clock.hpp"
#include "base/Files.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// Who signed applications. Without either function nobody did.
struct AppSignature {
  /// The team that signed the running application.
  std::function<std::optional<std::string>()> runningTeam;
  /// Whether an application as it lies there satisfies a requirement text. Reads all of it; may be called on any
  /// thread.
  std::function<bool(const Url& app, const std::string& requirement)> satisfies;

  /// That of the system, for a running bundle, under the anchor that is compiled in.
  static AppSignature of(const Bundle& running, Files& files, const Clock& clock);
};

}  // namespace kestrelune
