#include "Style.hpp"

#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QStyleOptionSlider>

#include "Colors.hpp"
#include "Metrics.hpp"

namespace kestrelune {
namespace {

using metrics::px;

constexpr double kBarWidth = 12, kThumbWidth = 6, kLeastThumb = 28;
constexpr double kFocusLine = 2, kFieldCorner = 4;

/// Where the thumb is along the bar, with the full width of the bar across.
QRect thumbRect(const QStyleOptionSlider& bar) {
  const bool across = bar.orientation == Qt::Horizontal;
  const int room = across ? bar.rect.width() : bar.rect.height();
  const qint64 range = qint64{bar.maximum} - bar.minimum;
  int length = room;
  if (range > 0) {
    const auto shown = static_cast<int>(qint64{room} * bar.pageStep / (range + bar.pageStep));
    length = std::clamp(shown, std::min(px(kLeastThumb), room), room);
  }
  const int start =
      QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition, room - length, bar.upsideDown);
  return across ? QRect(bar.rect.x() + start, bar.rect.y(), length, bar.rect.height())
                : QRect(bar.rect.x(), bar.rect.y() + start, bar.rect.width(), length);
}

}  // namespace

Style::Style() : QProxyStyle("fusion") {}

int Style::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
  if (metric == PM_ScrollBarExtent) return px(kBarWidth);
  if (metric == PM_ScrollView_ScrollBarSpacing) return 0;
  return QProxyStyle::pixelMetric(metric, option, widget);
}

void Style::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                          const QWidget* widget) const {
  const bool isLine = element == PE_PanelLineEdit && qobject_cast<const QLineEdit*>(widget);
  const bool isText = element == PE_Frame && qobject_cast<const QPlainTextEdit*>(widget);
  if (!isLine && !isText) return QProxyStyle::drawPrimitive(element, option, painter, widget);
  const bool focused = option->state & State_HasFocus;
  const double line = focused ? px(kFocusLine) : 1, half = line / 2;
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(QPen(focused ? colors::tint(View::Tint::accent) : colors::mark(), line));
  painter->setBrush(isLine ? option->palette.brush(QPalette::Base) : QBrush(Qt::NoBrush));
  painter->drawRoundedRect(QRectF(option->rect).adjusted(half, half, -half, -half), px(kFieldCorner), px(kFieldCorner));
  painter->restore();
}

QRect Style::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                            const QWidget* widget) const {
  const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
  if (control != CC_ScrollBar || !bar) return QProxyStyle::subControlRect(control, option, part, widget);
  const QRect thumb = thumbRect(*bar), all = bar->rect;
  const bool across = bar->orientation == Qt::Horizontal;
  switch (part) {
    case SC_ScrollBarGroove: return all;
    case SC_ScrollBarSlider: return thumb;
    case SC_ScrollBarSubPage:
      return across ? QRect(all.topLeft(), thumb.bottomLeft()) : QRect(all.topLeft(), thumb.topRight());
    case SC_ScrollBarAddPage:
      return across ? QRect(thumb.topRight(), all.bottomRight()) : QRect(thumb.bottomLeft(), all.bottomRight());
    default: return {};
  }
}

void Style::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                               const QWidget* widget) const {
  const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
  if (control != CC_ScrollBar || !bar) return QProxyStyle::drawComplexControl(control, option, painter, widget);
  if (bar->maximum <= bar->minimum) return;
  QRectF thumb = thumbRect(*bar);
  const double edge = (px(kBarWidth) - px(kThumbWidth)) / 2.0;
  thumb.adjust(edge, edge, -edge, -edge);
  const bool held = (bar->activeSubControls & SC_ScrollBarSlider) && (bar->state & (State_Sunken | State_MouseOver));
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(Qt::NoPen);
  painter->setBrush(held ? colors::secondaryLabel() : colors::mark());
  painter->drawRoundedRect(thumb, px(kThumbWidth) / 2.0, px(kThumbWidth) / 2.0);
  painter->restore();
}

}  // namespace kestrelune
