#include "screen/ViewNode.hpp"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTextDocumentFragment>

#include "Fakes/Testing.hpp"
#include "screen/Colors.hpp"
#include "screen/Controls.hpp"
#include "screen/LongList.hpp"
#include "screen/MenuRowView.hpp"
#include "screen/Metrics.hpp"
#include "screen/QuestionDialog.hpp"
#include "screen/StripWindow.hpp"
#include "screen/WindowHost.hpp"

namespace kestrelune {
namespace {

using Kind = View::Kind;

View text(std::string words, std::string key = "") {
  return {.kind = Kind::text, .key = std::move(key), .text = std::move(words)};
}
View button(const std::string& key, View::ButtonStyle style = View::ButtonStyle::normal) {
  return {.kind = Kind::button, .key = key, .text = key, .style = style};
}

class WindowTest : public testing::Test {
 protected:
  void show(const View& tree, const WindowSpec& spec = {.id = "w", .width = 400, .height = 300}) {
    host = std::make_unique<WindowHost>(spec, tree);
    host->onEvent = [this](const ViewEvent& event) { events.push_back(event); };
    host->onClosed = [this] { closed = true; };
    host->show();
    host->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(host.get()));
  }
  QAbstractButton* find(const char* words) const {
    for (auto* each : host->findChildren<QAbstractButton*>()) {
      if (each->text() == words && each->isVisible()) return each;
    }
    return nullptr;
  }

  std::unique_ptr<WindowHost> host;
  std::vector<ViewEvent> events;
  bool closed = false;
};

TEST_F(WindowTest, ARedrawKeepsFocusSelectionAndScroll) {
  View page{.kind = Kind::scroll, .key = "page", .children = {button("a"), button("b")}};
  View words = text("to be selected", "words");
  words.selectable = true;
  page.children.push_back(words);
  for (int i = 0; i < 60; ++i) page.children.push_back(text("line " + std::to_string(i)));
  View tree{.kind = Kind::stack, .key = "root", .children = {page}};
  show(tree);
  QAbstractButton* focused = find("b");
  focused->setFocus();
  auto* label = host->findChildren<QLabel*>().at(0);
  label->setSelection(3, 2);
  auto* bar = host->findChild<QScrollArea*>()->verticalScrollBar();
  bar->setValue(70);

  View& changed = tree.children[0];
  changed.children[2].tint = View::Tint::green;
  changed.children.insert(changed.children.begin(), text("new above", "new"));
  std::swap(changed.children[1], changed.children[2]);
  host->setTree(tree);
  QApplication::processEvents();
  EXPECT_EQ(QApplication::focusWidget(), focused);
  EXPECT_EQ(find("b"), focused) << "the same widget, in another place";
  EXPECT_EQ(label->selectedText(), "be");
  EXPECT_EQ(bar->value(), 70);
  EXPECT_LT(find("b")->y(), find("a")->y());
  std::swap(changed.children[1], changed.children[2]);
  host->setTree(tree);
  QApplication::processEvents();
  EXPECT_GT(find("b")->y(), find("a")->y()) << "two that only change places";
}

TEST_F(WindowTest, AnEqualTreeTouchesNoWidget) {
  const View tree{.kind = Kind::stack, .key = "root", .children = {text("a"), button("b"), {.kind = Kind::spinner}}};
  show(tree);
  struct Watch : QObject {
    int touched = 0;
    bool eventFilter(QObject*, QEvent* event) override {
      const QEvent::Type type = event->type();
      touched += type == QEvent::LayoutRequest || type == QEvent::PaletteChange || type == QEvent::Resize ||
                 type == QEvent::FontChange || type == QEvent::ToolTipChange;
      return false;
    }
  } watch;
  QApplication::processEvents();
  for (QWidget* widget : host->findChildren<QWidget*>()) widget->installEventFilter(&watch);
  host->setTree(tree);
  QApplication::processEvents();
  EXPECT_EQ(watch.touched, 0);
}

TEST_F(WindowTest, ReturnPressesThePrimaryButtonAndEscapeCloses) {
  View off = button("off", View::ButtonStyle::primary);
  off.enabled = false;
  show({.kind = Kind::stack,
        .key = "root",
        .children = {button("first"), off, button("go", View::ButtonStyle::primary)}});
  EXPECT_TRUE(find("go")->hasFocus());
  QTest::keyClick(host.get(), Qt::Key_Return);
  QTest::qWait(150);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].node, "go");
  host->setTree({.kind = Kind::stack,
                 .key = "other step",
                 .children = {button("first"), button("on", View::ButtonStyle::primary)}});
  QApplication::processEvents();
  ASSERT_TRUE(find("on"));
  EXPECT_TRUE(find("on")->hasFocus()) << "the next step begins at its own";
  QTest::keyClick(host.get(), Qt::Key_Escape);
  EXPECT_TRUE(closed);
}

