#include "Usage.hpp"

#include <cmath>

#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

using testing_support::English;
using testing_support::German;

const Date kNow = *parseIso8601("2026-03-10T12:00:00Z");
const Calendar kBerlin = Calendar::zone("Europe/Berlin");

TEST(Usage, WhatIsLeftIsAWholePercentageWithinBounds) {
  const English english;
  EXPECT_EQ(UsagePlan::left(PlanUsage{.left = 123.4}), "100 % left");
  EXPECT_EQ(UsagePlan::left(PlanUsage{.left = -3}), "0 % left");
  EXPECT_EQ(UsagePlan::left(PlanUsage{.left = 54.5}), "55 % left");
  EXPECT_EQ(UsagePlan::left(PlanUsage{.left = INFINITY}), std::nullopt);
  EXPECT_EQ(UsagePlan::left(PlanUsage{}), std::nullopt);
  EXPECT_EQ(UsagePlan::left(std::nullopt), std::nullopt);
}

/// What it says in English, and in German.
template <class Say>
std::pair<std::string, std::string> inBoth(const Say& say) {
  std::string inEnglish;
  {
    const English english;
    inEnglish = say();
  }
  const German german;
  return {inEnglish, say()};
}

TEST(Usage, WindowsTellTheirResetInTheUsersWords) {
  struct Row {
    const char* name;
    PlanUsage::Window window;
    std::pair<std::string, std::string> said;
  };
  const Row rows[] = {
      {"today",
       {.kind = "session", .used = 12.4, .resetsAt = "2026-03-10T15:30:00Z"},
       {"5 hours: 12 % used · resets at 16:30", "5 Std.: 12 % genutzt · neu um 16:30"}},
      {"within six days",
       {.kind = "odd", .used = 80, .resetsAt = "2026-03-14T08:05:00.250Z"},
       {"Week: 80 % used · resets Sat 09:05", "Woche: 80 % genutzt · neu Sa. 09:05"}},
      {"later, in summer time",
       {.kind = "monthly", .used = 101, .resetsAt = "2026-04-01T22:30:00Z"},
       {"Month: 100 % used · resets Apr 2", "Monat: 100 % genutzt · neu 2.4."}},
      {"six days exactly",
       {.used = 1, .resetsAt = "2026-03-16T12:00:00Z"},
       {"Week: 1 % used · resets Mar 16", "Woche: 1 % genutzt · neu 16.3."}},
      {"past", {.used = 5, .resetsAt = "2026-03-10T11:59:59Z"}, {"Week: 5 % used", "Woche: 5 % genutzt"}},
      {"now is past", {.used = 5, .resetsAt = "2026-03-10T12:00:00Z"}, {"Week: 5 % used", "Woche: 5 % genutzt"}},
      {"nothing known", {.resetsAt = "soon"}, {"Week: 0 % used", "Woche: 0 % genutzt"}},
  };
  for (const Row& row : rows)
    EXPECT_EQ(inBoth([&] { return UsagePlan::window(row.window, kNow, kBerlin); }), row.said) << row.name;
}

TEST(Usage, CountsAndMoneyAtTheirEdges) {
  using Said = std::pair<std::string, std::string>;
  const std::pair<double, Said> counts[] = {{999, {"999", "999"}},
                                            {1000, {"1K", "1 Tsd."}},
                                            {1499, {"1K", "1 Tsd."}},
                                            {1e6, {"1M", "1 Mio."}},
                                            {1.25e6, {"1.2M", "1,2 Mio."}},
                                            {2e9, {"2B", "2 Mrd."}},
                                            {1234e9, {"1,234B", "1.234 Mrd."}}};
  for (const auto& row : counts) EXPECT_EQ(inBoth([&] { return UsagePlan::compact(row.first); }), row.second);
  const std::pair<double, Said> money[] = {
      {9.994, {"$9.99", "9,99 $"}}, {10, {"$10", "10 $"}}, {10.4, {"$10", "10 $"}}, {2.5, {"$2.50", "2,50 $"}}};
  for (const auto& row : money) EXPECT_EQ(inBoth([&] { return UsagePlan::dollars(row.first); }), row.second);
}

TEST(Usage, LinesComeInOrderAndLeaveOutWhatIsEmpty) {
  const English english;
  PlanUsage usage{.windows = {{{.kind = "session", .used = 1}, {.used = 2}}}};
  usage.tokens = PlanUsage::Tokens{.today = PlanUsage::Period{.tokens = 0, .usd = 5},
                                   .week = PlanUsage::Period{.tokens = 7},
                                   .month = PlanUsage::Period{.tokens = 1500, .usd = 12},
                                   .top = {{{.model = "m-1"}, {.model = "m-2"}}}};
  EXPECT_EQ(UsagePlan::lines(usage, kNow, kBerlin),
            (std::vector<std::string>{"5 hours: 1 % used", "Week: 2 % used",
                                      "30 days: 2K tokens · API value about $12 · mostly m-1"}));
  usage.tokens->top->front().model = "";
  EXPECT_EQ(UsagePlan::lines(usage, kNow, kBerlin).back(), "30 days: 2K tokens · API value about $12");
}

}  // namespace
}  // namespace kestrelune
