#include "ClickShield.hpp"

#include <QPainter>
#include <QScreen>
#include <QSurfaceFormat>

namespace kestrelune {

ClickShield::ClickShield(std::function<void()> pressed) : pressed_(std::move(pressed)) {
  setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus);
  QSurfaceFormat transparent = format();
  transparent.setAlphaBufferSize(8);
  setFormat(transparent);
  setGeometry(screen()->virtualGeometry());
}

void ClickShield::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setCompositionMode(QPainter::CompositionMode_Clear);
  painter.fillRect(QRect(QPoint(0, 0), size()), Qt::transparent);
}

void ClickShield::mousePressEvent(QMouseEvent*) { pressed_(); }

}  // namespace kestrelune
