#include "session/Bus.hpp"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <utility>

namespace kestrelune {
namespace {

constexpr double kFirstDelay = 1;
constexpr double kLongestDelay = 60;
constexpr double kNameTimeout = 25;
constexpr const char* kLocalPath = "/org/freedesktop/DBus/Local";
constexpr const char* kLocal = "org.freedesktop.DBus.Local";
constexpr const char* kBusName = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";

std::string escapedAddress(const std::string& path) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    const bool plain = (byte < 0x80 && std::isalnum(byte)) || byte == '/' || byte == '_' || byte == '-' || byte == '.';
    if (plain)
      text += c;
    else
      text += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return text;
}

struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Slot = std::unique_ptr<sd_bus_slot, SlotUnref>;

/// A call under way. It keeps itself alive while its callback runs, which may drop it.
class PendingCall final : public Subscription {
 public:
  struct State {
    Bus::Reply reply;
    std::shared_ptr<State> self;
  };

  explicit PendingCall(Bus::Reply reply) : state(std::make_shared<State>()) {
    state->reply = std::move(reply);
    state->self = state;
  }
  ~PendingCall() override {
    slot.reset();
    state->self = nullptr;
  }
  PendingCall(const PendingCall&) = delete;
  PendingCall& operator=(const PendingCall&) = delete;

  static int answered(sd_bus_message* message, void* data, sd_bus_error*) {
    const std::shared_ptr<State> state = static_cast<State*>(data)->self;
    if (const Bus::Reply reply = std::exchange(state->reply, nullptr)) reply(message);
    return 0;
  }

  std::shared_ptr<State> state;
  Slot slot;
  Timer failed;
};

}  // namespace

void BusMessageUnref::operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }

std::string Bus::userAddress() {
  if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address) return address;
  if (const char* folder = std::getenv("XDG_RUNTIME_DIR"); folder && *folder == '/')
    return "unix:path=" + escapedAddress(std::string(folder) + "/bus");
  return "";
}

/// One attempt at a connection, and what became of it.
class Bus::Connection {
 public:
  static std::unique_ptr<Connection> open(Bus& owner) {
    auto link = std::make_unique<Connection>();
    if (sd_bus_new(&link->bus) < 0) return nullptr;
    const auto match = [&](const char* member, sd_bus_message_handler_t handler) {
      return sd_bus_match_signal_async(link->bus, nullptr, kLocal, kLocalPath, kLocal, member, handler, nullptr,
                                       &owner) >= 0;
    };
    if (sd_bus_set_address(link->bus, owner.address_.c_str()) < 0 || sd_bus_set_bus_client(link->bus, 1) < 0 ||
        sd_bus_set_connected_signal(link->bus, 1) < 0 || sd_bus_start(link->bus) < 0 ||
        !match("Connected", &connectedCame) || !match("Disconnected", &disconnectedCame) ||
        sd_bus_attach_event(link->bus, owner.loop_.event(), SD_EVENT_PRIORITY_NORMAL) < 0)
      return nullptr;
    return link;
  }

  Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() {
    if (!bus) return;
    sd_bus_detach_event(bus);
    sd_bus_close_unref(bus);
  }

  sd_bus* bus = nullptr;

 private:
  static int connectedCame(sd_bus_message*, void* data, sd_bus_error*) {
    static_cast<Bus*>(data)->becameReady();
    return 0;
  }
  static int disconnectedCame(sd_bus_message*, void* data, sd_bus_error*) {
    static_cast<Bus*>(data)->becameLost();
    return 0;
  }
};

Bus::Bus(SessionRunLoop& loop, std::string address) : loop_(loop), address_(std::move(address)) { connect(); }

Bus::~Bus() = default;

sd_bus* Bus::connection() const { return ready_ ? link_->bus : nullptr; }

void Bus::connect() {
  retry_.reset();
  if (link_ || address_.empty()) return;
  link_ = Connection::open(*this);
  if (!link_) retryLater();
}

void Bus::retry() {
  if (!link_) connect();
}

void Bus::move(std::string address) {
  delay_ = 0;
  if (address == address_) return retry();
  address_ = std::move(address);
  const bool wasReady = std::exchange(ready_, false);
  if (wasReady) listeners_.each([](const Handlers& handlers) { handlers.lost(); });
  // What is called from within a callback of this connection must not free it.
  retry_ = loop_.after(0, [this] {
    link_.reset();
    connect();
  });
}

void Bus::retryLater() {
  delay_ = std::clamp(delay_ * 2, kFirstDelay, kLongestDelay);
  retry_ = loop_.after(delay_, [this] { connect(); });
}

void Bus::becameReady() {
  ready_ = true;
  delay_ = 0;
  listeners_.each([](const Handlers& handlers) { handlers.connected(); });
}

