#include "Drawing.hpp"

#include <QBitmap>
#include <QFontMetrics>
#include <QPainterPath>
#include <QWidget>

#include "Colors.hpp"
#include "Metrics.hpp"
#include "XServer.hpp"
#include "base/FlamePath.hpp"

namespace kestrelune::drawing {
namespace {

using metrics::px;

constexpr qsizetype kLongestToolTip = 1000;
constexpr int kLongestToolTipLine = 60;
constexpr double kPillPadding = 7, kPillHeight = 16;

QPainterPath flamePath(const QRectF& box) {
  const double scale = std::min(box.width() / flame::kWidth, box.height() / flame::kHeight);
  const QPointF origin = box.center() - QPointF(flame::kWidth, flame::kHeight) * scale / 2;
  const auto at = [&](const flame::Point& point) { return origin + QPointF(point.x, point.y) * scale; };
  QPainterPath path;
  path.setFillRule(Qt::OddEvenFill);
  for (const flame::Contour& contour : flame::kContours) {
    path.moveTo(at(contour.start));
    for (const flame::Curve& curve : contour.curves)
      path.cubicTo(at(curve.control1), at(curve.control2), at(curve.end));
    path.closeSubpath();
  }
  return path;
}

QPixmap trayPixmap(int size, const StatusItemLook& look) {
  QPixmap pixmap(size, size);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  const double edge = size / 16.0;
  const QPainterPath path = flamePath(QRectF(edge / 2, edge / 2, size - edge, size - edge));
  painter.strokePath(path, QPen(QColor(255, 255, 255, 230), 1.6 * edge, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.fillPath(path, QColor("#33302e"));
  const double dotSize = size * 0.42;
  dot(painter, {size - dotSize, size - dotSize, dotSize, dotSize}, colors::fromColor(look.dot));
  return pixmap;
}

}  // namespace

void flame(QPainter& painter, const QRectF& box, const QColor& color) { painter.fillPath(flamePath(box), color); }

void dot(QPainter& painter, const QRectF& box, const QColor& color) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors::dotRing());
  painter.drawEllipse(box);
  const double width = box.width() * 0.16;
  painter.setBrush(color);
  painter.drawEllipse(box.adjusted(width, width, -width, -width));
}

QIcon trayIcon(const StatusItemLook& look) {
  QIcon icon;
  for (const int size : {16, 22, 24, 32, 48, 64}) icon.addPixmap(trayPixmap(size, look));
  return icon;
}

QPixmap flamePixmap(const QSize& size, double ratio) {
  QPixmap pixmap(size * ratio);
  pixmap.setDevicePixelRatio(ratio);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  flame(painter, QRectF(QPointF(0, 0), size), QColor("#d4620a"));
  return pixmap;
}

QIcon windowIcon() {
  static const QIcon icon = [] {
    QIcon result;
    for (const int size : {16, 32, 48}) result.addPixmap(flamePixmap({size, size}, 1));
    return result;
  }();
  return icon;
}

QString plainToolTip(const QString& text) {
  if (text.isEmpty()) return text;
  // Only what is told to be rich is unescaped again, so that "&" shows as one; and the toolkit would wrap two words.
  const QString style = text.size() > kLongestToolTipLine ? "pre-wrap" : "pre";
  return "<p style='white-space:" + style + "'>" + text.left(kLongestToolTip).toHtmlEscaped() + "</p>";
}

void cutCorners(QWidget& window, double radius) {
  if (!xserver::inUse() || xserver::hasCompositor()) return window.clearMask();
  QBitmap shape(window.size());
  shape.clear();
  QPainter painter(&shape);
  painter.setBrush(Qt::color1);
  painter.setPen(Qt::color1);
  painter.drawRoundedRect(QRectF(window.rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
  painter.end();
  window.setMask(shape);
}

void surface(QPainter& painter, const QWidget& window, double radius) {
  // The smooth edge has nothing to blend with there but this.
  if (!window.mask().isEmpty()) painter.fillRect(window.rect(), colors::separator());
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(colors::separator());
  painter.setBrush(colors::menuBackground());
  painter.drawRoundedRect(QRectF(window.rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

QSize pillSize(const QString& text) {
  const QFontMetrics measures(metrics::font(11, true));
  return {measures.horizontalAdvance(text) + 2 * px(kPillPadding), px(kPillHeight)};
}

void pill(QPainter& painter, const QRect& box, const QString& text, StatusItemLook::PillTone tone) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors::pill(tone));
  painter.drawRoundedRect(box, box.height() / 2.0, box.height() / 2.0);
  painter.setPen(Qt::white);
  painter.setFont(metrics::font(11, true));
  painter.drawText(box, Qt::AlignCenter | Qt::TextSingleLine, text);
}

void symbol(QPainter& painter, const QRectF& box, View::Icon icon, const QColor& color) {
  using Icon = View::Icon;
  painter.setRenderHint(QPainter::Antialiasing);
  const double size = box.width();
  const QPointF center = box.center();
  const auto at = [&](double x, double y) { return box.topLeft() + QPointF(x, y) * size; };
  const QPen inverse(colors::background(), size * 0.11, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
  const QPen line(color, size * 0.1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
  const auto disc = [&] {
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(box);
    painter.setPen(inverse);
    painter.setBrush(Qt::NoBrush);
  };
  const auto ring = [&] {
    painter.setPen(line);
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(box.adjusted(size * 0.06, size * 0.06, -size * 0.06, -size * 0.06));
  };
  switch (icon) {
    case Icon::none: return;
    case Icon::checkCircle:
      disc();
      painter.drawPolyline(QPolygonF{at(0.29, 0.53), at(0.44, 0.68), at(0.72, 0.35)});
      return;
    case Icon::exclamationCircle:
      disc();
      painter.drawLine(at(0.5, 0.27), at(0.5, 0.55));
      painter.drawPoint(at(0.5, 0.73));
      return;
    case Icon::clock:
      disc();
      painter.drawPolyline(QPolygonF{at(0.5, 0.26), center, at(0.67, 0.6)});
      return;
    case Icon::minusCircle:
      ring();
      painter.drawLine(at(0.3, 0.5), at(0.7, 0.5));
      return;
    case Icon::circle: ring(); return;
    case Icon::chevron:
      painter.setPen(line);
      painter.drawPolyline(QPolygonF{at(0.38, 0.24), at(0.64, 0.5), at(0.38, 0.76)});
      return;
    case Icon::refresh:
      painter.setPen(line);
      painter.drawArc(box.adjusted(size * 0.15, size * 0.15, -size * 0.15, -size * 0.15), 40 * 16, 290 * 16);
      painter.drawPolyline(QPolygonF{at(0.6, 0.16), at(0.78, 0.26), at(0.7, 0.45)});
      return;
    case Icon::folder:
      painter.setPen(line);
      painter.drawPolygon(
          QPolygonF{at(0.1, 0.22), at(0.4, 0.22), at(0.5, 0.34), at(0.9, 0.34), at(0.9, 0.8), at(0.1, 0.8)});
      return;
    case Icon::flame: flame(painter, box, color); return;
  }
}

}  // namespace kestrelune::drawing
