#pragma once

#include <functional>
#include <list>
#include <memory>

#include "base/Url.hpp"
#include "session/Bus.hpp"

namespace kestrelune {

/// The user's file manager, asked over the session bus.
class DesktopFileManager {
 public:
  explicit DesktopFileManager(Bus& bus) : bus_(bus) {}

  /// Shows the folder of a file with the file selected. `shown` is false where no file manager can do that, or none
  /// answers within some seconds; it comes in a later pass.
  void show(const Url& file, std::function<void(bool shown)> answer);

 private:
  Bus& bus_;
  std::list<std::unique_ptr<Subscription>> calls_;
};

}  // namespace kestrelune
