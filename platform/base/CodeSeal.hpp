#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/Files.hpp"

namespace kestrelune {

/// The list of everything in a bundle, which is what gets signed. The signature's own three files aren't in it.
struct CodeSeal {
  static constexpr const char* kFolder = "Contents/_CodeSignature";
  static constexpr const char* kList = "Contents/_CodeSignature/Files.json";
  static constexpr const char* kSignature = "Contents/_CodeSignature/Signature.cms";
  static constexpr const char* kNotary = "Contents/_CodeSignature/Notary.cms";

  struct Entry {
    mode_t mode = 0;                    ///< permission bits; 0 for a link, which has none
    std::optional<std::string> sha256;  ///< of a file
    std::optional<std::string> target;  ///< of a link; a folder has neither

    bool operator==(const Entry&) const = default;
  };

  std::string identifier;
  std::map<std::string, Entry> entries;  ///< by path within the bundle; the bundle's own folder is "."

  bool operator==(const CodeSeal&) const = default;

  std::string write() const;
  /// Absent for a text that isn't such a list.
  static std::optional<CodeSeal> parse(std::string_view text);
  /// What lies there now, all of it read. Absent when something can't be read, is neither file, folder nor link, or is
  /// a link that leads out of the bundle.
  static std::optional<CodeSeal> of(Files& files, const std::string& bundle, std::string identifier);
};

/// Whether a link in a folder `depth` levels below the top stays inside: upwards no further than the top, and then only
/// downwards.
bool linkStaysInside(std::string_view target, int depth);

}  // namespace kestrelune
