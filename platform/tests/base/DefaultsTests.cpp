#include "base/Defaults.hpp"

#include <cerrno>

#include "Fakes/FakeFiles.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

const std::string kPath = "/config/Kestrelune/defaults.json";
const std::string kBytes("\0\xff{}\n", 5);

struct DefaultsTest : testing::Test {
  FakeFiles files;
  std::unique_ptr<Defaults> open() { return makeFileDefaults(files, kPath); }
};

TEST_F(DefaultsTest, ValuesOutliveTheProcess) {
  const auto first = open();
  EXPECT_FALSE(first->boolean("flag"));
  EXPECT_EQ(first->data("bytes"), std::nullopt);
  first->setBoolean("flag", true);
  first->setData("bytes", kBytes);
  first->setData("empty", "");
  first->setBoolean("gone", true);
  first->remove("gone");
  const auto second = open();
  EXPECT_TRUE(second->boolean("flag"));
  EXPECT_EQ(second->data("bytes"), kBytes);
  EXPECT_EQ(second->data("empty"), "");
  EXPECT_FALSE(second->boolean("gone"));
  EXPECT_FALSE(second->boolean("bytes")) << "of another type";
  EXPECT_EQ(second->data("flag"), std::nullopt) << "of another type";
  EXPECT_EQ(files.at("/config/Kestrelune")->mode, 0700u);
  EXPECT_EQ(files.at(kPath)->mode, 0600u);
}

TEST_F(DefaultsTest, WhatIsTheSameIsntWritten) {
  const auto defaults = open();
  defaults->setBoolean("flag", true);
  const std::uint64_t inode = files.at(kPath)->inode;
  defaults->setBoolean("flag", true);
  defaults->remove("other");
  EXPECT_EQ(files.at(kPath)->inode, inode);
}

TEST_F(DefaultsTest, TwoProcessesKeepEachOthersChanges) {
  const auto one = open(), other = open();
  one->setBoolean("a", true);
  other->setBoolean("b", true);
  one->setBoolean("c", true);
  other->remove("a");
  const auto later = open();
  for (const Defaults* defaults : {later.get(), one.get(), other.get()}) {
    EXPECT_FALSE(defaults->boolean("a"));
    EXPECT_TRUE(defaults->boolean("b"));
    EXPECT_TRUE(defaults->boolean("c"));
  }
}

TEST_F(DefaultsTest, ADamagedFileIsSetAsideBeforeAnythingIsWritten) {
  for (const std::string& content : {std::string("{\"a\":tr"), std::string("[1]"), std::string(),
                                     std::string("\xff\xfe"), "{\"a\":true}" + std::string(16 << 20, ' ')}) {
    files = FakeFiles();
    files.put(kPath, content);
    const auto defaults = open();
    EXPECT_FALSE(defaults->boolean("a"));
    EXPECT_EQ(files.content(kPath), content) << "reading changes nothing";
    defaults->setBoolean("b", true);
    const auto names = files.list("/config/Kestrelune").value;
    ASSERT_EQ(names.size(), 2u);
    EXPECT_TRUE(names[1].starts_with("defaults.json.damaged-"));
    EXPECT_EQ(files.content("/config/Kestrelune/" + names[1]), content);
    EXPECT_TRUE(open()->boolean("b"));
  }
}

TEST_F(DefaultsTest, AFileThatCantBeReadForTheMomentIsKept) {
  files.put(kPath, R"({"a":true})");
  for (const char* hindered : {"stat ", "open ", "read"}) {
    const auto defaults = open();
    EXPECT_TRUE(defaults->boolean("a"));
    open()->setBoolean("other process", !open()->boolean("other process"));
    files.fault = [&](std::string_view call) { return call.starts_with(hindered) ? EMFILE : 0; };
    EXPECT_TRUE(defaults->boolean("a"));
    defaults->setBoolean(hindered, true);
    EXPECT_FALSE(open()->boolean("a"));
    files.fault = nullptr;
    defaults->setBoolean(hindered, true);
    EXPECT_TRUE(open()->boolean("a"));
    EXPECT_TRUE(open()->boolean(hindered));
    EXPECT_EQ(files.list("/config/Kestrelune").value.size(), 1u) << "nothing was set aside";
  }
}

TEST_F(DefaultsTest, WhatCannotBeWrittenHoldsForThisProcessAndComesWithTheNextChange) {
  const auto defaults = open();
  defaults->setBoolean("kept", true);
  const std::string before = *files.content(kPath);
  testing::internal::CaptureStdout();
  for (int i = 0; i < 2; ++i) {
    files.mostPerWrite = 0;
    defaults->setBoolean("lost", true);
  }
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(printed, "Settings could not be saved: Input/output error\n");
  EXPECT_EQ(files.content(kPath), before);
  EXPECT_TRUE(defaults->boolean("lost"));
  files.mostPerWrite = SIZE_MAX;
  open()->setBoolean("others", true);
  EXPECT_TRUE(defaults->boolean("lost")) << "also after another process wrote";
  defaults->setBoolean("next", true);
  const auto later = open();
  for (const char* key : {"kept", "lost", "others", "next"}) EXPECT_TRUE(later->boolean(key)) << key;
}

}  // namespace
}  // namespace kestrelune
