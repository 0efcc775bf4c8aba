#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "BackgroundCommand.hpp"
#include "base/RunLoop.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// The last line of a stream that isn't empty, in bounded memory: of a line without an end its last 8,192 bytes.
class LastLine {
 public:
  void add(std::string_view piece);
  /// The last line, trimmed, invalid UTF-8 repaired, counting what came after the last line end. Its longest is 8,192
  /// characters.
  std::string text() const;

 private:
  std::string rest_;  ///< what came after the last line end
  std::string last_;
};

/// Runs short-lived children.
class HelperCommandRunner {
 public:
  explicit HelperCommandRunner(RunLoop& loop) : loop_(loop) {}

  /// Commands started where they are asked for and watched in the background. Output and errors are read as one; the
  /// code of a child that a signal ended is the signal's number. A timeout without output gets the text for it.
  ExecuteCommand executor() const;
  /// For our own end: see `TaskLauncher::leave`.
  void leave() const;

 private:
  using Running = std::vector<std::weak_ptr<WatchedTask>>;

  RunLoop& loop_;
  std::shared_ptr<Running> running_ = std::make_shared<Running>();
};

}  // namespace kestrelune
