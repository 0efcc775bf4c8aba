#include "WindowModel.hpp"

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"

namespace kestrelune {
namespace {

namespace fs = std::filesystem;

class WindowModelTest : public testing::Test {
 protected:
  void SetUp() override {
    world.writeProgram("root/bin/kestrelune");
    make(false);
  }
  void make(bool dryRun) {
    model.reset();
    actions = std::make_unique<ActionRunner>(dryRun, world.actionReach());
    model = std::make_unique<WindowModel>(world.configuration(dryRun), world.outside(), *actions);
    model->onChange = [this] { ++changes; };
  }
  void answer(std::size_t child, const std::string& output, int status = 0) {
    world.tasks.end(child, {.status = status, .output = output});
    world.loop.turn();
  }
  bool killed(std::size_t child) const { return world.tasks.children.at(child)->signals == std::vector{SIGKILL}; }
  std::string firstTask() const { return model->state().history.empty() ? "" : model->state().history[0].taskId; }

  World world;
  std::unique_ptr<ActionRunner> actions;
  std::unique_ptr<WindowModel> model;
  int changes = 0;
};

std::string tasksAnswer(const char* id) { return R"({"tasks":[{"task_id":")" + std::string(id) + "\"}]}"; }

TEST_F(WindowModelTest, OfTwoLoadsTheLaterToFinishWinsAndMoreWaitOrEndOneThatHangs) {
  model->loadHistory();
  model->loadHistory();
  EXPECT_EQ(world.tasks.commandLine(1), world.folder.path("root/bin/kestrelune") + " tasks --json");
  EXPECT_LE(world.tasks.children[1]->request.captureLimit, 256u << 20);
  answer(1, tasksAnswer("second"));
  EXPECT_EQ(firstTask(), "second");
  answer(0, tasksAnswer("first"));
  EXPECT_EQ(firstTask(), "first");
  EXPECT_EQ(changes, 2);

  for (int i = 0; i < 1000; ++i) model->loadHistory();
  model->loadSchedules();
  ASSERT_EQ(world.tasks.children.size(), 5u) << "two of each kind are asked at a time";
  answer(2, tasksAnswer("third"));
  EXPECT_EQ(world.tasks.children.size(), 6u) << "one more for all that came meanwhile";
  world.clock.pass(11);
  model->loadHistory();
  EXPECT_TRUE(killed(3) && !killed(4) && !killed(5)) << "it hung";
  answer(3, tasksAnswer("ended, yet it came"));
  model.reset();
  EXPECT_TRUE(killed(4) && killed(5) && killed(6)) << "none outlives the window";
  answer(6, tasksAnswer("too late for anybody"));
}

TEST_F(WindowModelTest, AFailedLoadKeepsWhatWasThere) {
  model->loadHistory();
  answer(0, tasksAnswer("kept"));
  model->loadSchedules();
  answer(1, R"({"schedules":[]})");
  EXPECT_TRUE(model->state().schedules && model->state().schedules->empty()) << "none is not unknown";
  changes = 0;

  world.tasks.autoEnd = TaskEnd{.status = 0, .output = "garbage"};
  const auto loadBoth = [this](const char* why) {
    model->loadHistory();
    model->loadSchedules();
    world.loop.turn();
    EXPECT_EQ(firstTask(), "kept") << why;
    EXPECT_TRUE(model->state().schedules) << why;
    EXPECT_EQ(changes, 0) << why;
  };
  loadBoth("garbage");
  world.tasks.autoEnd = TaskEnd{.status = 1, .output = R"({"tasks":[],"schedules":[]})"};
  loadBoth("a failure that printed an answer");
  fs::remove(world.folder.path("root/bin/kestrelune"));
  loadBoth("no helper");
  make(true);
  const std::size_t before = world.tasks.children.size();
  model->loadHistory();
  model->loadSchedules();
  EXPECT_EQ(world.tasks.children.size(), before) << "a dry run asks nobody";
}

TEST_F(WindowModelTest, SchedulesChangeAfterAQuestionAndAreLoadedAnewWhateverCameOut) {
  model->schedule("erase", {.scheduleId = "a1"});
  model->schedule("pause", {.scheduleId = "a1; rm"});
  model->schedule("remove", {.scheduleId = "a1"});
  ASSERT_EQ(world.session.alert().asked.size(), 1u);
  EXPECT_EQ(world.session.alert().asked[0].title, "Remove “Schedules”?");
  world.session.alert().answer({.button = 1});
  world.loop.turn();
  EXPECT_TRUE(world.tasks.children.empty()) << "none of them was meant";

  model->schedule("pause", {.scheduleId = "a1"});
  EXPECT_EQ(world.tasks.commandLine(0), world.folder.path("root/bin/kestrelune") + " schedule pause a1");
  world.tasks.end(0, {.status = 2, .errors = " \n" + std::string(400, 'x')});
  world.loop.turn();
  ASSERT_EQ(world.session.alert().asked.size(), 2u);
  const Question& failure = world.session.alert().asked[1];
  EXPECT_NE((failure.title + failure.text).find(std::string(300, 'x')), std::string::npos);
  EXPECT_EQ((failure.title + failure.text).find(std::string(301, 'x')), std::string::npos);
  EXPECT_EQ(world.tasks.commandLine(1), world.folder.path("root/bin/kestrelune") + " schedules --json");

  model->schedule("remove", {.scheduleId = "a1", .name = "Mail"});
  world.session.alert().answer({.button = 0});
  world.session.alert().answer({.button = 0});
  world.loop.turn();
  EXPECT_EQ(world.tasks.commandLine(2), world.folder.path("root/bin/kestrelune") + " schedule remove a1");

  make(true);
  model->schedule("resume", {.scheduleId = "a1"});
  EXPECT_EQ(world.lines.back(), "DRY_RUN schedule resume a1");
}

TEST_F(WindowModelTest, ShowsAReportOnlyInsideTheReportsFolder) {
  const fs::path runner = world.folder.path("runner"), reports = runner / "reports";
  world.folder.write("runner/reports/good/report.md", "x");
  world.folder.write("runner/outside/report.md", "x");
  fs::create_directory_symlink(runner / "outside", reports / "planted");
  fs::create_directories(reports / "half");
  fs::create_symlink(runner / "outside/report.md", reports / "half/report.md");
  for (const fs::path& folder : {reports / "good", reports / "planted", reports / "half", runner / "outside"}) {
    world.folder.write("runner/reports/latest.json", R"({"state":"done","folder":")" + folder.string() + "\"}");
    model->loadProblem();
    world.session.workspace().revealed.clear();
    model->showProblemReport();
    EXPECT_EQ(!world.session.workspace().revealed.empty(), folder.filename() == "good") << folder;
  }
  world.folder.write("runner/reports/latest.json", R"({"state":)");
  model->loadProblem();
  EXPECT_FALSE(model->state().problem);
}

TEST(RowRangeTest, IsWidenedToBlocksAndNeverTrusted) {
  EXPECT_EQ(RowRange::around("0-20"), (RowRange{0, 256}));
  EXPECT_EQ(RowRange::around("130-150"), (RowRange{0, 384}));
  EXPECT_EQ(RowRange::around("5000-5020"), (RowRange{4864, 5248}));
  EXPECT_EQ(RowRange::around("0-1000000"), (RowRange{0, 1024}));
  for (const char* refused : {"20-5", "", "5", "-5", "5-x", "1-99999999999"})
    EXPECT_FALSE(RowRange::around(refused)) << refused;
}

}  // namespace
}  // namespace kestrelune
