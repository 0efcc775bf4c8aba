#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QTimer>
#include <functional>
#include <optional>

#include "Wishes.hpp"

class QDBusPendingCallWatcher;

namespace kestrelune {

/// Follows the desktop in light and dark, contrast, accent colour, size of text and motion: by the settings that
/// desktops publish on the session bus, where the bus starts who publishes them. `GTK_THEME` goes before the desktop in
/// light and dark, and where nobody says anything the toolkit's palette does.
class Appearance final : public QObject {
  Q_OBJECT
 public:
  /// Asks without waiting. `known` is called once, in a later pass: when the desktop has answered, or hasn't for so
  /// long that a window can't wait for it.
  explicit Appearance(std::function<void()> known);

 private Q_SLOTS:
  void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

 private:
  void listen();
  void ask();
  void answered(const QDBusPendingCallWatcher& call);
  void apply();
  void tellKnown();

  std::function<void()> known_;
  QTimer patience_;
  const std::optional<bool> fixed_;  ///< dark or light, whatever the desktop says
  const bool usuallyDark_;
  DesktopSettings settings_;
};

}  // namespace kestrelune
