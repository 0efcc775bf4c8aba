#include "session/DesktopNotifications.hpp"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "base/Text.hpp"
#include "session/SessionCopy.hpp"

namespace kestrelune {
namespace {

using session_copy::Key;

constexpr const char* kName = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr const char* kDesktopEntry = "com.kestrelune.menu";
constexpr const char* kDefaultAction = "default";
constexpr const char* kSound = "message-new-instant";
constexpr std::size_t kMostWaiting = 100;
constexpr std::size_t kMostShown = 200;
constexpr std::uint8_t kUrgencyNormal = 1;

std::string escapedMarkup(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&': escaped += "&amp;"; break;
      case '<': escaped += "&lt;"; break;
      case '>': escaped += "&gt;"; break;
      default: escaped += c;
    }
  }
  return escaped;
}

/// A text as the bus takes it: UTF-8 without a zero byte.
std::string busText(std::string_view text) {
  const std::string repaired = text::repairedUtf8(text);
  return repaired.substr(0, repaired.find('\0'));
}

void appendHint(sd_bus_message* message, const char* name, const char* value) {
  sd_bus_message_append(message, "{sv}", name, "s", value);
}

}  // namespace

DesktopNotifications::DesktopNotifications(Bus& bus, ActivationToken& activation, Limits limits)
    : bus_(bus),
      activation_(activation),
      limits_(limits),
      watching_(bus.watchName(
          kName, [this](const std::string& owner) { appeared(owner); }, [this] { vanished(); })),
      connecting_(bus.listen({[this] { work(); }, [this] { forget(); }})) {}

DesktopNotifications::~DesktopNotifications() = default;

void DesktopNotifications::deliver(const Notification& notification, std::function<void(const std::string&)> failed) {
  const auto same = std::find_if(waiting_.begin() + (call_ && !waiting_.empty() ? 1 : 0), waiting_.end(),
                                 [&](const Waiting& other) { return other.notification.id == notification.id; });
  if (same != waiting_.end())
    *same = {notification, std::move(failed)};
  else if (waiting_.size() < kMostWaiting)
    waiting_.push_back({notification, std::move(failed)});
  else
    return bus_.loop().post([failed = std::move(failed)] { failed(session_copy::text(Key::noNotifications)); });
  if (!patience_) {
    patience_ = bus_.loop().after(limits_.server, [this] {
      const Timer done = std::move(patience_);
      if (!call_) failAll(session_copy::text(bus_.connected() ? Key::noNotifications : Key::noBus));
    });
  }
  work();
}

/// What the server tells by itself.
struct DesktopNotifications::Signals {
  static int tokenCame(sd_bus_message* message, void* data, sd_bus_error*) {
    auto* self = static_cast<DesktopNotifications*>(data);
    const char* token = nullptr;
    if (sd_bus_message_read(message, "us", &self->tokenFor_, &token) > 0) self->token_ = token;
    return 0;
  }

  static int actionInvoked(sd_bus_message* message, void* data, sd_bus_error*) {
    auto* self = static_cast<DesktopNotifications*>(data);
    std::uint32_t number = 0;
    const char* key = nullptr;
    if (sd_bus_message_read(message, "us", &number, &key) <= 0) return 0;
    const std::string token = std::exchange(self->token_, "");
    const auto found = self->shown_.find(number);
    if (found == self->shown_.end() || std::string_view(key) != kDefaultAction || found->second.action.empty())
      return 0;
    if (!token.empty() && self->tokenFor_ == number) self->activation_.provide(token);
    const std::string action = found->second.action;
    if (self->clicked_) self->clicked_(action);
    return 0;
  }

  /// The action stays known: some servers tell of the end before the click that caused it.
  static int closed(sd_bus_message* message, void* data, sd_bus_error*) {
    auto* self = static_cast<DesktopNotifications*>(data);
    std::uint32_t number = 0, reason = 0;
    if (sd_bus_message_read(message, "uu", &number, &reason) <= 0) return 0;
    if (const auto found = self->shown_.find(number); found != self->shown_.end()) found->second.closed = true;
    return 0;
  }
};

void DesktopNotifications::appeared(const std::string& owner) {
  forget();
  owner_ = owner;
  const std::array<std::pair<const char*, sd_bus_message_handler_t>, 3> signals = {
      {{"ActionInvoked", &Signals::actionInvoked},
       {"NotificationClosed", &Signals::closed},
       {"ActivationToken", &Signals::tokenCame}}};
  for (const auto& [member, handler] : signals) {
    sd_bus_slot* slot = nullptr;
    if (sd_bus_match_signal_async(bus_.connection(), &slot, owner.c_str(), kPath, kName, member, handler, nullptr,
                                  this) >= 0)
      matches_.emplace_back(slot, &sd_bus_slot_unref);
  }
  work();
}

