#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Files.hpp"
#include "base/Lifetime.hpp"
#include "base/Session.hpp"
#include "base/Task.hpp"
#include "session/DesktopTerminal.hpp"

namespace kestrelune {

/// Links and applications in the ways of freedesktop.org. A link is only handed over when something handles its scheme:
/// the opener succeeds quietly on some desktops when nothing does. In a dry run questions are answered and nothing is
/// opened.
class DesktopWorkspace final : public Workspace {
 public:
  /// Shows a file in the user's file manager, and says whether one did. Completes once, in a later pass.
  using ShowFile = std::function<void(const Url& file, std::function<void(bool shown)> answer)>;

  DesktopWorkspace(ShowFile showFile, RunLoop& loop, TaskLauncher& launcher, Files& files, Terminal& terminal,
                   Environment environment, std::string home, bool dryRun);

  /// For what is started from now on.
  void setEnvironment(Environment environment) { environment_ = environmentForChildren(std::move(environment)); }

  void open(const Url& url, std::function<void(bool opened)> opened) override;
  void canOpen(const Url& url, std::function<void(bool handled)> answer) override;
  /// The identifier is a desktop-file id without ".desktop".
  void openApplication(const std::string& identifier, std::function<void(bool opened)> opened) override;
  void reveal(const Url& file) override;

 private:
  enum class Late { goesOn, isEnded };
  /// Absent: it couldn't be started, or was still running after `patience` seconds.
  using Ended = std::function<void(const std::optional<TaskEnd>& end, bool started)>;
  /// A tool under way; answered once, by its end or by the clock.
  struct Run {
    Ended ended;
    std::unique_ptr<Task> task;
    Timer patience;
  };

  void run(const TaskRequest& request, double patience, Late late, Ended ended);
  void finish(std::uint64_t number, const std::optional<TaskEnd>& end, bool started);
  TaskRequest request(const std::string& tool, std::vector<std::string> arguments) const;
  void handOver(const Url& url, std::function<void(bool)> opened);
  void answerLater(std::function<void(bool)> answer, bool value);
  bool hasBrowserWithoutAssociation() const;

  ShowFile showFile_;
  RunLoop& loop_;
  TaskLauncher& launcher_;
  Files& files_;
  Terminal& terminal_;
  Environment environment_;
  std::string home_;
  bool dryRun_;
  std::map<std::uint64_t, Run> runs_;
  std::uint64_t lastRun_ = 0;
  Lifetime lifetime_;
};

}  // namespace kestrelune
