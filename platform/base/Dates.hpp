#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kestrelune {

/// A moment of wall-clock time, in seconds since 1970-01-01T00:00:00Z.
struct Date {
  double seconds = 0;

  auto operator<=>(const Date&) const = default;
  friend Date operator+(Date date, double later) { return {date.seconds + later}; }
  friend Date operator-(Date date, double earlier) { return {date.seconds - earlier}; }
  /// Seconds from `b` to `a`; negative when `a` is the earlier one.
  friend double operator-(Date a, Date b) { return a.seconds - b.seconds; }

  static constexpr Date distantPast() { return {-62135769600.0}; }
};

/// Reads an ISO 8601 internet date-time ("2026-01-31T09:15:00Z", "+01:00" as a zone), first with fractional seconds,
/// then without. Anything else is absent.
std::optional<Date> parseIso8601(std::string_view text);

/// UTC, whole seconds (truncated), "2026-01-31T09:15:00Z".
std::string formatIso8601(Date date);

/// The days and hours of one time zone.
class Calendar {
 public:
  /// The system's zone, looked up anew at each use, so that a change of the zone shows at once.
  static Calendar current() { return Calendar(""); }
  /// A zone of the tz database, such as "Europe/Berlin".
  static Calendar zone(std::string name) { return Calendar(std::move(name)); }

  bool isSameDay(Date a, Date b) const;
  /// A Unicode date pattern ("HH:mm", "EEE HH:mm", "d.M.", "MMM d") in the words of `locale` ("en_US", "de_DE").
  std::string format(Date date, std::string_view pattern, std::string_view locale) const;

 private:
  explicit Calendar(std::string name) : name_(std::move(name)) {}
  std::string name_;
};

}  // namespace kestrelune
