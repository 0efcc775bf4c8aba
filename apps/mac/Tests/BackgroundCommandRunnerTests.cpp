#include "BackgroundCommandRunner.hpp"

#include <sys/resource.h>

#include <thread>

#include "Fakes/TestLoop.hpp"
#include "Fakes/Testing.hpp"
#include "Strings.hpp"

namespace kestrelune {
namespace {

std::string lastOf(const std::string& output, std::size_t pieceSize) {
  LastLine line;
  for (std::size_t at = 0; at < output.size(); at += pieceSize)
    line.add(std::string_view(output).substr(at, pieceSize));
  return line.text();
}

TEST(LastLineTest, IsTheLastOneThatIsntEmptyHoweverThePiecesFall) {
  const Table<const char*, std::string, std::string> rows = {
      {"nothing", "", ""},
      {"only line ends", "\n\n \n", ""},
      {"empty and blank lines after it", "one\ntwo\n\n   \t\n", "two"},
      {"without a line end", "one\ntwo", "two"},
      {"a blank rest", "one\n  ", "one"},
      {"trimmed, both kinds of line end", "  one \r\n", "one"},
      {"invalid UTF-8", "a\377b\n", "a\uFFFDb"},
      {"a long line", std::string(20000, 'a') + "b\n", std::string(8191, 'a') + "b"},
      {"a long rest", "x\n" + std::string(20000, 'a') + "b", std::string(8191, 'a') + "b"},
  };
  for (const auto& [name, output, line] : rows)
    for (const std::size_t size : {1, 7, 4096, 100000}) EXPECT_EQ(lastOf(output, size), line) << name << size;
}

struct CommandRunnerTest : testing::Test {
  std::unique_ptr<RunLoop> loop = makePollRunLoop();
  ExecuteCommand execute = HelperCommandRunner(*loop).executor();

  HelperCommandResult run(const std::string& script, double timeout) {
    return run(HelperCommand{"/bin/sh", {"-c", script}, {{"PATH", "/usr/bin:/bin"}, {"ONLY", "this"}}}, timeout);
  }
  HelperCommandResult run(const HelperCommand& command, double timeout) {
    loop = makePollRunLoop();
    execute = HelperCommandRunner(*loop).executor();
    std::vector<HelperCommandResult> results;
    const auto mainThread = std::this_thread::get_id();
    execute(command, timeout, [&](const HelperCommandResult& result) {
      EXPECT_EQ(std::this_thread::get_id(), mainThread);
      results.push_back(result);
    });
    EXPECT_TRUE(results.empty());
    EXPECT_TRUE(serveUntil(*loop, [&] { return !results.empty(); }));
    EXPECT_EQ(results.size(), 1u);
    return results.empty() ? HelperCommandResult{} : results[0];
  }
};

TEST_F(CommandRunnerTest, CodesAndLines) {
  const Table<const char*, std::string, double, HelperCommandResult> rows = {
      {"success without a word", "exit 0", 10, {0, ""}},
      {"failure with both streams", "echo out; echo reason >&2; exit 3", 10, {3, "reason"}},
      {"its whole environment", "echo \"$ONLY$HOME\"", 10, {0, "this"}},
      {"a signal's number", "echo x; kill -9 $$", 10, {9, "x"}},
      {"a timeout with a line", "echo busy; exec sleep 30", 0.1, {124, "busy"}},
      {"a timeout without one", "exec sleep 30", 0.1, {124, Copy::text(Copy::Key::setupTimeout)}},
  };
  for (const auto& [name, script, timeout, result] : rows) EXPECT_EQ(run(script, timeout), result) << name;
  EXPECT_EQ(run(HelperCommand{"/nonexistent", {}, {}}, 10),
            (HelperCommandResult{HelperCommandResult::kNotStarted, "No such file or directory"}));
}

TEST_F(CommandRunnerTest, AChildKeepsOurPriority) {
  EXPECT_EQ(run("nice", 10), run("echo " + std::to_string(getpriority(PRIO_PROCESS, 0)), 10))
      << "that of the watching thread is low";
}

}  // namespace
}  // namespace kestrelune
