#include "Menu.hpp"

#include <utility>

#include "MenuBranding.hpp"
#include "MenuPlan.hpp"
#include "MenuViews.hpp"
#include "RuntimeAction.hpp"
#include "Strings.hpp"

namespace kestrelune {

MenuController::MenuController(Configuration configuration, Outside outside)
    : configuration_(std::move(configuration)),
      outside_(std::move(outside)),
      actions_(configuration_.dryRun, {.session = outside_.session,
                                       .tasks = outside_.tasks,
                                       .bundle = outside_.bundle,
                                       .helperCommand = configuration_.helperRoot.appending("bin/kestrelune"),
                                       .terminate = [this] { outside_.loop.stop(); },
                                       .output = outside_.output}),
      notifications_(configuration_.dryRun, actions_,
                     {outside_.loop, outside_.session.notifications(), outside_.defaults, outside_.output}),
      heartbeat_(outside_.files, configuration_.heartbeatURL, outside_.pid),
      setup_(configuration_, HelperPayload::load(outside_.bundle, outside_.files), outside_, setupReach()),
      background_(configuration_, {outside_.loop, outside_.clock, outside_.files, outside_.tasks, outside_.output,
                                   outside_.bundle.contents("Helpers/KestreluneLeash").path()}),
      problems_(configuration_, outside_, actions_, notifications_),
      updater_(configuration_, outside_.files, outside_.clock, outside_.execute, outside_.output),
      appUpdater_(configuration_, outside_, notifications_),
      settled_(outside_.defaults),
      statusFile_(outside_.files, configuration_.statusURL) {
  wire();
  item().setEvents({.menuWillOpen = lifetime_.guarded([this] { menuWillOpen(); }),
                    .chosen = lifetime_.guarded([this](const MenuChoice& choice) { chosen(choice); }),
                    .activated = lifetime_.guarded([this] { actions_.perform(Action::window("tasks")); }),
                    .unseen = lifetime_.guarded([this](const UnseenIcon& unseen) { tellUnseen(unseen); })});
  notifications_.start();
  refresh();
  if (!configuration_.dryRun) heartbeat_.removeTemporaries();
  writeHeartbeat();
  schedule(kRefreshSeconds, [this] { refresh(); });
  schedule(kHeartbeatSeconds, [this] { writeHeartbeat(); });
  buildMenu();
}

void MenuController::refresh() {
  readStatus();
  offerMenuWhileClosed();
}

void MenuController::readStatus() {
  const Date now = outside_.clock.now();
  Snapshot snapshot = statusFile_.read(now, settled_.marks());
  if (snapshot != snapshot_) {
    snapshot_ = std::move(snapshot);
    offered_.reset();
  }
  for (const Notice& notice : tracker_.update(snapshot_, now)) notifications_.send(notice);
  showLook(now);
  updateWindow();
  if (configuration_.dryRun)
    outside_.output("STATE " + std::string(rawValue(snapshot_.signal)) + " " + kestrelune::headline(snapshot_));
}

void MenuController::showLook(Date now) {
  const MenuPlan::Pill pill = MenuPlan::pill(snapshot_, now);
  const std::string headline = settingUp() ? Copy::text(Copy::Key::settingUp) : kestrelune::headline(snapshot_);
  const std::string product = "Kestrelune — ";
  item().show({.dot = Branding::dot(snapshot_.signal, settingUp()),
               .pill = pill.text,
               .tone = Branding::pillTone(pill.tone),
               .toolTip = product + headline,
               .accessibilityLabel = product + (pill.text.empty() ? headline : pill.text)});
}

MenuTree MenuController::compose() const {
  MenuTree menu{MenuViews::header(snapshot_, settingUp()), MenuRow{.form = MenuRow::Form::separator}};
  const auto entries = MenuPlan::entries(snapshot_, outside_.clock.now(), context());
  for (MenuRow& row : MenuViews::rows(entries, setup_.busy())) menu.push_back(std::move(row));
  return menu;
}

void MenuController::refreshAll() {
  readStatus();
  buildMenu();
}

/// A host that shows its own copy must find it composed; our own menu is composed when it opens.
void MenuController::offerMenuWhileClosed() {
  if (!item().wantsMenuWhileClosed() || item().menuIsOpen()) return;
  MenuBasis basis = menuBasis();
  if (offered_ == basis) return;
  offered_ = std::move(basis);
  MenuTree menu = compose();
  if (menu != menu_) setMenu(std::move(menu));
}

void MenuController::buildMenu() {
  offered_.reset();
  setMenu(compose());
}

void MenuController::setMenu(MenuTree menu) {
  menu_ = std::move(menu);
  item().setMenu(menu_);
}

void MenuController::menuWillOpen() { refreshAll(); }

/// The menu closes first, and what was chosen is done in a later pass, when it has gone.
void MenuController::chosen(const MenuChoice& choice) {
  item().cancelTracking();
  outside_.loop.post(lifetime_.guarded([this, choice] {
    if (choice.part == MenuChoice::Part::row)
      performAction(choice.represented);
    else
      settle(choice.settleKey, choice.part == MenuChoice::Part::done);
  }));
}

void MenuController::performAction(const std::string& identifier) {
  const auto action = Action::parse(identifier);
  if (!action) return;
  if (action->kind() == Action::Kind::quit)
    outside_.loop.stop();
  else
    actions_.perform(*action);
}

void MenuController::settle(const std::string& key, std::optional<bool> hide) {
  const Date now = outside_.clock.now();
  if (hide)
    settled_.hide(key, *hide, now);
  else
    settled_.show(key, now);
  if (configuration_.dryRun)
    outside_.output(std::string("DRY_RUN settle ") + (!hide ? "show" : *hide ? "done" : "later"));
  refreshAll();
}

void MenuController::schedule(double seconds, std::function<void()> action) {
  timers_.push_back(outside_.loop.every(seconds, std::move(action)));
}

void MenuController::writeHeartbeat() {
  try {
    heartbeat_.write(outside_.clock.now());
  } catch (const RuntimeError& error) {
    outside_.output("Heartbeat error: " + error.description());
  }
}

void MenuController::stop() {
  timers_.clear();
  appUpdater_.stop();
  if (mainWindow_) mainWindow_->stop();
  heartbeat_.removeOwnedFile();
  background_.stop();
}

}  // namespace kestrelune
