#include "session/DesktopLoginItem.hpp"

#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "session/Desktop.hpp"
#include "session/DesktopEntry.hpp"

namespace kestrelune {
namespace {

using Status = LoginItem::Status;
constexpr const char* kEntry = "autostart/com.kestrelune.menu.desktop";

struct DesktopLoginItemTest : testing::Test {
  DesktopLoginItemTest() {
    programs.write("100%/$x y", "");
    systemFiles().chmod(launcher, 0755);
  }
  TestFolder config, programs;
  const std::string launcher = programs.path("100%/$x y");
  DesktopLoginItem item{systemFiles(), config.path(), launcher, false};
};

TEST_F(DesktopLoginItemTest, TellsWhatTheEntrySays) {
  EXPECT_EQ(item.status(), Status::notRegistered);
  const Table<const char*, Status> rows = {
      {"[Desktop Entry]\nExec=x\n", Status::enabled},
      {"[Desktop Entry]\nExec=x\nHidden=false\nX-GNOME-Autostart-enabled=true\n", Status::enabled},
      {"[Desktop Entry]\nExec=x\nHidden=true\n", Status::requiresApproval},
      {"[Desktop Entry]\nHidden=true\n", Status::requiresApproval},
      {"[Desktop Entry]\nExec=x\nX-GNOME-Autostart-enabled=false\n", Status::requiresApproval},
      {"[Desktop Entry]\nExec=x\n[Other]\nHidden=true\n", Status::enabled},
      {"", Status::notRegistered},
      {"\xff\xfe nonsense", Status::notRegistered}};
  for (const auto& [lines, status] : rows) {
    config.write(kEntry, lines);
    EXPECT_EQ(item.status(), status) << lines;
  }
}

TEST_F(DesktopLoginItemTest, RegistersAndUnregisters) {
  EXPECT_EQ(item.registerItem(false), "");
  EXPECT_EQ(item.status(), Status::enabled);
  const auto command = desktop_entry::commandLine(desktop_entry::parse(config.read(kEntry)));
  EXPECT_EQ(command, std::vector<std::string>{launcher});
  EXPECT_EQ(config.count("autostart"), 1u) << "a temporary name is left";
  EXPECT_EQ(item.unregister(), "");
  EXPECT_EQ(item.status(), Status::notRegistered);
  EXPECT_EQ(item.unregister(), "");
}

TEST_F(DesktopLoginItemTest, OneThatTheUserSwitchedOffStaysOffUntilAskedFor) {
  config.write(kEntry, "[Desktop Entry]\nExec=x\nHidden=true\n");
  EXPECT_EQ(item.registerItem(false), "");
  EXPECT_EQ(item.status(), Status::requiresApproval);
  EXPECT_EQ(item.registerItem(true), "");
  EXPECT_EQ(item.status(), Status::enabled);
}

TEST_F(DesktopLoginItemTest, AnEntryOfAnApplicationThatIsGoneIsNone) {
  ASSERT_EQ(item.registerItem(true), "");
  ASSERT_EQ(systemFiles().unlink(launcher), 0);
  EXPECT_EQ(item.status(), Status::notRegistered) << "nothing starts at the next login";
  DesktopLoginItem other(systemFiles(), config.path(), "/bin/sh", false);
  EXPECT_EQ(other.registerItem(false), "");
  EXPECT_EQ(other.status(), Status::enabled);
}

TEST_F(DesktopLoginItemTest, AFailureHasAReason) {
  config.write("autostart", "a file where the folder should be");
  EXPECT_NE(item.registerItem(true), "");
  EXPECT_EQ(item.status(), Status::notRegistered);
  EXPECT_NE(item.unregister(), "");
}

TEST_F(DesktopLoginItemTest, ADryRunChangesNothing) {
  DesktopLoginItem dry(systemFiles(), config.path(), "/opt/app", true);
  EXPECT_EQ(dry.registerItem(true), "");
  EXPECT_EQ(config.count(), 0u);
  ASSERT_EQ(item.registerItem(true), "");
  EXPECT_EQ(dry.unregister(), "");
  EXPECT_EQ(item.status(), Status::enabled);
}

TEST_F(DesktopLoginItemTest, StartsTheLauncherOfWhatWasInstalled) {
  const std::string starter = config.path() + "/a launcher", own = "/Contents/MacOS/KestreluneMenu";
  config.write("a launcher", "#!/bin/sh\n");
  const Url home = Url::file(config.path()), placed = home.appending("Applications/Kestrelune.app");
  const Url other = home.appending("Downloads/Kestrelune.app");
  const auto found = [&](const Url& bundle) { return launcherOf(systemFiles(), {}, home, bundle); };
  EXPECT_EQ(found(placed), placed.path() + own) << "nothing is installed";
  const std::string entry = ".local/share/applications/com.kestrelune.menu.desktop";
  config.write(entry, "[Desktop Entry]\nType=Application\nName=K\nExec=\"" + starter + "\"\n");
  EXPECT_EQ(found(placed), placed.path() + own) << "it can't be executed";
  ASSERT_EQ(systemFiles().chmod(starter, 0755), 0);
  EXPECT_EQ(found(placed), starter);
  EXPECT_EQ(found(other), other.path() + own) << "the launcher starts another one";
  config.write(entry, "[Desktop Entry]\nType=Application\nName=K\nExec=\"" + starter + "\" --more\n");
  EXPECT_EQ(found(placed), placed.path() + own);
}

}  // namespace
}  // namespace kestrelune
