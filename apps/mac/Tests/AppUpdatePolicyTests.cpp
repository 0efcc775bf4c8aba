#include "AppUpdatePolicy.hpp"

#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

const std::string kHost = KESTRELUNE_SERVICE_HOST;

AppRelease goodRelease() {
  return {.schemaVersion = 1,
          .version = "2.0",
          .build = 20,
          .url = "https://" + kHost + "/download/Kestrelune-20.zip",
          .sha256 = std::string(64, 'a'),
          .size = 1000,
          .minimumSystemVersion = "1.2"};
}

TEST(AppUpdatePolicy, OnlyAFaultlessReleaseMayBeDownloaded) {
  const Table<const char*, std::function<void(AppRelease&)>, bool> rows = {
      {"good", [](AppRelease&) {}, true},
      {"another format", [](AppRelease& r) { r.schemaVersion = 2; }, false},
      {"no build", [](AppRelease& r) { r.build = 0; }, false},
      {"empty version", [](AppRelease& r) { r.version = ""; }, false},
      {"longest version", [](AppRelease& r) { r.version = std::string(32, '1'); }, true},
      {"longer version", [](AppRelease& r) { r.version = std::string(33, '1'); }, false},
      {"empty archive", [](AppRelease& r) { r.size = 0; }, false},
      {"largest archive", [](AppRelease& r) { r.size = 1073741824; }, true},
      {"larger archive", [](AppRelease& r) { r.size = 1073741825; }, false},
      {"digest in capitals", [](AppRelease& r) { r.sha256 = std::string(64, 'A'); }, true},
      {"short digest", [](AppRelease& r) { r.sha256.pop_back(); }, false},
      {"full-width digit in the digest", [](AppRelease& r) { r.sha256 = std::string(61, 'a') + "１"; }, false},
      {"bad minimum", [](AppRelease& r) { r.minimumSystemVersion = "1."; }, false},
      {"http", [](AppRelease& r) { r.url = "http://" + kHost + "/a.zip"; }, false},
      {"scheme in capitals", [](AppRelease& r) { r.url = "HTTPS://" + kHost + "/a.zip"; }, false},
      {"host in capitals", [](AppRelease& r) { r.url = "https://KESTRELUNE.EXAMPLE/a.zip"; },
       kHost == "kestrelune.example"},
      {"another host", [](AppRelease& r) { r.url = "https://" + kHost + ".evil.example/a.zip"; }, false},
      {"host as user", [](AppRelease& r) { r.url = "https://" + kHost + "@evil.example/a.zip"; }, false},
      {"user", [](AppRelease& r) { r.url = "https://me@" + kHost + "/a.zip"; }, false},
      {"password", [](AppRelease& r) { r.url = "https://:x@" + kHost + "/a.zip"; }, false},
      {"standard port", [](AppRelease& r) { r.url = "https://" + kHost + ":443/a.zip"; }, false},
      {"extension in capitals", [](AppRelease& r) { r.url = "https://" + kHost + "/a.ZIP"; }, false},
      {"extension in the query", [](AppRelease& r) { r.url = "https://" + kHost + "/a?b.zip"; }, false},
      {"no address", [](AppRelease& r) { r.url = ""; }, false},
  };
  for (const auto& [name, change, admitted] : rows) {
    AppRelease release = goodRelease();
    change(release);
    EXPECT_EQ(AppUpdatePolicy::download(release).has_value(), admitted) << name;
  }
}

TEST(AppUpdatePolicy, AReleaseIsWantedWhenNewerAndRunnable) {
  const InstalledApp installed{.build = 19};
  const AppUpdatePolicy::SystemVersion system{1, 2, 0};
  AppRelease release = goodRelease();
  EXPECT_TRUE(AppUpdatePolicy::wants(release, installed, std::nullopt, system));
  EXPECT_TRUE(AppUpdatePolicy::wants(release, installed, 18, system));
  EXPECT_FALSE(AppUpdatePolicy::wants(release, installed, 20, system)) << "rolled back before";
  EXPECT_FALSE(AppUpdatePolicy::wants(release, {.build = 20}, std::nullopt, system));
  EXPECT_FALSE(AppUpdatePolicy::wants(release, installed, std::nullopt, {1, 1, 99}));
  release.version = "0.1";
  EXPECT_TRUE(AppUpdatePolicy::wants(release, installed, std::nullopt, {2, 0, 0})) << "only the build counts";
}

TEST(AppUpdatePolicy, SystemVersionsAreOneToThreeNumbers) {
  using Version = AppUpdatePolicy::SystemVersion;
  EXPECT_EQ(AppUpdatePolicy::systemVersion("14"), (Version{14, 0, 0}));
  EXPECT_EQ(AppUpdatePolicy::systemVersion("14.1.2"), (Version{14, 1, 2}));
  for (const char* bad :
       {"", ".", "14.", ".1", "14..1", "1.2.3.4", "-1", "1.-2", "1.x", "1 ", "99999999999999999999"}) {
    EXPECT_FALSE(AppUpdatePolicy::systemVersion(bad)) << bad;
  }
}

TEST(AppUpdatePolicy, ARequirementHoldsNothingThatCouldEndItsQuotes) {
  EXPECT_EQ(AppUpdatePolicy::requirement("com.kestrelune.menu", "AB12345678"),
            "anchor apple generic and identifier \"com.kestrelune.menu\" and certificate "
            "1[field.1.2.840.113635.100.6.2.6] exists and certificate leaf[field.1.2.840.113635.100.6.1.13] exists and "
            "certificate leaf[subject.OU] = \"AB12345678\"");
  for (const auto& [identifier, team] : {std::pair{"a\"b", "AB12345678"},
                                         {"a b", "AB12345678"},
                                         {"", "AB12345678"},
                                         {"a", "AB1234567"},
                                         {"a", "ab12345678"},
                                         {"a", "AB123\" or 1"}}) {
    EXPECT_FALSE(AppUpdatePolicy::requirement(identifier, team)) << identifier << " " << team;
  }
}

TEST(AppUpdatePolicy, QuietIsWhatIsKnownToBeIdle) {
  const auto counted = [](int running) { return HelperStatus{.tasks = TaskCount{.running = running}}; };
  HelperStatus listed = counted(0);
  listed.running = std::vector<RunningTask>(1);
  const Table<const char*, Snapshot, bool> rows = {
      {"idle", {.status = counted(0)}, true},
      {"nothing said", {.status = HelperStatus{}}, true},
      {"counted", {.status = counted(2)}, false},
      {"listed", {.status = listed}, false},
      {"negative", {.status = counted(-1)}, true},
      {"no status", {}, false},
      {"missing", {.issue = StatusIssue::missing}, true},
      {"dead", {.issue = StatusIssue::invalidPID}, true},
      {"stopped, though tasks are counted", {.status = counted(2), .issue = StatusIssue::stopped}, true},
      {"disconnected", {.issue = StatusIssue::disconnected}, true},
      {"unreadable", {.issue = StatusIssue::unreadable}, false},
      {"outdated", {.status = counted(0), .issue = StatusIssue::outdated}, false},
      {"unsupported", {.status = counted(0), .issue = StatusIssue::unsupported}, false},
  };
  for (const auto& [name, snapshot, quiet] : rows) {
    EXPECT_EQ(AppUpdatePolicy::quiet(snapshot, false), quiet) << name;
    EXPECT_FALSE(AppUpdatePolicy::quiet(snapshot, true)) << name;
  }
}

}  // namespace
}  // namespace kestrelune
