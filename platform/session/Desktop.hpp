#pragma once

#include <memory>
#include <string>

#include "base/Files.hpp"
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

/// What starts the application at login: the launcher that the installed desktop file `com.kestrelune.menu` names, if
/// `bundle` stands where a launcher starts it, in the home folder's "Applications"; otherwise the program in `bundle`.
std::string launcherOf(Files& files, const Environment& environment, const Url& home, const Url& bundle);

/// The variables by which a program finds the session it runs in, as far as they are set.
Environment sessionVariables(const Environment& environment);

/// A desktop session that can become another one: the user logged out, the program stayed, and the user is back.
class DesktopSession : public Session {
 public:
  /// Goes over to the session of these variables, for everything that is shown or started from now on, and takes the
  /// permission to come to the front that is among them. Variables without a display are no session to go over to.
  virtual void adopt(const Environment& variables) = 0;
};

/// The session of this desktop: status item, menu, notifications over the session bus; windows, questions and the
/// clipboard through the screen, which is started when something must be shown. Works, with less, where there is no
/// bus or no display, and picks up a bus peer that comes late or comes back. `loop` is one of `makeSessionRunLoop`.
std::unique_ptr<DesktopSession> makeDesktopSession(RunLoop& loop, TaskLauncher& launcher,
                                                   const DesktopOptions& options);

}  // namespace kestrelune
