#include "Update.hpp"

#include <utility>

#include "base/Json.hpp"
#include "base/System.hpp"

namespace kestrelune {

namespace {

constexpr double kTimeout = 5700;
constexpr std::int64_t kSchema = 1;
constexpr std::size_t kMostBytes = 4u << 20;

}  // namespace

AppsUpdater::AppsUpdater(const Configuration& configuration, Files& files, const Clock& clock, ExecuteCommand execute,
                         std::function<void(const std::string& line)> output)
    : progressURL_(configuration.runnerFolder().appending("update-all.json")),
      helperRoot_(configuration.helperRoot),
      dryRun_(configuration.dryRun),
      files_(files),
      clock_(clock),
      execute_(std::move(execute)),
      output_(std::move(output)) {}

std::optional<UpdateProgress> AppsUpdater::progress() const {
  const Outcome<std::string> bytes = readFile(files_, progressURL_.path(), kMostBytes);
  if (!bytes) return std::nullopt;
  try {
    UpdateProgress progress;
    decodeJson(Json::parse(bytes.value), progress);
    return progress;
  } catch (const JsonError&) {
    return std::nullopt;
  }
}

bool AppsUpdater::busy() const {
  if (running_) return true;
  const std::optional<UpdateProgress> found = progress();
  if (!found || found->schemaVersion != kSchema || !UpdateReport::isActive(*found)) return false;
  if (!found->pid || *found->pid <= 0 || !found->until) return false;
  const std::optional<Date> until = parseIso8601(*found->until);
  return until && *until > clock_.now() && isAlive(files_, *found->pid);
}

void AppsUpdater::start() {
  if (busy()) return;
  if (dryRun_) {
    output_("DRY_RUN update-all");
    return;
  }
  running_ = true;
  startedAt_ = clock_.now();
  if (onChange) onChange();
  const HelperCommand command{helperRoot_.appending("bin/kestrelune").path(), {"update-all"}, system::environment()};
  execute_(command, kTimeout, lifetime_.guarded([this](const HelperCommandResult& result) { finish(result); }));
}

void AppsUpdater::finish(const HelperCommandResult& result) {
  running_ = false;
  const UpdateReport::Summary summary = UpdateReport::summary(progress(), startedAt_, result.code, result.lastLine);
  if (onChange) onChange();
  if (onFinished) onFinished(summary.title, summary.body);
}

}  // namespace kestrelune
