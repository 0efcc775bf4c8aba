#include "AppUpdate.hpp"

#include <deque>

#include "AppUpdateTimes.hpp"
#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "base/Digest.hpp"

namespace kestrelune {
namespace {

constexpr const char* kArchive = "the archive";
constexpr const char* kTeam = "ABCDE12345";
constexpr std::int64_t kInstalled = 41, kOffered = 42;

class AppUpdateTest : public testing::Test {
 protected:
  struct Call {
    HelperCommand command;
    double timeout;
    std::function<void(const HelperCommandResult&)> completed;
  };

  AppUpdateTest() {
    putApp("apps/Kestrelune.app", kInstalled);
    world.folder.write("apps/Kestrelune.app/Contents/Helpers/open", "open");
    world.folder.write("apps/Kestrelune.app/Contents/Helpers/move", "move");
  }

  void putApp(const std::string& path, std::int64_t build, const std::string& version = "2.0",
              const std::string& identifier = "com.kestrelune.menu") const {
    world.folder.write(path + "/Contents/Info.json", Json(Json::Object{{"CFBundleIdentifier", identifier},
                                                                       {"CFBundleShortVersionString", version},
                                                                       {"CFBundleVersion", std::to_string(build)}})
                                                         .write());
  }
  std::int64_t buildAt(const std::string& path) const {
    const auto app = InstalledApp::from(Bundle(world.folder.url(path)));
    return app ? app->build : 0;
  }

  AppSelfUpdater& make(bool dryRun = false, bool runsTests = false) {
    Outside outside = world.outside();
    outside.bundle = Bundle(world.folder.url(place));
    outside.execute = [this](const HelperCommand& command, double timeout, auto completed) {
      calls.push_back({command, timeout, std::move(completed)});
    };
    outside.signature = {.runningTeam = [this] { return team; },
                         .satisfies =
                             [this](const Url& app, const std::string& requirement) {
                               judged.push_back(app.lastComponent() + "|" + requirement);
                               return satisfies(app);
                             }};
    actions = std::make_unique<ActionRunner>(dryRun, world.actionReach());
    notifications = std::make_unique<Notifications>(
        dryRun, *actions,
        Notifications::Reach{world.loop, world.session.notifications(), world.defaults, outside.output});
    updater = std::make_unique<AppSelfUpdater>(world.configuration(dryRun), outside, *notifications, runsTests);
    updater->appBusy = [this] { return busy; };
    updater->start();
    world.loop.turn();
    return *updater;
  }

  Json manifest(std::int64_t build = kOffered) const {
    return Json::Object{{"schemaVersion", 1},
                        {"version", "2.1"},
                        {"build", build},
                        {"url", "https://kestrelune.example/download/Kestrelune-42.zip"},
                        {"sha256", sha256(kArchive)},
                        {"size", static_cast<std::int64_t>(std::string(kArchive).size())},
                        {"minimumSystemVersion", "1.0"}};
  }

  // The road of an update, one step each.
  void passToCheck() { world.loop.pass(AppUpdateTimes::kFirstCheck); }
  void answerManifest(const Json& json) {
    world.http.answer(world.http.asked.size() - 1, HttpResponse{200, json.write()});
    world.loop.turn();
  }
  void answerDownload(const std::string& archive = kArchive, int status = 200) {
    const auto& asked = world.http.asked.back();
    std::ofstream(asked.file) << archive;
    world.http.answer(world.http.asked.size() - 1, HttpResponse{status, ""});
    world.loop.turn();
  }
  void completeCall(std::int32_t code, const std::string& line = "") {
    const Call call = calls.back();
    call.completed({code, line});
    world.loop.turn();
  }
  void toDownload() {
    passToCheck();
    answerManifest(manifest());
  }
  void toUnpack() {
    toDownload();
    answerDownload();
  }
  void toAssess() {
    toUnpack();
    putApp("root/app-update/staged-42/Kestrelune.app", kOffered, "2.1");
    completeCall(0);
  }
  void toReady() {
    busy = true;
    toAssess();
    completeCall(0, "source=Notarized Developer ID \n");
  }

  bool asksForManifest() {
    const std::size_t before = world.http.asked.size();
    world.loop.pass(AppUpdateTimes::kCheckPeriod);
    return world.http.asked.size() > before;
  }
  std::string tool(const char* name) const { return world.folder.path("apps/Kestrelune.app/Contents/Helpers/") + name; }
  std::string state() const { return world.folder.read("root/app-update/state.json"); }
  void writeState(const std::string& json) const { world.folder.write("root/app-update/state.json", json); }

