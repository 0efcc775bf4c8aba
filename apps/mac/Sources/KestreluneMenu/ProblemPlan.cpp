#include "ProblemPlan.hpp"

#include <algorithm>
#include <array>

#include "ProblemCopy.hpp"
#include "RuntimeAction.hpp"
#include "base/Text.hpp"

namespace kestrelune {

void decodeJson(const Json& json, ProblemRecord& record) {
  requireObject(json);
  decodeMember(json, "state", record.state);
  decodeMember(json, "app", record.app);
  decodeMember(json, "pid", record.pid);
  decodeMember(json, "startedAt", record.startedAt);
  decodeMember(json, "finishedAt", record.finishedAt);
  decodeMember(json, "folder", record.folder);
  decodeMember(json, "answer", record.answer);
  decodeMember(json, "open", record.open);
  decodeMember(json, "reason", record.reason);
}

namespace ProblemPlan {
namespace {

constexpr std::array<std::string_view, 2> kCheckingApps = {"codex", "claude"};
constexpr std::array<std::string_view, 4> kUnusableStates = {"not_installed", "signed_out", "usage_limited",
                                                             "model_unavailable"};

bool canCheck(const HostApp& app) {
  const bool unusable =
      app.state && std::find(kUnusableStates.begin(), kUnusableStates.end(), *app.state) != kUnusableStates.end();
  return !unusable && app.power != "off";
}

}  // namespace

std::optional<ProblemRecord> decode(std::string_view text) {
  if (text.size() >= kRecordLimit) return std::nullopt;
  try {
    ProblemRecord record;
    decodeJson(Json::parse(text), record);
    return record;
  } catch (const JsonError&) {
    return std::nullopt;
  }
}

std::string appName(std::string_view app) { return app == "claude" ? "Claude Code" : "Codex"; }

MenuEntry menuEntry(const std::optional<ProblemRecord>& running) {
  if (!running) {
    return MenuEntry{.title = ProblemCopy::text(ProblemCopy::Key::menu), .action = Action::reportProblem()};
  }
  return MenuEntry{.title = ProblemCopy::filled(ProblemCopy::Key::checking, {running->app.value_or("Codex")})};
}

std::vector<std::string> apps(const std::optional<HelperStatus>& status) {
  std::vector<std::string> result;
  if (!status || !status->apps) return result;
  for (const std::string_view name : kCheckingApps) {
    const auto found = std::find_if(status->apps->begin(), status->apps->end(),
                                    [name](const HostApp& app) { return app.host == name; });
    if (found != status->apps->end() && canCheck(*found)) result.emplace_back(name);
  }
  return result;
}

std::string note(std::string_view text) { return text::firstCharacters(text::trimmed(text), kNoteLimit); }

std::vector<std::string> arguments(const std::optional<std::string>& app, std::string_view noteText, bool german) {
  std::vector<std::string> result = {"report-problem", "--lang", german ? "de" : "en"};
  if (app && std::find(kCheckingApps.begin(), kCheckingApps.end(), *app) != kCheckingApps.end()) {
    result.insert(result.end(), {"--app", *app});
  }
  if (!note(noteText).empty()) result.emplace_back("--note-stdin");
  return result;
}

std::optional<Url> reportFolder(const std::optional<ProblemRecord>& record, const Url& reports) {
  if (!record || !record->folder || !record->folder->starts_with('/')) return std::nullopt;
  const Url folder = Url::file(*record->folder).standardized();
  const std::string prefix = reports.standardized().path() + "/";
  if (!folder.path().starts_with(prefix)) return std::nullopt;
  return folder;
}

}  // namespace ProblemPlan
}  // namespace kestrelune
