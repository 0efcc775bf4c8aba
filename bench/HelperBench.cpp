#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "BackgroundCommandRunner.hpp"
#include "Fakes/TestFolder.hpp"
#include "SetupFiles.hpp"
#include "base/Digest.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kRuntimeSize = 100 << 20;

/// A payload with a runtime of 100 MB, and the place for it.
struct Placed {
  TestFolder folder;
  HelperFiles files{folder.url("root"), systemFiles()};
  HelperPayload payload;

  Placed() {
    std::ofstream node(folder.path("node"), std::ios::binary);
    std::string piece(1 << 20, '\0');
    for (std::size_t i = 0; i < kRuntimeSize / piece.size(); ++i) {
      for (std::size_t k = 0; k < piece.size(); k += 64) piece[k] = static_cast<char>(i * 31 + k);
      node << piece;
    }
    node.close();
    folder.write("helper", "helper");
    payload.helperURL = folder.url("helper");
    payload.helperSHA256 = sha256("helper");
    payload.nodeURLs[HelperArchitecture::x64] = folder.url("node");
    payload.nodeVersion = "v1.0";
    ::sync();
  }
  void place() { files.place(payload, HelperArchitecture::x64, true); }
};

double peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

void placeLargeRuntime(benchmark::State& state) {
  Placed placed;
  const double before = peakMegabytes();
  for (auto unused : state) {
    state.PauseTiming();
    std::filesystem::remove_all(placed.folder.path("root"));
    ::sync();
    state.ResumeTiming();
    placed.place();
  }
  state.counters["peakMB+"] = peakMegabytes() - before;
}
BENCHMARK(placeLargeRuntime)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

/// What the machine's own tools take for the same bytes.
void copyAndSyncLargeRuntime(benchmark::State& state) {
  Placed placed;
  const std::string command = "cp '" + placed.folder.path("node") + "' '" + placed.folder.path("copy") + "' && sync '" +
                              placed.folder.path("copy") + "'";
  for (auto unused : state) {
    state.PauseTiming();
    std::filesystem::remove(placed.folder.path("copy"));
    ::sync();
    state.ResumeTiming();
    if (std::system(command.c_str()) != 0) state.SkipWithError("cp failed");
  }
}
BENCHMARK(copyAndSyncLargeRuntime)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

void placeAgain(benchmark::State& state) {
  Placed placed;
  placed.place();
  for (auto unused : state) placed.place();
}
BENCHMARK(placeAgain)->Unit(benchmark::kMicrosecond)->UseRealTime();

void runCommand(benchmark::State& state) {
  for (auto unused : state) {
    const auto loop = makePollRunLoop();
    HelperCommandRunner::executor (*loop)({"/bin/true", {}, {}}, 10, [&](const HelperCommandResult&) { loop->stop(); });
    loop->run();
  }
}
BENCHMARK(runCommand)->Unit(benchmark::kMicrosecond)->UseRealTime();

void spawnAndWait(benchmark::State& state) {
  for (auto unused : state) {
    pid_t pid = 0;
    char name[] = "/bin/true";
    char* arguments[] = {name, nullptr};
    char* none[] = {nullptr};
    posix_spawn(&pid, name, nullptr, nullptr, arguments, none);
    waitpid(pid, nullptr, 0);
  }
}
BENCHMARK(spawnAndWait)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
}  // namespace kestrelune
