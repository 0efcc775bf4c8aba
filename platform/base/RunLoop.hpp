#pragma once

#include <functional>
#include <memory>

namespace kestrelune {

/// Something that goes on for as long as its owner keeps it: a timer, a watch. Destroying it ends it; destroying it
/// from within its own callback is allowed.
class Subscription {
 public:
  virtual ~Subscription() = default;
};

using Timer = std::unique_ptr<Subscription>;

/// The main loop. Everything that holds state lives on the thread that calls `run`; work elsewhere comes back through
/// `post`. Only `post` and `background` may be called from any thread.
class RunLoop {
 public:
  using Work = std::function<void()>;

  virtual ~RunLoop() = default;

  /// Runs `work` on the main thread in a later pass, in the order of posting.
  virtual void post(Work work) = 0;
  /// Runs `work` once, no earlier than `seconds` from now in monotonic time.
  [[nodiscard]] virtual Timer after(double seconds, Work work) = 0;
  /// Runs `work` every `seconds`, first after one period. Missed periods are not made up for.
  [[nodiscard]] virtual Timer every(double seconds, Work work) = 0;
  /// Runs `work` on a thread of low priority. Threads exist only while there is such work.
  virtual void background(Work work) = 0;
  /// Calls `work` on the main thread whenever `descriptor` is readable, or has ended.
  [[nodiscard]] virtual std::unique_ptr<Subscription> watch(int descriptor, Work work) = 0;
  /// Turns a Unix signal into a callback on the main thread. The signal is blocked from then on; children started by
  /// `TaskLauncher` don't inherit that.
  [[nodiscard]] virtual std::unique_ptr<Subscription> onSignal(int signal, Work work) = 0;

  /// Serves until `stop`. Returns at once when `stop` was called before.
  virtual void run() = 0;
  virtual void stop() = 0;
  /// After `run`: drops background work that hasn't begun and waits for what has, at most `seconds`. False when some is
  /// still under way: it may use the loop for as long as the process lives.
  [[nodiscard]] virtual bool finish(double seconds) = 0;
};

/// A small loop on poll(2), for command-line programs and tests. Needs no session.
std::unique_ptr<RunLoop> makePollRunLoop();

}  // namespace kestrelune
