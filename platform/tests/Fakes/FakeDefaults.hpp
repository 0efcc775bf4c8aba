#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/Defaults.hpp"

namespace kestrelune {

/// Defaults that live in memory.
class FakeDefaults final : public Defaults {
 public:
  bool boolean(std::string_view key) const override {
    const auto found = booleans.find(key);
    return found != booleans.end() && found->second;
  }
  void setBoolean(std::string_view key, bool value) override { booleans.insert_or_assign(std::string(key), value); }
  std::optional<std::string> data(std::string_view key) const override {
    const auto found = bytes.find(key);
    return found == bytes.end() ? std::nullopt : std::optional(found->second);
  }
  void setData(std::string_view key, std::string_view value) override {
    bytes.insert_or_assign(std::string(key), std::string(value));
  }
  void remove(std::string_view key) override {
    if (const auto found = booleans.find(key); found != booleans.end()) booleans.erase(found);
    if (const auto found = bytes.find(key); found != bytes.end()) bytes.erase(found);
  }

  std::map<std::string, bool, std::less<>> booleans;
  std::map<std::string, std::string, std::less<>> bytes;
};

}  // namespace kestrelune