void Bus::becameLost() {
  const bool wasReady = std::exchange(ready_, false);
  // The library is still at work on this connection: it goes in a later pass.
  retry_ = loop_.after(0, [this] {
    link_.reset();
    retryLater();
  });
  if (wasReady) listeners_.each([](const Handlers& handlers) { handlers.lost(); });
}

std::unique_ptr<Subscription> Bus::listen(Handlers handlers) {
  if (!ready_) return listeners_.add(std::move(handlers));
  struct Late final : Subscription {
    std::unique_ptr<Subscription> membership;
    Timer first;
  };
  auto late = std::make_unique<Late>();
  const auto connected = handlers.connected;
  late->membership = listeners_.add(std::move(handlers));
  late->first = loop_.after(0, [this, connected] {
    if (ready_) connected();
  });
  return late;
}

BusMessage Bus::makeCall(const std::string& destination, const std::string& path, const std::string& interface,
                         const std::string& member) const {
  sd_bus_message* message = nullptr;
  if (connected())
    sd_bus_message_new_method_call(link_->bus, &message, destination.c_str(), path.c_str(), interface.c_str(),
                                   member.c_str());
  return BusMessage(message);
}

std::unique_ptr<Subscription> Bus::call(BusMessage message, double seconds, Reply reply) {
  auto pending = std::make_unique<PendingCall>(std::move(reply));
  sd_bus_slot* slot = nullptr;
  const auto limit = static_cast<std::uint64_t>(seconds * 1e6);
  if (message && connected() &&
      sd_bus_call_async(link_->bus, &slot, message.get(), &PendingCall::answered, pending->state.get(), limit) >= 0) {
    pending->slot.reset(slot);
  } else {
    PendingCall::State* state = pending->state.get();
    pending->failed = loop_.after(0, [state] { PendingCall::answered(nullptr, state, nullptr); });
  }
  return pending;
}

void Bus::send(BusMessage message) {
  if (!message || !connected()) return;
  sd_bus_message_set_expect_reply(message.get(), 0);
  sd_bus_send(link_->bus, message.get(), nullptr);
}

/// Follows the owner of one name over all connections.
class Bus::NameWatch final : public Subscription {
 public:
  NameWatch(Bus& bus, std::string name, std::function<void(const std::string&)> appeared,
            std::function<void()> vanished)
      : bus_(bus), name_(std::move(name)), appeared_(std::move(appeared)), vanished_(std::move(vanished)) {
    // Whoever has a unique name was there to tell it, and may be gone before we could look.
    if (name_.starts_with(':')) owner_ = name_;
    membership_ = bus.listen({[this] { begin(); }, [this] { end(); }});
  }
  ~NameWatch() override { *alive_ = false; }
  NameWatch(const NameWatch&) = delete;
  NameWatch& operator=(const NameWatch&) = delete;

 private:
  void begin() {
    const std::string rule =
        "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',interface="
        "'org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
        name_ + "'";
    sd_bus_slot* slot = nullptr;
    sd_bus_add_match_async(bus_.connection(), &slot, rule.c_str(), &changed, nullptr, this);
    match_.reset(slot);
    // The bus answers in order: what this finds is older than any change that is signalled.
    BusMessage question = bus_.makeCall(kBusName, kBusPath, kBusName, "GetNameOwner");
    if (question) sd_bus_message_append(question.get(), "s", name_.c_str());
    question_ = bus_.call(std::move(question), kNameTimeout, [this](sd_bus_message* reply) {
      const char* owner = nullptr;
      if (!reply) return;
      if (sd_bus_message_is_method_error(reply, SD_BUS_ERROR_NAME_HAS_NO_OWNER)) return become("");
      if (!sd_bus_message_is_method_error(reply, nullptr) && sd_bus_message_read(reply, "s", &owner) > 0) become(owner);
    });
  }

  void end() {
    match_.reset();
    question_.reset();
    become("");
  }

  static int changed(sd_bus_message* message, void* data, sd_bus_error*) {
    const char *name = nullptr, *before = nullptr, *after = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &after) > 0) static_cast<NameWatch*>(data)->become(after);
    return 0;
  }

  void become(const std::string& owner) {
    if (owner == owner_) return;
    const std::shared_ptr<bool> alive = alive_;
    const bool had = !std::exchange(owner_, owner).empty();
    if (had && owner.empty()) vanished_();
    if (*alive && !owner.empty()) appeared_(owner);
  }

  Bus& bus_;
  const std::string name_;
  const std::function<void(const std::string&)> appeared_;
  const std::function<void()> vanished_;
  std::string owner_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  Slot match_;
  std::unique_ptr<Subscription> question_;
  std::unique_ptr<Subscription> membership_;
};

std::unique_ptr<Subscription> Bus::watchName(std::string name, std::function<void(const std::string&)> appeared,
                                             std::function<void()> vanished) {
  return std::make_unique<NameWatch>(*this, std::move(name), std::move(appeared), std::move(vanished));
}

}  // namespace kestrelune
