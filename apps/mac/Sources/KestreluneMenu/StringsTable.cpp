#include "StringsTable.hpp"

#include "base/System.hpp"

namespace kestrelune {

Language languageOf(const std::vector<std::string>& preferredLanguages) {
  const bool german = !preferredLanguages.empty() && preferredLanguages.front().starts_with("de");
  return german ? Language::german : Language::english;
}

Language currentLanguage() { return languageOf(system::preferredLanguages()); }

std::string TextRow::text(Language language) const { return language == Language::german ? german : english; }

}  // namespace kestrelune
