#include "screen/MenuPopup.hpp"

#include <QAccessible>
#include <QApplication>
#include <QScreen>
#include <QTest>

#include "Fakes/Testing.hpp"
#include "screen/Accessible.hpp"

namespace kestrelune {
namespace {

using Form = MenuRow::Form;

MenuRow item(const std::string& title, const std::string& represented, const std::string& key = "") {
  MenuRow row{.title = title, .represented = represented};
  row.enabled = !represented.empty();
  row.key = key;
  return row;
}
MenuRow attention(const std::string& title, const std::string& subtitle) {
  MenuRow row{.form = Form::attention, .title = title, .subtitle = subtitle, .represented = "open:" + title};
  row.enabled = true;
  row.settleKey = "key:" + title;
  row.laterTitle = "Later";
  row.doneTitle = "Done";
  return row;
}
MenuTree menu() {
  MenuRow more = item("More", "");
  more.enabled = true;
  more.children = {item("Inner", "inner"), item("Other", "other")};
  return {{.form = Form::header, .title = "All well", .subtitle = "Nothing to do"},
          attention("First", "Which one?"),
          attention("Second", ""),
          {.form = Form::pair, .title = "Codex", .detail = "this Mac"},
          item("Disabled", ""),
          more,
          item("All tasks", "window:tasks", "t"),
          item("Quit", "quit", "q")};
}

struct MenuPopupTest : testing::Test {
  MenuPopup& open(MenuTree tree = menu()) {
    popup = std::make_unique<MenuPopup>(std::move(tree), nullptr);
    popup->onClosed = [this] { said.push_back("closed"); };
    popup->onChosen = [this](const MenuChoice& choice) {
      said.push_back(choice.represented + " " + std::to_string(static_cast<int>(choice.part)) + " " + choice.settleKey);
    };
    popup->openAt({50, 40});
    return *popup;
  }
  void keys(const std::vector<int>& pressed) {
    for (const int key : pressed) {
      QWidget* active = QApplication::activePopupWidget();
      const char letter = key >= Qt::Key_A && key <= Qt::Key_Z ? static_cast<char>(key) : '\0';
      letter ? QTest::keyClick(active ? active : popup.get(), letter)
             : QTest::keyClick(active ? active : popup.get(), static_cast<Qt::Key>(key));
      QApplication::processEvents();
    }
  }

  std::vector<std::string> said;
  std::unique_ptr<MenuPopup> popup;
};

TEST_F(MenuPopupTest, KeysReachEveryPartAndChooseAfterClosing) {
  using namespace Qt;
  const Table<const char*, std::vector<int>, std::vector<std::string>> cases = {
      {"the row itself", {Key_Down, Key_Return}, {"closed", "open:First 0 key:First"}},
      {"Later by Tab", {Key_Down, Key_Tab, Key_Space}, {"closed", "open:First 1 key:First"}},
      {"Done, and back",
       {Key_Down, Key_Right, Key_Right, Key_Left, Key_Left, Key_Return},
       {"closed", "open:First 0 key:First"}},
      {"Tab beyond Done", {Key_Down, Key_Tab, Key_Tab, Key_Tab, Key_Return}, {"closed", "open:Second 0 key:Second"}},
      {"round the end", {Key_Up, Key_Return}, {"closed", "quit 0 "}},
      {"a page stops at the end", {Key_Down, Key_PageDown, Key_Return}, {"closed", "quit 0 "}},
      {"by its letter", {Key_A, Key_Return}, {"closed", "window:tasks 0 "}},
      {"a letter of none", {Key_Down, Key_D, Key_Return}, {"closed", "open:First 0 key:First"}},
      {"a submenu", {Key_M, Key_Right, Key_Down, Key_Return}, {"closed", "other 0 "}},
      {"out of the submenu", {Key_M, Key_Right, Key_Escape, Key_Down, Key_Return}, {"closed", "window:tasks 0 "}},
      {"Escape", {Key_Escape}, {"closed"}},
  };
  for (const auto& [name, pressed, wanted] : cases) {
    SCOPED_TRACE(name);
    said.clear();
    open();
    keys(pressed);
    EXPECT_EQ(said, wanted);
    EXPECT_FALSE(popup->isVisible());
  }
}

TEST_F(MenuPopupTest, TheReleaseOfTheOpeningClickChoosesNothing) {
  MenuRowView* quit = open().rows().back();
  QTest::mouseRelease(quit, Qt::LeftButton);
  EXPECT_TRUE(said.empty());
  QTest::mouseClick(quit, Qt::LeftButton);
  EXPECT_EQ(said, (std::vector<std::string>{"closed", "quit 0 "}));
}

TEST_F(MenuPopupTest, TheWayIntoASubmenuMayLeadAcrossOtherRows) {
  open();
  keys({Qt::Key_M, Qt::Key_Right});
  const MenuPopup* inner = popup->submenu();
  ASSERT_TRUE(inner);
  popup->pointAt(popup->rows().back()->mapToGlobal(QPoint(30, 5)));
  EXPECT_EQ(popup->submenu(), inner) << "not at once";
  popup->submenu()->pointAt(inner->rows().front()->mapToGlobal(QPoint(30, 5)));
  QTest::qWait(250);
  EXPECT_EQ(popup->submenu(), inner) << "it was on its way";
  popup->pointAt(popup->rows().back()->mapToGlobal(QPoint(30, 5)));
  QTest::qWait(250);
  EXPECT_FALSE(popup->submenu()) << "it stays elsewhere";
  EXPECT_EQ(popup->current(), popup->rows().back());
}

TEST_F(MenuPopupTest, ALongMenuStaysOnTheDisplayWithButtonsWhole) {
  MenuTree tree;
  for (int i = 0; i < 500; ++i) tree.push_back(attention(std::to_string(i) + std::string(5000, 'n'), "x"));
  open(std::move(tree));
  EXPECT_TRUE(popup->screen()->availableGeometry().contains(popup->geometry()));
  keys({Qt::Key_End});
  const QRect last(popup->current()->mapTo(popup.get(), QPoint(0, 0)), popup->current()->size());
  EXPECT_TRUE(popup->rect().contains(last));
  for (const auto* button : popup->current()->findChildren<MenuRowButton*>()) {
    EXPECT_EQ(button->width(), button->sizeHint().width());
    EXPECT_LE(button->geometry().right(), popup->width());
  }
}

TEST_F(MenuPopupTest, AssistiveToolsSeeRowsAndButtons) {
  accessible::install();
  open();
  QAccessibleInterface* tree = QAccessible::queryAccessibleInterface(popup.get());
  ASSERT_EQ(tree->childCount(), static_cast<int>(menu().size()));
  const QAccessibleInterface* first = tree->child(1);
  EXPECT_EQ(first->text(QAccessible::Name), "First, Which one?");
  EXPECT_EQ(first->parent(), tree);
  ASSERT_EQ(first->childCount(), 2);
  EXPECT_FALSE(tree->child(3)->state().disabled) << "what is only to be read can be read";
  EXPECT_TRUE(tree->child(4)->state().disabled);
  first->child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(said, (std::vector<std::string>{"closed", "open:First 2 key:First"}));
}

}  // namespace
}  // namespace kestrelune
