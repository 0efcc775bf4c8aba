#include "SetupWindow.hpp"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "RuntimeAction.hpp"
#include "SetupCopy.hpp"
#include "base/System.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

WindowSpec windowSpec() {
  return {.id = SetupWindowController::kWindowId,
          .title = SetupCopy::text(SetupCopy::Key::windowTitle),
          .width = 520,
          .height = 320,
          .heightFollowsContent = true};
}

std::optional<std::size_t> position(std::string_view key, std::string_view prefix) {
  std::size_t index = 0;
  const char* end = key.data() + key.size();
  const auto [stop, error] = std::from_chars(key.data() + prefix.size(), end, index);
  return error == std::errc{} && stop == end ? std::optional(index) : std::nullopt;
}

}  // namespace

SetupWindowController::SetupWindowController(const Configuration& configuration, const Outside& outside,
                                             SetupController& setup, ActionRunner& actions,
                                             std::optional<SetupStep> step, std::function<void()> closed)
    : configuration_(configuration), outside_(outside), setup_(setup), actions_(actions), closed_(std::move(closed)) {
  // Only an application that is about to install something has to stand where it lasts.
  model_.needsMove = setup_.payload() && !configuration_.dryRun &&
                     !SetupFlow::isInstalled(outside_.bundle.url().path(), system::homeFolder().path());
  model_.snapshot = readStatus();
  model_.step = step.value_or(SetupFlow::firstOpenStep(model_.snapshot));
  wasAccountDone_ = SetupFlow::accountDone(model_.snapshot);
}

SetupWindowController::~SetupWindowController() { outside_.session.windows().close(kWindowId); }

Snapshot SetupWindowController::readStatus() const {
  return StatusReader::read(outside_.files, configuration_.statusURL, outside_.clock.now());
}

bool SetupWindowController::isVisible() const { return outside_.session.windows().isVisible(kWindowId); }

void SetupWindowController::present() {
  show(true);
  if (!timer_) timer_ = outside_.loop.every(kPollSeconds, [this] { tick(); });
}

void SetupWindowController::setStep(SetupStep step) {
  model_.step = step;
  render();
}

void SetupWindowController::tick(const std::optional<Snapshot>& given) {
  model_.snapshot = given ? *given : readStatus();
  const bool done = SetupFlow::accountDone(model_.snapshot);
  // Only the change moves on: who goes back to the account step stays there.
  const bool advanced = model_.step == SetupStep::account && done && !wasAccountDone_;
  if (advanced) model_.step = SetupStep::ai;
  wasAccountDone_ = done;

  const bool connected = model_.chosen && SetupFlow::connected(*model_.chosen, model_.snapshot);
  const bool freshlyConnected = model_.step == SetupStep::ai && connected && !wasConnected_;
  wasConnected_ = connected;

  render();
  if ((advanced || freshlyConnected) && isVisible()) present();
}

void SetupWindowController::show(bool raise) {
  model_.install = setup_.runner().state();
  model_.checkingUpdate = setup_.checkingUpdate();
  model_.sharedTools = ShareTools::state(outside_.files, configuration_.statusURL.deletingLastComponent());
  Windows& windows = outside_.session.windows();
  const View tree = SetupWindowViews::tree(model_);
  if (!raise) return windows.update(kWindowId, tree);
  windows.show(windowSpec(), tree,
               {.event = lifetime_.guarded([this](const ViewEvent& event) { handle(event); }),
                .closed = lifetime_.guarded([this] { close(); })});
  windows.raise(kWindowId);
}

void SetupWindowController::setupChanged() {
  if (isVisible()) render();
}

/// Costs nothing on screen when nothing has changed: an equal tree isn't sent.
void SetupWindowController::render() { show(false); }

