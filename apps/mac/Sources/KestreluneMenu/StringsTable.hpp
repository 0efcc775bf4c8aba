#pragma once

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "base/Text.hpp"

/// What all text tables share. A table has a closed set of keys, and one row for each of them in the order of the keys;
/// `isComplete` lets a table that misses one not compile.
namespace kestrelune {

enum class Language { english, german };

/// German when the first of the user's languages is German in any region, else English.
Language languageOf(const std::vector<std::string>& preferredLanguages);
/// Of the present moment; nothing remembers it.
Language currentLanguage();

struct TextRow {
  std::size_t position;  ///< of its key in the table's set of keys
  const char* key;
  const char* english;
  const char* german;

  std::string text(Language language) const;
};

using TextTable = std::span<const TextRow>;

template <class Key, std::size_t rowCount>
constexpr bool isComplete(const TextRow (&rows)[rowCount], Key count) {
  if (rowCount != static_cast<std::size_t>(count)) return false;
  for (std::size_t i = 0; i < rowCount; ++i) {
    if (rows[i].position != i || rows[i].english[0] == '\0' || rows[i].german[0] == '\0') return false;
  }
  return true;
}

}  // namespace kestrelune

/// One row of a table, where its `Key` is in scope.
#define KESTRELUNE_TEXT(key, english, german) \
  { static_cast<std::size_t>(Key::key), #key, english, german }
