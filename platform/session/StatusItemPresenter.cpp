#include "session/StatusItemPresenter.hpp"

#include <utility>

#include "session/SessionCopy.hpp"

namespace kestrelune {
namespace {

/// How long a host may take to come, or to come back, before the screen steps in.
constexpr double kPatience = 1.5;
/// A menu that comes later than this after the click would only surprise.
constexpr double kWishSeconds = 5;
/// The form of an icon that has no place.
constexpr const char* kNothing = "none";

}  // namespace

StatusItemPresenter::StatusItemPresenter(RunLoop& loop, Bus& bus, ScreenPort& screen, ActivationToken& activation,
                                         std::string desktop)
    : loop_(loop),
      screen_(screen),
      exported_(bus, {.willOpen =
                          [this] {
                            if (events_.menuWillOpen) events_.menuWillOpen();
                          },
                      .chosen =
                          [this](const MenuChoice& choice) {
                            if (events_.chosen) events_.chosen(choice);
                          },
                      .openChanged = [&activation](bool open) { activation.hold(open); }}),
      item_(bus, {.hostChanged = [this](bool) { hostChanged(); },
                  .activated =
                      [this](int x, int y) {
                        // A host that doesn't know the place says the corner; the pointer is a better guess.
                        openAt(x == 0 && y == 0 ? messages::MenuPlace{} : messages::MenuPlace{.x = x, .y = y});
                      },
                  .secondaryActivated =
                      [this] {
                        if (events_.activated) events_.activated();
                      },
                  .token = [&activation](std::string token) { activation.provide(std::move(token)); }}),
      desktop_(std::move(desktop)) {
  screenListening_ = screen_.listen({.started = [this](const messages::Ready& ready) { screenStarted(ready); },
                                     .received = [this](const messages::Up& message) { screenSaid(message); },
                                     .lost = [this] { screenLost(); }});
  item_.setItemIsMenu(!screen_.placesPopups());
  patience_ = loop_.after(bus.mayCome() ? kPatience : 0, [this] { choose(); });
}

void StatusItemPresenter::show(const StatusItemLook& look) {
  if (look_ == look) return;
  look_ = look;
  item_.show(look);
  if (onScreen_) showOnScreen(true);
}

void StatusItemPresenter::setMenu(const MenuTree& menu) {
  menu_ = menu;
  exported_.setMenu(menu);
  if (openMenu_) screen_.send(messages::UpdateMenu{.id = *openMenu_, .menu = menu});
}

void StatusItemPresenter::hostChanged() {
  if (item_.hasHost()) {
    patience_.reset();
    return choose();
  }
  // A panel that restarts is back in a moment.
  patience_ = loop_.after(kPatience, [this] { choose(); });
}

void StatusItemPresenter::reconsider(std::string desktop) {
  desktop_ = std::move(desktop);
  form_.reset();
  patience_ = loop_.after(kPatience, [this] { choose(); });
}

void StatusItemPresenter::choose() {
  const bool onScreen = !item_.hasHost() && screen_.hasDisplay();
  if (onScreen == onScreen_) return;
  onScreen_ = onScreen;
  form_.reset();
  showOnScreen(onScreen);
}

void StatusItemPresenter::showOnScreen(bool visible) {
  if (visible && !look_) return;
  if (screen_.running()) {
    screen_.send(messages::ShowStatusItem{.visible = visible, .look = look_.value_or(StatusItemLook{})});
  } else if (visible && form_ != kNothing) {
    screen_.ensure();
  }
}

void StatusItemPresenter::openAt(messages::MenuPlace place) {
  if (events_.menuWillOpen) events_.menuWillOpen();
  if (!screen_.hasDisplay()) return;
  wanted_ = place;
  wishEnds_ = loop_.after(kWishSeconds, [this] { wanted_.reset(); });
  if (screen_.running()) {
    sendMenu();
  } else {
    screen_.ensure();
  }
}

/// At a strip of its own the screen can open one wherever it can show the strip.
bool StatusItemPresenter::screenOpensMenu() const {
  return screen_.placesPopups() || (!wanted_->x && form_ == "strip");
}

/// Where no menu can be placed there is the main window, which has everything.
void StatusItemPresenter::sendMenu() {
  if (!screenOpensMenu()) {
    forgetWish();
    if (events_.activated) events_.activated();
    return;
  }
  openMenu_ = ++lastMenu_;
  screen_.send(messages::ShowMenu{.id = *openMenu_, .menu = menu_, .place = *wanted_});
}

void StatusItemPresenter::forgetWish() {
  wanted_.reset();
  wishEnds_.reset();
}

void StatusItemPresenter::cancelTracking() {
  forgetWish();
  if (openMenu_) screen_.send(messages::CloseMenu{});
  openMenu_.reset();
}

void StatusItemPresenter::screenStarted(const messages::Ready& ready) {
  item_.setItemIsMenu(!ready.placesPopups);
  if (onScreen_) showOnScreen(true);
  if (wanted_) sendMenu();
}

void StatusItemPresenter::screenSaid(const messages::Up& message) {
  if (const auto* shown = std::get_if<messages::StatusItemForm>(&message)) {
    screenShows(shown->form);
  } else if (std::holds_alternative<messages::StatusItemClicked>(message)) {
    openAt({});
  } else if (const auto* opened = std::get_if<messages::MenuOpened>(&message)) {
    if (openMenu_ == opened->id) forgetWish();
  } else if (const auto* closed = std::get_if<messages::MenuClosed>(&message)) {
    if (openMenu_ != closed->id) return;
    openMenu_.reset();
    forgetWish();
  } else if (const auto* chosen = std::get_if<messages::MenuChosen>(&message)) {
    if (chosen->id == lastMenu_ && events_.chosen) events_.chosen(chosen->choice);
  }
}

void StatusItemPresenter::screenShows(const std::string& form) {
  if (!onScreen_) return;
  form_ = form;
  if (form != kNothing || !events_.unseen) return;
  const bool gnome = desktop_.find("GNOME") != std::string::npos;
  events_.unseen({desktop_, session_copy::text(gnome ? session_copy::Key::noTrayGnome : session_copy::Key::noTray)});
}

void StatusItemPresenter::screenLost() {
  openMenu_.reset();
  // A screen that can show no icon isn't kept for one. And one that ended by itself just as the menu was sent to it
  // must not swallow the click.
  if ((onScreen_ && form_ != kNothing) || wanted_) screen_.ensure();
}

}  // namespace kestrelune
