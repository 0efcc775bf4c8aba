#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <functional>

#include "base/Messages.hpp"

namespace kestrelune {

/// The screen's end of the socket to the companion. Whatever breaks the rules of the conversation ends it.
class CompanionConnection final : public QObject {
  Q_OBJECT
 public:
  explicit CompanionConnection(int descriptor);
  ~CompanionConnection() override;

  void send(const messages::Up& message);

  std::function<void(const messages::Down&)> onMessage;
  std::function<void()> onEnded;  ///< once; the companion is gone, or said something that can't be read

 private:
  void readable();
  void writable();
  void end();

  const int descriptor_;
  QSocketNotifier readNotifier_, writeNotifier_;
  QByteArray in_, out_;
  qsizetype searched_ = 0;
  bool ended_ = false;
};

}  // namespace kestrelune
