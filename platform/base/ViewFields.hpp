#pragma once

#include "base/JsonFields.hpp"
#include "base/MenuTree.hpp"
#include "base/View.hpp"

/// The fields of menus and views as they travel.
namespace kestrelune {

template <class F>
void fields(F& field, MenuRow& row) {
  field("form", jsonFields::Choice<MenuRow::Form>{row.form, MenuRow::Form::separator});
  field("title", row.title);
  field("subtitle", row.subtitle);
  field("detail", row.detail);
  field("toolTip", row.toolTip);
  field("represented", row.represented);
  field("enabled", row.enabled);
  field("checked", row.checked);
  field("key", row.key);
  field("openTitle", row.openTitle);
  field("settleKey", row.settleKey);
  field("laterTitle", row.laterTitle);
  field("laterHelp", row.laterHelp);
  field("doneTitle", row.doneTitle);
  field("doneHelp", row.doneHelp);
  field("children", row.children);
}

template <class F>
void fields(F& field, View& view) {
  field("kind", jsonFields::Choice<View::Kind>{view.kind, View::Kind::field});
  field("key", view.key);
  field("text", view.text);
  field("detail", view.detail);
  field("help", view.help);
  field("name", view.name);
  field("toolTip", view.toolTip);
  field("role", jsonFields::Choice<View::Role>{view.role, View::Role::monospaced});
  field("tint", jsonFields::Choice<View::Tint>{view.tint, View::Tint::red});
  field("icon", jsonFields::Choice<View::Icon>{view.icon, View::Icon::folder});
  field("style", jsonFields::Choice<View::ButtonStyle>{view.style, View::ButtonStyle::destructive});
  field("enabled", view.enabled, true);
  field("on", view.on);
  field("semibold", view.semibold);
  field("selectable", view.selectable);
  field("pressable", view.pressable);
  field("oneElement", view.oneElement);
  field("truncates", view.truncates);
  field("count", view.count);
  field("total", view.total);
  field("width", view.width);
  field("height", view.height);
  field("padding", view.padding);
  field("spacing", view.spacing, 6.0);
  field("children", view.children);
}

}  // namespace kestrelune
