#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Fakes/World.hpp"
#include "Menu.hpp"
#include "Strings.hpp"
#include "base/Json.hpp"

namespace kestrelune {
namespace {

/// Whether this process can write files, and open any.
class Disk {
 public:
  enum class State { works, full, noDescriptors };
  Disk() { std::signal(SIGXFSZ, SIG_IGN); }  // as the program does
  ~Disk() { setTo(State::works); }
  void setTo(State state) {
    state_ = state;
    apply(state);
  }
  bool hidesFiles() const { return state_ == State::noDescriptors; }
  /// What the world does to its files always works.
  struct Break {
    explicit Break(const Disk& held) : disk(held) { apply(State::works); }
    ~Break() { apply(disk.state_); }
    const Disk& disk;
  };

 private:
  static void apply(State state) {
    for (const auto& [what, least, is] : {std::tuple(RLIMIT_FSIZE, rlim_t{0}, State::full),
                                          std::tuple(RLIMIT_NOFILE, rlim_t{3}, State::noDescriptors)}) {
      rlimit limit{};
      getrlimit(what, &limit);
      limit.rlim_cur = state == is ? least : limit.rlim_max;
      setrlimit(what, &limit);
    }
  }
  State state_ = State::works;
};

/// The program's own classes, in a world where anything may happen next. A seed replays a run exactly.
class Simulation {
 public:
  explicit Simulation(std::uint32_t seed) : random_(seed) {
    world_.folder.write("runner/in-app", "");
    world_.folder.write("root/helper/kestrelune-runner.mjs", "");
    world_.folder.write("root/node/current/bin/node", "");
    std::filesystem::permissions(world_.folder.path("root/node/current/bin/node"), std::filesystem::perms::owner_all);
    world_.folder.write("root/bin/kestrelune", "");
    std::filesystem::permissions(world_.folder.path("root/bin/kestrelune"), std::filesystem::perms::owner_all);
    start();
  }

  void step() {
    switch (upTo(23)) {
      case 0: return writeStatus(world_.clock.now() - 600);
      case 1: return writeFile(R"({"schemaVersion":1,"pid":)");
      case 2: return removeStatus();
      case 3: return world_.clock.set(world_.clock.now() + (upTo(60) - 20) * 3600.0);
      case 4:
      case 5: return chooseInMenu();
      case 6: return answerQuestion();
      case 7:
      case 8: return endChild();
      case 9: return completeCommand(upTo(3));
      case 10: return clickNotification();
      case 11: return showAgain();
      case 12: return world_.loop.pass(upTo(40));
      case 13: return controller_->background().start();
      case 14:
        return controller_->showWindow(std::vector<std::string>{"tasks", "ais", "macs", "general"}[random_() % 4]);
      case 15:
        return controller_->showSetupWindow(
            std::vector{SetupStep::account, SetupStep::ai, SetupStep::mac}[random_() % 3]);
      case 16:
      case 17: return useWindow();
      case 18: return upTo(4) == 0 ? restart() : void();
      case 19: return disk_.setTo(static_cast<Disk::State>(upTo(3)));
      default: return writeStatus(world_.clock.now());
    }
  }

  /// What holds after each step, whatever it was.
  void check() {
    world_.loop.turn();
    controller_->refresh();
    const Disk::Break working(disk_);
    ASSERT_LE(runningHelpers(), 1) << "two helpers at a time";
    ASSERT_EQ(marks(), expectedMarks_) << "a mark was lost";
    ASSERT_EQ(errors(), expectedErrors_) << "a command ended with more or less than one message, the last being "
                                         << world_.tasks.commandLine(world_.tasks.children.size() - 1);
    ASSERT_EQ(controller_->snapshot().status.has_value(), readable_ && !disk_.hidesFiles()) << "a status was hidden";
    if (world_.folder.has("runner/menubar.json")) {
      ASSERT_NO_THROW(Json::parse(world_.folder.read("runner/menubar.json"))) << "a heartbeat was half written";
    }
    checkNotices();
  }

  /// Once all is well outside, all is well inside, however it got there.
  void recover() {
    disk_.setTo(Disk::State::works);
    endAllElse();
    if (runningHelpers() == 0) {
      ASSERT_TRUE(controller_->background().restart());
    }
    world_.loop.pass(60);
    writeStatus(world_.clock.now(), true);
    check();
    EXPECT_EQ(controller_->snapshot().signal, Signal::green);
    EXPECT_FALSE(controller_->setup().busy());
    EXPECT_EQ(runningHelpers(), 1);
    controller_->stop();
    EXPECT_FALSE(world_.folder.has("runner/menubar.json"));
  }

