#include <QFontMetrics>
#include <QPainter>

#include "Colors.hpp"
#include "Controls.hpp"
#include "Metrics.hpp"

namespace kestrelune {
namespace {

using metrics::px;

constexpr double kSwitchWidth = 36, kSwitchHeight = 20, kIndicator = 16, kGap = 8, kCorner = 4;
/// Around a box, for the ring that shows the focus.
constexpr double kRing = 2;

QSize boxSize(const QAbstractButton& button) {
  const QSize text = QFontMetrics(button.font()).size(Qt::TextShowMnemonic, button.text());
  return {px(kIndicator + kGap + 2 * kRing) + text.width(),
          std::max(px(kIndicator + 2 * kRing), text.height() + px(4))};
}

void drawFocus(QPainter& painter, const QRectF& box, double corner) {
  const double by = px(kRing) / 2.0;
  painter.setPen(QPen(colors::tint(View::Tint::accent), px(kRing)));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(box.adjusted(-by, -by, by, by), corner + by, corner + by);
}

void drawMark(QPainter& painter, const QRectF& box, bool round, const QColor& color) {
  const double size = box.width();
  if (round) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    return painter.drawEllipse(box.center(), size * 0.2, size * 0.2);
  }
  const auto at = [&](double x, double y) { return box.topLeft() + QPointF(x, y) * size; };
  painter.setPen(QPen(color, size * 0.13, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPolyline(QPolygonF{at(0.25, 0.52), at(0.43, 0.7), at(0.75, 0.3)});
}

/// A check box or, round, a radio button, with its title.
void drawBox(QAbstractButton& button, bool round) {
  QPainter painter(&button);
  painter.setRenderHint(QPainter::Antialiasing);
  const bool on = button.isChecked(), enabled = button.isEnabled();
  const double size = px(kIndicator), corner = round ? size / 2 : px(kCorner);
  const QRectF box(px(kRing), (button.height() - size) / 2, size, size);
  painter.setPen(on && enabled ? QPen(Qt::NoPen) : QPen(enabled ? colors::mark() : colors::controlEdge()));
  painter.setBrush(!enabled ? colors::panel() : on ? colors::accent() : colors::control());
  painter.drawRoundedRect(box, corner, corner);
  if (on) drawMark(painter, box, round, enabled ? colors::onAccent() : colors::tertiaryLabel());
  if (button.hasFocus()) drawFocus(painter, box, corner);
  painter.setPen(enabled ? colors::label() : colors::tertiaryLabel());
  painter.setFont(button.font());
  const int left = px(kRing + kIndicator + kGap);
  const QString fitted = QFontMetrics(button.font())
                             .elidedText(button.text(), Qt::ElideRight, button.width() - left, Qt::TextShowMnemonic);
  painter.drawText(button.rect().adjusted(left, 0, 0, 0),
                   Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextHideMnemonic, fitted);
}

}  // namespace

QSize ToggleBox::sizeHint() const {
  if (!text().isEmpty()) return boxSize(*this);
  return {px(kSwitchWidth + 2 * kRing), px(kSwitchHeight + 2 * kRing)};
}

bool ToggleBox::hitButton(const QPoint& position) const { return rect().contains(position); }

void ToggleBox::paintEvent(QPaintEvent*) {
  if (!text().isEmpty()) return drawBox(*this, false);
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF track(width() - px(kSwitchWidth + kRing), (height() - px(kSwitchHeight)) / 2.0, px(kSwitchWidth),
                     px(kSwitchHeight));
  const double corner = track.height() / 2, knob = track.height() - px(4);
  painter.setPen(Qt::NoPen);
  painter.setBrush(!isEnabled() ? colors::controlEdge() : isChecked() ? colors::accent() : colors::mark());
  painter.drawRoundedRect(track, corner, corner);
  painter.setBrush(Qt::white);
  painter.drawEllipse(
      QRectF(isChecked() ? track.right() - knob - px(2) : track.left() + px(2), track.top() + px(2), knob, knob));
  if (hasFocus()) drawFocus(painter, track, corner);
}

QSize RadioBox::sizeHint() const { return boxSize(*this); }
bool RadioBox::hitButton(const QPoint& position) const { return rect().contains(position); }
void RadioBox::paintEvent(QPaintEvent*) { drawBox(*this, true); }

}  // namespace kestrelune
