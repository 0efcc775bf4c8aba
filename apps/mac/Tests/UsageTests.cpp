#include "Usage.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "Fakes/Languages.hpp"

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

TEST(Usage, WindowsTellTheirResetInTheUsersWords) {
  struct Row {
    const char* name;
    PlanUsage::Window window;
    const char *english, *german;
  };
  const Row rows[] = {
      {"today",
       {.kind = "session", .used = 12.4, .resetsAt = "2026-03-10T15:30:00Z"},
       "5 hours: 12 % used · resets at 16:30",
       "5 Std.: 12 % genutzt · neu um 16:30"},
      {"within six days",
       {.kind = "odd", .used = 80, .resetsAt = "2026-03-14T08:05:00.250Z"},
       "Week: 80 % used · resets Sat 09:05",
       "Woche: 80 % genutzt · neu Sa. 09:05"},
      {"later, in summer time",
       {.kind = "monthly", .used = 101, .resetsAt = "2026-04-01T22:30:00Z"},
       "Month: 100 % used · resets Apr 2",
       "Monat: 100 % genutzt · neu 2.4."},
      {"six days exactly",
       {.used = 1, .resetsAt = "2026-03-16T12:00:00Z"},
       "Week: 1 % used · resets Mar 16",
       "Woche: 1 % genutzt · neu 16.3."},
      {"past", {.used = 5, .resetsAt = "2026-03-10T11:59:59Z"}, "Week: 5 % used", "Woche: 5 % genutzt"},
      {"now is past", {.used = 5, .resetsAt = "2026-03-10T12:00:00Z"}, "Week: 5 % used", "Woche: 5 % genutzt"},
      {"nothing known", {.resetsAt = "soon"}, "Week: 0 % used", "Woche: 0 % genutzt"},
  };
  for (const Row& row : rows) {
    {
      const English english;
      EXPECT_EQ(UsagePlan::window(row.window, kNow, kBerlin), row.english) << row.name;
    }
    const German german;
    EXPECT_EQ(UsagePlan::window(row.window, kNow, kBerlin), row.german) << row.name;
  }
}

TEST(Usage, CountsAndMoneyAtTheirEdges) {
  struct Row {
    double number;
    const char *english, *german;
  };
  const Row counts[] = {
      {999, "999", "999"},          {1000, "1K", "1 Tsd."}, {1499, "1K", "1 Tsd."},          {1e6, "1M", "1 Mio."},
      {1.25e6, "1.2M", "1,2 Mio."}, {2e9, "2B", "2 Mrd."},  {1234e9, "1,234B", "1.234 Mrd."}};
  const Row money[] = {
      {9.994, "$9.99", "9,99 $"}, {10, "$10", "10 $"}, {10.4, "$10", "10 $"}, {2.5, "$2.50", "2,50 $"}};
  const auto check = [](const Row* rows, std::size_t size, auto format) {
    for (const Row* row = rows; row != rows + size; ++row) {
      {
        const English english;
        EXPECT_EQ(format(row->number), row->english);
      }
      const German german;
      EXPECT_EQ(format(row->number), row->german);
    }
  };
  check(counts, std::size(counts), UsagePlan::compact);
  check(money, std::size(money), UsagePlan::dollars);
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
