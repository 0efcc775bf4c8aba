#pragma once

#include <memory>
#include <string>

#include "base/RunLoop.hpp"
#include "base/Session.hpp"
#include "base/Task.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// The run loop on sd-event.
std::unique_ptr<RunLoop> makeSessionRunLoop();

struct DesktopOptions {
  Url screenProgram;     ///< `Contents/Helpers/KestreluneScreen`
  std::string launcher;  ///< what an autostart entry starts
  bool dryRun = false;   ///< nothing outside this process is changed by links, terminal, login item
};

/// The session of this desktop: status item, menu, notifications over the session bus; windows, questions and the
/// clipboard through the screen, which is started when something must be shown. Works, with less, where there is no
/// bus or no display, and picks up a bus peer that comes late or comes back. `loop` is one of `makeSessionRunLoop`.
std::unique_ptr<Session> makeDesktopSession(RunLoop& loop, TaskLauncher& launcher, DesktopOptions options);

}  // namespace kestrelune
