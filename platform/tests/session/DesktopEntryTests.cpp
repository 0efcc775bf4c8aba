#include "session/DesktopEntry.hpp"

#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune::desktop_entry {
namespace {

using Strings = std::vector<std::string>;

TEST(DesktopEntry, ReadsOneGroupAndUnescapesItsValues) {
  const Entry entry = parse(
      "Before=group\n# comment\n[Desktop Entry]\r\nName = Two\\sWords \nName[de]=Zwei\nExec=a\\\\b\\n\\t\\x\nno "
      "equals\n"
      "[Desktop Action new]\nExec=other\n");
  EXPECT_EQ(entry, (Entry{{"Name", "Two Words"}, {"Name[de]", "Zwei"}, {"Exec", "a\\b\n\t\\x"}}));
  EXPECT_TRUE(isTrue({{"Hidden", "True"}}, "Hidden"));
  EXPECT_FALSE(isTrue({{"Hidden", "1"}}, "Hidden"));
}

TEST(DesktopEntry, SplitsCommandLinesAndFillsFieldCodes) {
  const Table<const char*, Strings> rows = {
      {"app", {"app"}},
      {"  /opt/a/app  --x\t%U ", {"/opt/a/app", "--x"}},
      {R"("/opt/a b/app" "%%" "say \"\$hi\" \\")", {"/opt/a b/app", "%", "say \"$hi\" \\"}},
      {"app --url=%u %i %c", {"app", "--url=", "--icon", "Picture", "The Name"}},
      {R"(app "")", {"app", ""}},
      {R"(app "open)", {}},
      {"", {}}};
  for (const auto& [exec, words] : rows)
    EXPECT_EQ(commandLine({{"Exec", exec}, {"Icon", "Picture"}, {"Name", "The Name"}}), words) << exec;
  EXPECT_TRUE(commandLine({{"Name", "nothing to start"}}).empty());
}

TEST(DesktopEntry, AQuotedPathComesBackWhateverItHolds) {
  std::string everything;
  for (int c = 1; c < 128; ++c) everything += static_cast<char>(c);
  for (const std::string& path :
       Strings{"/opt/app", "/opt/a b/app", "/o'\"`$\\x%f%%/app", " /blank ", "/Zürich/🔥", "", everything})
    EXPECT_EQ(commandLine(parse("[Desktop Entry]\nExec=" + escapedValue(quotedArgument(path)) + "\n")), Strings{path});
}

TEST(DesktopEntry, FindsApplicationsInTheUsersFoldersFirst) {
  const TestFolder folder;
  const auto add = [&](const std::string& name, const std::string& content) {
    folder.write(name + ".desktop", "[Desktop Entry]\n" + content);
  };
  add("home/.local/share/applications/both", "Name=user\n");
  add("a/applications/both", "Name=system\n");
  add("b/applications/only", "Name=b\n");
  add("home/.local/share/applications/gone", "Hidden=true\n");
  add("a/applications/gone", "Name=system\n");
  add("a/applications/kde/sub/edit", "Name=in folders\n");
  const Environment environment = {{"XDG_DATA_DIRS", folder.path("a") + ":" + folder.path("b")}};
  for (const auto& [id, name] : std::vector<std::pair<std::string, std::string>>{{"both", "user"},
                                                                                 {"only", "b"},
                                                                                 {"gone", ""},
                                                                                 {"kde-sub-edit", "in folders"},
                                                                                 {"none", ""},
                                                                                 {"", ""},
                                                                                 {"../applications/both", ""}}) {
    const auto entry = findApplication(systemFiles(), environment, folder.path("home"), id);
    EXPECT_EQ(entry ? entry->at("Name") : "", name) << id;
  }
}

TEST(DesktopEntry, FindsAnIdByTheName) {
  const TestFolder folder;
  folder.write("home/.local/share/applications/mine.desktop", "[Desktop Entry]\nName=Weather\n");
  folder.write("home/.local/share/applications/gone.desktop", "[Desktop Entry]\nName=Clock\nHidden=true\n");
  folder.write("a/applications/gone.desktop", "[Desktop Entry]\nName=Clock\n");
  folder.write("a/applications/org/maker/edit.desktop", "[Desktop Entry]\nName=Text Editor\n");
  folder.write("a/applications/theirs.desktop", "[Desktop Entry]\nName=weather\n");
  const Environment environment = {{"XDG_DATA_DIRS", folder.path("a")}};
  for (const auto& [name, id] : std::vector<std::pair<std::string, std::string>>{{"Weather", "mine"},
                                                                                 {"Theirs", "theirs"},
                                                                                 {"text editor", "org-maker-edit"},
                                                                                 {"Clock", ""},
                                                                                 {"Text", ""},
                                                                                 {"", ""}})
    EXPECT_EQ(findByName(systemFiles(), environment, folder.path("home"), name).value_or(""), id) << name;
}

TEST(DesktopEntry, FindsExecutablesOnly) {
  const TestFolder folder;
  folder.write("a/tool", "data");
  folder.write("b/tool", "program");
  std::filesystem::create_directories(folder.path("a/other"));
  std::filesystem::permissions(folder.path("b/tool"), std::filesystem::perms::owner_all);
  const Environment environment = {{"PATH", "relative::" + folder.path("a") + ":" + folder.path("b")}};
  const auto find = [&](const std::string& name) { return findExecutable(systemFiles(), environment, name); };
  EXPECT_EQ(find("tool"), folder.path("b/tool"));
  EXPECT_EQ(find(folder.path("b/tool")), folder.path("b/tool"));
  for (const std::string& name : Strings{"", "other", "none", "b/tool", folder.path("a/tool")})
    EXPECT_EQ(find(name), "");
}

}  // namespace
}  // namespace kestrelune::desktop_entry
