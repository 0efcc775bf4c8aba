#include "base/Text.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <limits>
#include <system_error>

#include "base/ModuleLoader.hpp"
#include "base/TextEngine.hpp"

namespace kestrelune {

const TextEngine* textEngine() {
  static const TextEngine* const engine = [] {
    auto* make =
        reinterpret_cast<decltype(&kestreluneTextEngine)>(loadModule("libKestreluneText.so", "kestreluneTextEngine"));
    return make ? make() : nullptr;
  }();
  return engine;
}

namespace text {
namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();
constexpr char32_t kReplacement = 0xFFFD;

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// In ASCII only a line end of two bytes is one character; such a text is left to the engine.
bool isPlain(std::string_view text) { return isAscii(text) && text.find('\r') == std::string_view::npos; }

bool isAsciiSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

/// The code point at `position` and its length; length 0 where the bytes are no UTF-8.
struct CodePoint {
  char32_t value = 0;
  std::size_t length = 0;
};

CodePoint codePointAt(std::string_view text, std::size_t position) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[position + i]); };
  const unsigned char first = byte(0);
  if (first < 0x80) return {first, 1};
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || position + length > text.size()) return {};
  char32_t value = first & (0xFF >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (!isContinuation(text[position + i])) return {};
    value = (value << 6) | (byte(i) & 0x3F);
  }
  static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (value < kSmallest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return {};
  return {value, length};
}

/// How far a broken sequence reaches: its longest part that could have begun a character.
std::size_t brokenLength(std::string_view text, std::size_t position) {
  const auto first = static_cast<unsigned char>(text[position]);
  if (first < 0xC2 || first > 0xF4) return 1;
  const std::size_t wanted = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  std::size_t length = 1;
  while (length < wanted && position + length < text.size() && isContinuation(text[position + length])) {
    const auto second = static_cast<unsigned char>(text[position + 1]);
    const bool impossible = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                            (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    if (impossible) return 1;
    ++length;
  }
  return length;
}

bool isSpace(char32_t value, bool lineEnds) {
  if (value < 0x80) {
    const char c = static_cast<char>(value);
    return lineEnds ? isAsciiSpace(c) : c == ' ' || c == '\t';
  }
  const TextEngine* engine = textEngine();
  return engine && engine->isSpace(value, lineEnds);
}

std::size_t previousPosition(std::string_view text, std::size_t position) {
  std::size_t start = position - 1;
  while (start > 0 && position - start < 4 && isContinuation(text[start])) --start;
  return start + codePointAt(text, start).length == position ? start : position - 1;
}

std::string_view trimmedEnds(std::string_view text, bool lineEnds) {
  while (!text.empty()) {
    const CodePoint first = codePointAt(text, 0);
    if (first.length == 0 || !isSpace(first.value, lineEnds)) break;
    text.remove_prefix(first.length);
  }
  while (!text.empty()) {
    const std::size_t start = previousPosition(text, text.size());
    const CodePoint last = codePointAt(text, start);
    if (last.length == 0 || !isSpace(last.value, lineEnds)) break;
    text = text.substr(0, start);
  }
  return text;
}

/// Without the engine a character is a code point.
std::size_t codePointCount(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

std::size_t codePointsLength(std::string_view text, std::size_t count) {
  std::size_t position = 0;
  for (; position < text.size(); ++position) {
    if (!isContinuation(text[position]) && count-- == 0) break;
  }
  return position;
}

void appendUtf8(std::string& out, char32_t value) {
  if (value < 0x80) {
    out += static_cast<char>(value);
    return;
  }
  const int more = value >= 0x10000 ? 3 : value >= 0x800 ? 2 : 1;
  static constexpr unsigned char kLead[] = {0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(kLead[more] | (value >> (6 * more)));
  for (int i = more - 1; i >= 0; --i) out += static_cast<char>(0x80 | ((value >> (6 * i)) & 0x3F));
}

}  // namespace

std::size_t characterCount(std::string_view text) {
  if (isPlain(text)) return text.size();
  const TextEngine* engine = textEngine();
  return engine ? engine->count(text, kNoLimit) : codePointCount(text);
}

bool hasAtLeast(std::string_view text, std::size_t count) {
  if (text.size() < count) return false;
  if (isPlain(text.substr(0, count + 1))) return true;
  const TextEngine* engine = textEngine();
  return engine ? engine->count(text, count) >= count : codePointCount(text) >= count;
}

std::string firstCharacters(std::string_view text, std::size_t count) {
  if (text.size() <= count) return std::string(text);
  // One byte more: what follows may join the last character.
  if (isPlain(text.substr(0, count + 1))) return std::string(text.substr(0, count));
  const TextEngine* engine = textEngine();
  return std::string(text.substr(0, engine ? engine->prefixLength(text, count) : codePointsLength(text, count)));
}

std::string lastCharacters(std::string_view text, std::size_t count) {
  if (text.size() <= count) return std::string(text);
  if (isPlain(text.substr(text.size() - count - 1))) return std::string(text.substr(text.size() - count));
  const TextEngine* engine = textEngine();
  if (engine) return std::string(text.substr(text.size() - engine->suffixLength(text, count)));
  const std::size_t all = codePointCount(text);
  return all <= count ? std::string(text) : std::string(text.substr(codePointsLength(text, all - count)));
}

std::string shortened(std::string_view text, std::size_t limit, std::size_t keep) {
  return hasAtLeast(text, limit) ? firstCharacters(text, keep) + "…" : std::string(text);
}

std::string trimmed(std::string_view text) { return std::string(trimmedEnds(text, true)); }
std::string trimmedBlanks(std::string_view text) { return std::string(trimmedEnds(text, false)); }

std::string joinedWords(std::string_view text) {
  std::string result;
  bool between = false;
  for (std::size_t position = 0; position < text.size();) {
    const CodePoint point = codePointAt(text, position);
    const std::size_t length = std::max<std::size_t>(point.length, 1);
    if (point.length > 0 && isSpace(point.value, true)) {
      between = true;
    } else {
      if (between && !result.empty()) result += ' ';
      between = false;
      result += text.substr(position, length);
    }
    position += length;
  }
  return result;
}

std::string replacedAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty()) return text;
  std::string result;
  std::size_t start = 0;
  for (std::size_t found; (found = text.find(from, start)) != std::string::npos; start = found + from.size()) {
    result.append(text, start, found - start).append(to);
  }
  return result.append(text, start);
}

