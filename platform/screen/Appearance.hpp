#pragma once

#include <QDBusVariant>
#include <QObject>

namespace kestrelune {

/// Follows the desktop between light and dark: what `GTK_THEME` or the toolkit's palette says, or the setting that
/// desktops publish on the session bus. Where nobody says anything it is light.
class Appearance final : public QObject {
  Q_OBJECT
 public:
  Appearance();

 private Q_SLOTS:
  void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

 private:
  void ask();
};

}  // namespace kestrelune
