#include "base/Url.hpp"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <vector>

#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr std::string_view kPathCharacters = "-._~!$&'()*+,;=:@/";

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
int hexValue(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// The pieces of a URL text, as views into it; absent ones are null.
struct Parts {
  std::optional<std::string_view> scheme, user, host, port, query, fragment;
  std::string_view path;
};

std::optional<std::string_view> cutAt(std::string_view& text, char separator) {
  const std::size_t found = text.find(separator);
  if (found == std::string_view::npos) return std::nullopt;
  const std::string_view rest = text.substr(found + 1);
  text = text.substr(0, found);
  return rest;
}

void splitAuthority(std::string_view authority, Parts& parts) {
  if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos) {
    parts.user = authority.substr(0, at);
    authority.remove_prefix(at + 1);
  }
  const std::size_t bracket = authority.starts_with('[') ? authority.find(']') : std::string_view::npos;
  const std::size_t colon = authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
  if (colon != std::string_view::npos) parts.port = authority.substr(colon + 1);
  parts.host = authority.substr(0, colon);
  if (bracket != std::string_view::npos) parts.host = authority.substr(1, bracket - 1);
}

Parts split(std::string_view text) {
  Parts parts;
  parts.fragment = cutAt(text, '#');
  parts.query = cutAt(text, '?');
  const std::size_t colon = text.find(':');
  if (colon != std::string_view::npos && text.find('/') > colon) {
    parts.scheme = text.substr(0, colon);
    text.remove_prefix(colon + 1);
  }
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    const std::size_t slash = text.find('/');
    splitAuthority(text.substr(0, slash), parts);
    text = slash == std::string_view::npos ? std::string_view() : text.substr(slash);
  }
  parts.path = text;
  return parts;
}

bool isScheme(std::string_view scheme) {
  if (scheme.empty() || !isLetter(scheme.front())) return false;
  for (const char c : scheme) {
    if (!isLetter(c) && !isDigit(c) && c != '+' && c != '-' && c != '.') return false;
  }
  return true;
}

bool isPort(std::string_view port) {
  if (port.size() > 5) return false;
  for (const char c : port) {
    if (!isDigit(c)) return false;
  }
  return true;
}

/// What may stand in a URL at all: no blanks, no control characters, and each "%" with two digits behind it.
bool hasOnlyUrlCharacters(std::string_view text) {
  static constexpr std::string_view kRefused = "\"<>\\^`{|}";
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c <= ' ' || c >= 0x7F || kRefused.find(text[i]) != std::string_view::npos) return false;
    if (c == '%' && (i + 2 >= text.size() || hexValue(text[i + 1]) < 0 || hexValue(text[i + 2]) < 0)) return false;
  }
  return true;
}

std::string decoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() + 0 && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0) {
      result += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
      i += 2;
    } else {
      result += text[i];
    }
  }
  return result;
}

std::optional<std::string> owned(const std::optional<std::string_view>& view) {
  return view ? std::optional<std::string>(*view) : std::nullopt;
}

std::vector<std::string_view> components(std::string_view path) {
  std::vector<std::string_view> result;
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    if (slash != 0) result.push_back(path.substr(0, slash));
    path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
  }
  return result;
}

std::string joined(const std::vector<std::string_view>& parts) {
  std::string result;
  for (const std::string_view part : parts) result.append("/").append(part);
  return result.empty() ? "/" : result;
}

std::string workingFolder() {
  char path[PATH_MAX];
  return getcwd(path, sizeof path) ? path : "/";
}

}  // namespace

std::optional<Url> Url::parse(std::string_view text) {
  if (text.empty() || !hasOnlyUrlCharacters(text)) return std::nullopt;
  const Parts parts = split(text);
  if (parts.scheme && !isScheme(*parts.scheme)) return std::nullopt;
  if (parts.port && !isPort(*parts.port)) return std::nullopt;
  if (parts.host && parts.host->find_first_of("[]") != std::string_view::npos) return std::nullopt;
  Url url;
  url.text_ = text;
  url.path_ = decoded(parts.path);
  url.file_ = parts.scheme && text::lowercased(*parts.scheme) == "file";
  return url;
}

Url Url::file(std::string_view path) {
  Url url;
  url.path_ = path.starts_with('/') ? std::string(path) : workingFolder() + "/" + std::string(path);
  // A trailing slash says nothing about a file; without it equal places have equal texts.
  while (url.path_.size() > 1 && url.path_.ends_with('/')) url.path_.pop_back();
  url.text_ = "file://" + text::percentEncoded(url.path_, kPathCharacters);
  url.file_ = true;
  return url;
}

std::optional<std::string> Url::scheme() const { return owned(split(text_).scheme); }
std::optional<std::string> Url::user() const { return owned(split(text_).user); }
std::optional<std::string> Url::host() const { return owned(split(text_).host); }
std::optional<std::string> Url::query() const { return owned(split(text_).query); }
std::optional<std::string> Url::fragment() const { return owned(split(text_).fragment); }

std::optional<int> Url::port() const {
  const auto port = split(text_).port;
  // An empty port is one all the same: something was written there.
  return port ? std::optional(std::atoi(std::string(*port).c_str())) : std::nullopt;
}

Url Url::appending(std::string_view added) const {
  return file(path_ == "/" ? "/" + std::string(added) : path_ + "/" + std::string(added));
}

Url Url::deletingLastComponent() const {
  const std::size_t slash = path_.rfind('/');
  return file(slash == 0 || slash == std::string::npos ? "/" : path_.substr(0, slash));
}

std::string Url::lastComponent() const { return path_.substr(path_.rfind('/') + 1); }

Url Url::standardized() const {
  std::vector<std::string_view> kept;
  for (const std::string_view part : components(path_)) {
    if (part == ".") continue;
    if (part != "..") {
      kept.push_back(part);
    } else if (!kept.empty()) {
      kept.pop_back();
    }
  }
  return file(joined(kept));
}

Url Url::resolvingSymbolicLinks() const {
  // The longest front of the path that exists is resolved by the system; the rest is kept. It is tried with every
  // ".." still in place, since one behind a link leads elsewhere than its text says.
  std::string front = path_, rest;
  while (true) {
    char resolved[PATH_MAX];
    if (realpath(front.c_str(), resolved)) {
      return file(std::string(resolved) + "/" + rest).standardized();
    }
    const std::size_t slash = front.rfind('/');
    if (slash == std::string::npos || front == "/") return standardized();
    rest = front.substr(slash + 1) + (rest.empty() ? "" : "/" + rest);
    front = slash == 0 ? "/" : front.substr(0, slash);
  }
}

}  // namespace kestrelune
