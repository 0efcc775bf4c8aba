
#include <QApplication>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <cstdlib>

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "MenuPlan.hpp"
#include "MenuViews.hpp"
#include "ProblemReport.hpp"
#include "SetupWindowViews.hpp"
#include "WindowViews.hpp"
#include "screen/Controls.hpp"
#include "screen/MenuPopup.hpp"
#include "screen/Metrics.hpp"
#include "screen/QuestionDialog.hpp"
#include "screen/Style.hpp"
#include "screen/ViewWidgets.hpp"
#include "screen/WindowHost.hpp"

namespace kestrelune {
namespace {

using metrics::px;

constexpr Date kNow{1'769'850'900};
constexpr const char* kIdentifier = "5d2f0f0e-54a1-4b8e-9d0e-0a5b4f0c7a11";

/// Everything that bears a text of its own.
bool bearsText(const QWidget& widget) {
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) return !label->text().isEmpty();
  return qobject_cast<const QAbstractButton*>(&widget) || qobject_cast<const SegmentedBar*>(&widget) ||
         qobject_cast<const ElidedLabel*>(&widget);
}

QSize wanted(const QWidget& widget) {
  if (const auto* label = qobject_cast<const QLabel*>(&widget); label && label->wordWrap()) {
    const QRect words =
        label->fontMetrics().boundingRect({0, 0, label->width(), 100'000}, Qt::TextWordWrap, label->text());
    return {words.width(), label->heightForWidth(label->width())};
  }
  if (qobject_cast<const PushButton*>(&widget)) {
    return {widget.minimumSizeHint().width(), widget.heightForWidth(widget.width())};
  }
  if (const auto* bar = qobject_cast<const SegmentedBar*>(&widget)) return bar->minimumSizeHint();
  if (qobject_cast<const ElidedLabel*>(&widget)) return {px(40), widget.sizeHint().height()};
  return widget.sizeHint();
}

/// A font that a desktop may have, how wide its letters stand, and the size of the user's text, both of 100.
struct Type {
  const char* family;
  int width, size;
};
std::ostream& operator<<(std::ostream& out, const Type& type) {
  std::string family(type.family);
  std::erase(family, ' ');
  return out << family << type.width << "At" << type.size << "Percent";
}

class LongerTexts : public testing::TestWithParam<Type> {
 protected:
  void SetUp() override {
    QFont font(GetParam().family);
    font.setPointSizeF(GetParam().size / 10.0);
    font.setLetterSpacing(QFont::PercentageSpacing, GetParam().width);
    ASSERT_EQ(QFontInfo(font).family(), GetParam().family) << "the tests need this font";
    QApplication::setFont(font);
    QApplication::setStyle(new Style);
    const auto everything = readFile(systemFiles(), KESTRELUNE_EVERYTHING, 1 << 20);
    decodeJson(Json::parse(everything.value), snapshot.status.emplace());
    snapshot.signal = Signal::yellow;
  }
  void TearDown() override { QApplication::setFont(before_); }

  /// Nothing is cut, covers another, or leaves the window.
  void check(QWidget& window, const std::string& name) {
    SCOPED_TRACE(name);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QApplication::processEvents();
    if (const char* folder = std::getenv("KESTRELUNE_SCREENSHOTS")) {
      const std::string file = std::string(folder) + "/" + name + "-" + testing::PrintToString(GetParam()) + ".png";
      window.grab().save(QString::fromStdString(file));
    }
    std::vector<QWidget*> seen;
    for (QWidget* each : window.findChildren<QWidget*>()) {
      if (each->isVisible() && bearsText(*each)) seen.push_back(each);
    }
    ASSERT_FALSE(seen.empty());
    const auto placed = [&](QWidget* each) { return QRect(each->mapTo(&window, QPoint()), each->size()); };
    for (QWidget* each : seen) {
      const std::string text = each->accessibleName().toStdString();
      const QSize least = wanted(*each);
      EXPECT_GE(each->width(), least.width()) << text;
      EXPECT_GE(each->height(), least.height()) << text;
      if (auto* bar = qobject_cast<SegmentedBar*>(each)) {
        const QFontMetrics bold(metrics::font(13, true));
        for (int i = 0; i < bar->count(); ++i)
          EXPECT_GE(bar->tabRect(i).width(), bold.horizontalAdvance(bar->tabText(i)) + px(8)) << i;
      }
      EXPECT_GE(placed(each).left(), 0) << text;
      EXPECT_LE(placed(each).right(), window.width()) << text;
      const QRect room = each->parentWidget()->rect();
      EXPECT_TRUE(room.contains(each->geometry())) << text << " leaves what holds it";
      for (QWidget* other : seen) {
        if (other == each || other->isAncestorOf(each) || each->isAncestorOf(other)) continue;
        EXPECT_FALSE(placed(each).intersects(placed(other))) << text << " / " << other->accessibleName().toStdString();
      }
    }
  }

  Snapshot snapshot;

 private:
  const QFont before_ = QApplication::font();
};

TEST_P(LongerTexts, FitIntoTheMainWindow) {
  WindowModel::State state{.snapshot = snapshot, .copied = true, .reportsURL = Url::file("/reports")};
  state.snapshot.hidden = {{.item = {.label = "#4", .taskId = "c"}, .key = "k", .mark = {.done = true}}};
  state.history = decodeHistory(R"({"tasks": [{"task_id": "t", "label": "#9", "title": "Chor", "state": "running",
    "from": "ChatGPT", "ball_at": "Codex", "open": "codex://threads/t", "steps": [{"at": "2026-01-31T09:00:00Z",
    "line": "Begonnen."}]}]})");
  state.schedules = decodeSchedules(R"({"schedules": [{"schedule_id": "s", "name": "Post", "paused": true},
    {"schedule_id": "u", "name": "Garten"}]})");
  ProblemRecord problem{.state = "done", .app = "Codex", .folder = "/reports/1", .answer = "Alles ist gut."};
  problem.open = "codex://threads/p";
  state.problem = problem;
  for (const char* place : {"tasks", "task:t", "ais", "macs", "general"}) {
    state.place = place;
    const TaskLists lists(state.snapshot, state.history, kNow);
    for (const QSize size : {QSize(420, 380), QSize(640, 600)}) {
      WindowHost window({.id = "main", .minWidth = 420, .minHeight = 380},
                        WindowViews::mainView(state, lists, kNow).tree);
      window.resize(px(size.width()), px(size.height()));
      check(window, "main-" + std::string(place) + "-" + std::to_string(size.width()));
      EXPECT_TRUE(window.width() == px(size.width()) || GetParam().width > 100) << place << " is wider";
    }
  }
}

