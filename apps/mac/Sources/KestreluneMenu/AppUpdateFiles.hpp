#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Files.hpp"
#include "base/Json.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// What the self-updater remembers between starts.
struct AppUpdateState {
  struct Pending {
    std::int64_t fromBuild = 0;
    std::int64_t toBuild = 0;
    double startedAt = 0;  ///< seconds since 1970

    bool operator==(const Pending&) const = default;
  };

  std::optional<std::int64_t> skippedBuild;   ///< was rolled back, and is never offered again
  std::optional<std::int64_t> notifiedBuild;  ///< the user was told to update to it by hand
  std::optional<Pending> pending;             ///< an install under way

  bool operator==(const AppUpdateState&) const = default;
};

/// Fields that have no value are left out.
Json toJson(const AppUpdateState& state);

/// The folder in which the self-updater keeps its state and handles what it downloads. The names in it are shared with
/// the watchdog script.
class AppUpdateFiles {
 public:
  /// While it lives, no other process has one.
  class Claim {
   public:
    Claim(Files& files, int descriptor) : files_(files), descriptor_(descriptor) {}
    ~Claim();
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

   private:
    Files& files_;
    int descriptor_;
  };

  AppUpdateFiles(Files& files, Url directory) : files_(files), directory_(std::move(directory)) {}

  const Url& directory() const { return directory_; }
  Url zipURL(std::int64_t build) const;
  Url stagedURL(std::int64_t build) const;
  Url backupURL(std::int64_t build) const;
  Url confirmationURL(std::int64_t build) const;
  Url watchdogURL() const;
  /// A folder beside an installed application, for what is on its way to or from that place.
  static Url wayURL(const Url& app);

  /// Makes the folder, readable by nobody else. Throws `RuntimeError::posix`.
  void prepare() const;
  /// The right to handle archives and applications in this folder; null while another process has it.
  std::unique_ptr<Claim> claim() const;
  /// A missing, damaged or unknown state is the empty one; absent: it can't be read for the moment.
  std::optional<AppUpdateState> read() const;
  /// Throws `RuntimeError::posix`.
  void write(const AppUpdateState& state) const;
  /// Places a small file of this folder whole. Throws `RuntimeError::posix`.
  void place(const Url& url, std::string_view bytes) const;
  /// Copies a program here whole, under its own name. Throws `RuntimeError::posix`.
  void placeTool(const Url& source) const;
  /// Removes what a run that was killed while it placed something has left. Failures are passed over.
  void removeTemporaries() const;
  /// Gives the build that the watchdog has marked as rolled back to `remember`, and then removes the mark, so that a
  /// stop in between loses nothing; a damaged one just goes. False: the mark stays, since it can't be read for the
  /// moment or `remember` threw a `RuntimeError`.
  bool takeRolledBack(const std::function<void(std::int64_t build)>& remember) const;
  /// Removes archives, unpacked releases and failed builds, except those of these builds. Failures are passed over.
  void clean(const std::vector<std::int64_t>& keeping) const;
  /// Whether there is anything that `removeBackups` removes.
  bool hasBackups() const;
  /// Removes every build that was put aside, what a move left half done, and confirmations. Failures are passed over.
  void removeBackups() const;
  /// The one application in an unpacked release; absent when there is anything else beside it.
  std::optional<Url> singleApp(const Url& folder) const;

 private:
  std::vector<std::string> backups() const;

  Files& files_;
  Url directory_;
};

}  // namespace kestrelune
