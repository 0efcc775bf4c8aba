#include "RuntimeActionRunner.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

#include "RuntimeActionText.hpp"
#include "Strings.hpp"
#include "base/System.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

using Key = Copy::Key;
using Kind = Action::Kind;

constexpr std::size_t kMostReasonCharacters = 300;
constexpr std::size_t kMostProfileCharacters = 400;
constexpr int kFirstButton = 0, kSecondButton = 1;

template <class Range>
bool contains(const Range& range, const std::string& value) {
  return std::find(std::begin(range), std::end(range), value) != std::end(range);
}

std::string onOff(bool on) { return on ? "on" : "off"; }

}  // namespace

ActionRunner::ActionRunner(bool dryRun, Reach reach) : dryRun_(dryRun), reach_(std::move(reach)) {}

void ActionRunner::showError(Alert& alert, const RuntimeError& error) {
  alert.ask({.title = Copy::text(Key::errorTitle), .text = Copy::filled(Key::actionFailed, {error.description()})},
            [](const Answer&) {});
}

void ActionRunner::perform(const Action& action) {
  if (takenOver(action)) return;
  if (dryRun_) {
    reach_.output("DRY_RUN " + ActionText::description(action));
    return;
  }
  try {
    carryOut(action);
  } catch (const RuntimeError& error) {
    showError(error);
  }
}

/// These flows know themselves what a dry run means; a restart doesn't.
bool ActionRunner::takenOver(const Action& action) {
  const auto handOver = [](const auto& flow, const auto&... arguments) {
    if (flow) flow(arguments...);
    return flow != nullptr;
  };
  switch (action.kind()) {
    case Kind::window: return handOver(windowAction, action.argument());
    case Kind::restart: return !dryRun_ && restartAction && restartAction();
    case Kind::setup: return handOver(setupAction);
    case Kind::updateAll: return handOver(updateAllAction);
    default: return false;
  }
}

void ActionRunner::carryOut(const Action& action) {
  const std::string& text = action.argument();
  switch (action.kind()) {
    case Kind::signIn: return signIn(text);
    case Kind::reconnect:
      if (const auto url = Action::connectorURL(text)) open(*url);
      return;
    case Kind::openLink: return openLink(text);
    case Kind::updateApp:
      if (contains(Action::kUpdatable, text)) terminal(ActionText::updateCommand(text));
      return;
    case Kind::account: return open(Action::accountLink(text));
    case Kind::switchOff: return lower(text, "off");
    case Kind::readOnly: return lower(text, "read");
    case Kind::shareTool:
      if (contains(Action::kSharedTools, text)) runHelper({"share-tools", "set", text, onOff(action.on())});
      return;
    case Kind::workers:
      if (contains(Action::kWorkerChoices, text)) runHelper({"workers", text});
      return;
    case Kind::smallModel: return runHelper({"small-model", onOff(action.on())});
    case Kind::autoDelegate: return runHelper({"auto-delegate", onOff(action.on())});
    case Kind::editProfile: return editProfile(text);
    case Kind::restart: return restartService();
    case Kind::setup: return askToSetUp();
    case Kind::loginItem: return toggleLoginItem();
    case Kind::quit: return reach_.terminate();
    case Kind::reportProblem:
      if (problemAction) problemAction();
      return;
    case Kind::shareToolsSeen: return runHelper({"share-tools", "seen"}, Copy::text(Key::sharedToolsSeen));
    case Kind::window:
    case Kind::updateAll: return;
  }
}

void ActionRunner::signIn(const std::string& host) {
  if (host == "claude") return terminal("claude auth login");
  if (host == "cursor") return terminal("cursor-agent login");
  if (host == "antigravity") return runTool("open", {"-a", "Antigravity"}, [](const TaskEnd&) {});
  if (host != "codex") return;
  const std::string identifier = "com.openai.codex";
  reach_.session.workspace().openApplication(identifier, lifetime_.guarded([this, identifier](bool opened) {
    if (!opened) showError(RuntimeError::script(identifier));
  }));
}

void ActionRunner::open(const Url& url) {
  reach_.session.workspace().open(url, lifetime_.guarded([this, url](bool opened) {
    if (!opened) showError(RuntimeError::script(url.text()));
  }));
}

void ActionRunner::openLink(const std::string& link) {
  const auto url = Action::appLink(link);
  if (!url) return;
  reach_.session.workspace().open(*url, lifetime_.guarded([this](bool opened) {
    if (!opened && windowAction) windowAction("tasks");
  }));
}

void ActionRunner::restartService() {
  const std::string service = "gui/" + std::to_string(system::userId()) + "/com.kestrelune.helper";
  runTool("launchctl", {"kickstart", "-k", service}, lifetime_.guarded([this](const TaskEnd& end) {
    if (end.status != 0) showError(RuntimeError::posix(end.status));
  }));
}

