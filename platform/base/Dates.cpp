#include "base/Dates.hpp"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "base/TextEngine.hpp"

namespace kestrelune {
namespace {

constexpr double kDay = 86400;

/// Days from 1970-01-01 to a day of the Gregorian calendar.
long long daysFromCivil(long long year, unsigned month, unsigned day) {
  year -= month <= 2;
  const long long era = (year >= 0 ? year : year - 399) / 400;
  const auto yearOfEra = static_cast<unsigned>(year - era * 400);
  const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + static_cast<long long>(dayOfEra) - 719468;
}

unsigned daysInMonth(unsigned year, unsigned month) {
  static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month == 2 && leap ? 29 : kDays[month - 1];
}

/// Reads a text from its front; every step fails once one has failed.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  unsigned digits(std::size_t count) {
    unsigned value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const char c = next();
      if (c < '0' || c > '9') {
        good_ = false;
        return 0;
      }
      value = value * 10 + static_cast<unsigned>(c - '0');
    }
    return value;
  }
  void expect(char wanted) { good_ = (next() == wanted) && good_; }
  char peek() const { return text_.empty() ? '\0' : text_.front(); }
  char next() {
    const char c = peek();
    if (!text_.empty()) text_.remove_prefix(1);
    return c;
  }
  bool good() const { return good_; }
  bool ended() const { return good_ && text_.empty(); }

 private:
  std::string_view text_;
  bool good_ = true;
};

std::optional<double> fraction(Scanner& scanner) {
  double value = 0, digit = 0.1;
  if (scanner.peek() < '0' || scanner.peek() > '9') return std::nullopt;
  for (; scanner.peek() >= '0' && scanner.peek() <= '9'; digit /= 10) value += (scanner.next() - '0') * digit;
  return value;
}

/// Seconds east of Greenwich: "Z", "+01:00", "+0100".
std::optional<double> zoneOffset(Scanner& scanner) {
  const char sign = scanner.next();
  if (sign == 'Z') return 0.0;
  if (sign != '+' && sign != '-') return std::nullopt;
  const unsigned hours = scanner.digits(2);
  if (scanner.peek() == ':') scanner.next();
  const unsigned minutes = scanner.digits(2);
  if (hours > 23 || minutes > 59) return std::nullopt;
  const double offset = hours * 3600.0 + minutes * 60.0;
  return sign == '-' ? -offset : offset;
}

/// The zone may have changed since the last look; looking costs as much as ten conversions.
void followZone() { tzset(); }

std::tm localTime(Date date) {
  const auto seconds = static_cast<std::time_t>(std::floor(date.seconds));
  std::tm parts{};
  localtime_r(&seconds, &parts);
  return parts;
}

/// Later than any calendar of use, and well within what the C library's can count.
bool isInRange(Date date) { return std::isfinite(date.seconds) && std::fabs(date.seconds) < 1e14; }

}  // namespace

std::optional<Date> parseIso8601(std::string_view text) {
  Scanner scanner(text);
  const unsigned year = scanner.digits(4);
  scanner.expect('-');
  const unsigned month = scanner.digits(2);
  scanner.expect('-');
  const unsigned day = scanner.digits(2);
  scanner.expect('T');
  const unsigned hour = scanner.digits(2);
  scanner.expect(':');
  const unsigned minute = scanner.digits(2);
  scanner.expect(':');
  const unsigned second = scanner.digits(2);
  if (!scanner.good() || month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month)) return std::nullopt;
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;

  double seconds = static_cast<double>(daysFromCivil(year, month, day)) * kDay + hour * 3600.0 + minute * 60.0 + second;
  if (scanner.peek() == '.') {
    scanner.next();
    const auto part = fraction(scanner);
    if (!part) return std::nullopt;
    seconds += *part;
  }
  const auto offset = zoneOffset(scanner);
  if (!offset || !scanner.ended()) return std::nullopt;
  return Date{seconds - *offset};
}

std::string formatIso8601(Date date) {
  const auto seconds = static_cast<std::time_t>(isInRange(date) ? std::floor(date.seconds) : 0);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", parts.tm_year + 1900, parts.tm_mon + 1,
                parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
  return text;
}

bool Calendar::isSameDay(Date a, Date b) const {
  if (!isInRange(a) || !isInRange(b)) return false;
  if (!name_.empty()) {
    if (const TextEngine* engine = textEngine()) return engine->day(a.seconds, name_) == engine->day(b.seconds, name_);
  }
  if (std::fabs(a.seconds - b.seconds) > 2 * kDay) return false;
  followZone();
  const std::tm first = localTime(a), second = localTime(b);
  return first.tm_year == second.tm_year && first.tm_yday == second.tm_yday;
}

std::string Calendar::format(Date date, std::string_view pattern, std::string_view locale) const {
  if (!isInRange(date)) return "";
  const bool plain = pattern == "HH:mm" && name_.empty();
  const TextEngine* engine = plain ? nullptr : textEngine();
  if (engine) return engine->formatDate(date.seconds, pattern, locale, name_);
  followZone();
  const std::tm parts = localTime(date);
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d", parts.tm_hour, parts.tm_min);
  return text;
}

}  // namespace kestrelune
