#pragma once

#include <QFont>

/// One point is one logical pixel times the user's text scale, everywhere.
namespace kestrelune::metrics {

/// 1 where the user's text has the usual size; at least 0.8, at most 3.
double textScale();
/// How much larger the user wants texts, where the toolkit doesn't know it from the display. All windows hear of a
/// change as one of the font.
void setTextFactor(double factor);
int px(double points);

/// The interface font at a size in points; the menu's is 13.
QFont font(double points, bool semibold = false);

}  // namespace kestrelune::metrics
