#pragma once

#include "base/Dates.hpp"
#include "base/Files.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// Tells the helper that this program is alive, by a small file that is rewritten from time to time and removed on a
/// clean exit.
class Heartbeat {
 public:
  Heartbeat(Files& files, Url url, pid_t pid);

  /// Writes the file whole, making its folder where it is missing: a reader finds the old content or the new. Throws
  /// `RuntimeError::posix`; the old file then stands.
  void write(Date now);

  /// Removes what a writer that was killed left beside the file. Only while no other may write.
  void removeTemporaries();

  /// Removes the file if it carries this process's id, and does nothing otherwise.
  void removeOwnedFile();

 private:
  Files& files_;
  Url url_;
  pid_t pid_;
};

}  // namespace kestrelune
