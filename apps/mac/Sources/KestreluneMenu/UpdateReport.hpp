#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Dates.hpp"
#include "base/Json.hpp"

namespace kestrelune {

/// What became of one AI application.
struct UpdateEntry {
  std::optional<std::string> app;  ///< "codex", "claude", "cursor", "t3"
  std::optional<std::string> name;
  std::optional<std::string> outcome;  ///< "updated", "current", "app", "no_updater"; anything else failed
  std::optional<std::string> before;
  std::optional<std::string> after;
  std::optional<std::string> detail;
  std::optional<std::string> state;  ///< of the application after the update

  bool operator==(const UpdateEntry&) const = default;
};

/// The file in which the helper tells how an update of all AI applications goes on.
struct UpdateProgress {
  std::int64_t schemaVersion = 0;
  std::optional<std::int32_t> pid;
  std::optional<std::string> phase;  ///< "waiting", "updating", "checking"; "done", "busy"
  std::optional<std::string> startedAt;
  std::optional<std::string> until;  ///< after this the file isn't believed
  std::optional<std::string> current;
  std::optional<std::int64_t> waitingFor;
  std::optional<std::vector<UpdateEntry>> apps;

  bool operator==(const UpdateProgress&) const = default;
};

void decodeJson(const Json& json, UpdateEntry& entry);
void decodeJson(const Json& json, UpdateProgress& progress);

/// Plain sentences about an update of all AI applications.
namespace UpdateReport {

struct Summary {
  std::string title;
  std::string body;

  bool operator==(const Summary&) const = default;
};

/// "waiting", "updating" or "checking": an update goes on.
bool isActive(const UpdateProgress& progress);

std::string appName(const std::optional<std::string>& id);
/// The menu line while an update goes on.
std::string progressLine(const std::optional<UpdateProgress>& progress);
/// What became of one application.
std::string line(const UpdateEntry& entry);
/// The closing report of a run that began at `startedAt` and ended with `code` and `lastLine`. A progress file that an
/// earlier run left behind isn't believed; a fresh one counts for more than the code.
Summary summary(const std::optional<UpdateProgress>& progress, Date startedAt, std::int32_t code,
                const std::string& lastLine);

}  // namespace UpdateReport

}  // namespace kestrelune
