#include "Appearance.hpp"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QPalette>
#include <cstdio>
#include <utility>

#include "Colors.hpp"
#include "Metrics.hpp"
#include "Motion.hpp"

namespace kestrelune {
namespace {

constexpr auto kService = "org.freedesktop.portal.Desktop", kPath = "/org/freedesktop/portal/desktop",
               kInterface = "org.freedesktop.portal.Settings";
/// In milliseconds: longer than who runs needs to answer, shorter than a user notices.
constexpr int kPatience = 100;
constexpr int kMiddle = 128;

std::optional<bool> darkByTheme() {
  const QString theme = qEnvironmentVariable("GTK_THEME").toLower();
  if (theme.isEmpty()) return std::nullopt;
  return theme.endsWith(":dark") || theme.endsWith("-dark");
}

/// A structure of numbers as a list of them; anything else as it is.
QVariant plain(const QVariant& value) {
  if (value.typeId() != qMetaTypeId<QDBusArgument>()) return value;
  const auto argument = value.value<QDBusArgument>();
  if (argument.currentSignature() != "(ddd)") return {};
  QVariantList parts;
  argument.beginStructure();
  while (!argument.atEnd()) parts << argument.asVariant();
  argument.endStructure();
  return parts;
}

}  // namespace

Appearance::Appearance(std::function<void()> known)
    : known_(std::move(known)),
      fixed_(darkByTheme()),
      usuallyDark_(QGuiApplication::palette().color(QPalette::Window).lightness() < kMiddle) {
  apply();
  connect(&patience_, &QTimer::timeout, this, &Appearance::tellKnown);
  const bool mayAsk =
      !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") && QDBusConnection::sessionBus().isConnected();
  patience_.start(mayAsk ? kPatience : 0);
  if (!mayAsk) return;
  listen();
  ask();
}

void Appearance::listen() {
  // The toolkit refuses a signal with a type that it doesn't know yet, and knows this one only after it was told.
  qDBusRegisterMetaType<QDBusVariant>();
  qDBusRegisterMetaType<DesktopSettings>();
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.connect(kService, kPath, kInterface, "SettingChanged", this,
                   SLOT(settingChanged(QString, QString, QDBusVariant))))
    std::fputs("Screen: changes of the desktop's settings can't be followed.\n", stderr);
  const auto* comes = new QDBusServiceWatcher(kService, bus, QDBusServiceWatcher::WatchForRegistration, this);
  connect(comes, &QDBusServiceWatcher::serviceRegistered, this, &Appearance::ask);
}

void Appearance::ask() {
  QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, kInterface, "ReadAll");
  question << Wishes::groups();
  const auto* call = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
  connect(call, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
    answered(*finished);
    finished->deleteLater();
  });
}

void Appearance::answered(const QDBusPendingCallWatcher& call) {
  const QDBusPendingReply<DesktopSettings> reply = call;
  if (!reply.isError()) {
    settings_ = reply.value();
    for (QVariantMap& group : settings_)
      for (QVariant& value : group) value = plain(value);
    apply();
  }
  tellKnown();
}

void Appearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
  if (!Wishes::groups().contains(group)) return;
  settings_[group][key] = plain(value.variant());
  apply();
}

void Appearance::apply() {
  const Wishes wishes = Wishes::of(settings_);
  colors::setScheme({.dark = fixed_.value_or(wishes.dark.value_or(usuallyDark_)),
                     .highContrast = wishes.highContrast,
                     .accent = wishes.accent});
  metrics::setTextFactor(wishes.textFactor);
  motion::setReduced(wishes.reducedMotion);
}

void Appearance::tellKnown() {
  patience_.stop();
  if (const auto known = std::exchange(known_, nullptr)) known();
}

}  // namespace kestrelune