std::string lowercased(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

bool isValidUtf8(std::string_view bytes) {
  for (std::size_t position = 0; position < bytes.size();) {
    const std::size_t length = codePointAt(bytes, position).length;
    if (length == 0) return false;
    position += length;
  }
  return true;
}

std::string repairedUtf8(std::string_view bytes) {
  if (isValidUtf8(bytes)) return std::string(bytes);
  std::string result;
  result.reserve(bytes.size());
  for (std::size_t position = 0; position < bytes.size();) {
    const std::size_t length = codePointAt(bytes, position).length;
    if (length > 0) {
      result += bytes.substr(position, length);
      position += length;
    } else {
      appendUtf8(result, kReplacement);
      position += brokenLength(bytes, position);
    }
  }
  return result;
}

std::string filled(std::string_view pattern, std::initializer_list<Argument> arguments) {
  std::string result;
  auto next = arguments.begin();
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != '%' || i + 1 == pattern.size()) {
      result += pattern[i];
      continue;
    }
    const char kind = pattern[i + 1];
    const bool there = next != arguments.end();
    if (kind == '%') {
      result += '%';
    } else if (kind == '@' && there && std::holds_alternative<std::string>(*next)) {
      result += std::get<std::string>(*next++);
    } else if (kind == 'd' && there && std::holds_alternative<long long>(*next)) {
      result += std::to_string(std::get<long long>(*next++));
    } else {
      result += '%';
      continue;
    }
    ++i;
  }
  return result;
}

std::string percentEncoded(std::string_view text, std::string_view allowed) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (plain || allowed.find(c) != std::string_view::npos) {
      result += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      result += '%';
      result += kHex[byte >> 4];
      result += kHex[byte & 15];
    }
  }
  return result;
}

namespace {
constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
}

std::string base64(std::string_view bytes) {
  std::string result;
  result.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&](std::size_t k) -> unsigned {
      return i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0u;
    };
    const unsigned group = byte(0) << 16 | byte(1) << 8 | byte(2);
    for (std::size_t k = 0; k < 4; ++k) {
      result += i + k > bytes.size() ? '=' : kBase64[(group >> (18 - 6 * k)) & 63];
    }
  }
  return result;
}

std::optional<std::string> fromBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::string result;
  for (std::size_t i = 0; i < text.size(); i += 4) {
    unsigned group = 0;
    std::size_t padding = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      const char c = text[i + k];
      const bool last = i + 4 == text.size() && k >= 2;
      if (c == '=' && last && (k == 3 || text[i + 3] == '=')) {
        ++padding;
        group <<= 6;
        continue;
      }
      const char* found = std::char_traits<char>::find(kBase64, 64, c);
      if (!found || padding > 0) return std::nullopt;
      group = group << 6 | static_cast<unsigned>(found - kBase64);
    }
    const unsigned unused = padding == 2 ? 0xFFFF : padding == 1 ? 0xFF : 0;
    if (group & unused) return std::nullopt;
    for (std::size_t k = 0; k < 3 - padding; ++k) result += static_cast<char>(group >> (16 - 8 * k) & 0xFF);
  }
  return result;
}

std::string decimal(double value, int mostFractionDigits, std::string_view locale) {
  // Below a thousand, and without fraction digits, every locale writes the same.
  const double rounded = std::nearbyint(value);
  if (mostFractionDigits == 0 && std::fabs(rounded) < 1000) {
    return std::to_string(static_cast<long long>(rounded));
  }
  if (const TextEngine* engine = textEngine()) return engine->decimal(value, mostFractionDigits, locale);
  char digits[400];
  std::snprintf(digits, sizeof digits, "%.*f", mostFractionDigits, value);
  return digits;
}

bool isUuid(std::string_view text) {
  if (text.size() != 36) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    const bool hex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    if (dash ? c != '-' : !hex) return false;
  }
  return true;
}

std::string makeUuid() {
  // At once: the standard's device asks the processor for each number, which in a virtual machine takes a while.
  std::array<unsigned char, 16> bytes;
  if (getentropy(bytes.data(), bytes.size()) != 0) throw std::system_error(errno, std::generic_category());
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
  std::string result;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) result += '-';
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02X", bytes[i]);
    result += pair;
  }
  return result;
}

}  // namespace text
}  // namespace kestrelune
