// The smallest Qt program without windows that shows an item with a menu: core and D-Bus.  reference-qt-core FILE
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVirtualObject>
#include <QFile>
#include <QTimer>
#include <QVariantMap>

namespace {

/// Answers a host that asks for the item's properties, and anything else with nothing.
class Item final : public QDBusVirtualObject {
 public:
  QString introspect(const QString&) const override { return "<node/>"; }

  bool handleMessage(const QDBusMessage& call, const QDBusConnection& connection) override {
    const QString member = call.member();
    if (member == "GetAll") return connection.send(call.createReply(properties()));
    if (member == "Get") {
      const QVariant value = properties().value(call.arguments().value(1).toString());
      return connection.send(call.createReply(QVariant::fromValue(QDBusVariant(value))));
    }

    return connection.send(call.createReply());
  }

 private:
  static QVariantMap properties() {
    return {{"Category", "ApplicationStatus"},
            {"Id", "qt-core"},
            {"Title", "Qt core"},
            {"Status", "Active"},
            {"IconName", "folder"},
            {"ItemIsMenu", true},
            {"Menu", QVariant::fromValue(QDBusObjectPath("/StatusNotifierItem"))}};
  }
};

}  // namespace

int main(int count, char** arguments) {
  QCoreApplication application(count, arguments);
  if (count != 2) return 2;
  Item item;
  QDBusConnection bus = QDBusConnection::sessionBus();
  bus.registerVirtualObject("/StatusNotifierItem", &item);
  QDBusMessage call = QDBusMessage::createMethodCall("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                                     "org.kde.StatusNotifierWatcher", "RegisterStatusNotifierItem");
  call << bus.baseService();
  bus.asyncCall(call);
  QTimer timer;
  const auto look = [name = QString::fromLocal8Bit(arguments[1])] {
    QFile file(name);
    if (file.open(QIODevice::ReadOnly)) file.readAll();
  };
  QObject::connect(&timer, &QTimer::timeout, look);
  timer.start(5000);
  look();
  return QCoreApplication::exec();
}
