#include <cmath>

#include "Input.hpp"
#include "base/Dates.hpp"
#include "base/Text.hpp"
#include "base/Url.hpp"

using namespace kestrelune;

/// Times, addresses and the handling of text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::text(data, size);
  if (const auto date = parseIso8601(text)) {
    fuzz::require(std::isfinite(date->seconds), "a time is a number");
    fuzz::require(parseIso8601(formatIso8601(*date)) == Date{std::floor(date->seconds)}, "a time reads back");
  }
  const std::string good = text::repairedUtf8(text);
  fuzz::require(text::isValidUtf8(good) && text::repairedUtf8(good) == good, "repaired text is good");
  const std::size_t count = text::characterCount(good);
  fuzz::require(text::hasAtLeast(good, count) && !text::hasAtLeast(good, count + 1), "both ways of counting agree");
  const std::string first = text::firstCharacters(good, 3), last = text::lastCharacters(good, 3);
  fuzz::require(good.starts_with(first) && good.ends_with(last), "pieces are from the ends");
  fuzz::require(text::isValidUtf8(text::trimmed(good)) && text::isValidUtf8(text::joinedWords(good)),
                "pieces are UTF-8");
  fuzz::require(text::fromBase64(text::base64(text)) == text, "base64 reads back");
  text::fromBase64(text);
  text::trimmed(text);
  if (const auto url = Url::parse(text)) {
    url->host(), url->user(), url->port(), url->query(), url->fragment();
    fuzz::require(url->text() == text, "an address keeps its text");
  }
  if (!text.empty() && text.find('\0') == std::string_view::npos) {
    const std::string path = Url::file(text).standardized().path();
    fuzz::require(path.starts_with('/') && path.find("/../") == std::string::npos, "a standardized path has no way up");
  }
  return 0;
}
