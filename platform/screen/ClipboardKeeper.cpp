#include "ClipboardKeeper.hpp"

#include <QGuiApplication>

#include "XServer.hpp"

namespace kestrelune {

ClipboardKeeper::ClipboardKeeper() {
  connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this, [this] {
    if (!isHolding() && onReleased) onReleased();
  });
}

void ClipboardKeeper::copy(const QString& text) { QGuiApplication::clipboard()->setText(text); }

bool ClipboardKeeper::isHolding() const {
  const QClipboard* clipboard = QGuiApplication::clipboard();
  return clipboard->ownsClipboard() && !clipboard->text().isEmpty() && !xserver::hasClipboardManager();
}

}  // namespace kestrelune
