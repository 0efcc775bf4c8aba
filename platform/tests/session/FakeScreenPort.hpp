#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "session/Listeners.hpp"
#include "session/ScreenPort.hpp"

namespace kestrelune {

/// A way to a screen that a test starts, loses and speaks for.
class FakeScreenPort final : public ScreenPort {
 public:
  bool hasDisplay() const override { return display; }
  bool running() const override { return isRunning; }
  bool placesPopups() const override { return places; }
  void ensure() override { wanted = display; }
  void send(messages::Down message) override {
    if (isRunning) sent.push_back(std::move(message));
  }
  std::unique_ptr<Subscription> listen(Handlers handlers) override { return listeners_.add(std::move(handlers)); }

  /// A screen comes up, if one was asked for.
  bool start() {
    if (!std::exchange(wanted, false)) return false;
    isRunning = true;
    sent.clear();
    listeners_.each([this](const Handlers& handlers) { handlers.started({.placesPopups = places}); });
    return true;
  }
  void lose() {
    isRunning = false;
    listeners_.each([](const Handlers& handlers) { handlers.lost(); });
  }
  void say(const messages::Up& message) {
    listeners_.each([&](const Handlers& handlers) {
      if (handlers.received) handlers.received(message);
    });
  }
  template <class Message>
  std::vector<Message> all() const {
    std::vector<Message> found;
    for (const messages::Down& message : sent)
      if (const Message* one = std::get_if<Message>(&message)) found.push_back(*one);
    return found;
  }

  bool display = true, places = true, isRunning = false, wanted = false;
  std::vector<messages::Down> sent;

 private:
  Listeners<Handlers> listeners_;
};

}  // namespace kestrelune