TEST_F(WindowTest, AWordWithoutAnEndWidensNothing) {
  const View row{.kind = Kind::row, .children = {text("A title"), {.kind = Kind::spacer}, button("end")}};
  show({.kind = Kind::stack, .key = "root", .padding = 20, .children = {text(std::string(300, 'm')), row}},
       {.id = "w", .width = 420, .height = 200, .heightFollowsContent = true});
  QApplication::processEvents();
  const auto* label = host->findChildren<QLabel*>().at(0);
  EXPECT_GE(label->height(), label->heightForWidth(label->width()));
  EXPECT_EQ(find("end")->mapTo(host.get(), QPoint(find("end")->width(), 0)).x(), host->width() - 20);
}

TEST_F(WindowTest, TabGoesByWhatIsSeenAndStaysInSight) {
  View tree{.kind = Kind::stack, .key = "root", .children = {{.kind = Kind::scroll, .key = "page"}}};
  for (const char* key : {"a", "b", "c"}) tree.children[0].children.push_back(button(key));
  for (int i = 0; i < 60; ++i) tree.children[0].children.push_back(text("line"));
  tree.children[0].children.push_back(button("end"));
  show(tree);
  std::swap(tree.children[0].children[0], tree.children[0].children[2]);
  tree.children[0].children.insert(tree.children[0].children.begin() + 1, button("new"));
  host->setTree(tree);
  find("c")->setFocus();
  for (const char* next : {"new", "b", "a", "end", "c"}) {
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    ASSERT_TRUE(find(next)->hasFocus()) << next;
    EXPECT_FALSE(find(next)->visibleRegion().isEmpty()) << next;
  }
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_End);
  EXPECT_FALSE(find("end")->visibleRegion().isEmpty()) << "keys that no control wants scroll";
}

TEST_F(WindowTest, ADesktopThatTurnsDarkOrTakesLargerTextIsFollowed) {
  show({.kind = Kind::stack, .key = "root", .children = {text("words"), button("b")}});
  const auto ink = [this] { return host->findChild<QLabel*>()->palette().color(QPalette::WindowText).lightness(); };
  const int light = ink();
  const int height = host->findChild<QLabel*>()->fontMetrics().height();
  colors::setScheme({.dark = true});
  metrics::setTextFactor(1.5);
  QApplication::processEvents();
  QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_GT(ink(), light + 100);
  EXPECT_NEAR(host->findChild<QLabel*>()->fontMetrics().height(), height * 1.5, 2);
  EXPECT_TRUE(find("b")->hasFocus());
  colors::setScheme({});
  metrics::setTextFactor(1);
}

/// A companion that answers what the list asks for.
struct Companion {
  View piece(int first, int last) const {
    View view{.kind = Kind::longList, .key = "list", .count = first, .total = total};
    for (int i = first; i < std::min(last, total); ++i) {
      View row{.kind = Kind::card, .key = "row" + std::to_string(added + i), .pressable = true};
      row.children = {text("row " + std::to_string(added + i))};
      view.children.push_back(row);
    }
    return view;
  }
  int total = 20'000, added = 0;
};

