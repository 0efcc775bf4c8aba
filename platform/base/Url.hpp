#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace kestrelune {

/// A URL (RFC 3986) that keeps its text as it was written.
class Url {
 public:
  /// Absent when the text can't be a URL: empty, blanks or control characters, a malformed part.
  static std::optional<Url> parse(std::string_view text);
  /// A file URL for an absolute or relative path (relative to the working folder).
  static Url file(std::string_view path);

  Url() = default;
  bool operator==(const Url&) const = default;
  auto operator<=>(const Url&) const = default;

  /// The text as parsed, or the percent-encoded form of a file URL.
  const std::string& text() const { return text_; }
  /// Parts as written; absent when the URL has none. The host is without brackets and port.
  std::optional<std::string> scheme() const;
  std::optional<std::string> user() const;
  std::optional<std::string> host() const;
  std::optional<int> port() const;
  std::optional<std::string> query() const;
  std::optional<std::string> fragment() const;

  bool isFile() const { return file_; }
  /// The decoded path. For a file URL the path in the file system.
  const std::string& path() const { return path_; }

  /// For file URLs. The result of each is a file URL too.
  Url appending(std::string_view components) const;
  Url deletingLastComponent() const;
  std::string lastComponent() const;
  /// Without ".", "..", doubled and trailing slashes; symbolic links stay.
  Url standardized() const;
  /// Symbolic links resolved as far as the path exists; the rest is kept as it stands. Never fails.
  Url resolvingSymbolicLinks() const;

 private:
  std::string text_;
  std::string path_;
  bool file_ = false;
};

}  // namespace kestrelune
