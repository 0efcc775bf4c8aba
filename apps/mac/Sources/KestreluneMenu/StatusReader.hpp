#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Status.hpp"
#include "base/Dates.hpp"
#include "base/Files.hpp"
#include "base/Json.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// How things stand altogether.
enum class Signal { green, yellow, red, running };

/// "green", "yellow", "red", "running".
std::string_view rawValue(Signal signal);
std::optional<Signal> signalFromRaw(std::string_view raw);

/// Why there is no good status.
enum class StatusIssue { missing, unreadable, outdated, invalidPID, unsupported, stopped, disconnected };

/// The case's own name.
std::string_view rawValue(StatusIssue issue);

/// What the user said about one attention item.
struct SettleMark {
  double until = 0;   ///< end of the mark, seconds since 1970
  bool done = false;  ///< false: put off; true: taken off the list

  bool operator==(const SettleMark&) const = default;
};

void decodeJson(const Json& json, SettleMark& mark);
Json toJson(const SettleMark& mark);

/// Marks by settle key.
using SettleMarks = std::map<std::string, SettleMark>;

/// The reverse of `toJson`. Throws `JsonError` when one mark is damaged.
void decodeJson(const Json& json, SettleMarks& marks);
Json toJson(const SettleMarks& marks);

/// An attention item that a mark keeps out of sight.
struct HiddenAttention {
  Attention item;
  std::string key;
  SettleMark mark;

  bool operator==(const HiddenAttention&) const = default;
};

/// The judged state of the helper at one moment.
struct Snapshot {
  /// There with an issue too, except `missing` and `unreadable`. Its `attention` holds only what isn't hidden.
  std::optional<HelperStatus> status;
  Signal signal = Signal::red;
  std::optional<StatusIssue> issue;  ///< set exactly when the signal is red
  std::vector<HiddenAttention> hidden;

  bool operator==(const Snapshot&) const = default;
};

/// Which attention items the user has settled.
namespace SettlePlan {

struct Split {
  std::vector<Attention> visible;
  std::vector<HiddenAttention> hidden;
};

/// Identifies what the user dismissed: another question of the same task is another thing, a reworded line isn't.
std::string key(const Attention& item);
/// Keeps the order in both lists. A mark that ends at `now` has ended.
Split split(std::vector<Attention> items, const SettleMarks& marks, Date now);

}  // namespace SettlePlan

/// Turns the status file into a snapshot. Every failure is a value.
namespace StatusReader {

using Alive = std::function<bool(std::int32_t pid)>;

/// Larger files aren't read; they are `unreadable`.
inline constexpr std::size_t kMostBytes = 64u << 20;

/// Reads, takes out what the marks hide, and judges. The first form asks the system whether the helper lives.
Snapshot read(Files& files, const Url& url, Date now, const SettleMarks& marks = {});
Snapshot read(Files& files, const Url& url, Date now, const SettleMarks& marks, const Alive& alive);

/// The same for a status that was read already.
Snapshot evaluate(HelperStatus status, Date now, const Alive& alive, const SettleMarks& marks);
Snapshot judge(HelperStatus status, Date now, const Alive& alive);

}  // namespace StatusReader

/// The status file as it is looked at again and again. Between two looks it has mostly not changed, and the same bytes
/// aren't understood twice.
class StatusFile {
 public:
  StatusFile(Files& files, Url url) : files_(files), url_(std::move(url)) {}

  /// What `StatusReader::read` gives.
  Snapshot read(Date now, const SettleMarks& marks);

 private:
  Files& files_;
  const Url url_;
  std::optional<std::string> text_;     ///< of the last look, unless it was too long to be kept
  std::optional<HelperStatus> status_;  ///< what that text says; absent: it can't be understood
};

}  // namespace kestrelune
