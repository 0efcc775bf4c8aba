#include "Activation.hpp"

#include <QApplication>
#include <QEvent>
#include <QPointer>
#include <QTimer>
#include <QWindow>
#include <utility>

namespace kestrelune::activation {
namespace {

constexpr auto kToken = "XDG_ACTIVATION_TOKEN", kWaiting = "waiting";
/// In milliseconds: a desktop that lets the window come to the front has done so by then.
constexpr int kRises = 500;

void rise(QWidget& window, const std::string& token) {
  // The toolkit takes it from there, and nobody else may.
  if (!token.empty()) qputenv(kToken, token.c_str());
  window.raise();
  window.activateWindow();
  qunsetenv(kToken);
  QTimer::singleShot(kRises, &window, [&window] {
    if (window.isVisible() && !window.isActiveWindow()) QApplication::alert(&window);
  });
}

/// A compositor forgets a token that is used for a window which it doesn't show yet.
class WhenShown final : public QObject {
 public:
  WhenShown(QWidget& window, std::string token)
      : QObject(window.windowHandle()), window_(&window), token_(std::move(token)) {
    setObjectName(kWaiting);
    window.windowHandle()->installEventFilter(this);
  }

  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() != QEvent::Expose || !static_cast<QWindow*>(watched)->isExposed()) return false;
    watched->removeEventFilter(this);
    deleteLater();
    // After the first picture: a surface without one isn't there.
    QTimer::singleShot(0, window_, [window = window_, token = std::move(token_)] {
      if (window) rise(*window, token);
    });
    return false;
  }

 private:
  const QPointer<QWidget> window_;
  std::string token_;
};

}  // namespace

void bringForward(QWidget& window, const std::string& token) {
  if (window.isMinimized()) window.showNormal();
  window.show();
  QWindow* handle = window.windowHandle();
  if (handle->isExposed()) return rise(window, token);
  // One that waits with a token is not to be outrun by a wish without.
  if (token.empty() && handle->findChild<QObject*>(kWaiting)) return;
  new WhenShown(window, token);
}

}  // namespace kestrelune::activation
