#include "RuntimeHeartbeat.hpp"

#include <cstdint>
#include <string>
#include <utility>

#include "Runtime.hpp"
#include "base/Json.hpp"

namespace kestrelune {
namespace {

constexpr mode_t kFolderMode = 0700;
constexpr mode_t kFileMode = 0600;
constexpr std::size_t kLargestFile = 65536;
constexpr const char* kPrefix = ".menubar-";
constexpr const char* kSuffix = ".tmp";

void throwIfFailed(int error) {
  if (error != 0) throw RuntimeError::posix(error);
}

}  // namespace

Heartbeat::Heartbeat(Files& files, Url url, pid_t pid) : files_(files), url_(std::move(url)), pid_(pid) {}

void Heartbeat::write(Date now) {
  throwIfFailed(makeFolders(files_, url_.deletingLastComponent().path(), kFolderMode));
  Json beat;
  beat.set("pid", static_cast<std::int64_t>(pid_));
  beat.set("schemaVersion", 1);
  beat.set("updatedAt", formatIso8601(now));
  throwIfFailed(placeFile(files_, url_.path(), beat.write(), kFileMode, kPrefix, kSuffix));
}

void Heartbeat::removeTemporaries() {
  const Url folder = url_.deletingLastComponent();
  for (const std::string& name : files_.list(folder.path()).value)
    if (name.starts_with(kPrefix) && name.ends_with(kSuffix)) files_.unlink(folder.appending(name).path());
}

void Heartbeat::removeOwnedFile() {
  const Outcome<std::string> file = readFile(files_, url_.path(), kLargestFile);
  if (!file) return;
  try {
    const Json beat = Json::parse(file.value);
    std::int64_t pid = 0;
    decodeMember(beat, "pid", pid);
    if (pid == pid_) files_.unlink(url_.path());
  } catch (const JsonError&) {
    return;
  }
}

}  // namespace kestrelune
