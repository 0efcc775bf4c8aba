#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "Fakes/World.hpp"
#include "Menu.hpp"

namespace kestrelune {
namespace {

/// In kilobytes, from the first day on: a few pages that a day happens to touch for the first time. It would take half
/// a byte a refresh.
constexpr long kMostGrowth = 48;

constexpr double kMinute = 60, kHour = 3600;

/// The program's own classes over a status that changes all the time, used now and then, with the clock turned by hand.
class Week {
 public:
  Week() {
    for (const char* program : {"root/node/current/bin/node", "root/bin/kestrelune"}) world_.writeProgram(program);
    for (const char* file : {"runner/in-app", "root/helper/kestrelune-runner.mjs"}) world_.folder.write(file, "");
    writeStatus();
    Outside outside = world_.outside();
    outside.execute = [this](const HelperCommand&, double, const auto& completed) {
      world_.loop.post([completed] { completed({0, "Done"}); });
    };
    controller_ = std::make_unique<MenuController>(world_.configuration(), std::move(outside));
    controller_->schedule(MenuController::kRefreshSeconds, [this] { controller_->refresh(); });
    controller_->schedule(MenuController::kHeartbeatSeconds, [this] { controller_->writeHeartbeat(); });
    controller_->background().start();
  }

  void liveADay() {
    for (int hour = 0; hour < 24; ++hour) {
      for (double second = 0; second < kHour; second += kMinute) {
        writeStatus();
        world_.loop.pass(kMinute);
      }
      use();
      forget();
    }
  }

 private:
  /// Some of everything differs from the status before.
  void writeStatus() {
    ++minute_;
    const std::string moment = formatIso8601(world_.clock.now());
    std::string tasks;
    for (int i = 0; i < minute_ % 5; ++i) {
      tasks += (i == 0 ? "" : ",") +
               (R"({"task_id":")" + std::to_string(minute_ / 3 + i) + R"(","label":"#)" + std::to_string(i) +
                R"(","title":"Prüfe die Rechnungen 🧾","since":")" + moment + R"(","ended_at":")" + moment + "\"}");
    }
    const char* state = minute_ % 7 == 0 ? "signed_out" : "ready";
    world_.writeStatus(R"(,"state":"running","serverReachable":true,"attention":[)" + tasks + R"(],"running":[)" +
                       tasks + R"(],"done":[)" + tasks + R"(],"apps":[{"host":"codex","state":")" + state +
                       R"("}],"connections":[{"family":"claude","state":"connected"}])");
    if (minute_ % 50 == 0) world_.folder.write("runner/status.json", "{");
  }

  /// What a user does once in a while, and what goes wrong as often.
  void use() {
    FakeSession& session = world_.session;
    session.statusItem().openMenu();
    for (const char* place : {"tasks", "ais", "macs", "general"}) controller_->showWindow(place);
    controller_->showSetupWindow(SetupStep::ai);
    world_.loop.pass(kMinute);
    for (const char* action : {"updateAll", "autoDelegate:off", "off:app:codex", "reportProblem"}) {
      controller_->performAction(action);
    }
    while (session.alert().isOpen()) session.alert().answer({.button = 0}), world_.loop.turn();
    for (const char* window : {"main", "setup"}) session.windows().userCloses(window);
    if (!session.notifications().delivered.empty()) {
      session.notifications().click(session.notifications().delivered.back().action);
    }
    for (std::size_t child = 0; child < world_.tasks.children.size(); ++child) {
      world_.tasks.end(child, {TaskEnd::Reason::exited, 75, R"({"tasks":[],"schedules":[]})", ""});
    }
    world_.loop.pass(kMinute);
  }

  /// The stand-ins write down all that they are told.
  void forget() {
    world_.session.notifications().delivered.clear();
    world_.session.alert().asked.clear();
    world_.session.windows().raised.clear();
    world_.session.workspace().links.clear();
    world_.session.terminal().commands.clear();
    world_.lines.clear();
    std::erase_if(world_.tasks.children, [](const auto& child) { return !child->running; });
  }

  World world_;
  std::unique_ptr<MenuController> controller_;
  int minute_ = 0;
};

long dirtyKilobytes() {
  malloc_trim(0);
  std::ifstream rollup("/proc/self/smaps_rollup");
  for (std::string word; rollup >> word;) {
    if (word != "Private_Dirty:") continue;
    long kilobytes = 0;
    rollup >> kilobytes;
    return kilobytes;
  }
  return 0;
}

long descriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

int run() {
  Week week;
  long memory = 0, files = 0;
  bool flat = true;
  for (int day = 1; day <= 7; ++day) {
    week.liveADay();
    const long memoryNow = dirtyKilobytes(), filesNow = descriptors();
    std::printf("day %d: %ld KB private dirty, %ld descriptors\n", day, memoryNow, filesNow);
    if (day == 1) memory = memoryNow, files = filesNow;
    flat = flat && memoryNow <= memory + kMostGrowth && filesNow <= files;
  }
  std::puts(flat ? "flat" : "NOT flat");
  return flat ? 0 : 1;
}

}  // namespace
}  // namespace kestrelune

int main() { return kestrelune::run(); }