TEST_F(WindowTest, ALongListMakesWidgetsForWhatIsInSightOnly) {
  Companion companion;
  const auto tree = [](View list) { return View{.kind = Kind::stack, .key = "root", .children = {std::move(list)}}; };
  show(tree(companion.piece(0, 256)));
  auto* list = host->findChild<LongList*>();
  EXPECT_LT(list->liveRows(), 40u);
  EXPECT_TRUE(events.empty()) << "what is in sight is there";

  auto* bar = list->verticalScrollBar();
  bar->setValue(bar->maximum() / 2);
  ASSERT_EQ(events.size(), 1u) << "asked once";
  const int first = std::stoi(events[0].value);
  EXPECT_NEAR(first, 10'000, 200);
  host->setTree(tree(companion.piece(first - 100, first + 300)));
  QApplication::processEvents();
  EXPECT_GT(list->liveRows(), 4u);
  EXPECT_LT(list->liveRows(), 40u);

  const auto topRow = [&] {
    const QWidget* found = list->viewport()->childAt(20, 2);
    for (; found && found->parentWidget() != list->viewport(); found = found->parentWidget()) {
    }
    const auto* label = found ? found->findChild<QLabel*>() : nullptr;
    return label ? label->text() : QString("none");
  };
  const QString top = topRow();
  EXPECT_NE(top, "none");
  // Three rows are added above: what the user looks at stays.
  companion.added = -3;
  companion.total += 3;
  host->setTree(tree(companion.piece(first - 100, first + 300)));
  QApplication::processEvents();
  EXPECT_EQ(topRow(), top);
}

constexpr const char* kMarkup = "<b>x</b> &amp; <img src='a'>";

/// What a person reads in its tool tip.
std::string toolTipOf(const QWidget& widget) {
  const QString tip = widget.toolTip();
  return (Qt::mightBeRichText(tip) ? QTextDocumentFragment::fromHtml(tip).toPlainText() : tip).toStdString();
}

/// Nothing in it, nor itself, reads markup in a text from outside; `toolTips`: how many say the text.
void expectPlain(QWidget& shown, std::size_t toolTips, const std::string& name) {
  SCOPED_TRACE(name);
  shown.grab();
  const QList<QWidget*> all = shown.findChildren<QWidget*>() << &shown;
  std::size_t told = 0;
  for (const QWidget* each : all) {
    const auto* label = qobject_cast<const QLabel*>(each);
    EXPECT_TRUE(!label || label->text().isEmpty() || label->textFormat() == Qt::PlainText);
    const std::string said = toolTipOf(*each);
    told += !said.empty();
    EXPECT_TRUE(said.empty() || said.find(kMarkup) != std::string::npos) << said;
  }
  EXPECT_EQ(told, toolTips);
}

TEST(MarkupTest, IsShownAsItStandsWhereverATextComesFrom) {
  const std::string text = kMarkup;
  const ViewNode::Emit emit = [](const ViewEvent&) {};
  for (int kind = 0; kind <= static_cast<int>(Kind::field); ++kind) {
    View view{
        .kind = static_cast<Kind>(kind), .text = text, .detail = text, .help = text, .name = text, .toolTip = text};
    view.children = {{.kind = Kind::option, .key = "a", .text = text, .detail = text}};
    expectPlain(*ViewNode::make(view, emit)->widget(), 1, "view " + std::to_string(kind));
  }
  View narrow{.kind = Kind::text, .text = text, .truncates = true, .width = 20};
  expectPlain(*ViewNode::make(narrow, emit)->widget(), 1, "a text that is cut");

  for (int form = 0; form <= static_cast<int>(MenuRow::Form::separator); ++form) {
    MenuRow row{.form = static_cast<MenuRow::Form>(form), .title = text, .subtitle = text, .detail = text};
    row.toolTip = row.laterTitle = row.laterHelp = row.doneTitle = row.doneHelp = text;
    MenuRowView view(row, nullptr);
    expectPlain(view, row.form == MenuRow::Form::attention ? 3 : 1, "row " + std::to_string(form));
  }
  const Question::Field field{.text = text, .placeholder = text};
  QuestionDialog question({.title = text, .text = text, .buttons = {text, text}, .field = field});
  expectPlain(question, 0, "a question");
  StripWindow strip;
  strip.setLook({.pill = text, .toolTip = text});
  expectPlain(strip, 1, "the strip");
}

}  // namespace
}  // namespace kestrelune
