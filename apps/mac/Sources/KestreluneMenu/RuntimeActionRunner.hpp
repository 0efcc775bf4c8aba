#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Runtime.hpp"
#include "RuntimeAction.hpp"
#include "Status.hpp"
#include "base/Bundle.hpp"
#include "base/Lifetime.hpp"
#include "base/Session.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// Carries actions out. In a dry run nothing reaches the system: each action prints one line that says what it would
/// have done. Failures end in one message to the user; nothing is thrown, and nothing is tried again.
class ActionRunner {
 public:
  using Output = std::function<void(const std::string&)>;

  /// What actions reach.
  struct Reach {
    Session& session;
    TaskLauncher& tasks;
    Bundle bundle;                    ///< its `Helpers` hold what opens applications and restarts services
    Url helperCommand;                ///< the helper's command-line tool
    std::function<void()> terminate;  ///< ends the program
    Output output;                    ///< takes the lines of a dry run
  };

  ActionRunner(bool dryRun, Reach reach);

  /// Flows that take over an action; each may be absent.
  std::function<void()> setupAction;
  std::function<void()> problemAction;
  std::function<void()> updateAllAction;
  std::function<void(const std::string& place)> windowAction;
  std::function<bool()> restartAction;  ///< true: handled
  /// Called after a helper command has ended, well or not.
  std::function<void()> afterSwitch;
  std::function<std::optional<AIProfile>(const std::string& executorId)> profileLookup;

  /// Returns at once; questions are asked and commands run meanwhile.
  void perform(const Action& action);

  void showError(const RuntimeError& error) { showError(reach_.session.alert(), error); }
  static void showError(Alert& alert, const RuntimeError& error);

 private:
  bool takenOver(const Action& action);
  void carryOut(const Action& action);
  void signIn(const std::string& host);
  void open(const Url& url);
  void openLink(const std::string& link);
  void restartService();
  void toggleLoginItem();
  void askToSetUp();
  void lower(const std::string& target, const std::string& to);
  void editProfile(const std::string& id);
  void saveProfile(const std::string& id, const Answer& answer);
  void terminal(const std::string& command);
  void runHelper(std::vector<std::string> arguments, const std::string& done = "");
  void helperEnded(const TaskEnd& end, const std::string& done);
  void runTool(const std::string& name, std::vector<std::string> arguments, TaskLauncher::Ended ended);
  void launch(const TaskRequest& request, TaskLauncher::Ended ended);

  const bool dryRun_;
  Reach reach_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
