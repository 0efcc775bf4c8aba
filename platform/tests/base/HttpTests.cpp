#include "base/Http.hpp"

#include <csignal>

#include "Fakes/FakeLoop.hpp"
#include "Fakes/FakeTasks.hpp"
#include "Fakes/TestFolder.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

struct ChildHttpTest : testing::Test {
  HttpRequest request() const { return {*Url::parse("https://host/a"), 30, 1800, 10}; }
  Http::Completed noted() {
    return [this](const std::optional<HttpResponse>& response) {
      ++completed;
      last = response;
    };
  }

  FakeClock clock;
  FakeLoop loop{clock};
  FakeTaskLauncher tasks{loop};
  TestFolder folder;
  std::unique_ptr<Http> http = makeChildHttp(tasks, loop, systemFiles(), "/fetch");
  std::optional<HttpResponse> last;
  int completed = 0;
};

TEST_F(ChildHttpTest, BelievesOnlyAChildThatEndedWellWithAStatus) {
  const Table<const char*, TaskEnd, std::optional<int>> rows = {
      {"a success", {.output = "0123456789", .errors = "200\n"}, 200},
      {"another status", {.errors = "404\n"}, 404},
      {"a failed transport", {.status = 1, .errors = "200\n"}, std::nullopt},
      {"a killed child", {.reason = TaskEnd::Reason::signalled, .status = SIGKILL, .errors = "200"}, std::nullopt},
      {"no status", {.output = "x"}, std::nullopt},
      {"something else for a status", {.errors = "200 OK"}, std::nullopt},
      {"a longer body", {.output = "0123456789x", .errors = "200\n"}, std::nullopt},
  };
  for (const auto& [name, end, status] : rows) {
    http->get(request(), noted());
    EXPECT_EQ(tasks.commandLine(tasks.children.size() - 1), "/fetch https://host/a 10 30 1800") << name;
    tasks.end(tasks.children.size() - 1, end);
    loop.turn();
    ASSERT_EQ(last.has_value(), status.has_value()) << name;
    if (!last) continue;
    EXPECT_EQ(last->status, *status) << name;
    EXPECT_EQ(last->body, end.output) << name;
  }
  EXPECT_EQ(completed, 7);
}

TEST_F(ChildHttpTest, AFailedDownloadLeavesNoFile) {
  for (const bool works : {true, false}) {
    folder.write("file", "part");
    http->download(request(), folder.path("file"), noted());
    tasks.end(tasks.children.size() - 1, {.status = works ? 0 : 1, .errors = "200"});
    loop.turn();
    EXPECT_EQ(last.has_value(), works);
    EXPECT_EQ(folder.has("file"), works);
  }
}

TEST_F(ChildHttpTest, AChildThatCantStartIsToldLater) {
  tasks.launchError = ENOENT;
  http->get(request(), noted());
  EXPECT_EQ(completed, 0);
  loop.turn();
  EXPECT_EQ(completed, 1);
  EXPECT_FALSE(last);
}

}  // namespace
}  // namespace kestrelune
