#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/MenuTree.hpp"
#include "base/Url.hpp"
#include "base/View.hpp"

/// What the program needs of a desktop session, as operations that a test can record. All are called on the main
/// thread and return at once; completions come back on the main thread, in a later pass.
namespace kestrelune {

struct Color {
  std::uint8_t red = 0, green = 0, blue = 0;
  bool operator==(const Color&) const = default;
};

/// How the icon in the menu bar looks, and what it says.
struct StatusItemLook {
  enum class PillTone { none, needsYou, done, running };
  Color dot;
  std::string pill;  ///< empty: no pill
  PillTone tone = PillTone::none;
  std::string toolTip;
  std::string accessibilityLabel;
  bool operator==(const StatusItemLook&) const = default;
};

/// A desktop that has no place for the icon.
struct UnseenIcon {
  std::string desktop;  ///< its kind: another kind is worth another word
  std::string why;      ///< in words for the user, beginning with what to do
};

/// The icon with its dot, pill and menu, shown in whatever way the desktop offers, or not at all.
class StatusItem {
 public:
  struct Events {
    std::function<void()> menuWillOpen;  ///< compose it now: `setMenu` is expected from within
    std::function<void(const MenuChoice&)> chosen;
    std::function<void()> activated;  ///< the icon was asked for the main window (middle click)
    std::function<void(const UnseenIcon&)> unseen;
  };

  virtual ~StatusItem() = default;
  virtual void setEvents(Events events) = 0;
  /// Equal looks change nothing and tell nobody.
  virtual void show(const StatusItemLook& look) = 0;
  /// Replaces the menu, also one that is open.
  virtual void setMenu(const MenuTree& menu) = 0;
  /// True while a host may show its own copy of the menu without asking first: then `setMenu` is wanted whenever the
  /// menu's content changes while it is closed.
  virtual bool wantsMenuWhileClosed() const = 0;
  virtual bool menuIsOpen() const = 0;
  /// Opens our own menu as a click on the icon would.
  virtual void openMenu() = 0;
  virtual void cancelTracking() = 0;
};

struct Rect {
  int x = 0, y = 0, width = 0, height = 0;
  bool operator==(const Rect&) const = default;
};

struct WindowSpec {
  std::string id;
  std::string title;
  double width = 520, height = 320;  ///< content size at first, points
  double minWidth = 0, minHeight = 0;
  bool resizable = false;
  bool heightFollowsContent = false;  ///< width is fixed, height is what the tree needs, at least `height`
  std::optional<Rect> frame;          ///< where it was last time
  bool operator==(const WindowSpec&) const = default;
};

/// What the user did with a node of a window.
struct ViewEvent {
  std::string node;   ///< `View::key`
  std::string value;  ///< toggles: "on" or "off"; groups and pickers: the option's key; fields: the text
  bool operator==(const ViewEvent&) const = default;
};

/// The program's windows, each known by the id of its spec.
class Windows {
 public:
  struct Events {
    std::function<void(const ViewEvent&)> event;
    std::function<void()> closed;  ///< by the user, or because its tree could not be shown
    std::function<void(const Rect&)> frameChanged;
  };

  virtual ~Windows() = default;
  /// Shows a window, or replaces spec and tree of one that is shown. An equal tree is not sent.
  virtual void show(const WindowSpec& spec, const View& tree, Events events) = 0;
  /// Does nothing for a window that isn't shown.
  virtual void update(const std::string& id, const View& tree) = 0;
  /// Brings it to the front, or asks for attention where that isn't allowed.
  virtual void raise(const std::string& id) = 0;
  /// No `closed` event follows.
  virtual void close(const std::string& id) = 0;
  virtual bool isVisible(const std::string& id) const = 0;
  /// The frames of everything on screen that belongs to us, menus included.
  virtual void bounds(std::function<void(std::vector<Rect>)> answer) = 0;
};

struct Question {
  struct Field {
    std::string text, placeholder;
    double width = 300, height = 24;
    bool multiline = false;
    bool operator==(const Field&) const = default;
  };
  std::string title, text;
  std::vector<std::string> buttons;  ///< up to three, the first is the default; none: a message with "OK"
  int cancelButton = -1;             ///< what Escape stands for; -1: none of them
  std::optional<Field> field;
  bool operator==(const Question&) const = default;
};

struct Answer {
  std::optional<int> button;  ///< absent: closed unanswered, or nothing to ask on
  std::string text;           ///< of the field
};

/// Questions and messages. Modal for the user, not for the program: the loop goes on, and a second one waits its turn.
/// An equal one that is still open is brought to the front instead, and its answer goes to the first asker only.
class Alert {
 public:
  virtual ~Alert() = default;
  /// With no display a line on standard output tells, and the answer has no button.
  virtual void ask(const Question& question, std::function<void(const Answer&)> answered) = 0;
};

class Pasteboard {
 public:
  virtual ~Pasteboard() = default;
  /// False where there is no display to copy to.
  virtual bool copy(const std::string& text) = 0;
};

/// Links and applications.
class Workspace {
 public:
  virtual ~Workspace() = default;
  /// `opened` says whether something took it.
  virtual void open(const Url& url, std::function<void(bool opened)> opened) = 0;
  virtual void canOpen(const Url& url, std::function<void(bool handled)> answer) = 0;
  /// Opens an installed application by its identifier. False: none with that identifier.
  virtual void openApplication(const std::string& identifier, std::function<void(bool opened)> opened) = 0;
  /// Shows a file, selected, in the file manager; falls back to opening its folder.
  virtual void reveal(const Url& file) = 0;
};

struct Notification {
  std::string id;  ///< a later one with the same id replaces an earlier one
  std::string title, body;
  std::string action;  ///< comes back when it is clicked
};

class NotificationCenter {
 public:
  virtual ~NotificationCenter() = default;
  virtual void setClicked(std::function<void(const std::string& action)> clicked) = 0;
  /// `failed` gets the reason when it couldn't be delivered.
  virtual void deliver(const Notification& notification, std::function<void(const std::string& reason)> failed) = 0;
};

/// Opening at login.
class LoginItem {
 public:
  enum class Status { notRegistered = 0, enabled = 1, requiresApproval = 2 };
  virtual ~LoginItem() = default;
  virtual Status status() const = 0;
  /// The reason of a failure; empty: done. `asked`: the user wanted it; otherwise one that the user switched off
  /// stays off.
  virtual std::string registerItem(bool asked) = 0;
  virtual std::string unregister() = 0;
};

/// The user's terminal emulator.
class Terminal {
 public:
  virtual ~Terminal() = default;
  /// Runs a shell command where the user sees it. `failed` gets the reason when no terminal could be started.
  virtual void run(const std::string& command, std::function<void(const std::string& reason)> failed) = 0;
};

/// A desktop session. Every member is there at all times; without a bus or a display its operations say so.
class Session {
 public:
  virtual ~Session() = default;
  virtual StatusItem& statusItem() = 0;
  virtual Windows& windows() = 0;
  virtual Alert& alert() = 0;
  virtual Pasteboard& pasteboard() = 0;
  virtual Workspace& workspace() = 0;
  virtual NotificationCenter& notifications() = 0;
  virtual LoginItem& loginItem() = 0;
  virtual Terminal& terminal() = 0;
};

}  // namespace kestrelune
