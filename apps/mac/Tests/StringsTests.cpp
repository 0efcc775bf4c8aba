#include "Strings.hpp"

#include "AppUpdateCopy.hpp"
#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"
#include "ProblemCopy.hpp"
#include "SettleCopy.hpp"
#include "SetupCopy.hpp"
#include "UsageCopy.hpp"

namespace kestrelune {
namespace {

/// "@d%" for the placeholders of a text, in order.
std::string placeholders(const std::string& text) {
  std::string found;
  for (std::size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at)) {
    found += at + 1 < text.size() ? text[at + 1] : '?';
    at += 2;
  }
  return found;
}

TEST(TextTables, AreCompleteInBothLanguages) {
  const struct {
    const char* name;
    TextTable table;
  } tables[] = {
      {"Copy", Copy::table()},
      {"SetupCopy", SetupCopy::table()},
      {"SettleCopy", SettleCopy::table()},
      {"UsageCopy", UsageCopy::table()},
      {"ProblemCopy", ProblemCopy::table()},
      {"AppUpdateCopy", AppUpdateCopy::table()},
  };
  for (const auto& [name, table] : tables) {
    std::set<std::string> keys;
    for (const TextRow& row : table) {
      SCOPED_TRACE(std::string(name) + "." + row.key);
      EXPECT_TRUE(keys.insert(row.key).second);
      EXPECT_EQ(placeholders(row.english), placeholders(row.german));
      EXPECT_EQ(placeholders(row.english).find_first_not_of("@d%"), std::string::npos);
      for (const std::string text : {row.english, row.german}) {
        EXPECT_TRUE(text::isValidUtf8(text));
        EXPECT_EQ(text, text::trimmed(text));
        // Typographic quotes and ellipses only, and nothing left over from a table of a document.
        EXPECT_EQ(text.find_first_of("\"`|\\\n"), std::string::npos);
        EXPECT_EQ(text.find("..."), std::string::npos);
        EXPECT_EQ(text.find("service host"), std::string::npos);
        EXPECT_EQ(text.find("support address"), std::string::npos);
      }
    }
  }
}

TEST(Language, IsThatOfTheFirstChoice) {
  const Table<std::vector<std::string>, Language> rows = {
      {std::vector<std::string>{}, Language::english},
      {{"de"}, Language::german},
      {{"de-CH", "en"}, Language::german},
      {{"en-US", "de"}, Language::english},
      {{"fr", "de-DE"}, Language::english},
  };
  for (const auto& [preferred, language] : rows) {
    EXPECT_EQ(languageOf(preferred), language) << (preferred.empty() ? "none" : preferred.front());
  }
}

TEST(Snapshot, Headline) {
  const testing_support::English english;
  const auto running = [](std::optional<std::int64_t> counted, std::size_t listed) {
    HelperStatus status;
    if (counted) status.tasks = TaskCount{counted};
    if (listed > 0) status.running = std::vector<RunningTask>(listed);
    return Snapshot{.status = status, .signal = Signal::running};
  };
  const Table<const char*, Snapshot, const char*> rows = {
      {"green", {.signal = Signal::green}, "Everything is ready"},
      {"red", {.signal = Signal::red}, "Kestrelune is not running"},
      {"one counted", running(1, 0), "A task is running"},
      {"more listed than counted", running(1, 3), "3 running"},
      {"a count below zero", running(-4, 2), "2 running"},
  };
  for (const auto& [name, snapshot, said] : rows) EXPECT_EQ(headline(snapshot), said) << name;
}

TEST(Snapshot, MessageOfTheHelperGoesFirst) {
  const testing_support::English english;
  const Table<const char*, std::optional<std::string>, std::optional<StatusIssue>, std::optional<std::string>> rows = {
      {"nothing to say", {}, {}, {}},
      {"the helper's own", "Disk is full.", StatusIssue::stopped, "Disk is full."},
      {"an empty one", "", StatusIssue::stopped, "Kestrelune is not ready on this Mac yet."},
      {"an empty one without an issue", "", {}, {}},
      {"the issue", {}, StatusIssue::outdated, "The last status is over two minutes old."},
  };
  for (const auto& [name, own, issue, said] : rows) {
    HelperStatus status;
    status.message = own;
    EXPECT_EQ(message({.status = status, .issue = issue}), said) << name;
  }
  EXPECT_EQ(message({.issue = StatusIssue::missing}), "No status file found.");
}

}  // namespace
}  // namespace kestrelune
