#include "NoticeTracker.hpp"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "Fakes/Languages.hpp"

// A week of made-up snapshots, told by the tracker and by a model that keeps everything it ever saw and looks the
// answer up from the start each time: slow, and without any memory of its own to get wrong.
namespace kestrelune {
namespace {

struct Moment {
  double at = 0;
  Snapshot snapshot;
};

using History = std::vector<Moment>;
using Told = std::multimap<double, std::string>;  ///< time and id of what was told

/// The last value that `read` finds before `end`; nothing when there is none.
template <class Read>
auto lastBefore(const History& history, std::size_t end, Read read) -> decltype(read(history[0])) {
  for (std::size_t i = end; i-- > 0;) {
    if (auto value = read(history[i])) return value;
  }
  return {};
}

/// Where the stretch that reaches up to the last moment began, in which each moment passes; 0: since the first one.
template <class Passes>
std::size_t stretchStart(const History& history, Passes passes) {
  std::size_t start = history.size();
  while (start > 0 && passes(history[start - 1])) --start;
  return start;
}

std::optional<bool> reachable(const Moment& moment) {
  return moment.snapshot.status ? moment.snapshot.status->serverReachable : std::nullopt;
}

std::optional<std::string> helperState(const Moment& moment) {
  return moment.snapshot.status ? moment.snapshot.status->state : std::nullopt;
}

std::optional<std::string> stateOf(const Moment& moment, const std::string& host) {
  if (!moment.snapshot.status || !moment.snapshot.status->apps) return std::nullopt;
  for (const HostApp& app : *moment.snapshot.status->apps) {
    if (app.host == host && app.state) return app.state;
  }
  return std::nullopt;
}

std::optional<std::vector<Attention>> attentionOf(const Moment& moment) {
  return moment.snapshot.status ? moment.snapshot.status->attention : std::nullopt;
}

bool toldSince(const Told& told, const std::string& id, double since) {
  for (auto it = told.lower_bound(since); it != told.end(); ++it) {
    if (it->second == id) return true;
  }
  return false;
}

/// What is to be told at the last moment of a history, given what was told before.
std::vector<std::string> modelAnswer(const History& history, const Told& told) {
  std::vector<std::string> ids;
  const std::size_t last = history.size() - 1;
  if (last == 0) return ids;
  const Moment& now = history[last];

  const std::size_t red = stretchStart(history, [](const Moment& each) { return each.snapshot.signal == Signal::red; });
  if (red > 0 && red <= last && now.at - history[red].at >= 120 && !toldSince(told, "helper", history[red].at)) {
    ids.emplace_back("helper");
  }

  // The stretch in which nobody said that the service is reachable, and the first word in it that it isn't.
  const std::size_t silent = stretchStart(history, [](const Moment& each) { return reachable(each) != true; });
  std::size_t lost = silent;
  while (lost <= last && !reachable(history[lost])) ++lost;
  if (lost > 0 && lost <= last && now.at - history[lost].at >= 300 && !toldSince(told, "server", history[lost].at)) {
    ids.emplace_back("server");
  }

  if (helperState(now) == "removed" && lastBefore(history, last, helperState) != "removed") {
    ids.emplace_back("removed");
  }
  if (now.snapshot.status && now.snapshot.status->apps) {
    for (const HostApp& app : *now.snapshot.status->apps) {
      if (!app.host || !app.state) continue;
      const auto before = lastBefore(history, last, [&](const Moment& each) { return stateOf(each, *app.host); });
      if (app.state == "signed_out" && before == "ready") ids.push_back("signin-" + *app.host);
      if (app.state == "model_unavailable" && before && before != "model_unavailable") {
        ids.push_back("model-" + *app.host);
      }
    }
  }
  if (const auto items = attentionOf(now)) {
    // The first moment counts as a list even where it has none.
    const auto before = lastBefore(history, last, attentionOf).value_or(std::vector<Attention>{});
    for (const Attention& item : *items) {
      bool known = false;
      for (const Attention& other : before) known = known || other.identity() == item.identity();
      if (!known) ids.push_back("attention-" + item.identity());
    }
  }
  return ids;
}

class Weather {
 public:
  explicit Weather(unsigned seed) : random_(seed) {
    reachable_ = pick<std::optional<bool>>({true, false, std::nullopt});
    state_ = pick<std::optional<std::string>>({"running", "removed", std::nullopt});
  }

