#pragma once

#include <QColor>

#include "base/Session.hpp"
#include "base/View.hpp"

/// The colours of the screen, in light and dark.
namespace kestrelune::colors {

bool isDark();
/// Takes over a dark palette where the desktop asks for dark and the toolkit didn't notice.
void followDesktop();

QColor label();
QColor secondaryLabel();
QColor tertiaryLabel();
QColor separator();
QColor background();
QColor menuBackground();
QColor panel();        ///< the rounded ground behind a group of things
QColor control();      ///< the ground of a button
QColor controlEdge();  ///< the line around it
QColor trough();       ///< the ground of a picker
QColor accent();       ///< dark enough for white text
QColor onAccent();
QColor tint(View::Tint tint);
/// The pill's ground; white text on it has a contrast of at least 4.5.
QColor pill(StatusItemLook::PillTone tone);
QColor fromColor(const Color& color);

}  // namespace kestrelune::colors
