#include "Screen.hpp"

#include <QApplication>
#include <QCursor>
#include <variant>

#include "Activation.hpp"
#include "Texts.hpp"
#include "XServer.hpp"

namespace kestrelune {
namespace {

constexpr int kIdleMilliseconds = 60 * 1000;

/// Deletes an object that may be in the middle of its own event.
template <class T>
void retire(std::unique_ptr<T> object) {
  if (!object) return;
  object->hide();
  object.release()->deleteLater();
}

}  // namespace

Screen::Screen(int descriptor) : connection_(descriptor) {
  connection_.onMessage = [this](const messages::Down& message) { handle(message); };
  connection_.onEnded = [] { QApplication::quit(); };
  statusForms_.onClicked = [this] { connection_.send(messages::StatusItemClicked{}); };
  statusForms_.onFormChanged = [this](const std::string& form) {
    connection_.send(messages::StatusItemForm{.form = form});
  };
  clipboard_.onReleased = [this] { considerEnd(); };
  idle_.setSingleShot(true);
  idle_.setInterval(kIdleMilliseconds);
  connect(&idle_, &QTimer::timeout, this, [this] {
    if (isNeeded()) return;
    connection_.send(messages::Idle{});
    QApplication::quit();
  });
  considerEnd();
}

void Screen::handle(const messages::Down& message) {
  std::visit([this](const auto& each) { on(each); }, message);
  considerEnd();
}

bool Screen::isNeeded() const {
  return !windows_.empty() || !questions_.empty() || menu_ || statusForms_.isShown() || clipboard_.isHolding();
}

void Screen::considerEnd() {
  if (isNeeded()) return idle_.stop();
  if (!idle_.isActive()) idle_.start();
}

void Screen::on(const messages::Hello& message) {
  texts::setLanguage(message.language);
  const bool places = xserver::inUse() && !xserver::isXwayland();
  connection_.send(messages::Ready{
      .placesPopups = places, .throughXwayland = xserver::isXwayland(), .statusItemForm = statusForms_.form()});
}

void Screen::on(const messages::ShowWindow& message) {
  auto& window = windows_[message.spec.id];
  if (!window) {
    window = std::make_unique<WindowHost>(message.spec, message.tree);
    wire(*window, message.spec.id);
    window->show();
    if (!message.activationToken.empty()) activation::bringForward(*window, message.activationToken);
  } else {
    window->setSpec(message.spec);
    window->setTree(message.tree);
  }
}

void Screen::wire(WindowHost& window, const std::string& id) {
  window.onEvent = [this, id](const ViewEvent& event) {
    connection_.send(messages::WindowEvent{.window = id, .event = event});
  };
  window.onFrame = [this, id](const Rect& frame) {
    connection_.send(messages::WindowFrame{.window = id, .frame = frame});
  };
  window.onClosed = [this, id] {
    connection_.send(messages::WindowClosed{.window = id});
    const auto found = windows_.find(id);
    if (found == windows_.end()) return;
    retire(std::move(found->second));
    windows_.erase(found);
    considerEnd();
  };
}

void Screen::on(const messages::RaiseWindow& message) {
  const auto found = windows_.find(message.id);
  if (found == windows_.end()) return;
  activation::bringForward(*found->second, message.activationToken);
}

void Screen::on(const messages::CloseWindow& message) {
  const auto found = windows_.find(message.id);
  if (found == windows_.end()) return;
  found->second->onClosed = nullptr;
  retire(std::move(found->second));
  windows_.erase(found);
}

void Screen::on(const messages::Ask& message) {
  auto dialog = std::make_unique<QuestionDialog>(message.question);
  dialog->onAnswered = [this, id = message.id](std::optional<int> button, const std::string& text) {
    connection_.send(messages::Answered{.id = id, .button = button, .text = text});
    const auto found = questions_.find(id);
    if (found == questions_.end()) return;
    retire(std::move(found->second));
    questions_.erase(found);
    considerEnd();
  };
  dialog->show();
  activation::bringForward(*dialog, message.activationToken);
  questions_[message.id] = std::move(dialog);
}

void Screen::on(const messages::RaiseQuestion& message) {
  const auto found = questions_.find(message.id);
  if (found == questions_.end()) return;
  activation::bringForward(*found->second, message.activationToken);
}

void Screen::on(const messages::ShowMenu& message) {
  closeMenu();
  menuId_ = message.id;
  menu_ = std::make_unique<MenuPopup>(message.menu, nullptr);
  menu_->onClosed = [this, id = message.id] {
    connection_.send(messages::MenuClosed{.id = id});
    retire(std::move(menu_));
    considerEnd();
  };
  menu_->onChosen = [this, id = message.id](const MenuChoice& choice) {
    connection_.send(messages::MenuChosen{.id = id, .choice = choice});
  };
  const bool placed = message.place.x && message.place.y;
  const QPoint place = placed                   ? QPoint(*message.place.x, *message.place.y)
                       : statusForms_.isShown() ? statusForms_.menuPlace()
                                                : QCursor::pos();
  menu_->openAt(place);
  connection_.send(messages::MenuOpened{.id = message.id});
}

void Screen::on(const messages::UpdateMenu& message) {
  if (menu_ && menuId_ == message.id && menu_->isVisible()) menu_->setMenu(message.menu);
}

void Screen::closeMenu() { retire(std::move(menu_)); }

void Screen::on(const messages::CloseMenu&) { closeMenu(); }

void Screen::on(const messages::ShowStatusItem& message) {
  if (message.visible) {
    statusForms_.show(message.look);
  } else {
    statusForms_.hide();
  }
}

void Screen::on(const messages::Copy& message) { clipboard_.copy(QString::fromStdString(message.text)); }

void Screen::on(const messages::AskBounds& message) {
  messages::Bounds bounds{.id = message.id};
  for (const QWidget* window : QApplication::topLevelWidgets()) {
    if (!window->isVisible()) continue;
    const QRect frame = window->frameGeometry();
    bounds.frames.push_back({frame.x(), frame.y(), frame.width(), frame.height()});
  }
  connection_.send(bounds);
}

void Screen::on(const messages::Quit&) { QApplication::quit(); }

}  // namespace kestrelune
