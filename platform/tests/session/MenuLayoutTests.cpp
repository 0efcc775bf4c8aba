#include "session/MenuLayout.hpp"

#include "Fakes/Testing.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

MenuRow line(const std::string& title, const std::string& represented) {
  return {.title = title, .represented = represented, .enabled = true};
}

std::string shown(const MenuLayout& layout, std::int32_t id = MenuLayout::kRoot) {
  const MenuLayout::Item& item = *layout.find(id);
  std::string text = item.separator ? "-" : item.label + (item.enabled ? "" : " (off)") + (item.choice ? " !" : "");
  if (item.children.empty()) return text;
  text += "[";
  for (const std::int32_t child : item.children) text += (text.back() == '[' ? "" : ", ") + shown(layout, child);
  return text + "]";
}

TEST(MenuLayoutTest, LabelsAreWholeLinesThatHostsTakeAsTheyStand) {
  const Table<const char*, std::string, std::string, std::string> rows = {
      {"title and detail", "Codex", "3 tasks", "Codex — 3 tasks"},
      {"detail only", "", "x", "x"},
      {"access keys", "_a__b", "", "__a____b"},
      {"line ends", "a\nb\tc\r", "", "a b c "},
      {"markup stands", "<b>&amp;</b>", "", "<b>&amp;</b>"},
      {"zero", std::string("a\0b", 3), "", "a\uFFFDb"},
      {"broken", "a\xFF", "", "a\xEF\xBF\xBD"},
      {"long", std::string(10'000, 'x'), "", std::string(199, 'x') + "…"},
      {"the title is cut first", std::string(300, 'x'), "Codex", std::string(191, 'x') + "… — Codex"},
      {"marks", 'a' + text::replacedAll(std::string(9000, 'x'), "x", "\u0301"), "",
       'a' + text::replacedAll(std::string(3999, 'x'), "x", "\u0301") + "\uFFFD"},
      {"just not long", std::string(199, 'x'), "", std::string(199, 'x')}};
  for (const auto& [name, title, detail, label] : rows) {
    SCOPED_TRACE(name);
    EXPECT_EQ(exportedLabel(title, detail), label);
  }
}

TEST(MenuLayoutTest, LongSectionsBecomeSubmenusUntilTheMenuFits) {
  using Form = MenuRow::Form;
  MenuTree menu{{.form = Form::header, .title = "Needs you"}};
  const auto section = [&](const char* title, int rows) {
    menu.push_back({.form = Form::section, .title = title});
    while (rows-- > 0) menu.push_back({.title = title, .represented = std::to_string(rows), .enabled = true});
    menu.push_back({.form = Form::separator});
  };
  const auto titles = [&] {
    std::string all;
    for (const MenuRow& row : foldedMenu(menu))
      all += row.form == Form::separator ? "-" : row.title + std::to_string(row.children.size()) + " ";
    return all;
  };
  section("Needs you", 3), section("a", 2);
  EXPECT_EQ(titles(), "Needs you0 Needs you0 Needs you0 Needs you0 -a0 a0 a0 -") << "it fits; said once";
  section("b", 5), section("c", 9);
  EXPECT_EQ(titles(), "Needs you0 Needs you0 Needs you0 Needs you0 -a0 a0 a0 -b5 c9 -");
}

TEST(MenuLayoutTest, EachFormBecomesPlainItems) {
  using Form = MenuRow::Form;
  MenuRow answer{.form = Form::attention,
                 .title = "Q",
                 .subtitle = "why",
                 .detail = "Answer in Codex",
                 .represented = "a",
                 .openTitle = "Open",
                 .settleKey = "k",
                 .laterTitle = "Later",
                 .doneTitle = "Done"};
  MenuRow bare = answer;
  bare.subtitle = bare.represented = "";
  MenuRow plain = answer;
  plain.detail = "";
  MenuLayout layout;
  layout.setMenu({{.form = Form::header, .title = "Head", .subtitle = "message"},
                  {.form = Form::separator},
                  {.form = Form::section, .title = "Needs you"},
                  answer,
                  bare,
                  plain,
                  {.form = Form::pair, .title = "Codex", .detail = "ready"},
                  {.title = "greyed", .represented = "restart"},
                  {.title = "More", .children = {line("x", "x")}}});
  EXPECT_EQ(shown(layout),
            "[Head — message (off), -, Needs you (off), Q[why (off), Answer in Codex !, Later !, Done !], "
            "Q[Later !, Done !], Q[why (off), Open !, Later !, Done !], Codex — ready (off), greyed (off), More[x !]]");
}

TEST(MenuLayoutTest, NumbersStayWithTheirEntryAndNeverServeAnother) {
  const MenuRow a = line("A", "chat"), b = line("B", "chat"), c = line("C", "other");
  MenuRow detailed = a;
  detailed.detail = "2 min";
  MenuLayout layout;
  std::map<std::int32_t, std::string> owners;
  std::map<std::string, std::int32_t> last;
  const Table<const char*, MenuTree, bool> rows = {{"first", {a, b, c}, true},
                                                   {"the same", {a, b, c}, false},
                                                   {"moved", {c, a, b}, true},
                                                   {"gone", {b, c}, true},
                                                   {"back, with a detail", {detailed, b, c}, true},
                                                   {"another in its place", {line("D", "chat"), c}, true},
                                                   {"equal twins", {c, c}, true},
                                                   {"deeper", {{.title = "B", .children = {b}}, c}, true}};
  for (const auto& [what, menu, changed] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(layout.setMenu(menu).any, changed);
    for (const auto& [id, item] : layout.items()) {
      const std::string name = item.label.substr(0, 1) + (item.children.empty() ? "" : ">");
      EXPECT_EQ(owners.emplace(id, name).first->second, name) << "number " << id;
    }
    EXPECT_EQ(layout.find(3)->label, "C") << "it was there all the time";
  }
}

TEST(MenuLayoutTest, NestingEndsAtEightLevels) {
  MenuRow row = line("leaf", "x");
  for (int level = 0; level < 20; ++level) row = {.title = std::to_string(level), .children = {row}};
  MenuLayout layout;
  layout.setMenu({row});
  EXPECT_EQ(layout.items().size(), 1u + MenuLayout::kDeepest);
}

}  // namespace
}  // namespace kestrelune
