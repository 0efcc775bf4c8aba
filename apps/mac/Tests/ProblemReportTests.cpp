#include "ProblemReport.hpp"

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"

namespace kestrelune {
namespace {

using Strings = std::vector<std::string>;

HelperStatus statusWith(const std::vector<HostApp>& apps) { return {.apps = apps}; }
const HelperStatus kBoth = statusWith({{.host = "codex", .state = "ready"}, {.host = "claude"}});

TEST(ProblemPlan, OnlyUsableApplicationsCheck) {
  const auto apps = [](std::vector<HostApp> list) {
    return ProblemPlan::apps(HelperStatus{.schemaVersion = 1, .apps = std::move(list)});
  };
  using Names = std::vector<std::string>;
  EXPECT_EQ(ProblemPlan::apps(std::nullopt), Names{});
  EXPECT_EQ(apps({{.host = "claude"}, {.host = "cursor"}, {.host = "codex", .state = "ready"}}),
            (Names{"codex", "claude"}));
  EXPECT_EQ(apps({{.host = "codex", .state = "signed_out"}, {.host = "claude", .state = "ready"}}), Names{"claude"});
  EXPECT_EQ(apps({{.host = "codex", .state = "ready", .power = "off"}}), Names{});
  EXPECT_EQ(apps({{.host = "codex", .state = "usage_limited"}, {.host = "codex", .state = "ready"}}), Names{})
      << "the first record of an application counts";
}

TEST(ProblemPlan, ArgumentsCarryNoTextOfTheUser) {
  using List = std::vector<std::string>;
  EXPECT_EQ(ProblemPlan::arguments("claude", " it broke\n", true),
            (List{"report-problem", "--lang", "de", "--app", "claude", "--note-stdin"}));
  EXPECT_EQ(ProblemPlan::arguments("cursor", " \n\t", false), (List{"report-problem", "--lang", "en"}));
  EXPECT_EQ(ProblemPlan::note(" " + std::string(700, 'x')).size(), 600u);
}

TEST(ProblemPlan, AReportNeverLeadsOutOfTheReportsFolder) {
  const Url reports = Url::file("/a/reports");
  const auto folder = [&](const char* path) {
    const auto found = ProblemPlan::reportFolder(ProblemRecord{.folder = path}, reports);
    return found ? found->path() : std::string("none");
  };
  EXPECT_EQ(folder("/a/reports/x"), "/a/reports/x");
  EXPECT_EQ(folder("/a/reports/./x/"), "/a/reports/x");
  for (const char* path :
       {"/a/reports", "/a/reports/x/../../y", "/a/reports2/x", "a/reports/x", "", "/etc", "/a/reports/../etc"}) {
    EXPECT_EQ(folder(path), "none") << path;
  }
  EXPECT_FALSE(ProblemPlan::reportFolder(std::nullopt, reports));
  EXPECT_FALSE(ProblemPlan::reportFolder(ProblemRecord{.folder = "reports/x"}, Url::file("reports"))) << "no full path";
}

TEST(ProblemPlan, ARecordOfTheLimitCountsAsNone) {
  const std::string start = R"({"state":"done","answer":")", end = "\"}";
  const auto sized = [&](std::size_t size) { return start + std::string(size - start.size() - end.size(), 'x') + end; };
  EXPECT_TRUE(ProblemPlan::decode(sized(65535)));
  EXPECT_FALSE(ProblemPlan::decode(sized(65536)));
  EXPECT_FALSE(ProblemPlan::decode(R"({"pid":3000000000})"));
}

struct ProblemReportTest : testing::Test, World {
  ProblemReportTest() { writeProgram("root/bin/kestrelune"); }
  void writeRecord(const std::string& record) const { folder.write("runner/reports/latest.json", record); }
  std::string started() const { return tasks.children.empty() ? "" : tasks.commandLine(tasks.children.size() - 1); }