void SetupWindowController::handle(const ViewEvent& event) {
  const std::string& key = event.node;
  if (key == SetupKeys::kSignIn) return startAccount();
  if (key == SetupKeys::kContinueFromAccount || key == SetupKeys::kBackToAI) return setStep(SetupStep::ai);
  if (key == SetupKeys::kContinueFromAI || key == SetupKeys::kSkip) return setStep(SetupStep::mac);
  if (key == SetupKeys::kBackToAccount) return setStep(SetupStep::account);
  if (key == SetupKeys::kAssistants) return choose(event.value);
  if (key == SetupKeys::kConnect) return connect();
  if (key == SetupKeys::kFirstTask) return tryFirstTask();
  if (key == SetupKeys::kDone) return complete();
  if (key == SetupKeys::kOpenApplications) {
    const Url folder = system::homeFolder().appending("Applications");
    makeFolders(outside_.files, folder.path(), 0755);
    return openExternal(folder);
  }
  if (key == SetupKeys::kQuit) return actions_.perform(Action::quit());
  if (key.starts_with(SetupKeys::kTool)) {
    return toggleTool(key.substr(std::string_view(SetupKeys::kTool).size()), event.value == "on");
  }
  if (key.starts_with(SetupKeys::kAppRow)) {
    if (const auto index = position(key, SetupKeys::kAppRow)) performRow(*index);
  }
}

void SetupWindowController::startAccount() {
  if (setup_.payload()) {
    setup_.setup();
  } else {
    // Without anything to install the runner's own way is taken, not the one that leads back here.
    auto takenOver = std::exchange(actions_.setupAction, nullptr);
    actions_.perform(Action::setup());
    actions_.setupAction = std::move(takenOver);
  }
  render();
}

void SetupWindowController::choose(const std::string& id) {
  const auto& known = SetupFlow::kAssistants;
  if (std::find(known.begin(), known.end(), id) == known.end()) return;
  model_.chosen = id;
  wasConnected_ = SetupFlow::connected(id, model_.snapshot);
  render();
}

void SetupWindowController::connect() {
  if (!model_.chosen) return;
  const std::string family = *model_.chosen;
  model_.opened.insert(family);
  if (const auto text = SetupFlow::clipboard(family)) copyText(*text);
  render();
  const auto reconnect = lifetime_.guarded([this, family] { actions_.perform(Action::reconnect(family)); });
  if (family != "grok") return reconnect();

  // The desktop application is asked first; where it isn't installed, the page in the browser serves.
  const Url app = SetupFlow::grokBotApp();
  if (configuration_.dryRun) return openExternal(app);
  outside_.session.workspace().canOpen(app, lifetime_.guarded([this, app, reconnect](bool handled) {
    if (!handled) return reconnect();
    outside_.session.workspace().open(app, [reconnect](bool opened) {
      if (!opened) reconnect();
    });
  }));
}

void SetupWindowController::performRow(std::size_t index) {
  const std::vector<SetupAppRow> rows = SetupFlow::rows(model_.snapshot);
  if (index < rows.size() && rows[index].action) actions_.perform(*rows[index].action);
}

void SetupWindowController::toggleTool(const std::string& id, bool on) {
  if (!model_.sharedTools) return;
  for (const SharedTool& tool : model_.sharedTools->shown()) {
    if (tool.id == id && tool.mode != "task") return actions_.perform(Action::shareTool(id, on));
  }
}

void SetupWindowController::tryFirstTask() {
  const std::string sentence =
      SetupCopy::filled(SetupCopy::Key::firstTaskSentence, {SetupFlow::firstTaskApp(SetupFlow::rows(model_.snapshot))});
  if (const auto url = SetupFlow::firstTaskURL(model_.chosen, sentence)) {
    openExternal(*url);
    return complete();
  }
  copyText(sentence);
  model_.firstTaskCopied = true;
  render();
}

void SetupWindowController::complete() {
  if (!configuration_.dryRun) outside_.defaults.setBoolean(SetupController::kWindowCompletedKey, true);
  close();
}

/// Closing without having finished keeps the flag unset: the window comes back at the next start.
void SetupWindowController::close() {
  timer_.reset();
  outside_.session.windows().close(kWindowId);
  if (closed_) closed_();
}

void SetupWindowController::copyText(const std::string& text) {
  if (configuration_.dryRun) return outside_.output("DRY_RUN copy " + text);
  outside_.session.pasteboard().copy(text);
}

void SetupWindowController::openExternal(const Url& url) {
  if (configuration_.dryRun) return outside_.output("DRY_RUN open " + url.text());
  outside_.session.workspace().open(url, [](bool) {});
}

}  // namespace kestrelune
