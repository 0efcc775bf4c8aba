#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/RunLoop.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// One screen that was started, and the lines to and from it. Abstract so that the link's rules run without a child.
/// Destroying it (not from within one of its events) ends the connection; a screen in order then ends by itself.
class ScreenChannel {
 public:
  struct Events {
    std::function<void(std::string_view line)> line;  ///< without its line feed
    std::function<void()> writable;                   ///< after a `write` that took less than it was given
    std::function<void()> ended;  ///< once: the process or the connection is gone, or a line never ends
  };

  virtual ~ScreenChannel() = default;
  /// Takes as many bytes as fit without waiting, and says how many.
  virtual std::size_t write(std::string_view bytes) = 0;
  /// Ends the process at once, whatever it is doing.
  virtual void kill() = 0;
};

/// Starts a screen; null when that failed. No event comes from within.
using ScreenStarter = std::function<std::unique_ptr<ScreenChannel>(ScreenChannel::Events)>;

/// A screen as a child process over an inherited socket pair, which it finds by its argument `--socket N`.
ScreenStarter makeScreenStarter(RunLoop& loop, TaskLauncher& launcher, std::string program, Environment environment);

}  // namespace kestrelune
