#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "RuntimeAction.hpp"
#include "StatusReader.hpp"
#include "base/Dates.hpp"

namespace kestrelune {

/// One notification to deliver.
struct Notice {
  std::string id;  ///< a later one with the same id replaces an earlier one
  std::string title;
  std::string body;
  Action action;  ///< what clicking it does

  bool operator==(const Notice&) const = default;
};

/// Decides from one snapshot to the next what deserves a notification, each thing once. Its memory is the record
/// itself and isn't kept: the first update of a process only learns what is there and announces nothing.
struct NoticeTracker {
  static constexpr double kHelperSeconds = 120;  ///< red for this long before it is told
  static constexpr double kServerSeconds = 300;  ///< unreachable for this long before it is told

  /// In the order of the rules: the helper, the service, this computer, the applications, what needs the user.
  std::vector<Notice> update(const Snapshot& snapshot, Date now);

  std::optional<Signal> previous;  ///< the signal of the last update
  std::optional<Date> helperLostAt, serverLostAt;
  bool helperNotified = false, serverNotified = false;
  std::optional<bool> lastServerReachable;
  std::optional<std::string> lastState;
  std::map<std::string, std::string> appStates;
  std::set<std::string> attentionIDs;

 private:
  void learn(const Snapshot& snapshot);
  void trackHelper(const Snapshot& snapshot, Date now, std::vector<Notice>& notices);
  void trackServer(const Snapshot& snapshot, Date now, std::vector<Notice>& notices);
  void trackState(const HelperStatus& status, std::vector<Notice>& notices);
  void trackApps(const HelperStatus& status, std::vector<Notice>& notices);
  void trackAttention(const HelperStatus& status, std::vector<Notice>& notices);
};

}  // namespace kestrelune
