#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "MenuEntry.hpp"
#include "ProblemPlan.hpp"
#include "ShareTools.hpp"
#include "Status.hpp"
#include "StatusReader.hpp"
#include "base/Dates.hpp"

/// Everything the user reads in the menu, and in the pill beside the icon, is decided here: from a snapshot and a few
/// plain values to lines of text. No view, no file, no clock.
namespace kestrelune::MenuPlan {

/// The AIs that can be connected, in the order in which they are offered.
inline constexpr std::array<std::string_view, 5> kConnectable = {"claude", "chatgpt", "cursor", "grok", "google"};

/// What the menu depends on beside the snapshot.
struct Context {
  bool setupFailed = false;              ///< the last setup failed
  bool hasAgent = false;                 ///< a helper is installed on this computer
  std::optional<ProblemRecord> problem;  ///< the problem report that is running
  std::optional<std::string> update;     ///< progress line of a running update of the AI applications
  bool setupOpen = false;                ///< setup has begun and is not finished
  std::optional<SharedToolsState> sharedTools;
  std::optional<bool> smallModel;

  bool operator==(const Context&) const = default;
};

struct Pill {
  std::string text;  ///< empty: no pill
  Tone tone = Tone::none;

  bool operator==(const Pill&) const = default;
};

/// The whole menu between header and end.
std::vector<MenuEntry> entries(const Snapshot& snapshot, Date now, const Context& context,
                               const Calendar& calendar = Calendar::current());

Pill pill(const Snapshot& snapshot, Date now, const Calendar& calendar = Calendar::current());

/// At most five lines each; what lies beyond is not mentioned in the menu.
std::vector<MenuEntry> needsYou(const std::optional<HelperStatus>& status);
std::vector<MenuEntry> running(const std::optional<HelperStatus>& status, Date now);
std::vector<MenuEntry> done(const std::optional<HelperStatus>& status, Date now, const Calendar& calendar);

/// All tasks that ended on the calendar day of `now`, newest first, ties in file order.
std::vector<DoneTask> doneToday(const std::optional<HelperStatus>& status, Date now, const Calendar& calendar);

/// One line for each connected AI and each application on this computer, and the line of updates.
std::vector<MenuEntry> yourAIs(const std::optional<HelperStatus>& status, const std::optional<std::string>& update);
/// The choice of applications that may work.
std::optional<MenuEntry> workers(const std::optional<HelperStatus>& status);
/// The descriptions of the AIs.
std::optional<MenuEntry> profiles(const std::optional<HelperStatus>& status);

/// The parts that are there, joined with one blank.
std::string join(const std::optional<std::string>& first, const std::optional<std::string>& second);
/// The name of the application that a link's scheme opens; the scheme itself for one that isn't known.
std::string appOfScheme(std::string_view scheme);

/// The name under which a connection is shown.
std::string displayName(const Connection& connection);
/// What brings an outdated application up to date, where that can be offered.
std::optional<Action> updateAction(const HostApp& app);

}  // namespace kestrelune::MenuPlan
