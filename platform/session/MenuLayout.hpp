#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/MenuTree.hpp"

namespace kestrelune {

/// A menu as it is exported: plain items with numbers. An entry keeps its number for as long as it is there, and no
/// number is ever used again for another one.
class MenuLayout {
 public:
  struct Item {
    std::string label;
    bool separator = false;
    bool enabled = true;
    std::optional<bool> checked;
    std::string key;  ///< pressed with Control; empty: none
    std::optional<MenuChoice> choice;
    std::vector<std::int32_t> children;

    bool operator==(const Item&) const = default;
  };

  static constexpr std::int32_t kRoot = 0;
  /// Hosts get no deeper menus: a bus library refuses a reply that nests too much, and the connection with it.
  static constexpr int kDeepest = 8;
  /// Characters of a label; what lies beyond is cut.
  static constexpr std::size_t kLongestLabel = 200;
  static constexpr std::size_t kLongestDetail = 120;  ///< of these
  static constexpr std::size_t kMostLabelBytes = 8000;

  /// Rows of the top level, beyond which long sections become submenus: a host's menu may not scroll.
  static constexpr std::size_t kMostRows = 16;

  struct Change {
    bool any = false;                      ///< of what a host sees
    std::vector<std::int32_t> properties;  ///< entries that stay and look different
  };

  MenuLayout();
  Change setMenu(const MenuTree& menu);
  /// Null for a number that isn't in use.
  const Item* find(std::int32_t id) const;
  /// The same, and an entry that has gone since a host shows the menu: what it said is what a click on it means.
  const Item* shown(std::int32_t id) const;
  /// Whether entries that go are kept for `shown`. Those that were kept so far are forgotten.
  void keepShown(bool keeps);
  const std::map<std::int32_t, Item>& items() const { return items_; }

 private:
  struct Names;
  void add(std::int32_t parent, const std::string& path, const MenuTree& rows, int level, Names& names);
  void addAttention(std::int32_t id, const std::string& path, const MenuRow& row, Names& names);
  std::int32_t append(std::int32_t parent, const std::string& identity, Item item, Names& names);

  std::map<std::int32_t, Item> items_;
  std::map<std::string, std::int32_t> numbers_;  ///< of the present entries, by what they are and where
  std::int32_t last_ = kRoot;
  bool keepsShown_ = false;
  std::map<std::int32_t, Item> gone_;
};

/// The menu as hosts get it: at most `MenuLayout::kMostRows` rows on its top level as far as sections allow it, and no
/// section that only repeats the header.
MenuTree foldedMenu(MenuTree menu);

/// The label of a row for a host: title and detail, underscores doubled, one line, cut to a sane length, the title
/// before the detail.
std::string exportedLabel(const std::string& title, const std::string& detail);

}  // namespace kestrelune
