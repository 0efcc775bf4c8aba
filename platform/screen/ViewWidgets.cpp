#include "ViewWidgets.hpp"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include "Colors.hpp"
#include "Drawing.hpp"
#include "Metrics.hpp"
#include "Motion.hpp"
#include "Texts.hpp"

namespace kestrelune {
namespace {

using metrics::px;

constexpr qsizetype kMostVisibleCharacters = 2000;
constexpr double kLeastWidth = 90;
constexpr int kSpinnerFrame = 80, kSpinnerSpokes = 12;

}  // namespace

void ElidedLabel::setText(const QString& text, const QColor& color) {
  text_ = texts::oneLine(text.left(kMostVisibleCharacters).toStdString(), kMostVisibleCharacters);
  color_ = color;
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
  updateGeometry();
  update();
}

/// What stands beside it gets its room first, but for this.
QSize ElidedLabel::sizeHint() const {
  const QFontMetrics measures(font());
  return {std::min(measures.horizontalAdvance(text_) + 2, px(kLeastWidth)), measures.height()};
}

QSize ElidedLabel::minimumSizeHint() const { return sizeHint(); }

void ElidedLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setPen(color_);
  const QString fitted = QFontMetrics(font()).elidedText(text_, Qt::ElideRight, width());
  painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, fitted);
  setToolTip(fitted == text_ ? QString() : drawing::plainToolTip(text_));
}

void CardWidget::setPressable(bool pressable) {
  pressable_ = pressable;
  setFocusPolicy(pressable ? Qt::StrongFocus : Qt::NoFocus);
  setCursor(pressable ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void CardWidget::press() {
  if (pressable_ && onPressed) onPressed();
}

void CardWidget::paintEvent(QPaintEvent*) {
  const bool lit = pressable_ && (underMouse() || hasFocus());
  if (ground_ == Ground::none && !lit) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(pressable_ && hasFocus() ? QPen(colors::tint(View::Tint::accent), 1.6) : QPen(Qt::NoPen));
  painter.setBrush(colors::panel());
  painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), px(7), px(7));
}

void CardWidget::mousePressEvent(QMouseEvent* event) {
  down_ = pressable_ && event->button() == Qt::LeftButton;
  if (!down_) QWidget::mousePressEvent(event);
}

void CardWidget::mouseReleaseEvent(QMouseEvent* event) {
  if (std::exchange(down_, false) && rect().contains(event->position().toPoint())) press();
}

void CardWidget::keyPressEvent(QKeyEvent* event) {
  const bool presses = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
  if (pressable_ && presses) return press();
  QWidget::keyPressEvent(event);
}

void CardWidget::enterEvent(QEnterEvent*) { update(); }
void CardWidget::leaveEvent(QEvent*) { update(); }
void CardWidget::focusInEvent(QFocusEvent*) { update(); }
void CardWidget::focusOutEvent(QFocusEvent*) { update(); }

SpinnerWidget::SpinnerWidget(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  timer_.setInterval(kSpinnerFrame);
  connect(&timer_, &QTimer::timeout, this, [this] {
    if (motion::isReduced()) return;
    turn_ = (turn_ + 1) % kSpinnerSpokes;
    update();
  });
}

QSize SpinnerWidget::sizeHint() const { return {px(28), px(28)}; }
void SpinnerWidget::showEvent(QShowEvent*) { timer_.start(); }
void SpinnerWidget::hideEvent(QHideEvent*) { timer_.stop(); }

void SpinnerWidget::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(width() / 2.0, height() / 2.0);
  const double radius = width() / 2.0;
  for (int spoke = 0; spoke < kSpinnerSpokes; ++spoke) {
    QColor color = colors::secondaryLabel();
    color.setAlphaF(0.15F +
                    0.85F * static_cast<float>((spoke - turn_ + kSpinnerSpokes) % kSpinnerSpokes) / kSpinnerSpokes);
    painter.setPen(QPen(color, radius * 0.16, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(0, -radius * 0.5), QPointF(0, -radius * 0.88));
    painter.rotate(360.0 / kSpinnerSpokes);
  }
}

void SymbolWidget::setSymbol(View::Icon icon, View::Tint tint) {
  icon_ = icon;
  tint_ = tint;
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  update();
}

QSize SymbolWidget::sizeHint() const { return {px(18), px(18)}; }

void SymbolWidget::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  drawing::symbol(painter, QRectF(rect()).adjusted(1, 1, -1, -1), icon_, colors::tint(tint_));
}

void StepsWidget::setSteps(int filled, int total) {
  filled_ = filled;
  total_ = total;
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
  update();
}

QSize StepsWidget::sizeHint() const { return {px(120), px(5)}; }

void StepsWidget::paintEvent(QPaintEvent*) {
  if (total_ <= 0) return;
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  const double gap = px(6), bar = (width() - gap * (total_ - 1)) / total_;
  for (int step = 0; step < total_; ++step) {
    painter.setBrush(step < filled_ ? colors::accent() : colors::separator());
    painter.drawRoundedRect(QRectF(step * (bar + gap), 0, bar, height()), height() / 2.0, height() / 2.0);
  }
}

}  // namespace kestrelune
