#pragma once

#include <optional>
#include <string>
#include <vector>

#include "RuntimeAction.hpp"

namespace kestrelune {

/// One planned menu line, on its way from the plans to what draws it.
struct MenuEntry {
  enum class Kind {
    section,  ///< a heading that can't be chosen
    item,
    separator,
  };

  Kind kind = Kind::item;
  std::string title;  ///< empty for a separator
  std::optional<std::string> subtitle;
  std::optional<std::string> detail;               ///< short state, at the right
  std::optional<Action> action;                    ///< absent: the line is only shown
  std::optional<bool> checked;                     ///< absent: no check mark
  std::optional<std::string> key;                  ///< key equivalent
  std::optional<std::vector<MenuEntry>> children;  ///< present: a submenu
  std::optional<std::string> settleKey;            ///< attention lines only: under which the line can be settled

  bool operator==(const MenuEntry&) const = default;
};

namespace MenuPlan {

/// The colour class of the pill beside the icon.
enum class Tone { none, needsYou, done, running };

}  // namespace MenuPlan

}  // namespace kestrelune
