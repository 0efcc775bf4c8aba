#include "Connection.hpp"

#include <fcntl.h>
#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace kestrelune {
namespace {

constexpr qsizetype kLarge = 1 << 20;

}  // namespace

CompanionConnection::CompanionConnection(int descriptor)
    : descriptor_(descriptor),
      readNotifier_(descriptor, QSocketNotifier::Read),
      writeNotifier_(descriptor, QSocketNotifier::Write) {
  fcntl(descriptor_, F_SETFL, fcntl(descriptor_, F_GETFL) | O_NONBLOCK);
  fcntl(descriptor_, F_SETFD, FD_CLOEXEC);
  writeNotifier_.setEnabled(false);
  connect(&readNotifier_, &QSocketNotifier::activated, this, [this] { readable(); });
  connect(&writeNotifier_, &QSocketNotifier::activated, this, [this] { writable(); });
}

CompanionConnection::~CompanionConnection() { close(descriptor_); }

void CompanionConnection::send(const messages::Up& message) {
  if (ended_) return;
  const std::string line = messages::encode(message);
  out_.append(line.data(), static_cast<qsizetype>(line.size()));
  writable();
}

void CompanionConnection::writable() {
  while (!out_.isEmpty()) {
    const ssize_t sent = ::send(descriptor_, out_.constData(), static_cast<std::size_t>(out_.size()), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && errno != EAGAIN) return end();
    if (sent < 0) break;
    out_.remove(0, sent);
  }
  writeNotifier_.setEnabled(!out_.isEmpty());
}

void CompanionConnection::readable() {
  char piece[65536];
  const ssize_t got = ::recv(descriptor_, piece, sizeof piece, 0);
  if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) return end();
  if (got < 0) return;
  in_.append(piece, got);
  qsizetype start = 0;
  for (qsizetype found; !ended_ && (found = in_.indexOf('\n', std::max(start, searched_))) >= 0;) {
    const std::string_view line(in_.constData() + start, static_cast<std::size_t>(found - start));
    try {
      const messages::Down message = messages::decodeDown(line);
      start = found + 1;
      searched_ = start;
      onMessage(message);
    } catch (const JsonError&) {
      return end();
    }
  }
  in_.remove(0, start);
  if (start > kLarge) {
    in_.squeeze();
    // What a large tree took while it was read goes back at once: the screen may not see another for hours.
    malloc_trim(0);
  }
  searched_ = in_.size();
  if (static_cast<std::size_t>(in_.size()) > messages::kLongestLine) end();
}

void CompanionConnection::end() {
  if (std::exchange(ended_, true)) return;
  readNotifier_.setEnabled(false);
  writeNotifier_.setEnabled(false);
  if (onEnded) onEnded();
}

}  // namespace kestrelune
