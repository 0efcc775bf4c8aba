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

/// A payload with a runtime of so many MB, and the place for it.
struct Placed {
  TestFolder folder;
  HelperFiles files{folder.url("root"), systemFiles()};
  HelperPayload payload;

  explicit Placed(long megabytes) {
    std::ofstream node(folder.path("node"), std::ios::binary);
    std::string piece(1 << 20, '\0');
    for (long i = 0; i < megabytes; ++i) {
      for (std::size_t k = 0; k < piece.size(); k += 64)
        piece[k] = static_cast<char>(static_cast<std::size_t>(i) * 31 + k);
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

void placeRuntime(benchmark::State& state) {
  Placed placed(state.range(0));
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
BENCHMARK(placeRuntime)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

/// What the machine's own tools take for the same bytes.
void copyAndSync(benchmark::State& state) {
  Placed placed(state.range(0));
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
BENCHMARK(copyAndSync)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

void placeAgain(benchmark::State& state) {
  Placed placed(state.range(0));
  placed.place();
  for (auto unused : state) placed.place();
}
BENCHMARK(placeAgain)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// A command that prints so many lines.
void runCommand(benchmark::State& state) {
  const std::string lines = std::to_string(state.range(0));
  for (auto unused : state) {
    const auto loop = makePollRunLoop();
    const ExecuteCommand execute = HelperCommandRunner(*loop).executor();
    execute({"/usr/bin/seq", {lines}, {}}, 10, [&](const HelperCommandResult&) { loop->stop(); });
    loop->run();
  }
}
BENCHMARK(runCommand)->Arg(1)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// The same without a run loop, and its lines thrown away.
void runCommandBare(benchmark::State& state) {
  std::string lines = std::to_string(state.range(0));
  posix_spawn_file_actions_t away;
  posix_spawn_file_actions_init(&away);
  posix_spawn_file_actions_addopen(&away, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  for (auto unused : state) {
    pid_t pid = 0;
    char name[] = "/usr/bin/seq";
    char* arguments[] = {name, lines.data(), nullptr};
    char* none[] = {nullptr};
    posix_spawn(&pid, name, &away, nullptr, arguments, none);
    waitpid(pid, nullptr, 0);
  }
  posix_spawn_file_actions_destroy(&away);
}
BENCHMARK(runCommandBare)->Arg(1)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
}  // namespace kestrelune
