#include "AppUpdateFiles.hpp"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "Runtime.hpp"
#include "base/Move.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr std::int64_t kSchemaVersion = 1;
constexpr std::size_t kLargestState = 65536;
constexpr char kTemporary[] = ".placing-";

void decodeJson(const Json& json, AppUpdateState::Pending& pending) {
  requireObject(json);
  decodeMember(json, "fromBuild", pending.fromBuild);
  decodeMember(json, "toBuild", pending.toBuild);
  decodeMember(json, "startedAt", pending.startedAt);
}

void check(int error) {
  if (error != 0) throw RuntimeError::posix(error);
}

}  // namespace

Url AppUpdateFiles::zipURL(std::int64_t build) const {
  return directory_.appending("Kestrelune-" + std::to_string(build) + ".zip");
}
Url AppUpdateFiles::stagedURL(std::int64_t build) const {
  return directory_.appending("staged-" + std::to_string(build));
}
Url AppUpdateFiles::backupURL(std::int64_t build) const {
  return directory_.appending("previous-" + std::to_string(build) + ".app");
}
Url AppUpdateFiles::confirmationURL(std::int64_t build) const {
  return directory_.appending("confirmed-" + std::to_string(build));
}
Url AppUpdateFiles::watchdogURL() const { return directory_.appending("watchdog.sh"); }
Url AppUpdateFiles::wayURL(const Url& app) {
  return app.deletingLastComponent().appending(".updating-" + app.lastComponent());
}

void AppUpdateFiles::prepare() const { check(makeFolders(files_, directory_.path(), 0700)); }

AppUpdateFiles::Claim::~Claim() { files_.close(descriptor_); }

std::unique_ptr<AppUpdateFiles::Claim> AppUpdateFiles::claim() const {
  const auto lock = openForAppending(files_, directory_.appending("lock").path(), 0600);
  if (!lock) return nullptr;
  if (files_.lock(lock.value) == 0) return std::make_unique<Claim>(files_, lock.value);
  files_.close(lock.value);
  return nullptr;
}

std::optional<AppUpdateState> AppUpdateFiles::read() const {
  const auto text = readFile(files_, directory_.appending("state.json").path(), kLargestState);
  if (mayPass(text.error)) return std::nullopt;
  AppUpdateState state;
  if (!text) return state;
  try {
    const Json json = Json::parse(text.value);
    requireObject(json);
    std::int64_t version = 0;
    decodeMember(json, "schemaVersion", version);
    decodeMember(json, "skippedBuild", state.skippedBuild);
    decodeMember(json, "notifiedBuild", state.notifiedBuild);
    if (const Json* pending = json.find("pending"); pending && !pending->isNull()) {
      state.pending = AppUpdateState::Pending{};
      decodeJson(*pending, *state.pending);
    }
    return version == kSchemaVersion ? state : AppUpdateState{};
  } catch (const JsonError&) {
    return AppUpdateState{};
  }
}

Json toJson(const AppUpdateState& state) {
  Json json;
  json.set("schemaVersion", kSchemaVersion);
  json.setIfPresent("skippedBuild", state.skippedBuild);
  json.setIfPresent("notifiedBuild", state.notifiedBuild);
  if (state.pending) {
    json.set("pending", Json::Object{{"fromBuild", state.pending->fromBuild},
                                     {"toBuild", state.pending->toBuild},
                                     {"startedAt", state.pending->startedAt}});
  }
  return json;
}

void AppUpdateFiles::write(const AppUpdateState& state) const {
  prepare();
  place(directory_.appending("state.json"), toJson(state).write());
}

void AppUpdateFiles::place(const Url& url, std::string_view bytes) const {
  check(placeFile(files_, url.path(), bytes, 0600, kTemporary));
}

void AppUpdateFiles::placeTool(const Url& source) const {
  check(placeCopy(files_, directory_.appending(source.lastComponent()).path(), source.path(), 0700, kTemporary));
}

void AppUpdateFiles::removeTemporaries() const {
  for (const std::string& name : files_.list(directory_.path()).value)
    if (name.starts_with(kTemporary)) files_.unlink(directory_.appending(name).path());
}

bool AppUpdateFiles::takeRolledBack(const std::function<void(std::int64_t build)>& remember) const {
  const std::string path = directory_.appending("rolled-back").path();
  const auto content = readFile(files_, path, kLargestState);
  if (!content) return !mayPass(content.error);
  if (!text::isValidUtf8(content.value)) return true;
  std::string number = text::trimmed(content.value);
  if (number.starts_with('+') && !number.starts_with("+-")) number.erase(0, 1);
  std::int64_t build = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), build);
  try {
    if (error == std::errc{} && end == number.data() + number.size()) remember(build);
    files_.unlink(path);
    return true;
  } catch (const RuntimeError&) {
    return false;
  }
}

void AppUpdateFiles::clean(const std::vector<std::int64_t>& keeping) const {
  const auto names = files_.list(directory_.path());
  if (!names) return;
  for (const std::string& name : names.value) {
    if (!name.starts_with("Kestrelune-") && !name.starts_with("staged-") && !name.starts_with("failed-")) continue;
    const Url url = directory_.appending(name);
    const auto isOf = [&](std::int64_t build) { return url == zipURL(build) || url == stagedURL(build); };
    if (std::none_of(keeping.begin(), keeping.end(), isOf)) removeTree(files_, url.path());
  }
}

std::vector<std::string> AppUpdateFiles::backups() const {
  std::vector<std::string> names = files_.list(directory_.path()).value;
  std::erase_if(names, [](const std::string& name) {
    return !name.starts_with("previous-") && !name.starts_with(".moving-") && !name.starts_with("confirmed-");
  });
  return names;
}

bool AppUpdateFiles::hasBackups() const { return !backups().empty(); }

void AppUpdateFiles::removeBackups() const {
  for (const std::string& name : backups()) removeTree(files_, directory_.appending(name).path());
}

std::optional<Url> AppUpdateFiles::singleApp(const Url& folder) const {
  auto names = files_.list(folder.path());
  if (!names) return std::nullopt;
  std::erase(names.value, "__MACOSX");
  if (names.value != std::vector<std::string>{"Kestrelune.app"}) return std::nullopt;
  const Url app = folder.appending("Kestrelune.app");
  const auto info = files_.linkInfo(app.path());
  if (!info || info.value.kind != FileInfo::Kind::folder) return std::nullopt;
  return app;
}

}  // namespace kestrelune
