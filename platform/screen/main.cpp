#include <QApplication>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>

#include "Accessible.hpp"
#include "Appearance.hpp"
#include "Rights.hpp"
#include "Screen.hpp"
#include "Style.hpp"
#include "base/Surroundings.hpp"
#include "base/System.hpp"

namespace {

/// The session's own, whatever the toolkit prefers on this desktop: in a Wayland session a window of X11 gets no keys
/// while another has them, and is blurred at most scales. It is only the way out where the toolkit's plugin is missing.
void choosePlatform() {
  if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) return;
  const bool hasX11 = !qEnvironmentVariableIsEmpty("DISPLAY");
  if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
    qputenv("QT_QPA_PLATFORM", hasX11 ? "wayland;xcb" : "wayland");
  else if (hasX11)
    qputenv("QT_QPA_PLATFORM", "xcb");
}

/// A window is worth more than its fences: what can't be had is said and no reason to end. The home folder is the one
/// that the toolkit goes by, and asking the system for the account's would cost as much as all of this.
void confineItself() {
  using namespace kestrelune;
  surroundings::clear();
  const Environment environment = system::environment();
  const auto home = environment.find("HOME");
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  const std::string open =
      confineScreen(environment, home != environment.end() ? home->second : system::homeFolder().path(),
                    program.parent_path().parent_path() / "Frameworks");
  if (!open.empty()) std::fprintf(stderr, "The screen isn't confined: %s\n", open.c_str());
}

}  // namespace

/// The screen of the companion, which starts it with one end of a socket pair: `KestreluneScreen --socket N`.
int main(int argc, char** argv) {
  int descriptor = -1;
  if (argc == 3 && std::strcmp(argv[1], "--socket") == 0) {
    std::from_chars(argv[2], argv[2] + std::strlen(argv[2]), descriptor);
  }
  if (descriptor < 0) {
    std::fputs("This program is started by KestreluneMenu.\n", stderr);
    return 2;
  }
  confineItself();
  choosePlatform();
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication application(argc, argv);
  QApplication::setApplicationName("Kestrelune");
  QApplication::setDesktopFileName("com.kestrelune.menu");
  QApplication::setStyle(new kestrelune::Style);
  kestrelune::accessible::install();
  std::optional<kestrelune::Screen> screen;
  const kestrelune::Appearance appearance([&] { screen.emplace(descriptor); });
  return QApplication::exec();
}
