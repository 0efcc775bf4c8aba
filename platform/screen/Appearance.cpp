#include "Appearance.hpp"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QPalette>
#include <optional>

#include "Colors.hpp"

namespace kestrelune {
namespace {

constexpr auto kService = "org.freedesktop.portal.Desktop", kPath = "/org/freedesktop/portal/desktop",
               kInterface = "org.freedesktop.portal.Settings";
constexpr auto kGroup = "org.freedesktop.appearance", kKey = "color-scheme";
constexpr uint kPrefersDark = 1;
/// A slow desktop must not hold up the first window.
constexpr int kPatience = 100;

std::optional<bool> themeIsDark() {
  const QString theme = qEnvironmentVariable("GTK_THEME").toLower();
  if (!theme.isEmpty()) return theme.endsWith(":dark") || theme.endsWith("-dark");
  if (QGuiApplication::palette().color(QPalette::Window).lightness() < 128) return true;
  return std::nullopt;
}

}  // namespace

Appearance::Appearance() {
  const std::optional<bool> dark = themeIsDark();
  colors::setDark(dark.value_or(false));
  if (!dark && !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) ask();
}

void Appearance::ask() {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return;
  bus.connect(kService, kPath, kInterface, "SettingChanged", this,
              SLOT(settingChanged(QString, QString, QDBusVariant)));
  QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, kInterface, "Read");
  question << kGroup << kKey;
  // One that isn't there has nothing to say, and starting it takes longer than the window may.
  question.setAutoStartService(false);
  const QDBusMessage answer = bus.call(question, QDBus::Block, kPatience);
  if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) return;
  const QVariant value = answer.arguments().constFirst().value<QDBusVariant>().variant();
  settingChanged(kGroup, kKey, value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>() : QDBusVariant(value));
}

void Appearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
  if (group != kGroup || key != kKey) return;
  const bool dark = value.variant().toUInt() == kPrefersDark;
  if (dark != colors::isDark()) colors::setDark(dark);
}

}  // namespace kestrelune
