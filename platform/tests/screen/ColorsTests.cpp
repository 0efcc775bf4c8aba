#include "screen/Colors.hpp"

#include <gtest/gtest.h>

#include "Fakes/Contrast.hpp"

namespace kestrelune {
namespace {

Color plain(const QColor& color) {
  const auto part = [](int value) { return static_cast<std::uint8_t>(value); };
  return {part(color.red()), part(color.green()), part(color.blue())};
}

double contrast(const QColor& one, const QColor& other) { return contrast(plain(one), plain(other)); }

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
