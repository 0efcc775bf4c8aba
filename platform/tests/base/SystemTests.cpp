#include "base/System.hpp"

#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"
#include "base/Bundle.hpp"

namespace kestrelune {
namespace {

using Languages = std::vector<std::string>;

TEST(SystemTest, LanguagesAreReadAsGettextReadsThem) {
  const Table<const char*, Environment, Languages, std::string> rows = {
      {"nothing set", {}, {}, "en_US"},
      {"LANG", {{"LANG", "de_DE.UTF-8"}}, {"de-DE"}, "de_DE"},
      {"variants go", {{"LANG", "de_DE@euro"}}, {"de-DE"}, "de_DE"},
      {"an empty variable is not set", {{"LC_ALL", ""}, {"LANG", "de_AT.UTF-8"}}, {"de-AT"}, "de_AT"},
      {"messages before LANG", {{"LC_MESSAGES", "fr_FR.UTF-8"}, {"LANG", "de_DE.UTF-8"}}, {"fr-FR"}, "fr_FR"},
      {"LC_ALL before all",
       {{"LC_ALL", "en_GB.UTF-8"}, {"LC_MESSAGES", "fr_FR"}, {"LANG", "de_DE"}},
       {"en-GB"},
       "en_GB"},
      {"LANGUAGE is a list", {{"LANGUAGE", "de_CH:de::en"}, {"LANG", "en_US.UTF-8"}}, {"de-CH", "de", "en"}, "en_US"},
      {"LANGUAGE ends at C", {{"LANGUAGE", "fr:C:de"}, {"LANG", "en_US.UTF-8"}}, {"fr"}, "en_US"},
      {"LANGUAGE without a locale", {{"LANGUAGE", "de"}}, {}, "en_US"},
      {"LANGUAGE in C", {{"LANGUAGE", "de"}, {"LANG", "C"}}, {}, "en_US"},
      {"LANGUAGE in POSIX", {{"LANGUAGE", "de"}, {"LC_ALL", "POSIX"}, {"LANG", "de_DE"}}, {}, "en_US"},
      {"a language that begins like C", {{"LANG", "Cy_GB"}}, {"Cy-GB"}, "Cy_GB"},
  };
  for (const auto& [name, environment, languages, locale] : rows) {
    EXPECT_EQ(system::preferredLanguages(environment), languages) << name;
    EXPECT_EQ(system::localeIdentifier(environment), locale) << name;
  }
}

TEST(SystemTest, TheHomeFolderIsTheAccountsWhateverHOMESays) {
  const std::string before = getenv("HOME") ? getenv("HOME") : "";
  setenv("HOME", "/elsewhere", 1);
  EXPECT_EQ(system::homeFolder().path(), getpwuid(getuid())->pw_dir);
  EXPECT_EQ(system::environment()["HOME"], "/elsewhere");
  setenv("HOME", before.c_str(), 1);
}

TEST(SystemTest, TheSettingsFolderIgnoresARelativeVariable) {
  setenv("XDG_CONFIG_HOME", "/settings", 1);
  EXPECT_EQ(system::configFolder().path(), "/settings");
  setenv("XDG_CONFIG_HOME", "settings", 1);
  EXPECT_EQ(system::configFolder(), system::homeFolder().appending(".config"));
  unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(system::configFolder(), system::homeFolder().appending(".config"));
}

TEST(SystemTest, AVersionHasThreePartsAtMost) {
  const Table<std::string, std::string> rows = {
      {"6.6.87.2-vendor-2", "6.6.87"}, {"6.1.0-13-amd64", "6.1.0"}, {"6.12", "6.12"}, {"6.-rc1", "6"}, {"odd", ""}};
  for (const auto& [release, version] : rows) EXPECT_EQ(system::versionOf(release), version) << release;
}

TEST(SystemTest, ALineToAClosedOutputIsDropped) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const int before = dup(STDOUT_FILENO);
  dup2(ends[1], STDOUT_FILENO);
  system::printLine("first");
  char text[16] = {};
  EXPECT_EQ(read(ends[0], text, sizeof text), 6);
  close(ends[0]);
  system::printLine("second");
  close(STDOUT_FILENO);
  system::printLine("third");
  dup2(before, STDOUT_FILENO);
  close(before);
  close(ends[1]);
  EXPECT_STREQ(text, "first\n");
}

TEST(BundleTest, KeysComeFromInfoAndDamageCountsAsNone) {
  TestFolder folder;
  folder.write("Good.app/Contents/Info.json", R"({"Version":"1.2","Number":3})");
  folder.write("Damaged.app/Contents/Info.json", R"({"Version":)");
  const Bundle good(folder.url("Good.app"));
  EXPECT_EQ(good.infoString("Version"), "1.2");
  EXPECT_EQ(good.infoString("Number"), std::nullopt);
  EXPECT_EQ(good.infoString("Other"), std::nullopt);
  EXPECT_EQ(good.contents("Helpers/x").path(), folder.path("Good.app/Contents/Helpers/x"));
  EXPECT_EQ(Bundle(folder.url("Damaged.app")).infoString("Version"), std::nullopt);
  EXPECT_EQ(Bundle(folder.url("Missing.app")).infoString("Version"), std::nullopt);
  EXPECT_EQ(Bundle::main().url().path(), std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
}

}  // namespace
}  // namespace kestrelune
