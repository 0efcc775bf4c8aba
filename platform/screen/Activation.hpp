#pragma once

#include <QWidget>
#include <string>

/// Coming to the front by the means of the session.
namespace kestrelune::activation {

/// Brings a window to the front as soon as it is on the display, and gives it the keys, by the permission that the
/// click gave that led here; `token` may be empty. Asks for attention where the desktop doesn't allow that.
void bringForward(QWidget& window, const std::string& token);

}  // namespace kestrelune::activation
