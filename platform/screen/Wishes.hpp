#pragma once

#include <QColor>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <optional>

namespace kestrelune {

/// What a desktop publishes of its settings: groups, their keys, their values. A list of numbers stands for a structure
/// of them.
using DesktopSettings = QMap<QString, QVariantMap>;

/// How the user wants things to look.
struct Wishes {
  std::optional<bool> dark;  ///< absent: no preference
  bool highContrast = false;
  std::optional<QColor> accent;
  double textFactor = 1;  ///< from 0.5 to 3
  bool reducedMotion = false;
  bool operator==(const Wishes&) const = default;

  /// The groups that are worth asking for.
  static QStringList groups();
  /// A value of an unknown kind says nothing.
  static Wishes of(const DesktopSettings& settings);
};

}  // namespace kestrelune
