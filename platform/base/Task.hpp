#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Files.hpp"
#include "base/RunLoop.hpp"

namespace kestrelune {

using Environment = std::map<std::string, std::string>;

/// What to run and how. The child leads a process group of its own, has default signal handling and an empty signal
/// mask, and inherits no descriptor but its three streams and the one that is passed on.
struct TaskRequest {
  enum class Stream {
    null,     ///< /dev/null
    inherit,  ///< ours
    capture,  ///< a pipe, drained while the child runs; see `captureLimit`
    file,     ///< appended to `outputDescriptor`
  };

  /// Where a child finds `passedDescriptor`.
  static constexpr int kPassedDescriptor = 3;

  std::string executable;  ///< absolute; PATH isn't searched
  std::vector<std::string> arguments;
  std::optional<Environment> environment;  ///< absent: ours
  std::string folder;                      ///< working folder; empty: ours
  std::optional<std::string> input;        ///< written to standard input, which is then closed; absent: /dev/null
  Stream output = Stream::null;
  Stream errors = Stream::null;
  bool errorsJoinOutput = false;  ///< standard error goes where standard output goes
  bool detached = false;          ///< leads a session of its own, too: what befalls ours doesn't reach it
  bool endsWithUs = false;        ///< of no use to anybody once we have gone; see `leave`
  int outputDescriptor = -1;      ///< for `Stream::file`; stays the caller's
  int passedDescriptor = -1;      ///< the child has it as `kPassedDescriptor`; stays the caller's; -1: none
  std::size_t captureLimit =
      65536;  ///< bytes kept of each captured stream, from its start; the rest is read and dropped
};

struct TaskEnd {
  enum class Reason { exited, signalled };
  Reason reason = Reason::exited;
  int status = 0;  ///< exit status, or the signal's number
  std::string output;
  std::string errors;
};

/// A running child. Destroying it lets the child go on; it is reaped all the same.
class Task {
 public:
  virtual ~Task() = default;
  virtual pid_t pid() const = 0;
  virtual bool running() const = 0;
  /// Asks politely (SIGTERM).
  virtual void terminate() = 0;
  virtual void signal(int number) = 0;
};

/// Starts children, on the main thread. A seam, so that supervisors run under fakes.
class TaskLauncher {
 public:
  using Ended = std::function<void(const TaskEnd&)>;

  virtual ~TaskLauncher() = default;
  /// The child, or the error number of why it couldn't be started. `ended` is called once, on the main thread, never
  /// from within this call, also when the `Task` was destroyed. A grandchild that holds a pipe delays nothing.
  virtual Outcome<std::unique_ptr<Task>> launch(const TaskRequest& request, Ended ended) = 0;
  /// For our own end, which waits for no child. One that ends with us is killed, with its group. Any other goes on, and
  /// what it still writes into a captured stream is read and dropped, so that it neither fails nor waits. No end is
  /// told any more.
  virtual void leave() = 0;
};

/// posix_spawn and pidfd on the given loop.
std::unique_ptr<TaskLauncher> makeTaskLauncher(RunLoop& loop);

struct WatchedEnd {
  TaskEnd end;
  bool timedOut = false;
  int launchError = 0;  ///< not 0: nothing ran
};

/// A child that a thread watches without the loop. Its output and errors are captured together, whatever the request
/// says of them.
class WatchedTask {
 public:
  virtual ~WatchedTask() = default;
  /// Waits, on any thread, for the child's end. `onOutput` gets each piece of what it writes as it comes; nothing else
  /// is kept. `timeout` seconds of monotonic time after its start the child gets SIGTERM, one second later SIGKILL.
  virtual WatchedEnd watch(double timeout, const std::function<void(std::string_view)>& onOutput) = 0;
  /// As that of a launcher, for this child, while another thread may be watching it.
  virtual void leave() const = 0;
};

/// Starts a child on the calling thread, which may be any. A child inherits the priority of the thread that starts it,
/// so one that isn't itself background work is started on the main thread, and watched on another.
Outcome<std::shared_ptr<WatchedTask>> startWatched(const TaskRequest& request);

/// Both on the calling thread.
WatchedEnd runWatched(const TaskRequest& request, double timeout,
                      const std::function<void(std::string_view)>& onOutput);

}  // namespace kestrelune
