#pragma once

#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/RunLoop.hpp"
#include "base/Session.hpp"

/// A desktop session that shows nothing: it records what was asked of it, holds what would be on screen, and lets a
/// test do what a user would.
namespace kestrelune {

class FakeStatusItem final : public StatusItem {
 public:
  void setEvents(Events events) override { events_ = std::move(events); }
  void show(const StatusItemLook& look) override;
  void setMenu(const MenuTree& menu) override;
  bool wantsMenuWhileClosed() const override { return wantsMenu; }
  bool menuIsOpen() const override { return open; }
  void openMenu() override;
  void cancelTracking() override;

  /// The row with that title, in any submenu; null when there is none.
  const MenuRow* row(const std::string& title) const;
  /// Chooses the row with that title. False when there is no such row, or when it can't be chosen.
  bool choose(const std::string& title);
  bool press(const std::string& title, MenuChoice::Part part);
  void send(const MenuChoice& choice) { events_.chosen(choice); }
  void activate() { events_.activated(); }

  StatusItemLook look;
  MenuTree menu;
  bool wantsMenu = false;
  bool open = false;
  int looks = 0, menus = 0, cancels = 0;

 private:
  Events events_;
};

class FakeWindows final : public Windows {
 public:
  struct Shown {
    WindowSpec spec;
    View tree;
    Events events;
  };

  explicit FakeWindows(RunLoop& loop) : loop_(loop) {}
  void show(const WindowSpec& spec, const View& tree, Events events) override;
  void update(const std::string& id, const View& tree) override;
  void raise(const std::string& id) override { raised.push_back(id); }
  void close(const std::string& id) override { shown.erase(id); }
  bool isVisible(const std::string& id) const override { return shown.contains(id); }
  void bounds(std::function<void(std::vector<Rect>)> answer) override;

  const View* node(const std::string& window, const std::string& key) const;
  /// Presses, switches or picks. False when there is no such enabled node.
  bool press(const std::string& window, const std::string& key, const std::string& value = "");
  void userCloses(const std::string& window);
  /// All texts of a window, one a line.
  std::string texts(const std::string& window) const;

  std::map<std::string, Shown> shown;
  std::vector<std::string> raised;
  std::vector<Rect> frames;
  int updates = 0;

 private:
  RunLoop& loop_;
};

/// Answers each question with the next of `answers`; a question without one stays open until `answer`.
class FakeAlert final : public Alert {
 public:
  explicit FakeAlert(RunLoop& loop) : loop_(loop) {}
  void ask(const Question& question, std::function<void(const Answer&)> answered) override;
  void answer(const Answer& answer);
  bool isOpen() const { return !open_.empty(); }

  std::vector<Question> asked;
  std::deque<Answer> answers;

 private:
  RunLoop& loop_;
  std::deque<std::function<void(const Answer&)>> open_;
};

class FakePasteboard final : public Pasteboard {
 public:
  bool copy(const std::string& text) override;
  std::string text;
  bool available = true;
};

class FakeWorkspace final : public Workspace {
 public:
  explicit FakeWorkspace(RunLoop& loop) : loop_(loop) {}
  void open(const Url& url, std::function<void(bool)> opened) override;
  void canOpen(const Url& url, std::function<void(bool)> answer) override;
  void openApplication(const std::string& identifier, std::function<void(bool)> opened) override;
  void reveal(const Url& file) override { revealed.push_back(file.path()); }

  std::vector<std::string> links, applications, revealed;
  bool opens = true, handles = true, hasApplications = true;

 private:
  RunLoop& loop_;
};

class FakeNotificationCenter final : public NotificationCenter {
 public:
  explicit FakeNotificationCenter(RunLoop& loop) : loop_(loop) {}
  void setClicked(std::function<void(const std::string&)> clicked) override { clicked_ = std::move(clicked); }
  void deliver(const Notification& notification, std::function<void(const std::string&)> failed) override;
  bool isListening() const { return clicked_ != nullptr; }
  void click(const std::string& action) { clicked_(action); }

  std::vector<Notification> delivered;
  std::string failure;

 private:
  RunLoop& loop_;
  std::function<void(const std::string&)> clicked_;
};

class FakeLoginItem final : public LoginItem {
 public:
  Status status() const override { return state; }
  std::string registerItem(bool asked) override;
  std::string unregister() override;

  Status state = Status::notRegistered;
  std::string failure;
  std::vector<std::string> calls;
};

class FakeTerminal final : public Terminal {
 public:
  explicit FakeTerminal(RunLoop& loop) : loop_(loop) {}
  void run(const std::string& command, std::function<void(const std::string&)> failed) override;

  std::vector<std::string> commands;
  std::string failure;

 private:
  RunLoop& loop_;
};

class FakeSession final : public Session {
 public:
  explicit FakeSession(RunLoop& loop)
      : theWindows(loop), theAlert(loop), theWorkspace(loop), theNotifications(loop), theTerminal(loop) {}

  FakeStatusItem& statusItem() override { return theItem; }
  FakeWindows& windows() override { return theWindows; }
  FakeAlert& alert() override { return theAlert; }
  FakePasteboard& pasteboard() override { return thePasteboard; }
  FakeWorkspace& workspace() override { return theWorkspace; }
  FakeNotificationCenter& notifications() override { return theNotifications; }
  FakeLoginItem& loginItem() override { return theLoginItem; }
  FakeTerminal& terminal() override { return theTerminal; }

 private:
  FakeStatusItem theItem;
  FakeWindows theWindows;
  FakeAlert theAlert;
  FakePasteboard thePasteboard;
  FakeWorkspace theWorkspace;
  FakeNotificationCenter theNotifications;
  FakeLoginItem theLoginItem;
  FakeTerminal theTerminal;
};

}  // namespace kestrelune
