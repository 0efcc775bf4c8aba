#include "session/MenuLayout.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/Text.hpp"

namespace kestrelune {
namespace {

/// Numbers are 32 bits wide on the bus; a program that has used them all up starts anew, long after any host forgot.
constexpr std::int32_t kLastNumber = 0x7ffffff0;

bool canBeChosen(const MenuRow& row) {
  return row.form == MenuRow::Form::normal && row.enabled && !row.represented.empty();
}

std::string identityOf(const MenuRow& row) {
  std::string identity = std::to_string(static_cast<int>(row.form));
  // What only says something is the same line when it says something else: how an update goes is told in one place.
  if (row.form != MenuRow::Form::attention && row.children.empty() && !canBeChosen(row)) return identity;
  // What it says and what it does: a line whose state or detail changes is the same line still, but a click on "Tool:
  // on" never lands on what has become "Tool: off", and no task inherits the number of another that leads to one place.
  for (const std::string* part : {&row.title, &row.represented, &row.settleKey}) identity += '\x1f' + *part;
  return identity;
}

/// What a row says beside its title; a host has no second line to say it in.
std::string besideTitle(const MenuRow& row) {
  if (row.form == MenuRow::Form::attention) return "";
  if (row.form == MenuRow::Form::header || row.detail.empty()) return row.subtitle;
  return row.subtitle.empty() ? row.detail : row.detail + " · " + row.subtitle;
}

/// Where the section that begins here ends.
std::size_t endOfSection(const MenuTree& menu, std::size_t begin) {
  std::size_t end = begin + 1;
  while (end < menu.size() && menu[end].form != MenuRow::Form::section && menu[end].form != MenuRow::Form::separator)
    ++end;
  return end;
}

/// The section that gives the most room as a submenu; the first one, which is what needs the user, only when no other
/// is left. The end of the menu: there is none.
std::size_t longestSection(const MenuTree& menu) {
  std::size_t longest = menu.size(), most = 1, first = menu.size();
  for (std::size_t at = 0; at < menu.size(); ++at) {
    if (menu[at].form != MenuRow::Form::section) continue;
    const std::size_t rows = endOfSection(menu, at) - at;
    if (first == menu.size()) {
      first = at;
    } else if (rows > most) {
      longest = at, most = rows;
    }
  }
  const bool firstHelps = first < menu.size() && endOfSection(menu, first) - first > 1;
  return longest == menu.size() && firstHelps ? first : longest;
}

/// A submenu between two others needs no line on either side.
void removeNeedlessLines(MenuTree& menu) {
  for (std::size_t at = 1; at + 1 < menu.size();) {
    const bool stands =
        menu[at].form != MenuRow::Form::separator || menu[at - 1].children.empty() || menu[at + 1].children.empty();
    if (stands)
      ++at;
    else
      menu.erase(menu.begin() + static_cast<std::ptrdiff_t>(at));
  }
}

}  // namespace

MenuTree foldedMenu(MenuTree menu) {
  if (menu.size() > 1 && menu[0].form == MenuRow::Form::header) {
    const auto said = std::find_if(menu.begin() + 1, menu.end(),
                                   [](const MenuRow& row) { return row.form != MenuRow::Form::separator; });
    if (said != menu.end() && said->form == MenuRow::Form::section && said->title == menu[0].title) menu.erase(said);
  }
  while (menu.size() > MenuLayout::kMostRows) {
    const std::size_t begin = longestSection(menu);
    if (begin == menu.size()) break;
    const auto from = menu.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto to = menu.begin() + static_cast<std::ptrdiff_t>(endOfSection(menu, begin));
    MenuRow box{.title = from->title, .detail = from->detail, .enabled = true};
    box.children.assign(std::make_move_iterator(from + 1), std::make_move_iterator(to));
    *from = std::move(box);
    menu.erase(from + 1, to);
    removeNeedlessLines(menu);
  }
  return menu;
}

/// The numbers of one composition: identities so far, so that equal entries in one place stay two.
struct MenuLayout::Names {
  std::map<std::string, std::int32_t> numbers;
  std::map<std::string, int> ordinals;
};

std::string exportedLabel(const std::string& title, const std::string& detail) {
  // The title is what gives way: the detail tells how it goes.
  std::string rest = text::shortened(detail, MenuLayout::kLongestDetail, MenuLayout::kLongestDetail - 1);
  if (!rest.empty() && !title.empty()) rest.insert(0, " — ");
  const std::size_t room = MenuLayout::kLongestLabel - text::characterCount(rest);
  std::string label = text::shortened(title, room, room - 1) + rest;
  // One character can hold any number of combining marks.
  if (label.size() > MenuLayout::kMostLabelBytes) label.resize(MenuLayout::kMostLabelBytes);
  std::string plain;
  for (const char c : text::repairedUtf8(label)) {
    if (c == '\0') {
      plain += "\xEF\xBF\xBD";
    } else if (c == '\n' || c == '\r' || c == '\t') {
      plain += ' ';
    } else {
      plain += c;
      if (c == '_') plain += c;
    }
  }
  return plain;
}

MenuLayout::MenuLayout() { items_[kRoot]; }

const MenuLayout::Item* MenuLayout::find(std::int32_t id) const {
  const auto found = items_.find(id);
  return found == items_.end() ? nullptr : &found->second;
}

const MenuLayout::Item* MenuLayout::shown(std::int32_t id) const {
  const auto gone = gone_.find(id);
  return gone == gone_.end() ? find(id) : &gone->second;
}

void MenuLayout::keepShown(bool keeps) {
  keepsShown_ = keeps;
  gone_.clear();
}

MenuLayout::Change MenuLayout::setMenu(const MenuTree& menu) {
  const std::map<std::int32_t, Item> before = std::exchange(items_, {});
  if (last_ > kLastNumber) last_ = kRoot, numbers_.clear();
  items_[kRoot];
  Names names;
  add(kRoot, "", menu, 1, names);
  numbers_ = std::move(names.numbers);
  Change change{.any = items_ != before};
  for (const auto& [id, item] : before) {
    const Item* now = find(id);
    if (!now && keepsShown_) gone_.try_emplace(id, item);
    if (!now) continue;
    Item same = *now;
    same.children = item.children;
    if (same != item) change.properties.push_back(id);
  }
  return change;
}

std::int32_t MenuLayout::append(std::int32_t parent, const std::string& identity, Item item, Names& names) {
  const std::string name = identity + '\x1e' + std::to_string(names.ordinals[identity]++);
  const auto known = numbers_.find(name);
  const std::int32_t id = known != numbers_.end() ? known->second : ++last_;
  names.numbers[name] = id;
  items_[id] = std::move(item);
  items_[parent].children.push_back(id);
  return id;
}

void MenuLayout::add(std::int32_t parent, const std::string& path, const MenuTree& rows, int level, Names& names) {
  if (level > kDeepest) return;
  for (const MenuRow& row : rows) {
    Item item{.label = exportedLabel(row.title, besideTitle(row)),
              .separator = row.form == MenuRow::Form::separator,
              .enabled = canBeChosen(row) || !row.children.empty() || row.form == MenuRow::Form::attention,
              .checked = row.checked,
              .key = row.key};
    if (canBeChosen(row) && row.children.empty()) {
      item.choice = MenuChoice{.represented = row.represented, .settleKey = row.settleKey};
    }
    const std::string identity = path + '\x1d' + identityOf(row);
    const std::int32_t id = append(parent, identity, std::move(item), names);
    if (row.form == MenuRow::Form::attention) {
      if (level < kDeepest) addAttention(id, identity, row, names);
    } else {
      add(id, identity, row.children, level + 1, names);
    }
  }
}

/// What a row of ours does with its buttons, a host does with a submenu.
void MenuLayout::addAttention(std::int32_t id, const std::string& path, const MenuRow& row, Names& names) {
  const auto entry = [&](const char* part, const std::string& label, std::optional<MenuChoice::Part> choice) {
    Item item{.label = exportedLabel(label, ""), .enabled = choice.has_value()};
    if (choice) item.choice = MenuChoice{.part = *choice, .represented = row.represented, .settleKey = row.settleKey};
    append(id, path + '\x1d' + part, std::move(item), names);
  };
  if (!row.subtitle.empty()) entry("subtitle", row.subtitle, std::nullopt);
  if (!row.represented.empty()) {
    entry("open", row.detail.empty() ? row.openTitle : row.detail, MenuChoice::Part::row);
  }
  entry("later", row.laterTitle, MenuChoice::Part::later);
  entry("done", row.doneTitle, MenuChoice::Part::done);
}

}  // namespace kestrelune
