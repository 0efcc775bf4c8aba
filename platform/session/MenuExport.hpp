#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Lifetime.hpp"
#include "session/Bus.hpp"
#include "session/MenuLayout.hpp"

struct sd_bus_slot;

namespace kestrelune {

/// The menu as `com.canonical.dbusmenu` on the session bus, for hosts that draw it themselves. While a host has it open
/// nothing moves under the pointer: what stays a row shows its new words, and one signal of change goes out when it
/// closes. Until then what a row said is what a click on it does.
class MenuExport {
 public:
  static constexpr const char* kPath = "/MenuBar";

  struct Events {
    std::function<void()> willOpen;  ///< compose it now
    std::function<void(const MenuChoice&)> chosen;
    std::function<void(bool open)> openChanged;  ///< a host shows the menu, or no longer does
  };

  MenuExport(Bus& bus, Events events);
  ~MenuExport();
  MenuExport(const MenuExport&) = delete;
  MenuExport& operator=(const MenuExport&) = delete;

  void setMenu(const MenuTree& menu);
  bool isOpen() const { return open_; }

 private:
  struct Methods;
  friend struct Methods;

  void publish();
  void unpublish();
  void setOpen(bool open);
  void opened(const std::string& host);
  void closed();
  /// `data` of an event is of no interest. False for a number that isn't in use.
  bool event(std::int32_t id, const std::string& kind, const std::string& sender);
  bool aboutToShow(std::int32_t id);
  void changed();
  void tellProperties(const std::vector<std::int32_t>& ids);

  Bus& bus_;
  const Events events_;
  MenuLayout layout_;
  std::uint32_t revision_ = 1;
  bool open_ = false;
  bool owesSignal_ = false;
  std::uint32_t told_ = 0;  ///< the revision that a host was told of in an answer, and hasn't fetched yet
  sd_bus_slot* slot_ = nullptr;
  std::unique_ptr<Subscription> connection_;
  std::unique_ptr<Subscription> host_;  ///< of the open menu: when it goes, the menu has closed
  Timer forgetting_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
