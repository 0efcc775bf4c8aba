#include "session/SessionCopy.hpp"

#include "base/System.hpp"

namespace kestrelune::session_copy {
namespace {

struct Entry {
  const char* english;
  const char* german;
};

constexpr Entry entry(Key key) {
  switch (key) {
    case Key::ok: return {"OK", "OK"};
    case Key::open: return {"Open", "Öffnen"};
    case Key::noTray:
      return {"Start Kestrelune again for its window. This desktop shows no icons in its bar.",
              "Starte Kestrelune erneut für sein Fenster. Dieser Desktop zeigt keine Symbole in seiner Leiste."};
    case Key::noTrayGnome:
      return {
          "Start Kestrelune again for its window. GNOME shows icons in its bar once you install "
          "gnome-shell-extension-appindicator and switch it on.",
          "Starte Kestrelune erneut für sein Fenster. GNOME zeigt Symbole in seiner Leiste, sobald du "
          "gnome-shell-extension-appindicator installierst und einschaltest."};
    case Key::throughXwayland:
      return {
          "Windows go through Xwayland: the toolkit can't reach Wayland (its plugin is in the package qt6-wayland).",
          "Fenster gehen durch Xwayland: Das Toolkit erreicht Wayland nicht (sein Plugin ist im Paket qt6-wayland)."};
    case Key::noDisplayAsk: return {"No display to ask on: %@", "Kein Bildschirm für die Frage: %@"};
    case Key::noDisplayWindow: return {"No display for the window: %@", "Kein Bildschirm für das Fenster: %@"};
    case Key::noBus: return {"There is no session bus.", "Es gibt keinen Sitzungsbus."};
    case Key::noNotifications:
      return {"Nothing on this desktop shows notifications.", "Auf diesem Desktop zeigt nichts Mitteilungen an."};
    case Key::notifyFailed: return {"The notification was not taken: %@", "Die Mitteilung wurde nicht angenommen: %@"};
    case Key::noTerminal:
      return {"No terminal emulator was found. Install one, or name yours in the variable TERMINAL.",
              "Es wurde kein Terminal gefunden. Installiere eines oder nenne deines in der Variablen TERMINAL."};
    case Key::noDisplayCommand:
      return {"There is no display for a terminal.", "Es gibt keinen Bildschirm für ein Terminal."};
    case Key::terminalFailed:
      return {"The terminal could not be started: %@", "Das Terminal konnte nicht gestartet werden: %@"};
  }
  return {"", ""};
}

}  // namespace

std::string text(Key key, const std::vector<std::string>& preferredLanguages) {
  const bool german = !preferredLanguages.empty() && preferredLanguages.front().starts_with("de");
  return german ? entry(key).german : entry(key).english;
}

std::string text(Key key) { return text(key, system::preferredLanguages()); }

}  // namespace kestrelune::session_copy
