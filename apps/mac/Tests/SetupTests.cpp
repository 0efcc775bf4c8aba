#include "Setup.hpp"

#include <deque>

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "base/Digest.hpp"
#include "base/System.hpp"

namespace kestrelune {
namespace {

constexpr const char* kCarried = "the helper that is carried";
constexpr const char* kIdle = R"(,"state":"running","tasks":{"running":0},"running":[])";
constexpr pid_t kDeadPid = 0x3fffffff;

class SetupTest : public testing::Test {
 protected:
  struct Call {
    HelperCommand command;
    double timeout;
    std::function<void(const HelperCommandResult&)> completed;
  };

  SetupTest() {
    world.folder.write("bundle/helper.mjs", kCarried);
    world.writeProgram("bundle/node");
    payload = HelperPayload{.helperURL = world.folder.url("bundle/helper.mjs"),
                            .nodeURLs = {{HelperArchitecture::arm64, world.folder.url("bundle/node")},
                                         {HelperArchitecture::x64, world.folder.url("bundle/node")}},
                            .helperVersion = "2.0",
                            .helperSHA256 = sha256(kCarried),
                            .nodeVersion = "v20.1.0"};
  }

  SetupController& make(bool dryRun = false) {
    controller = std::make_unique<SetupController>(
        world.configuration(dryRun), payload, world.outside(),
        SetupController::Reach{
            .execute =
                [this](const HelperCommand& command, double timeout, auto completed) {
                  calls.push_back({command, timeout, std::move(completed)});
                },
            .registerLoginItem =
                [this](bool isNew) { return ++(isNew ? newRegistrations : registrations), loginFailure; },
            .showError = [this](const RuntimeError& error) { errors.push_back(error.description()); }});
    controller->onFirstRun = [this] { events.emplace_back("first run"); };
    controller->onBeforeInstall = [this] { events.emplace_back("before install"); };
    controller->restartBackground = [this] { return events.emplace_back("restart"), restarts; };
    controller->onFinished = [this](std::int32_t code, const std::string& line) {
      events.push_back("finished " + std::to_string(code) + " " + line);
    };
    return *controller;
  }

  /// What runs now: its arguments, without where the helper lies.
  std::string running() const {
    if (calls.empty()) return "";
    const HelperCommand& command = calls.front().command;
    return Url::file(command.executable).lastComponent() + " " + command.arguments.back();
  }
  void complete(std::int32_t code, const std::string& line = "") {
    const Call call = calls.front();
    calls.pop_front();
    call.completed({code, line});
    world.loop.turn();
  }
  void look() {
    controller->checkForUpdates();
    world.loop.turn();
  }
  void installOld(const std::string& content = "an older helper") { world.folder.write(kHelper, content); }
  void installHelper() {
    std::filesystem::remove_all(world.folder.path("root"));
    make().setup();
    world.loop.turn();
    complete(0);
    world.folder.write("runner/in-app", "");
    events.clear();
  }

