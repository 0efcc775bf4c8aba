#include "Background.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/System.hpp"

namespace kestrelune {
namespace {

constexpr int kRestartStatus = 75;  // the helper's way of asking for a prompt restart
constexpr double kShortestPause = 1;
constexpr double kPause = 30;
constexpr mode_t kLogFolderMode = 0700;
constexpr mode_t kLogMode = 0600;

constexpr char kAlias[] = "Kestrelune";

std::string searchPath(const std::string& old, const std::string& home) {
  std::vector<std::string> folders = {"/opt/homebrew/bin", "/usr/local/bin", home + "/.local/bin", "/usr/bin", "/bin",
                                      "/usr/sbin",         "/sbin"};
  std::string_view rest = old;
  while (!rest.empty()) {
    const std::string_view entry = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
    if (entry.starts_with('/') && std::find(folders.begin(), folders.end(), entry) == folders.end())
      folders.emplace_back(entry);
  }
  std::string path;
  for (const std::string& folder : folders) path += (path.empty() ? "" : ":") + folder;
  return path;
}

Outcome<int> openLog(Files& files, const Url& log) {
  makeFolders(files, log.deletingLastComponent().path(), kLogFolderMode);
  return openForAppending(files, log.path(), kLogMode);
}

/// Seconds until the next start after an end that nobody asked for; absent: none.
std::optional<double> pauseAfter(const TaskEnd& end, double elapsed) {
  if (end.reason == TaskEnd::Reason::exited && end.status == 0) return std::nullopt;
  if (end.reason == TaskEnd::Reason::exited && end.status == kRestartStatus) return kShortestPause;
  return std::max(kPause - elapsed, kShortestPause);
}

}  // namespace

BackgroundProcess::BackgroundProcess(const Configuration& configuration, Reach reach)
    : place_{configuration.helperRoot, reach.files},
      marker_(configuration.runnerFolder().appending("in-app")),
      log_(configuration.runnerFolder().appending("logs/helper.log")),
      dryRun_(configuration.dryRun),
      reach_(std::move(reach)) {}

bool BackgroundProcess::hasMarker() const { return reach_.files.info(marker_.path()).error == 0; }

void BackgroundProcess::start() {
  if (!hasMarker()) return;
  if (process_) {
    // One that is ending may take longer than what made it end: it starts again once it has gone.
    startAfterExit_ = startAfterExit_ || stopping_ || !process_->running();
    return;
  }
  pending_.reset();
  if (dryRun_) {
    reach_.output("DRY_RUN background start");
    return;
  }
  if (!isExecutableFile(reach_.files, place_.node().path())) return;
  if (!isReadableFile(reach_.files, place_.helper().path())) return;
  launch();
}

void BackgroundProcess::launch() {
  const Url home = system::homeFolder();
  TaskRequest request;
  request.executable = executable(place_.node(), reach_.files).path();
  request.arguments = {place_.helper().path(), "run", "--service"};
  if (isExecutableFile(reach_.files, reach_.leash)) {
    request.arguments.insert(request.arguments.begin(), {std::to_string(system::processId()), request.executable});
    request.executable = reach_.leash;
  }
  request.environment = environment(system::environment(), home);
  request.folder = home.path();

  const Outcome<int> log = openLog(reach_.files, log_);
  request.output = request.errors = log ? TaskRequest::Stream::file : TaskRequest::Stream::inherit;
  request.outputDescriptor = log.value;
  Outcome<std::unique_ptr<Task>> launched = reach_.tasks.launch(
      request, lifetime_.guarded([this, child = ++child_](const TaskEnd& end) { ended(child, end); }));
  if (log) reach_.files.close(log.value);

  if (!launched) {
    reach_.output("Kestrelune could not start: " + system::errorText(launched.error));
    schedule(kPause);
    return;
  }
  process_ = std::move(launched.value);
  startedAt_ = reach_.clock.uptime();
}

void BackgroundProcess::ended(std::uint64_t child, const TaskEnd& end) {
  if (!process_ || child != child_) return;
  process_.reset();
  const bool wasAsked = std::exchange(stopping_, false);
  if (std::exchange(startAfterExit_, false)) return start();
  if (wasAsked) return;
  if (const std::optional<double> pause = pauseAfter(end, reach_.clock.uptime() - startedAt_)) schedule(*pause);
}

void BackgroundProcess::schedule(double seconds) {
  pending_ = reach_.loop.after(seconds, [this] {
    pending_.reset();
    start();
  });
}

void BackgroundProcess::stop() {
  pending_.reset();
  startAfterExit_ = false;
  if (!process_) return;
  // Its end may have come already and not been told: it is no crash after this.
  stopping_ = true;
  if (process_->running()) process_->terminate();
}

bool BackgroundProcess::restart() {
  if (!hasMarker()) return false;
  stop();
  start();
  return true;
}

Url BackgroundProcess::executable(const Url& node, Files& files) {
  const Url resolved = node.resolvingSymbolicLinks();
  Url alias = resolved.deletingLastComponent().appending(kAlias);
  const Outcome<FileInfo> target = files.info(resolved.path());
  if (!target) return node;
  const Outcome<FileInfo> existing = files.linkInfo(alias.path());
  if (existing && existing.value.inode == target.value.inode) return alias;
  if (existing && files.unlink(alias.path()) != 0) return node;
  return files.link(resolved.path(), alias.path()) == 0 ? alias : node;
}

Environment BackgroundProcess::environment(Environment base, const Url& home) {
  base["PATH"] = searchPath(base["PATH"], home.path());
  base["HOME"] = home.path();
  if (!base.contains("LANG")) {
    std::string locale = system::localeIdentifier(base);
    std::replace(locale.begin(), locale.end(), '-', '_');
    base["LANG"] = locale + ".UTF-8";
  }
  return base;
}

}  // namespace kestrelune
