#pragma once

#include <initializer_list>
#include <string>

#include "StringsTable.hpp"

namespace kestrelune {

/// The texts of a new version of the program itself.
namespace AppUpdateCopy {

enum class Key {
  manualTitle,
  manualBody,
  kCount,  ///< how many there are
};

/// In the user's language.
std::string text(Key key);
/// The same with its placeholders filled, in order.
std::string filled(Key key, std::initializer_list<text::Argument> arguments);
TextTable table();

}  // namespace AppUpdateCopy

}  // namespace kestrelune
