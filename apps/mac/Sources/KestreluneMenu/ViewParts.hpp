#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/View.hpp"

/// The building blocks that the program's windows share.
namespace kestrelune::ViewParts {

inline View label(std::string text, View::Role role = View::Role::body, bool semibold = false) {
  return {.kind = View::Kind::text, .text = std::move(text), .role = role, .semibold = semibold};
}

inline View secondary(std::string text) {
  return {.kind = View::Kind::text, .text = std::move(text), .tint = View::Tint::secondary};
}

inline View footnote(std::string text) {
  return {
      .kind = View::Kind::text, .text = std::move(text), .role = View::Role::footnote, .tint = View::Tint::secondary};
}

/// Text the user may select and copy.
inline View selectable(std::string text) {
  return {.kind = View::Kind::text, .text = std::move(text), .selectable = true};
}

/// A small heading.
inline View sectionTitle(std::string text) {
  return {.kind = View::Kind::text,
          .text = std::move(text),
          .role = View::Role::heading,
          .tint = View::Tint::secondary,
          .semibold = true};
}

inline View stack(std::vector<View> children, double spacing = 6, double padding = 0) {
  return {.kind = View::Kind::stack, .padding = padding, .spacing = spacing, .children = std::move(children)};
}

/// A title above a subtitle, one line each, and something at the far side. An empty subtitle takes no room.
inline View titledRow(std::string title, std::string subtitle, std::vector<View> trailing) {
  // Many rows have a button of the same text: who hears it must hear of what it is.
  for (View& each : trailing)
    if (each.kind == View::Kind::button && each.help.empty() && each.text != title) each.help = title;
  View texts{.kind = View::Kind::stack, .spacing = 1};
  texts.children.push_back({.kind = View::Kind::text, .text = std::move(title), .truncates = true});
  if (!subtitle.empty()) {
    texts.children.push_back({.kind = View::Kind::text,
                              .text = std::move(subtitle),
                              .role = View::Role::caption,
                              .tint = View::Tint::secondary,
                              .truncates = true});
  }
  View row{.kind = View::Kind::row, .spacing = 8};
  row.children.push_back(std::move(texts));
  row.children.push_back({.kind = View::Kind::spacer});
  for (View& each : trailing) row.children.push_back(std::move(each));
  return row;
}

}  // namespace kestrelune::ViewParts
