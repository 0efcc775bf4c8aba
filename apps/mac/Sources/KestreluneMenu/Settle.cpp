#include "Settle.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/Json.hpp"

namespace kestrelune {
namespace {

SettleMarks current(SettleMarks marks, Date now) {
  std::erase_if(marks, [now](const auto& entry) { return now.seconds >= entry.second.until; });
  return marks;
}

}  // namespace

SettleMarks SettleStore::marks() const {
  const std::optional<std::string> stored = defaults_.data(kDefaultsKey);
  if (!stored) return {};
  try {
    SettleMarks marks;
    decodeJson(Json::parse(*stored), marks);
    return marks;
  } catch (const JsonError&) {
    return {};
  }
}

void SettleStore::hide(const std::string& key, bool done, Date now) {
  auto kept = current(marks(), now);
  kept[key] = SettleMark{.until = now.seconds + (done ? kDoneSeconds : kLaterSeconds), .done = done};
  save(kept);
}

void SettleStore::show(const std::string& key, Date now) {
  auto kept = current(marks(), now);
  kept.erase(key);
  save(kept);
}

void SettleStore::save(const SettleMarks& marks) {
  std::vector<std::pair<std::string, SettleMark>> pairs(marks.begin(), marks.end());
  std::stable_sort(pairs.begin(), pairs.end(),
                   [](const auto& a, const auto& b) { return a.second.until > b.second.until; });
  if (pairs.size() > kMostMarks) pairs.resize(kMostMarks);
  defaults_.setData(kDefaultsKey, toJson(SettleMarks(pairs.begin(), pairs.end())).write());
}

}  // namespace kestrelune
