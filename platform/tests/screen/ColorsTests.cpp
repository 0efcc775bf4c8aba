#include "screen/Colors.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace kestrelune {
namespace {

double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& one, const QColor& other) {
  const double a = luminance(one) + 0.05, b = luminance(other) + 0.05;
  return std::max(a, b) / std::min(a, b);
}

TEST(Colors, TextCanBeReadOnItsGround) {
  using Tone = StatusItemLook::PillTone;
  for (const bool dark : {false, true}) {
    colors::setDark(dark);
    SCOPED_TRACE(dark ? "dark" : "light");
    const std::pair<const char*, QColor> grounds[] = {
        {"window", colors::background()}, {"menu", colors::menuBackground()}, {"panel", colors::panel()}};
    for (const auto& [name, ground] : grounds) {
      for (const auto tint : {View::Tint::primary, View::Tint::secondary, View::Tint::tertiary, View::Tint::accent,
                              View::Tint::green, View::Tint::orange, View::Tint::red}) {
        EXPECT_GE(contrast(colors::tint(tint), ground), 4.5) << name << " " << static_cast<int>(tint);
      }
      EXPECT_GE(contrast(colors::mark(), ground), 3) << name << ": the edge of a box";
      EXPECT_GE(contrast(colors::tint(View::Tint::accent), ground), 3) << name << ": the ring of the focus";
    }
    for (const auto tone : {Tone::needsYou, Tone::done, Tone::running}) {
      EXPECT_GE(contrast(Qt::white, colors::pill(tone)), 4.5) << static_cast<int>(tone);
    }
    for (const auto tint : {View::Tint::primary, View::Tint::red}) {
      EXPECT_GE(contrast(colors::tint(tint), colors::control()), 4.5) << static_cast<int>(tint);
    }
    for (const Color dot : {Color{46, 125, 91}, {217, 130, 43}, {208, 52, 44}, {201, 52, 0}}) {
      EXPECT_GE(contrast(colors::fromColor(dot), colors::dotRing()), 3) << dot.red;
    }
    EXPECT_GE(contrast(colors::secondaryOnAccent(), colors::accent()), 4.5);
    EXPECT_GE(contrast(colors::label(), colors::trough()), 4.5);
    EXPECT_GE(contrast(colors::onAccent(), colors::accent()), 4.5);
  }
  colors::setDark(false);
}

}  // namespace
}  // namespace kestrelune