TEST_P(LongerTexts, FitIntoTheFirstRun) {
  const auto check = [this](const SetupWindowModel& model, const std::string& name) {
    WindowHost window({.id = "setup", .width = 520, .height = 100, .heightFollowsContent = true},
                      SetupWindowViews::tree(model));
    LongerTexts::check(window, "setup-" + name);
    const bool scrolls = window.findChild<QScrollArea*>()->verticalScrollBar()->isVisible();
    EXPECT_TRUE(!scrolls || window.height() + px(50) > window.screen()->availableGeometry().height())
        << name << " scrolls in vain";
  };
  using State = SetupRunner::State;
  check({}, "account");
  check({.install = {.kind = State::Case::running}}, "browser");
  check({.install = {.kind = State::Case::finished, .code = 1}}, "failed");
  check({.needsMove = true}, "move");
  check({.snapshot = snapshot}, "account-done");
  check({.step = SetupStep::ai}, "ai");
  for (const auto assistant : SetupFlow::kAssistants) {
    const std::string id(assistant);
    check({.step = SetupStep::ai, .chosen = id}, id);
    check({.step = SetupStep::ai, .chosen = id, .opened = {id}}, id + "-opened");
    check({.step = SetupStep::ai, .snapshot = snapshot, .chosen = id}, id + "-known");
  }
  check({.step = SetupStep::mac}, "mac-no-apps");
  const SharedToolsState tools{.tools = {{"computer_use", true, true, "direct", {"claude", "cursor"}},
                                         {"computer_history", true, true, "task", {"claude"}},
                                         {"skills", false, true, "direct", {}}}};
  check({.step = SetupStep::mac, .snapshot = snapshot, .sharedTools = tools}, "mac");
  check({.step = SetupStep::mac, .snapshot = snapshot, .chosen = "claude", .firstTaskCopied = true}, "mac-copied");
}

