#pragma once

#include <initializer_list>
#include <string>

#include "StringsTable.hpp"

namespace kestrelune {

/// The texts of plan usage.
namespace UsageCopy {

enum class Key {
  title,
  left,
  session,
  weekly,
  monthly,
  usedResets,
  used,
  today,
  month,
  tokens,
  apiValue,
  mostly,
  note,
  kCount,  ///< how many there are
};

/// In the user's language.
std::string text(Key key);
/// The same with its placeholders filled, in order.
std::string filled(Key key, std::initializer_list<text::Argument> arguments);
TextTable table();

}  // namespace UsageCopy

}  // namespace kestrelune
