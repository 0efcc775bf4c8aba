#pragma once

#include <QColor>
#include <optional>

#include "base/Session.hpp"
#include "base/View.hpp"

/// The colours of the screen, in light and dark. Every pair of text and ground has a contrast of at least 4.5, or of 7
/// where high contrast is wanted.
namespace kestrelune::colors {

struct Scheme {
  bool dark = false;
  bool highContrast = false;
  std::optional<QColor> accent;  ///< made as dark or light as its place needs; absent: our own
  bool operator==(const Scheme&) const = default;
};

/// Gives the toolkit's own widgets our colours too; all windows hear of a change as one of the palette.
void setScheme(const Scheme& wanted);
bool isDark();

QColor label();
QColor secondaryLabel();
QColor tertiaryLabel();
QColor separator();
QColor background();
QColor menuBackground();
QColor panel();        ///< the rounded ground behind a group of things
QColor control();      ///< the ground of a button
QColor controlEdge();  ///< the line around it
QColor mark();         ///< the line around a box, the ground of a switch that is off
QColor trough();       ///< the ground of a picker
QColor accent();       ///< dark enough for white text
QColor onAccent();
QColor secondaryOnAccent();
QColor dotRing();  ///< around the dot on the icon, whatever ground that is on
QColor tint(View::Tint tint);
/// The pill's ground, for white text.
QColor pill(StatusItemLook::PillTone tone);
QColor fromColor(const Color& color);

}  // namespace kestrelune::colors
