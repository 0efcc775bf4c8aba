#pragma once

#include <QRasterWindow>
#include <functional>

namespace kestrelune {

/// A window that covers everything and shows nothing. In a Wayland compositor no grab of an X11 program reaches the
/// windows of others: that somebody clicked one of them is only seen by a window that lies over it.
class ClickShield final : public QRasterWindow {
 public:
  explicit ClickShield(std::function<void()> pressed);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  std::function<void()> pressed_;
};

}  // namespace kestrelune
