#include "base/CodeSeal.hpp"

#include <utility>

#include "base/Digest.hpp"
#include "base/Json.hpp"

namespace kestrelune {
namespace {

constexpr std::int64_t kSchemaVersion = 1;
constexpr int kMostLevels = 64;

void decodeJson(const Json& json, CodeSeal::Entry& entry) {
  requireObject(json);
  std::optional<std::int32_t> mode;
  decodeMember(json, "mode", mode);
  decodeMember(json, "sha256", entry.sha256);
  decodeMember(json, "target", entry.target);
  if (entry.target && (mode || entry.sha256)) throw JsonError("a link has a target and nothing else");
  entry.mode = static_cast<mode_t>(mode.value_or(0));
}

Json encode(const CodeSeal::Entry& entry) {
  Json object = Json::Object{};
  if (entry.target) {
    object.set("target", *entry.target);
  } else {
    object.set("mode", static_cast<int>(entry.mode));
    object.setIfPresent("sha256", entry.sha256);
  }
  return object;
}

class Walk {
 public:
  Walk(Files& files, const std::string& bundle, CodeSeal& seal) : files_(files), bundle_(bundle), seal_(seal) {}

  /// `path` within the bundle, at a depth that is 0 for the bundle's own folder.
  bool add(const std::string& path, int depth) {
    const std::string full = bundle_ + "/" + path;
    const auto info = files_.linkInfo(full);
    if (!info || depth > kMostLevels) return false;
    CodeSeal::Entry& entry = seal_.entries[path];
    switch (info.value.kind) {
      case FileInfo::Kind::regular: return addFile(full, info.value.mode, entry);
      case FileInfo::Kind::folder: return addFolder(path, info.value.mode, depth, entry);
      case FileInfo::Kind::link: return addLink(full, depth, entry);
      case FileInfo::Kind::other: break;
    }
    return false;
  }

 private:
  bool addFile(const std::string& full, mode_t mode, CodeSeal::Entry& entry) {
    auto digest = sha256OfFile(files_, full);
    if (!digest) return false;
    entry.mode = mode;
    entry.sha256 = std::move(digest.value);
    return true;
  }

  bool addFolder(const std::string& path, mode_t mode, int depth, CodeSeal::Entry& entry) {
    entry.mode = mode;
    const auto names = files_.list(bundle_ + "/" + path);
    if (!names) return false;
    for (const std::string& name : names.value) {
      const std::string inner = path == "." ? name : path + "/" + name;
      if (isOfSignature(inner)) continue;
      if (!add(inner, depth + 1)) return false;
    }
    return true;
  }

  bool addLink(const std::string& full, int depth, CodeSeal::Entry& entry) {
    auto target = files_.readlink(full);
    if (!target || !linkStaysInside(target.value, depth - 1)) return false;
    entry.target = std::move(target.value);
    return true;
  }

  /// Only a plain file may be one of these three; anything else under such a name is listed, and so is one too many.
  bool isOfSignature(const std::string& path) {
    if (path != CodeSeal::kList && path != CodeSeal::kSignature && path != CodeSeal::kNotary) return false;
    const auto info = files_.linkInfo(bundle_ + "/" + path);
    return info && info.value.kind == FileInfo::Kind::regular;
  }

  Files& files_;
  const std::string& bundle_;
  CodeSeal& seal_;
};

}  // namespace

std::string CodeSeal::write() const {
  Json::Object list;
  for (const auto& [path, entry] : entries) list.emplace(path, encode(entry));
  return Json(Json::Object{{"schemaVersion", kSchemaVersion}, {"identifier", identifier}, {"entries", std::move(list)}})
      .write();
}

std::optional<CodeSeal> CodeSeal::parse(std::string_view text) {
  try {
    const Json json = Json::parse(text);
    requireObject(json);
    CodeSeal seal;
    std::int64_t version = 0;
    decodeMember(json, "schemaVersion", version);
    decodeMember(json, "identifier", seal.identifier);
    const Json* list = json.find("entries");
    if (version != kSchemaVersion || !list || !list->object()) return std::nullopt;
    for (const auto& [path, entry] : *list->object()) decodeJson(entry, seal.entries[path]);
    return seal;
  } catch (const JsonError&) {
    return std::nullopt;
  }
}

std::optional<CodeSeal> CodeSeal::of(Files& files, const std::string& bundle, std::string identifier) {
  CodeSeal seal;
  seal.identifier = std::move(identifier);
  if (const auto info = files.linkInfo(bundle); !info || info.value.kind != FileInfo::Kind::folder) return std::nullopt;
  if (!Walk(files, bundle, seal).add(".", 0)) return std::nullopt;
  return seal;
}

// What a link passes on its way down is in the list itself.
bool linkStaysInside(std::string_view target, int depth) {
  if (target.empty() || target.front() == '/') return false;
  bool down = false;
  while (!target.empty()) {
    const std::size_t slash = target.find('/');
    const std::string_view part = target.substr(0, slash);
    target.remove_prefix(slash == std::string_view::npos ? target.size() : slash + 1);
    if (part != "..") {
      down = true;
    } else if (down || depth-- == 0) {
      return false;
    }
  }
  return true;
}

}  // namespace kestrelune