 private:
  void start() {
    Outside outside = world_.outside();
    outside.execute = [this](const HelperCommand&, double, const auto& completed) { commands_.push_back(completed); };
    controller_ = std::make_unique<MenuController>(world_.configuration(), std::move(outside));
    controller_->background().start();
  }
  /// Quits, or is killed; what it had asked or started tells nobody any more.
  void restart() {
    if (upTo(2) == 0) controller_->stop();
    controller_.reset();
    world_.session.windows().shown.clear();
    endAllElse();
    for (std::size_t i = 0; i < world_.tasks.children.size(); ++i) world_.tasks.end(i, {});
    world_.loop.turn();
    announced_.clear();
    start();
  }
  void endAllElse() {
    while (world_.session.alert().isOpen()) world_.session.alert().answer({}), world_.loop.turn();
    while (!commands_.empty()) completeCommand(0);
    for (std::size_t i = 0; i < world_.tasks.children.size(); ++i)
      if (!isHelper(i)) world_.tasks.end(i, {});
    world_.loop.turn();
  }

  int upTo(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

  void writeFile(const std::string& text) {
    const Disk::Break working(disk_);
    world_.folder.write("runner/status.json", text);
    readable_ = false;
  }
  void removeStatus() {
    std::filesystem::remove(world_.folder.path("runner/status.json"));
    readable_ = false;
  }
  void writeStatus(Date at, bool calm = false) {
    static constexpr const char* kStates[] = {"ready", "signed_out", "model_unavailable"};
    std::string items;
    for (int i = 0; i < 4; ++i) {
      if (calm || upTo(2) == 0) continue;
      items += (items.empty() ? "" : ",") + (R"({"task_id":")" + std::to_string(i) + R"(","title":"Pick a date"})");
    }
    writeFile(R"({"schemaVersion":1,"state":"running","pid":)" + std::to_string(::getpid()) + R"(,"updatedAt":")" +
              formatIso8601(at) + R"(","autoDelegate":true,"attention":[)" + items +
              R"(],"apps":[{"host":"codex","state":")" + kStates[calm ? 0 : upTo(3)] +
              R"("}],"connections":[{"family":"claude","state":"connected"}],"profiles":[{"executorId":)" +
              R"("00000000-0000-4000-8000-000000000001","name":"Codex"}]})");
    readable_ = true;
  }

  void chooseInMenu() {
    world_.session.statusItem().openMenu();
    note();
    std::vector<MenuChoice> choices;
    collect(world_.session.statusItem().menu, choices);
    const MenuChoice choice = choices[random_() % choices.size()];
    if (choice.part == MenuChoice::Part::row) return world_.session.statusItem().send(choice);
    expectMark(choice.settleKey, choice.part == MenuChoice::Part::done);
    world_.session.statusItem().send(choice);
  }
  static void collect(const MenuTree& menu, std::vector<MenuChoice>& into) {
    for (const MenuRow& row : menu) {
      if (row.enabled && !row.represented.empty()) into.push_back({.represented = row.represented});
      for (const auto part : {MenuChoice::Part::later, MenuChoice::Part::done})
        if (!row.settleKey.empty()) into.push_back({part, row.represented, row.settleKey});
      collect(row.children, into);
    }
  }
  void useWindow() {
    FakeWindows& windows = world_.session.windows();
    if (windows.shown.empty()) return;
    const std::string window = std::next(windows.shown.begin(), upTo(static_cast<int>(windows.shown.size())))->first;
    if (upTo(8) == 0) return windows.userCloses(window);
    std::vector<std::pair<std::string, std::string>> uses;
    collect(windows.shown.at(window).tree, uses);
    if (uses.empty()) return;
    const auto& [key, value] = uses[random_() % uses.size()];
    if (const std::string again = "again/"; key.starts_with(again)) return;  // showAgain() knows what is expected then
    windows.press(window, key, value);
  }
  static void collect(const View& view, std::vector<std::pair<std::string, std::string>>& into) {
    if (view.kind == View::Kind::button || view.pressable) into.emplace_back(view.key, "");
    if (view.kind == View::Kind::toggle) into.emplace_back(view.key, view.on ? "off" : "on");
    for (const View& child : view.children) {
      if (child.kind == View::Kind::option) into.emplace_back(view.key, child.key);
      collect(child, into);
    }
  }
  void showAgain() {
    if (expectedMarks_.empty()) return;
    const std::string key = std::next(expectedMarks_.begin(), upTo(static_cast<int>(expectedMarks_.size())))->first;
    expectMark(key, std::nullopt);
    controller_->settle(key, std::nullopt);
  }
  void expectMark(const std::string& key, std::optional<bool> hide) {
    const Date now = world_.clock.now();
    std::erase_if(expectedMarks_, [&](const auto& mark) { return now.seconds >= mark.second.until; });
    expectedMarks_.erase(key);
    if (hide)
      expectedMarks_[key] = {now.seconds + (*hide ? SettleStore::kDoneSeconds : SettleStore::kLaterSeconds), *hide};
  }
  SettleMarks marks() const { return SettleStore(const_cast<FakeDefaults&>(world_.defaults)).marks(); }

