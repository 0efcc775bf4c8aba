#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "Runtime.hpp"
#include "RuntimeHeartbeat.hpp"

namespace kestrelune {
namespace {

constexpr Date kNow{1'769'850'900.75};

TEST(Heartbeat, WritesOneCompactObjectIntoAFolderOfItsOwn) {
  const TestFolder folder;
  Heartbeat(systemFiles(), folder.url("a/runner/menubar.json"), 4711).write(kNow);
  EXPECT_EQ(folder.read("a/runner/menubar.json"),
            R"({"pid":4711,"schemaVersion":1,"updatedAt":"2026-01-31T09:15:00Z"})");
  EXPECT_EQ(folder.count("a/runner"), 1u) << "no temporary file stays";
  EXPECT_EQ(systemFiles().info(folder.path("a/runner")).value.mode, 0700u);
  EXPECT_EQ(systemFiles().info(folder.path("a/runner/menubar.json")).value.mode, 0600u);
}

/// A writer and a reader that never rest, and the writer killed in the middle again and again.
TEST(Heartbeat, IsWholeForEveryReaderHoweverItsWriterEnds) {
  // In the long run ten thousand writes are seen.
  const int kills = std::getenv("KESTRELUNE_LONG_TESTS") ? 500 : 50;
  const TestFolder folder;
  const Url file = folder.url("menubar.json");
  const auto isTorn = [](const std::string& text) { return text.size() != 65 || !text.ends_with("Z\"}"); };
  int torn = 0;
  for (int i = 0; i < kills; ++i) {
    const pid_t writer = fork();
    if (writer == 0) {
      Heartbeat heartbeat(systemFiles(), file, 4711);
      for (Date now = kNow;; now = now + 1) heartbeat.write(now);
    }
    std::string last;
    for (int changes = 0; changes < 20 && ::waitpid(writer, nullptr, WNOHANG) == 0;) {
      const std::string read = readFile(systemFiles(), file.path(), 1000).value;
      if (read.empty() || read == last) continue;
      torn += isTorn(read);
      last = read, ++changes;
    }
    EXPECT_EQ(::kill(writer, SIGKILL), 0) << "the writer failed";
    ::waitpid(writer, nullptr, 0);
    torn += isTorn(folder.read("menubar.json"));
  }
  EXPECT_EQ(torn, 0);
  Heartbeat(systemFiles(), file, 4712).removeTemporaries();
  EXPECT_EQ(folder.count(), 1u) << "what was killed has left something";
}

TEST(Heartbeat, AFailureLeavesTheOldFileAndNoTemporaryOne) {
  const TestFolder folder;
  folder.write("menubar.json/in the way", "");
  Heartbeat heartbeat(systemFiles(), folder.url("menubar.json"), 4711);
  EXPECT_THROW(heartbeat.write(kNow), RuntimeError);
  EXPECT_EQ(folder.count(), 1u);
}

TEST(Heartbeat, RemovesOnlyTheFileOfThisProcess) {
  const TestFolder folder;
  const std::string ours = R"({"pid":4711})";
  for (const std::string& content :
       {ours, std::string(R"({"pid":4712})"), std::string(R"({"pid":"4711"})"), std::string(R"({"pid":4711.5})"),
        std::string("[4711]"), ours.substr(1), std::string()}) {
    folder.write("menubar.json", content);
    Heartbeat(systemFiles(), folder.url("menubar.json"), 4711).removeOwnedFile();
    EXPECT_EQ(folder.has("menubar.json"), content != ours) << content;
  }
  Heartbeat(systemFiles(), folder.url("missing.json"), 4711).removeOwnedFile();
}

}  // namespace
}  // namespace kestrelune
