#include "Colors.hpp"

#include <QApplication>
#include <QPalette>

namespace kestrelune::colors {
namespace {

bool dark = false;

QColor pick(const char* light, const char* other) { return QColor(dark ? other : light); }

}  // namespace

bool isDark() { return dark; }

void setDark(bool wanted) {
  dark = wanted;
  QPalette palette(control(), background());
  palette.setColor(QPalette::Base, pick("#ffffff", "#1f1f21"));
  palette.setColor(QPalette::AlternateBase, background());
  palette.setColor(QPalette::Highlight, accent());
  palette.setColor(QPalette::HighlightedText, onAccent());
  palette.setColor(QPalette::PlaceholderText, tertiaryLabel());
  palette.setColor(QPalette::ToolTipBase, menuBackground());
  palette.setColor(QPalette::ToolTipText, label());
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, label());
    palette.setColor(QPalette::Disabled, role, tertiaryLabel());
  }
  QApplication::setPalette(palette);
}

QColor label() { return pick("#1d1d1f", "#f2f2f4"); }
QColor secondaryLabel() { return pick("#5a5a61", "#b4b4bb"); }
QColor tertiaryLabel() { return pick("#64646b", "#a3a3ab"); }
QColor separator() { return pick("#d9d9de", "#4a4a4f"); }
QColor background() { return pick("#f6f6f8", "#2b2b2d"); }
QColor menuBackground() { return pick("#fbfbfc", "#2d2d30"); }
QColor panel() { return pick("#e9e9ee", "#38383c"); }
QColor control() { return pick("#ffffff", "#3f3f44"); }
QColor controlEdge() { return pick("#c4c4cb", "#626268"); }
QColor mark() { return pick("#85858d", "#8b8b94"); }
QColor trough() { return pick("#dedee3", "#1f1f21"); }
QColor accent() { return pick("#1f62c4", "#2566cc"); }
QColor onAccent() { return Qt::white; }
QColor secondaryOnAccent() { return pick("#e4ecf8", "#e5edf9"); }
QColor dotRing() { return "#181818"; }

QColor tint(View::Tint tint) {
  switch (tint) {
    case View::Tint::primary: return label();
    case View::Tint::secondary: return secondaryLabel();
    case View::Tint::tertiary: return tertiaryLabel();
    case View::Tint::accent: return pick("#1f62c4", "#7db1ff");
    case View::Tint::green: return pick("#1a7045", "#5fd39a");
    case View::Tint::orange: return pick("#985000", "#ffb35c");
    case View::Tint::red: return pick("#b8251d", "#ff8a80");
  }
  return label();
}

QColor pill(StatusItemLook::PillTone tone) {
  switch (tone) {
    case StatusItemLook::PillTone::needsYou: return "#b45309";
    case StatusItemLook::PillTone::done: return "#1f7a4d";
    case StatusItemLook::PillTone::running:
    case StatusItemLook::PillTone::none: break;
  }
  return "#1f62c4";
}

QColor fromColor(const Color& color) { return {color.red, color.green, color.blue}; }

}  // namespace kestrelune::colors
