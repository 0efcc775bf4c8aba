#pragma once

#include <string>

#include "StatusReader.hpp"
#include "base/Dates.hpp"
#include "base/Defaults.hpp"

namespace kestrelune {

/// The marks by which the user put attention items off ("Later") or took them off the list ("Done"). They live in one
/// value of the defaults and nowhere else; there is no cache.
class SettleStore {
 public:
  static constexpr const char* kDefaultsKey = "settledAttention";
  static constexpr double kLaterSeconds = 3 * 3600;
  static constexpr double kDoneSeconds = 30 * 86400;
  static constexpr std::size_t kMostMarks = 500;

  explicit SettleStore(Defaults& defaults) : defaults_(defaults) {}

  /// All stored marks by settle key, ended ones included. A value that doesn't decode counts as none.
  SettleMarks marks() const;

  /// Puts an item off, or takes it off the list; an earlier mark of the same key is replaced. Ended marks are dropped
  /// on the way, and beyond the most that are kept, those that would end first.
  void hide(const std::string& key, bool done, Date now);

  /// Removes the mark of a key, so that the item shows again.
  void show(const std::string& key, Date now);

 private:
  void save(const SettleMarks& marks);

  Defaults& defaults_;
};

}  // namespace kestrelune
