#pragma once

#include "Fakes/Testing.hpp"
#include "base/RunLoop.hpp"

namespace kestrelune {

/// Serves a real loop until `done`, which is asked every few milliseconds. False when that takes over 20 seconds.
inline bool serveUntil(RunLoop& loop, const std::function<bool()>& done) {
  bool finished = false;
  const Timer check = loop.every(0.002, [&] {
    if (!done()) return;
    finished = true;
    loop.stop();
  });
  const Timer limit = loop.after(20, [&] { loop.stop(); });
  loop.run();
  return finished;
}

}  // namespace kestrelune
