#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>

#include "Fakes/Testing.hpp"
#include "base/Task.hpp"

namespace kestrelune {
namespace {

struct Watched {
  WatchedEnd result;
  std::size_t size = 0;
  std::string tail;
  double seconds = 0;
};

Watched watch(const std::string& script, double timeout) {
  TaskRequest request;
  request.executable = "/bin/sh";
  request.arguments = {"-c", script};
  Watched watched;
  const auto start = std::chrono::steady_clock::now();
  watched.result = runWatched(request, timeout, [&](std::string_view piece) {
    watched.size += piece.size();
    watched.tail.append(piece);
    if (watched.tail.size() > 100) watched.tail.erase(0, watched.tail.size() - 100);
  });
  watched.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return watched;
}

long residentPages() {
  long size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident;
}

TEST(TaskWatchedTest, EndsAndOutputs) {
  constexpr auto kAny = std::string::npos;
  constexpr auto exited = TaskEnd::Reason::exited;
  constexpr auto signalled = TaskEnd::Reason::signalled;
  const Table<const char*, std::string, double, bool, TaskEnd::Reason, int, std::size_t, std::string, double, double>
      rows = {
          {"both streams as one", "echo a; echo b >&2; printf c", 20, false, exited, 0, 5, "a\nb\nc", 0, 5},
          {"closes its streams and goes on", "exec >&- 2>&-; sleep 0.2; exit 4", 20, false, exited, 4, 0, "", 0.2, 5},
          {"reacts to the polite signal", "echo x; exec sleep 30", 0.2, true, signalled, SIGTERM, 2, "x\n", 0.2, 1},
          {"exits on the polite signal", "trap 'exit 9' TERM; echo x; while :; do sleep 0.05; done", 0.2, true, exited,
           9, 2, "x\n", 0.2, 1},
          {"ignores the polite signal", "trap '' TERM; echo x; while :; do sleep 0.05; done", 0.2, true, signalled,
           SIGKILL, 2, "x\n", 1.2, 5},
          {"stops itself", "kill -STOP $$", 0.2, true, signalled, SIGKILL, 0, "", 1.2, 5},
          {"a grandchild holds the pipe", "sleep 8 & exit 3", 20, false, exited, 3, 0, "", 0, 5},
          {"writes for ever", "exec cat /dev/zero", 0.2, true, signalled, SIGTERM, kAny, "", 0.2, 2},
      };
  for (const auto& [name, script, timeout, timedOut, reason, status, size, tail, least, most] : rows) {
    SCOPED_TRACE(name);
    const Watched got = watch(script, timeout);
    EXPECT_EQ(got.result.launchError, 0);
    EXPECT_EQ(got.result.timedOut, timedOut);
    EXPECT_EQ(got.result.end.reason, reason);
    EXPECT_EQ(got.result.end.status, status);
    EXPECT_TRUE(got.tail.ends_with(tail));
    if (size != kAny) {
      EXPECT_EQ(got.size, size);
    }
    EXPECT_GE(got.seconds, least);
    EXPECT_LT(got.seconds, most);
  }
  EXPECT_EQ(waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(TaskWatchedTest, MuchOutputCostsNoMemory) {
  const long before = residentPages();
  const Watched got = watch("head -c 200000000 /dev/zero", 60);
  EXPECT_EQ(got.size, 200000000u);
  EXPECT_LT((residentPages() - before) * getpagesize(), 4 << 20);
}

}  // namespace
}  // namespace kestrelune
