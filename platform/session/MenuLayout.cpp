#include "session/MenuLayout.hpp"

#include <utility>

#include "base/Text.hpp"

namespace kestrelune {
namespace {

/// Numbers are 32 bits wide on the bus; a program that has used them all up starts anew, long after any host forgot.
constexpr std::int32_t kLastNumber = 0x7ffffff0;

std::string identityOf(const MenuRow& row) {
  std::string identity = std::to_string(static_cast<int>(row.form));
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

bool canBeChosen(const MenuRow& row) {
  return row.form == MenuRow::Form::normal && row.enabled && !row.represented.empty();
}

}  // namespace

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

bool MenuLayout::setMenu(const MenuTree& menu) {
  const std::map<std::int32_t, Item> before = std::exchange(items_, {});
  if (last_ > kLastNumber) last_ = kRoot, numbers_.clear();
  items_[kRoot];
  Names names;
  add(kRoot, "", menu, 1, names);
  numbers_ = std::move(names.numbers);
  return items_ != before;
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
