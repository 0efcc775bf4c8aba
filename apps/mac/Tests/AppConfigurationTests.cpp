

#include "AppConfiguration.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "Runtime.hpp"

namespace kestrelune {
namespace {

/// A home folder with a helper in it, a test folder beside, and a link from the one into the other.
struct Account {
  TestFolder folder;
  Url home = folder.url("home");

  Account() {
    folder.write("home/.kestrelune/runner/status.json", "{}");
    folder.write("tests/status.json", "{}");
    std::filesystem::create_directory_symlink(folder.path("home/.kestrelune"), folder.path("tests/link"));
  }

  Environment dryRun(const std::string& status, const std::string& heartbeat, Environment more = {}) const {
    more["KESTRELUNE_DRY_RUN"] = "1";
    more["KESTRELUNE_STATUS_FILE"] = folder.path(status);
    more["KESTRELUNE_MENUBAR_FILE"] = folder.path(heartbeat);
    return more;
  }
};

TEST(Configuration, DryRunNeedsExplicitDistinctPathsOutsideTheUsersFolder) {
  const Account account;
  const TestFolder& folder = account.folder;
  // Each of the three by its own: without one, the root would follow the status file.
  const Environment root = {{"KESTRELUNE_HOME", folder.path("tests/root")}};
  const Environment good = account.dryRun("tests/status.json", "tests/menubar.json", root);
  const auto with = [&](const std::string& key, const std::string& value) {
    Environment environment = good;
    environment[key] = value;
    return environment;
  };
  const auto without = [good](const std::string& key) {
    Environment environment = good;
    environment.erase(key);
    return environment;
  };
  const Table<const char*, Environment, bool> rows = {
      {"separate test paths", good, true},
      {"no status file", without("KESTRELUNE_STATUS_FILE"), false},
      {"no heartbeat file", without("KESTRELUNE_MENUBAR_FILE"), false},
      {"an empty heartbeat file", with("KESTRELUNE_MENUBAR_FILE", ""), false},
      {"the same file twice", with("KESTRELUNE_MENUBAR_FILE", folder.path("tests/status.json")), false},
      {"the same file by another way", with("KESTRELUNE_MENUBAR_FILE", folder.path("tests/../tests/./status.json")),
       false},
      {"a status file of the user's", with("KESTRELUNE_STATUS_FILE", folder.path("home/.kestrelune/x.json")), false},
      {"a heartbeat file of the user's", with("KESTRELUNE_MENUBAR_FILE", folder.path("home/.kestrelune/x.json")),
       false},
      {"a status file behind a link", with("KESTRELUNE_STATUS_FILE", folder.path("tests/link/new/x.json")), false},
      {"a sibling with a longer name", with("KESTRELUNE_STATUS_FILE", folder.path("home/.kestrelune-test/x.json")),
       true},
      {"a root that is a link", with("KESTRELUNE_HOME", folder.path("tests/link")), false},
      {"the user's folder as the root", with("KESTRELUNE_HOME", folder.path("home/.kestrelune")), false},
  };
  for (const auto& [name, environment, wanted] : rows) {
    SCOPED_TRACE(name);
    bool accepted = true;
    try {
      Configuration::resolve(environment, account.home, false);
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error, RuntimeError::unsafeDryRun());
      accepted = false;
    }
    EXPECT_EQ(accepted, wanted);
  }
  EXPECT_EQ(folder.count("tests"), 2u) << "resolving creates nothing";
}

TEST(Configuration, OnlyTheExactValueTurnsTheDryRunOn) {
  const Account account;
  for (const char* value : {"true", "0", "", "11", "1 "}) {
    Environment environment = account.dryRun("tests/status.json", "tests/menubar.json");
    environment["KESTRELUNE_DRY_RUN"] = value;
    EXPECT_FALSE(Configuration::resolve(environment, account.home, false).dryRun) << value;
  }
}

TEST(Configuration, RootAndServiceFollowFromTheKindOfProcess) {
  const Account account;
  const TestFolder& folder = account.folder;
  const Environment home{{"KESTRELUNE_HOME", folder.path("tests/a/../root/")}};
  const std::string service = "/Library/LaunchAgents/com.kestrelune.helper.plist";

  const Table<const char*, Environment, bool, std::string, std::string> rows = {
      {"an ordinary start ignores KESTRELUNE_HOME", home, false, "home/.kestrelune", "home" + service},
      {"a test process honours it", home, true, "tests/root", "home" + service},
      {"a test process without it", {}, true, "home/.kestrelune", "home" + service},
      {"a dry run without it", account.dryRun("tests/status.json", "tests/m.json"), false, "tests/helper-home",
       "tests/helper-home/LaunchAgents/com.kestrelune.helper.plist"},
      {"a dry run with it", account.dryRun("tests/status.json", "tests/m.json", home), false, "tests/root",
       "tests/root/LaunchAgents/com.kestrelune.helper.plist"},
  };
  for (const auto& [name, environment, runsTests, root, launchAgent] : rows) {
    SCOPED_TRACE(name);
    const Configuration configuration = Configuration::resolve(environment, account.home, runsTests);
    EXPECT_EQ(configuration.helperRoot.path(), folder.path(root));
    EXPECT_EQ(configuration.launchAgentURL.path(), folder.path(launchAgent));
  }
}

TEST(Configuration, AnOrdinaryStartUsesTheUsersFilesUnlessToldOtherwise) {
  const Account account;
  const Configuration usual = Configuration::resolve({}, account.home, false);
  EXPECT_EQ(usual.statusURL.path(), account.folder.path("home/.kestrelune/runner/status.json"));
  EXPECT_EQ(usual.heartbeatURL.path(), account.folder.path("home/.kestrelune/runner/menubar.json"));

  const Environment same{{"KESTRELUNE_STATUS_FILE", "/tmp/x/one.json"},
                         {"KESTRELUNE_MENUBAR_FILE", "/tmp/x/./one.json"}};
  EXPECT_THROW(Configuration::resolve(same, account.home, false), RuntimeError);
}

}  // namespace
}  // namespace kestrelune
