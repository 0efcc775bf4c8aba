#include "Usage.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "Strings.hpp"
#include "base/Text.hpp"

namespace kestrelune::UsagePlan {
namespace {

constexpr double kSixDays = 518400;

std::string locale() { return currentLanguage() == Language::german ? "de_DE" : "en_US"; }

/// A percentage for the eye: whole, and never outside 0 to 100.
long long percent(double value) {
  if (std::isnan(value)) return 0;
  return std::llround(std::clamp(value, 0.0, 100.0));
}

}  // namespace

std::optional<std::string> left(const std::optional<PlanUsage>& usage) {
  if (!usage || !usage->left || !std::isfinite(*usage->left)) return std::nullopt;
  return UsageCopy::filled(UsageCopy::Key::left, {percent(*usage->left)});
}

std::string windowName(const std::optional<std::string>& kind) {
  if (kind == "session") return UsageCopy::text(UsageCopy::Key::session);
  if (kind == "monthly") return UsageCopy::text(UsageCopy::Key::monthly);
  return UsageCopy::text(UsageCopy::Key::weekly);
}

std::string when(Date date, Date now, const Calendar& calendar) {
  const bool german = currentLanguage() == Language::german;
  if (calendar.isSameDay(date, now)) return (german ? "um " : "at ") + calendar.format(date, "HH:mm", locale());
  if (date - now < kSixDays) return calendar.format(date, "EEE HH:mm", locale());
  return calendar.format(date, german ? "d.M." : "MMM d", locale());
}

std::string window(const PlanUsage::Window& window, Date now, const Calendar& calendar) {
  const std::string name = windowName(window.kind);
  const long long used = percent(window.used.value_or(0));
  if (window.resetsAt) {
    const std::optional<Date> reset = parseIso8601(*window.resetsAt);
    if (reset && *reset > now) {
      return UsageCopy::filled(UsageCopy::Key::usedResets, {name, used, when(*reset, now, calendar)});
    }
  }
  return UsageCopy::filled(UsageCopy::Key::used, {name, used});
}

std::string compact(double number) {
  struct Range {
    double below, divisor;
    int fractionDigits;
    const char *english, *german;
  };
  static constexpr Range kRanges[] = {
      {1e3, 1, 0, "", ""},
      {1e6, 1e3, 0, "K", " Tsd."},
      {1e9, 1e6, 1, "M", " Mio."},
      {INFINITY, 1e9, 1, "B", " Mrd."},
  };
  const Range& range = *std::find_if(std::begin(kRanges), std::end(kRanges) - 1,
                                     [number](const Range& candidate) { return number < candidate.below; });
  return text::decimal(number / range.divisor, range.fractionDigits, locale()) +
         (currentLanguage() == Language::german ? range.german : range.english);
}

std::string dollars(double number) {
  char digits[400];
  std::snprintf(digits, sizeof digits, number >= 10 ? "%.0f" : "%.2f", number >= 10 ? std::round(number) : number);
  if (currentLanguage() != Language::german) return std::string("$") + digits;
  return text::replacedAll(digits, ".", ",") + " $";
}

std::optional<std::string> period(UsageCopy::Key key, const std::optional<PlanUsage::Period>& period,
                                  const std::optional<std::vector<PlanUsage::ModelUse>>& top) {
  if (!period || !period->tokens || !(*period->tokens > 0)) return std::nullopt;
  std::string line =
      UsageCopy::text(key) + ": " + UsageCopy::filled(UsageCopy::Key::tokens, {compact(*period->tokens)});
  if (period->usd && *period->usd > 0) {
    line += " · " + UsageCopy::filled(UsageCopy::Key::apiValue, {dollars(*period->usd)});
  }
  if (top && !top->empty() && !top->front().model.value_or("").empty()) {
    line += " · " + UsageCopy::filled(UsageCopy::Key::mostly, {*top->front().model});
  }
  return line;
}

std::vector<std::string> lines(const std::optional<PlanUsage>& usage, Date now, const Calendar& calendar) {
  std::vector<std::string> result;
  if (!usage) return result;
  if (usage->windows) {
    for (const PlanUsage::Window& each : *usage->windows) result.push_back(window(each, now, calendar));
  }
  if (!usage->tokens) return result;
  if (auto today = period(UsageCopy::Key::today, usage->tokens->today, std::nullopt)) {
    result.push_back(std::move(*today));
  }
  if (auto month = period(UsageCopy::Key::month, usage->tokens->month, usage->tokens->top)) {
    result.push_back(std::move(*month));
  }
  return result;
}

}  // namespace kestrelune::UsagePlan
