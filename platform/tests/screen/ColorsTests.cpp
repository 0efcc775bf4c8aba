#include "screen/Colors.hpp"

#include "Fakes/Contrast.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

Color plain(const QColor& color) {
  const auto part = [](int value) { return static_cast<std::uint8_t>(value); };
  return {part(color.red()), part(color.green()), part(color.blue())};
}

double contrast(const QColor& one, const QColor& other) { return contrast(plain(one), plain(other)); }

TEST(Colors, TextCanBeReadOnItsGround) {
  using Tone = StatusItemLook::PillTone;
  std::vector<colors::Scheme> schemes;
  for (const std::optional<QColor>& accent : std::vector<std::optional<QColor>>{{}, "#ffeb3b", "#000000", "#e01b24"}) {
    for (const int kind : {0, 1, 2, 3}) schemes.push_back({kind % 2 == 1, kind >= 2, accent});
  }
  for (const colors::Scheme& scheme : schemes) {
    colors::setScheme(scheme);
    const double least = scheme.highContrast ? 7 : 4.5;
    SCOPED_TRACE(testing::Message() << (scheme.dark ? "dark " : "light ") << least << " "
                                    << scheme.accent.value_or("#010101").name().toStdString());
    const std::pair<const char*, QColor> grounds[] = {
        {"window", colors::background()}, {"menu", colors::menuBackground()}, {"panel", colors::panel()}};
    for (const auto& [name, ground] : grounds) {
      for (const auto tint : {View::Tint::primary, View::Tint::secondary, View::Tint::tertiary, View::Tint::accent,
                              View::Tint::green, View::Tint::orange, View::Tint::red}) {
        EXPECT_GE(contrast(colors::tint(tint), ground), least) << name << " " << static_cast<int>(tint);
      }
      EXPECT_GE(contrast(colors::mark(), ground), 3) << name << ": the edge of a box";
      EXPECT_GE(contrast(colors::tint(View::Tint::accent), ground), 3) << name << ": the ring of the focus";
    }
    for (const auto tone : {Tone::needsYou, Tone::done, Tone::running}) {
      EXPECT_GE(contrast(Qt::white, colors::pill(tone)), least) << static_cast<int>(tone);
    }
    for (const auto tint : {View::Tint::primary, View::Tint::red}) {
      EXPECT_GE(contrast(colors::tint(tint), colors::control()), least) << static_cast<int>(tint);
    }
    for (const Color dot : {Color{46, 125, 91}, {217, 130, 43}, {208, 52, 44}, {201, 52, 0}}) {
      EXPECT_GE(contrast(colors::fromColor(dot), colors::dotRing()), 3) << dot.red;
    }
    EXPECT_GE(contrast(colors::secondaryOnAccent(), colors::accent()), least);
    EXPECT_GE(contrast(colors::label(), colors::trough()), least);
    EXPECT_GE(contrast(colors::onAccent(), colors::accent()), least);
  }
  colors::setScheme({.accent = QColor("#e01b24")});
  EXPECT_NEAR(colors::accent().hue(), QColor("#e01b24").hue(), 3) << "darker, and no other colour";
  EXPECT_GT(colors::accent().saturation(), 150);
  colors::setScheme({});
  EXPECT_EQ(colors::accent(), QColor("#1f62c4")) << "dark enough as it is";
}

}  // namespace
}  // namespace kestrelune