  World world;
  std::optional<std::string> team = kTeam;
  std::function<bool(const Url&)> satisfies = [](const Url&) { return true; };
  bool busy = false;
  std::string place = "apps/Kestrelune.app";
  std::vector<Call> calls;
  std::vector<std::string> judged;
  std::unique_ptr<ActionRunner> actions;
  std::unique_ptr<Notifications> notifications;
  std::unique_ptr<AppSelfUpdater> updater;
};

using Phase = AppSelfUpdater::Phase;

TEST_F(AppUpdateTest, GoesFromCheckToSwapAndQuits) {
  auto& made = make();
  EXPECT_EQ(judged,
            std::vector<std::string>{"Kestrelune.app|" + *AppUpdatePolicy::requirement("com.kestrelune.menu", kTeam)});
  world.loop.pass(AppUpdateTimes::kFirstCheck - 1);
  EXPECT_TRUE(world.http.asked.empty());
  world.loop.pass(1);
  ASSERT_EQ(world.http.asked.size(), 1u);
  EXPECT_EQ(world.http.asked[0].request.url.text(), "https://kestrelune.example/download/Kestrelune-mac.json");
  EXPECT_EQ(made.phase(), Phase::checking);

  answerManifest(manifest());
  EXPECT_EQ(made.phase(), Phase::downloading);
  EXPECT_EQ(world.http.asked[1].request.limit, 11);
  answerDownload();
  const std::string update = world.folder.path("root/app-update");
  EXPECT_EQ(calls.back().command.executable, tool("ditto"));
  EXPECT_EQ(calls.back().command.arguments,
            (std::vector<std::string>{"-x", "-k", update + "/Kestrelune-42.zip", update + "/staged-42"}));
  const std::string staged = "root/app-update/staged-42/Kestrelune.app";
  putApp(staged, kOffered, "2.1");
  completeCall(0);
  EXPECT_FALSE(world.folder.has("root/app-update/Kestrelune-42.zip"));
  EXPECT_EQ(judged.size(), 2u);
  EXPECT_EQ(calls.back().command.executable, tool("spctl"));
  EXPECT_EQ(calls.back().command.arguments,
            (std::vector<std::string>{"--assess", "--type", "execute", "-v", world.folder.path(staged)}));

  busy = true;
  completeCall(0, "source=Notarized Developer ID");
  EXPECT_EQ(made.phase(), Phase::ready);
  EXPECT_FALSE(asksForManifest());
  busy = false;
  world.loop.pass(AppUpdateTimes::kQuietPeriod);
  EXPECT_EQ(made.phase(), Phase::installing);
  EXPECT_EQ(buildAt("apps/Kestrelune.app"), kOffered);
  EXPECT_EQ(buildAt("root/app-update/previous-41.app"), kInstalled);
  EXPECT_TRUE(world.loop.stopped());
  EXPECT_TRUE(world.tasks.children[0]->request.detached) << "goes on whatever befalls this session";
  EXPECT_EQ(world.tasks.commandLine(0), "/bin/sh " + update + "/watchdog.sh 4711 " +
                                            world.folder.path("apps/Kestrelune.app") + " " + update +
                                            "/previous-41.app " + update + " 42");
  EXPECT_EQ(world.folder.read("root/app-update/watchdog.sh"),
            AppUpdatePolicy::watchdog(AppUpdateTimes::kWatchdogRounds));
  EXPECT_EQ(world.folder.read("root/app-update/open"), "open");
}

TEST_F(AppUpdateTest, NothingIsAskedWithAnyGateShut) {
  const struct {
    const char* name;
    std::function<void()> shut;
    bool dryRun = false, runsTests = false;
  } rows[] = {
      {"a dry run", [] {}, true, false},
      {"under tests", [] {}, false, true},
      {"switched off", [this] { world.defaults.setBoolean(AppSelfUpdater::kOffKey, true); }},
      {"no team", [this] { team.reset(); }},
      {"an impossible team", [this] { team = "abc"; }},
      {"a changed installation", [this] { satisfies = [](const Url&) { return false; }; }},
      {"no build", [this] { putApp("apps/Kestrelune.app", 0); }},
  };
  for (const auto& row : rows) {
    team = kTeam;
    satisfies = [](const Url&) { return true; };
    world.defaults.setBoolean(AppSelfUpdater::kOffKey, false);
    putApp("apps/Kestrelune.app", kInstalled);
    make();
    EXPECT_TRUE(asksForManifest()) << row.name;
    row.shut();
    make(row.dryRun, row.runsTests);
    EXPECT_FALSE(asksForManifest()) << row.name;
  }
}

TEST_F(AppUpdateTest, AnUnwantedManifestLeadsBackToIdle) {
  const auto with = [this](const char* key, Json value) {
    Json json = manifest();
    json.set(key, std::move(value));
    return HttpResponse{200, json.write()};
  };
  const Table<const char*, std::optional<HttpResponse>> rows = {
      {"no response", std::nullopt},
      {"another status", HttpResponse{404, manifest().write()}},
      {"no manifest", HttpResponse{200, "<html>"}},
      {"the installed build", with("build", kInstalled)},
      {"the build that was rolled back", with("build", 50)},
  };
  writeState(R"({"schemaVersion":1,"skippedBuild":50})");
  auto& made = make();
  passToCheck();
  for (const auto& [name, response] : rows) {
    EXPECT_EQ(made.phase(), Phase::checking) << name;
    world.http.answer(world.http.asked.size() - 1, response);
    world.loop.turn();
    EXPECT_EQ(made.phase(), Phase::idle) << name;
    EXPECT_TRUE(asksForManifest()) << name;
  }
  EXPECT_FALSE(std::any_of(world.http.asked.begin(), world.http.asked.end(),
                           [](const auto& asked) { return !asked.file.empty(); }));
}

TEST_F(AppUpdateTest, AFailedFetchIsTriedAgainAndLeavesNothing) {
  const struct {
    const char* name;
    std::optional<std::string> archive;
    int status = 200, unpacked = 0;
    const char* second = nullptr;
  } rows[] = {
      {"no response", std::nullopt},           {"another status", kArchive, 404},
      {"another size", "the archive "},        {"another digest", "the archivE"},
      {"can't be unpacked", kArchive, 200, 1}, {"a second application", kArchive, 200, 0, "Other.app"},
  };
  for (const auto& row : rows) {
    auto& made = make();
    calls.clear();
    toDownload();
    if (row.archive) {
      answerDownload(*row.archive, row.status);
    } else {
      world.http.answer(world.http.asked.size() - 1, std::nullopt);
      world.loop.turn();
    }
    if (!calls.empty()) {
      for (const char* name : {"Kestrelune.app", row.second})
        if (name) putApp(std::string("root/app-update/staged-42/") + name, kOffered, "2.1");
      completeCall(row.unpacked);
    }
    EXPECT_EQ(made.phase(), Phase::idle) << row.name;
    for (const char* name : {"Kestrelune-42.zip", "Kestrelune-42.zip.part", "staged-42"})
      EXPECT_FALSE(world.folder.has(std::string("root/app-update/") + name)) << row.name << " " << name;
    EXPECT_TRUE(asksForManifest()) << row.name;
    answerManifest(manifest());
    EXPECT_EQ(made.phase(), Phase::downloading) << row.name;
  }
}

TEST_F(AppUpdateTest, WhatFailsItsProofIsRefusedForThisRun) {
  const std::string staged = "root/app-update/staged-42/Kestrelune.app";
  const struct {
    const char* name;
    std::int64_t build = kOffered;
    const char *version = "2.1", *identifier = "com.kestrelune.menu";
    bool satisfied = true;
    HelperCommandResult assessment{0, "source=Notarized Developer ID"};
  } rows[] = {
      {.name = "another build than promised", .build = kOffered + 1},
      {.name = "another version than promised", .version = "2.0"},
      {.name = "another application", .identifier = "com.other"},
      {.name = "another signature", .satisfied = false},
      {.name = "rejected by the notary", .assessment = {3, "rejected"}},
      {.name = "a failed assessment", .assessment = {1, "source=Notarized Developer ID"}},
      {.name = "accepted otherwise", .assessment = {0, "source=Developer ID"}},
  };
  for (const auto& row : rows) {
    calls.clear();
    satisfies = [&](const Url& app) { return row.satisfied || app == world.folder.url("apps/Kestrelune.app"); };
    auto& made = make();
    toUnpack();
    putApp(staged, row.build, row.version, row.identifier);
    completeCall(0);
    if (calls.size() == 2) completeCall(row.assessment.code, row.assessment.lastLine);
    EXPECT_EQ(made.phase(), Phase::idle) << row.name;
    EXPECT_FALSE(world.folder.has("root/app-update/staged-42")) << row.name;
    EXPECT_TRUE(asksForManifest());
    answerManifest(manifest());
    EXPECT_EQ(made.phase(), Phase::idle) << row.name;
    EXPECT_TRUE(asksForManifest());
    answerManifest(manifest(kOffered + 1));
    EXPECT_EQ(made.phase(), Phase::downloading) << row.name << ": a newer build is no such";
  }
}

TEST_F(AppUpdateTest, ReportsInAndConfirmsAfterTenSeconds) {
  const double now = world.clock.now().seconds;
  const auto pending = [&](std::int64_t to, double ago) {
    return R"({"pending":{"fromBuild":40,"startedAt":)" + Json(now - ago).write() + R"(,"toBuild":)" +
           std::to_string(to) + R"(},"schemaVersion":1)";
  };
  const Table<const char*, std::string, std::string, std::string, bool> rows = {
      {"its own build", pending(kInstalled, 5) + "}", "", R"({"schemaVersion":1})", true},
      {"its own build, long after", pending(kInstalled, 9999) + "}", "", R"({"schemaVersion":1})", true},
      {"another build, lately", pending(50, 600) + "}", "", pending(50, 600) + "}", false},
      {"another build, long ago", pending(50, 601) + "}", "", R"({"schemaVersion":1})", false},
      {"rolled back", pending(50, 5) + "}", "50\n", R"({"schemaVersion":1,"skippedBuild":50})", false},
      {"rolled back wins", pending(kInstalled, 5) + "}", "50", R"({"schemaVersion":1,"skippedBuild":50})", false},
      {"a damaged mark", R"({"schemaVersion":1})", "x", R"({"schemaVersion":1})", false},
      {"a damaged state", "{", "", R"({"schemaVersion":1})", false},
      {"another format", R"({"schemaVersion":2,"skippedBuild":50})", "", R"({"schemaVersion":1})", false},
  };
  world.defaults.setBoolean(AppSelfUpdater::kOffKey, true);  // confirms all the same
  for (const auto& [name, before, rolledBack, after, confirms] : rows) {
    std::filesystem::remove_all(world.folder.path("root/app-update"));
    world.clock.set({now});
    writeState(before);
    if (!rolledBack.empty()) world.folder.write("root/app-update/rolled-back", rolledBack);
    for (const char* left : {"staged-41/x", "previous-40.app/x", ".moving-previous-40.app/x", ".placing-A"})
      world.folder.write(std::string("root/app-update/") + left, "");
    make();
    EXPECT_EQ(state(), after) << name;
    for (const char* gone : {"rolled-back", ".placing-A"})
      EXPECT_FALSE(world.folder.has(std::string("root/app-update/") + gone)) << name;
    world.loop.pass(AppUpdateTimes::kConfirmation - 0.1);
    EXPECT_FALSE(world.folder.has("root/app-update/confirmed-41")) << name;
    world.loop.pass(0.1);
    EXPECT_EQ(world.folder.has("root/app-update/confirmed-41"), confirms) << name;
    EXPECT_NE(world.folder.has("root/app-update/staged-41"), confirms) << name;
    EXPECT_TRUE(world.folder.has("root/app-update/previous-40.app")) << name << ": the script's";
    world.loop.pass(60);
    EXPECT_NE(world.folder.has("root/app-update/previous-40.app"), confirms) << name << ": the script is gone";
    world.loop.pass(600);
    for (const char* stale : {"previous-40.app", ".moving-previous-40.app"})
      EXPECT_EQ(world.folder.has(std::string("root/app-update/") + stale), after.find("pending") != after.npos);
  }
  std::filesystem::remove_all(world.folder.path("root/app-update"));
  make(true);
  EXPECT_FALSE(world.folder.has("root/app-update")) << "a dry run touches nothing";
}

TEST_F(AppUpdateTest, AnotherCompanionIsLeftToItsWork) {
  std::filesystem::create_directories(world.folder.path("root/app-update"));
  const auto other = AppUpdateFiles(systemFiles(), world.folder.url("root/app-update")).claim();
  ASSERT_TRUE(other);
  auto& made = make();
  toDownload();
  EXPECT_EQ(made.phase(), Phase::idle);
}

TEST_F(AppUpdateTest, ALinkIsNoApplication) {
  world.folder.write("staged/__MACOSX/a", "");
  std::filesystem::create_directory_symlink("__MACOSX", world.folder.path("staged/Kestrelune.app"));
  EXPECT_FALSE(AppUpdateFiles(systemFiles(), world.folder.url()).singleApp(world.folder.url("staged")));
}

}  // namespace
}  // namespace kestrelune
