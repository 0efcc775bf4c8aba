#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "Fakes/TestLoop.hpp"
#include "base/RunLoop.hpp"
#include "base/Task.hpp"

namespace kestrelune {
namespace {

TaskRequest leashed(const std::string& parent, const std::string& program, const std::string& argument) {
  TaskRequest request;
  request.executable = KESTRELUNE_LEASH;
  request.arguments = {parent, program, argument};
  return request;
}

struct LeashTest : testing::Test {
  std::string output;
  WatchedEnd run(const TaskRequest& request) {
    return runWatched(request, 10, [this](std::string_view piece) { output.append(piece); });
  }
};

TEST_F(LeashTest, BecomesTheProgram) {
  const WatchedEnd got = run(leashed(std::to_string(getpid()), "/bin/echo", "here"));
  EXPECT_EQ(got.end.status, 0);
  EXPECT_EQ(output, "here\n");
}

TEST_F(LeashTest, StartsNothingForAParentThatHasGone) {
  EXPECT_EQ(run(leashed("1", "/bin/echo", "here")).end.status, 1);
  EXPECT_EQ(output, "");
}

TEST_F(LeashTest, SaysWhyItCouldNot) {
  EXPECT_EQ(run(leashed(std::to_string(getpid()), "/nonexistent", "")).end.status, 127);
  EXPECT_EQ(output, "Kestrelune could not start: No such file or directory\n");
}

TEST_F(LeashTest, TheProgramEndsWithAParentThatIsKilled) {
  // Orphans come to us instead of to the system's first process, so that their end can be seen.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const auto loop = makePollRunLoop();
  const auto launcher = makeTaskLauncher(*loop);
  TaskRequest parent;
  parent.executable = "/bin/sh";
  parent.arguments = {"-c", "\"$0\" $$ /bin/sleep 60 & echo $!; sleep 0.2; kill -9 $$", KESTRELUNE_LEASH};
  parent.output = TaskRequest::Stream::capture;
  std::string orphan;
  const auto task = launcher->launch(parent, [&](const TaskEnd& end) { orphan = end.output; });
  ASSERT_TRUE(serveUntil(*loop, [&] { return !orphan.empty(); }));
  int status = 0;
  const pid_t pid = std::atoi(orphan.c_str());
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

}  // namespace
}  // namespace kestrelune
