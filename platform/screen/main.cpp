#include <QApplication>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "Accessible.hpp"
#include "Appearance.hpp"
#include "Screen.hpp"
#include "Style.hpp"

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
  // Through Xwayland, where it is there, icon and menu can be placed.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("DISPLAY"))
    qputenv("QT_QPA_PLATFORM", "xcb;wayland");
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication application(argc, argv);
  QApplication::setApplicationName("Kestrelune");
  QApplication::setDesktopFileName("com.kestrelune.menu");
  QApplication::setStyle(new kestrelune::Style);
  const kestrelune::Appearance appearance;
  kestrelune::accessible::install();
  kestrelune::Screen screen(descriptor);
  return QApplication::exec();
}
