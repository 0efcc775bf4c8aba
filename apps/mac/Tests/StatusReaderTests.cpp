#include "StatusReader.hpp"

#include <cerrno>

#include "Fakes/FakeFiles.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

constexpr Date kNow{1'769'850'900};  // 2026-01-31 09:15 UTC
constexpr const char* kPath = "/h/status.json";
const StatusReader::Alive kAllAlive = [](std::int32_t) { return true; };

HelperStatus goodStatus() {
  return {.schemaVersion = 1, .pid = 42, .state = "running", .updatedAt = formatIso8601(kNow)};
}

std::string verdict(const Snapshot& snapshot) {
  std::string text(rawValue(snapshot.signal));
  if (snapshot.issue) text += " " + std::string(rawValue(*snapshot.issue));
  return text;
}

TEST(StatusReader, Judgement) {
  using Change = std::function<void(HelperStatus&)>;
  const auto updated = [](const char* time) {
    return Change([time](HelperStatus& status) { status.updatedAt = time; });
  };
  const auto app = [](const HostApp& found) {
    return Change([found](HelperStatus& status) { status.apps = {HostApp{.state = "ready"}, found}; });
  };
  const auto connection = [](const char* state) {
    return Change([state](HelperStatus& status) { status.connections = {Connection{.state = state}}; });
  };
  const Table<const char*, Change, const char*> rows = {
      {"all is well", [](auto&) {}, "green"},
      {"another format", [](auto& s) { s.schemaVersion = 2; }, "red unsupported"},
      {"another format, removed", [](auto& s) { s.schemaVersion = 0, s.state = "removed"; }, "red unsupported"},
      {"removed long ago", [](auto& s) { s.state = "removed", s.updatedAt = "2020-01-01T00:00:00Z"; },
       "red disconnected"},
      {"not paired, no process", [](auto& s) { s.state = "not_paired", s.pid = {}; }, "red disconnected"},
      {"no time", [](auto& s) { s.updatedAt = {}; }, "red outdated"},
      {"no such time", [](auto& s) { s.updatedAt = "yesterday"; }, "red outdated"},
      {"120 seconds old", updated("2026-01-31T09:13:00Z"), "green"},
      {"120.5 seconds old", updated("2026-01-31T09:12:59.500Z"), "red outdated"},
      {"120 seconds ahead", updated("2026-01-31T09:17:00Z"), "green"},
      {"121 seconds ahead", updated("2026-01-31T09:17:01Z"), "red outdated"},
      {"old and dead", [](auto& s) { s.updatedAt = {}, s.pid = 0; }, "red outdated"},
      {"no process id", [](auto& s) { s.pid = {}; }, "red invalidPID"},
      {"process id 0", [](auto& s) { s.pid = 0; }, "red invalidPID"},
      {"negative process id", [](auto& s) { s.pid = -1; }, "red invalidPID"},
      {"dead process", [](auto& s) { s.pid = 7; }, "red invalidPID"},
      {"dead and stopped", [](auto& s) { s.pid = 7, s.state = "stopped"; }, "red invalidPID"},
      {"stopped", [](auto& s) { s.state = "stopped"; }, "red stopped"},
      {"failed", [](auto& s) { s.state = "error"; }, "red stopped"},
      {"a state of another time", [](auto& s) { s.state = "resting"; }, "green"},
      {"service out of reach", [](auto& s) { s.serverReachable = false; }, "yellow"},
      {"attention", [](auto& s) { s.attention = {Attention{}}; }, "yellow"},
      {"signed out", app({.state = "signed_out"}), "yellow"},
      {"limited", app({.state = "usage_limited"}), "yellow"},
      {"no model", app({.state = "model_unavailable"}), "yellow"},
      {"outdated, no way to update", app({.state = "ready", .outdated = true}), "yellow"},
      {"stale connection", connection("stale"), "yellow"},
      {"no connection", connection("not_connected"), "yellow"},
      {"connected", connection("connected"), "green"},
      {"a running task", [](auto& s) { s.running = {RunningTask{}}; }, "running"},
      {"counted but not listed", [](auto& s) { s.running.emplace(), s.tasks = TaskCount{3}; }, "running"},
      {"running and attention", [](auto& s) { s.running = {RunningTask{}}, s.attention = {Attention{}}; }, "yellow"},
      {"stopped and attention", [](auto& s) { s.state = "stopped", s.attention = {Attention{}}; }, "red stopped"},
  };
  const auto alive = [](std::int32_t pid) { return pid == 42 || pid <= 0; };
  for (const auto& [name, change, wanted] : rows) {
    HelperStatus status = goodStatus();
    change(status);
    const Snapshot snapshot = StatusReader::judge(status, kNow, alive);
    EXPECT_EQ(verdict(snapshot), wanted) << name;
    EXPECT_EQ(snapshot.status, status) << name;
  }
}

TEST(StatusReader, WhatCannotBeReadIsAVerdict) {
  const std::string good = R"({"schemaVersion":1,"pid":42,"updatedAt":")" + formatIso8601(kNow) + "\"";
  const Table<const char*, std::function<void(FakeFiles&)>, const char*> rows = {
      {"good", [&](FakeFiles& files) { files.put(kPath, good + "}"); }, "green"},
      {"through a link", [&](FakeFiles& files) { files.put("/h/other", good + "}"), files.putLink(kPath, "/h/other"); },
       "green"},
      {"no file", [](FakeFiles&) {}, "red missing"},
      {"no folder", [](FakeFiles& files) { files.put("/h", "a file"); }, "red missing"},
      {"a link to nothing", [](FakeFiles& files) { files.putLink(kPath, "/h/gone"); }, "red missing"},
      {"a folder", [](FakeFiles& files) { files.putFolder(kPath); }, "red unreadable"},
      {"empty", [](FakeFiles& files) { files.put(kPath, ""); }, "red unreadable"},
      {"cut off", [&](FakeFiles& files) { files.put(kPath, good); }, "red unreadable"},
      {"text behind it", [&](FakeFiles& files) { files.put(kPath, good + "} {"); }, "red unreadable"},
      {"invalid UTF-8", [&](FakeFiles& files) { files.put(kPath, good + ",\"state\":\"\xff\"}"); }, "red unreadable"},
      {"a wrong type", [&](FakeFiles& files) { files.put(kPath, good + ",\"state\":1}"); }, "red unreadable"},
      {"nested without end", [](FakeFiles& files) { files.put(kPath, std::string(100'000, '[')); }, "red unreadable"},
      {"opening fails", [&](FakeFiles& files) { files.put(kPath, good + "}"), files.failAt(1, EACCES); },
       "red unreadable"},
      {"reading fails", [&](FakeFiles& files) { files.put(kPath, good + "}"), files.failAt(3, EIO); },
       "red unreadable"},
  };
  for (const auto& [name, layOut, wanted] : rows) {
    FakeFiles files;
    layOut(files);
    const Snapshot snapshot = StatusReader::read(files, Url::file(kPath), kNow, {}, kAllAlive);
    EXPECT_EQ(verdict(snapshot), wanted) << name;
    EXPECT_EQ(snapshot.status.has_value(), !snapshot.issue) << name;
    EXPECT_EQ(files.openDescriptors(), 0u) << name;
  }
}

TEST(StatusReader, AFileBeyondTheLimitIsNotRead) {
  FakeFiles files;
  files.put(kPath, R"({"schemaVersion":1})" + std::string(StatusReader::kMostBytes, ' '));
  EXPECT_EQ(verdict(StatusReader::read(files, Url::file(kPath), kNow)), "red unreadable");
  EXPECT_EQ(verdict(StatusFile(files, Url::file(kPath)).read(kNow, {})), "red unreadable");
  for (const std::string& call : files.log) EXPECT_NE(call, "read");
}

TEST(StatusReader, SettledAttentionIsTakenOutBeforeTheJudgement) {
  const Attention first{.kind = "result", .taskId = "a"};
  const Attention second{.kind = "result", .taskId = "b"};
  const Attention third{.kind = "result", .taskId = "c"};
  HelperStatus status = goodStatus();
  status.attention = {first, second, third};
  const SettleMark mark{kNow.seconds + 1, true};
  const SettleMarks some{{SettlePlan::key(first), mark}, {SettlePlan::key(third), mark}, {"of another", mark}};

  const Snapshot partly = StatusReader::evaluate(status, kNow, kAllAlive, some);
  EXPECT_EQ(partly.signal, Signal::yellow);
  EXPECT_EQ(partly.status->attention, std::vector{second});
  EXPECT_EQ(partly.hidden, (std::vector{HiddenAttention{first, SettlePlan::key(first), mark},
                                        HiddenAttention{third, SettlePlan::key(third), mark}}));

  status.attention = {first, third};
  const Snapshot wholly = StatusReader::evaluate(status, kNow, kAllAlive, some);
  EXPECT_EQ(wholly.signal, Signal::green);
  EXPECT_EQ(wholly.hidden.size(), 2u);
  // The moment at which a mark ends it has ended.
  EXPECT_EQ(StatusReader::evaluate(status, kNow + 0.5, kAllAlive, some).signal, Signal::green);
  EXPECT_EQ(StatusReader::evaluate(status, kNow + 1, kAllAlive, some).signal, Signal::yellow);
}

TEST(SettlePlan, TheKeyTellsWhatIsAnotherThing) {
  const Attention question{.kind = "question", .line = "Which one?", .taskId = "a"};
  const Attention result{.kind = "result", .line = "Ready", .taskId = "a"};
  const Table<const char*, Attention, Attention, bool> rows = {
      {"another question", question, {.kind = "question", .line = "And now?", .taskId = "a"}, false},
      {"a reworded line", result, {.kind = "result", .line = "All ready", .taskId = "a"}, true},
      {"another kind", result, {.kind = "failure", .line = "Ready", .taskId = "a"}, false},
      {"another title of a task", result, {.title = "New", .kind = "result", .taskId = "a"}, true},
      {"another title of no task", {.title = "Old"}, {.title = "New"}, false},
      {"no kind and an empty one", {.taskId = "a"}, {.kind = "", .taskId = "a"}, true},
  };
  for (const auto& [name, a, b, same] : rows) EXPECT_EQ(SettlePlan::key(a) == SettlePlan::key(b), same) << name;
}

}  // namespace
}  // namespace kestrelune