  ActionRunner actions{false, actionReach()};
  Notifications notifications{false, actions, {loop, session.notifications(), defaults, nullptr}};
  ProblemReporter problems{configuration(), outside(), actions, notifications};
  const Snapshot snapshot{.status = kBoth};
  const std::string running = R"({"state":"running","pid":)" + std::to_string(::getpid()) + "}";
};

TEST_F(ProblemReportTest, TheAnswerDecidesWhoChecksAndCancelStartsNothing) {
  const Table<const char*, std::optional<HelperStatus>, Strings, int, const char*, const char*> rows = {
      {"first", kBoth, {"Check it", "Check with Claude Code", "Cancel"}, 0, " why? ", "en --app codex --note-stdin"},
      {"second", kBoth, {"Check it", "Check with Claude Code", "Cancel"}, 1, " \n", "en --app claude"},
      {"cancel of three", kBoth, {"Check it", "Check with Claude Code", "Cancel"}, 2, "why?", ""},
      {"cancel of two", statusWith({{.host = "claude"}}), {"Check it", "Cancel"}, 1, "why?", ""},
      {"closed", kBoth, {"Check it", "Check with Claude Code", "Cancel"}, -1, "why?", ""},
      {"nobody is ready", std::nullopt, {"Check it", "Cancel"}, 0, "", "en"},
  };
  for (const auto& [name, status, buttons, button, note, arguments] : rows) {
    tasks.children.clear();
    session.alert().answers.push_back({button, note});
    ProblemReporter reporter(configuration(), outside(), actions, notifications);
    reporter.start({.status = status});
    loop.turn();
    EXPECT_EQ(session.alert().asked.back().buttons, buttons) << name;
    const std::string tool = folder.path("root/bin/kestrelune") + " report-problem --lang ";
    EXPECT_EQ(started(), *arguments ? tool + arguments : "") << name;
  }
}

TEST_F(ProblemReportTest, OneCheckAtATimeWhoeverStartedIt) {
  writeRecord(running);
  problems.start(snapshot);
  EXPECT_TRUE(session.alert().asked.empty());
  writeRecord(R"({"state":"running","pid":1073741823})");
  problems.start(snapshot);
  EXPECT_TRUE(session.alert().isOpen()) << "one that died without saying so";
  writeRecord(running);
  session.alert().answer({0, ""});
  loop.turn();
  EXPECT_EQ(started(), "") << "another one began while the question stood open";
}

TEST_F(ProblemReportTest, TheNoteIsPassedAndTheAnswerAnnounced) {
  int changes = 0;
  problems.onChange = [&] { ++changes; };
  session.alert().answers.push_back({0, std::string(700, 'n')});
  problems.start(snapshot);
  loop.pass(1);
  ASSERT_EQ(tasks.children.size(), 1u);
  EXPECT_EQ(tasks.children[0]->request.input, std::string(600, 'n'));
  EXPECT_EQ(changes, 1) << "so that the menu shows what the helper has written by now";
  EXPECT_EQ(problems.running(), ProblemRecord{.state = "running"}) << "its file isn't there yet";
  writeRecord(R"({"state":"done","app":"Codex","answer":"All\nis )" + std::string(300, 'w') + "\"}");
  tasks.end(0, {});
  loop.turn();
  EXPECT_FALSE(problems.running());
  ASSERT_EQ(session.notifications().delivered.size(), 1u);
  EXPECT_EQ(session.notifications().delivered[0].title, "Codex checked the problem");
  EXPECT_EQ(session.notifications().delivered[0].body, "All is " + std::string(213, 'w'));
}

TEST_F(ProblemReportTest, AHelperThatIsNotThereIsTold) {
  systemFiles().unlink(folder.path("root/bin/kestrelune"));
  session.alert().answers.push_back({0, ""});
  problems.start(snapshot);
  loop.turn();
  EXPECT_EQ(session.alert().asked.back().text,
            "The action could not be completed: Kestrelune is not set up on this Mac yet.");
}

}  // namespace
}  // namespace kestrelune