void DesktopNotifications::vanished() {
  forget();
  work();
}

void DesktopNotifications::forget() {
  owner_.clear();
  capabilities_.reset();
  shown_.clear();
  token_.clear();
  matches_.clear();
  call_.reset();
}

/// The next step towards an empty queue.
void DesktopNotifications::work() {
  if (call_ || waiting_.empty() || !bus_.connected()) return;
  if (capabilities_)
    notify();
  else
    askCapabilities();
}

bool DesktopNotifications::isError(sd_bus_message* reply, std::string& reason, bool& noServer) {
  noServer = !reply;
  if (!reply) return true;
  if (!sd_bus_message_is_method_error(reply, nullptr)) return false;
  const sd_bus_error* error = sd_bus_message_get_error(reply);
  const std::string_view name = error->name ? error->name : "";
  noServer = name == SD_BUS_ERROR_SERVICE_UNKNOWN || name == SD_BUS_ERROR_NAME_HAS_NO_OWNER;
  reason = error->message ? error->message : std::string(name);
  return true;
}

void DesktopNotifications::serverFailed(const std::string& reason, bool noServer) {
  // One that isn't there may still come.
  if (!noServer) return failAll(text::filled(session_copy::text(Key::notifyFailed), {reason}));
  if (!patience_) failAll(session_copy::text(Key::noNotifications));
}

/// Also wakes a server that is started on demand.
void DesktopNotifications::askCapabilities() {
  call_ =
      bus_.call(bus_.makeCall(kName, kPath, kName, "GetCapabilities"), limits_.answer, [this](sd_bus_message* reply) {
        const auto done = std::move(call_);
        std::string reason;
        bool noServer = false;
        if (isError(reply, reason, noServer)) return serverFailed(reason, noServer);
        capabilities_.emplace();
        const char* capability = nullptr;
        sd_bus_message_enter_container(reply, 'a', "s");
        while (sd_bus_message_read(reply, "s", &capability) > 0) capabilities_->insert(capability);
        work();
      });
}

std::uint32_t DesktopNotifications::numberToReplace(const std::string& id) const {
  for (const auto& [number, shown] : shown_)
    if (shown.id == id && !shown.closed) return number;
  return 0;
}

void DesktopNotifications::notify() {
  const Notification& notification = waiting_.front().notification;
  std::string title = busText(notification.title), body = busText(notification.body);
  if (!can("body") && !body.empty()) title += ": " + std::exchange(body, "");
  if (can("body-markup")) body = escapedMarkup(body);

  // To the owner that was asked what it can: one that took its place meanwhile is asked first.
  BusMessage message = bus_.makeCall(owner_.empty() ? kName : owner_, kPath, kName, "Notify");
  sd_bus_message* m = message.get();
  sd_bus_message_append(m, "susss", "Kestrelune", numberToReplace(notification.id), "", title.c_str(), body.c_str());
  if (can("actions") && !notification.action.empty())
    sd_bus_message_append(m, "as", 2, kDefaultAction, session_copy::text(Key::open).c_str());
  else
    sd_bus_message_append(m, "as", 0);
  sd_bus_message_open_container(m, 'a', "{sv}");
  appendHint(m, "desktop-entry", kDesktopEntry);
  sd_bus_message_append(m, "{sv}", "urgency", "y", kUrgencyNormal);
  if (can("sound")) appendHint(m, "sound-name", kSound);
  sd_bus_message_close_container(m);
  sd_bus_message_append(m, "i", -1);

  call_ = bus_.call(std::move(message), limits_.answer, [this](sd_bus_message* reply) {
    const auto done = std::move(call_);
    std::string reason;
    bool noServer = false;
    if (isError(reply, reason, noServer)) return serverFailed(reason, noServer);
    std::uint32_t number = 0;
    sd_bus_message_read(reply, "u", &number);
    const Waiting first = std::move(waiting_.front());
    waiting_.pop_front();
    if (waiting_.empty()) patience_.reset();
    delivered(first.notification, number);
    work();
  });
}

void DesktopNotifications::delivered(const Notification& notification, std::uint32_t number) {
  std::erase_if(shown_, [&](const auto& other) { return other.second.id == notification.id; });
  shown_[number] = {notification.id, notification.action, false};
  if (shown_.size() > kMostShown) shown_.erase(shown_.begin());
}

void DesktopNotifications::failAll(const std::string& reason) {
  patience_.reset();
  const std::deque<Waiting> failed = std::exchange(waiting_, {});
  for (const Waiting& one : failed)
    if (one.failed) one.failed(reason);
}

}  // namespace kestrelune
