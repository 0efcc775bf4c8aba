#pragma once

#include <QIcon>
#include <QPainter>

#include "base/Session.hpp"
#include "base/View.hpp"

/// Pictures that are drawn and not loaded.
namespace kestrelune::drawing {

/// The flame in `color`, filling `box` in its own proportions.
void flame(QPainter& painter, const QRectF& box, const QColor& color);
/// The dot with a ring that separates it from whatever lies behind.
void dot(QPainter& painter, const QRectF& box, const QColor& color);
/// The icon of a tray whose colour isn't known: the flame with an outline that reads on light and dark, and the dot.
QIcon trayIcon(const StatusItemLook& look);
/// The flame on its own, for questions, title bars and task lists.
QPixmap flamePixmap(const QSize& size, double ratio);
QIcon windowIcon();

/// A text for a tool tip that no toolkit reads markup in, whatever it holds; wrapped where it is long.
QString plainToolTip(const QString& text);

/// Takes a window's corners away where nobody blends them with what is behind.
void cutCorners(QWidget& window, double radius);
/// The ground and the edge of such a window.
void surface(QPainter& painter, const QWidget& window, double radius);

QSize pillSize(const QString& text);
void pill(QPainter& painter, const QRect& box, const QString& text, StatusItemLook::PillTone tone);

void symbol(QPainter& painter, const QRectF& box, View::Icon icon, const QColor& color);

}  // namespace kestrelune::drawing
