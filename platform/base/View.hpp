#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Json.hpp"

namespace kestrelune {

/// A window's content as a value: a tree of nodes, drawn by the screen, read and pressed by tests without a display.
/// Lengths are points: logical pixels times the user's text scale. All text is plain text.
struct View {
  enum class Kind {
    text,
    button,
    toggle,      ///< a check box with its title; `on` is its state
    radioGroup,  ///< children are `option`s; the event's value is the chosen option's key
    segmented,   ///< likewise, as a picker of tabs
    option,      ///< one choice of a radio group or picker; `text` is the title, `detail` a small line under it
    row,         ///< children side by side
    stack,       ///< children one under the other
    section,     ///< a stack with `text` as its heading
    divider,
    spacer,    ///< takes the room that is left
    spinner,   ///< something is under way
    icon,      ///< `icon` in `tint`
    panel,     ///< a stack on a rounded background
    card,      ///< a stack that can be pressed as one button where `pressable`
    scroll,    ///< a stack that scrolls
    longList,  ///< a scrolling stack that makes widgets only for children in sight. With `total`, the children are only
               ///< those of its rows that begin at `count`; it asks for others by an event with "first-last"
    progress,  ///< bars: `total` of them, `count` of them filled
    field,     ///< an editable line; `text` is its content, `detail` the placeholder
  };
  enum class Role { body, largeTitle, title, heading, headline, caption, footnote, monospaced };
  enum class Tint { primary, secondary, tertiary, accent, green, orange, red };
  enum class Icon { none, checkCircle, exclamationCircle, clock, minusCircle, chevron, flame, circle, refresh, folder };
  enum class ButtonStyle { normal, primary, link, borderless, destructive };

  Kind kind = Kind::stack;
  /// Identity among the window's nodes: an event names it, and a redraw keeps focus, scroll and cursor by it. Equal
  /// things in two places have different keys (group, id, ordinal). Nodes that nobody presses may have none.
  std::string key;
  std::string text;
  std::string detail;
  std::string help;  ///< accessible description
  std::string name;  ///< accessible name; empty: the text
  std::string toolTip;
  Role role = Role::body;
  Tint tint = Tint::primary;
  Icon icon = Icon::none;
  ButtonStyle style = ButtonStyle::normal;
  bool enabled = true;
  bool on = false;
  bool semibold = false;
  bool selectable = false;  ///< text the user may select and copy
  bool pressable = false;
  bool oneElement = false;       ///< read as one element: the children are hidden from assistive tools
  bool truncates = false;        ///< text: one line, cut at the tail, instead of wrapping
  int count = 0, total = 0;      ///< progress, long list
  double width = 0, height = 0;  ///< 0: as needed
  double padding = 0, spacing = 6;
  std::vector<View> children;

  bool operator==(const View&) const = default;
};

Json toJson(const View& view);
/// Throws `JsonError`; nesting beyond 64 levels throws too.
View viewFromJson(const Json& json);

/// The node with that key, or null.
const View* findView(const View& root, std::string_view key);

}  // namespace kestrelune
