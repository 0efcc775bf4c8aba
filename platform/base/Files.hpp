#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelune {

/// A value, or the error number (`errno`) of the system call that failed.
template <class T>
struct Outcome {
  T value{};
  int error = 0;

  explicit operator bool() const { return error == 0; }
};

struct FileInfo {
  enum class Kind { regular, folder, link, other };
  Kind kind = Kind::other;
  std::uint64_t size = 0;
  std::uint64_t inode = 0;
  std::uint64_t device = 0;
  mode_t mode = 0;           ///< permission bits only
  std::int64_t changed = 0;  ///< last change of content or attributes, in nanoseconds since 1970
};

/// Every file operation and system call that the program makes, one call each, so that a test can fail, or stop
/// before, the n-th of them. An `int` result is 0 or an error number. Calls interrupted by a signal are repeated,
/// except `write`.
class Files {
 public:
  virtual ~Files() = default;

  /// Never waits for whoever may be at the other end of a pipe or device (O_NONBLOCK); that it is a file is the
  /// caller's to check, as `openRegular` does.
  virtual Outcome<int> open(const std::string& path, int flags, mode_t mode) = 0;
  virtual Outcome<std::size_t> read(int descriptor, char* buffer, std::size_t size) = 0;
  virtual Outcome<std::size_t> write(int descriptor, const char* bytes, std::size_t size) = 0;
  /// Copies at most `size` bytes from one file's offset to the other's without bringing them here (copy_file_range);
  /// 0 at the end. EINVAL, EXDEV, ENOSYS or EOPNOTSUPP where the file systems can't.
  virtual Outcome<std::size_t> copy(int from, int to, std::size_t size) = 0;
  virtual int fchmod(int descriptor, mode_t mode) = 0;
  virtual int fsync(int descriptor) = 0;
  virtual int close(int descriptor) = 0;
  /// Takes the file's lock (flock) until the descriptor is closed, without waiting; EWOULDBLOCK while another has it.
  virtual int lock(int descriptor) = 0;
  virtual Outcome<FileInfo> descriptorInfo(int descriptor) = 0;

  virtual Outcome<FileInfo> info(const std::string& path) = 0;      ///< follows links
  virtual Outcome<FileInfo> linkInfo(const std::string& path) = 0;  ///< doesn't
  virtual int chmod(const std::string& path, mode_t mode) = 0;
  virtual int access(const std::string& path, int mode) = 0;
  virtual int rename(const std::string& from, const std::string& to) = 0;
  /// Swaps two paths in one step (renameat2); ENOSYS or EINVAL where the file system can't.
  virtual int exchange(const std::string& a, const std::string& b) = 0;
  virtual int unlink(const std::string& path) = 0;
  virtual int link(const std::string& from, const std::string& to) = 0;
  virtual int symlink(const std::string& target, const std::string& path) = 0;
  virtual Outcome<std::string> readlink(const std::string& path) = 0;
  virtual int makeFolder(const std::string& path, mode_t mode) = 0;
  virtual int removeFolder(const std::string& path) = 0;
  /// Names in a folder without "." and "..", sorted.
  virtual Outcome<std::vector<std::string>> list(const std::string& path) = 0;

  /// kill(2); signal 0 only asks.
  virtual int kill(pid_t pid, int signal) = 0;
};

/// The operating system's own. Descriptors are opened close-on-exec.
Files& systemFiles();

/// A process that exists, whether or not it is ours to signal.
bool isAlive(Files& files, pid_t pid);

/// Whether an error number tells of the moment rather than of the file, which is perhaps sound.
bool mayPass(int error);

/// The whole file. EFBIG, without having read it, when it is larger than `limit`; EISDIR for a folder, EINVAL for
/// anything else that isn't a regular file. Never waits for a writer.
Outcome<std::string> readFile(Files& files, const std::string& path, std::size_t limit);

/// Makes the folder and its missing parents with `mode`, whatever the umask. What exists is left as it is.
int makeFolders(Files& files, const std::string& path, mode_t mode);

/// Writes all bytes, repeating what a signal interrupted or cut short.
int writeWhole(Files& files, int descriptor, std::string_view bytes);

/// Makes what was renamed, linked or made in this folder durable. File systems that can't sync a folder are tolerated.
int syncFolder(Files& files, const std::string& folder);

/// Places a file whole: a temporary name in the same folder (`temporaryPrefix`, a fresh UUID, `temporarySuffix`),
/// opened exclusively with mode 0600, written, given `mode`, synced, renamed over `path`, and the folder synced.
/// Returns 0 or an error number. On failure the old file stands, and the temporary name is gone; where only the last
/// step failed, the new file stands, but a power cut may still undo it.
int placeFile(Files& files, const std::string& path, std::string_view bytes, mode_t mode,
              std::string_view temporaryPrefix, std::string_view temporarySuffix = "");

/// The same with the content of another file, copied in pieces of 1 MiB, so that memory doesn't grow with it.
int placeCopy(Files& files, const std::string& path, const std::string& source, mode_t mode,
              std::string_view temporaryPrefix);

/// A regular file, also through a link, that this user may read or execute.
bool isReadableFile(Files& files, const std::string& path);
bool isExecutableFile(Files& files, const std::string& path);

/// A file that this user may write, or a folder in which they may make one.
bool isWritable(Files& files, const std::string& path);

/// Opens a regular file, also through a link. EISDIR for a folder, EINVAL for a pipe, a device or a socket.
Outcome<int> openRegular(Files& files, const std::string& path, int flags, mode_t mode = 0);

/// Opens a regular file for writing at its end, making it with `mode` where it is missing.
Outcome<int> openForAppending(Files& files, const std::string& path, mode_t mode);

}  // namespace kestrelune
