#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "base/Session.hpp"
#include "session/ActivationToken.hpp"
#include "session/Bus.hpp"

struct sd_bus_slot;

namespace kestrelune {

/// Notifications over the desktop's server. It is asked what it can, once for each owner of its name; what it showed is
/// forgotten when it goes. One call is under way at a time, so that a later notification replaces an earlier one of the
/// same id whatever their order of answering. A server that isn't there yet is waited for; one that doesn't answer
/// fails what waits.
class DesktopNotifications final : public NotificationCenter {
 public:
  struct Limits {
    double answer = 10;  ///< seconds for a call
    double server = 30;  ///< seconds for a server to appear
  };

  DesktopNotifications(Bus& bus, ActivationToken& activation) : DesktopNotifications(bus, activation, Limits()) {}
  DesktopNotifications(Bus& bus, ActivationToken& activation, Limits limits);
  ~DesktopNotifications() override;
  DesktopNotifications(const DesktopNotifications&) = delete;
  DesktopNotifications& operator=(const DesktopNotifications&) = delete;

  void setClicked(std::function<void(const std::string& action)> clicked) override { clicked_ = std::move(clicked); }
  void deliver(const Notification& notification, std::function<void(const std::string& reason)> failed) override;

 private:
  struct Waiting {
    Notification notification;
    std::function<void(const std::string&)> failed;
  };
  struct Shown {
    std::string id, action;
    bool closed = false;  ///< its number may no longer be used to replace it
  };

  void appeared(const std::string& owner);
  void vanished();
  void forget();
  void work();
  void askCapabilities();
  void notify();
  void delivered(const Notification& notification, std::uint32_t number);
  void failAll(const std::string& reason);
  bool can(const char* capability) const { return capabilities_->contains(capability); }
  /// True for an answer that is an error; then `reason` says which, and `noServer` whether nobody is there to answer.
  static bool isError(sd_bus_message* reply, std::string& reason, bool& noServer);
  void serverFailed(const std::string& reason, bool noServer);
  std::uint32_t numberToReplace(const std::string& id) const;

  struct Signals;

  Bus& bus_;
  ActivationToken& activation_;
  Limits limits_;
  std::function<void(const std::string&)> clicked_;
  std::string owner_;
  std::optional<std::set<std::string, std::less<>>> capabilities_;
  std::deque<Waiting> waiting_;
  std::map<std::uint32_t, Shown> shown_;
  std::string token_;
  std::uint32_t tokenFor_ = 0;
  std::unique_ptr<Subscription> call_;
  Timer patience_;
  std::deque<std::shared_ptr<sd_bus_slot>> matches_;
  std::unique_ptr<Subscription> watching_;
  std::unique_ptr<Subscription> connecting_;
};

}  // namespace kestrelune
