#include "base/Instance.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "base/Clock.hpp"
#include "base/Files.hpp"

namespace kestrelune {
namespace {

constexpr const char* kLock = "menubar.lock";
constexpr const char* kSocket = "menubar.socket";
constexpr std::string_view kAnswer = "shown\n";
constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr int kBacklog = 16;
constexpr std::size_t kMostBytes = 256 << 10;
constexpr double kVisitSeconds = 5;
constexpr std::size_t kMostVisits = 16;  ///< at a time, and begun between two pauses
constexpr double kPauseSeconds = 1;
constexpr std::chrono::milliseconds kPause(50);

/// The socket by way of its open folder: an address is short, and a home folder's path may be long.
struct Place {
  Descriptor folder;
  sockaddr_un address{};

  explicit Place(const std::string& path) : folder(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    const std::string name = "/proc/self/fd/" + std::to_string(folder.number()) + "/" + kSocket;
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path - 1);
  }
  const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&address); }
};

Descriptor makeSocket(int flags) { return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0)); }

bool isOurs(const Descriptor& peer) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  return getsockopt(peer.number(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 && credentials.uid == getuid();
}

void limitWaiting(const Descriptor& socket, double seconds) {
  const auto whole = static_cast<time_t>(seconds);
  const timeval limit{whole, static_cast<suseconds_t>((seconds - static_cast<double>(whole)) * 1e6)};
  for (const int what : {SO_RCVTIMEO, SO_SNDTIMEO}) setsockopt(socket.number(), SOL_SOCKET, what, &limit, sizeof limit);
}

bool sendAll(const Descriptor& socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t size = ::send(socket.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(size));
  }
  return true;
}

/// Each variable as "NAME=value" and a zero byte, and one more zero byte at the end: values are any bytes.
std::string encoded(const Environment& variables) {
  std::string text;
  for (const auto& [name, value] : variables) text += name + "=" + value + '\0';
  return text + '\0';
}

/// Absent when it was cut off.
std::optional<Environment> decoded(std::string_view text) {
  Environment variables;
  for (;;) {
    const std::size_t end = text.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view entry = text.substr(0, end);
    if (entry.empty()) return variables;
    const std::size_t equals = std::min(entry.find('='), entry.size());
    variables.emplace(entry.substr(0, equals), entry.substr(std::min(equals + 1, entry.size())));
    text.remove_prefix(end + 1);
  }
}

}  // namespace

struct Instance::Visit {
  Descriptor peer;
  std::string text;
  std::unique_ptr<Subscription> reading;
  Timer limit;
};

Instance::Instance(std::string folder) : folder_(std::move(folder)) {}

Instance::~Instance() { close(); }

Instance::Start Instance::begin(const Environment& variables, double patience) {
  const SystemClock clock;
  const double deadline = clock.uptime() + patience;
  makeFolders(systemFiles(), folder_, kFolderMode);
  while (!lock()) {
    const double left = deadline - clock.uptime();
    if (left <= 0) return Start::unheeded;
    if (tell(variables, left)) return Start::told;
    std::this_thread::sleep_for(kPause);
  }
  listen();
  return Start::first;
}

/// False only when another one holds it.
bool Instance::lock() {
  if (!lock_) lock_ = Descriptor(::open((folder_ + "/" + kLock).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode));
  if (!lock_) return true;
  while (flock(lock_.number(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return false;
    if (errno != EINTR) break;
  }
  return true;
}

void Instance::listen() {
  const Place place(folder_);
  Descriptor socket = makeSocket(SOCK_NONBLOCK);
  if (!place.folder || !socket) return;
  // One that was left behind is nobody's: the lock is ours.
  unlinkat(place.folder.number(), kSocket, 0);
  if (::bind(socket.number(), place.generic(), sizeof place.address) != 0) return;
  fchmodat(place.folder.number(), kSocket, kFileMode, 0);
  if (::listen(socket.number(), kBacklog) == 0) socket_ = std::move(socket);
}

/// False when nobody listens, or who did ended before the answer.
bool Instance::tell(const Environment& variables, double patience) {
  const Place place(folder_);
  const Descriptor socket = makeSocket(0);
  if (!place.folder || !socket) return false;
  limitWaiting(socket, patience);
  if (::connect(socket.number(), place.generic(), sizeof place.address) != 0) return false;
  if (!sendAll(socket, encoded(variables)) || shutdown(socket.number(), SHUT_WR) != 0) return false;
  std::array<char, kAnswer.size()> answer{};
  return recv(socket.number(), answer.data(), answer.size(), MSG_WAITALL) == static_cast<ssize_t>(answer.size()) &&
         std::string_view(answer.data(), answer.size()) == kAnswer;
}

void Instance::serve(RunLoop& loop, Summoned summoned) {
  loop_ = &loop;
  summoned_ = std::move(summoned);
  listenOn();
}

void Instance::close() {
  listening_.reset();
  pause_.reset();
  visits_.clear();
  if (!socket_) return;
  ::unlink((folder_ + "/" + kSocket).c_str());
  socket_.reset();
}

void Instance::listenOn() {
  begun_ = 0;
  if (socket_) listening_ = loop_->watch(socket_.number(), [this] { accept(); });
}

/// Whoever knocks meanwhile waits in the system's queue, and costs nothing.
void Instance::pause() {
  listening_.reset();
  pause_ = loop_->after(kPauseSeconds, [this] { visits_.size() < kMostVisits ? listenOn() : pause(); });
}

void Instance::accept() {
  auto visit = std::make_unique<Visit>();
  visit->peer = Descriptor(accept4(socket_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
  const bool foundNobody = !visit->peer && (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED);
  if (foundNobody) return;
  // Without a descriptor for it the visitor stays in the queue, and would wake us without an end.
  if (++begun_ == kMostVisits || !visit->peer) pause();
  if (!visit->peer || !isOurs(visit->peer)) return;
  Visit& present = *visit;
  present.reading = loop_->watch(present.peer.number(), [this, &present] { read(present); });
  present.limit = loop_->after(kVisitSeconds, [this, &present] { leave(present); });
  visits_.push_back(std::move(visit));
}

void Instance::read(Visit& visit) {
  std::array<char, 4096> piece;
  const ssize_t size = recv(visit.peer.number(), piece.data(), piece.size(), 0);
  if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (size > 0) visit.text.append(piece.data(), static_cast<std::size_t>(size));
  if (size < 0 || visit.text.size() > kMostBytes) return leave(visit);
  if (size > 0) return;
  if (const auto variables = decoded(visit.text)) {
    summoned_(*variables);
    sendAll(visit.peer, kAnswer);
  }
  leave(visit);
}

void Instance::leave(const Visit& visit) {
  std::erase_if(visits_, [&](const std::unique_ptr<Visit>& held) { return held.get() == &visit; });
}

}  // namespace kestrelune
