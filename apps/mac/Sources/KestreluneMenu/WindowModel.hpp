#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AppConfiguration.hpp"
#include "Outside.hpp"
#include "ProblemPlan.hpp"
#include "RuntimeActionRunner.hpp"
#include "StatusReader.hpp"
#include "WindowLoads.hpp"
#include "WindowPlan.hpp"
#include "base/Lifetime.hpp"

namespace kestrelune {

/// Rows of a long list, from the first to before the last. A list of any length is sent in pieces of a few hundred.
struct RowRange {
  std::size_t first = 0, last = 256;

  /// From "first-last", widened to whole blocks, so that a little scrolling changes nothing. Absent for other texts.
  static std::optional<RowRange> around(const std::string& wanted);
  bool operator==(const RowRange&) const = default;
};

/// What the main window shows. Views are functions of it; each change of an observable value asks for one redraw,
/// however many come in one pass of the loop.
class WindowModel {
 public:
  WindowModel(const Configuration& configuration, const Outside& outside, ActionRunner& actions);

  /// What the views read.
  struct State {
    Snapshot snapshot{.signal = Signal::red};
    std::string place = "tasks";  ///< "tasks", "ais", "macs", "general", or "task:" and an identifier
    std::vector<WindowTask> history;
    std::optional<std::vector<Schedule>> schedules;  ///< absent: not loaded, which is not the same as none
    bool copied = false;                             ///< the download link was copied since the window was shown
    bool loginItem = false;
    bool muted = false;
    std::optional<ProblemRecord> problem;
    bool problemRunning = false;  ///< its process is alive
    std::optional<std::string> updateLine;
    Url reportsURL;    ///< never changes
    RowRange inSight;  ///< which rows of the task list are drawn

    bool operator==(const State&) const = default;
  };

  const State& state() const { return state_; }
  /// The tasks of the state, merged and grouped; made anew only when they have changed, or the day has.
  const TaskLists& lists(Date now);
  ActionRunner& actions() { return actions_; }

  std::function<void()> onChange;  ///< something the views read has changed
  std::function<void(const std::string& settleKey)> onShowAgain;

  void setSnapshot(Snapshot snapshot);
  /// As it stands: a task of the list has its page whatever its identifier is made of.
  void setPlace(const std::string& place);
  void setUpdateLine(std::optional<std::string> line);
  void setCopied(bool copied);
  /// `wanted` is what a list asks for; anything that is no range does nothing.
  void setInSight(const std::string& wanted);

  /// Ask the helper. A failure of any sort keeps what is there.
  void loadHistory();
  void loadSchedules();
  void loadProblem();

  /// `verb` is "pause", "resume" or "remove"; the last one is asked about first.
  void schedule(const std::string& verb, const Schedule& schedule);
  void toggleLogin();
  void toggleMuted();
  void copyDownloadLink();
  void showProblemReport();
  void openProblemChat();
  /// Ends what is being loaded.
  void stop();

 private:
  template <class T>
  void set(T State::*member, T value);
  void load(WindowLoads& loads);
  bool readLoginItem() const;
  void runSchedule(const std::string& verb, const std::string& id);

  const bool dryRun_;
  const Url helper_;
  Outside outside_;
  ActionRunner& actions_;
  State state_;
  std::unique_ptr<TaskLists> lists_;
  WindowLoads histories_;
  WindowLoads schedules_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
