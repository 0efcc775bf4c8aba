#pragma once

#include <QObject>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>
#include <string>

#include "StripWindow.hpp"
#include "XServer.hpp"
#include "base/Session.hpp"

namespace kestrelune {

/// The icon where the session bus has no place for it: in a tray of the old kind where there is one, else as a strip of
/// our own. Chosen anew when a tray comes or goes.
class StatusForms final : public QObject {
  Q_OBJECT
 public:
  StatusForms();

  void show(const StatusItemLook& look);
  void hide();
  /// There is something to be seen, and not only the wish for it.
  bool isShown() const { return tray_ || strip_; }
  /// "xembed", "strip" or "none".
  std::string form() const;
  /// Where a menu of this icon opens, in screen coordinates.
  QPoint menuPlace() const;

  std::function<void()> onClicked;
  std::function<void(const std::string& form)> onFormChanged;

 private:
  void choose();
  void tell();
  void useTray();
  void drawTray();
  void useStrip();

  StatusItemLook look_;
  bool visible_ = false;
  std::string told_;
  std::unique_ptr<QSystemTrayIcon> tray_;
  std::unique_ptr<StripWindow> strip_;
  xserver::TrayWatch trays_;
};

}  // namespace kestrelune
