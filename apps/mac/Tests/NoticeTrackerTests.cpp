#include "NoticeTracker.hpp"

#include <sstream>

#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

Snapshot withStatus(HelperStatus status) { return {.status = std::move(status), .signal = Signal::yellow}; }

/// What a look sees, in words: "red", or a status with what each word sets. Single letters are items.
Snapshot seen(const std::string& words) {
  if (words == "red") return {.signal = Signal::red};
  HelperStatus status;
  std::istringstream each(words);
  for (std::string word; each >> word;) {
    if (word.size() == 1) {
      if (!status.attention) status.attention.emplace();
      status.attention->push_back({.taskId = word});
    } else if (word.ends_with("reachable")) {
      status.serverReachable = word == "reachable";
    } else if (word == "running" || word == "removed") {
      status.state = word;
    } else if (word != "well") {
      status.apps = {{{.host = "claude", .state = word, .model = "Opus"}}};
    }
  }
  return withStatus(status);
}

TEST(NoticeTracker, ToldIsWhatChangedAndOnce) {
  // name: when, what is seen, and after a ">" what is told
  const Table<const char*, const char*> rows = {
      {"the helper is lost for two minutes", "0 well, 5 red, 124 red, 125 red > helper, 500 red"},
      {"lost again", "0 well, 5 red, 130 red > helper, 135 well, 140 red, 259 red, 260 red > helper"},
      {"back in between", "0 well, 5 red, 100 well, 105 red, 224 red, 225 red > helper"},
      {"lost from the start", "0 red, 500 red, 505 well, 510 red, 630 red > helper"},
      {"the service is lost for five minutes",
       "0 reachable, 5 unreachable, 304 unreachable, 305 unreachable > server, 999 unreachable"},
      {"nobody knows meanwhile", "0 well, 5 unreachable, 10 well, 200 red, 320 red > helper server"},
      {"back, and lost again",
       "0 reachable, 5 unreachable, 200 reachable, 205 unreachable, 504 unreachable, 505 unreachable > server, "
       "510 reachable, 515 unreachable, 814 unreachable, 815 unreachable > server"},
      {"out of reach from the start", "0 unreachable, 500 unreachable"},
      {"removed", "0 running, 5 removed > removed, 10 red, 15 well, 20 removed, 25 running, 30 removed > removed"},
      {"removed before", "0 removed, 5 removed"},
      {"signed out", "0 ready, 5 red, 10 signed_out > signin-claude, 15 signed_out, 20 usage_limited, 25 signed_out"},
      {"no model", "0 well, 5 signed_out, 10 model_unavailable > model-claude, 15 well, 20 model_unavailable"},
      {"no model from the start", "0 well, 5 model_unavailable, 10 ready, 15 model_unavailable > model-claude"},
      {"another question", "0 a, 5 a b > attention-b, 10 b, 15 a b > attention-a, 20 red, 25 a, 30 well, 35 a"},
      {"the first list", "0 well, 5 a > attention-a"},
      {"several at once", "0 reachable running, 5 unreachable, 305 removed a > server removed attention-a"},
  };
  for (const auto& [name, words] : rows) {
    NoticeTracker tracker;
    std::istringstream looks(words);
    for (std::string look; std::getline(looks >> std::ws, look, ',');) {
      const std::size_t blank = look.find(' '), end = look.find(" > ");
      std::string told;
      const Snapshot snapshot = seen(look.substr(blank + 1, end == look.npos ? end : end - blank - 1));
      for (const Notice& notice : tracker.update(snapshot, Date{std::stod(look)})) told += " " + notice.id;
      EXPECT_EQ(told, end == look.npos ? "" : look.substr(end + 2)) << name << ": " << look;
    }
  }
}

TEST(NoticeTracker, TextsAndActions) {
  const testing_support::English english;
  const auto asks = [](const Attention& item) { return withStatus({.attention = {{item}}}); };
  const auto second = [](const Snapshot& before, const Snapshot& after) {
    NoticeTracker tracker;
    tracker.update(before, Date{});
    return tracker.update(after, Date{5}).at(0);
  };
  EXPECT_EQ(second(seen("ready"), seen("signed_out")),
            (Notice{"signin-claude", "Kestrelune", "Claude Code is signed out. Open Claude Code and sign in.",
                    Action::signIn("claude")}));
  EXPECT_EQ(second(seen("ready"), seen("model_unavailable")).body,
            "Claude Code: the model Opus is not available for your account. Choose another model in Claude Code.");
  EXPECT_EQ(second(seen("running"), seen("removed")).action, Action::setup());

  EXPECT_EQ(second(withStatus({}), asks({.taskId = "aa-1"})),
            (Notice{"attention-aa-1", "Needs you", "Needs you", Action::window("task:aa-1")}));
  const Notice named = second(
      withStatus({}), asks({.label = "#46", .title = "Pick a date", .line = "Monday or Friday?", .taskId = "aa-1"}));
  EXPECT_EQ(named.title + "|" + named.body, "#46 Pick a date|Monday or Friday?");
  EXPECT_EQ(second(withStatus({}), asks({.label = "", .title = "Pick a date"})).title, "Pick a date");
}

TEST(NoticeTracker, AClockThatWentBackRepeatsNothing) {
  NoticeTracker tracker;
  const auto told = [&tracker](double at, Signal signal) {
    return tracker.update({.signal = signal}, Date{at}).size();
  };
  told(1000, Signal::green);
  EXPECT_EQ(told(1005, Signal::red) + told(0, Signal::red) + told(1124, Signal::red), 0u);
  EXPECT_EQ(told(1125, Signal::red), 1u);
  EXPECT_EQ(told(0, Signal::red) + told(2000, Signal::red), 0u);
}

}  // namespace
}  // namespace kestrelune
