#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestrelune {

/// What needs the large Unicode library. It is a module of its own, loaded when the first text asks for it: most texts
/// are ASCII, and then the companion never pays for it.
class TextEngine {
 public:
  virtual ~TextEngine() = default;

  /// The number of characters, or `limit` as soon as there are that many.
  virtual std::size_t count(std::string_view text, std::size_t limit) const = 0;
  /// Bytes that the first, or the last, `count` characters take.
  virtual std::size_t prefixLength(std::string_view text, std::size_t count) const = 0;
  virtual std::size_t suffixLength(std::string_view text, std::size_t count) const = 0;
  virtual bool isSpace(char32_t character, bool lineEnds) const = 0;

  virtual std::string decimal(double value, int mostFractionDigits, std::string_view locale) const = 0;
  /// `zone` empty: the system's.
  virtual std::string formatDate(double secondsSince1970, std::string_view pattern, std::string_view locale,
                                 const std::string& zone) const = 0;
  /// The day of the Gregorian calendar in a zone, counted from any fixed day.
  virtual long long day(double secondsSince1970, const std::string& zone) const = 0;
};

/// The engine, loaded on the first call; null where its module is missing, which callers get along with.
const TextEngine* textEngine();

}  // namespace kestrelune

/// What the module exports.
extern "C" const kestrelune::TextEngine* kestreluneTextEngine();
