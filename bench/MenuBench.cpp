#include <benchmark/benchmark.h>

#include <QPixmap>
#include <string>

#include "MenuPlan.hpp"
#include "MenuViews.hpp"
#include "Offscreen.hpp"
#include "base/Messages.hpp"
#include "screen/MenuPopup.hpp"
#include "session/MenuLayout.hpp"

namespace kestrelune {
namespace {

constexpr Date kNow{1'769'850'900};
constexpr const char* kFamilies[] = {"claude", "chatgpt", "cursor", "grok", "google"};

/// What a status usually holds, so many times over.
Snapshot snapshot(long times) {
  Snapshot result{.signal = Signal::yellow};
  HelperStatus& status = result.status.emplace();
  status.autoDelegate = true;
  status.workers = Workers{.mode = "automatic"};
  status.attention.emplace();
  status.running.emplace();
  status.done.emplace();
  status.connections.emplace();
  status.apps.emplace();
  status.profiles.emplace();
  const auto each = [&](long count, const auto& add) {
    for (long i = 0; i < count * times; ++i) add(std::to_string(i));
  };
  each(3, [&](const std::string& i) {
    status.attention->push_back({.label = "#" + i, .title = "Which bank account?", .line = "The invoice names two."});
  });
  each(2, [&](const std::string& i) {
    status.running->push_back(
        {.label = "#" + i, .title = "Für die Müllers", .since = formatIso8601(kNow), .taskId = i});
  });
  each(10, [&](const std::string& i) {
    status.done->push_back({.label = "#" + i, .title = "Sum up the week", .endedAt = formatIso8601(kNow), .taskId = i});
  });
  each(4, [&](const std::string& i) {
    status.connections->push_back({.family = kFamilies[i.back() % 5], .state = "connected"});
  });
  each(4, [&](const std::string& i) {
    status.apps->push_back({.host = "app" + i, .name = "Codex " + i, .state = "ready", .outdated = true});
  });
  each(3, [&](const std::string& i) {
    const std::string id = "00000000-0000-4000-8000-" + std::string(12 - i.size(), '0') + i;
    status.profiles->push_back({.executorId = id, .name = "Codex on Mia’s computer", .profile = "Builds the shop"});
  });
  return result;
}

MenuTree menuOf(const Snapshot& snapshot) {
  return MenuViews::rows(MenuPlan::entries(snapshot, kNow, {.smallModel = true}), false);
}

void planMenu(benchmark::State& state) {
  const Snapshot usual = snapshot(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(MenuPlan::entries(usual, kNow, {.smallModel = true}));
  state.counters["rows"] = static_cast<double>(menuOf(usual).size());
}
BENCHMARK(planMenu)->ArgName("times")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

/// From planned lines to the items that a host is handed; every other time something has changed.
void layOutExport(benchmark::State& state) {
  MenuTree menus[] = {menuOf(snapshot(state.range(0))), menuOf(snapshot(state.range(0)))};
  menus[1].front().title += ".";
  MenuLayout layout;
  int round = 0;
  for (auto _ : state) layout.setMenu(menus[++round % 2]);
}
BENCHMARK(layOutExport)->ArgName("times")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

/// The way of a menu to the screen, both ends of it.
void sendMenu(benchmark::State& state) {
  const MenuTree menu = menuOf(snapshot(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(messages::decodeDown(messages::encode(messages::Down(messages::ShowMenu{1, menu, {}}))));
  }
}
BENCHMARK(sendMenu)->ArgName("times")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

/// A popup made, laid out, shown and painted once, on a display in memory.
void drawMenu(benchmark::State& state) {
  offscreen();
  const MenuTree menu = menuOf(snapshot(state.range(0)));
  for (auto _ : state) {
    MenuPopup popup(menu, nullptr);
    popup.openAt({100, 100});
    benchmark::DoNotOptimize(popup.grab());
  }
}
BENCHMARK(drawMenu)->ArgName("times")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrelune
