#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

/// Unicode text. "Characters" are user-perceived ones (extended grapheme clusters). Plain ASCII is handled here;
/// anything else loads the text module on first use.
namespace kestrelune::text {

std::size_t characterCount(std::string_view text);
/// The first or last `count` characters; the whole text when it is shorter.
std::string firstCharacters(std::string_view text, std::size_t count);
std::string lastCharacters(std::string_view text, std::size_t count);
/// True when the text has at least `count` characters; looks no further than needed.
bool hasAtLeast(std::string_view text, std::size_t count);
/// A text of `limit` or more characters cut to its first `keep` characters and "…"; others as they stand.
std::string shortened(std::string_view text, std::size_t limit, std::size_t keep);

/// Without white space (all Unicode spaces; line ends too) at both ends.
std::string trimmed(std::string_view text);
/// Without blanks and tabs (Unicode spaces, no line ends) at both ends.
std::string trimmedBlanks(std::string_view text);
/// Pieces between white space and line ends; empty pieces are dropped.
std::string joinedWords(std::string_view text);
std::string replacedAll(std::string text, std::string_view from, std::string_view to);
/// ASCII only.
std::string lowercased(std::string_view text);

bool isValidUtf8(std::string_view bytes);
/// Invalid sequences become U+FFFD; valid text stays as it is.
std::string repairedUtf8(std::string_view bytes);

using Argument = std::variant<std::string, long long>;
/// Fills "%@" with strings and "%d" with integers in order; "%%" gives "%". A placeholder without an argument of its
/// kind stays as it stands. Arguments are never read as patterns.
std::string filled(std::string_view pattern, std::initializer_list<Argument> arguments);

/// Percent-encodes all bytes but ASCII letters, digits and those in `allowed`.
std::string percentEncoded(std::string_view text, std::string_view allowed);
std::string base64(std::string_view bytes);
/// Absent when the text isn't base64.
std::optional<std::string> fromBase64(std::string_view text);

/// A decimal number in the words of `locale` ("en_US", "de_DE"), grouped, without minimum fraction digits, rounded
/// half to even.
std::string decimal(double value, int mostFractionDigits, std::string_view locale);

/// True for the 36-character form with dashes, either case.
bool isUuid(std::string_view text);
/// A fresh random UUID, upper case.
std::string makeUuid();

}  // namespace kestrelune::text
