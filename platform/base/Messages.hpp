#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/MenuTree.hpp"
#include "base/Session.hpp"
#include "base/View.hpp"

/// What passes between the companion and its screen: JSON objects, one a line, over an inherited socket pair. Every
/// one has a "type"; the first each way is `Hello`, and a screen that speaks another version is not used.
namespace kestrelune::messages {

constexpr int kVersion = 1;
/// A longer line is a fault of the other side and ends the connection.
constexpr std::size_t kLongestLine = 64u << 20;

/// Where a menu opens: beside a click, or at the icon that the screen itself shows.
struct MenuPlace {
  std::optional<int> x, y;  ///< absent: at the screen's own icon or strip, else at the pointer
  bool operator==(const MenuPlace&) const = default;
};

// Down, to the screen.
struct Hello {
  int version = kVersion;
  std::string language;
  bool operator==(const Hello&) const = default;
};
struct ShowWindow {
  WindowSpec spec;
  View tree;
  std::string activationToken;
  bool operator==(const ShowWindow&) const = default;
};
struct RaiseWindow {
  std::string id;
  std::string activationToken;
  bool operator==(const RaiseWindow&) const = default;
};
struct CloseWindow {
  std::string id;
  bool operator==(const CloseWindow&) const = default;
};
struct Ask {
  int id = 0;
  Question question;
  std::string activationToken;
  bool operator==(const Ask&) const = default;
};
struct RaiseQuestion {
  int id = 0;
  std::string activationToken;
  bool operator==(const RaiseQuestion&) const = default;
};
struct ShowMenu {
  int id = 0;
  MenuTree menu;
  MenuPlace place;
  bool operator==(const ShowMenu&) const = default;
};
/// Replaces the rows of the open menu `id`.
struct UpdateMenu {
  int id = 0;
  MenuTree menu;
  bool operator==(const UpdateMenu&) const = default;
};
struct CloseMenu {
  bool operator==(const CloseMenu&) const = default;
};
/// Shows the icon in the screen's own way (XEmbed tray, else the strip), or hides it.
struct ShowStatusItem {
  bool visible = false;
  StatusItemLook look;
  bool operator==(const ShowStatusItem&) const = default;
};
struct Copy {
  std::string text;
  bool operator==(const Copy&) const = default;
};
struct AskBounds {
  int id = 0;
  bool operator==(const AskBounds&) const = default;
};
struct Quit {
  bool operator==(const Quit&) const = default;
};
using Down = std::variant<Hello, ShowWindow, RaiseWindow, CloseWindow, Ask, RaiseQuestion, ShowMenu, UpdateMenu,
                          CloseMenu, ShowStatusItem, Copy, AskBounds, Quit>;

// Up, from the screen.
struct Ready {
  int version = kVersion;
  bool placesPopups = false;
  bool throughXwayland = false;  ///< in a Wayland session, but not by its own means
  std::string statusItemForm;
  bool operator==(const Ready&) const = default;
};
struct WindowEvent {
  std::string window;
  ViewEvent event;
  bool operator==(const WindowEvent&) const = default;
};
struct WindowClosed {
  std::string window;
  bool operator==(const WindowClosed&) const = default;
};
struct WindowFrame {
  std::string window;
  Rect frame;
  bool operator==(const WindowFrame&) const = default;
};
struct Answered {
  int id = 0;
  std::optional<int> button;
  std::string text;
  bool operator==(const Answered&) const = default;
};
/// The icon shown by the screen was clicked, or asked for its menu: compose it and send `ShowMenu`.
struct StatusItemClicked {
  bool operator==(const StatusItemClicked&) const = default;
};
struct MenuOpened {
  int id = 0;
  bool operator==(const MenuOpened&) const = default;
};
struct MenuClosed {
  int id = 0;
  bool operator==(const MenuClosed&) const = default;
};
/// Comes after `MenuClosed` of the same menu.
struct MenuChosen {
  int id = 0;
  MenuChoice choice;
  bool operator==(const MenuChosen&) const = default;
};
struct Bounds {
  int id = 0;
  std::vector<Rect> frames;
  bool operator==(const Bounds&) const = default;
};
/// "xembed", "strip" or "none": how the icon is shown now.
struct StatusItemForm {
  std::string form;
  bool operator==(const StatusItemForm&) const = default;
};
/// Nothing is shown and nothing is owed any more: the screen ends by itself.
struct Idle {
  bool operator==(const Idle&) const = default;
};
using Up = std::variant<Ready, WindowEvent, WindowClosed, WindowFrame, Answered, StatusItemClicked, MenuOpened,
                        MenuClosed, MenuChosen, Bounds, StatusItemForm, Idle>;

/// One line, with its line feed.
std::string encode(const Down& message);
std::string encode(const Up& message);
/// Throws `JsonError` for anything that is no message of this version.
Down decodeDown(std::string_view line);
Up decodeUp(std::string_view line);

}  // namespace kestrelune::messages
