#include "Colors.hpp"

#include <QApplication>
#include <QPalette>

namespace kestrelune::colors {
namespace {

QColor pick(const char* light, const char* dark) { return QColor(isDark() ? dark : light); }

}  // namespace

bool isDark() { return QApplication::palette().color(QPalette::Window).lightness() < 128; }

void followDesktop() {
  const QString theme = qEnvironmentVariable("GTK_THEME").toLower();
  if (isDark() || !(theme.endsWith(":dark") || theme.endsWith("-dark"))) return;
  QPalette palette(QColor("#3a3a3c"), QColor("#2b2b2d"));
  palette.setColor(QPalette::Base, QColor("#1f1f21"));
  palette.setColor(QPalette::AlternateBase, QColor("#2b2b2d"));
  palette.setColor(QPalette::Highlight, QColor("#2b6fd6"));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::PlaceholderText, QColor("#a0a0a6"));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, QColor("#f2f2f4"));
    palette.setColor(QPalette::Disabled, role, QColor("#8c8c92"));
  }
  QApplication::setPalette(palette);
}

QColor label() { return pick("#1d1d1f", "#f2f2f4"); }
QColor secondaryLabel() { return pick("#5f5f66", "#b4b4bb"); }
QColor tertiaryLabel() { return pick("#73737a", "#9a9aa2"); }
QColor separator() { return pick("#d9d9de", "#4a4a4f"); }
QColor background() { return pick("#f6f6f8", "#2b2b2d"); }
QColor menuBackground() { return pick("#fbfbfc", "#2d2d30"); }
QColor panel() { return pick("#ececf0", "#363639"); }
QColor control() { return pick("#ffffff", "#4b4b50"); }
QColor controlEdge() { return pick("#c4c4cb", "#626268"); }
QColor trough() { return pick("#dedee3", "#1f1f21"); }
QColor accent() { return pick("#1f62c4", "#2b6fd6"); }
QColor onAccent() { return Qt::white; }

QColor tint(View::Tint tint) {
  switch (tint) {
    case View::Tint::primary: return label();
    case View::Tint::secondary: return secondaryLabel();
    case View::Tint::tertiary: return tertiaryLabel();
    case View::Tint::accent: return pick("#1f62c4", "#7db1ff");
    case View::Tint::green: return pick("#1f7a4d", "#5fd39a");
    case View::Tint::orange: return pick("#a85400", "#ffb35c");
    case View::Tint::red: return pick("#c0281f", "#ff8a80");
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
