#include "Input.hpp"
#include "MenuPlan.hpp"
#include "MenuViews.hpp"
#include "NoticeTracker.hpp"
#include "SetupFlow.hpp"
#include "WindowPlan.hpp"
#include "base/Text.hpp"

using namespace kestrelune;

/// A status file, judged and turned into everything that is shown of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Date now{1'770'000'000};
  HelperStatus status;
  try {
    decodeJson(Json::parse(fuzz::text(data, size)), status);
  } catch (const JsonError&) {
    return 0;
  }
  // Half of the inputs may be as fresh as they like, so that rules beyond freshness are reached.
  if (size % 2 == 0) status.updatedAt = formatIso8601(now);
  const Snapshot snapshot = StatusReader::evaluate(status, now, [](std::int32_t) { return true; }, {});
  fuzz::require((snapshot.signal == Signal::red) == snapshot.issue.has_value(), "an issue exactly when red");

  const auto entries = MenuPlan::entries(snapshot, now, {.hasAgent = true, .smallModel = true}, Calendar::current());
  fuzz::require(!entries.empty() && entries.back().action == Action::quit(), "the menu ends with Quit");
  for (const MenuRow& row : MenuViews::rows(entries, false)) {
    fuzz::require(row.represented.empty() || Action::parse(row.represented).has_value(), "a row stands for an action");
  }
  fuzz::require(!text::hasAtLeast(MenuPlan::pill(snapshot, now).text, 29), "a pill is short");
  NoticeTracker tracker;
  fuzz::require(tracker.update(Snapshot{}, now).empty(), "the first update learns only");
  for (const Notice& notice : tracker.update(snapshot, now)) {
    fuzz::require(!notice.id.empty() && !notice.title.empty(), "a notice has an id and a title");
  }
  SetupFlow::rows(snapshot);
  SetupFlow::projectsLine(snapshot.status);
  TaskGroup::groups(WindowPlan::tasks(snapshot.status, {}, snapshot.hidden, now), now);
  return 0;
}
