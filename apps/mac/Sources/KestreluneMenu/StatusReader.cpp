#include "StatusReader.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>

namespace kestrelune {

namespace {

constexpr std::int64_t kSupportedSchema = 1;
constexpr double kFreshSeconds = 120;
/// Longer texts change with nearly every look, and would double the memory they take.
constexpr std::size_t kMostKept = 256 << 10;

bool appNeedsUser(const HostApp& app) {
  return app.state == "signed_out" || app.state == "usage_limited" || app.state == "model_unavailable" ||
         app.outdated == true;
}

bool connectionNeedsUser(const Connection& connection) {
  return connection.state == "stale" || connection.state == "not_connected";
}

template <class T, class Test>
bool anyOf(const std::optional<std::vector<T>>& values, Test test) {
  return values && std::any_of(values->begin(), values->end(), test);
}

bool needsUser(const HelperStatus& status) {
  return status.serverReachable == false || (status.attention && !status.attention->empty()) ||
         anyOf(status.apps, appNeedsUser) || anyOf(status.connections, connectionNeedsUser);
}

bool isRunning(const HelperStatus& status) {
  if (status.running && !status.running->empty()) return true;
  return status.tasks && status.tasks->running.value_or(0) > 0;
}

bool isFresh(const HelperStatus& status, Date now) {
  if (!status.updatedAt) return false;
  const std::optional<Date> updated = parseIso8601(*status.updatedAt);
  return updated && std::abs(now - *updated) <= kFreshSeconds;
}

// A removed computer is told so however old its status is; "stopped" is believed only of a fresh status of a live
// process. Hence the order.
std::optional<StatusIssue> findIssue(const HelperStatus& status, Date now, const StatusReader::Alive& alive) {
  if (status.schemaVersion != kSupportedSchema) return StatusIssue::unsupported;
  if (status.state == "removed" || status.state == "not_paired") return StatusIssue::disconnected;
  if (!isFresh(status, now)) return StatusIssue::outdated;
  if (!status.pid || *status.pid <= 0 || !alive(*status.pid)) return StatusIssue::invalidPID;
  if (status.state == "stopped" || status.state == "error") return StatusIssue::stopped;
  return std::nullopt;
}

Snapshot withoutStatus(StatusIssue issue) {
  Snapshot snapshot;
  snapshot.issue = issue;
  return snapshot;
}

StatusIssue issueOf(int error) {
  return error == ENOENT || error == ENOTDIR ? StatusIssue::missing : StatusIssue::unreadable;
}

/// Absent when the text can't be decoded.
std::optional<HelperStatus> understood(const std::string& text) {
  try {
    HelperStatus status;
    decodeJson(Json::parse(text), status);
    return status;
  } catch (const JsonError&) {
    return std::nullopt;
  }
}

}  // namespace

std::string_view rawValue(Signal signal) {
  switch (signal) {
    case Signal::green: return "green";
    case Signal::yellow: return "yellow";
    case Signal::red: return "red";
    case Signal::running: return "running";
  }
  return "";
}

std::optional<Signal> signalFromRaw(std::string_view raw) {
  for (const Signal signal : {Signal::green, Signal::yellow, Signal::red, Signal::running}) {
    if (rawValue(signal) == raw) return signal;
  }
  return std::nullopt;
}

std::string_view rawValue(StatusIssue issue) {
  switch (issue) {
    case StatusIssue::missing: return "missing";
    case StatusIssue::unreadable: return "unreadable";
    case StatusIssue::outdated: return "outdated";
    case StatusIssue::invalidPID: return "invalidPID";
    case StatusIssue::unsupported: return "unsupported";
    case StatusIssue::stopped: return "stopped";
    case StatusIssue::disconnected: return "disconnected";
  }
  return "";
}

void decodeJson(const Json& json, SettleMark& mark) {
  requireObject(json);
  decodeMember(json, "until", mark.until);
  decodeMember(json, "done", mark.done);
}

Json toJson(const SettleMark& mark) { return Json::Object{{"until", mark.until}, {"done", mark.done}}; }

void decodeJson(const Json& json, SettleMarks& marks) {
  requireObject(json);
  marks.clear();
  for (const auto& [key, value] : *json.object()) decodeJson(value, marks[key]);
}

Json toJson(const SettleMarks& marks) {
  Json::Object object;
  for (const auto& [key, mark] : marks) object[key] = toJson(mark);
  return object;
}

std::string SettlePlan::key(const Attention& item) {
  const std::string line = item.kind == "question" ? item.line.value_or("") : "";
  return item.identity() + "\x1f" + item.kind.value_or("") + "\x1f" + line;
}

SettlePlan::Split SettlePlan::split(std::vector<Attention> items, const SettleMarks& marks, Date now) {
  Split split;
  if (marks.empty()) {
    split.visible = std::move(items);
    return split;
  }
  for (Attention& item : items) {
    std::string key = SettlePlan::key(item);
    const auto mark = marks.find(key);
    if (mark != marks.end() && now.seconds < mark->second.until) {
      split.hidden.push_back({std::move(item), std::move(key), mark->second});
    } else {
      split.visible.push_back(std::move(item));
    }
  }
  return split;
}

Snapshot StatusReader::read(Files& files, const Url& url, Date now, const SettleMarks& marks) {
  return read(files, url, now, marks, [&files](std::int32_t pid) { return isAlive(files, pid); });
}

Snapshot StatusReader::read(Files& files, const Url& url, Date now, const SettleMarks& marks, const Alive& alive) {
  const Outcome<std::string> bytes = readFile(files, url.path(), kMostBytes);
  if (!bytes) return withoutStatus(issueOf(bytes.error));
  std::optional<HelperStatus> status = understood(bytes.value);
  if (!status) return withoutStatus(StatusIssue::unreadable);
  return evaluate(std::move(*status), now, alive, marks);
}

Snapshot StatusFile::read(Date now, const SettleMarks& marks) {
  Outcome<std::string> bytes = readFile(files_, url_.path(), StatusReader::kMostBytes);
  if (!bytes) return withoutStatus(issueOf(bytes.error));
  if (text_ != bytes.value) {
    status_ = understood(bytes.value);
    text_.reset();
    if (bytes.value.size() <= kMostKept) text_ = std::move(bytes.value);
  }
  if (!status_) return withoutStatus(StatusIssue::unreadable);
  HelperStatus status = text_ ? *status_ : std::move(*status_);
  return StatusReader::evaluate(
      std::move(status), now, [this](std::int32_t pid) { return isAlive(files_, pid); }, marks);
}

Snapshot StatusReader::evaluate(HelperStatus status, Date now, const Alive& alive, const SettleMarks& marks) {
  std::vector<HiddenAttention> hidden;
  if (status.attention && !status.attention->empty()) {
    // Before the judgement: a settled item no longer turns the signal yellow.
    SettlePlan::Split split = SettlePlan::split(std::move(*status.attention), marks, now);
    status.attention = std::move(split.visible);
    hidden = std::move(split.hidden);
  }
  Snapshot snapshot = judge(std::move(status), now, alive);
  snapshot.hidden = std::move(hidden);
  return snapshot;
}

Snapshot StatusReader::judge(HelperStatus status, Date now, const Alive& alive) {
  Snapshot snapshot;
  snapshot.issue = findIssue(status, now, alive);
  if (snapshot.issue) {
    snapshot.signal = Signal::red;
  } else if (needsUser(status)) {
    snapshot.signal = Signal::yellow;
  } else {
    snapshot.signal = isRunning(status) ? Signal::running : Signal::green;
  }
  snapshot.status = std::move(status);
  return snapshot;
}

}  // namespace kestrelune
