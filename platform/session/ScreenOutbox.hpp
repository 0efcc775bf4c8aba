#pragma once

#include <deque>
#include <optional>
#include <string>

#include "base/Messages.hpp"

namespace kestrelune {

/// What the screen hasn't been sent yet, in order. A slow screen never makes it grow: of what only replaces something
/// earlier (trees of a window, looks of the icon, rows of a menu, texts to copy) the newest is kept, at the place of
/// the one it replaces; of menus only the last one is shown.
class ScreenOutbox {
 public:
  void add(messages::Down message);
  /// Takes the oldest message out.
  std::optional<messages::Down> next();
  void clear() { waiting_.clear(); }
  bool empty() const { return waiting_.empty(); }
  std::size_t size() const { return waiting_.size(); }

 private:
  std::deque<messages::Down> waiting_;
};

}  // namespace kestrelune
