#include "UpdateReport.hpp"

#include "Strings.hpp"

namespace kestrelune {

namespace {

using Copy::Key;

/// How much earlier than our own start a report may say that it began.
constexpr double kStartTolerance = 5;
constexpr const char* kProductName = "Kestrelune";

std::optional<Key> stateText(const std::optional<std::string>& state) {
  if (state == "signed_out") return Key::signedOut;
  if (state == "usage_limited") return Key::limited;
  if (state == "model_unavailable") return Key::modelUnavailableAny;
  if (state == "not_installed") return Key::notInstalled;
  return std::nullopt;
}

// Codex comes inside of another application for some users; the helper says so in its detail.
std::string appToUpdate(const UpdateEntry& entry, const std::string& name) {
  if (entry.app != "codex") return name;
  return entry.detail.value_or("").find("ChatGPT") != std::string::npos ? "ChatGPT" : "Codex";
}

std::string outcomeText(const UpdateEntry& entry) {
  const std::string name = entry.name ? *entry.name : UpdateReport::appName(entry.app);
  if (entry.outcome == "updated") {
    return Copy::filled(Key::updateLineUpdated, {name, entry.before.value_or("?"), entry.after.value_or("?")});
  }
  if (entry.outcome == "current") {
    const std::string current = Copy::filled(Key::updateLineCurrent, {name});
    return entry.after ? current + " (" + *entry.after + ")" : current;
  }
  if (entry.outcome == "app") return Copy::filled(Key::updateLineApp, {name, appToUpdate(entry, name)});
  if (entry.outcome == "no_updater") return Copy::filled(Key::updateLineNoUpdater, {name});
  return Copy::filled(Key::updateLineFailed, {name});
}

bool isOfThisRun(const UpdateProgress& progress, Date startedAt) {
  if (!progress.startedAt) return false;
  const std::optional<Date> began = parseIso8601(*progress.startedAt);
  return began && *began >= startedAt - kStartTolerance;
}

}  // namespace

void decodeJson(const Json& json, UpdateEntry& entry) {
  requireObject(json);
  decodeMember(json, "app", entry.app);
  decodeMember(json, "name", entry.name);
  decodeMember(json, "outcome", entry.outcome);
  decodeMember(json, "before", entry.before);
  decodeMember(json, "after", entry.after);
  decodeMember(json, "detail", entry.detail);
  decodeMember(json, "state", entry.state);
}

void decodeJson(const Json& json, UpdateProgress& progress) {
  requireObject(json);
  decodeMember(json, "schemaVersion", progress.schemaVersion);
  decodeMember(json, "pid", progress.pid);
  decodeMember(json, "phase", progress.phase);
  decodeMember(json, "startedAt", progress.startedAt);
  decodeMember(json, "until", progress.until);
  decodeMember(json, "current", progress.current);
  decodeMember(json, "waitingFor", progress.waitingFor);
  decodeMember(json, "apps", progress.apps);
}

bool UpdateReport::isActive(const UpdateProgress& progress) {
  return progress.phase == "waiting" || progress.phase == "updating" || progress.phase == "checking";
}

std::string UpdateReport::appName(const std::optional<std::string>& id) {
  if (!id) return Copy::text(Key::unknown);
  // The helper's updater has names of its own for the applications.
  if (*id == "t3") return "T3 Code";
  if (*id == "codex" || *id == "claude" || *id == "cursor") return Copy::appName(*id);
  return *id;
}

std::string UpdateReport::progressLine(const std::optional<UpdateProgress>& progress) {
  if (!progress) return Copy::text(Key::updatingAll);
  if (progress->phase == "waiting") return Copy::text(Key::updateWaiting);
  if (progress->phase == "checking") return Copy::text(Key::updateChecking);
  if (progress->phase == "updating" && progress->current) {
    return Copy::filled(Key::updatingApp, {appName(progress->current)});
  }
  return Copy::text(Key::updatingAll);
}

std::string UpdateReport::line(const UpdateEntry& entry) {
  const std::optional<Key> state = stateText(entry.state);
  return outcomeText(entry) + (state ? " – " + Copy::text(*state) : "");
}

UpdateReport::Summary UpdateReport::summary(const std::optional<UpdateProgress>& progress, Date startedAt,
                                            std::int32_t code, const std::string& lastLine) {
  if (progress && isOfThisRun(*progress, startedAt)) {
    if (progress->phase == "busy") return {kProductName, Copy::text(Key::updateBusy)};
    if (progress->phase == "done") {
      std::string body;
      for (const UpdateEntry& entry : progress->apps.value_or(std::vector<UpdateEntry>{})) {
        if (!body.empty()) body += "\n";
        body += line(entry);
      }
      if (body.empty()) return {kProductName, Copy::text(Key::updateNoApps)};
      return {Copy::text(Key::updateDoneTitle), body};
    }
  }
  const std::string reason = lastLine.empty() ? std::to_string(code) : lastLine;
  return {kProductName, Copy::filled(Key::updateFailed, {reason})};
}

}  // namespace kestrelune
