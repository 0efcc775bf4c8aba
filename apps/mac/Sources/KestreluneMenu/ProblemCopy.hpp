#pragma once

#include <initializer_list>
#include <string>

#include "StringsTable.hpp"

namespace kestrelune {

/// The texts of reporting a problem.
namespace ProblemCopy {

enum class Key {
  menu,
  checking,
  title,
  body,
  bodyNoApp,
  notePlaceholder,
  check,
  checkWith,
  cancel,
  answered,
  failed,
  rowTitle,
  rowIdle,
  showReport,
  openChat,
  notSetUp,
  running,
  kCount,  ///< how many there are
};

/// In the user's language.
std::string text(Key key);
/// The same with its placeholders filled, in order.
std::string filled(Key key, std::initializer_list<text::Argument> arguments);
TextTable table();

}  // namespace ProblemCopy

}  // namespace kestrelune
