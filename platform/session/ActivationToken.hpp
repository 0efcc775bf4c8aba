#pragma once

#include <string>
#include <utility>

#include "base/Clock.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// The desktop's permission to bring one window to the front, given with a click on the icon or on a notification, or
/// with a start of the program. It serves the window that this click opens: it is used once, soon, and no child ever
/// gets it.
class ActivationToken {
 public:
  explicit ActivationToken(const Clock& clock) : clock_(clock) {}

  void provide(std::string token) {
    token_ = std::move(token);
    since_ = clock_.uptime();
  }
  /// That of a start of the program, if there is one.
  void provide(const Environment& variables) {
    for (const char* name : kNames) {
      const auto found = variables.find(name);
      if (found != variables.end() && !found->second.empty()) return provide(found->second);
    }
  }
  /// While it is held, time doesn't count: a host may give the token when its menu opens, and the user reads the menu.
  void hold(bool held) {
    if (held == held_) return;
    if (held && clock_.uptime() - since_ > kLife) token_.clear();
    held_ = held;
    since_ = clock_.uptime();
  }
  /// The token of a click of the last seconds; empty when there is none.
  std::string take() {
    std::string token = std::exchange(token_, "");
    return held_ || clock_.uptime() - since_ <= kLife ? token : "";
  }

  /// The variables in which a start brings one; the second is the older form.
  static constexpr const char* kNames[] = {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"};

 private:
  static constexpr double kLife = 5;
  const Clock& clock_;
  std::string token_;
  double since_ = 0;
  bool held_ = false;
};

}  // namespace kestrelune
