#include "unpack/Rights.hpp"

#include <sys/stat.h>

#include "Fakes/Confined.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune::unpack {
namespace {

TEST(UnpackRights, NothingIsLeftButTheArchiveAndItsFolder) {
  const TestFolder home;
  home.write("key", "secret");
  home.write("out/inner/file", "");
  const auto left = [&] { return confine(rights(home.path("archive"), home.path("out/inner"))); };
  const int denied = landlock::version() >= 1 ? EACCES : 0;
  EXPECT_EQ(confined::fates(left, home.path("key"), {}), (std::array{denied, -SIGSYS, -SIGSYS, -SIGSYS}));
  const auto making = [&](const std::string& name) {
    return confined::fate(left, [path = home.path(name)] {
      return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600) < 0 ? errno : 0;
    });
  };
  EXPECT_EQ(making("out/beside"), denied);
  EXPECT_EQ(making("key"), denied);
  EXPECT_EQ(making("out/inner/new"), 0);
  EXPECT_EQ(confined::fate(left, [&] { return link(home.path("key").c_str(), home.path("l").c_str()); }), -SIGSYS);
}

TEST(UnpackRights, TheProgramIsConfinedBeforeItOpensTheArchive) {
  const TestFolder folder;
  std::filesystem::create_directory(folder.path("out"));
  ASSERT_EQ(mkfifo(folder.path("archive").c_str(), 0600), 0);
  const pid_t pid = fork();
  if (pid == 0) {
    execl(KESTRELUNE_DITTO, KESTRELUNE_DITTO, "-x", "-k", folder.path("archive").c_str(), folder.path("out").c_str(),
          nullptr);
    _exit(2);
  }
  {
    const Descriptor archive(open(folder.path("archive").c_str(), O_WRONLY));  // waits for its reader
    EXPECT_EQ(confined::statusOf(pid, "Seccomp"), "2");
    EXPECT_EQ(confined::statusOf(pid, "NoNewPrivs"), "1");
  }
  int status = 0;
  waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1);
}

}  // namespace
}  // namespace kestrelune::unpack
