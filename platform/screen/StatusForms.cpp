#include "StatusForms.hpp"

#include <QCursor>
#include <QGuiApplication>

#include "Drawing.hpp"

namespace kestrelune {
namespace {

/// On Wayland a client can't place a window, and a strip anywhere would be in the way. Through Xwayland it could, but a
/// menu of it gets no keys: they go to whatever native window has the focus.
bool placesWindows() { return xserver::inUse() && !xserver::isXwayland(); }

}  // namespace

StatusForms::StatusForms() : trays_([this] { choose(); }) {}

std::string StatusForms::form() const { return tray_ ? "xembed" : strip_ ? "strip" : "none"; }

void StatusForms::show(const StatusItemLook& look) {
  const bool changed = look != look_ || !visible_;
  look_ = look;
  visible_ = true;
  choose();
  if (!changed) return;
  if (tray_) drawTray();
  if (strip_) strip_->setLook(look_);
}

void StatusForms::hide() {
  visible_ = false;
  tray_.reset();
  strip_.reset();
  tell();
}

void StatusForms::choose() {
  if (!visible_) return;
  // The toolkit would ask for a tray on the bus as well, and once for all; that one is the companion's affair.
  if (xserver::hasTray()) {
    if (!tray_) useTray();
  } else if (!strip_) {
    tray_.reset();
    if (placesWindows()) useStrip();
  }
  tell();
}

void StatusForms::tell() {
  if (form() == told_) return;
  told_ = form();
  if (onFormChanged) onFormChanged(told_);
}

void StatusForms::useTray() {
  strip_.reset();
  tray_ = std::make_unique<QSystemTrayIcon>();
  drawTray();
  connect(tray_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    const bool asksForMenu = reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context;
    if (asksForMenu && onClicked) onClicked();
  });
  tray_->show();
}

/// There is no room for the pill beside such an icon, so the tool tip says what it holds.
void StatusForms::drawTray() {
  tray_->setIcon(drawing::trayIcon(look_));
  const std::string pill = look_.pill.empty() ? "" : "\n" + look_.pill;
  tray_->setToolTip(drawing::plainToolTip(QString::fromStdString(look_.toolTip + pill)));
}

void StatusForms::useStrip() {
  tray_.reset();
  strip_ = std::make_unique<StripWindow>();
  strip_->onClicked = [this] {
    if (onClicked) onClicked();
  };
  strip_->setLook(look_);
  strip_->show();
}

QPoint StatusForms::menuPlace() const {
  if (strip_) return strip_->geometry().bottomLeft() + QPoint(0, 4);
  if (tray_ && tray_->geometry().isValid()) return tray_->geometry().bottomLeft() + QPoint(0, 2);
  return QCursor::pos();
}

}  // namespace kestrelune
