#pragma once

#include <functional>
#include <memory>
#include <string>

#include "AppConfiguration.hpp"
#include "SetupFiles.hpp"
#include "base/Clock.hpp"
#include "base/Files.hpp"
#include "base/Lifetime.hpp"
#include "base/RunLoop.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// Keeps the helper running as a child of this program, where a marker file says that it is to run this way: starts
/// it, keeps its output in a log, starts it again after a crash, and stops it. Main thread only.
class BackgroundProcess {
 public:
  /// What it reaches.
  struct Reach {
    RunLoop& loop;
    const Clock& clock;
    Files& files;
    TaskLauncher& tasks;
    std::function<void(const std::string& line)> output;
    /// A program that becomes the helper after it has asked to be ended with us. Where there is none at this path the
    /// helper is started itself.
    std::string leash;
  };

  BackgroundProcess(const Configuration& configuration, Reach reach);

  /// Starts the child, unless the marker is missing, one runs, or the helper isn't in place. Safe to call at any time.
  void start();
  /// Ends the child and waits for nothing: its end is expected from now on.
  void stop();
  /// Starts the child anew, as soon as the running one has ended. False, without the marker: not ours to start.
  bool restart();
  /// True while there is a child.
  bool running() const { return process_ != nullptr; }

  /// The file to start so that the process bears the product's name: a hard link "Kestrelune" beside the resolved
  /// runtime, made where it is missing or stale; `node` itself where that can't be had.
  static Url executable(const Url& node, Files& files);
  /// The child's environment: `base` with the usual folders in front of PATH, HOME, and LANG where there is none.
  static Environment environment(Environment base, const Url& home);

 private:
  bool hasMarker() const;
  void launch();
  void ended(std::uint64_t child, const TaskEnd& end);
  void schedule(double seconds);

  HelperFiles place_;
  Url marker_;
  Url log_;
  bool dryRun_;
  Reach reach_;

  std::unique_ptr<Task> process_;
  std::uint64_t child_ = 0;  ///< tells the end of the present child from that of an earlier one
  bool stopping_ = false;
  bool startAfterExit_ = false;
  Timer pending_;
  double startedAt_ = 0;  ///< in monotonic time
  Lifetime lifetime_;
};

}  // namespace kestrelune
