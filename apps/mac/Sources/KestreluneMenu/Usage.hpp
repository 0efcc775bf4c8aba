#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Status.hpp"
#include "UsageCopy.hpp"
#include "base/Dates.hpp"

/// An AI application's plan usage as lines of text, in the user's language and its formats.
namespace kestrelune::UsagePlan {

/// The short figure beside an application's name ("40 % left"); absent where nothing is known.
std::optional<std::string> left(const std::optional<PlanUsage>& usage);

/// The lines under an application's name: one for each limit window, then today and the last 30 days.
std::vector<std::string> lines(const std::optional<PlanUsage>& usage, Date now,
                               const Calendar& calendar = Calendar::current());

std::string window(const PlanUsage::Window& window, Date now, const Calendar& calendar);
std::string windowName(const std::optional<std::string>& kind);
/// A moment to come: the time of day today, the weekday within six days, else the date.
std::string when(Date date, Date now, const Calendar& calendar);
/// A count in thousands, millions and billions.
std::string compact(double number);
std::string dollars(double number);
/// Absent for a period without tokens. `top` names the model on the line that has it.
std::optional<std::string> period(UsageCopy::Key key, const std::optional<PlanUsage::Period>& period,
                                  const std::optional<std::vector<PlanUsage::ModelUse>>& top);

}  // namespace kestrelune::UsagePlan
