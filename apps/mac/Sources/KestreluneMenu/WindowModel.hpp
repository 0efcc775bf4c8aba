#pragma once

#include <functional>
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

/// What the main window shows. Views are functions of it; each change of an observable value asks for one redraw,
/// however many come in one pass of the loop.
class WindowModel {
 public:
  WindowModel(const Configuration& configuration, const Outside& outside, ActionRunner& actions);

  /// What the views read.
  struct State {
    Snapshot snapshot;
    std::string place = "tasks";  ///< "tasks", "ais", "macs", "general", or "task:" and an identifier
    std::vector<WindowTask> history;
    std::optional<std::vector<Schedule>> schedules;  ///< absent: not loaded, which is not the same as none
    bool copied = false;                             ///< the download link was copied since the window was shown
    bool loginItem = false;
    bool muted = false;
    std::optional<ProblemRecord> problem;
    bool problemRunning = false;  ///< its process is alive
    std::optional<std::string> updateLine;

    bool operator==(const State&) const = default;
  };

  const State& state() const { return state_; }
  const Url& reportsURL() const { return reportsURL_; }
  ActionRunner& actions() { return actions_; }

  std::function<void()> onChange;  ///< something the views read has changed
  std::function<void(const std::string& settleKey)> onShowAgain;

  void setSnapshot(Snapshot snapshot);
  /// A place that isn't one becomes "tasks".
  void setPlace(const std::string& place);
  void setUpdateLine(std::optional<std::string> line);
  void setCopied(bool copied);

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
  bool readLoginItem() const;
  void runSchedule(const std::string& verb, const std::string& id);

  const bool dryRun_;
  const Url helper_;
  const Url reportsURL_;
  Outside outside_;
  ActionRunner& actions_;
  State state_;
  WindowLoads histories_;
  WindowLoads schedules_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
