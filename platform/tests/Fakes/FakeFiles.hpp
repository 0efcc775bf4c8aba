#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/Files.hpp"

namespace kestrelune {

/// A file system in memory, with absolute paths and symbolic links, that can fail or stop before its n-th call and
/// forget what wasn't synced. Permissions are kept, and asked only by `access`.
class FakeFiles final : public Files {
 public:
  /// Thrown in place of the call before which the program "crashes"; no later one does anything until `restart`.
  struct Crash {};

  FakeFiles();
  ~FakeFiles() override;

  // What a test lays out and looks at; not counted as calls, and durable at once.
  void put(const std::string& path, const std::string& content, mode_t mode = 0644);
  void putFolder(const std::string& path, mode_t mode = 0755);
  void take(const std::string& path);
  void putLink(const std::string& path, const std::string& target);
  /// The content of a file, through links; absent when there is none.
  std::optional<std::string> content(const std::string& path) const;
  /// Kind, mode and identity, not through a link; absent when there is nothing.
  std::optional<FileInfo> at(const std::string& path) const;
  std::optional<std::string> linkTarget(const std::string& path) const;
  /// All paths, sorted, without the root.
  std::vector<std::string> paths() const;
  std::size_t openDescriptors() const { return descriptors_.size(); }

  /// The n-th call from now on (1 is the next) fails, once, or is the one before which the program crashes. 0: none.
  void failAt(int n, int error);
  void crashAt(int n);
  /// The program is killed between two calls.
  void die() { dead_ = true; }
  /// The error number of a call by its name and path (as in `log`) while something is wrong; 0: it works.
  std::function<int(std::string_view call)> fault;
  int calls() const { return calls_; }
  /// The names of the calls and their paths, such as "rename /a /b".
  std::vector<std::string> log;

  /// A new process: descriptors are gone, plans and counts too.
  void restart();

  enum class Cut {
    losesNames,     ///< what wasn't synced is gone: contents and names
    losesContents,  ///< names made it to the disk early, unsynced contents didn't
    losesNothing,   ///< the system had written out everything in time
  };
  void cutPower(Cut cut);

  std::size_t mostPerWrite = SIZE_MAX;
  bool copies = true;     ///< `copy` works
  bool exchanges = true;  ///< `exchange` works
  std::string mount;      ///< a folder on another file system
  std::set<pid_t> alive;

  Outcome<int> open(const std::string& path, int flags, mode_t mode) override;
  Outcome<std::size_t> read(int descriptor, char* buffer, std::size_t size) override;
  Outcome<std::size_t> write(int descriptor, const char* bytes, std::size_t size) override;
  Outcome<std::size_t> copy(int from, int to, std::size_t size) override;
  int fchmod(int descriptor, mode_t mode) override;
  int fsync(int descriptor) override;
  int close(int descriptor) override;
  int lock(int descriptor) override;
  Outcome<FileInfo> descriptorInfo(int descriptor) override;
  Outcome<FileInfo> info(const std::string& path) override;
  Outcome<FileInfo> linkInfo(const std::string& path) override;
  int chmod(const std::string& path, mode_t mode) override;
  int access(const std::string& path, int mode) override;
  int rename(const std::string& from, const std::string& to) override;
  int exchange(const std::string& a, const std::string& b) override;
  int unlink(const std::string& path) override;
  int link(const std::string& from, const std::string& to) override;
  int symlink(const std::string& target, const std::string& path) override;
  Outcome<std::string> readlink(const std::string& path) override;
  int makeFolder(const std::string& path, mode_t mode) override;
  int removeFolder(const std::string& path) override;
  Outcome<std::vector<std::string>> list(const std::string& path) override;
  int kill(pid_t pid, int signal) override;

 private:
  struct Node;
  using NodePointer = std::shared_ptr<Node>;
  struct Place {
    NodePointer folder;
    std::string name;
    NodePointer node;  ///< null: nothing there
    int error = 0;
  };
  struct Open {
    NodePointer node;
    std::size_t offset = 0;
    bool appends = false;
    bool locked = false;
  };

  int step(const std::string& what);
  bool crosses(const std::string& a, const std::string& b) const;
  Place find(const std::string& path, bool follow, int depth = 0) const;
  NodePointer make(FileInfo::Kind kind, mode_t mode);
  int add(const std::string& path, const NodePointer& node);
  void putNode(const std::string& path, const NodePointer& node);
  void collect(const std::string& path, const Node& folder, std::vector<std::string>& into) const;
  static FileInfo infoOf(const Node& node);

  NodePointer root_;
  std::map<int, Open> descriptors_;
  std::uint64_t lastInode_ = 1;
  std::int64_t time_ = 0;
  int nextDescriptor_ = 1000;
  int calls_ = 0;
  int failAt_ = 0, failError_ = 0, crashAt_ = 0;
  bool dead_ = false;
};

}  // namespace kestrelune
