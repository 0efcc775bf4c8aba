#include "session/Desktop.hpp"

#include <utility>

#include "base/Clock.hpp"
#include "base/System.hpp"
#include "session/ActivationToken.hpp"
#include "session/Bus.hpp"
#include "session/DesktopFileManager.hpp"
#include "session/DesktopLoginItem.hpp"
#include "session/DesktopNotifications.hpp"
#include "session/DesktopTerminal.hpp"
#include "session/DesktopWorkspace.hpp"
#include "session/ScreenAlert.hpp"
#include "session/ScreenChannel.hpp"
#include "session/ScreenLink.hpp"
#include "session/ScreenWindows.hpp"
#include "session/SessionRunLoop.hpp"
#include "session/StatusItemPresenter.hpp"

namespace kestrelune {
namespace {

std::string firstLanguage() {
  const std::vector<std::string> languages = system::preferredLanguages();
  return languages.empty() ? "en" : languages.front();
}

class DesktopSession final : public Session {
 public:
  DesktopSession(SessionRunLoop& loop, TaskLauncher& launcher, const DesktopOptions& options)
      : environment_(environmentForChildren(system::environment())),
        bus_(loop),
        display_(ScreenLink::Display::of(environment_)),
        link_(loop, clock_, makeScreenStarter(loop, launcher, options.screenProgram.path(), environment_), display_,
              firstLanguage()),
        statusItem_(loop, bus_, link_, activation_),
        windows_(loop, clock_, link_, activation_),
        alert_(loop, link_),
        pasteboard_(loop, link_),
        notifications_(bus_, activation_),
        fileManager_(bus_),
        loginItem_(systemFiles(), system::configFolder().path(), options.launcher, options.dryRun),
        terminal_(launcher, loop, systemFiles(), environment_, display_.exists, options.dryRun),
        workspace_(
            [this](const Url& file, std::function<void(bool)> answer) { fileManager_.show(file, std::move(answer)); },
            loop, launcher, systemFiles(), terminal_, environment_, system::homeFolder().path(), options.dryRun) {}

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
  Bus bus_;
  const ScreenLink::Display display_;
  ActivationToken activation_{clock_};
  ScreenLink link_;
  StatusItemPresenter statusItem_;
  ScreenWindows windows_;
  ScreenAlert alert_;
  ScreenPasteboard pasteboard_;
  DesktopNotifications notifications_;
  DesktopFileManager fileManager_;
  DesktopLoginItem loginItem_;
  DesktopTerminal terminal_;
  DesktopWorkspace workspace_;
};

}  // namespace

std::unique_ptr<Session> makeDesktopSession(RunLoop& loop, TaskLauncher& launcher, DesktopOptions options) {
  return std::make_unique<DesktopSession>(static_cast<SessionRunLoop&>(loop), launcher, options);
}

}  // namespace kestrelune
