#include <unistd.h>

#include "Fakes/Testing.hpp"
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

}  // namespace
}  // namespace kestrelune
