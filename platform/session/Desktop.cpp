#include "session/Desktop.hpp"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <utility>

#include "base/Clock.hpp"
#include "base/System.hpp"
#include "session/ActivationToken.hpp"
#include "session/Bus.hpp"
#include "session/DesktopEntry.hpp"
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

constexpr std::array kVariables = {"DISPLAY",
                                   "WAYLAND_DISPLAY",
                                   "XAUTHORITY",
                                   "DBUS_SESSION_BUS_ADDRESS",
                                   "XDG_RUNTIME_DIR",
                                   "XDG_SESSION_ID",
                                   "XDG_SESSION_TYPE",
                                   "XDG_SESSION_CLASS",
                                   "XDG_SESSION_DESKTOP",
                                   "XDG_SESSION_PATH",
                                   "XDG_SEAT",
                                   "XDG_SEAT_PATH",
                                   "XDG_VTNR",
                                   "XDG_CURRENT_DESKTOP",
                                   "XDG_MENU_PREFIX",
                                   "DESKTOP_SESSION",
                                   "SESSION_MANAGER",
                                   "SSH_AUTH_SOCK",
                                   "ICEAUTHORITY",
                                   "AT_SPI_BUS_ADDRESS",
                                   "GNOME_SETUP_DISPLAY",
                                   ActivationToken::kNames[0],
                                   ActivationToken::kNames[1]};

std::string currentDesktop(const Environment& environment) {
  const auto found = environment.find("XDG_CURRENT_DESKTOP");
  return found == environment.end() ? "" : found->second;
}

class CurrentDesktop final : public DesktopSession {
 public:
  CurrentDesktop(SessionRunLoop& loop, TaskLauncher& launcher, const DesktopOptions& options)
      : loop_(loop),
        launcher_(launcher),
        screenProgram_(options.screenProgram.path()),
        environment_(environmentForChildren(system::environment())),
        bus_(loop),
        link_(loop, clock_, makeScreenStarter(loop, launcher, screenProgram_, environment_),
              ScreenLink::Display::of(environment_), firstLanguage()),
        statusItem_(loop, bus_, link_, activation_, currentDesktop(environment_)),
        windows_(loop, clock_, link_, activation_, options.dryRun),
        alert_(loop, link_, activation_),
        pasteboard_(loop, link_),
        notifications_(bus_, activation_),
        fileManager_(bus_),
        loginItem_(systemFiles(), system::configFolder().path(), options.launcher, options.dryRun),
        terminal_(launcher, loop, systemFiles(), environment_, link_.hasDisplay(), options.dryRun),
        workspace_(
            [this](const Url& file, std::function<void(bool)> answer) { fileManager_.show(file, std::move(answer)); },
            loop, launcher, systemFiles(), terminal_, environment_, system::homeFolder().path(), options.dryRun) {
    activation_.provide(system::environment());
  }

  StatusItem& statusItem() override { return statusItem_; }
  Windows& windows() override { return windows_; }
  Alert& alert() override { return alert_; }
  Pasteboard& pasteboard() override { return pasteboard_; }
  Workspace& workspace() override { return workspace_; }
  NotificationCenter& notifications() override { return notifications_; }
  LoginItem& loginItem() override { return loginItem_; }
  Terminal& terminal() override { return terminal_; }

  void adopt(const Environment& variables) override {
    activation_.provide(variables);
    const auto display = ScreenLink::Display::of(variables);
    if (!display.exists) return;
    const bool sameDisplay = isSame(variables, {"DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "XDG_RUNTIME_DIR"});
    system::adoptVariables({kVariables.begin(), kVariables.end()}, environmentForChildren(variables));
    environment_ = environmentForChildren(system::environment());
    terminal_.setEnvironment(environment_, true);
    workspace_.setEnvironment(environment_);
    bus_.move(Bus::userAddress());
    link_.move(makeScreenStarter(loop_, launcher_, screenProgram_, environment_), display, sameDisplay);
    statusItem_.reconsider(currentDesktop(environment_));
  }

 private:
  bool isSame(const Environment& variables, std::initializer_list<const char*> names) const {
    return std::all_of(names.begin(), names.end(), [&](const char* name) {
      const auto ours = environment_.find(name), theirs = variables.find(name);
      return ours == environment_.end() ? theirs == variables.end()
                                        : theirs != variables.end() && ours->second == theirs->second;
    });
  }

  SystemClock clock_;
  SessionRunLoop& loop_;
  TaskLauncher& launcher_;
  const std::string screenProgram_;
  Environment environment_;
  Bus bus_;
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

std::string launcherOf(Files& files, const Environment& environment, const Url& home, const Url& bundle) {
  std::string program = bundle.appending("Contents/MacOS/KestreluneMenu").path();
  if (bundle.path() != home.appending("Applications/Kestrelune.app").path()) return program;
  const auto entry = desktop_entry::findApplication(files, environment, home.path(), "com.kestrelune.menu");
  if (!entry) return program;
  const std::vector<std::string> command = desktop_entry::commandLine(*entry);
  // One that somebody wrapped in a command of their own can't be told apart from its wrapping.
  return command.size() == 1 && isExecutableFile(files, command.front()) ? command.front() : program;
}

Environment sessionVariables(const Environment& environment) {
  Environment found;
  for (const char* name : kVariables)
    if (const auto variable = environment.find(name); variable != environment.end()) found.insert(*variable);
  return found;
}

std::unique_ptr<DesktopSession> makeDesktopSession(RunLoop& loop, TaskLauncher& launcher,
                                                   const DesktopOptions& options) {
  return std::make_unique<CurrentDesktop>(static_cast<SessionRunLoop&>(loop), launcher, options);
}

}  // namespace kestrelune
