#include "base/Move.hpp"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace kestrelune {
namespace {

constexpr std::size_t kPiece = 1 << 20;
constexpr mode_t kOwner = 0700;

std::string beside(const std::string& path, const char* prefix) {
  const std::size_t slash = path.find_last_of('/');
  return path.substr(0, slash + 1) + prefix + path.substr(slash + 1);
}

int syncParent(Files& files, const std::string& path) {
  return syncFolder(files, path.substr(0, std::max<std::size_t>(path.find_last_of('/'), 1)));
}

int copyTree(Files& files, const std::string& from, const std::string& to);

int copyFolder(Files& files, const std::string& from, const std::string& to, mode_t mode) {
  if (const int error = files.makeFolder(to, kOwner); error != 0) return error;
  const auto names = files.list(from);
  if (!names) return names.error;
  for (const std::string& name : names.value)
    if (const int error = copyTree(files, from + "/" + name, to + "/" + name); error != 0) return error;
  if (const int error = files.chmod(to, mode); error != 0) return error;
  return syncFolder(files, to);
}

int copyTree(Files& files, const std::string& from, const std::string& to) {
  const auto info = files.linkInfo(from);
  if (!info) return info.error;
  switch (info.value.kind) {
    case FileInfo::Kind::folder: return copyFolder(files, from, to, info.value.mode);
    case FileInfo::Kind::regular: return placeCopy(files, to, from, info.value.mode, ".copying-");
    case FileInfo::Kind::link: {
      const auto target = files.readlink(from);
      return target ? files.symlink(target.value, to) : target.error;
    }
    case FileInfo::Kind::other: break;
  }
  return ENOTSUP;
}

/// Fills the piece as far as the file goes.
Outcome<std::size_t> readFull(Files& files, int descriptor, std::vector<char>& piece) {
  std::size_t filled = 0;
  while (filled < piece.size()) {
    const auto got = files.read(descriptor, piece.data() + filled, piece.size() - filled);
    if (!got) return got;
    if (got.value == 0) break;
    filled += got.value;
  }
  return {filled, 0};
}

int compareOpen(Files& files, int a, int b, std::size_t piece) {
  std::vector<char> one(piece), other(piece);
  while (true) {
    const auto left = readFull(files, a, one);
    const auto right = readFull(files, b, other);
    if (!left || !right) return left ? right.error : left.error;
    if (left.value != right.value || std::memcmp(one.data(), other.data(), left.value) != 0) return EIO;
    if (left.value < piece) return 0;
  }
}

int compareFiles(Files& files, const std::string& a, const std::string& b, std::uint64_t size) {
  const auto left = files.open(a, O_RDONLY, 0);
  if (!left) return left.error;
  const auto right = files.open(b, O_RDONLY, 0);
  const int error = right ? compareOpen(files, left.value, right.value, std::min(kPiece, size + 1)) : right.error;
  files.close(left.value);
  if (right) files.close(right.value);
  return error;
}

/// 0 when both are the same, EIO when they aren't.
int compareTrees(Files& files, const std::string& a, const std::string& b) {
  const auto left = files.linkInfo(a);
  const auto right = files.linkInfo(b);
  if (!left || !right) return left ? right.error : left.error;
  if (left.value.kind != right.value.kind) return EIO;
  if (left.value.kind == FileInfo::Kind::link) {
    const auto one = files.readlink(a);
    return one && one.value == files.readlink(b).value ? 0 : EIO;
  }
  if (left.value.mode != right.value.mode) return EIO;
  if (left.value.kind == FileInfo::Kind::regular)
    return left.value.size == right.value.size ? compareFiles(files, a, b, left.value.size) : EIO;
  const auto names = files.list(a);
  if (!names || names.value != files.list(b).value) return EIO;
  for (const std::string& name : names.value)
    if (const int error = compareTrees(files, a + "/" + name, b + "/" + name); error != 0) return error;
  return 0;
}

int moveAcross(Files& files, const std::string& from, const std::string& to) {
  const std::string gone = beside(from, ".moving-");
  removeTree(files, gone);
  if (const int error = copyItem(files, from, to); error != 0) return error;
  if (const int error = files.rename(from, gone); error != 0) {
    removeTree(files, to);
    return error;
  }
  syncParent(files, from);
  removeTree(files, gone);
  return 0;
}

}  // namespace

int moveItem(Files& files, const std::string& from, const std::string& to) {
  const int error = files.rename(from, to);
  if (error == EXDEV) return moveAcross(files, from, to);
  if (error != 0) return error;
  // What fails here can't be made undone by anybody: the item stands under its new name.
  syncParent(files, to);
  syncParent(files, from);
  return 0;
}

int copyItem(Files& files, const std::string& from, const std::string& to) {
  const std::string copy = beside(to, ".moving-");
  removeTree(files, copy);
  int error = copyTree(files, from, copy);
  if (error == 0) error = compareTrees(files, from, copy);
  if (error == 0) error = files.rename(copy, to);
  if (error != 0) {
    removeTree(files, copy);
    return error;
  }
  syncParent(files, to);
  return 0;
}

int removeTree(Files& files, const std::string& path) {
  const auto info = files.linkInfo(path);
  if (!info) return info.error;
  if (info.value.kind != FileInfo::Kind::folder) return files.unlink(path);

  // A folder that was made unreadable on purpose must not outlive its removal.
  if ((info.value.mode & kOwner) != kOwner) files.chmod(path, kOwner);
  const auto names = files.list(path);
  if (!names) return names.error;
  int first = 0;
  for (const std::string& name : names.value) {
    const int error = removeTree(files, path + "/" + name);
    if (first == 0) first = error;
  }
  const int error = files.removeFolder(path);
  return first != 0 ? first : error;
}

}  // namespace kestrelune
