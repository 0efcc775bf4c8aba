#include "session/DesktopWorkspace.hpp"

#include "Fakes/FakeLoop.hpp"
#include "Fakes/FakeTasks.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

struct NoTerminal final : Terminal {
  void run(const std::string& command, std::function<void(const std::string&)>) override {
    commands.push_back(command);
  }
  std::vector<std::string> commands;
};

/// The tools exist as names only; the test says what each did.
struct DesktopWorkspaceTest : testing::Test {
  DesktopWorkspaceTest() {
    for (const char* name : {"xdg-mime", "xdg-open", "app"}) addTool(name);
  }
  void addTool(const std::string& name) {
    folder.write("bin/" + name, "");
    std::filesystem::permissions(folder.path("bin/" + name), std::filesystem::perms::owner_all);
  }
  void addApplication(const std::string& id, const std::string& lines) {
    folder.write(".local/share/applications/" + id + ".desktop", "[Desktop Entry]\n" + lines);
  }
  std::function<void(bool)> note() {
    return [this](bool answer) { answers += answer ? 'y' : 'n'; };
  }
  DesktopWorkspace make(bool dryRun = false) {
    return DesktopWorkspace(
        [this](const Url& file, const std::function<void(bool)>& answer) {
          shown.push_back(file.path());
          loop.post([this, answer] { answer(hasFileManager); });
        },
        loop, tasks, systemFiles(), terminal, environment, folder.path(), dryRun);
  }
  void end(std::size_t child, int status, const std::string& output = "") {
    tasks.end(child, {.status = status, .output = output});
    loop.turn();
  }

  TestFolder folder;
  Environment environment = {{"PATH", folder.path("bin")}, {"XDG_DATA_DIRS", "/nowhere"}, {"DESKTOP_STARTUP_ID", "x"}};
  FakeClock clock;
  FakeLoop loop{clock};
  FakeTaskLauncher tasks{loop};
  NoTerminal terminal;
  std::string answers;
  std::vector<std::string> shown;
  bool hasFileManager = true;
};

const Url kLink = *Url::parse("https://example.com/a?b=c");
const Url kDeepLink = *Url::parse("someapp://open");

TEST_F(DesktopWorkspaceTest, ALinkIsHandedOverOnlyWhenSomethingHandlesIt) {
  const Table<const char*, Url, const char*, int, const char*, bool> rows = {
      {"an association", kDeepLink, "", 0, "some.desktop\n", true},
      {"none", kDeepLink, "", 0, "\n", false},
      {"none, and a browser", kDeepLink, "firefox", 0, "", false},
      {"the query fails", kDeepLink, "", 3, "usage: some.desktop", false},
      {"the web without an association", kLink, "", 0, "", false},
      {"the web by a browser of the user's", kLink, "firefox", 0, "", true}};
  for (const auto& [name, link, browser, status, output, handled] : rows) {
    SCOPED_TRACE(name);
    answers.clear();
    tasks.children.clear();
    environment["BROWSER"] = browser;
    DesktopWorkspace workspace = make();
    workspace.open(link, note());
    ASSERT_EQ(tasks.children.size(), 1u);
    EXPECT_EQ(tasks.commandLine(0), folder.path("bin/xdg-mime") + " query default x-scheme-handler/" + *link.scheme());
    end(0, status, output);
    ASSERT_EQ(tasks.children.size(), handled ? 2u : 1u);
    if (handled) {
      EXPECT_EQ(tasks.commandLine(1), folder.path("bin/xdg-open") + " " + link.text());
      EXPECT_FALSE(tasks.children[1]->request.environment->contains("DESKTOP_STARTUP_ID"));
      end(1, 0);
    }
    EXPECT_EQ(answers, handled ? "y" : "n");
  }
}

TEST_F(DesktopWorkspaceTest, NothingIsWaitedForForEver) {
  DesktopWorkspace workspace = make();
  workspace.open(kDeepLink, note());
  loop.pass(20);
  EXPECT_EQ(answers, "n") << "the query hangs";
  EXPECT_EQ(tasks.children[0]->signals.size(), 1u);
  end(0, 0, "some.desktop");
  EXPECT_EQ(answers, "n");

  answers.clear();
  workspace.open(kDeepLink, note());
  end(1, 0, "some.desktop");
  loop.pass(6);
  EXPECT_EQ(answers, "y") << "the opener is the browser itself";
  EXPECT_TRUE(tasks.children[2]->signals.empty());
  end(2, 1);
  EXPECT_EQ(answers, "y");

  workspace.open(kDeepLink, note());
  end(3, 0, "some.desktop");
  end(4, 4);
  EXPECT_EQ(answers, "yn");
}

TEST_F(DesktopWorkspaceTest, MissingToolsAreAnAnswerToo) {
  environment["PATH"] = "/nowhere";
  DesktopWorkspace workspace = make();
  workspace.canOpen(kLink, note());
  workspace.open(kLink, note());
  workspace.openApplication("none", note());
  EXPECT_EQ(answers, "") << "told from within";
  loop.turn();
  EXPECT_EQ(answers, "nnn");
  EXPECT_TRUE(tasks.children.empty());
}

TEST_F(DesktopWorkspaceTest, OpensApplicationsByTheirId) {
  // command: null: it can't be opened
  const Table<const char*, const char*> rows = {{"Exec=app --new %U\n", " --new"},
                                                {"Exec=app\nTryExec=none\n", nullptr},
                                                {"Exec=none\n", nullptr},
                                                {"Name=nothing to start\n", nullptr}};
  for (const auto& [lines, command] : rows) {
    SCOPED_TRACE(lines);
    answers.clear();
    tasks.children.clear();
    addApplication("org.example.App", lines);
    DesktopWorkspace workspace = make();
    workspace.openApplication("org.example.App", note());
    loop.turn();
    if (command) {
      EXPECT_EQ(tasks.commandLine(0), folder.path("bin/app") + command);
      loop.pass(6);
    }
    EXPECT_EQ(answers, command ? "y" : "n");
    EXPECT_EQ(tasks.children.size(), command ? 1u : 0u);
  }
  addApplication("org.example.App", "Terminal=true\nExec=app \"it's\"\n");
  DesktopWorkspace workspace = make();
  workspace.openApplication("org.example.App", note());
  ASSERT_EQ(terminal.commands.size(), 1u);
  EXPECT_EQ(terminal.commands.front(), "'app' 'it'\\''s' ");
}

TEST_F(DesktopWorkspaceTest, WithoutAFileManagerTheFolderIsOpened) {
  DesktopWorkspace workspace = make();
  const Url file = Url::file("/some/folder/file.txt");
  workspace.reveal(file);
  loop.turn();
  EXPECT_EQ(shown, std::vector<std::string>{file.path()});
  EXPECT_TRUE(tasks.children.empty());
  hasFileManager = false;
  workspace.reveal(file);
  loop.turn();
  ASSERT_EQ(tasks.children.size(), 1u);
  EXPECT_EQ(tasks.commandLine(0), folder.path("bin/xdg-open") + " " + file.deletingLastComponent().text());
}

}  // namespace
}  // namespace kestrelune
