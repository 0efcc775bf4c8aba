#pragma once

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeSession.hpp"
#include "Simulation/SimulatedScreen.hpp"
#include "session/Bus.hpp"
#include "session/ScreenAlert.hpp"
#include "session/ScreenLink.hpp"
#include "session/ScreenWindows.hpp"
#include "session/StatusItemPresenter.hpp"

namespace kestrelune {

/// What the program asked for, whatever a screen made of it.
struct Requests {
  std::map<std::string, View> windows;  ///< that should be there now
  std::vector<Question> asked;          ///< ever
  std::list<Question> open;             ///< not answered yet
};

class RequestedWindows final : public Windows {
 public:
  RequestedWindows(Windows& real, Requests& requests) : real_(real), requests_(requests) {}

  void show(const WindowSpec& spec, const View& tree, Events events) override {
    requests_.windows[spec.id] = tree;
    events.closed = [&windows = requests_.windows, id = spec.id, closed = std::move(events.closed)] {
      windows.erase(id);
      if (closed) closed();
    };
    real_.show(spec, tree, std::move(events));
  }
  void update(const std::string& id, const View& tree) override {
    if (const auto found = requests_.windows.find(id); found != requests_.windows.end()) found->second = tree;
    real_.update(id, tree);
  }
  void raise(const std::string& id) override { real_.raise(id); }
  void close(const std::string& id) override {
    requests_.windows.erase(id);
    real_.close(id);
  }
  bool isVisible(const std::string& id) const override { return real_.isVisible(id); }
  void bounds(std::function<void(std::vector<Rect>)> answer) override { real_.bounds(std::move(answer)); }

 private:
  Windows& real_;
  Requests& requests_;
};

class RequestedAlert final : public Alert {
 public:
  RequestedAlert(Alert& real, Requests& requests) : real_(real), requests_(requests) {}

  void ask(const Question& question, std::function<void(const Answer&)> answered) override {
    requests_.asked.push_back(question);
    auto& open = requests_.open;
    const bool known = std::find(open.begin(), open.end(), question) != open.end();
    if (!known) open.push_back(question);
    real_.ask(question, [&open, question, known, answered = std::move(answered)](const Answer& answer) {
      const auto found = std::find(open.begin(), open.end(), question);
      ASSERT_TRUE(!known && found != open.end()) << "a question was answered twice: " << question.title;
      open.erase(found);
      answered(answer);
    });
  }

 private:
  Alert& real_;
  Requests& requests_;
};

/// A desktop whose screen is simulated. With `hosted` a panel shows the icon and its menu, else the screen does.
class SimulatedSession final : public Session {
 public:
  SimulatedSession(RunLoop& loop, const Clock& clock, SimulatedScreen& screen, Requests& requests, FakeSession& rest,
                   bool hosted)
      : rest_(rest),
        activation_(clock),
        bus_(noLoop(), ""),
        link_(loop, clock, screen.starter(), {true, true}, "en"),
        realWindows_(loop, clock, link_, activation_),
        windows_(realWindows_, requests),
        realAlert_(loop, link_, activation_),
        alert_(realAlert_, requests),
        pasteboard_(loop, link_) {
    if (!hosted) onScreen_ = std::make_unique<StatusItemPresenter>(loop, bus_, link_, activation_);
  }

  StatusItem& statusItem() override { return onScreen_ ? static_cast<StatusItem&>(*onScreen_) : rest_.statusItem(); }
  Windows& windows() override { return windows_; }
  Alert& alert() override { return alert_; }
  Pasteboard& pasteboard() override { return pasteboard_; }
  Workspace& workspace() override { return rest_.workspace(); }
  NotificationCenter& notifications() override { return rest_.notifications(); }
  LoginItem& loginItem() override { return rest_.loginItem(); }
  Terminal& terminal() override { return rest_.terminal(); }

 private:
  /// For a bus that isn't there and never comes.
  static SessionRunLoop& noLoop() {
    static SessionRunLoop loop;
    return loop;
  }

  FakeSession& rest_;
  ActivationToken activation_;
  Bus bus_;
  ScreenLink link_;
  std::unique_ptr<StatusItemPresenter> onScreen_;
  ScreenWindows realWindows_;
  RequestedWindows windows_;
  ScreenAlert realAlert_;
  RequestedAlert alert_;
  ScreenPasteboard pasteboard_;
};

}  // namespace kestrelune
