#include "confine/Confinement.hpp"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <set>
#include <utility>

#include "confine/Parts.hpp"

namespace kestrelune {
namespace {

#ifdef KESTRELUNE_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

/// Neither limit can be raised again. One that is lower already stays.
int limit(__rlimit_resource resource, std::optional<std::uint64_t> most) {
  if (!most) return 0;
  rlimit limits{};
  if (getrlimit(resource, &limits) != 0) return errno;
  limits.rlim_cur = std::min<rlim_t>(limits.rlim_cur, *most);
  limits.rlim_max = std::min<rlim_t>(limits.rlim_max, *most);
  return setrlimit(resource, &limits) == 0 ? 0 : errno;
}

int limitAll(const Quota& quota) {
  const std::initializer_list<std::pair<__rlimit_resource, std::optional<std::uint64_t>>> rows = {
      {RLIMIT_CORE, 0},
      {RLIMIT_AS, quota.memory},
      {RLIMIT_CPU, quota.seconds},
      {RLIMIT_FSIZE, quota.fileSize},
      {RLIMIT_NOFILE, quota.descriptors},
      {RLIMIT_NPROC, quota.processes}};
  for (const auto& [resource, most] : rows)
    if (const int error = limit(resource, most); error != 0) return error;
  return 0;
}

std::string failed(const char* what, int error) { return std::string(what) + ": " + std::strerror(error); }

}  // namespace

Confinement withSanitizers(Confinement confinement) {
  if (!kSanitized) return confinement;
  confinement.quota.memory.reset();
  confinement.quota.processes.reset();
  confinement.openings.read.push_back("/proc");
  confinement.openings.write.push_back(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp");
  if (!confinement.calls.endsAtOthers) return confinement;
  std::erase_if(confinement.calls.rules, [](const calls::Rule& rule) {
    return std::set<std::string>{"clone", "open", "openat", "prctl", "prlimit64"}.contains(rule.call);
  });
  const auto more = calls::allowed({"clone", "open", "openat", "prctl", "prlimit64", "ptrace", "wait4", "sched_yield",
                                    "sigaltstack", "getppid", "setrlimit", "mkdir", "dup", "dup2", "munlock"});
  confinement.calls.rules.insert(confinement.calls.rules.end(), more.begin(), more.end());
  return confinement;
}

std::string closeIn(const Confinement& confinement) {
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return failed("privileges", errno);
  if (const int error = landlock::close(confinement.openings); error != 0) return failed("files", error);
  const int error = limitAll(confinement.quota);
  return error == 0 ? "" : failed("limits", error);
}

std::string confine(const Confinement& wanted, calls::Program program) {
  const std::string open = closeIn(withSanitizers(wanted));
  if (!open.empty()) return open;
  const int error = calls::load(program);
  return error == 0 ? "" : failed("system calls", error);
}

calls::Filter quietFilter() {
  calls::Filter filter{true, calls::allowed({"read",
                                             "readv",
                                             "pread64",
                                             "write",
                                             "writev",
                                             "pwrite64",
                                             "close",
                                             "lseek",
                                             "fstat",
                                             "newfstatat",
                                             "stat",
                                             "lstat",
                                             "statx",
                                             "access",
                                             "faccessat",
                                             "readlink",
                                             "readlinkat",
                                             "getcwd",
                                             "getdents64",
                                             "fcntl",
                                             "poll",
                                             "ppoll",
                                             "mmap",
                                             "munmap",
                                             "mprotect",
                                             "mremap",
                                             "madvise",
                                             "brk",
                                             "rt_sigaction",
                                             "rt_sigprocmask",
                                             "rt_sigreturn",
                                             "rt_sigpending",
                                             "rt_sigtimedwait",
                                             "restart_syscall",
                                             "clock_gettime",
                                             "clock_getres",
                                             "clock_nanosleep",
                                             "nanosleep",
                                             "gettimeofday",
                                             "time",
                                             "getrandom",
                                             "getpid",
                                             "gettid",
                                             "getuid",
                                             "geteuid",
                                             "getgid",
                                             "getegid",
                                             "uname",
                                             "sysinfo",
                                             "getrusage",
                                             "sched_getaffinity",
                                             "futex",
                                             "set_robust_list",
                                             "rseq",
                                             "exit",
                                             "exit_group"})};
  // Newer ways of what the C library does by older ones when it is told that they aren't there.
  for (const calls::Rule& newer : calls::refused({"clone3", "openat2", "faccessat2", "fchmodat2", "mseal"}, ENOSYS))
    filter.rules.push_back(newer);
  // To ask for a limit, not to set one.
  filter.rules.push_back({"prlimit64", 0, calls::When{2, ~std::uint64_t{0}, 0}});
  return filter;
}

namespace {

void addLine(std::string& text, const char* title, const std::string& content) {
  if (!content.empty()) text += std::string(title) + ": " + content + "\n";
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
  return text;
}

std::string callsOf(const calls::Filter& filter) {
  std::set<std::string> open, conditional, refused;
  for (const calls::Rule& rule : filter.rules) {
    auto& kind = rule.error != 0 ? refused : rule.when ? conditional : open;
    kind.insert(rule.call);
  }
  const auto list = [](const std::set<std::string>& names) { return joined({names.begin(), names.end()}); };
  std::string text = filter.endsAtOthers ? list(open) : "all others";
  if (!conditional.empty()) text += "; with some arguments only " + list(conditional);
  if (!refused.empty()) text += "; refused " + list(refused);
  return text + (filter.endsAtOthers ? "; any other ends the process" : "");
}

std::string quotaOf(const Quota& quota) {
  std::vector<std::string> parts = {"no core dump"};
  const auto add = [&](const char* title, std::optional<std::uint64_t> most, std::uint64_t unit = 1) {
    if (most) parts.push_back(std::to_string(*most / unit) + title);
  };
  add(" MiB of memory", quota.memory, 1 << 20);
  add(" s of processor time", quota.seconds);
  add(" bytes a file", quota.fileSize);
  add(" descriptors", quota.descriptors);
  add(" processes", quota.processes);
  return joined(parts);
}

}  // namespace

std::string describe(const Confinement& confinement) {
  std::vector<std::string> ports;
  for (const std::uint16_t port : confinement.openings.ports) ports.push_back("TCP port " + std::to_string(port));
  std::string text;
  addLine(text, "reads", joined(confinement.openings.read));
  addLine(text, "writes", joined(confinement.openings.write));
  addLine(text, "devices", joined(confinement.openings.devices));
  addLine(text, "connects to", ports.empty() ? "no TCP port" : joined(ports));
  addLine(text, "system calls", callsOf(confinement.calls));
  addLine(text, "limits", quotaOf(confinement.quota));
  return text;
}

}  // namespace kestrelune
