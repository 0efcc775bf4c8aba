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
  void show(const StatusItemLook& newLook) override {
    looks += newLook == look ? 0 : 1;
    look = newLook;
  }
  void setMenu(const MenuTree& newMenu) override {
    menu = newMenu;
    ++menus;
  }
  bool wantsMenuWhileClosed() const override { return wantsMenu; }
  bool menuIsOpen() const override { return open; }
  void openMenu() override {
    events_.menuWillOpen();
    open = true;
  }
  void cancelTracking() override {
    open = false;
    ++cancels;
  }

  /// The row with that title, in any submenu; null when there is none.
  const MenuRow* row(const std::string& title) const { return find(menu, title); }
  /// Chooses the row with that title, or one of its buttons. False when there is none, or when it can't be chosen.
  bool press(const std::string& title, MenuChoice::Part part = MenuChoice::Part::row) {
    const MenuRow* pressed = row(title);
    const bool isButton = part != MenuChoice::Part::row;
    if (!pressed || (isButton ? pressed->settleKey.empty() : !pressed->enabled)) return false;
    open = false;
    send({part, pressed->represented, pressed->settleKey});
    return true;
  }
  void send(const MenuChoice& choice) { events_.chosen(choice); }

  StatusItemLook look;
  MenuTree menu;
  bool wantsMenu = false;
  bool open = false;
  int looks = 0, menus = 0, cancels = 0;

 private:
  static const MenuRow* find(const MenuTree& menu, const std::string& title) {
    for (const MenuRow& row : menu) {
      if (row.title == title) return &row;
      if (const MenuRow* child = find(row.children, title)) return child;
    }
    return nullptr;
  }
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
  void show(const WindowSpec& spec, const View& tree, Events events) override {
    shown[spec.id] = Shown{spec, tree, std::move(events)};
  }
  void update(const std::string& id, const View& tree) override {
    ++drawn;
    const auto found = shown.find(id);
    if (found == shown.end() || found->second.tree == tree) return;
    found->second.tree = tree;
    ++updates;
  }
  void raise(const std::string& id) override { raised.push_back(id); }
  void close(const std::string& id) override { shown.erase(id); }
  bool isVisible(const std::string& id) const override { return shown.contains(id); }
  void bounds(std::function<void(std::vector<Rect>)> answer) override {
    loop_.post([answer = std::move(answer), found = frames] { answer(found); });
  }

  /// Presses, switches or picks. False when there is no such enabled node.
  bool press(const std::string& window, const std::string& key, const std::string& value = "") {
    const auto found = shown.find(window);
    const View* pressed = found == shown.end() ? nullptr : findView(found->second.tree, key);
    if (!pressed || !pressed->enabled) return false;
    const auto event = found->second.events.event;
    event(ViewEvent{key, value});
    return true;
  }
  void userCloses(const std::string& window) {
    const auto node = shown.extract(window);
    if (node && node.mapped().events.closed) node.mapped().events.closed();
  }
  /// All texts of a window, one a line.
  std::string texts(const std::string& window) const {
    const auto found = shown.find(window);
    return found == shown.end() ? "" : texts(found->second.tree);
  }

  std::map<std::string, Shown> shown;
  std::vector<std::string> raised;
  std::vector<Rect> frames;
  int updates = 0;
  int drawn = 0;  ///< also those that changed nothing

 private:
  static std::string texts(const View& view) {
    std::string all = view.text + "\n" + view.detail + "\n";
    for (const View& child : view.children) all += texts(child);
    return all;
  }
  RunLoop& loop_;
};

/// Answers each question with the next of `answers`; a question without one stays open until `answer`.
class FakeAlert final : public Alert {
 public:
  explicit FakeAlert(RunLoop& loop) : loop_(loop) {}
  void ask(const Question& question, std::function<void(const Answer&)> answered) override {
    asked.push_back(question);
    open_.push_back(std::move(answered));
    if (answers.empty()) return;
    answer(answers.front());
    answers.pop_front();
  }
  void answer(const Answer& given) {
    loop_.post([answered = std::move(open_.front()), given] { answered(given); });
    open_.pop_front();
  }
  bool isOpen() const { return !open_.empty(); }

  std::vector<Question> asked;
  std::deque<Answer> answers;

 private:
  RunLoop& loop_;
  std::deque<std::function<void(const Answer&)>> open_;
};

class FakePasteboard final : public Pasteboard {
 public:
  bool copy(const std::string& copied) override {
    text = copied;
    return true;
  }
  std::string text;
};

class FakeWorkspace final : public Workspace {
 public:
  explicit FakeWorkspace(RunLoop& loop) : loop_(loop) {}
  void open(const Url& url, std::function<void(bool)> opened) override {
    links.push_back(url.text());
    later(std::move(opened), opens);
  }
  void canOpen(const Url&, std::function<void(bool)> answer) override { later(std::move(answer), handles); }
  void openApplication(const std::string&, std::function<void(bool)> opened) override {
    later(std::move(opened), hasApplications);
  }
  void reveal(const Url& file) override { revealed.push_back(file.path()); }

  std::vector<std::string> links, revealed;
  bool opens = true, handles = true, hasApplications = true;

 private:
  void later(std::function<void(bool)> answer, bool value) {
    loop_.post([answer = std::move(answer), value] { answer(value); });
  }
  RunLoop& loop_;
};

class FakeNotificationCenter final : public NotificationCenter {
 public:
  explicit FakeNotificationCenter(RunLoop& loop) : loop_(loop) {}
  void setClicked(std::function<void(const std::string&)> clicked) override { clicked_ = std::move(clicked); }
  void deliver(const Notification& notification, std::function<void(const std::string&)> failed) override {
    if (failure.empty()) return delivered.push_back(notification);
    loop_.post([failed = std::move(failed), reason = failure] { failed(reason); });
  }
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
  std::string registerItem(bool asked) override {
    calls.push_back(asked ? "register, asked" : "register");
    if (failure.empty() && (asked || state != Status::requiresApproval)) state = Status::enabled;
    return failure;
  }
  std::string unregister() override {
    calls.push_back("unregister");
    if (failure.empty()) state = Status::notRegistered;
    return failure;
  }

  Status state = Status::notRegistered;
  std::string failure;
  std::vector<std::string> calls;
};

class FakeTerminal final : public Terminal {
 public:
  explicit FakeTerminal(RunLoop& loop) : loop_(loop) {}
  void run(const std::string& command, std::function<void(const std::string&)> failed) override {
    commands.push_back(command);
    if (!failure.empty()) loop_.post([failed = std::move(failed), reason = failure] { failed(reason); });
  }

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
