#include "confine/Landlock.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "base/Descriptor.hpp"

namespace kestrelune::landlock {
namespace {

// The same numbers on every processor.
constexpr long kCreateRuleset = 444, kAddRule = 445, kRestrictSelf = 446;
constexpr unsigned kAskVersion = 1;
constexpr int kPathRule = 1, kPortRule = 2;

// Rights to files, by their bits.
constexpr std::uint64_t kWriteFile = 1 << 1, kReadFile = 1 << 2, kReadFolder = 1 << 3, kRemoveFolder = 1 << 4,
                        kRemoveFile = 1 << 5, kMakeFolder = 1 << 7, kMakeFile = 1 << 8, kMakeLink = 1 << 12,
                        kTruncate = 1 << 14, kOrderDevice = 1 << 15;
constexpr std::uint64_t kReading = kReadFile | kReadFolder;
constexpr std::uint64_t kWriting =
    kReading | kWriteFile | kRemoveFolder | kRemoveFile | kMakeFolder | kMakeFile | kMakeLink | kTruncate;
constexpr std::uint64_t kUsing = kReading | kWriteFile | kTruncate | kOrderDevice;
/// What can be had of anything but a folder.
constexpr std::uint64_t kOfFiles = kWriteFile | kReadFile | kTruncate | kOrderDevice;
constexpr std::uint64_t kBind = 1 << 0, kConnect = 1 << 1;
/// What is kept to processes that are closed in together.
constexpr std::uint64_t kNameless = 1 << 0, kSignals = 1 << 1;

/// All rights to files that a version of the interface knows.
std::uint64_t rightsOf(int version) {
  constexpr int kFirst = 13;
  int count = kFirst;
  if (version >= 2) ++count;  // moving and linking from folder to folder
  if (version >= 3) ++count;  // truncating
  if (version >= 5) ++count;  // ordering devices about
  return (std::uint64_t{1} << count) - 1;
}

struct Ruleset {
  std::uint64_t files = 0, network = 0, scopes = 0;
};

/// Older kernels want it no longer than they know it.
std::size_t sizeOf(int version) { return version >= 6 ? 24 : version >= 4 ? 16 : 8; }

struct __attribute__((packed)) PathRule {
  std::uint64_t rights;
  std::int32_t place;
};

struct PortRule {
  std::uint64_t rights, port;
};

class Closing {
 public:
  Closing(int version, bool nameless) : files_(rightsOf(version)), hasNetwork_(version >= 4) {
    const std::uint64_t scopes = nameless ? kSignals : kSignals | kNameless;
    const Ruleset ruleset = {files_, hasNetwork_ ? kConnect | kBind : 0, version >= 6 ? scopes : 0};
    set_ = Descriptor(static_cast<int>(syscall(kCreateRuleset, &ruleset, sizeOf(version), 0)));
    if (!set_) error_ = errno;
  }

  void open(const std::vector<std::string>& places, std::uint64_t rights) {
    for (const std::string& place : places) open(place, rights & files_);
  }

  void open(const std::vector<std::uint16_t>& ports) {
    for (const std::uint16_t port : ports) {
      const PortRule rule = {kConnect, port};
      if (hasNetwork_) add(kPortRule, &rule);
    }
  }

  int finish() {
    if (error_ == 0 && syscall(kRestrictSelf, set_.number(), 0) != 0) error_ = errno;
    return error_;
  }

 private:
  void open(const std::string& place, std::uint64_t rights) {
    const Descriptor opened(::open(place.c_str(), O_PATH | O_CLOEXEC));
    struct stat info {};
    if (!opened || fstat(opened.number(), &info) != 0) return;
    const PathRule rule = {S_ISDIR(info.st_mode) ? rights : rights & kOfFiles, opened.number()};
    add(kPathRule, &rule);
  }

  void add(int kind, const void* rule) {
    if (error_ == 0 && syscall(kAddRule, set_.number(), kind, rule, 0) != 0) error_ = errno;
  }

  const std::uint64_t files_;
  const bool hasNetwork_;
  Descriptor set_;
  int error_ = 0;
};

}  // namespace

int version() {
  const long found = syscall(kCreateRuleset, nullptr, 0, kAskVersion);
  return found > 0 ? static_cast<int>(found) : 0;
}

int close(const Openings& openings) {
  const int known = version();
  if (known == 0) return 0;
  Closing closing(known, openings.nameless);
  closing.open(openings.read, kReading);
  closing.open(openings.write, kWriting);
  closing.open(openings.devices, kUsing);
  closing.open(openings.ports);
  return closing.finish();
}

}  // namespace kestrelune::landlock
