#include <benchmark/benchmark.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <string>

#include "session/MenuExport.hpp"

namespace kestrelune {
namespace {

/// A menu as full as the demo's fullest scene, so many times over.
MenuTree menu(long times, int round) {
  MenuTree rows;
  for (long i = 0; i < times; ++i) {
    const std::string number = std::to_string(i);
    rows.push_back({.form = MenuRow::Form::section, .title = "AI applications " + number});
    for (int n = 0; n < 6; ++n) {
      const std::string name = number + "." + std::to_string(n);
      MenuRow box{
          .title = "Lend “calendar” to " + name, .represented = "tool " + name, .enabled = true, .checked = true};
      rows.push_back({.form = MenuRow::Form::attention,
                      .title = "#" + name + " Prepare the spring catalogue",
                      .subtitle = "Which of the two drafts shall go to print?",
                      .represented = "chat " + name,
                      .openTitle = "Open",
                      .settleKey = name,
                      .laterTitle = "Later",
                      .doneTitle = "Done"});
      rows.push_back({.title = "Codex " + name,
                      .detail = "ready " + std::to_string(round),
                      .represented = "app " + name,
                      .enabled = true,
                      .children = MenuTree(8, box)});
    }
  }
  return rows;
}

/// A host's whole way to a menu that has changed: it asks, the menu is composed, it fetches the layout. Needs a session
/// bus (`dbus-run-session`).
void openExportedMenu(benchmark::State& state) {
  SessionRunLoop loop;
  Bus bus(loop);
  sd_bus* host = nullptr;
  if (!bus.mayCome() || sd_bus_open_user(&host) < 0) return state.SkipWithError("no session bus");
  sd_bus_attach_event(host, loop.event(), 0);
  int round = 0;
  MenuExport exported(bus, {.willOpen = [&] { exported.setMenu(menu(state.range(0), ++round)); }, .chosen = {}});
  while (!bus.connected()) sd_event_run(loop.event(), UINT64_MAX);
  const char* item = nullptr;
  sd_bus_get_unique_name(bus.connection(), &item);
  sd_event_run(loop.event(), 0);
  for (auto _ : state) {
    for (const bool layout : {false, true}) {
      bool came = false;
      const auto answered = [](sd_bus_message*, void* data, sd_bus_error*) {
        *static_cast<bool*>(data) = true;
        return 0;
      };
      if (layout) {
        sd_bus_call_method_async(host, nullptr, item, MenuExport::kPath, "com.canonical.dbusmenu", "GetLayout",
                                 answered, &came, "iias", 0, -1, 0);
      } else {
        sd_bus_call_method_async(host, nullptr, item, MenuExport::kPath, "com.canonical.dbusmenu", "AboutToShow",
                                 answered, &came, "i", 0);
      }
      while (!came) sd_event_run(loop.event(), UINT64_MAX);
    }
  }
  sd_bus_detach_event(host);
  sd_bus_close_unref(host);
}
BENCHMARK(openExportedMenu)->ArgName("times")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace kestrelune
