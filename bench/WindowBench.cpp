#include <benchmark/benchmark.h>

#include <QScrollBar>
#include <string>

#include "Offscreen.hpp"
#include "WindowViews.hpp"
#include "base/Messages.hpp"
#include "screen/LongList.hpp"
#include "screen/WindowHost.hpp"

namespace kestrelune {
namespace {

constexpr Date kNow{1'769'850'900};

/// The list of tasks over a status of a usual size and a history of so many.
struct Tasks {
  WindowModel::State state;

  explicit Tasks(long count) {
    HelperStatus& status = state.snapshot.status.emplace();
    state.snapshot.signal = Signal::yellow;
    status.attention.emplace().push_back({.label = "#1", .title = "Which bank account?", .line = "There are two."});
    status.running.emplace().push_back({.label = "#2", .title = "Sum up the week", .since = formatIso8601(kNow)});
    for (long i = 0; i < count; ++i) {
      const std::string number = std::to_string(i);
      state.history.push_back({.taskId = "h" + number,
                               .label = "#" + number,
                               .title = "Prepare the spring catalogue " + number,
                               .state = "done",
                               .line = "Ready in the chat",
                               .app = "Codex",
                               .endedAt = formatIso8601({kNow.seconds - static_cast<double>(i)})});
    }
  }
  View draw(const TaskLists& lists) const { return WindowViews::mainView(state, lists, kNow).tree; }
};

void mergeTasks(benchmark::State& state) {
  const Tasks tasks(state.range(0));
  for (auto unused : state) {
    const TaskLists lists(tasks.state.snapshot, tasks.state.history, kNow);
    benchmark::DoNotOptimize(lists.groups.size());
  }
}
BENCHMARK(mergeTasks)->Arg(200)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);

void buildWindow(benchmark::State& state) {
  const Tasks tasks(state.range(0));
  const TaskLists lists(tasks.state.snapshot, tasks.state.history, kNow);
  for (auto unused : state) benchmark::DoNotOptimize(tasks.draw(lists));
}
BENCHMARK(buildWindow)->Arg(200)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);

/// Both ends of the way of a window's tree to the screen.
void sendWindow(benchmark::State& state) {
  const Tasks tasks(state.range(0));
  const TaskLists lists(tasks.state.snapshot, tasks.state.history, kNow);
  const messages::Down message = messages::ShowWindow{.spec = {.id = "main"}, .tree = tasks.draw(lists)};
  for (auto unused : state) benchmark::DoNotOptimize(messages::decodeDown(messages::encode(message)));
}
BENCHMARK(sendWindow)->Arg(200)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);

/// What the screen does to its widgets when one task of the list has changed.
void redrawWindow(benchmark::State& state) {
  offscreen();
  Tasks tasks(state.range(0));
  View trees[2];
  for (View& tree : trees) {
    const TaskLists lists(tasks.state.snapshot, tasks.state.history, kNow);
    tree = tasks.draw(lists);
    tasks.state.history.front().title = "Another one";
  }
  WindowHost window({.id = "main"}, trees[0]);
  window.show();
  int round = 0;
  for (auto unused : state) window.setTree(trees[++round % 2]);
}
BENCHMARK(redrawWindow)->Arg(200)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);

/// One turn of the wheel in the list, up to the painted rows, the companion sending those that come into sight.
void scrollWindow(benchmark::State& state) {
  offscreen();
  Tasks tasks(state.range(0));
  const TaskLists lists(tasks.state.snapshot, tasks.state.history, kNow);
  WindowHost window({.id = "main", .width = 640, .height = 600}, tasks.draw(lists));
  window.onEvent = [&](const ViewEvent& event) {
    const auto inSight = RowRange::around(event.value);
    if (!inSight || *inSight == tasks.state.inSight) return;
    tasks.state.inSight = *inSight;
    window.setTree(tasks.draw(lists));
  };
  window.show();
  QApplication::processEvents();
  QScrollBar* bar = window.findChild<LongList*>()->verticalScrollBar();
  for (auto unused : state) {
    bar->setValue(bar->value() < bar->maximum() ? bar->value() + 120 : 0);
    QApplication::processEvents();
  }
}
BENCHMARK(scrollWindow)->Arg(200)->Arg(2000)->Arg(20000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kestrelune
