#include "session/ScreenOutbox.hpp"

#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

using namespace messages;

ShowWindow show(const std::string& id, const std::string& text, const std::string& token = "") {
  return {.spec = {.id = id}, .tree = {.text = text}, .activationToken = token};
}
ShowMenu menu(int id, const std::string& title) { return {.id = id, .menu = {{.title = title}}}; }
UpdateMenu rows(int id, const std::string& title) { return {.id = id, .menu = {{.title = title}}}; }
ShowStatusItem item(const std::string& pill) { return {.visible = true, .look = {.pill = pill}}; }

TEST(ScreenOutbox, KeepsOfWhatReplacesOnlyTheNewestInItsPlace) {
  const Table<const char*, std::vector<Down>, std::vector<Down>> rowsOfTable = {
      {"trees of two windows",
       {show("a", "1"), show("b", "1"), show("a", "2"), show("a", "3")},
       {show("a", "3"), show("b", "1")}},
      {"a token outlives the tree it came with", {show("a", "1", "t"), show("a", "2")}, {show("a", "2", "t")}},
      {"raising stays behind what it raises",
       {show("a", "1"), RaiseWindow{"a", "t"}, show("a", "2"), RaiseWindow{"a", ""}},
       {show("a", "2"), RaiseWindow{"a", "t"}}},
      {"closing takes what was meant for the window along",
       {show("a", "1"), show("b", "1"), RaiseWindow{"a", ""}, CloseWindow{"a"}},
       {show("b", "1"), CloseWindow{"a"}}},
      {"a window opened again is another one",
       {show("a", "1"), CloseWindow{"a"}, show("a", "2"), show("a", "3")},
       {CloseWindow{"a"}, show("a", "3")}},
      {"rows go into the menu that waits", {menu(1, "x"), rows(1, "y"), rows(1, "z")}, {menu(1, "z")}},
      {"rows of another menu don't", {menu(1, "x"), rows(2, "y"), rows(2, "z")}, {menu(1, "x"), rows(2, "z")}},
      {"of menus the last one",
       {CloseMenu{}, menu(1, "x"), rows(1, "y"), CloseMenu{}, menu(2, "x"), menu(3, "z")},
       {CloseMenu{}, menu(3, "z")}},
      {"a menu that was closed before it was sent", {menu(1, "x"), CloseMenu{}, CloseMenu{}}, {CloseMenu{}}},
      {"looks and texts to copy", {item("1"), Copy{"a"}, item("2"), Copy{"b"}}, {item("2"), Copy{"b"}}},
      {"questions are never dropped, raising one isn't repeated",
       {Ask{1, {}}, Ask{2, {}}, RaiseQuestion{1}, RaiseQuestion{1}},
       {Ask{1, {}}, Ask{2, {}}, RaiseQuestion{1}}},
  };
  for (const auto& [name, added, wanted] : rowsOfTable) {
    SCOPED_TRACE(name);
    ScreenOutbox outbox;
    for (const Down& message : added) outbox.add(message);
    std::vector<Down> left;
    while (auto message = outbox.next()) left.push_back(*message);
    EXPECT_TRUE(left == wanted);
  }
}

}  // namespace
}  // namespace kestrelune
