#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Fakes/TestFolder.hpp"
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
  struct stat info {};
  ASSERT_EQ(::stat(folder.path("a/runner").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0700u);
  ASSERT_EQ(::stat(folder.path("a/runner/menubar.json").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600u);
}

TEST(Heartbeat, AFailureLeavesTheOldFileAndNoTemporaryOne) {
  const TestFolder folder;
  folder.write("menubar.json/in the way", "");
  Heartbeat heartbeat(systemFiles(), folder.url("menubar.json"), 4711);
  EXPECT_THROW(heartbeat.write(kNow), RuntimeError);
  EXPECT_EQ(folder.count(), 1u);
}

TEST(Heartbeat, RemovesOnlyTheFileOfThisProcess) {
  const struct {
    const char* content;
    bool removed;
  } rows[] = {
      {R"({"pid":4711})", true},
      {R"({"pid":4712})", false},
      {R"({"pid":"4711"})", false},
      {R"({"pid":4711.5})", false},
      {R"([4711])", false},
      {R"({"pid":4711)", false},
      {"", false},
  };
  for (const auto& row : rows) {
    const TestFolder folder;
    folder.write("menubar.json", row.content);
    Heartbeat(systemFiles(), folder.url("menubar.json"), 4711).removeOwnedFile();
    EXPECT_EQ(folder.has("menubar.json"), !row.removed) << row.content;
  }
  const TestFolder folder;
  Heartbeat(systemFiles(), folder.url("missing.json"), 4711).removeOwnedFile();
}

}  // namespace
}  // namespace kestrelune
