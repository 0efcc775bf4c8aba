#include "base/Files.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Fakes/FakeFiles.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "base/Descriptor.hpp"
#include "base/Digest.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kLimit = 100000;

TEST(FilesTest, ReadingFilesOfAllKinds) {
  Files& files = systemFiles();
  TestFolder folder;
  folder.write("plain", std::string("a\0b\xff", 4));
  folder.write("empty", "");
  folder.write("large", std::string(kLimit + 1, 'x'));
  folder.write("just", std::string(kLimit, 'x'));
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  ASSERT_EQ(symlink("plain", folder.path("link").c_str()), 0);
  const Table<std::string, int, std::size_t> rows = {
      {"plain", 0, 4},     {"empty", 0, 0},        {"link", 0, 4},   {"just", 0, kLimit},        {"large", EFBIG, 0},
      {"pipe", EINVAL, 0}, {"missing", ENOENT, 0}, {".", EISDIR, 0}, {"plain/below", ENOTDIR, 0}};
  for (const auto& [name, error, size] : rows) {
    const Outcome<std::string> got = readFile(files, folder.path(name), kLimit);
    EXPECT_EQ(got.error, error) << name;
    EXPECT_EQ(got.value.size(), size) << name;
  }
  EXPECT_EQ(readFile(files, folder.path("plain"), kLimit).value, std::string("a\0b\xff", 4));
  // Nobody is at the other end of the pipe: none of these may wait for that.
  EXPECT_NE(openForAppending(files, folder.path("pipe"), 0600).error, 0);
  EXPECT_EQ(sha256OfFile(files, folder.path("pipe")).error, EINVAL);
  EXPECT_EQ(placeCopy(files, folder.path("copy"), folder.path("pipe"), 0600, ".t-"), EINVAL);
  const Descriptor reader(::open(folder.path("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  EXPECT_EQ(openForAppending(files, folder.path("pipe"), 0600).error, EINVAL);
  // Files of the kernel say that they are empty.
  EXPECT_GT(readFile(files, "/proc/self/status", kLimit).value.size(), 100u);
  EXPECT_EQ(readFile(files, "/proc/self/status", 100).error, EFBIG);
}

TEST(FilesTest, FoldersAreMadeWithTheirModeWhateverTheMask) {
  Files& files = systemFiles();
  TestFolder folder;
  const mode_t before = umask(0277);
  EXPECT_EQ(makeFolders(files, folder.path("a/b/c"), 0700), 0);
  umask(before);
  EXPECT_EQ(files.info(folder.path("a")).value.mode, 0700u);
  EXPECT_EQ(files.info(folder.path("a/b/c")).value.mode, 0700u);
  files.chmod(folder.path("a"), 0750);
  EXPECT_EQ(makeFolders(files, folder.path("a"), 0700), 0);
  EXPECT_EQ(files.info(folder.path("a")).value.mode, 0750u);
  folder.write("file", "");
  EXPECT_EQ(makeFolders(files, folder.path("file"), 0700), ENOTDIR);
  EXPECT_EQ(makeFolders(files, folder.path("file/below"), 0700), ENOTDIR);
}

TEST(FilesTest, PlacingOnTheRealSystem) {
  Files& files = systemFiles();
  TestFolder folder;
  folder.write("name", "old");
  EXPECT_EQ(placeFile(files, folder.path("name"), "new", 0640, ".t-", ".tmp"), 0);
  EXPECT_EQ(folder.read("name"), "new");
  EXPECT_EQ(files.info(folder.path("name")).value.mode, 0640u);
  const std::string large(3'000'000, 'y');
  folder.write("source", large);
  EXPECT_EQ(placeCopy(files, folder.path("copy"), folder.path("source"), 0755, ".t-"), 0);
  EXPECT_EQ(folder.read("copy"), large);
  EXPECT_TRUE(isExecutableFile(files, folder.path("copy")));
  EXPECT_FALSE(isExecutableFile(files, folder.path("name")));
  EXPECT_FALSE(isExecutableFile(files, folder.path()));
  EXPECT_EQ(placeCopy(files, folder.path("copy"), folder.path("missing"), 0755, ".t-"), ENOENT);
  EXPECT_EQ(files.list(folder.path()).value, (std::vector<std::string>{"copy", "name", "source"}));
}

/// What is left when it fails or stops is looked at where the helper's files are placed.
struct PlacingTest : testing::Test {
  FakeFiles files;

  void layOut() {
    files = FakeFiles();
    files.put("/f/name", "old");
    files.put("/f/source", "new");
    files.mostPerWrite = 2;
  }
  int place(bool copy) {
    return copy ? placeCopy(files, "/f/name", "/f/source", 0600, ".t-")
                : placeFile(files, "/f/name", "new", 0600, ".t-");
  }
};

TEST_F(PlacingTest, AnInterruptedWriteIsRepeated) {
  layOut();
  files.failAt(2, EINTR);
  EXPECT_EQ(place(false), 0);
  EXPECT_EQ(files.content("/f/name"), "new");
}

TEST_F(PlacingTest, FileSystemsThatCannotCopyByThemselvesGetThePiecesFromHere) {
  layOut();
  files.copies = false;
  EXPECT_EQ(place(true), 0);
  EXPECT_EQ(files.content("/f/name"), "new");
}

TEST_F(PlacingTest, AFolderThatCannotBeSyncedIsTolerated) {
  layOut();
  EXPECT_EQ(place(false), 0);
  const int count = files.calls();
  for (const int error : {EINVAL, ENOTSUP}) {
    layOut();
    files.failAt(count - 1, error);
    EXPECT_EQ(place(false), 0);
  }
}

TEST_F(PlacingTest, ATemporaryFileIsNewAndPrivateFromItsStart) {
  layOut();
  std::string temporary;
  files.fault = [&](std::string_view call) {
    if (call.starts_with("open /f/.t-")) temporary = call.substr(5);
    EXPECT_TRUE(call != "write" || files.at(temporary)->mode == 0600);
    return 0;
  };
  EXPECT_EQ(placeFile(files, "/f/name", "new", 0644, ".t-"), 0);
  files.fault = [&](std::string_view call) {
    if (call.starts_with("open /f/.t-")) files.putLink(std::string(call.substr(5)), "/f/source");
    return 0;
  };
  EXPECT_EQ(place(false), EEXIST) << "somebody was faster";
}

TEST(FilesTest, WhetherAProcessIsAlive) {
  FakeFiles others;
  others.fault = [](std::string_view) { return EPERM; };
  EXPECT_TRUE(isAlive(others, 4711)) << "another user's";
  Files& files = systemFiles();
  EXPECT_TRUE(isAlive(files, getpid()));
  EXPECT_FALSE(isAlive(files, 0)) << "0 would ask about our own group";
  EXPECT_FALSE(isAlive(files, -1));
  EXPECT_FALSE(isAlive(files, 0x7ffffff0));
}

}  // namespace
}  // namespace kestrelune
