#pragma once

#include <string>
#include <vector>

/// The few texts that the desktop layer says itself, in both languages.
namespace kestrelune::session_copy {

enum class Key {
  ok,                ///< the button of a message that has none
  open,              ///< what a click on a notification does, for servers that show it
  noTray,            ///< the desktop has no place for the icon; banners show the first forty characters
  noTrayGnome,       ///< the same where a package of the distribution helps
  throughXwayland,   ///< a line of the log
  noDisplayAsk,      ///< %@: the question
  noDisplayWindow,   ///< %@: the window's title
  noBus,             ///< there is no session bus
  noNotifications,   ///< nothing shows notifications
  notifyFailed,      ///< %@: what the server said
  noTerminal,        ///< no terminal emulator is installed
  noDisplayCommand,  ///< a visible command without a display
  terminalFailed,    ///< %@: the emulator that couldn't be started
};

/// German when the first preferred language begins with "de", otherwise English.
std::string text(Key key, const std::vector<std::string>& preferredLanguages);
/// In the language of this process.
std::string text(Key key);

}  // namespace kestrelune::session_copy