TEST_P(LongerTexts, FitIntoQuestions) {
  World world;
  const Configuration configuration = world.configuration();
  ActionRunner actions(false, world.actionReach());
  actions.profileLookup = [this](const std::string&) { return snapshot.status->profiles->front(); };
  for (const Action& each : {Action::setup(), Action::switchOff("app:claude"), Action::readOnly("connection:claude"),
                             Action::editProfile(kIdentifier)}) {
    actions.perform(each);
  }
  WindowModel(configuration, world.outside(), actions).schedule("remove", {.scheduleId = kIdentifier, .name = "Post"});
  Notifications notifications(false, actions, {world.loop, world.session.notifications(), world.defaults, nullptr});
  ProblemReporter(configuration, world.outside(), actions, notifications).start(snapshot);
  const std::vector<Question>& asked = world.session.alert().asked;
  EXPECT_EQ(asked.size(), 6u);
  for (const Question& question : asked) {
    QuestionDialog dialog(question);
    check(dialog, "question-" + std::to_string(&question - asked.data()));
    for (const auto* button : dialog.findChildren<PushButton*>()) EXPECT_EQ(button->text(), button->accessibleName());
  }
}

TEST_P(LongerTexts, FitIntoTheMenu) {
  const SharedToolsState tools{.tools = {{"computer_use", true, true, "direct", {"claude"}}}, .newApps = {"cursor"}};
  MenuTree menu = MenuViews::rows(
      MenuPlan::entries(snapshot, kNow,
                        {.setupFailed = true, .hasAgent = true, .sharedTools = tools, .smallModel = true}),
      false);
  for (const Signal signal : {Signal::green, Signal::yellow, Signal::red, Signal::running}) {
    menu.insert(menu.begin(),
                MenuViews::header({.status = snapshot.status, .signal = signal}, signal == Signal::running));
  }
  MenuPopup popup(menu, nullptr);
  check(popup, "menu");
  for (const MenuRowView* row : popup.rows()) {
    const MenuRow& drawn = row->row();
    const auto width = [&](double points) {
      return QFontMetrics(metrics::font(points, true)).horizontalAdvance(QString::fromStdString(drawn.title));
    };
    // The others say in their tool tip what doesn't fit.
    EXPECT_TRUE(drawn.form != MenuRow::Form::header || width(14) <= row->width() - px(40)) << drawn.title;
    EXPECT_TRUE(drawn.form != MenuRow::Form::section || width(11) <= row->width() - px(50)) << drawn.title;
    for (const auto* button : row->findChildren<MenuRowButton*>()) EXPECT_GT(button->x(), px(150)) << drawn.title;
  }
}

std::vector<Type> types() {
  std::vector<Type> all;
  for (const auto& [family, width] :
       Table<const char*, int>{{"DejaVu Sans", 100}, {"Cantarell", 100}, {"Open Sans", 100}, {"DejaVu Sans", 120}})
    for (const int size : {100, 150, 200}) all.push_back({family, width, size});
  return all;
}

INSTANTIATE_TEST_SUITE_P(Fonts, LongerTexts, testing::ValuesIn(types()), testing::PrintToStringParamName());

}  // namespace
}  // namespace kestrelune