  /// Mostly what was before, so that things last; now and then one of them changes.
  Snapshot next() {
    if (oneIn(40)) gone_ = !gone_;
    if (oneIn(25)) red_ = !red_;
    if (oneIn(50)) reachable_ = pick<std::optional<bool>>({true, false, false, std::nullopt});
    if (oneIn(60)) state_ = pick<std::optional<std::string>>({"running", "removed", "stopped", std::nullopt});
    for (const char* host : {"codex", "claude", "cursor"}) {
      if (oneIn(30)) {
        apps_[host] = pick<std::optional<std::string>>(
            {"ready", "ready", "signed_out", "model_unavailable", "usage_limited", std::nullopt});
      }
    }
    if (oneIn(8)) tasks_ ^= 1u << std::uniform_int_distribution<unsigned>(0, 5)(random_);
    if (oneIn(30)) listed_ = !listed_;

    Snapshot snapshot;
    snapshot.signal = red_ || gone_ ? Signal::red : Signal::green;
    if (gone_) return snapshot;
    HelperStatus& status = snapshot.status.emplace();
    status.serverReachable = reachable_;
    status.state = state_;
    status.apps.emplace();
    for (const auto& [host, state] : apps_) status.apps->push_back({.host = host, .state = state});
    status.apps->push_back({.state = "ready"});
    if (listed_) {
      status.attention.emplace();
      for (unsigned task = 0; task < 6; ++task) {
        if (tasks_ & (1u << task)) status.attention->push_back({.taskId = std::to_string(task)});
      }
    }
    return snapshot;
  }

  double step() { return pick<double>({5, 5, 5, 5, 4.5, 60}); }

 private:
  bool oneIn(int n) { return std::uniform_int_distribution<int>(1, n)(random_) == 1; }
  template <class T>
  T pick(std::vector<T> from) {
    return from[std::uniform_int_distribution<std::size_t>(0, from.size() - 1)(random_)];
  }

  std::mt19937 random_;
  bool gone_ = false, red_ = false, listed_ = true;
  std::optional<bool> reachable_;
  std::optional<std::string> state_;
  std::map<std::string, std::optional<std::string>> apps_;
  unsigned tasks_ = 3;
};

TEST(NoticeTrackerModel, AgreesOverAWeek) {
  constexpr int kSeeds = 24;
  constexpr double kHours = 7;
  std::map<std::string, int> kinds;
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Weather weather(seed);
    NoticeTracker tracker;
    History history;
    Told told;
    for (double at = 0; at < kHours * 3600; at += weather.step()) {
      history.push_back({at, weather.next()});
      const std::vector<std::string> expected = modelAnswer(history, told);
      std::vector<std::string> ids;
      for (const Notice& notice : tracker.update(history.back().snapshot, Date{at})) ids.push_back(notice.id);
      ASSERT_EQ(ids, expected) << "at " << at;
      for (const std::string& id : ids) {
        told.emplace(at, id);
        ++kinds[id.substr(0, id.find('-'))];
      }
    }
  }
  for (const char* kind : {"helper", "server", "removed", "signin", "model", "attention"}) {
    EXPECT_GT(kinds[kind], 5) << kind;
  }
}

Snapshot withStatus(HelperStatus status) { return {.status = std::move(status), .signal = Signal::yellow}; }

TEST(NoticeTracker, TextsAndActions) {
  const testing_support::English english;
  const auto app = [](const char* state) {
    return withStatus({.apps = {{{.host = "claude", .state = state, .model = "Opus"}}}});
  };
  const auto helper = [](const char* state) { return withStatus({.state = state}); };
  const Snapshot nothing = withStatus({.attention = std::vector<Attention>{}});
  const auto asks = [](Attention item) { return withStatus({.attention = std::vector{std::move(item)}}); };
  const auto second = [](const Snapshot& before, const Snapshot& after) {
    NoticeTracker tracker;
    tracker.update(before, Date{});
    return tracker.update(after, Date{5}).at(0);
  };
  EXPECT_EQ(second(app("ready"), app("signed_out")),
            (Notice{"signin-claude", "Kestrelune", "Claude Code is signed out. Open Claude Code and sign in.",
                    Action::signIn("claude")}));
  EXPECT_EQ(second(app("ready"), app("model_unavailable")).body,
            "Claude Code: the model Opus is not available for your account. Choose another model in Claude Code.");
  EXPECT_EQ(second(helper("running"), helper("removed")).action, Action::setup());

  EXPECT_EQ(second(nothing, asks({.taskId = "aa-1"})),
            (Notice{"attention-aa-1", "Needs you", "Needs you", Action::window("task:aa-1")}));
  const Notice named =
      second(nothing, asks({.label = "#46", .title = "Pick a date", .line = "Monday or Friday?", .taskId = "aa-1"}));
  EXPECT_EQ(named.title + "|" + named.body, "#46 Pick a date|Monday or Friday?");
  EXPECT_EQ(second(nothing, asks({.label = "", .title = "Pick a date"})).title, "Pick a date");
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
