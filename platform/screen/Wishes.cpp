#include "Wishes.hpp"

#include <QStringList>
#include <algorithm>

namespace kestrelune {
namespace {

constexpr auto kCommon = "org.freedesktop.appearance", kGnome = "org.gnome.desktop.interface",
               kGnomeAccess = "org.gnome.desktop.a11y.interface", kPlasma = "org.kde.kdeglobals.KDE";
constexpr uint kPrefersDark = 1, kPrefersLight = 2, kWanted = 1;
constexpr double kLeastFactor = 0.5, kMostFactor = 3;

template <class Value>
std::optional<Value> valueOf(const DesktopSettings& settings, const char* group, const char* key) {
  const QVariant value = settings.value(group).value(key);
  return value.typeId() == qMetaTypeId<Value>() ? std::optional(value.value<Value>()) : std::nullopt;
}

std::optional<QColor> accentOf(const DesktopSettings& settings) {
  const auto parts = valueOf<QVariantList>(settings, kCommon, "accent-color");
  if (!parts || parts->size() != 3) return std::nullopt;
  // Parts beyond their range say that the desktop has no such colour.
  const bool whole = std::all_of(parts->begin(), parts->end(), [](const QVariant& part) {
    return part.typeId() == QMetaType::Double && part.toDouble() >= 0 && part.toDouble() <= 1;
  });
  if (!whole) return std::nullopt;
  return QColor::fromRgbF(parts->at(0).toFloat(), parts->at(1).toFloat(), parts->at(2).toFloat());
}

}  // namespace

QStringList Wishes::groups() { return {kCommon, kGnome, kGnomeAccess, kPlasma}; }

Wishes Wishes::of(const DesktopSettings& settings) {
  Wishes wishes;
  const auto scheme = valueOf<uint>(settings, kCommon, "color-scheme");
  if (scheme == kPrefersDark || scheme == kPrefersLight) wishes.dark = scheme == kPrefersDark;
  wishes.highContrast = valueOf<uint>(settings, kCommon, "contrast") == kWanted ||
                        valueOf<bool>(settings, kGnomeAccess, "high-contrast") == true;
  wishes.accent = accentOf(settings);
  // A number that is none would pass a comparison with either end.
  if (const auto factor = valueOf<double>(settings, kGnome, "text-scaling-factor"); factor && *factor > 0)
    wishes.textFactor = std::clamp(*factor, kLeastFactor, kMostFactor);
  wishes.reducedMotion = valueOf<uint>(settings, kCommon, "reduced-motion") == kWanted ||
                         valueOf<bool>(settings, kGnome, "enable-animations") == false ||
                         valueOf<QString>(settings, kPlasma, "AnimationDurationFactor") == "0";
  return wishes;
}

}  // namespace kestrelune
