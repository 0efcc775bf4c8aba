#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Files.hpp"
#include "base/Json.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// An application bundle: `Name.app/Contents/{MacOS,Resources,Helpers,Frameworks,Info.json}`.
class Bundle {
 public:
  /// The bundle that holds the running program. For a program outside of one (tools, tests) the URL is its folder and
  /// there are no keys.
  static Bundle main();
  explicit Bundle(Url url);
  Bundle(Files& files, Url url);

  const Url& url() const { return url_; }
  /// A key of `Contents/Info.json`; absent when the key or the file is missing or damaged.
  std::optional<std::string> infoString(std::string_view key) const;
  /// "Resources/…" or "Helpers/…" under `Contents`.
  Url contents(std::string_view path) const;

 private:
  Url url_;
  Json info_;
};

}  // namespace kestrelune
