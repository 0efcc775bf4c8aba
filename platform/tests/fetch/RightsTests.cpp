#include "fetch/Rights.hpp"

#include "Fakes/Confined.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune::fetch {
namespace {

using confined::fate;

TEST(FetchRights, NothingIsLeftButTheServiceAndItsCertificates) {
  const TestFolder home;
  home.write("key", "secret");
  const confined::Listener elsewhere;
  const auto left = [] { return confine(rights("https://host.example/", 1000, {})); };
  // Older kernels can't tell one port from another.
  const int connecting = landlock::version() >= 4 ? EACCES : 0;
  const int reading = landlock::version() >= 1 ? EACCES : 0;
  EXPECT_EQ(confined::fates(left, home.path("key"), elsewhere), (std::array{reading, connecting, -SIGSYS, -SIGSYS}));
  EXPECT_EQ(fate(left, [&] { return open(home.path("new").c_str(), O_WRONLY | O_CREAT, 0600); }), -SIGSYS);
  EXPECT_EQ(fate(left, [] { return socket(AF_UNIX, SOCK_STREAM, 0) < 0 ? errno : 0; }), EACCES) << "a bus";
  EXPECT_EQ(fate(left, [] { return open("/etc/hosts", O_RDONLY) < 0 ? errno : 0; }), 0);
  constexpr long kChangeMode = 452;  // newer than some libraries know
  EXPECT_EQ(fate(left, [] { return syscall(kChangeMode, -1, "", 0, 0) < 0 ? errno : 0; }), ENOSYS);
  const std::string own = "https://host.example:" + std::to_string(elsewhere.port());
  EXPECT_EQ(fate([&] { return confine(rights(own, 1, {})); }, [&] { return elsewhere.connectTo(); }), 0);
}

TEST(FetchRights, AProxyIsReachedWhereItListens) {
  const Table<const char*, std::uint16_t> rows = {{"http://proxy.example:3128", 3128}, {"proxy.example:8080/", 8080},
                                                  {"http://proxy.example", 1080},      {"https://proxy.example", 443},
                                                  {"socks5h://a:b@proxy:9050", 9050},  {"http://[::1]:8", 8}};
  for (const auto& [proxy, port] : rows) {
    const auto ports = rights("https://host.example:444", 1, {{"https_proxy", proxy}}).openings.ports;
    EXPECT_EQ(std::set(ports.begin(), ports.end()), (std::set<std::uint16_t>{53, 444, port})) << proxy;
  }
}

TEST(FetchRights, TheProgramIsConfinedBeforeItsFirstByteArrives) {
  const confined::Listener service;
  const std::string address = "https://127.0.0.1:" + std::to_string(service.port());
  const pid_t pid = fork();
  if (pid == 0) {
    execl(KESTRELUNE_FETCH, KESTRELUNE_FETCH, address.c_str(), "10", "10", "10", nullptr);
    _exit(1);
  }
  {
    const Descriptor connection = service.accepted();
    EXPECT_EQ(confined::statusOf(pid, "Seccomp"), "2");
    EXPECT_EQ(confined::statusOf(pid, "NoNewPrivs"), "1");
  }
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << "it ends by itself, not by a call that it lacks";
}

}  // namespace
}  // namespace kestrelune::fetch
