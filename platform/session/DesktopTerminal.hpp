#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/Files.hpp"
#include "base/Lifetime.hpp"
#include "base/Session.hpp"
#include "base/Task.hpp"
#include "session/TerminalPlan.hpp"

namespace kestrelune {

/// What is started for the user to see gets our environment without what belongs to us: the permission to come to the
/// front that this program was started with.
Environment environmentForChildren(Environment environment);

/// The user's own terminal emulator: the one named by TERMINAL, else the first that is installed. One that fails before
/// the command began gives way to the next; a command is never begun twice.
class DesktopTerminal final : public Terminal {
 public:
  DesktopTerminal(TaskLauncher& launcher, RunLoop& loop, Files& files, Environment environment, bool hasDisplay,
                  bool dryRun);

  /// For what is started from now on.
  void setEnvironment(Environment environment, bool hasDisplay);

  void run(const std::string& command, std::function<void(const std::string& reason)> failed) override;

 private:
  struct Attempt;

  void tryNext(const std::shared_ptr<Attempt>& attempt);
  void ended(const std::shared_ptr<Attempt>& attempt, const TaskEnd& end);
  std::string makeMarker() const;

  TaskLauncher& launcher_;
  RunLoop& loop_;
  Files& files_;
  Environment environment_;
  bool hasDisplay_;
  bool dryRun_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
