#include "MenuViews.hpp"

#include "Fakes/Languages.hpp"
#include "Fakes/Testing.hpp"
#include "MenuBranding.hpp"
#include "RuntimeAction.hpp"

namespace kestrelune {
namespace {

using Form = MenuRow::Form;
using Kind = MenuEntry::Kind;

TEST(MenuViews, FormFollowsFromWhatALineHas) {
  const testing_support::English english;
  const MenuEntry child{.title = "Only Codex", .action = Action::workers("codex")};
  const struct {
    Form form;
    bool enabled;
    const char* represented;
    const char* name;
    MenuEntry entry;
  } rows[] = {
      {Form::separator, false, "", "separator", {.kind = Kind::separator}},
      {Form::section, false, "", "section", {.kind = Kind::section, .title = "Your AIs"}},
      {Form::pair, false, "", "state without a choice", {.title = "Cursor", .detail = "off"}},
      {Form::normal, false, "", "with a subtitle", {.title = "Cursor", .subtitle = "why", .detail = "off"}},
      {Form::normal, false, "", "with an empty subtitle", {.title = "Cursor", .subtitle = "", .detail = "off"}},
      {Form::normal, true, "quit", "state with a choice", {.title = "x", .detail = "off", .action = Action::quit()}},
      {Form::normal, false, "", "only a title", {.title = "Nothing"}},
      {Form::attention, true, "quit", "attention", {.title = "T1", .action = Action::quit(), .settleKey = "k"}},
      {Form::attention, true, "", "attention without a choice", {.title = "T1", .settleKey = "k"}},
      {Form::normal,
       true,
       "",
       "a submenu goes before all else",
       {.title = "Workers", .detail = "x", .action = Action::quit(), .children = {{child}}, .settleKey = "k"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const MenuRow drawn = MenuViews::row(row.entry, false);
    EXPECT_EQ(drawn.form, row.form);
    EXPECT_EQ(drawn.enabled, row.enabled);
    EXPECT_EQ(drawn.represented, row.represented);
    EXPECT_EQ(drawn.children.size(), row.entry.children ? 1u : 0u);
  }
}

TEST(MenuViews, WhatWouldCollideWithASetupCannotBeChosen) {
  for (const Action& action : {Action::restart(), Action::setup(), Action::quit()}) {
    const MenuEntry entry{.title = action.identifier(), .action = action};
    EXPECT_TRUE(MenuViews::row(entry, false).enabled) << entry.title;
    EXPECT_EQ(MenuViews::row(entry, true).enabled, action == Action::quit()) << entry.title;
    const MenuEntry nested{.title = "More", .children = {{entry}}};
    EXPECT_EQ(MenuViews::row(nested, true).children[0].enabled, action == Action::quit()) << entry.title;
  }
}

TEST(MenuViews, NothingTravelsThatCannotBeSeen) {
  const std::string endless(10000, 'x');
  for (const MenuEntry& entry : {MenuEntry{.title = endless, .subtitle = endless, .detail = endless, .settleKey = "k"},
                                 MenuEntry{.title = endless, .detail = endless},
                                 MenuEntry{.title = endless, .subtitle = endless, .detail = endless},
                                 MenuEntry{.title = endless, .children = {{{.title = endless}}}}}) {
    const MenuRow drawn = MenuViews::row(entry, false);
    EXPECT_LT(drawn.title.size() + drawn.subtitle.size() + drawn.detail.size() + drawn.toolTip.size(), 2500u);
    for (const MenuRow& child : drawn.children) EXPECT_LT(child.title.size(), 700u);
  }
}

TEST(MenuViews, AnAttentionRowSaysAllItHolds) {
  const testing_support::German german;
  const std::string longLine(90, 'x');
  const struct {
    std::optional<std::string> subtitle, detail;
    std::string toolTip, openTitle;
  } rows[] = {
      {std::nullopt, std::nullopt, "", "Öffnen"},
      {"", "", "", "Öffnen"},
      {"Which one?", std::nullopt, "Which one?", "Öffnen"},
      {std::nullopt, "Antworten in Claude", "Antworten in Claude", "Antworten in Claude"},
      {longLine, "Antworten in Claude", longLine + " — Antworten in Claude", "Antworten in Claude"},
  };
  for (const auto& row : rows) {
    const MenuRow drawn =
        MenuViews::row({.title = "T1", .subtitle = row.subtitle, .detail = row.detail, .settleKey = "key"}, false);
    EXPECT_EQ(drawn.toolTip, row.toolTip);
    EXPECT_EQ(drawn.openTitle, row.openTitle);
    EXPECT_EQ(drawn.subtitle, row.subtitle == longLine ? std::string(69, 'x') + "…" : row.subtitle.value_or(""));
    EXPECT_EQ(drawn.laterTitle + "|" + drawn.doneTitle, "Später|Erledigt");
    EXPECT_FALSE(drawn.laterHelp.empty() || drawn.doneHelp.empty());
  }
}

TEST(MenuViews, TheHeaderTellsOfASetupWhateverTheStatusSays) {
  const testing_support::English english;
  const auto header = [](const Snapshot& snapshot, bool busy) {
    const MenuRow row = MenuViews::header(snapshot, busy);
    return row.title + "|" + row.subtitle;
  };
  const Snapshot missing{.signal = Signal::red, .issue = StatusIssue::missing};
  EXPECT_EQ(header(missing, false), "Kestrelune is not running|No status file found.");
  EXPECT_EQ(header(missing, true), "Setting up Kestrelune|Confirm “Connect this Mac?” in your browser.");
  EXPECT_EQ(header({.signal = Signal::green}, false), "Everything is ready|");
}

}  // namespace
}  // namespace kestrelune
