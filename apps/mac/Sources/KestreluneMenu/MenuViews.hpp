#pragma once

#include <vector>

#include "MenuEntry.hpp"
#include "StatusReader.hpp"
#include "base/MenuTree.hpp"

/// From planned lines to rows of a menu: which form a line takes, what is shown of it, and what choosing it stands for.
namespace kestrelune::MenuViews {

/// The first row: how things stand, in one or two lines.
MenuRow header(const Snapshot& snapshot, bool settingUp);

/// `busy`: a setup or a check for updates is under way. Then restarting and setting up, which would collide with it,
/// can't be chosen.
MenuRow row(const MenuEntry& entry, bool busy);
MenuTree rows(const std::vector<MenuEntry>& entries, bool busy);

}  // namespace kestrelune::MenuViews
