#pragma once

#include <string>
#include <utility>

#include "base/Clock.hpp"

namespace kestrelune {

/// The desktop's permission to bring one window to the front, given with a click on the icon or on a notification. It
/// serves the window that this click opens: it is used once, soon, and no child ever gets it.
class ActivationToken {
 public:
  explicit ActivationToken(const Clock& clock) : clock_(clock) {}

  void provide(std::string token) {
    token_ = std::move(token);
    given_ = clock_.uptime();
  }
  /// The token of a click of the last seconds; empty when there is none.
  std::string take() {
    std::string token = std::exchange(token_, "");
    return clock_.uptime() - given_ <= kLife ? token : "";
  }

 private:
  static constexpr double kLife = 5;
  const Clock& clock_;
  std::string token_;
  double given_ = 0;
};

}  // namespace kestrelune
