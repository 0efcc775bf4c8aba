#include "Simulation/SimulatedScreen.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace kestrelune {

using namespace messages;

class SimulatedScreen::Channel final : public ScreenChannel {
 public:
  Channel(SimulatedScreen& screen, std::shared_ptr<Process> process) : screen_(screen), process_(std::move(process)) {}
  ~Channel() override { disconnect(); }

  std::size_t write(std::string_view bytes) override {
    if (!process_->connected) return bytes.size();
    if (process_->stalled) bytes = bytes.substr(0, process_->room);
    if (process_->stalled) process_->room -= bytes.size();
    process_->heard += bytes;
    // Nothing comes back from within.
    screen_.loop_.post([&screen = screen_, process = process_] { screen.understand(*process); });
    return bytes.size();
  }
  void kill() override { disconnect(); }

 private:
  void disconnect() {
    process_->connected = false;
    if (screen_.current_ == process_) screen_.current_.reset();
  }

  SimulatedScreen& screen_;
  std::shared_ptr<Process> process_;
};

ScreenStarter SimulatedScreen::starter() {
  return [this](ScreenChannel::Events events) -> std::unique_ptr<ScreenChannel> {
    if (!canStart) return nullptr;
    current_ = std::make_shared<Process>();
    current_->events = std::move(events);
    return std::make_unique<Channel>(*this, current_);
  };
}

bool SimulatedScreen::showsNothing() const {
  return current_->windows.empty() && !current_->question && !current_->menu && !current_->icon;
}

void SimulatedScreen::understand(Process& process) {
  for (std::size_t feed;
       process.connected && !process.stalled && (feed = process.heard.find('\n')) != std::string::npos;) {
    const std::string line = process.heard.substr(0, feed);
    process.heard.erase(0, feed + 1);
    const Down message = decodeDown(line);
    ASSERT_EQ(std::holds_alternative<Hello>(message), !process.greeted) << "a screen is greeted once, and first";
    carryOut(process, message);
  }
}

void SimulatedScreen::carryOut(Process& process, const Down& message) {
  if (std::holds_alternative<Hello>(message)) {
    process.greeted = true;
    reply(process, Ready{.placesPopups = true, .statusItemForm = "strip"});
  } else if (const auto* window = std::get_if<ShowWindow>(&message)) {
    process.windows[window->spec.id] = window->tree;
  } else if (const auto* closed = std::get_if<CloseWindow>(&message)) {
    process.windows.erase(closed->id);
  } else if (const auto* question = std::get_if<Ask>(&message)) {
    ASSERT_FALSE(process.question) << "two questions at a time";
    process.question = *question;
  } else if (const auto* menu = std::get_if<ShowMenu>(&message)) {
    process.menu = *menu;
    reply(process, MenuOpened{menu->id});
  } else if (const auto* rows = std::get_if<UpdateMenu>(&message)) {
    if (process.menu && process.menu->id == rows->id) process.menu->menu = rows->menu;
  } else if (std::holds_alternative<CloseMenu>(message)) {
    if (const auto open = std::exchange(process.menu, {})) reply(process, MenuClosed{open->id});
  } else if (const auto* item = std::get_if<ShowStatusItem>(&message)) {
    process.icon = item->visible ? std::optional(item->look) : std::nullopt;
    reply(process, StatusItemForm{item->visible ? "strip" : "none"});
  } else if (const auto* asked = std::get_if<AskBounds>(&message)) {
    reply(process, Bounds{asked->id, {}});
  }
}

void SimulatedScreen::reply(Process& process, const Up& message) {
  if (!process.connected) return;
  std::string line = encode(message);
  line.pop_back();
  process.events.line(line);
}

void SimulatedScreen::say(const Up& message) {
  if (const auto speaking = current_) reply(*speaking, message);
}

void SimulatedScreen::sayLine(const std::string& line) {
  if (const auto speaking = current_) speaking->events.line(line);
}

void SimulatedScreen::choose(const MenuChoice& choice) {
  const int id = std::exchange(current_->menu, {})->id;
  say(MenuClosed{id});
  say(MenuChosen{id, choice});
}

void SimulatedScreen::answer(std::optional<int> button, const std::string& text) {
  const int id = current_->question->id;
  current_->question.reset();
  say(Answered{id, button, text});
}

void SimulatedScreen::close(const std::string& window) {
  current_->windows.erase(window);
  say(WindowClosed{window});
}

void SimulatedScreen::end(bool cleanly) {
  if (!current_) return;
  if (cleanly) say(Idle{});
  if (const auto ending = std::exchange(current_, nullptr)) ending->events.ended();
}

void SimulatedScreen::stall(std::size_t room) {
  if (!current_) return;
  current_->stalled = true;
  current_->room = room;
}

void SimulatedScreen::goOn() {
  if (!current_ || !std::exchange(current_->stalled, false)) return;
  const auto process = current_;
  process->events.writable();
  understand(*process);
}

}  // namespace kestrelune
