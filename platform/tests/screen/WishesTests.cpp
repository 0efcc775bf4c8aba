#include "screen/Wishes.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace kestrelune {
namespace {

TEST(Wishes, AreReadFromWhatDesktopsPublishAndNothingElse) {
  constexpr auto kCommon = "org.freedesktop.appearance", kGnome = "org.gnome.desktop.interface";
  const auto accent = [](const QVariantList& parts) { return DesktopSettings{{kCommon, {{"accent-color", parts}}}}; };
  struct Row {
    const char* name;
    DesktopSettings settings;
    Wishes wishes;
  };
  for (const Row& row : std::vector<Row>{
           {"nothing", {}, {}},
           {"dark", {{kCommon, {{"color-scheme", 1u}}}}, {.dark = true}},
           {"light", {{kCommon, {{"color-scheme", 2u}}}}, {.dark = false}},
           {"no preference", {{kCommon, {{"color-scheme", 0u}}}}, {}},
           {"another kind", {{kCommon, {{"color-scheme", "1"}, {"contrast", true}, {"accent-color", 7}}}}, {}},
           {"contrast", {{kCommon, {{"contrast", 1u}}}}, {.highContrast = true}},
           {"contrast as GNOME has it",
            {{"org.gnome.desktop.a11y.interface", {{"high-contrast", true}}}},
            {.highContrast = true}},
           {"accent", accent({1.0, 0.0, 0.0}), {.accent = QColor(255, 0, 0)}},
           {"no accent", accent({-1.0, -1.0, -1.0}), {}},
           {"half an accent", accent({1.0, 0.0}), {}},
           {"no number", accent({std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0}), {}},
           {"large text", {{kGnome, {{"text-scaling-factor", 1.25}}}}, {.textFactor = 1.25}},
           {"endless text", {{kGnome, {{"text-scaling-factor", 1e9}}}}, {.textFactor = 3}},
           {"no text", {{kGnome, {{"text-scaling-factor", 0.0}}}}, {}},
           {"still", {{kCommon, {{"reduced-motion", 1u}}}}, {.reducedMotion = true}},
           {"still as GNOME has it", {{kGnome, {{"enable-animations", false}}}}, {.reducedMotion = true}},
           {"still as Plasma has it",
            {{"org.kde.kdeglobals.KDE", {{"AnimationDurationFactor", "0"}}}},
            {.reducedMotion = true}}}) {
    EXPECT_EQ(Wishes::of(row.settings), row.wishes) << row.name;
  }
}

}  // namespace
}  // namespace kestrelune
