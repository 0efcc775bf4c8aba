#include "Colors.hpp"

#include <QApplication>
#include <QPalette>
#include <algorithm>
#include <cmath>

namespace kestrelune::colors {
namespace {

constexpr double kContrast = 4.5, kHighContrast = 7;
constexpr auto kAccent = "#1f62c4", kDarkAccent = "#2566cc", kDarkAccentText = "#7db1ff";

Scheme scheme;
/// The accent as a ground for white text, and as a text.
QColor accentGround = kAccent, accentText = kAccent;

struct Variants {
  const char *light, *dark, *lightHigh, *darkHigh;
};

QColor pick(const Variants& colors) {
  if (scheme.highContrast) return QColor(scheme.dark ? colors.darkHigh : colors.lightHigh);
  return QColor(scheme.dark ? colors.dark : colors.light);
}

double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& one, const QColor& other) {
  const auto [low, high] = std::minmax({luminance(one) + 0.05, luminance(other) + 0.05});
  return high / low;
}

/// The colour, as much nearer to `end` as it takes to stand out from `other`.
QColor standingOut(QColor color, const QColor& other, const QColor& end) {
  constexpr int kSteps = 40;
  const QColor from = color;
  const double wanted = scheme.highContrast ? kHighContrast : kContrast;
  const auto mixed = [](int a, int b, int step) { return a + (b - a) * step / kSteps; };
  for (int step = 1; step <= kSteps && contrast(color, other) < wanted; ++step) {
    color = QColor(mixed(from.red(), end.red(), step), mixed(from.green(), end.green(), step),
                   mixed(from.blue(), end.blue(), step));
  }
  return color;
}

void chooseAccent() {
  accentGround =
      standingOut(scheme.accent.value_or(scheme.dark ? kDarkAccent : kAccent), secondaryOnAccent(), Qt::black);
  accentText = standingOut(scheme.accent.value_or(scheme.dark ? kDarkAccentText : kAccent), panel(),
                           scheme.dark ? Qt::white : Qt::black);
}

}  // namespace

bool isDark() { return scheme.dark; }

void setScheme(const Scheme& wanted) {
  scheme = wanted;
  chooseAccent();
  QPalette palette(control(), background());
  palette.setColor(QPalette::Base, pick({"#ffffff", "#1f1f21", "#ffffff", "#000000"}));
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

QColor label() { return pick({"#1d1d1f", "#f2f2f4", "#000000", "#ffffff"}); }
QColor secondaryLabel() { return pick({"#5a5a61", "#b4b4bb", "#1f1f23", "#ececf0"}); }
QColor tertiaryLabel() { return pick({"#64646b", "#a3a3ab", "#303036", "#dcdce2"}); }
QColor separator() { return pick({"#d9d9de", "#4a4a4f", "#5a5a61", "#b4b4bb"}); }
QColor background() { return pick({"#f6f6f8", "#2b2b2d", "#ffffff", "#000000"}); }
QColor menuBackground() { return pick({"#fbfbfc", "#2d2d30", "#ffffff", "#000000"}); }
QColor panel() { return pick({"#e9e9ee", "#38383c", "#ececf0", "#1c1c1f"}); }
QColor control() { return pick({"#ffffff", "#3f3f44", "#ffffff", "#141416"}); }
QColor controlEdge() { return pick({"#c4c4cb", "#626268", "#1d1d1f", "#f2f2f4"}); }
QColor mark() { return pick({"#85858d", "#8b8b94", "#303036", "#dcdce2"}); }
QColor trough() { return pick({"#dedee3", "#1f1f21", "#e0e0e6", "#1c1c1f"}); }
QColor accent() { return accentGround; }
QColor onAccent() { return Qt::white; }
QColor secondaryOnAccent() { return pick({"#e4ecf8", "#e5edf9", "#ffffff", "#ffffff"}); }
QColor dotRing() { return "#181818"; }

QColor tint(View::Tint tint) {
  switch (tint) {
    case View::Tint::primary: return label();
    case View::Tint::secondary: return secondaryLabel();
    case View::Tint::tertiary: return tertiaryLabel();
    case View::Tint::accent: return accentText;
    case View::Tint::green: return pick({"#1a7045", "#5fd39a", "#0b4a2b", "#8fe8bd"});
    case View::Tint::orange: return pick({"#985000", "#ffb35c", "#5f3300", "#ffd0a0"});
    case View::Tint::red: return pick({"#b8251d", "#ff8a80", "#7d100b", "#ffb9b3"});
  }
  return label();
}

QColor pill(StatusItemLook::PillTone tone) {
  switch (tone) {
    case StatusItemLook::PillTone::needsYou: return standingOut("#b45309", Qt::white, Qt::black);
    case StatusItemLook::PillTone::done: return standingOut("#1f7a4d", Qt::white, Qt::black);
    case StatusItemLook::PillTone::running:
    case StatusItemLook::PillTone::none: break;
  }
  return accent();
}

QColor fromColor(const Color& color) { return {color.red, color.green, color.blue}; }

}  // namespace kestrelune::colors
