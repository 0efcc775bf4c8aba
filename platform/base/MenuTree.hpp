#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Json.hpp"

namespace kestrelune {

/// One line of a menu, as a value: what to show, and the texts that say what choosing it means. It knows nothing of
/// the program: `represented` and `settleKey` come back as they were given.
struct MenuRow {
  enum class Form {
    normal,     ///< title, detail at the right, subtitle under it
    header,     ///< headline and message, one accessibility element
    pair,       ///< name and state, no reaction
    attention,  ///< title, subtitle, and the buttons "Later" and "Done"
    section,    ///< a grey heading
    separator,
  };

  Form form = Form::normal;
  std::string title;
  std::string subtitle;
  std::string detail;
  std::string toolTip;
  std::string represented;  ///< what choosing the row stands for; empty: nothing to choose
  bool enabled = false;
  std::optional<bool> checked;                             ///< absent: no check mark
  std::string key;                                         ///< key equivalent, pressed with Control; empty: none
  std::string openTitle;                                   ///< attention, exported menus: the text of the opening
  std::string settleKey;                                   ///< attention only
  std::string laterTitle, laterHelp, doneTitle, doneHelp;  ///< attention only
  std::vector<MenuRow> children;                           ///< not empty: a submenu

  bool operator==(const MenuRow&) const = default;
};

using MenuTree = std::vector<MenuRow>;

/// What the user chose in a menu.
struct MenuChoice {
  enum class Part { row, later, done };
  Part part = Part::row;
  std::string represented;
  std::string settleKey;

  bool operator==(const MenuChoice&) const = default;
};

Json toJson(const MenuTree& menu);
/// Throws `JsonError`; nesting beyond eight levels throws too.
MenuTree menuFromJson(const Json& json);

}  // namespace kestrelune
