#include "WindowModel.hpp"

#include <algorithm>
#include <charconv>
#include <memory>
#include <utility>

#include "Endpoints.hpp"
#include "Notifications.hpp"
#include "ProblemReport.hpp"
#include "RuntimeAction.hpp"
#include "Strings.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kLongestReason = 300;

/// Decodes what the helper printed, off the main thread since a history can be long, and hands it over on it.
template <class T>
void decodeInBackground(RunLoop& loop, std::string output, T (*decode)(std::string_view),
                        std::function<void(T)> publish) {
  loop.background([&loop, output = std::move(output), decode, publish = std::move(publish)] {
    auto answer = std::make_shared<T>();
    try {
      *answer = decode(output);
    } catch (const JsonError&) {
      return;
    }
    loop.post([answer, publish] { publish(std::move(*answer)); });
  });
}

}  // namespace

std::optional<RowRange> RowRange::around(const std::string& wanted) {
  constexpr std::size_t kBlock = 128, kLast = 1u << 30;
  RowRange range;
  const char* end = wanted.data() + wanted.size();
  const auto [dash, noFirst] = std::from_chars(wanted.data(), end, range.first);
  if (noFirst != std::errc{} || dash == end || *dash != '-') return std::nullopt;
  const auto [stop, noLast] = std::from_chars(dash + 1, end, range.last);
  if (noLast != std::errc{} || stop != end || range.last < range.first || range.last > kLast) return std::nullopt;
  range.first = range.first / kBlock * kBlock;
  range.first -= std::min(range.first, kBlock);
  range.last = std::min((range.last / kBlock + 2) * kBlock, range.first + 8 * kBlock);
  return range;
}

WindowModel::WindowModel(const Configuration& configuration, const Outside& outside, ActionRunner& actions)
    : dryRun_(configuration.dryRun),
      helper_(configuration.helperRoot.appending("bin/kestrelune")),
      outside_(outside),
      actions_(actions),
      histories_(outside.tasks, outside.clock, {"tasks", "--json"},
                 [this](const std::string& output) {
                   decodeInBackground<std::vector<WindowTask>>(outside_.loop, output, decodeHistory,
                                                               lifetime_.guarded([this](std::vector<WindowTask> tasks) {
                                                                 lists_.reset();
                                                                 set(&State::history, std::move(tasks));
                                                               }));
                 }),
      schedules_(outside.tasks, outside.clock, {"schedules", "--json"}, [this](const std::string& output) {
        decodeInBackground<std::vector<Schedule>>(outside_.loop, output, decodeSchedules,
                                                  lifetime_.guarded([this](std::vector<Schedule> schedules) {
                                                    set(&State::schedules, std::optional(std::move(schedules)));
                                                  }));
      }) {
  state_.reportsURL = configuration.statusURL.deletingLastComponent().appending("reports");
  state_.loginItem = readLoginItem();
  state_.muted = outside_.defaults.boolean(Notifications::kMutedKey);
}

template <class T>
void WindowModel::set(T State::*member, T value) {
  if (state_.*member == value) return;
  state_.*member = std::move(value);
  if (onChange) onChange();
}

void WindowModel::setSnapshot(Snapshot snapshot) {
  if (snapshot != state_.snapshot) lists_.reset();
  set(&State::snapshot, std::move(snapshot));
}

const TaskLists& WindowModel::lists(Date now) {
  const Calendar calendar = Calendar::current();
  if (!lists_ || !calendar.isSameDay(lists_->madeAt, now)) {
    lists_ = std::make_unique<TaskLists>(state_.snapshot, state_.history, now, calendar);
  }
  return *lists_;
}

void WindowModel::setPlace(const std::string& place) { set(&State::place, place); }
void WindowModel::setUpdateLine(std::optional<std::string> line) { set(&State::updateLine, std::move(line)); }
void WindowModel::setCopied(bool copied) { set(&State::copied, copied); }
void WindowModel::setInSight(const std::string& wanted) {
  if (const auto range = RowRange::around(wanted)) set(&State::inSight, *range);
}

