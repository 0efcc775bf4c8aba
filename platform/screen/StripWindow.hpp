#pragma once

#include <QWidget>
#include <functional>

#include "base/Session.hpp"

namespace kestrelune {

/// The icon where a desktop offers no place for one: a small strip of our own at the top right edge, with flame, dot
/// and pill as a menu bar would show them.
class StripWindow final : public QWidget {
  Q_OBJECT
 public:
  StripWindow();

  void setLook(const StatusItemLook& look);
  std::function<void()> onClicked;

 protected:
  bool event(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void place();

  StatusItemLook look_;
};

}  // namespace kestrelune
