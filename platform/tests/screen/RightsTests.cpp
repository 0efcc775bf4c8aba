#include "screen/Rights.hpp"

#include "Fakes/Confined.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

TEST(ScreenRights, TheDisplayIsLeftAndNeitherTheHelperNorTheNetworkNorAChild) {
  const TestFolder home;
  home.write(".kestrelune/status.json", "{}");
  home.write(".config/other/token", "secret");
  home.write(".config/gtk-3.0/settings.ini", "");
  home.write("brought/icons/theme", "");
  const confined::Listener elsewhere;
  const Environment environment = {{"DISPLAY", ":0"}, {"XDG_DATA_DIRS", "/usr/share:" + home.path("brought")}};
  const auto left = [&] { return confineScreen(environment, home.path(), "/nowhere"); };
  const bool fenced = landlock::version() >= 1;
  EXPECT_EQ(confined::fates(left, home.path(".kestrelune/status.json"), elsewhere),
            (std::array{fenced ? EACCES : 0, EAFNOSUPPORT, EPERM, EPERM}));
  const auto reading = [&](const char* name) {
    return confined::fate(left, [path = home.path(name)] { return open(path.c_str(), O_RDONLY) < 0 ? errno : 0; });
  };
  EXPECT_EQ(reading(".config/other/token"), fenced ? EACCES : 0);
  EXPECT_EQ(reading(".config/gtk-3.0/settings.ini"), 0);
  EXPECT_EQ(reading("brought/icons/theme"), 0);
  EXPECT_EQ(confined::fate(left, [] { return fork() < 0 ? errno : 0; }), EPERM);
  EXPECT_EQ(confined::fate(left, [] { return socket(AF_UNIX, SOCK_STREAM, 0) < 0; }), 0);
}

TEST(ScreenRights, OnlyADisplayElsewhereNeedsTheNetwork) {
  const Table<const char*, std::vector<std::uint16_t>> rows = {
      {":0", {}},     {"unix:3.0", {}},      {"/tmp/x:0", {}},           {"", {}},
      {"broken", {}}, {"far.example:x", {}}, {"localhost:10.0", {6010}}, {"far.example:1", {6001}}};
  for (const auto& [display, ports] : rows)
    EXPECT_EQ(screenRights({{"DISPLAY", display}}, "/home", "/app").openings.ports, ports) << display;
}

}  // namespace
}  // namespace kestrelune
