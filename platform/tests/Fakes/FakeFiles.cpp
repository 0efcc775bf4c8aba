#include "Fakes/FakeFiles.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <utility>

namespace kestrelune {

struct FakeFiles::Node {
  using Entries = std::map<std::string, NodePointer>;
  FileInfo::Kind kind = FileInfo::Kind::regular;
  mode_t mode = 0;
  std::uint64_t inode = 0;
  std::int64_t changed = 0;
  std::string content, syncedContent;  ///< of a link: its target
  Entries entries, syncedEntries;

  void sync() {
    syncedContent = content;
    syncedEntries = entries;
  }
};

namespace {

using Kind = FileInfo::Kind;

std::string parentOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

}  // namespace

FakeFiles::FakeFiles() : root_(make(Kind::folder, 0755)) {}
FakeFiles::~FakeFiles() = default;

FakeFiles::NodePointer FakeFiles::make(Kind kind, mode_t mode) {
  auto node = std::make_shared<Node>();
  node->kind = kind;
  node->mode = mode;
  node->inode = ++lastInode_;
  node->changed = ++time_;
  return node;
}

int FakeFiles::step(const std::string& what) {
  ++calls_;
  if (dead_) return EIO;
  if (calls_ == crashAt_) {
    dead_ = true;
    throw Crash{};
  }
  log.push_back(what);
  if (calls_ == failAt_) return failError_;
  return fault ? fault(what) : 0;
}

bool FakeFiles::crosses(const std::string& a, const std::string& b) const {
  return !mount.empty() && a.starts_with(mount + "/") != b.starts_with(mount + "/");
}

void FakeFiles::failAt(int n, int error) {
  failAt_ = calls_ + n;
  failError_ = error;
}

void FakeFiles::crashAt(int n) { crashAt_ = calls_ + n; }

void FakeFiles::restart() {
  dead_ = false;
  descriptors_.clear();
  log.clear();
  calls_ = failAt_ = crashAt_ = 0;
}

void FakeFiles::cutPower(Cut cut) {
  const std::function<void(Node&)> forget = [&](Node& node) {
    if (cut == Cut::losesNothing) node.syncedContent = node.content;
    if (node.kind == Kind::regular) node.content = node.syncedContent;
    if (cut == Cut::losesNames) node.entries = node.syncedEntries;
    for (const auto& [name, child] : node.entries) forget(*child);
    node.syncedEntries = node.entries;
  };
  forget(*root_);
  restart();
}

FakeFiles::Place FakeFiles::find(const std::string& path, bool follow, int depth) const {
  if (depth > 40) return {nullptr, "", nullptr, ELOOP};
  NodePointer folder = root_;
  std::string walked;
  std::size_t at = 0;
  while (true) {
    at = path.find_first_not_of('/', at);
    if (at == std::string::npos) return {folder, "", folder, 0};
    const std::size_t end = std::min(path.find('/', at), path.size());
    const std::string name = path.substr(at, end - at);
    const bool last = path.find_first_not_of('/', end) == std::string::npos;
    const auto found = folder->entries.find(name);
    const NodePointer node = found == folder->entries.end() ? nullptr : found->second;
    if (node && node->kind == Kind::link && (!last || follow)) {
      const std::string target = node->content.starts_with('/') ? node->content : walked + "/" + node->content;
      return find(target + path.substr(end), follow, depth + 1);
    }
    if (last) return {folder, name, node, node ? 0 : ENOENT};
    if (!node) return {nullptr, "", nullptr, ENOENT};
    if (node->kind != Kind::folder) return {nullptr, "", nullptr, ENOTDIR};
    folder = node;
    walked += "/" + name;
    at = end;
  }
}

int FakeFiles::add(const std::string& path, const NodePointer& node) {
  const Place place = find(path, false);
  if (place.node) return EEXIST;
  if (!place.folder) return place.error;
  place.folder->entries[place.name] = node;
  return 0;
}

FileInfo FakeFiles::infoOf(const Node& node) {
  FileInfo info;
  info.kind = node.kind;
  info.size = node.content.size();
  info.inode = node.inode;
  info.device = 1;
  info.mode = node.mode;
  info.changed = node.changed;
  return info;
}

void FakeFiles::putNode(const std::string& path, const NodePointer& node) {
  const std::string parent = parentOf(path);
  if (parent != "/") putFolder(parent);
  const Place place = find(path, false);
  place.folder->entries[place.name] = node;
  node->sync();
  place.folder->sync();
}

void FakeFiles::put(const std::string& path, const std::string& content, mode_t mode) {
  const NodePointer node = make(Kind::regular, mode);
  node->content = content;
  putNode(path, node);
}

void FakeFiles::take(const std::string& path) {
  const Place place = find(path, false);
  if (!place.node) return;
  place.folder->entries.erase(place.name);
  place.folder->sync();
}

void FakeFiles::putFolder(const std::string& path, mode_t mode) {
  if (!find(path, true).node) putNode(path, make(Kind::folder, mode));
}

void FakeFiles::putLink(const std::string& path, const std::string& target) {
  const NodePointer node = make(Kind::link, 0777);
  node->content = target;
  putNode(path, node);
}

std::optional<std::string> FakeFiles::content(const std::string& path) const {
  const Place place = find(path, true);
  if (!place.node || place.node->kind != Kind::regular) return std::nullopt;
  return place.node->content;
}

std::optional<FileInfo> FakeFiles::at(const std::string& path) const {
  const Place place = find(path, false);
  return place.node ? std::optional(infoOf(*place.node)) : std::nullopt;
}

std::optional<std::string> FakeFiles::linkTarget(const std::string& path) const {
  const Place place = find(path, false);
  if (!place.node || place.node->kind != Kind::link) return std::nullopt;
  return place.node->content;
}

void FakeFiles::collect(const std::string& path, const Node& folder, std::vector<std::string>& into) const {
  for (const auto& [name, node] : folder.entries) {
    const std::string own = path + "/" + name;
    into.push_back(own);
    collect(own, *node, into);
  }
}

std::vector<std::string> FakeFiles::paths() const {
  std::vector<std::string> result;
  collect("", *root_, result);
  return result;
}

Outcome<int> FakeFiles::open(const std::string& path, int flags, mode_t mode) {
  if (const int error = step("open " + path)) return {-1, error};
  Place place = find(path, true);
  if (place.node && (flags & O_CREAT) != 0 && (flags & O_EXCL) != 0) return {-1, EEXIST};
  if (!place.node) {
    if ((flags & O_CREAT) == 0 || !place.folder) return {-1, place.error};
    place.node = make(Kind::regular, mode);
    place.folder->entries[place.name] = place.node;
  }
  const bool folder = place.node->kind == Kind::folder;
  if (folder && (flags & O_ACCMODE) != O_RDONLY) return {-1, EISDIR};
  if (!folder && (flags & O_DIRECTORY) != 0) return {-1, ENOTDIR};
  if ((flags & O_TRUNC) != 0) place.node->content.clear();
  descriptors_[nextDescriptor_] = {place.node, 0, (flags & O_APPEND) != 0};
  return {nextDescriptor_++, 0};
}

Outcome<std::size_t> FakeFiles::read(int descriptor, char* buffer, std::size_t size) {
  if (const int error = step("read")) return {0, error};
  const auto found = descriptors_.find(descriptor);
  if (found == descriptors_.end()) return {0, EBADF};
  Open& open = found->second;
  if (open.node->kind == Kind::folder) return {0, EISDIR};
  const std::size_t count =
      std::min(size, open.node->content.size() - std::min(open.offset, open.node->content.size()));
  std::copy_n(open.node->content.data() + open.offset, count, static_cast<char*>(buffer));
  open.offset += count;
  return {count, 0};
}

Outcome<std::size_t> FakeFiles::write(int descriptor, const char* bytes, std::size_t size) {
  if (const int error = step("write")) return {0, error};
  const auto found = descriptors_.find(descriptor);
  if (found == descriptors_.end()) return {0, EBADF};
  Open& open = found->second;
  std::string& content = open.node->content;
  if (open.appends) open.offset = content.size();
  const std::size_t count = std::min(size, mostPerWrite);
  content.resize(std::max(content.size(), open.offset + count));
  content.replace(open.offset, count, bytes, count);
  open.offset += count;
  open.node->changed = ++time_;
  return {count, 0};
}

Outcome<std::size_t> FakeFiles::copy(int from, int to, std::size_t size) {
  if (const int error = step("copy")) return {0, error};
  if (!copies) return {0, EXDEV};
  Open& source = descriptors_.at(from);
  Open& target = descriptors_.at(to);
  const std::string piece = source.node->content.substr(source.offset, std::min(size, mostPerWrite));
  target.node->content.replace(target.offset, piece.size(), piece);
  source.offset += piece.size();
  target.offset += piece.size();
  target.node->changed = ++time_;
  return {piece.size(), 0};
}

int FakeFiles::fchmod(int descriptor, mode_t mode) {
  if (const int error = step("fchmod")) return error;
  descriptors_.at(descriptor).node->mode = mode;
  return 0;
}

int FakeFiles::fsync(int descriptor) {
  if (const int error = step("fsync")) return error;
  descriptors_.at(descriptor).node->sync();
  return 0;
}

int FakeFiles::close(int descriptor) {
  // A lock is given back by a destructor, which can't throw; a crash before the next call comes to the same.
  const auto found = descriptors_.find(descriptor);
  if (found != descriptors_.end() && found->second.locked && calls_ + 1 == crashAt_) ++crashAt_;
  const int error = step("close");
  return descriptors_.erase(descriptor) == 0 ? EBADF : error;
}

int FakeFiles::lock(int descriptor) {
  const int error = step("lock");
  const auto found = descriptors_.find(descriptor);
  if (found == descriptors_.end()) return EBADF;
  found->second.locked = error == 0;
  return error;
}

Outcome<FileInfo> FakeFiles::descriptorInfo(int descriptor) {
  if (const int error = step("fstat")) return {{}, error};
  return {infoOf(*descriptors_.at(descriptor).node), 0};
}

Outcome<FileInfo> FakeFiles::info(const std::string& path) {
  if (const int error = step("stat " + path)) return {{}, error};
  const Place place = find(path, true);
  if (!place.node) return {{}, place.error};
  return {infoOf(*place.node), 0};
}

Outcome<FileInfo> FakeFiles::linkInfo(const std::string& path) {
  if (const int error = step("lstat " + path)) return {{}, error};
  const Place place = find(path, false);
  if (!place.node) return {{}, place.error};
  return {infoOf(*place.node), 0};
}

int FakeFiles::chmod(const std::string& path, mode_t mode) {
  if (const int error = step("chmod " + path)) return error;
  const Place place = find(path, true);
  if (!place.node) return place.error;
  place.node->mode = mode;
  return 0;
}

int FakeFiles::access(const std::string& path, int mode) {
  if (const int error = step("access " + path)) return error;
  const Place place = find(path, true);
  if (!place.node) return place.error;
  const mode_t wanted =
      ((mode & R_OK) != 0 ? 0400u : 0u) | ((mode & W_OK) != 0 ? 0200u : 0u) | ((mode & X_OK) != 0 ? 0100u : 0u);
  return (place.node->mode & wanted) == wanted ? 0 : EACCES;
}

int FakeFiles::rename(const std::string& from, const std::string& to) {
  if (const int error = step("rename " + from + " " + to)) return error;
  if (crosses(from, to)) return EXDEV;
  const Place source = find(from, false);
  const Place target = find(to, false);
  if (!source.node) return source.error;
  if (!target.folder) return target.error;
  if (target.node == source.node) return 0;
  if (target.node) {
    const bool folder = target.node->kind == Kind::folder;
    if (folder != (source.node->kind == Kind::folder)) return folder ? EISDIR : ENOTDIR;
    if (folder && !target.node->entries.empty()) return ENOTEMPTY;
  }
  target.folder->entries[target.name] = source.node;
  source.folder->entries.erase(source.name);
  return 0;
}

int FakeFiles::exchange(const std::string& a, const std::string& b) {
  if (const int error = step("exchange " + a + " " + b)) return error;
  if (crosses(a, b)) return EXDEV;
  if (!exchanges) return ENOSYS;
  const Place one = find(a, false);
  const Place other = find(b, false);
  if (!one.node || !other.node) return ENOENT;
  std::swap(one.folder->entries[one.name], other.folder->entries[other.name]);
  return 0;
}

int FakeFiles::unlink(const std::string& path) {
  if (const int error = step("unlink " + path)) return error;
  const Place place = find(path, false);
  if (!place.node) return place.error;
  if (place.node->kind == Kind::folder) return EISDIR;
  place.folder->entries.erase(place.name);
  return 0;
}

int FakeFiles::link(const std::string& from, const std::string& to) {
  if (const int error = step("link " + from + " " + to)) return error;
  const Place source = find(from, false);
  return source.node ? add(to, source.node) : source.error;
}

int FakeFiles::symlink(const std::string& target, const std::string& path) {
  if (const int error = step("symlink " + target + " " + path)) return error;
  const NodePointer node = make(Kind::link, 0777);
  node->content = target;
  return add(path, node);
}

Outcome<std::string> FakeFiles::readlink(const std::string& path) {
  if (const int error = step("readlink " + path)) return {{}, error};
  const Place place = find(path, false);
  if (!place.node) return {{}, place.error};
  if (place.node->kind != Kind::link) return {{}, EINVAL};
  return {place.node->content, 0};
}

int FakeFiles::makeFolder(const std::string& path, mode_t mode) {
  if (const int error = step("mkdir " + path)) return error;
  return add(path, make(Kind::folder, mode));
}

int FakeFiles::removeFolder(const std::string& path) {
  if (const int error = step("rmdir " + path)) return error;
  const Place place = find(path, false);
  if (!place.node) return place.error;
  if (place.node->kind != Kind::folder) return ENOTDIR;
  if (!place.node->entries.empty()) return ENOTEMPTY;
  place.folder->entries.erase(place.name);
  return 0;
}

Outcome<std::vector<std::string>> FakeFiles::list(const std::string& path) {
  if (const int error = step("list " + path)) return {{}, error};
  const Place place = find(path, true);
  if (!place.node) return {{}, place.error};
  if (place.node->kind != Kind::folder) return {{}, ENOTDIR};
  std::vector<std::string> names;
  for (const auto& [name, node] : place.node->entries) names.push_back(name);
  return {std::move(names), 0};
}

int FakeFiles::kill(pid_t pid, int) {
  if (const int error = step("kill " + std::to_string(pid))) return error;
  return alive.contains(pid) ? 0 : ESRCH;
}

}  // namespace kestrelune
