#include "Update.hpp"

#include "Fakes/FakeFiles.hpp"
#include "Fakes/FakeLoop.hpp"
#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

constexpr const char* kProgressPath = "/root/runner/update-all.json";

struct AppsUpdaterTest : testing::Test {
  struct Run {
    HelperCommand command;
    double timeout = 0;
    std::function<void(const HelperCommandResult&)> completed;
  };

  std::unique_ptr<AppsUpdater> make(bool dryRun = false) {
    Configuration configuration;
    configuration.statusURL = Url::file("/root/runner/status.json");
    configuration.helperRoot = Url::file("/root");
    configuration.dryRun = dryRun;
    const auto execute = [this](const HelperCommand& command, double timeout, auto completed) {
      runs.push_back({command, timeout, completed});
    };
    auto updater = std::make_unique<AppsUpdater>(configuration, files, clock, execute,
                                                 [this](const std::string& line) { events.push_back(line); });
    updater->onChange = [this, made = updater.get()] { events.push_back(made->running() ? "running" : "ended"); };
    updater->onFinished = [this](const std::string& title, const std::string& body) {
      events.push_back(title + "|" + body);
    };
    return updater;
  }

  std::string progress(const std::string& phase, double until = 60, int schema = 1, int pid = 7) const {
    return Json(Json::Object{{"schemaVersion", schema},
                             {"pid", pid},
                             {"phase", phase},
                             {"startedAt", formatIso8601(clock.now())},
                             {"until", formatIso8601(clock.now() + until)}})
        .write();
  }

  FakeClock clock;
  FakeFiles files;
  std::vector<Run> runs;
  std::vector<std::string> events;
  testing_support::English english;
};

TEST_F(AppsUpdaterTest, BelievesOnlyALivingUpdateWithinItsTime) {
  files.alive.insert(7);
  const Table<const char*, std::string, bool> rows = {
      {"updating", progress("updating"), true},
      {"waiting", progress("waiting"), true},
      {"done", progress("done"), false},
      {"another format", progress("updating", 60, 2), false},
      {"a dead process", progress("updating", 60, 1, 8), false},
      {"process id 0", progress("updating", 60, 1, 0), false},
      {"past its time", progress("updating", -1), false},
      {"at the end of its time", progress("updating", 0), false},
      {"no time", R"({"schemaVersion":1,"pid":7,"phase":"updating"})", false},
      {"damaged", progress("updating").substr(1), false},
  };
  const auto updater = make();
  EXPECT_FALSE(updater->busy());
  for (const auto& [name, content, busy] : rows) {
    files.put(kProgressPath, content);
    EXPECT_EQ(updater->busy(), busy) << name;
  }
}

TEST_F(AppsUpdaterTest, RunsOnceAndReports) {
  const auto updater = make();
  updater->start();
  updater->start();
  ASSERT_EQ(runs.size(), 1u);
  EXPECT_EQ(runs[0].command.executable, "/root/bin/kestrelune");
  EXPECT_EQ(runs[0].command.arguments, std::vector<std::string>{"update-all"});
  EXPECT_FALSE(runs[0].command.environment.empty());
  EXPECT_EQ(runs[0].timeout, 5700);

  clock.pass(30);
  files.put(kProgressPath, progress("done"));
  runs[0].completed({1, "worse"});
  EXPECT_FALSE(updater->running());
  EXPECT_EQ(events, (std::vector<std::string>{"running", "ended", "Kestrelune|No AI app was found on this Mac."}));
  updater->start();
  EXPECT_EQ(runs.size(), 2u);
}

TEST_F(AppsUpdaterTest, AnUpdateStartedElsewhereIsLeftAlone) {
  files.alive.insert(7);
  files.put(kProgressPath, progress("waiting"));
  make()->start();
  EXPECT_TRUE(runs.empty());
  EXPECT_TRUE(events.empty());
}

}  // namespace
}  // namespace kestrelune
