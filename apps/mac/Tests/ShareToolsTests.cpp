#include "ShareTools.hpp"

#include "Fakes/Languages.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "HelperModel.hpp"
#include "RuntimeAction.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

/// A folder of the helper's small files.
struct HelperFolder : testing::Test {
  bool offersTools() const { return !ShareTools::menuEntries(ShareTools::state(systemFiles(), folder.url())).empty(); }
  const TestFolder folder;
  const testing_support::English english;
};

TEST_F(HelperFolder, OnlyAGoodFileOfTheKnownVersionGivesTools) {
  const std::string tool = R"("id":"skills","on":true,"available":true,"mode":"direct")";
  const std::string good = R"({"schemaVersion":2,"view":[{)" + tool + R"(,"to":["cursor","odd"]}]})";
  const Table<const char*, std::string, bool> rows = {
      {"good", good, true},
      {"another version", text::replacedAll(good, "2", "1"), false},
      {"no version", text::replacedAll(good, R"("schemaVersion":2,)", ""), false},
      {"a tool that lacks a key", R"({"schemaVersion":2,"view":[{)" + tool + "}]}", false},
      {"only an unknown tool", text::replacedAll(good, "skills", "new"), false},
      {"only an unavailable tool", text::replacedAll(good, R"("available":true)", R"("available":false)"), false},
      {"no object", "[]", false},
      {"damaged", good.substr(1), false},
  };
  EXPECT_FALSE(offersTools()) << "no file";
  for (const auto& [name, text, lines] : rows) {
    folder.write("share-tools.json", text);
    EXPECT_EQ(offersTools(), lines) << name;
  }
  folder.write("share-tools.json", good);
  EXPECT_EQ(ShareTools::detail(ShareTools::state(systemFiles(), folder.url())->tools[0]), "Cursor, odd");
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
  EXPECT_TRUE(HelperModel::isEnabled(systemFiles(), folder.url()));
  for (const char* text :
       {"{\"enabled\":false}", "{}", "{\"enabled\":\"false\"}", "{\"enabled\":null}", "", "[false]"}) {
    folder.write("small-model.json", text);
    EXPECT_EQ(HelperModel::isEnabled(systemFiles(), folder.url()), text != std::string("{\"enabled\":false}")) << text;
  }
}

}  // namespace
}  // namespace kestrelune