void WindowModel::loadHistory() { load(histories_); }
void WindowModel::loadSchedules() { load(schedules_); }

void WindowModel::load(WindowLoads& loads) {
  if (!dryRun_ && isExecutableFile(outside_.files, helper_.path())) loads.start(helper_.path());
}

void WindowModel::loadProblem() {
  const auto text =
      readFile(outside_.files, state_.reportsURL.appending("latest.json").path(), ProblemPlan::kRecordLimit);
  std::optional<ProblemRecord> record = text ? ProblemPlan::decode(text.value) : std::nullopt;
  set(&State::problemRunning, record && ProblemPlan::isRunning(*record, outside_.files));
  set(&State::problem, std::move(record));
}

void WindowModel::schedule(const std::string& verb, const Schedule& schedule) {
  if (verb != "pause" && verb != "resume" && verb != "remove") return;
  if (!Action::validPlace("task:" + schedule.scheduleId)) return;
  if (verb != "remove") return runSchedule(verb, schedule.scheduleId);

  const std::string name = schedule.name ? *schedule.name : Copy::text(Copy::Key::schedules);
  const Question question{.title = Copy::filled(Copy::Key::removeScheduleTitle, {name}),
                          .text = Copy::text(Copy::Key::removeScheduleBody),
                          .buttons = {Copy::text(Copy::Key::removeSchedule), Copy::text(Copy::Key::cancel)},
                          .cancelButton = 1};
  outside_.session.alert().ask(question, lifetime_.guarded([this, id = schedule.scheduleId](const Answer& answer) {
    if (answer.button == 0) runSchedule("remove", id);
  }));
}

void WindowModel::runSchedule(const std::string& verb, const std::string& id) {
  if (dryRun_) return outside_.output("DRY_RUN schedule " + verb + " " + id);
  const TaskRequest request{
      .executable = helper_.path(), .arguments = {"schedule", verb, id}, .errors = TaskRequest::Stream::capture};
  const auto launched = outside_.tasks.launch(request, lifetime_.guarded([this](const TaskEnd& end) {
    if (end.reason != TaskEnd::Reason::exited || end.status != 0) {
      const std::string reason = text::firstCharacters(text::trimmed(text::repairedUtf8(end.errors)), kLongestReason);
      actions_.showError(RuntimeError::script(reason.empty() ? Copy::text(Copy::Key::setupFailed) : reason));
    }
    loadSchedules();
  }));
  if (!launched) actions_.showError(RuntimeError::posix(launched.error));
}

bool WindowModel::readLoginItem() const {
  return !dryRun_ && outside_.session.loginItem().status() == LoginItem::Status::enabled;
}

void WindowModel::toggleLogin() {
  actions_.perform(Action::loginItem());
  set(&State::loginItem, readLoginItem());
}

void WindowModel::toggleMuted() {
  outside_.defaults.setBoolean(Notifications::kMutedKey, !outside_.defaults.boolean(Notifications::kMutedKey));
  set(&State::muted, outside_.defaults.boolean(Notifications::kMutedKey));
}

void WindowModel::copyDownloadLink() {
  outside_.session.pasteboard().copy(endpoints::kPublicSite);
  setCopied(true);
}

void WindowModel::showProblemReport() {
  const auto folder = ProblemPlan::reportFolder(state_.problem, state_.reportsURL);
  if (!folder) return;
  // A link planted in the reports folder must not lead outside either.
  const std::string inside = state_.reportsURL.resolvingSymbolicLinks().path() + "/";
  const Url report = folder->appending("report.md").resolvingSymbolicLinks();
  if (report.path().starts_with(inside)) outside_.session.workspace().reveal(report);
}

void WindowModel::openProblemChat() {
  if (state_.problem && Action::appLink(state_.problem->open)) {
    actions_.perform(Action::openLink(*state_.problem->open));
  }
}

void WindowModel::stop() {
  histories_.stop();
  schedules_.stop();
}

}  // namespace kestrelune
