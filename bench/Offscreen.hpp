#pragma once

#include <QApplication>

namespace kestrelune {

/// Makes the one application that widgets need, on a display in memory.
inline void offscreen() {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  static int count = 1;
  static char name[] = "bench";
  static char* arguments[] = {name, nullptr};
  static QApplication application(count, arguments);
}

}  // namespace kestrelune
