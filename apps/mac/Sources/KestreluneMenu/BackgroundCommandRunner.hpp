#pragma once

#include <string>
#include <string_view>

#include "BackgroundCommand.hpp"
#include "base/RunLoop.hpp"

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
namespace HelperCommandRunner {

/// Commands started where they are asked for and watched in the background. Output and errors are read as one; the
/// code of a child that a signal ended is the signal's number. A timeout without output gets the text for it.
ExecuteCommand executor(RunLoop& loop);

}  // namespace HelperCommandRunner

}  // namespace kestrelune
