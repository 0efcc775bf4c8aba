#include <benchmark/benchmark.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <string>

#include "Fakes/FakeDefaults.hpp"
#include "Fakes/FakeHttp.hpp"
#include "Fakes/FakeLoop.hpp"
#include "Fakes/FakeSession.hpp"
#include "Fakes/FakeTasks.hpp"
#include "Fakes/TestFolder.hpp"
#include "Menu.hpp"

namespace kestrelune {
namespace {

/// A live status of this moment with as many running and finished tasks; about 4 KB with 10 of each.
std::string status(Date now, long tasks) {
  const std::string moment = formatIso8601(now);
  std::string running, done;
  for (long i = 0; i < tasks; ++i) {
    const std::string comma = i == 0 ? "" : ",";
    const std::string task = R"({"task_id":"0000-)" + std::to_string(i) + R"(","label":"#)" + std::to_string(i) +
                             R"(","title":"Sum up the invoices of the month","open":"codex://threads/1")";
    running += comma + task + R"(,"ball_at":"Codex","since":")" + moment + "\"}";
    done += comma + task + R"(,"line":"Done","ended_at":")" + moment + "\"}";
  }
  return R"({"schemaVersion":1,"state":"running","serverReachable":true,"pid":)" + std::to_string(::getpid()) +
         R"(,"updatedAt":")" + moment + R"(","running":[)" + running + R"(],"done":[)" + done +
         R"(],"apps":[{"host":"codex","state":"ready"},{"host":"claude","state":"ready"}],)" +
         R"("connections":[{"family":"claude","state":"connected"}]})";
}

/// One refresh, with and without a host that keeps a copy of the menu. Where the file changes, it says another moment
/// each time and is else the same.
void refresh(benchmark::State& state, bool changes) {
  FakeClock clock;
  FakeLoop loop(clock);
  FakeSession session(loop);
  FakeTaskLauncher tasks(loop);
  FakeDefaults defaults;
  FakeHttp http{loop};
  const TestFolder folder;
  const std::string texts[] = {status(clock.now(), state.range(0)),
                               status(Date{clock.now().seconds + 1}, state.range(0))};
  folder.write("status.json", texts[0]);
  session.statusItem().wantsMenu = state.range(1) != 0;
  MenuController controller({.statusURL = folder.url("status.json"),
                             .heartbeatURL = folder.url("menubar.json"),
                             .helperRoot = folder.url("root")},
                            {.loop = loop,
                             .clock = clock,
                             .files = systemFiles(),
                             .tasks = tasks,
                             .session = session,
                             .defaults = defaults,
                             .http = http,
                             .bundle = Bundle(folder.url("Kestrelune.app")),
                             .pid = ::getpid(),
                             .output = [](const std::string&) {}});
  int round = 0;
  for (auto _ : state) {
    if (changes) {
      state.PauseTiming();
      folder.write("status.json", texts[++round % 2]);
      state.ResumeTiming();
    }
    controller.refresh();
  }
}
void refreshUnchanged(benchmark::State& state) { refresh(state, false); }
void refreshChanged(benchmark::State& state) { refresh(state, true); }
BENCHMARK(refreshUnchanged)
    ->ArgNames({"tasks", "copy"})
    ->ArgsProduct({{10, 500, 25000}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(refreshChanged)
    ->ArgNames({"tasks", "copy"})
    ->ArgsProduct({{10, 500, 25000}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

/// The least that reading and understanding that changed file can cost with the library that reads it.
void refreshBare(benchmark::State& state) {
  const TestFolder folder;
  const std::string text = status(FakeClock().now(), state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    folder.write("status.json", text);
    state.ResumeTiming();
    benchmark::DoNotOptimize(
        nlohmann::json::parse(readFile(systemFiles(), folder.path("status.json"), 64 << 20).value));
  }
}
BENCHMARK(refreshBare)->ArgName("tasks")->Arg(10)->Arg(500)->Arg(25000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kestrelune
