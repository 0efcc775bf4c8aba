#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AppConfiguration.hpp"
#include "Notifications.hpp"
#include "Outside.hpp"
#include "ProblemPlan.hpp"
#include "RuntimeActionRunner.hpp"
#include "StatusReader.hpp"
#include "base/Lifetime.hpp"

namespace kestrelune {

namespace ProblemPlan {

/// What is announced when a check has ended; absent for one that hasn't.
std::optional<Notice> notice(const ProblemRecord& record);

/// A record that says "running" of a process that is alive.
bool isRunning(const ProblemRecord& record, Files& files);

}  // namespace ProblemPlan

/// Has a local AI application look into a problem: asks, starts the helper's command, and announces its answer. What
/// runs is read from the world and not stored, so that a check that outlived an earlier start of the program counts.
class ProblemReporter {
 public:
  ProblemReporter(const Configuration& configuration, const Outside& outside, ActionRunner& actions,
                  Notifications& notifications);

  std::function<void()> onChange;

  /// The check that is going on, started by this program or an earlier start of it.
  std::optional<ProblemRecord> running() const;
  /// Asks the user, and starts the check that is chosen. Does nothing while one runs.
  void start(const Snapshot& snapshot);

 private:
  void answered(const Answer& answer, const std::vector<std::string>& choices);
  void launch(const std::vector<std::string>& arguments, const std::string& note);
  void finished();
  std::optional<ProblemRecord> latest() const;

  const Url latestURL_;
  const Url helper_;
  const bool dryRun_;
  Outside outside_;
  ActionRunner& actions_;
  Notifications& notifications_;
  std::unique_ptr<Task> process_;
  Timer firstLook_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
