#include "MenuViews.hpp"

#include <string>

#include "RuntimeAction.hpp"
#include "SettleCopy.hpp"
#include "SetupCopy.hpp"
#include "Strings.hpp"
#include "base/Text.hpp"

namespace kestrelune::MenuViews {
namespace {

constexpr std::size_t kSubtitleLimit = 71, kSubtitleKeep = 69;
/// Several times what fits into a row or a tool tip: what lies beyond would only be sent and measured in vain.
constexpr std::size_t kMostCharacters = 600;

std::string shown(const std::string& full) { return text::shortened(full, kMostCharacters + 1, kMostCharacters); }

std::string shownSubtitle(const MenuEntry& entry) {
  return text::shortened(entry.subtitle.value_or(""), kSubtitleLimit, kSubtitleKeep);
}

bool collides(const Action& action) {
  return action.kind() == Action::Kind::restart || action.kind() == Action::Kind::setup;
}

MenuRow attention(const MenuEntry& entry) {
  MenuRow row;
  row.form = MenuRow::Form::attention;
  row.title = shown(entry.title);
  row.subtitle = shownSubtitle(entry);
  row.enabled = true;
  if (entry.action) row.represented = entry.action->identifier();
  const std::string detail = shown(entry.detail.value_or(""));
  row.openTitle = detail.empty() ? SetupCopy::text(SetupCopy::Key::open) : detail;
  row.toolTip = shown(entry.subtitle.value_or(""));
  if (!row.toolTip.empty() && !detail.empty()) row.toolTip += " — ";
  row.toolTip += detail;
  row.settleKey = *entry.settleKey;
  row.laterTitle = SettleCopy::text(SettleCopy::Key::later);
  row.laterHelp = SettleCopy::text(SettleCopy::Key::laterHelp);
  row.doneTitle = SettleCopy::text(SettleCopy::Key::settle);
  row.doneHelp = SettleCopy::text(SettleCopy::Key::settleHelp);
  return row;
}

MenuRow normal(const MenuEntry& entry, bool busy) {
  MenuRow row;
  row.title = shown(entry.title);
  row.subtitle = shownSubtitle(entry);
  row.detail = shown(entry.detail.value_or(""));
  row.checked = entry.checked;
  row.key = entry.key.value_or("");
  if (entry.action) {
    row.represented = entry.action->identifier();
    row.enabled = !(busy && collides(*entry.action));
  }
  return row;
}

}  // namespace

MenuRow header(const Snapshot& snapshot, bool settingUp) {
  MenuRow row;
  row.form = MenuRow::Form::header;
  row.title = settingUp ? Copy::text(Copy::Key::settingUp) : headline(snapshot);
  row.subtitle = settingUp ? Copy::text(Copy::Key::settingUpBody) : shown(message(snapshot).value_or(""));
  return row;
}

MenuRow row(const MenuEntry& entry, bool busy) {
  MenuRow row;
  if (entry.kind == MenuEntry::Kind::separator) {
    row.form = MenuRow::Form::separator;
  } else if (entry.kind == MenuEntry::Kind::section) {
    row.form = MenuRow::Form::section;
    row.title = entry.title;
  } else if (entry.children) {
    row.title = shown(entry.title);
    row.children = rows(*entry.children, busy);
    row.enabled = !row.children.empty();
  } else if (entry.settleKey) {
    row = attention(entry);
  } else if (!entry.action && !entry.subtitle && entry.detail) {
    row.form = MenuRow::Form::pair;
    row.title = shown(entry.title);
    row.detail = shown(*entry.detail);
  } else {
    row = normal(entry, busy);
  }
  return row;
}

MenuTree rows(const std::vector<MenuEntry>& entries, bool busy) {
  MenuTree result;
  result.reserve(entries.size());
  for (const MenuEntry& entry : entries) result.push_back(row(entry, busy));
  return result;
}

}  // namespace kestrelune::MenuViews
