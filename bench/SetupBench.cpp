#include <benchmark/benchmark.h>

#include <memory>
#include <optional>
#include <string>

#include "Fakes/World.hpp"
#include "Offscreen.hpp"
#include "SetupWindow.hpp"
#include "screen/WindowHost.hpp"

namespace kestrelune {
namespace {

/// The first-run window at its last step, over a status with so many AI applications.
class FirstRun {
 public:
  explicit FirstRun(long apps) : apps_(apps) {
    writeStatus("ready");
    window_ = std::make_unique<SetupWindowController>(configuration_, world_.outside(), setup_, actions_,
                                                      SetupStep::mac, [] {});
    window_->present();
  }
  void writeStatus(const std::string& state) const {
    std::string apps;
    for (long i = 0; i < apps_; ++i) {
      apps += (i == 0 ? "" : ",") + (R"({"host":"app)" + std::to_string(i) + R"(","state":")" + state + R"("})");
    }
    world_.writeStatus(R"(,"state":"running","apps":[)" + apps + "]");
  }
  void tick() { window_->tick(); }
  const View& tree() { return world_.session.windows().shown.at(SetupWindowController::kWindowId).tree; }

 private:
  const long apps_;
  World world_;
  Configuration configuration_ = world_.configuration();
  std::optional<HelperPayload> payload_;
  SetupController setup_{configuration_, payload_, world_.outside(), {}};
  ActionRunner actions_{false, world_.actionReach()};
  std::unique_ptr<SetupWindowController> window_;
};

void setupTick(benchmark::State& state) {
  FirstRun firstRun(state.range(0));
  for (auto unused : state) firstRun.tick();
}
BENCHMARK(setupTick)->Arg(5)->Arg(50)->Arg(500)->Unit(benchmark::kMicrosecond);

void setupTickChanged(benchmark::State& state) {
  FirstRun firstRun(state.range(0));
  int round = 0;
  for (auto unused : state) {
    state.PauseTiming();
    firstRun.writeStatus(++round % 2 == 0 ? "ready" : "signed_out");
    state.ResumeTiming();
    firstRun.tick();
  }
}
BENCHMARK(setupTickChanged)->Arg(5)->Arg(50)->Arg(500)->Unit(benchmark::kMicrosecond);

/// What the screen does when every row has changed.
void setupRedraw(benchmark::State& state) {
  offscreen();
  FirstRun firstRun(state.range(0));
  View trees[2] = {firstRun.tree(), {}};
  firstRun.writeStatus("signed_out");
  firstRun.tick();
  trees[1] = firstRun.tree();
  WindowHost window({.id = "setup", .heightFollowsContent = true}, trees[0]);
  window.show();
  QApplication::processEvents();
  int round = 0;
  for (auto unused : state) {
    window.setTree(trees[++round % 2]);
    QApplication::processEvents();
  }
}
BENCHMARK(setupRedraw)->Arg(5)->Arg(50)->Arg(500)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrelune
