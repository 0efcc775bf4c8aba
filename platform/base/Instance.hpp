#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Descriptor.hpp"
#include "base/RunLoop.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// Lets one instance of the program run an account. The first one holds a lock, which the system takes from it however
/// it ends, and listens beside it; a later one tells the first that it was started, and what the session that it was
/// started in is like, and ends. One that is started while the first ends waits for that and takes its place. However
/// many knock, at most 16 a second are let in, so that the one that runs goes on with its work. All on the main thread.
class Instance {
 public:
  enum class Start {
    first,     ///< this is the one to run
    told,      ///< another one runs and knows
    unheeded,  ///< another one runs, and doesn't answer
  };
  /// A later start, with the variables that it told.
  using Summoned = std::function<void(const Environment& told)>;

  /// `folder` holds the lock and the socket, and is made, for the user alone, where it is missing.
  explicit Instance(std::string folder);
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  /// Waits at most `patience` seconds for another one to answer or to end. Where there can be no lock the answer is
  /// `first`: better two than none. Until `serve` later ones wait.
  Start begin(const Environment& tell, double patience);
  /// Answers later ones from now on.
  void serve(RunLoop& loop, Summoned summoned);
  /// Answers no more: this one is ending. The lock goes with the object.
  void close();

 private:
  struct Visit;

  bool lock();
  void listen();
  void listenOn();
  void pause();
  bool tell(const Environment& variables, double patience);
  void accept();
  void read(Visit& visit);
  void leave(const Visit& visit);

  const std::string folder_;
  Descriptor lock_;
  Descriptor socket_;
  RunLoop* loop_ = nullptr;
  Summoned summoned_;
  std::unique_ptr<Subscription> listening_;
  Timer pause_;
  std::size_t begun_ = 0;  ///< visits since the last pause
  std::vector<std::unique_ptr<Visit>> visits_;
};

}  // namespace kestrelune
