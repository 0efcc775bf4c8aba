#include "fetch/Rights.hpp"

#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <utility>

#include "fetch/Target.hpp"

namespace kestrelune::fetch {
namespace {

constexpr std::uint16_t kNames = 53;
constexpr std::uint64_t kMemory = 1ULL << 30, kSeconds = 600, kDescriptors = 64;
/// Whoever keeps what is said on standard error in a file gets it.
constexpr std::uint64_t kWords = 1 << 20;
constexpr std::uint64_t kAll = ~std::uint64_t{0};

/// The variables by which a proxy is named, as the network library reads them.
constexpr const char* kProxies[] = {"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"};

std::vector<std::string> readPlaces() {
  return {// Certificates.
          "/etc/ssl", "/usr/lib/ssl", "/usr/share/ca-certificates", "/usr/local/share/ca-certificates",
          "/etc/crypto-policies", "/etc/pki",
          // What a name is looked up by, and the libraries that do it.
          "/etc/resolv.conf", "/etc/hosts", "/etc/host.conf", "/etc/nsswitch.conf", "/etc/gai.conf", "/etc/services",
          "/etc/ld.so.cache", "/lib", "/lib64", "/usr/lib", "/usr/lib64", "/dev/null", "/dev/urandom"};
}

std::vector<std::uint16_t> ports(const std::string& address, const Environment& environment) {
  std::vector<std::uint16_t> found = {kNames};
  if (const std::uint16_t port = portOf(address); port != 0) found.push_back(port);
  for (const char* name : kProxies)
    if (const auto proxy = environment.find(name); proxy != environment.end())
      if (const std::uint16_t port = proxyPortOf(proxy->second); port != 0) found.push_back(port);
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

calls::Filter filter() {
  calls::Filter filter = quietFilter();
  const auto also = [&](std::vector<calls::Rule> rules) {
    filter.rules.insert(filter.rules.end(), rules.begin(), rules.end());
  };
  also(calls::allowed({"connect",       "bind",      "getsockname", "getpeername", "getsockopt", "setsockopt",
                       "sendto",        "recvfrom",  "sendmsg",     "recvmsg",     "sendmmsg",   "recvmmsg",
                       "shutdown",      "select",    "pselect6",    "eventfd2",    "pipe",       "pipe2",
                       "epoll_create1", "epoll_ctl", "epoll_wait",  "epoll_pwait"}));
  // The network, the kernel's list of addresses, and a pair of its own. A socket of this machine leads to the session's
  // bus, which starts programs: without one a name is looked up by the network.
  for (const std::uint64_t family : {AF_INET, AF_INET6, AF_NETLINK})
    also({{"socket", 0, calls::When{0, kAll, family}}});
  also({{"socket", EACCES, calls::When{0, kAll, AF_UNIX}}, {"socketpair", 0, calls::When{0, kAll, AF_UNIX}}});
  // Files to read.
  constexpr std::uint64_t kChanging = O_ACCMODE | O_CREAT | O_TRUNC;
  also({{"open", 0, calls::When{1, kChanging, O_RDONLY}}, {"openat", 0, calls::When{2, kChanging, O_RDONLY}}});
  // A name is looked up by a thread.
  also({{"clone", 0, calls::When{0, CLONE_THREAD, CLONE_THREAD}}});
  for (const std::uint64_t order : {FIONBIO, FIONREAD, TCGETS}) also({{"ioctl", 0, calls::When{1, 0xffffffff, order}}});
  return filter;
}

}  // namespace

Confinement rights(const std::string& address, std::int64_t limit, const Environment& environment) {
  Confinement confinement;
  confinement.openings.read = readPlaces();
  confinement.openings.ports = ports(address, environment);
  confinement.calls = filter();
  confinement.quota = {.memory = kMemory,
                       .seconds = kSeconds,
                       .fileSize = static_cast<std::uint64_t>(limit) + kWords,
                       .descriptors = kDescriptors,
                       .processes = {}};
  return confinement;
}

}  // namespace kestrelune::fetch
