#pragma once

#include <functional>
#include <memory>
#include <string>

#include "session/Listeners.hpp"
#include "session/SessionRunLoop.hpp"

struct sd_bus;
struct sd_bus_message;

namespace kestrelune {

struct BusMessageUnref {
  void operator()(sd_bus_message* message) const;
};
/// A message of sd-bus with its reference.
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageUnref>;

/// The one connection to the user's session bus. It is made when there is a bus, noticed when it is lost, and tried
/// again, later each time up to a minute. Nothing here blocks, and every call has a time limit.
class Bus {
 public:
  struct Handlers {
    std::function<void()> connected;  ///< the connection serves: add objects, send
    std::function<void()> lost;       ///< everything made on the connection is void
  };
  /// The answer, or an error message (`sd_bus_message_is_method_error`); null when there is no connection.
  using Reply = std::function<void(sd_bus_message* reply)>;

  /// Where the user's session bus is, as the environment says; empty: there is none.
  static std::string userAddress();

  explicit Bus(SessionRunLoop& loop, std::string address = userAddress());
  ~Bus();
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  SessionRunLoop& loop() { return loop_; }
  /// False where there is no bus and never will be.
  bool mayCome() const { return !address_.empty(); }
  /// Null while there is no connection.
  sd_bus* connection() const;
  bool connected() const { return connection() != nullptr; }
  /// Tries at once instead of waiting for the next turn.
  void retry();
  /// Leaves the present bus for the one at another address. The same address is only tried at once.
  void move(std::string address);

  /// `connected` is called later even when the connection exists already.
  [[nodiscard]] std::unique_ptr<Subscription> listen(Handlers handlers);
  /// `appeared` gets the unique name of the owner, again when it changes; `vanished` follows when the name has no owner
  /// any more or the bus is lost. Nothing is called while the name has never had an owner; a unique name counts as one
  /// that had.
  [[nodiscard]] std::unique_ptr<Subscription> watchName(std::string name,
                                                        std::function<void(const std::string& owner)> appeared,
                                                        std::function<void()> vanished);

  /// A method call to be filled by the caller; null without a connection.
  BusMessage makeCall(const std::string& destination, const std::string& path, const std::string& interface,
                      const std::string& member) const;
  /// Sends a call; `reply` comes once, in a later pass, unless the subscription is dropped before. A null message is
  /// answered with null.
  [[nodiscard]] std::unique_ptr<Subscription> call(BusMessage message, double seconds, Reply reply);
  /// Sends a call whose outcome nobody needs.
  void send(BusMessage message);

 private:
  class Connection;
  class NameWatch;

  void connect();
  void becameReady();
  void becameLost();
  void retryLater();

  SessionRunLoop& loop_;
  std::string address_;
  std::unique_ptr<Connection> link_;
  bool ready_ = false;
  double delay_ = 0;
  Timer retry_;
  Listeners<Handlers> listeners_;
};

}  // namespace kestrelune