  static constexpr const char* kHelper = "root/helper/kestrelune-runner.mjs";
  World world;
  std::optional<HelperPayload> payload;
  std::deque<Call> calls;
  std::vector<std::string> events, errors;
  bool restarts = true;
  int registrations = 0, newRegistrations = 0;
  std::string loginFailure;
  std::unique_ptr<SetupController> controller;
};

using Events = std::vector<std::string>;

TEST_F(SetupTest, TheStartChoosesOneRoad) {
  // state: of a green status; empty: no status
  const Table<const char*, bool, bool, bool, bool, bool, const char*, std::string> rows = {
      {"first start", true, false, false, false, false, "", "first run"},
      {"first start, helper not yet running", true, false, false, false, false, "starting", "first run"},
      {"helper of somebody else runs", true, false, false, false, false, "running", ""},
      {"window completed: once by itself", true, true, false, false, false, "", "install"},
      {"attempted before", true, true, true, false, false, "", ""},
      {"old install is moved", true, true, true, true, false, "running", "install"},
      {"installed here, at work or not", true, true, false, false, true, "", ""},
      {"nothing carried", false, false, false, false, false, "", ""},
  };
  const auto carried = payload;
  for (const auto& [name, carries, completed, attempted, agent, inApp, state, expected] : rows) {
    std::filesystem::remove_all(world.folder.path("runner"));
    std::filesystem::remove_all(world.folder.path("root"));
    std::filesystem::remove(world.folder.path("agent.plist"));
    events.clear(), calls.clear(), world.defaults.booleans.clear();
    payload = carries ? carried : std::nullopt;
    world.defaults.setBoolean(SetupController::kWindowCompletedKey, completed);
    world.defaults.setBoolean(AutoSetupPolicy::kAttemptedKey, attempted);
    if (agent) world.folder.write("agent.plist", "");
    if (inApp) world.folder.write("runner/in-app", "");
    Snapshot snapshot;
    if (*state) snapshot = {.status = HelperStatus{.state = state}, .signal = Signal::green};
    make().start(snapshot);
    world.loop.turn();
    std::string happened;
    for (const std::string& event : events) happened += event == "before install" ? "" : event;
    if (running() == "node --in-app") happened += "install";
    EXPECT_EQ(happened, expected) << name;
    EXPECT_EQ(world.defaults.boolean(AutoSetupPolicy::kAttemptedKey), attempted || happened == "install");
  }
}

TEST_F(SetupTest, ASetupPlacesInstallsAndRegisters) {
  make().setup();
  EXPECT_TRUE(controller->busy()) << "from the first byte on";
  controller->setup();
  EXPECT_EQ(events, Events{"before install"});
  world.loop.turn();
  ASSERT_EQ(calls.size(), 1u) << "a second press does nothing";
  EXPECT_EQ(calls[0].command.arguments, (Events{world.folder.path(kHelper), "install", "--in-app"}));
  EXPECT_EQ(calls[0].command.executable, world.folder.path("root/node/current/bin/node"));
  EXPECT_EQ(calls[0].command.environment, system::environment());
  EXPECT_EQ(calls[0].timeout, 720);
  EXPECT_EQ(world.folder.read(kHelper), kCarried);
  EXPECT_TRUE(controller->runner().running());
  complete(0, "done");
  EXPECT_EQ(newRegistrations, 1) << "one that was switched off comes back";
  EXPECT_EQ(events.back(), "finished 0 done");
  EXPECT_FALSE(controller->busy());

  controller->setup();
  world.loop.turn();
  controller.reset();
  events.clear();
  complete(0);
  EXPECT_TRUE(events.empty()) << "a command may outlive it";
}

TEST_F(SetupTest, FailuresAreToldAndASecondTryWorks) {
  payload->helperSHA256 = std::string(64, '0');
  make().setup();
  world.loop.turn();
  EXPECT_EQ(events.back(), "finished -1 Kestrelune's bundled files do not match their checksum");
  EXPECT_FALSE(world.folder.has("root")) << "nothing is made for a payload that can't be trusted";

  payload->helperSHA256 = sha256(kCarried);
  loginFailure = "no login items here";
  make().setup();
  world.loop.turn();
  complete(1, "no network");
  EXPECT_EQ(events.back(), "finished 1 no network");
  EXPECT_EQ(newRegistrations, 0);
  controller->setup();
  world.loop.turn();
  complete(0);
  EXPECT_EQ(errors, Events{"no login items here"});
  EXPECT_EQ(events.back(), "finished 0 ") << "the setup counts all the same";
}

TEST_F(SetupTest, ASetupNeverTakesANewerHelperBack) {
  const Table<const char*, std::int32_t, const char*, bool> rows = {{"older", 0, "1.9", true},
                                                                    {"newer", 0, "2.0.1", false},
                                                                    {"equal", 0, "2.0.0", false},
                                                                    {"no version", 0, "beta", true},
                                                                    {"fails", 1, "9.0", true}};
  for (const auto& [name, code, version, replaced] : rows) {
    installOld();
    calls.clear();
    make().setup();
    EXPECT_EQ(running(), "kestrelune version") << name;
    EXPECT_TRUE(controller->checkingUpdate());
    complete(code, version);
    EXPECT_EQ(world.folder.read(kHelper) == kCarried, replaced) << name;
    EXPECT_EQ(running(), "node --in-app") << name;
  }
}

TEST_F(SetupTest, AnUpdateReplacesOnlyAnIdleOrDeadHelper) {
  const Table<const char*, std::string, pid_t, bool> rows = {
      {"idle", kIdle, ::getpid(), true},
      {"silent about its tasks", R"(,"state":"running")", ::getpid(), false},
      {"counter only", R"(,"state":"running","tasks":{"running":0})", ::getpid(), false},
      {"list only", R"(,"state":"running","running":[])", ::getpid(), false},
      {"busy by the list", R"(,"state":"running","tasks":{"running":0},"running":[{}])", ::getpid(), false},
      {"busy by the counter", R"(,"state":"running","tasks":{"running":1},"running":[])", ::getpid(), false},
      {"negative counter", R"(,"state":"running","tasks":{"running":-1},"running":[])", ::getpid(), false},
      {"stopped but alive", R"(,"state":"stopped","tasks":{"running":0},"running":[])", ::getpid(), false},
      {"dead, whatever it says", R"(,"state":"running","tasks":{"running":3})", kDeadPid, true},
      {"unknown process", kIdle, 0, false},
  };
  for (const auto& [name, status, pid, replaced] : rows) {
    installHelper();
    installOld();
    world.writeStatus(status, pid);
    make();
    look();
    if (!calls.empty()) complete(0, "1.0");
    EXPECT_EQ(world.folder.read(kHelper) == kCarried, replaced) << name;
    EXPECT_EQ(events, replaced ? Events{"restart"} : Events{}) << name;
    EXPECT_FALSE(controller->busy()) << name;
  }
}

TEST_F(SetupTest, ANewerHelperIsAskedOnlyOnce) {
  installHelper();
  installOld("a helper that updated itself");
  world.writeStatus(kIdle);
  make();
  for (int round = 0; round < 3; ++round) {
    look();
    ASSERT_EQ(calls.size(), round == 0 ? 1u : 0u);
    if (round == 0) complete(0, "3.0");
    EXPECT_FALSE(controller->busy());
  }
  EXPECT_EQ(world.folder.read(kHelper), "a helper that updated itself");
  installOld();
  look();
  EXPECT_EQ(calls.size(), 1u) << "what it told was the version of another file";
}

TEST_F(SetupTest, AHelperThatChangesUnderItsHandsIsLeftAlone) {
  installHelper();
  installOld();
  world.writeStatus(kIdle);
  make();
  look();
  installOld("something else by now");
  complete(0, "1.0");
  EXPECT_EQ(world.folder.read(kHelper), "something else by now");
  look();
  std::filesystem::remove(world.folder.path("runner/in-app"));
  complete(0, "1.0");
  EXPECT_EQ(world.folder.read(kHelper), "something else by now") << "an install that has gone";
  installOld();
  look();
  EXPECT_TRUE(events.empty() && calls.empty()) << "without one nothing is looked for";
}

TEST_F(SetupTest, AnUpdateGoesTheWayOfTheInstall) {
  installHelper();
  installOld();
  world.writeStatus(kIdle);
  restarts = false;
  make();
  look();
  complete(0, "1.0");
  EXPECT_EQ(calls[0].command.arguments.front(), "kickstart");
  EXPECT_TRUE(controller->busy());
  complete(3, "no such service");
  EXPECT_EQ(events.back(), "finished 3 no such service");

  events.clear();
  installOld();
  payload->nodeVersion = "v22.0.0";
  make();
  look();
  complete(0, "1.0");
  EXPECT_EQ(events, Events{"before install"}) << "a new runtime needs the helper's own install";
  EXPECT_EQ(running(), "node --in-app");
  complete(0);
  EXPECT_EQ(registrations, 1) << "an update is no new setup";
}

TEST_F(SetupTest, ATaskThatBeginsWhileAnUpdateIsPlacedIsNotCutOff) {
  installHelper();
  installOld();
  world.writeStatus(kIdle);
  make();
  look();
  calls.front().completed({0, "1.0"});
  calls.clear();
  world.writeStatus(R"(,"state":"running","tasks":{"running":1},"running":[])");
  for (int round = 0; round < 2; ++round) look();
  EXPECT_EQ(world.folder.read(kHelper), kCarried);
  EXPECT_TRUE(events.empty());
  world.writeStatus(kIdle);
  for (int round = 0; round < 2; ++round) look();
  EXPECT_EQ(events, Events{"restart"}) << "once, when it is idle";
}

TEST_F(SetupTest, ADryRunTouchesNothing) {
  make(true).start({});
  controller->checkForUpdates();
  controller->setup();
  controller->setup();
  world.loop.turn();
  EXPECT_EQ(world.lines, (Events{"DRY_RUN setup", "DRY_RUN setup"}));
  EXPECT_TRUE(calls.empty());
  EXPECT_FALSE(world.folder.has("root"));
  EXPECT_FALSE(controller->hasAgent());
}

}  // namespace
}  // namespace kestrelune
