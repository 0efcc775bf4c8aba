// The smallest program of Qt's windows that shows an item with a menu:  reference-qt-widgets FILE
// or, in place of the item, a small window that paints two shapes:      reference-qt-widgets --window
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QWidget>

namespace {

class Strip final : public QWidget {
 public:
  Strip() : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
    setGeometry(1000, 8, 120, 26);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(palette().highlight());
    painter.drawRoundedRect(rect(), 13, 13);
    painter.drawText(rect(), Qt::AlignCenter, "Window");
  }
};

}  // namespace

int main(int count, char** arguments) {
  QApplication application(count, arguments);
  if (count != 2) return 2;
  const QString argument = QString::fromLocal8Bit(arguments[1]);
  if (argument == "--window") {
    Strip strip;
    strip.show();
    return QApplication::exec();
  }
  QPixmap picture(64, 64);
  picture.fill(Qt::darkGreen);
  QMenu menu;
  for (int i = 0; i < 8; ++i) menu.addAction("A row");
  QSystemTrayIcon tray{QIcon(picture)};
  tray.setContextMenu(&menu);
  tray.setToolTip("Qt Widgets");
  tray.show();
  QTimer timer;
  const auto look = [argument] {
    QFile file(argument);
    if (file.open(QIODevice::ReadOnly)) file.readAll();
  };
  QObject::connect(&timer, &QTimer::timeout, look);
  timer.start(5000);
  look();
  return QApplication::exec();
}
