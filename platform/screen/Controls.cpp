#include "Controls.hpp"

#include <QPainter>

#include "Colors.hpp"
#include "Metrics.hpp"

namespace kestrelune {
namespace {

using metrics::px;
using Style = View::ButtonStyle;

constexpr double kRadius = 6, kHeight = 26, kPadding = 12, kPlainPadding = 0;
constexpr double kTabHeight = 28;

/// A line around what has the focus, inside its bounds.
void focusLine(QPainter& painter, const QRectF& box) {
  painter.setPen(QPen(colors::tint(View::Tint::accent), 1.6));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(box.adjusted(1, 1, -1, -1), px(kRadius), px(kRadius));
}

}  // namespace

PushButton::PushButton() {
  QSizePolicy policy(QSizePolicy::Maximum, QSizePolicy::Minimum);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
  setAutoDefault(true);
  setAttribute(Qt::WA_Hover);
}

void PushButton::setLook(const QString& text, View::ButtonStyle style) {
  style_ = style;
  setText(text);
  setFont(metrics::font(13, style == Style::primary));
  setCursor(isPlain() ? Qt::PointingHandCursor : Qt::ArrowCursor);
  updateGeometry();
}

int PushButton::padding() const { return px(isPlain() ? kPlainPadding : kPadding); }

QSize PushButton::around(const QSize& text) const {
  const int least = px(style_ == Style::primary ? kHeight + 4 : kHeight);
  return {text.width() + 2 * padding(), std::max(least, text.height() + px(4))};
}

QSize PushButton::sizeHint() const { return around(QFontMetrics(font()).size(Qt::TextShowMnemonic, text())); }

/// As wide as its longest word; how high it then is, the width tells.
QSize PushButton::minimumSizeHint() const {
  const QSize words = QFontMetrics(font()).size(Qt::TextShowMnemonic, text().replace(' ', '\n'));
  return {around(words).width(), sizeHint().height()};
}

int PushButton::heightForWidth(int width) const {
  if (width >= sizeHint().width()) return sizeHint().height();
  const QRect room(0, 0, width - 2 * padding(), QWIDGETSIZE_MAX);
  return around(QFontMetrics(font()).boundingRect(room, Qt::TextWordWrap | Qt::TextShowMnemonic, text()).size())
      .height();
}

void PushButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  QColor ink = colors::label();
  if (style_ == Style::destructive) ink = colors::tint(View::Tint::red);
  if (isPlain()) ink = colors::tint(View::Tint::accent);
  if (!isPlain()) {
    const bool strong = style_ == Style::primary && isEnabled();
    QColor ground = strong ? colors::accent() : colors::control();
    if (isDown()) {
      ground = ground.darker(115);
    } else if (underMouse() && isEnabled()) {
      ground = colors::isDark() ? ground.lighter(112) : ground.darker(104);
    }
    painter.setPen(strong ? QPen(Qt::NoPen) : QPen(colors::controlEdge(), 1));
    painter.setBrush(ground);
    painter.drawRoundedRect(box, px(kRadius), px(kRadius));
    if (strong) ink = colors::onAccent();
  }
  if (!isEnabled()) ink = colors::tertiaryLabel();
  QFont font = this->font();
  font.setUnderline(isPlain() && underMouse() && !hasFocus());
  painter.setFont(font);
  painter.setPen(ink);
  const bool whole = width() >= sizeHint().width();
  painter.drawText(rect().adjusted(padding(), 0, -padding(), 0),
                   Qt::AlignCenter | Qt::TextHideMnemonic | (whole ? Qt::TextSingleLine : Qt::TextWordWrap), text());
  if (!hasFocus()) return;
  if (isPlain()) {
    // No frame: its text stands in line with what is above and below.
    const int thick = px(2);
    return painter.fillRect(QRect(0, (height() + QFontMetrics(font).height()) / 2, width(), thick), ink);
  }
  const bool onAccent = style_ == Style::primary && isEnabled();
  if (!onAccent) return focusLine(painter, box);
  painter.setPen(QPen(colors::onAccent(), 1.4));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(box.adjusted(2.5, 2.5, -2.5, -2.5), px(kRadius) - 2, px(kRadius) - 2);
}

SegmentedBar::SegmentedBar() {
  setDrawBase(false);
  setExpanding(true);
  setUsesScrollButtons(false);
  setElideMode(Qt::ElideRight);
  setAttribute(Qt::WA_Hover);
}

QSize SegmentedBar::tabSizeHint(int index) const {
  const QSize least = minimumTabSizeHint(index);
  return {least.width() + px(8), least.height()};
}

/// Its whole text as it is when the tab is chosen, so that none moves when another is: the bar widens its window rather
/// than cut one.
QSize SegmentedBar::minimumTabSizeHint(int index) const {
  const QFontMetrics chosen(metrics::font(13, true));
  return {chosen.horizontalAdvance(tabText(index)) + px(8), std::max(px(kTabHeight), chosen.height() + px(8))};
}

void SegmentedBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors::trough());
  painter.drawRoundedRect(QRectF(rect()), px(kRadius + 1), px(kRadius + 1));
  for (int i = 0; i < count(); ++i) {
    const QRectF piece = QRectF(tabRect(i)).adjusted(2, 2, -2, -2);
    const bool chosen = i == currentIndex();
    if (chosen) {
      painter.setPen(QPen(colors::controlEdge(), 1));
      painter.setBrush(colors::control());
      painter.drawRoundedRect(piece.adjusted(0.5, 0.5, -0.5, -0.5), px(kRadius), px(kRadius));
      if (hasFocus()) focusLine(painter, piece);
    }
    painter.setFont(metrics::font(13, chosen));
    painter.setPen(isEnabled() ? colors::label() : colors::tertiaryLabel());
    const QString fitted = QFontMetrics(painter.font()).elidedText(tabText(i), elideMode(), tabRect(i).width() - px(8));
    painter.drawText(tabRect(i), Qt::AlignCenter | Qt::TextSingleLine | Qt::TextHideMnemonic, fitted);
  }
}

}  // namespace kestrelune
