#include "StringsTable.hpp"

/// Stands in for the unit of the same functions: German in which every word is two fifths longer, and makes up for what
/// a placeholder beside it can't be.
namespace kestrelune {

Language languageOf(const std::vector<std::string>&) { return Language::german; }
Language currentLanguage() { return Language::german; }

std::string TextRow::text(Language) const {
  std::string result;
  double missing = 0;
  for (std::string_view rest = german; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(rest.size(), word.size() + 1));
    missing += 0.4 * static_cast<double>(text::characterCount(word) + 1);
    result.append(result.empty() ? "" : " ").append(word);
    if (word.find_first_of("%@…") != std::string_view::npos) continue;
    const std::string more = text::firstCharacters(word, static_cast<std::size_t>(missing));
    missing -= static_cast<double>(text::characterCount(more));
    result += more;
  }
  return result;
}

}  // namespace kestrelune
