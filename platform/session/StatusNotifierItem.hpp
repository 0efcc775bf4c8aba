#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Session.hpp"
#include "session/Bus.hpp"
#include "session/Pixmaps.hpp"

struct sd_bus_slot;

namespace kestrelune {

/// The icon as a StatusNotifierItem of our own on the session bus. Registered anew with each watcher that comes; hosts
/// are signalled only what has changed.
class StatusNotifierItem {
 public:
  struct Events {
    std::function<void(bool hasHost)> hostChanged;
    std::function<void(int x, int y)> activated;   ///< a click, or a wish for the menu, at a place of the display
    std::function<void()> secondaryActivated;      ///< a middle click
    std::function<void(std::string token)> token;  ///< the permission to come to the front that a click gives
  };

  StatusNotifierItem(Bus& bus, Events events);
  ~StatusNotifierItem();
  StatusNotifierItem(const StatusNotifierItem&) = delete;
  StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;

  void show(const StatusItemLook& look);
  /// Whether a host should open the exported menu by itself instead of telling of a click. One that tells all the same
  /// is refused, which hosts take as the wish that they open the menu.
  void setItemIsMenu(bool itemIsMenu);
  bool hasHost() const { return hasHost_; }

 private:
  struct Methods;
  friend struct Methods;

  void publish();
  void unpublish();
  void watcherAppeared(const std::string& owner);
  void watcherVanished();
  void registerItem();
  void askForHost();
  void setHost(bool hasHost);
  void signal(const char* member);
  void propertyChanged(const char* name);

  Bus& bus_;
  const Events events_;
  std::optional<StatusItemLook> look_;
  bool itemIsMenu_ = true;
  bool hasHost_ = false;
  std::string watcher_;
  std::vector<sd_bus_slot*> slots_;
  std::unique_ptr<Subscription> connection_, watch_, registering_, asking_;
  std::vector<Pixmap> pixmaps_;  ///< of the present look, while hosts ask; empty: to be drawn
  Timer again_, forgetting_;
};

}  // namespace kestrelune
