#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "NoticeTracker.hpp"
#include "StatusReader.hpp"

namespace kestrelune {
namespace {

constexpr Date kNow{1'769'850'900};
const StatusReader::Alive kAlive = [](std::int32_t) { return true; };

std::string statusText(int done) {
  std::string text =
      R"({"schemaVersion":1,"pid":42,"state":"running","updatedAt":")" + formatIso8601(kNow) +
      R"(","computer":"Studio","apps":[{"host":"codex","name":"Codex","state":"ready","version":"1.4",)" +
      R"("account":{"email":"mia@example.com","plan":"Plus"}}],"done":[)";
  for (int i = 0; i < done; ++i) {
    text += (i > 0 ? "," : "") + std::string(R"({"label":"#)") + std::to_string(i) +
            R"(","title":"Sum up the week","line":"Ready in the chat","ended_at":"2026-01-31T08:00:00Z","task_id":")" +
            std::to_string(i) + R"(","open":"codex://task/1"})";
  }
  return text + "]}";
}

class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& text) {
    std::string name = (std::filesystem::temp_directory_path() / "kestrelune-bench-XXXXXX").string();
    ::close(::mkstemp(name.data()));
    path_ = name;
    std::ofstream(path_) << text;
  }
  ~TemporaryFile() { std::filesystem::remove(path_); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  Url url() const { return Url::file(path_); }

 private:
  std::string path_;
};

double peakKilobytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss);
}

// 25 tasks make about 4 KB, 70000 about 10 MB. Peak memory only grows, so it is read off with one size a run
// (--benchmark_filter).
void readStatus(benchmark::State& state) {
  const std::string text = statusText(static_cast<int>(state.range(0)));
  const TemporaryFile file(text);
  for (auto _ : state) {
    benchmark::DoNotOptimize(StatusReader::read(systemFiles(), file.url(), kNow, {}, kAlive));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(text.size()));
  state.counters["fileBytes"] = static_cast<double>(text.size());
  state.counters["peakKB"] = peakKilobytes();
}
BENCHMARK(readStatus)->Arg(25)->Arg(1000)->Arg(70000)->Unit(benchmark::kMicrosecond);

/// The least that reading and understanding that file can cost with the library that reads it.
void readAndParseBare(benchmark::State& state) {
  const TemporaryFile file(statusText(static_cast<int>(state.range(0))));
  for (auto _ : state) {
    benchmark::DoNotOptimize(nlohmann::json::parse(readFile(systemFiles(), file.url().path(), 64 << 20).value));
  }
}
BENCHMARK(readAndParseBare)->Arg(25)->Arg(1000)->Arg(70000)->Unit(benchmark::kMicrosecond);

void trackNotices(benchmark::State& state) {
  Snapshot snapshot{.signal = Signal::yellow};
  snapshot.status.emplace().attention.emplace();
  for (int i = 0; i < state.range(0); ++i) snapshot.status->attention->push_back({.taskId = std::to_string(i)});
  NoticeTracker tracker;
  tracker.update(snapshot, kNow);
  for (auto _ : state) benchmark::DoNotOptimize(tracker.update(snapshot, kNow));
}
BENCHMARK(trackNotices)->Arg(10)->Arg(300)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace kestrelune
