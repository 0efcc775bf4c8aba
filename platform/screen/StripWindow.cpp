#include "StripWindow.hpp"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include "Colors.hpp"
#include "Drawing.hpp"
#include "Metrics.hpp"
#include "Texts.hpp"

namespace kestrelune {
namespace {

using metrics::px;

constexpr double kHeight = 26, kPadding = 8, kFlameWidth = 22, kFlameHeight = 20, kDot = 8, kGap = 5, kEdge = 8;
constexpr qsizetype kLongestPill = 200;

constexpr Qt::WindowFlags kFlags =
    Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint;

}  // namespace

StripWindow::StripWindow() : QWidget(nullptr, kFlags) {
  setAttribute(Qt::WA_TranslucentBackground);
  setAttribute(Qt::WA_ShowWithoutActivating);
  setAttribute(Qt::WA_QuitOnClose, false);
  setFocusPolicy(Qt::StrongFocus);
  setWindowTitle("Kestrelune");
  setCursor(Qt::PointingHandCursor);
  const auto follow = [this](const QScreen* screen) {
    if (!screen) return;
    connect(screen, &QScreen::availableGeometryChanged, this, [this] { place(); });
    place();
  };
  connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, follow);
  follow(QGuiApplication::primaryScreen());
}

void StripWindow::setLook(const StatusItemLook& look) {
  look_ = look;
  setAccessibleName(QString::fromStdString(look.accessibilityLabel));
  setAccessibleDescription(QString::fromStdString(look.toolTip));
  setToolTip(drawing::plainToolTip(QString::fromStdString(look.toolTip)));
  place();
  update();
}

void StripWindow::place() {
  const QString text = texts::oneLine(look_.pill, kLongestPill);
  int width = px(2 * kPadding + kFlameWidth);
  if (!text.isEmpty()) width += px(kGap) + drawing::pillSize(text).width();
  const QScreen* screen = QGuiApplication::primaryScreen();
  if (!screen) return;
  const QRect available = screen->availableGeometry();
  setGeometry(available.right() + 1 - width - px(kEdge), available.top() + px(kEdge), width, px(kHeight));
  drawing::cutCorners(*this, height() / 2.0);
}

void StripWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  drawing::surface(painter, *this, height() / 2.0);

  const QRectF icon(px(kPadding), (height() - px(kFlameHeight)) / 2.0, px(kFlameWidth), px(kFlameHeight));
  drawing::flame(painter, icon, colors::label());
  const double ring = px(kDot);
  drawing::dot(painter, {icon.right() - ring, icon.bottom() - ring, ring, ring}, colors::fromColor(look_.dot));
  const QString text = texts::oneLine(look_.pill, kLongestPill);
  if (text.isEmpty()) return;
  const QSize size = drawing::pillSize(text);
  drawing::pill(
      painter, {static_cast<int>(icon.right()) + px(kGap), (height() - size.height()) / 2, size.width(), size.height()},
      text, look_.tone);
}

bool StripWindow::event(QEvent* event) {
  if (event->type() == QEvent::ApplicationFontChange) place();
  return QWidget::event(event);
}

void StripWindow::mouseReleaseEvent(QMouseEvent* event) {
  if (rect().contains(event->position().toPoint()) && onClicked) onClicked();
}

void StripWindow::keyPressEvent(QKeyEvent* event) {
  const bool opens = event->key() == Qt::Key_Return || event->key() == Qt::Key_Space || event->key() == Qt::Key_Down;
  if (opens && onClicked) return onClicked();
  QWidget::keyPressEvent(event);
}

}  // namespace kestrelune
