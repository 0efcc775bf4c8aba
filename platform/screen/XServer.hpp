#pragma once

#include <QAbstractNativeEventFilter>
#include <QTimer>
#include <cstdint>
#include <functional>

/// Questions to the X server that the toolkit doesn't ask, or asks only once. All are false elsewhere.
namespace kestrelune::xserver {

bool inUse();
/// The server is one within a Wayland compositor: what isn't a window of it is out of its sight.
bool isXwayland();
/// A tray of the old kind, for icons that are windows.
bool hasTray();
/// Somebody who takes over the clipboard from programs that end.
bool hasClipboardManager();
/// Somebody who blends windows: without one, what is transparent is black.
bool hasCompositor();

/// Tells, while it lives, that a tray of the old kind came or went.
class TrayWatch final : public QAbstractNativeEventFilter {
 public:
  explicit TrayWatch(std::function<void()> changed);
  ~TrayWatch() override;
  TrayWatch(const TrayWatch&) = delete;
  TrayWatch& operator=(const TrayWatch&) = delete;

 private:
  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

  QTimer settled_;
  std::uint32_t selection_ = 0;
  std::uint8_t event_ = 0;  ///< what the server calls a change of a selection's owner; 0: it doesn't tell
};

}  // namespace kestrelune::xserver
