#pragma once

#include <QClipboard>
#include <QObject>
#include <functional>

namespace kestrelune {

/// What was copied. Where a manager keeps clipboards, the toolkit hands the text over to it when the screen ends; else
/// the screen must stay for as long as the text is the clipboard's.
class ClipboardKeeper final : public QObject {
  Q_OBJECT
 public:
  ClipboardKeeper();
  void copy(const QString& text);
  /// The screen still holds something that would be lost with it.
  bool isHolding() const;

  std::function<void()> onReleased;
};

}  // namespace kestrelune