void ActionRunner::toggleLoginItem() {
  LoginItem& item = reach_.session.loginItem();
  const bool isKnown = item.status() != LoginItem::Status::notRegistered;
  const std::string reason = isKnown ? item.unregister() : item.registerItem(true);
  if (!reason.empty()) throw RuntimeError::script(reason);
}

void ActionRunner::askToSetUp() {
  const Question question{.title = Copy::text(Key::installTitle),
                          .text = Copy::text(Key::installBody),
                          .buttons = {Copy::text(Key::install), Copy::text(Key::cancel)},
                          .cancelButton = kSecondButton};
  reach_.session.alert().ask(question, lifetime_.guarded([this](const Answer& answer) {
    if (answer.button == kFirstButton) terminal(ActionText::installCommand());
  }));
}

void ActionRunner::lower(const std::string& target, const std::string& to) {
  const auto switchable = Action::switchable(target);
  if (!switchable || (to != "off" && switchable->kind != "connection")) return;
  const auto& [kind, name] = *switchable;
  const std::string shownName = kind == "connection" ? Copy::familyName(name) : Copy::appName(name);
  const bool off = to == "off";
  const auto filled = [&](Key key) { return Copy::filled(key, {shownName}); };
  const Question question{
      .title = filled(off ? Key::turnOffTitle : Key::readOnlyTitle),
      .text = filled(off ? Key::turnOffBody : Key::readOnlyBody),
      .buttons = {Copy::text(off ? Key::turnOff : Key::setReadOnly), Copy::text(Key::cancel)},
      .cancelButton = kSecondButton,
  };
  const std::vector<std::string> arguments{"switch", to, kind, name};
  reach_.session.alert().ask(question, lifetime_.guarded([this, arguments](const Answer& answer) {
    if (answer.button == kFirstButton) runHelper(arguments);
  }));
}

void ActionRunner::editProfile(const std::string& id) {
  if (!Action::validExecutor(id)) return;
  const auto profile = profileLookup ? profileLookup(id) : std::nullopt;
  const std::string name = profile ? profile->name : Copy::text(Key::unknown);
  const Question question{
      .title = Copy::filled(Key::profileTitle, {name}),
      .text = Copy::text(Key::profileBody),
      .buttons = {Copy::text(Key::profileSave), Copy::text(Key::profileRewrite), Copy::text(Key::cancel)},
      .cancelButton = 2,
      .field = Question::Field{.text = profile ? profile->profile.value_or("") : "",
                               .placeholder = Copy::text(Key::profilePlaceholder),
                               .width = 360,
                               .height = 84,
                               .multiline = true},
  };
  reach_.session.alert().ask(question,
                             lifetime_.guarded([this, id](const Answer& answer) { saveProfile(id, answer); }));
}

void ActionRunner::saveProfile(const std::string& id, const Answer& answer) {
  // A line feed must not reach a command argument.
  const std::string words = text::firstCharacters(text::joinedWords(answer.text), kMostProfileCharacters);
  const bool clears = answer.button == kSecondButton || (answer.button == kFirstButton && words.empty());
  if (clears) return runHelper({"profile", "clear", id});
  if (answer.button == kFirstButton) runHelper({"profile", "set", id, words});
}

void ActionRunner::terminal(const std::string& command) {
  reach_.session.terminal().run(
      command, lifetime_.guarded([this](const std::string& reason) { showError(RuntimeError::script(reason)); }));
}

void ActionRunner::runHelper(std::vector<std::string> arguments, const std::string& done) {
  TaskRequest request;
  request.executable = reach_.helperCommand.path();
  request.arguments = std::move(arguments);
  request.errors = TaskRequest::Stream::capture;
  try {
    launch(request, lifetime_.guarded([this, done](const TaskEnd& end) { helperEnded(end, done); }));
  } catch (const RuntimeError& error) {
    showError(error);
  }
}

void ActionRunner::helperEnded(const TaskEnd& end, const std::string& done) {
  if (end.status != 0) {
    const std::string said = text::trimmed(text::repairedUtf8(end.errors));
    showError(RuntimeError::script(said.empty() ? Copy::text(Key::setupFailed)
                                                : text::firstCharacters(said, kMostReasonCharacters)));
  } else if (!done.empty()) {
    reach_.session.alert().ask({.title = Copy::text(Key::sharedTools), .text = done}, [](const Answer&) {});
  }
  if (afterSwitch) afterSwitch();
}

void ActionRunner::runTool(const std::string& name, std::vector<std::string> arguments, TaskLauncher::Ended ended) {
  TaskRequest request;
  request.executable = reach_.bundle.contents("Helpers/" + name).path();
  request.arguments = std::move(arguments);
  request.output = request.errors = TaskRequest::Stream::inherit;
  launch(request, std::move(ended));
}

void ActionRunner::launch(const TaskRequest& request, TaskLauncher::Ended ended) {
  const auto launched = reach_.tasks.launch(request, std::move(ended));
  if (!launched) throw RuntimeError::posix(launched.error);
}

}  // namespace kestrelune
