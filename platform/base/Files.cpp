#include "base/Files.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kPiece = 65536;
constexpr std::size_t kCopyPiece = 1 << 20;

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

/// 0 where `info` is of a regular file.
int errorUnlessRegular(const Outcome<FileInfo>& info) {
  if (!info) return info.error;
  if (info.value.kind == FileInfo::Kind::folder) return EISDIR;
  return info.value.kind == FileInfo::Kind::regular ? 0 : EINVAL;
}

Outcome<std::string> readOpen(Files& files, int descriptor, std::size_t limit) {
  const Outcome<FileInfo> info = files.descriptorInfo(descriptor);
  if (const int error = errorUnlessRegular(info); error != 0) return {{}, error};
  if (info.value.size > limit) return {{}, EFBIG};

  // One byte more than it had, so that the usual read ends with the first short one, and growth shows.
  std::string bytes;
  std::size_t filled = 0;
  bytes.resize(static_cast<std::size_t>(info.value.size) + 1);
  while (true) {
    if (filled == bytes.size()) bytes.resize(filled + kPiece);
    const Outcome<std::size_t> piece = files.read(descriptor, bytes.data() + filled, bytes.size() - filled);
    if (!piece) return {{}, piece.error};
    if (piece.value == 0) break;
    filled += piece.value;
    if (filled > limit) return {{}, EFBIG};
  }
  bytes.resize(filled);
  return {std::move(bytes), 0};
}

int copyThroughHere(Files& files, int from, int to) {
  std::string piece(kCopyPiece, '\0');
  while (true) {
    const Outcome<std::size_t> got = files.read(from, piece.data(), piece.size());
    if (!got) return got.error;
    if (got.value == 0) return 0;
    if (const int error = writeWhole(files, to, std::string_view(piece).substr(0, got.value)); error != 0) return error;
  }
}

int copyWhole(Files& files, int from, int to) {
  while (true) {
    const Outcome<std::size_t> copied = files.copy(from, to, kCopyPiece);
    const int error = copied.error;
    // From where it stopped. Some kernels also say that a file is empty when they can't copy it.
    if (error == EINVAL || error == EXDEV || error == ENOSYS || error == EOPNOTSUPP || (copied && copied.value == 0))
      return copyThroughHere(files, from, to);
    if (!copied) return error;
  }
}

/// Fills a temporary file beside `path` by `fill` and gives it that name.
template <class Fill>
int place(Files& files, const std::string& path, mode_t mode, std::string_view prefix, std::string_view suffix,
          const Fill& fill) {
  const std::string folder = folderOf(path);
  const std::string temporary = folder + "/" + std::string(prefix) + text::makeUuid() + std::string(suffix);
  const Outcome<int> descriptor = files.open(temporary, O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (!descriptor) return descriptor.error;
  int error = fill(descriptor.value);
  if (error == 0) error = files.fchmod(descriptor.value, mode);
  if (error == 0) error = files.fsync(descriptor.value);
  if (error == 0) error = files.rename(temporary, path);
  files.close(descriptor.value);
  if (error == 0) return syncFolder(files, folder);
  files.unlink(temporary);
  return error;
}

bool isFileFor(Files& files, const std::string& path, int use) {
  const Outcome<FileInfo> info = files.info(path);
  return info && info.value.kind == FileInfo::Kind::regular && files.access(path, use) == 0;
}

}  // namespace

bool isAlive(Files& files, pid_t pid) {
  if (pid <= 0) return false;
  const int error = files.kill(pid, 0);
  return error == 0 || error == EPERM;
}

bool mayPass(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM || error == EAGAIN || error == EINTR || error == EIO ||
         error == ESTALE || error == ETIMEDOUT;
}

Outcome<std::string> readFile(Files& files, const std::string& path, std::size_t limit) {
  const Outcome<int> descriptor = files.open(path, O_RDONLY, 0);
  if (!descriptor) return {{}, descriptor.error};
  Outcome<std::string> result = readOpen(files, descriptor.value, limit);
  files.close(descriptor.value);
  return result;
}

int writeWhole(Files& files, int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const Outcome<std::size_t> written = files.write(descriptor, bytes.data(), bytes.size());
    if (written.error == EINTR) continue;
    if (!written) return written.error;
    if (written.value == 0) return EIO;
    bytes.remove_prefix(written.value);
  }
  return 0;
}

int makeFolders(Files& files, const std::string& path, mode_t mode) {
  int error = files.makeFolder(path, mode);
  if (error == ENOENT) {
    const std::string parent = folderOf(path);
    if (parent == path || parent == ".") return error;
    if (const int parentError = makeFolders(files, parent, mode); parentError != 0) return parentError;
    error = files.makeFolder(path, mode);
  }
  if (error == 0) return files.chmod(path, mode);
  if (error != EEXIST) return error;
  const Outcome<FileInfo> existing = files.info(path);
  if (!existing) return existing.error;
  return existing.value.kind == FileInfo::Kind::folder ? 0 : ENOTDIR;
}

int syncFolder(Files& files, const std::string& folder) {
  const Outcome<int> descriptor = files.open(folder, O_RDONLY | O_DIRECTORY, 0);
  if (!descriptor) return descriptor.error;
  const int error = files.fsync(descriptor.value);
  files.close(descriptor.value);
  return error == EINVAL || error == ENOTSUP ? 0 : error;
}

int placeFile(Files& files, const std::string& path, std::string_view bytes, mode_t mode,
              std::string_view temporaryPrefix, std::string_view temporarySuffix) {
  return place(files, path, mode, temporaryPrefix, temporarySuffix,
               [&](int descriptor) { return writeWhole(files, descriptor, bytes); });
}

int placeCopy(Files& files, const std::string& path, const std::string& source, mode_t mode,
              std::string_view temporaryPrefix) {
  const Outcome<int> original = openRegular(files, source, O_RDONLY);
  if (!original) return original.error;
  const int error = place(files, path, mode, temporaryPrefix, "",
                          [&](int descriptor) { return copyWhole(files, original.value, descriptor); });
  files.close(original.value);
  return error;
}

bool isReadableFile(Files& files, const std::string& path) { return isFileFor(files, path, R_OK); }

bool isExecutableFile(Files& files, const std::string& path) { return isFileFor(files, path, X_OK); }

bool isWritable(Files& files, const std::string& path) { return files.access(path, W_OK) == 0; }

Outcome<int> openRegular(Files& files, const std::string& path, int flags, mode_t mode) {
  const Outcome<int> descriptor = files.open(path, flags, mode);
  if (!descriptor) return descriptor;
  const int error = errorUnlessRegular(files.descriptorInfo(descriptor.value));
  if (error == 0) return descriptor;
  files.close(descriptor.value);
  return {.error = error};
}

Outcome<int> openForAppending(Files& files, const std::string& path, mode_t mode) {
  return openRegular(files, path, O_WRONLY | O_CREAT | O_APPEND, mode);
}

}  // namespace kestrelune
