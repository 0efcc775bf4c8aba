#pragma once

#include <string>
#include <utility>

#include "base/RunLoop.hpp"
#include "base/Session.hpp"
#include "session/SessionCopy.hpp"

/// What stands for the peers of a desktop that aren't there: each keeps what it must, does nothing, and says so.
namespace kestrelune {

/// An icon that nobody shows. Its menu opens and closes without being seen.
class AbsentStatusItem final : public StatusItem {
 public:
  void setEvents(Events events) override { events_ = std::move(events); }
  void show(const StatusItemLook&) override {}
  void setMenu(const MenuTree&) override {}
  bool wantsMenuWhileClosed() const override { return false; }
  bool menuIsOpen() const override { return false; }
  void openMenu() override {
    if (events_.menuWillOpen) events_.menuWillOpen();
  }
  void cancelTracking() override {}

 private:
  Events events_;
};

class AbsentNotifications final : public NotificationCenter {
 public:
  explicit AbsentNotifications(RunLoop& loop) : loop_(loop) {}
  void setClicked(std::function<void(const std::string&)>) override {}
  void deliver(const Notification&, std::function<void(const std::string&)> failed) override {
    loop_.post([failed = std::move(failed)] { failed(session_copy::text(session_copy::Key::noNotifications)); });
  }

 private:
  RunLoop& loop_;
};

}  // namespace kestrelune
