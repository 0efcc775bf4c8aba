#include "session/Desktop.hpp"

#include <utility>

#include "base/Clock.hpp"
#include "base/System.hpp"
#include "session/ActivationToken.hpp"
#include "session/DesktopAbsent.hpp"
#include "session/DesktopLoginItem.hpp"
#include "session/DesktopTerminal.hpp"
#include "session/DesktopWorkspace.hpp"
#include "session/ScreenAlert.hpp"
#include "session/ScreenChannel.hpp"
#include "session/ScreenLink.hpp"
#include "session/ScreenWindows.hpp"

namespace kestrelune {
namespace {

std::string firstLanguage() {
  const std::vector<std::string> languages = system::preferredLanguages();
  return languages.empty() ? "en" : languages.front();
}

/// Without one on the bus the folder is opened instead.
DesktopWorkspace::ShowFile noFileManager(RunLoop& loop) {
  return [&loop](const Url&, std::function<void(bool)> answer) {
    loop.post([answer = std::move(answer)] { answer(false); });
  };
}

class DesktopSession final : public Session {
 public:
  DesktopSession(RunLoop& loop, TaskLauncher& launcher, const DesktopOptions& options)
      : environment_(environmentForChildren(system::environment())),
        display_(ScreenLink::Display::of(environment_)),
        link_(loop, clock_, makeScreenStarter(loop, launcher, options.screenProgram.path(), environment_), display_,
              firstLanguage()),
        windows_(loop, clock_, link_, activation_),
        alert_(loop, link_),
        pasteboard_(loop, link_),
        notifications_(loop),
        loginItem_(systemFiles(), system::configFolder().path(), options.launcher, options.dryRun),
        terminal_(launcher, loop, systemFiles(), environment_, display_.exists, options.dryRun),
        workspace_(noFileManager(loop), loop, launcher, systemFiles(), terminal_, environment_,
                   system::homeFolder().path(), options.dryRun) {}

  StatusItem& statusItem() override { return statusItem_; }
  Windows& windows() override { return windows_; }
  Alert& alert() override { return alert_; }
  Pasteboard& pasteboard() override { return pasteboard_; }
  Workspace& workspace() override { return workspace_; }
  NotificationCenter& notifications() override { return notifications_; }
  LoginItem& loginItem() override { return loginItem_; }
  Terminal& terminal() override { return terminal_; }

 private:
  SystemClock clock_;
  const Environment environment_;
  const ScreenLink::Display display_;
  ActivationToken activation_{clock_};
  ScreenLink link_;
  AbsentStatusItem statusItem_;
  ScreenWindows windows_;
  ScreenAlert alert_;
  ScreenPasteboard pasteboard_;
  AbsentNotifications notifications_;
  DesktopLoginItem loginItem_;
  DesktopTerminal terminal_;
  DesktopWorkspace workspace_;
};

}  // namespace

std::unique_ptr<Session> makeDesktopSession(RunLoop& loop, TaskLauncher& launcher, DesktopOptions options) {
  return std::make_unique<DesktopSession>(loop, launcher, options);
}

}  // namespace kestrelune
