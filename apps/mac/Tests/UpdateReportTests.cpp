#include "UpdateReport.hpp"

#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

constexpr Date kStart{1'769'850'900};

UpdateProgress closing(const char* phase, std::vector<UpdateEntry> apps, double began = 1) {
  return {.schemaVersion = 1, .phase = phase, .startedAt = formatIso8601(kStart + began), .apps = std::move(apps)};
}

TEST(UpdateReport, LineOfOneApplication) {
  const testing_support::English english;
  const Table<const char*, UpdateEntry, const char*> rows = {
      {"updated", {.app = "codex", .outcome = "updated", .before = "1.0", .after = "1.1"}, "Codex: 1.0 → 1.1"},
      {"updated from an unknown version", {.app = "claude", .outcome = "updated", .after = "2"}, "Claude Code: ? → 2"},
      {"its own name goes first", {.app = "t3", .name = "T3", .outcome = "current"}, "T3: up to date"},
      {"signed out afterwards",
       {.app = "t3", .outcome = "current", .after = "1.2", .state = "signed_out"},
       "T3 Code: up to date (1.2) – signed out"},
      {"Codex inside of ChatGPT",
       {.app = "codex", .outcome = "app", .detail = "Part of the ChatGPT app"},
       "Codex: please update it in the ChatGPT app with “Check for Updates”"},
      {"Codex by itself",
       {.app = "codex", .name = "Codex CLI", .outcome = "app"},
       "Codex CLI: please update it in the Codex app with “Check for Updates”"},
      {"no way to update it", {.app = "new", .outcome = "no_updater"}, "new: no official way to update it was found"},
      {"an outcome of another time",
       {.app = "cursor", .outcome = "exploded"},
       "Cursor: update failed – please update it in its app"},
      {"nothing at all", {}, "unknown: update failed – please update it in its app"},
      {"a percent sign in a name", {.name = "50 %@ off", .outcome = "current"}, "50 %@ off: up to date"},
  };
  for (const auto& [name, entry, line] : rows) EXPECT_EQ(UpdateReport::line(entry), line) << name;
}

TEST(UpdateReport, Summary) {
  const testing_support::English english;
  const UpdateEntry current{.app = "codex", .outcome = "current"};
  const UpdateEntry failed{.app = "cursor"};
  const std::string lines = "Codex: up to date\nCursor: update failed – please update it in its app";
  const UpdateReport::Summary done{"AI apps updated", lines};
  const UpdateReport::Summary busy{"Kestrelune",
                                   "Tasks are still running, so nothing was changed. Please try again later."};
  const auto unfinished = [](const std::string& reason) {
    return UpdateReport::Summary{"Kestrelune", "The update did not finish: " + reason};
  };
  const Table<const char*, std::optional<UpdateProgress>, std::int32_t, const char*, UpdateReport::Summary> rows = {
      {"done", closing("done", {current, failed}), 0, "ok", done},
      {"done in spite of the code", closing("done", {current, failed}), 3, "bad", done},
      {"done with nothing", closing("done", {}), 0, "", {"Kestrelune", "No AI app was found on this Mac."}},
      {"busy", closing("busy", {current}), 0, "", busy},
      {"still active when it ended", closing("checking", {current}), 124, "Checking", unfinished("Checking")},
      {"four seconds before the start", closing("done", {current, failed}, -4), 0, "", done},
      {"five seconds before the start", closing("done", {current, failed}, -5), 0, "", done},
      {"six seconds before the start", closing("done", {current, failed}, -6), 0, "", unfinished("0")},
      {"no file", {}, -1, "No such file or directory", unfinished("No such file or directory")},
      {"no file and no line", {}, -1, "", unfinished("-1")},
      {"no start in the file", UpdateProgress{.schemaVersion = 1, .phase = "done"}, 7, "", unfinished("7")},
  };
  for (const auto& [name, progress, code, lastLine, summary] : rows) {
    EXPECT_EQ(UpdateReport::summary(progress, kStart, code, lastLine), summary) << name;
  }
}

TEST(UpdateReport, ProgressLine) {
  const testing_support::English english;
  const Table<std::optional<UpdateProgress>, const char*> rows = {
      {std::nullopt, "Updating AI apps …"},
      {UpdateProgress{}, "Updating AI apps …"},
      {UpdateProgress{.phase = "waiting", .current = "codex"}, "Waiting for the running task to finish …"},
      {UpdateProgress{.phase = "updating", .current = "t3"}, "Updating T3 Code …"},
      {UpdateProgress{.phase = "updating"}, "Updating AI apps …"},
      {UpdateProgress{.phase = "checking"}, "Checking the updated apps …"},
      {UpdateProgress{.phase = "done", .current = "t3"}, "Updating AI apps …"},
  };
  for (const auto& [progress, line] : rows) EXPECT_EQ(UpdateReport::progressLine(progress), line);
}

}  // namespace
}  // namespace kestrelune
