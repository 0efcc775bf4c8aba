#include "Unpack.hpp"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <set>
#include <utility>

#include "base/CodeSeal.hpp"
#include "base/Files.hpp"
#include "base/Text.hpp"

namespace kestrelune::unpack {
namespace {

constexpr std::size_t kBlock = 65536;
constexpr int kSecurely = ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_NO_OVERWRITE | ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                          ARCHIVE_EXTRACT_SECURE_NODOTDOT | ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS;
constexpr mode_t kOrdinary = 0777;

struct Free {
  void operator()(archive* object) const { archive_free(object); }
};
using Archive = std::unique_ptr<archive, Free>;

std::string reasonOf(archive* object) {
  const char* text = archive_error_string(object);
  return text ? text : "damaged archive";
}

/// Empty: the entry is admitted.
std::string refusal(archive_entry* entry) {
  const char* name = archive_entry_pathname(entry);
  if (!name || !isInside(name)) return "a path that leads outside";
  if ((archive_entry_perm(entry) & ~kOrdinary) != 0) return "a file with special rights";
  const std::string path = name;
  switch (archive_entry_filetype(entry)) {
    case AE_IFREG:
    case AE_IFDIR: return "";
    case AE_IFLNK: {
      const char* target = archive_entry_symlink(entry);
      const auto depth = static_cast<int>(std::count(path.begin(), path.end(), '/'));
      return target && linkStaysInside(target, depth) ? "" : "a link that leads outside";
    }
    default: return "something that is neither file, folder nor link";
  }
}

class Unpacking {
 public:
  Unpacking(archive* from, archive* to, const Limits& limits) : from_(from), to_(to), left_(limits) {}

  std::string run() {
    archive_entry* entry = nullptr;
    while (true) {
      const int result = archive_read_next_header(from_, &entry);
      if (result == ARCHIVE_EOF) break;
      if (result != ARCHIVE_OK) return reasonOf(from_);
      if (--left_.entries < 0) return "too many entries";
      if (std::string reason = add(entry); !reason.empty()) return reason;
    }
    return archive_write_close(to_) == ARCHIVE_OK ? "" : reasonOf(to_);
  }

 private:
  std::string add(archive_entry* entry) {
    if (std::string reason = refusal(entry); !reason.empty()) return reason;
    std::string path = archive_entry_pathname(entry);
    if (path.ends_with('/')) path.pop_back();
    if (!seen_.insert(std::move(path)).second) return "the same path twice";
    // A file is filled up to the length that its entry tells, with whatever content it comes.
    const bool isFile = archive_entry_filetype(entry) == AE_IFREG && archive_entry_size_is_set(entry) != 0;
    const std::int64_t length = isFile ? archive_entry_size(entry) : 0, before = left_.bytes;
    if (length < 0 || length > left_.bytes) return "too much to unpack";
    if (archive_write_header(to_, entry) != ARCHIVE_OK) return reasonOf(to_);
    if (std::string reason = addContent(); !reason.empty()) return reason;
    if (isFile && before - left_.bytes != length) return "a file of another length than it tells";
    return archive_write_finish_entry(to_) == ARCHIVE_OK ? "" : reasonOf(to_);
  }

  std::string addContent() {
    while (true) {
      const void* block = nullptr;
      std::size_t size = 0;
      la_int64_t offset = 0;
      const int result = archive_read_data_block(from_, &block, &size, &offset);
      if (result == ARCHIVE_EOF) return "";
      if (result != ARCHIVE_OK) return reasonOf(from_);
      left_.bytes -= static_cast<std::int64_t>(size);
      if (left_.bytes < 0) return "too much to unpack";
      if (archive_write_data_block(to_, block, size, offset) != ARCHIVE_OK) return reasonOf(to_);
    }
  }

  archive* from_;
  archive* to_;
  Limits left_;
  std::set<std::string> seen_;
};

int syncTree(Files& files, const std::string& path) {
  const auto info = files.linkInfo(path);
  if (!info) return info.error;
  if (info.value.kind == FileInfo::Kind::folder) {
    const auto names = files.list(path);
    if (!names) return names.error;
    for (const std::string& name : names.value)
      if (const int error = syncTree(files, path + "/" + name); error != 0) return error;
    return syncFolder(files, path);
  }
  if (info.value.kind != FileInfo::Kind::regular) return 0;
  const auto file = files.open(path, O_RDONLY | O_NOFOLLOW, 0);
  if (!file) return file.error;
  const int error = files.fsync(file.value);
  files.close(file.value);
  return error;
}

}  // namespace

bool isInside(const std::string& path) {
  std::string_view rest = path;
  if (rest.ends_with('/')) rest.remove_suffix(1);
  if (rest.empty() || !text::isValidUtf8(rest) || rest.find('\\') != std::string_view::npos) return false;
  while (true) {
    const std::size_t slash = rest.find('/');
    const std::string_view piece = rest.substr(0, slash);
    if (piece.empty() || piece == "." || piece == "..") return false;
    if (slash == std::string_view::npos) return true;
    rest.remove_prefix(slash + 1);
  }
}

std::string unpack(const std::string& archive, const std::string& folder, const Limits& limits) {
  const Archive from(archive_read_new());
  const Archive to(archive_write_disk_new());
  // The central directory counts, not what a stream of local headers says.
  archive_read_support_format_zip_seekable(from.get());
  archive_write_disk_set_options(to.get(), kSecurely);
  if (archive_read_open_filename(from.get(), archive.c_str(), kBlock) != ARCHIVE_OK) return reasonOf(from.get());
  if (chdir(folder.c_str()) != 0) return std::strerror(errno);
  if (std::string reason = Unpacking(from.get(), to.get(), limits).run(); !reason.empty()) return reason;
  const int error = syncTree(systemFiles(), ".");
  return error == 0 ? "" : std::strerror(error);
}

}  // namespace kestrelune::unpack
