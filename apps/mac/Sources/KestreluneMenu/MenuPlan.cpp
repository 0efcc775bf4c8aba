#include "MenuPlan.hpp"

#include <algorithm>
#include <cmath>

#include "RuntimeAction.hpp"
#include "SetupCopy.hpp"
#include "Strings.hpp"
#include "base/Text.hpp"

namespace kestrelune::MenuPlan {
namespace {

using Key = Copy::Key;

constexpr std::size_t kMostLines = 5;
constexpr double kDoneFlashSeconds = 20;
constexpr std::size_t kPillLimit = 29, kPillKeep = 27;

std::optional<Date> parsed(const std::optional<std::string>& timeStamp) {
  return timeStamp ? parseIso8601(*timeStamp) : std::nullopt;
}

std::optional<std::string> schemeOf(const std::optional<std::string>& open) {
  const std::optional<Url> link = Action::appLink(open);
  return link ? link->scheme() : std::nullopt;
}

std::string pillText(const std::string& full) {
  if (!text::hasAtLeast(full, kPillLimit)) return full;
  return text::trimmedBlanks(text::firstCharacters(full, kPillKeep)) + "…";
}

std::string titleOr(const std::string& title, Key fallback) { return title.empty() ? Copy::text(fallback) : title; }

Action openTask(const std::optional<std::string>& taskId) {
  if (taskId && Action::validPlace("task:" + *taskId)) return Action::window("task:" + *taskId);
  return Action::window("tasks");
}

std::string dotted(const std::optional<std::string>& first, const std::optional<std::string>& second) {
  if (!first) return second.value_or("");
  return second ? *first + " · " + *second : *first;
}

template <class T>
std::size_t sizeOf(const std::optional<std::vector<T>>& list) {
  return list ? list->size() : 0;
}

Pill runningPill(const HelperStatus& status) {
  const std::int64_t counted = status.tasks ? status.tasks->running.value_or(0) : 0;
  const std::int64_t count = std::max<std::int64_t>(counted, static_cast<std::int64_t>(sizeOf(status.running)));
  if (count != 1) return {Copy::filled(Key::countMany, {count}), Tone::running};
  if (sizeOf(status.running) > 0) {
    const RunningTask& task = status.running->front();
    const std::string title = join(task.label, task.title);
    if (!title.empty()) return {pillText(title), Tone::running};
  }
  return {Copy::text(Key::countOne), Tone::running};
}

/// A task that has just ended is told for a moment.
std::optional<Pill> doneFlash(const std::optional<HelperStatus>& status, Date now, const Calendar& calendar) {
  const std::vector<DoneTask> today = doneToday(status, now, calendar);
  if (today.empty()) return std::nullopt;
  const std::optional<Date> ended = parsed(today.front().endedAt);
  if (!ended || now - *ended < 0 || now - *ended > kDoneFlashSeconds) return std::nullopt;

  const std::optional<std::string> scheme = schemeOf(today.front().open);
  if (!scheme || *scheme == "https" || *scheme == "http")
    return Pill{pillText(Copy::text(Key::pillDoneAny)), Tone::done};
  return Pill{pillText(Copy::filled(Key::pillDone, {appOfScheme(*scheme)})), Tone::done};
}

/// The one line that mends what is wrong, where something is.
std::optional<MenuEntry> repairLine(const Snapshot& snapshot, const Context& context) {
  const bool red = snapshot.signal == Signal::red;
  if (snapshot.issue == StatusIssue::disconnected) {
    return MenuEntry{.title = Copy::text(Key::connectMac), .action = Action::setup()};
  }
  if (context.setupFailed || (red && !context.hasAgent)) {
    return MenuEntry{.title = Copy::text(Key::setup), .action = Action::setup()};
  }
  if (red) return MenuEntry{.title = Copy::text(Key::restart), .action = Action::restart()};
  return std::nullopt;
}

std::vector<MenuEntry> doneLines(const std::vector<DoneTask>& today, const Calendar& calendar) {
  std::vector<MenuEntry> result;
  for (const DoneTask& task : today) {
    if (result.size() == kMostLines) break;
    const std::string time = calendar.format(parsed(task.endedAt).value_or(Date{}), "HH:mm", "en_US");
    result.push_back({.title = join(task.label, task.title),
                      .detail = Copy::filled(Key::doneAt, {time}),
                      .action = openTask(task.taskId)});
  }
  return result;
}

std::vector<MenuEntry> overview(const Snapshot& snapshot, Date now, const Calendar& calendar) {
  std::vector<MenuEntry> result;
  if (auto lines = needsYou(snapshot.status); !lines.empty()) {
    result.push_back({.kind = MenuEntry::Kind::section, .title = Copy::text(Key::needsYou)});
    std::move(lines.begin(), lines.end(), std::back_inserter(result));
  }
  if (auto lines = running(snapshot.status, now); !lines.empty()) {
    const long long count = static_cast<long long>(lines.size());
    result.push_back({.title = Copy::filled(Key::runningCount, {count}), .children = std::move(lines)});
  }
  if (const auto today = doneToday(snapshot.status, now, calendar); !today.empty()) {
    result.push_back({.title = Copy::text(Key::doneToday) + " · " + std::to_string(today.size()),
                      .children = doneLines(today, calendar)});
  }
  return result;
}

std::vector<MenuEntry> aiBlock(const Snapshot& snapshot, const Context& context) {
  std::vector<MenuEntry> result = yourAIs(snapshot.status, context.update);
  if (snapshot.status && snapshot.status->autoDelegate) {
    const bool value = *snapshot.status->autoDelegate;
    result.insert(result.begin(), MenuEntry{.title = Copy::text(Key::autoDelegate),
                                            .detail = Copy::text(Key::autoDelegateDetail),
                                            .action = Action::autoDelegate(!value),
                                            .checked = value});
  }
  auto tools = ShareTools::menuEntries(context.sharedTools);
  std::move(tools.begin(), tools.end(), std::back_inserter(result));
  if (auto line = workers(snapshot.status)) result.push_back(std::move(*line));
  if (auto line = profiles(snapshot.status)) result.push_back(std::move(*line));
  if (context.smallModel) {
    result.push_back({.title = Copy::text(Key::smallModel),
                      .detail = Copy::text(Key::smallModelDetail),
                      .action = Action::smallModel(!*context.smallModel),
                      .checked = context.smallModel});
  }
  return result;
}

MenuEntry connectAnother() {
  std::vector<MenuEntry> children;
  children.reserve(kConnectable.size());
  for (const std::string_view family : kConnectable) {
    children.push_back(
        {.title = Copy::familyName(std::string(family)), .action = Action::reconnect(std::string(family))});
  }
  return {.title = Copy::text(Key::connectAnother), .children = std::move(children)};
}

bool offersFinishingSetup(const Snapshot& snapshot, const Context& context) {
  return context.setupOpen && snapshot.issue != StatusIssue::disconnected && !context.setupFailed &&
         (snapshot.signal != Signal::red || context.hasAgent);
}

}  // namespace

std::string join(const std::optional<std::string>& first, const std::optional<std::string>& second) {
  const std::string a = first.value_or(""), b = second.value_or("");
  if (a.empty() || b.empty()) return a + b;
  return a + " " + b;
}

std::string appOfScheme(std::string_view scheme) {
  static constexpr std::pair<std::string_view, std::string_view> kNames[] = {
      {"codex", "Codex"}, {"claude", "Claude"}, {"cursor", "Cursor"}, {"grokbot", "Grok Bot"}, {"https", "Kestrelune"}};
  for (const auto& [known, name] : kNames) {
    if (known == scheme) return std::string(name);
  }
  return std::string(scheme);
}

std::vector<MenuEntry> needsYou(const std::optional<HelperStatus>& status) {
  std::vector<MenuEntry> result;
  if (!status || !status->attention) return result;
  for (const Attention& item : *status->attention) {
    if (result.size() == kMostLines) break;
    MenuEntry entry{.title = titleOr(join(item.label, item.title), Key::needsYou), .subtitle = item.line};
    if (const auto scheme = schemeOf(item.open)) {
      entry.detail = Copy::filled(Key::answerIn, {appOfScheme(*scheme)});
    }
    entry.action = item.scheduleId ? Action::window("tasks") : Action::open(item.open, item.taskId);
    entry.settleKey = SettlePlan::key(item);
    result.push_back(std::move(entry));
  }
  return result;
}

std::vector<MenuEntry> running(const std::optional<HelperStatus>& status, Date now) {
  std::vector<MenuEntry> result;
  if (!status || !status->running) return result;
  for (const RunningTask& task : *status->running) {
    if (result.size() == kMostLines) break;
    MenuEntry entry{.title = join(task.label, task.title), .action = openTask(task.taskId)};
    std::optional<std::string> age;
    if (const auto since = parsed(task.since)) {
      const auto minutes = static_cast<long long>(std::max(0.0, std::trunc((now - *since) / 60)));
      age = Copy::filled(Key::minutes, {minutes});
    }
    if (task.ballAt || age) entry.detail = dotted(task.ballAt, age);
    result.push_back(std::move(entry));
  }
  return result;
}

std::vector<DoneTask> doneToday(const std::optional<HelperStatus>& status, Date now, const Calendar& calendar) {
  struct Ended {
    Date at;
    const DoneTask* task;
  };
  std::vector<Ended> today;
  if (!status || !status->done) return {};
  for (const DoneTask& task : *status->done) {
    const auto ended = parsed(task.endedAt);
    if (ended && calendar.isSameDay(*ended, now)) today.push_back({*ended, &task});
  }
  std::stable_sort(today.begin(), today.end(), [](const Ended& a, const Ended& b) { return a.at > b.at; });

  std::vector<DoneTask> result;
  result.reserve(today.size());
  for (const Ended& each : today) result.push_back(*each.task);
  return result;
}

std::vector<MenuEntry> done(const std::optional<HelperStatus>& status, Date now, const Calendar& calendar) {
  return doneLines(doneToday(status, now, calendar), calendar);
}

Pill pill(const Snapshot& snapshot, Date now, const Calendar& calendar) {
  const std::size_t attention = snapshot.status ? sizeOf(snapshot.status->attention) : 0;
  if (attention >= 2) {
    return {Copy::filled(Key::pillNeedsMany, {static_cast<long long>(attention)}), Tone::needsYou};
  }
  if (attention == 1) {
    const Attention& item = snapshot.status->attention->front();
    return {pillText(titleOr(join(item.label, item.title), Key::needsYou)), Tone::needsYou};
  }
  // A red helper shows nothing else: a stale list must not shine through.
  if (snapshot.signal == Signal::red) return {};
  if (auto flash = doneFlash(snapshot.status, now, calendar)) return *flash;
  if (snapshot.signal != Signal::running || !snapshot.status) return {};
  return runningPill(*snapshot.status);
}

std::vector<MenuEntry> entries(const Snapshot& snapshot, Date now, const Context& context, const Calendar& calendar) {
  const MenuEntry separator{.kind = MenuEntry::Kind::separator};
  std::vector<MenuEntry> result = overview(snapshot, now, calendar);

  if (auto block = aiBlock(snapshot, context); !block.empty()) {
    if (!result.empty()) result.push_back(separator);
    result.push_back({.kind = MenuEntry::Kind::section, .title = Copy::text(Key::yourAIs)});
    std::move(block.begin(), block.end(), std::back_inserter(result));
  }
  result.push_back(separator);
  result.push_back({.title = Copy::text(Key::allTasks), .action = Action::window("tasks"), .key = "t"});
  if (offersFinishingSetup(snapshot, context)) {
    result.push_back({.title = SetupCopy::text(SetupCopy::Key::menuOpen), .action = Action::setup()});
  }
  result.push_back({.title = Copy::text(Key::settings), .action = Action::window("general"), .key = ","});
  result.push_back(ProblemPlan::menuEntry(context.problem));
  result.push_back({.title = Copy::text(Key::account), .action = Action::account()});
  result.push_back(connectAnother());
  if (auto line = repairLine(snapshot, context)) result.push_back(std::move(*line));
  result.push_back(separator);
  result.push_back({.title = Copy::text(Key::quit), .action = Action::quit(), .key = "q"});
  return result;
}

}  // namespace kestrelune::MenuPlan
