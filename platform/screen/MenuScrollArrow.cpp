#include "MenuScrollArrow.hpp"

#include <QMouseEvent>
#include <QPainter>

#include "Colors.hpp"
#include "Metrics.hpp"

namespace kestrelune {
namespace {

using metrics::px;

constexpr int kStepMilliseconds = 30;
constexpr double kStepPoints = 8;

}  // namespace

MenuScrollArrow::MenuScrollArrow(Direction direction, QScrollBar& bar, QWidget* menu)
    : QWidget(menu), direction_(direction), bar_(bar) {
  hide();
  timer_.setInterval(kStepMilliseconds);
  connect(&timer_, &QTimer::timeout, this, [this] { step(); });
  connect(&bar_, &QScrollBar::valueChanged, this, [this] { update(); });
}

bool MenuScrollArrow::hasMore() const {
  return direction_ == Direction::up ? bar_.value() > bar_.minimum() : bar_.value() < bar_.maximum();
}

void MenuScrollArrow::step() { bar_.setValue(bar_.value() + (direction_ == Direction::up ? -1 : 1) * px(kStepPoints)); }

void MenuScrollArrow::paintEvent(QPaintEvent*) {
  if (!hasMore()) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(colors::secondaryLabel(), px(1.4), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  const double tip = direction_ == Direction::up ? -px(2.5) : px(2.5);
  const QPointF middle(width() / 2.0, height() / 2.0);
  painter.drawPolyline(
      QPolygonF{middle + QPointF(-px(5), -tip), middle + QPointF(0, tip), middle + QPointF(px(5), -tip)});
}

void MenuScrollArrow::enterEvent(QEnterEvent*) { timer_.start(); }

void MenuScrollArrow::leaveEvent(QEvent*) { timer_.stop(); }

/// A click on an edge is for no row, and closes nothing.
void MenuScrollArrow::mouseReleaseEvent(QMouseEvent* event) { event->accept(); }

}  // namespace kestrelune
