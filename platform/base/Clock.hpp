#pragma once

#include "base/Dates.hpp"

namespace kestrelune {

/// The one place where time is read. Deciding functions take `now` as an argument instead.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Wall-clock time; may jump in either direction.
  virtual Date now() const = 0;
  /// Seconds since an arbitrary start; never goes back.
  virtual double uptime() const = 0;
};

/// The system's clocks.
class SystemClock final : public Clock {
 public:
  Date now() const override;
  double uptime() const override;
};

}  // namespace kestrelune
