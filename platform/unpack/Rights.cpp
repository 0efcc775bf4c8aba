#include "unpack/Rights.hpp"

#include <sys/ioctl.h>

namespace kestrelune::unpack {
namespace {

constexpr std::uint64_t kMemory = 1ULL << 30, kSeconds = 300, kDescriptors = 64;

}  // namespace

Confinement rights(const std::string& archive, const std::string& folder, const Limits& limits) {
  Confinement confinement;
  // The libraries are for names of files in another character set.
  confinement.openings.read = {archive, "/usr/lib", "/usr/lib64", "/lib", "/lib64", "/etc/ld.so.cache", "/dev/null"};
  confinement.openings.write = {folder};
  confinement.calls = quietFilter();
  const auto more = calls::allowed({"open",      "openat",    "chdir",    "fchdir",    "mkdir", "mkdirat", "symlink",
                                    "symlinkat", "unlink",    "unlinkat", "rmdir",     "chmod", "fchmod",  "fchmodat",
                                    "utimensat", "ftruncate", "fsync",    "fdatasync", "umask", "fstatfs", "statfs"});
  auto& rules = confinement.calls.rules;
  rules.insert(rules.end(), more.begin(), more.end());
  rules.push_back({"ioctl", 0, calls::When{1, 0xffffffff, TCGETS}});
  confinement.quota = {.memory = kMemory,
                       .seconds = kSeconds,
                       .fileSize = static_cast<std::uint64_t>(limits.bytes),
                       .descriptors = kDescriptors,
                       .processes = 0};
  return confinement;
}

}  // namespace kestrelune::unpack
