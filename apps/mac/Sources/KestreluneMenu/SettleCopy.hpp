#pragma once

#include <initializer_list>
#include <string>

#include "StringsTable.hpp"

namespace kestrelune {

/// The texts of putting attention off and taking it off the list.
namespace SettleCopy {

enum class Key {
  later,
  settle,
  laterHelp,
  settleHelp,
  laterNote,
  settledNote,
  showAgain,
  kCount,  ///< how many there are
};

/// In the user's language.
std::string text(Key key);
/// The same with its placeholders filled, in order.
std::string filled(Key key, std::initializer_list<text::Argument> arguments);
TextTable table();

}  // namespace SettleCopy

}  // namespace kestrelune
