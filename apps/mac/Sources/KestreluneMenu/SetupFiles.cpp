#include "SetupFiles.hpp"

#include <cerrno>
#include <utility>

#include "Runtime.hpp"
#include "base/Digest.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr mode_t kFolderMode = 0700;
constexpr mode_t kHelperMode = 0600;
constexpr mode_t kNodeMode = 0755;
constexpr mode_t kLauncherMode = 0700;
constexpr std::size_t kLargestHelper = 256 << 20;
constexpr std::size_t kLargestLauncher = 1 << 20;
constexpr char kTemporary[] = ".setup-";
constexpr char kTemporaryLink[] = ".current-";

void throwIfFailed(int error) {
  if (error != 0) throw RuntimeError::posix(error);
}

RuntimeError mismatch() { return RuntimeError::script("Kestrelune's bundled files do not match their checksum"); }

/// One placement under way.
class Placement {
 public:
  Placement(const HelperFiles& place, std::string runtime)
      : place_(place), files_(place.files), runtime_(std::move(runtime)) {}

  void makeFolders() {
    for (const Url& folder : folders()) makeFolder(folder);
  }

  /// True when the runtime was written.
  bool placeNode(const Url& source) {
    const std::string path = versioned().appending("bin/node").path();
    if (isRegular(path) && isExecutableFile(files_, path)) {
      throwIfFailed(files_.chmod(path, kNodeMode));
      return false;
    }
    throwIfFailed(placeCopy(files_, path, source.path(), kNodeMode, kTemporary));
    return true;
  }

  /// Before the first name that others rely on. Not only after a change: an earlier run may have been stopped before
  /// it got around to it.
  void syncFolders() {
    for (const Url& folder : folders()) throwIfFailed(syncFolder(files_, folder.path()));
    // The folder that holds all of them may be one that isn't ours to open.
    syncFolder(files_, place_.root.deletingLastComponent().path());
  }

  /// True when the link pointed elsewhere.
  bool placeLink() {
    const Outcome<std::string> target = files_.readlink(link().path());
    if (target && target.value == runtime_) return false;
    switchLink();
    return !target || target.value != versioned().path();
  }

  /// True when the helper was written.
  bool placeHelper(const std::string& bytes, const std::string& digest, bool replaceHelper) {
    const std::string path = place_.helper().path();
    const bool stands = isRegular(path) && !(replaceHelper && HelperPayload::sha256(files_, place_.helper()) != digest);
    put(path, bytes, kHelperMode, stands);
    return !stands;
  }

  void placeLauncher() {
    const std::string path = place_.launcher().path();
    const std::string wanted = HelperFiles::wrapper(place_.root);
    put(path, wanted, kLauncherMode, isRegular(path) && readFile(files_, path, kLargestLauncher).value == wanted);
  }

 private:
  Url nodeFolder() const { return place_.root.appending("node"); }
  Url versioned() const { return nodeFolder().appending(runtime_); }
  Url link() const { return nodeFolder().appending("current"); }

  std::vector<Url> folders() const {
    return {place_.root,
            nodeFolder(),
            place_.root.appending("helper"),
            place_.root.appending("bin"),
            versioned(),
            versioned().appending("bin")};
  }

  /// A link in place of a folder is refused: what is placed would land somewhere else.
  void makeFolder(const Url& folder) {
    const int error = kestrelune::makeFolders(files_, folder.path(), kFolderMode);
    const Outcome<FileInfo> info = files_.linkInfo(folder.path());
    if (info && info.value.kind != FileInfo::Kind::folder)
      throw RuntimeError::script("Not a directory: " + folder.path());
    throwIfFailed(error);
    throwIfFailed(info.error);
    throwIfFailed(files_.chmod(folder.path(), kFolderMode));
  }

  bool isRegular(const std::string& path) {
    const Outcome<FileInfo> info = files_.linkInfo(path);
    return info && info.value.kind == FileInfo::Kind::regular;
  }

  void put(const std::string& path, const std::string& bytes, mode_t mode, bool stands) {
    if (stands) {
      throwIfFailed(files_.chmod(path, mode));
      return;
    }
    throwIfFailed(placeFile(files_, path, bytes, mode, kTemporary));
  }

  /// There is no moment without a link.
  void switchLink() {
    const std::string temporary = nodeFolder().appending(kTemporaryLink + text::makeUuid()).path();
    int error = files_.symlink(runtime_, temporary);
    if (error == 0) error = files_.rename(temporary, link().path());
    files_.unlink(temporary);
    throwIfFailed(error);
    throwIfFailed(syncFolder(files_, nodeFolder().path()));
  }

  const HelperFiles& place_;
  Files& files_;
  const std::string runtime_;
};

}  // namespace

HelperFileChanges HelperFiles::place(const HelperPayload& payload, HelperArchitecture architecture,
                                     bool replaceHelper) const {
  const auto node = payload.nodeURLs.find(architecture);
  if (node == payload.nodeURLs.end()) throw mismatch();
  const Outcome<std::string> bytes = readFile(files, payload.helperURL.path(), kLargestHelper);
  throwIfFailed(bytes.error);
  if (sha256(bytes.value) != payload.helperSHA256) throw mismatch();

  Placement placement(*this, "node-" + payload.nodeVersion + "-darwin-" + std::string(name(architecture)));
  placement.makeFolders();
  const bool nodeWritten = placement.placeNode(node->second);
  placement.syncFolders();
  const bool linkMoved = placement.placeLink();
  const bool helperWritten = placement.placeHelper(bytes.value, payload.helperSHA256, replaceHelper);
  placement.placeLauncher();
  return {nodeWritten || linkMoved, helperWritten};
}

void HelperFiles::removeTemporaries() const {
  std::vector<Url> folders = {root.appending("helper"), root.appending("bin"), root.appending("node")};
  for (const std::string& runtime : files.list(folders.back().path()).value)
    if (runtime.starts_with("node-")) folders.push_back(root.appending("node").appending(runtime).appending("bin"));
  for (const Url& folder : folders) {
    for (const std::string& name : files.list(folder.path()).value)
      if (name.starts_with(kTemporary) || name.starts_with(kTemporaryLink)) files.unlink(folder.appending(name).path());
  }
}

std::string HelperFiles::wrapper(const Url& root) {
  const std::string path = root.standardized().path();
  std::string escaped;
  for (const char c : path) {
    if (c == '\\' || c == '"' || c == '$' || c == '`') escaped += '\\';
    escaped += c;
  }
  return "#!/bin/bash\nexec \"" + escaped + "/node/current/bin/node\" \"" + escaped +
         "/helper/kestrelune-runner.mjs\" \"$@\"\n";
}

}  // namespace kestrelune
