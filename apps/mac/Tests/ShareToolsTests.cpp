#include "ShareTools.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Fakes/Languages.hpp"
#include "HelperModel.hpp"
#include "RuntimeAction.hpp"

namespace kestrelune {
namespace {

/// A folder of the helper's small files.
class HelperFolder : public testing::Test {
 protected:
  HelperFolder() { mkdtemp(path_); }
  ~HelperFolder() override { std::filesystem::remove_all(path_); }
  void write(const char* name, std::string_view text) { std::ofstream(std::string(path_) + "/" + name) << text; }
  Url folder() const { return Url::file(path_); }

  char path_[32] = "/tmp/kestrelune-XXXXXX";
  const testing_support::English english_;
};

TEST_F(HelperFolder, OnlyAGoodFileOfTheKnownVersionGivesTools) {
  const std::string good =
      R"({"schemaVersion":2,"view":[{"id":"skills","on":true,"available":true,"mode":"direct","to":["cursor","odd"]}]})";
  struct Row {
    const char *name, *text;
    bool lines;
  };
  const Row rows[] = {
      {"good", good.c_str(), true},
      {"another version", R"({"schemaVersion":1,"view":[]})", false},
      {"no version", R"({"view":[{"id":"skills","on":true,"available":true,"mode":"direct","to":[]}]})", false},
      {"a tool that lacks a key",
       R"({"schemaVersion":2,"view":[{"id":"skills","on":true,"available":true,"mode":"direct"}]})", false},
      {"only an unknown tool",
       R"({"schemaVersion":2,"view":[{"id":"new","on":true,"available":true,"mode":"direct","to":[]}],"newApps":["cursor"]})",
       false},
      {"only an unavailable tool",
       R"({"schemaVersion":2,"view":[{"id":"skills","on":true,"available":false,"mode":"direct","to":[]}]})", false},
      {"no object", "[]", false},
      {"damaged", "{\"schemaVersion\":2,", false},
  };
  EXPECT_FALSE(ShareTools::state(systemFiles(), folder()));
  for (const Row& row : rows) {
    write("share-tools.json", row.text);
    EXPECT_EQ(!ShareTools::menuEntries(ShareTools::state(systemFiles(), folder())).empty(), row.lines) << row.name;
  }
  write("share-tools.json", good);
  EXPECT_EQ(ShareTools::detail(ShareTools::state(systemFiles(), folder())->tools[0]), "Cursor, odd");
}

TEST(ShareTools, LinesCountWhatIsSwitchedOnHere) {
  const testing_support::English english;
  SharedToolsState state{.tools = {{.id = "computer_use", .on = true, .available = true, .mode = "task"},
                                   {.id = "skills", .on = false, .available = true, .mode = "direct", .to = {"codex"}},
                                   {.id = "computer_history", .on = true, .available = false, .mode = "direct"}},
                         .newApps = {"cursor", "codex"}};
  const auto lines = ShareTools::menuEntries(state);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].title, "Shared tools · 0 on");
  ASSERT_EQ(lines[0].children->size(), 2u);
  EXPECT_EQ((*lines[0].children)[0].detail, "as a task to Codex");
  EXPECT_EQ((*lines[0].children)[0].action, std::nullopt);
  EXPECT_EQ((*lines[0].children)[1].detail, "off");
  EXPECT_EQ((*lines[0].children)[1].action, Action::shareTool("skills", true));
  EXPECT_EQ(lines[1].title, "New: Cursor, Codex uses your shared tools");
}

TEST_F(HelperFolder, TheSmallModelIsOnUntilItsFileSaysOff) {
  EXPECT_TRUE(HelperModel::isEnabled(systemFiles(), folder()));
  for (const auto& [text, on] : {std::pair{"{}", true},
                                 {"{\"enabled\":false}", false},
                                 {"{\"enabled\":\"false\"}", true},
                                 {"{\"enabled\":null}", true},
                                 {"", true},
                                 {"[false]", true}}) {
    write("small-model.json", text);
    EXPECT_EQ(HelperModel::isEnabled(systemFiles(), folder()), on) << text;
  }
}

}  // namespace
}  // namespace kestrelune
