#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "base/Files.hpp"

namespace kestrelune {
namespace {

constexpr mode_t kPermissions = 07777;

template <class Call>
auto repeated(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

int errorOf(int result) { return result == -1 ? errno : 0; }

template <class Value, class Number>
Outcome<Value> outcome(Number result) {
  if (result == -1) return {{}, errno};
  return {static_cast<Value>(result), 0};
}

FileInfo::Kind kindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileInfo::Kind::regular;
  if (S_ISDIR(mode)) return FileInfo::Kind::folder;
  if (S_ISLNK(mode)) return FileInfo::Kind::link;
  return FileInfo::Kind::other;
}

Outcome<FileInfo> infoOf(int result, const struct stat& status) {
  if (result == -1) return {{}, errno};
  FileInfo info;
  info.kind = kindOf(status.st_mode);
  info.size = static_cast<std::uint64_t>(status.st_size);
  info.inode = status.st_ino;
  info.device = status.st_dev;
  info.mode = status.st_mode & kPermissions;
  info.changed = static_cast<std::int64_t>(status.st_ctim.tv_sec) * 1'000'000'000 + status.st_ctim.tv_nsec;
  return {info, 0};
}

class SystemFiles final : public Files {
 public:
  Outcome<int> open(const std::string& path, int flags, mode_t mode) override {
    constexpr int kAlways = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    return outcome<int>(repeated([&] { return ::open(path.c_str(), flags | kAlways, mode); }));
  }
  Outcome<std::size_t> read(int descriptor, char* buffer, std::size_t size) override {
    return outcome<std::size_t>(repeated([&] { return ::read(descriptor, buffer, size); }));
  }
  Outcome<std::size_t> write(int descriptor, const char* bytes, std::size_t size) override {
    return outcome<std::size_t>(::write(descriptor, bytes, size));
  }
  Outcome<std::size_t> copy(int from, int to, std::size_t size) override {
    return outcome<std::size_t>(repeated([&] { return ::copy_file_range(from, nullptr, to, nullptr, size, 0); }));
  }
  int fchmod(int descriptor, mode_t mode) override {
    return errorOf(repeated([&] { return ::fchmod(descriptor, mode); }));
  }
  int fsync(int descriptor) override {
    return errorOf(repeated([&] { return ::fsync(descriptor); }));
  }
  int close(int descriptor) override {
    // The descriptor is gone also when a signal interrupted this.
    return ::close(descriptor) == -1 && errno != EINTR ? errno : 0;
  }
  int lock(int descriptor) override {
    return errorOf(repeated([&] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }));
  }
  Outcome<FileInfo> descriptorInfo(int descriptor) override {
    struct stat status {};
    return infoOf(::fstat(descriptor, &status), status);
  }

  Outcome<FileInfo> info(const std::string& path) override {
    struct stat status {};
    return infoOf(::stat(path.c_str(), &status), status);
  }
  Outcome<FileInfo> linkInfo(const std::string& path) override {
    struct stat status {};
    return infoOf(::lstat(path.c_str(), &status), status);
  }
  int chmod(const std::string& path, mode_t mode) override { return errorOf(::chmod(path.c_str(), mode)); }
  int access(const std::string& path, int mode) override { return errorOf(::access(path.c_str(), mode)); }
  int rename(const std::string& from, const std::string& to) override {
    return errorOf(::rename(from.c_str(), to.c_str()));
  }
  int exchange(const std::string& a, const std::string& b) override {
    return errorOf(::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE));
  }
  int unlink(const std::string& path) override { return errorOf(::unlink(path.c_str())); }
  int link(const std::string& from, const std::string& to) override {
    return errorOf(::link(from.c_str(), to.c_str()));
  }
  int symlink(const std::string& target, const std::string& path) override {
    return errorOf(::symlink(target.c_str(), path.c_str()));
  }
  Outcome<std::string> readlink(const std::string& path) override {
    std::string target(256, '\0');
    while (true) {
      const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
      if (size == -1) return {{}, errno};
      if (static_cast<std::size_t>(size) < target.size()) {
        target.resize(static_cast<std::size_t>(size));
        return {std::move(target), 0};
      }
      target.resize(target.size() * 2);
    }
  }
  int makeFolder(const std::string& path, mode_t mode) override { return errorOf(::mkdir(path.c_str(), mode)); }
  int removeFolder(const std::string& path) override { return errorOf(::rmdir(path.c_str())); }
  Outcome<std::vector<std::string>> list(const std::string& path) override {
    DIR* folder = ::opendir(path.c_str());
    if (!folder) return {{}, errno};
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(folder)) {
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") names.emplace_back(name);
      errno = 0;
    }
    const int error = errno;
    ::closedir(folder);
    if (error != 0) return {{}, error};
    std::sort(names.begin(), names.end());
    return {std::move(names), 0};
  }

  int kill(pid_t pid, int signal) override { return errorOf(::kill(pid, signal)); }
};

}  // namespace

Files& systemFiles() {
  static SystemFiles files;
  return files;
}

}  // namespace kestrelune
