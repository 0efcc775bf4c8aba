#include "ProblemReport.hpp"

#include "ProblemCopy.hpp"
#include "RuntimeAction.hpp"
#include "Strings.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

using Key = ProblemCopy::Key;

constexpr std::size_t kBodyLimit = 220;
constexpr double kFirstLookSeconds = 1;

/// The first choice checks, a second one can be asked for instead.
Question questionFor(const std::vector<std::string>& choices) {
  Question question{.title = ProblemCopy::text(Key::title), .text = ProblemCopy::text(Key::bodyNoApp)};
  question.buttons.push_back(ProblemCopy::text(Key::check));
  if (!choices.empty()) {
    const std::string name = ProblemPlan::appName(choices.front());
    question.text = ProblemCopy::filled(Key::body, {name, name, name});
  }
  if (choices.size() == 2) {
    question.buttons.push_back(ProblemCopy::filled(Key::checkWith, {ProblemPlan::appName(choices.back())}));
  }
  question.cancelButton = static_cast<int>(question.buttons.size());
  question.buttons.push_back(ProblemCopy::text(Key::cancel));
  question.field = Question::Field{.placeholder = ProblemCopy::text(Key::notePlaceholder)};
  return question;
}

}  // namespace

std::optional<Notice> ProblemPlan::notice(const ProblemRecord& record) {
  Notice notice{.id = "problem", .action = Action::window("general")};
  if (record.state == "done") {
    const std::string app = record.app.value_or("");
    notice.title = ProblemCopy::filled(Key::answered, {app.empty() ? "Kestrelune" : app});
    notice.body = text::firstCharacters(text::replacedAll(record.answer.value_or(""), "\n", " "), kBodyLimit);
    return notice;
  }
  if (record.state == "failed") {
    notice.title = ProblemCopy::text(Key::failed);
    notice.body = text::firstCharacters(record.reason.value_or(""), kBodyLimit);
    return notice;
  }
  return std::nullopt;
}

bool ProblemPlan::isRunning(const ProblemRecord& record, Files& files) {
  return record.state == "running" && record.pid.value_or(0) > 0 && isAlive(files, *record.pid);
}

ProblemReporter::ProblemReporter(const Configuration& configuration, const Outside& outside, ActionRunner& actions,
                                 Notifications& notifications)
    : latestURL_(configuration.statusURL.deletingLastComponent().appending("reports/latest.json")),
      helper_(configuration.helperRoot.appending("bin/kestrelune")),
      dryRun_(configuration.dryRun),
      outside_(outside),
      actions_(actions),
      notifications_(notifications) {}

std::optional<ProblemRecord> ProblemReporter::latest() const {
  const auto text = readFile(outside_.files, latestURL_.path(), ProblemPlan::kRecordLimit);
  return text ? ProblemPlan::decode(text.value) : std::nullopt;
}

std::optional<ProblemRecord> ProblemReporter::running() const {
  std::optional<ProblemRecord> record = latest();
  if (process_ && process_->running()) {
    // Just started: its file may not be there yet.
    return record ? record : ProblemRecord{.state = "running"};
  }
  if (!record || !ProblemPlan::isRunning(*record, outside_.files)) return std::nullopt;
  return record;
}

void ProblemReporter::start(const Snapshot& snapshot) {
  if (running()) return;
  const std::vector<std::string> choices = ProblemPlan::apps(snapshot.status);
  outside_.session.alert().ask(questionFor(choices),
                               lifetime_.guarded([this, choices](const Answer& answer) { answered(answer, choices); }));
}

void ProblemReporter::answered(const Answer& answer, const std::vector<std::string>& choices) {
  std::optional<std::string> app;
  if (answer.button == 0) {
    if (!choices.empty()) app = choices.front();
  } else if (answer.button == 1 && choices.size() == 2) {
    app = choices.back();
  } else {
    return;
  }
  // Another check may have been started while the question stood open.
  if (running()) return;
  launch(ProblemPlan::arguments(app, answer.text, (currentLanguage() == Language::german)),
         ProblemPlan::note(answer.text));
}

void ProblemReporter::launch(const std::vector<std::string>& arguments, const std::string& note) {
  if (dryRun_) {
    std::string line = "DRY_RUN " + helper_.path();
    for (const std::string& argument : arguments) line += " " + argument;
    return outside_.output(line);
  }
  if (!isExecutableFile(outside_.files, helper_.path())) {
    return actions_.showError(RuntimeError::script(ProblemCopy::text(Key::notSetUp)));
  }
  const TaskRequest request{.executable = helper_.path(), .arguments = arguments, .input = note};
  auto launched = outside_.tasks.launch(request, lifetime_.guarded([this](const TaskEnd&) { finished(); }));
  if (!launched) return actions_.showError(RuntimeError::posix(launched.error));
  process_ = std::move(launched.value);
  firstLook_ = outside_.loop.after(kFirstLookSeconds, [this] {
    if (onChange) onChange();
  });
}

void ProblemReporter::finished() {
  process_.reset();
  if (const auto record = latest()) {
    if (const auto notice = ProblemPlan::notice(*record)) notifications_.send(*notice);
  }
  if (onChange) onChange();
}

}  // namespace kestrelune