  void answerQuestion() {
    if (!world_.session.alert().isOpen()) return;
    world_.session.alert().answer({.button = upTo(4) == 0 ? std::nullopt : std::optional(upTo(3)), .text = "a\nb"});
  }
  void completeCommand(std::int32_t code) {
    if (commands_.empty()) return;
    const auto completed = std::move(commands_.front());
    commands_.erase(commands_.begin());
    world_.loop.post([completed, code] { completed({code, "said"}); });
  }
  void endChild() {
    const auto& children = world_.tasks.children;
    std::vector<std::size_t> running;
    for (std::size_t i = 0; i < children.size(); ++i)
      if (children[i]->running) running.push_back(i);
    if (running.empty()) return;
    const std::size_t child = running[random_() % running.size()];
    const int status = std::vector<int>{0, 1, 75, SIGKILL}[random_() % 4];
    // Those that a choice in the menu started tell of their failure; what only reads or reports doesn't.
    static const std::set<std::string> kTelling = {"switch",        "share-tools", "workers",   "small-model",
                                                   "auto-delegate", "profile",     "kickstart", "schedule"};
    if (status != 0 && kTelling.contains(children[child]->request.arguments.front())) ++expectedErrors_;
    const auto reason = status == SIGKILL ? TaskEnd::Reason::signalled : TaskEnd::Reason::exited;
    world_.tasks.end(child, {reason, status, kAnswer, "it didn’t"});
  }
  /// To "tasks" as well as to "schedules".
  static constexpr char kAnswer[] =
      R"({"tasks":[{"task_id":"1","state":"done"},{"task_id":"9"}],"schedules":[{"schedule_id":"s"}]})";
  bool isHelper(std::size_t child) const {
    return world_.tasks.children[child]->request.arguments.back() == "--service";
  }
  long runningHelpers() const {
    long count = 0;
    for (std::size_t i = 0; i < world_.tasks.children.size(); ++i)
      count += isHelper(i) && world_.tasks.children[i]->running ? 1 : 0;
    return count;
  }
  long errors() {
    const std::string title = Copy::text(Copy::Key::errorTitle);
    const auto& asked = world_.session.alert().asked;
    return std::count_if(asked.begin(), asked.end(), [&](const Question& question) { return question.title == title; });
  }

  void clickNotification() {
    const auto& delivered = world_.session.notifications().delivered;
    if (!delivered.empty()) world_.session.notifications().click(delivered[random_() % delivered.size()].action);
  }
  /// An item is announced again only after it was gone for at least one look.
  void checkNotices() {
    const auto& delivered = world_.session.notifications().delivered;
    for (; told_ < delivered.size(); ++told_) {
      const std::string& id = delivered[told_].id;
      if (!id.starts_with("attention-")) continue;
      ASSERT_TRUE(announced_.insert(id).second) << id << " was announced twice";
    }
    note();
  }
  void note() {
    const auto& status = controller_->snapshot().status;
    if (!status) return;
    std::set<std::string> present;
    for (const Attention& item : status->attention.value_or(std::vector<Attention>{}))
      present.insert("attention-" + item.identity());
    std::erase_if(announced_, [&](const std::string& id) { return !present.contains(id); });
  }

  World world_;
  Disk disk_;
  std::mt19937 random_;
  std::vector<std::function<void(const HelperCommandResult&)>> commands_;
  std::unique_ptr<MenuController> controller_;
  SettleMarks expectedMarks_;
  std::set<std::string> announced_;
  std::size_t told_ = 0;
  long expectedErrors_ = 0;
  bool readable_ = false;
};

/// KESTRELUNE_SIMULATION_STEPS asks for more steps than the few that each run of the tests takes, and
/// KESTRELUNE_SIMULATION_SEED for another seed to begin with.
TEST(SimulationTest, WhateverHappensNothingIsLostAndThereIsAWayOut) {
  constexpr long kStepsOfARun = 500;
  const char* asked = std::getenv("KESTRELUNE_SIMULATION_STEPS");
  const long runs = std::max(1L, (asked ? std::atol(asked) : 5000) / kStepsOfARun);
  const char* first = std::getenv("KESTRELUNE_SIMULATION_SEED");
  const auto begin = static_cast<std::uint32_t>(first ? std::atol(first) : 1);
  for (std::uint32_t seed = begin; seed < begin + static_cast<std::uint32_t>(runs); ++seed) {
    Simulation simulation(seed);
    for (long step = 0; step < kStepsOfARun; ++step) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step));
      simulation.step();
      simulation.check();
      if (testing::Test::HasFailure()) return;
    }
    SCOPED_TRACE("the end of seed " + std::to_string(seed));
    simulation.recover();
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
}  // namespace kestrelune
