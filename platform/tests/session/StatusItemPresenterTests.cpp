#include "session/StatusItemPresenter.hpp"

#include "FakeScreenPort.hpp"
#include "Fakes/FakeLoop.hpp"
#include "Fakes/Testing.hpp"
#include "TrayHost.hpp"

namespace kestrelune {
namespace {

MenuRow line(const std::string& title, const std::string& represented = "act") {
  return {.title = title, .represented = represented, .enabled = true};
}
MenuRow attention(const std::string& title) {
  return {.form = MenuRow::Form::attention,
          .title = title,
          .subtitle = "why",
          .represented = "chat:1",
          .openTitle = "Open",
          .settleKey = "key-1",
          .laterTitle = "Later",
          .doneTitle = "Done"};
}

struct StatusItemPresenterTest : testing::Test {
  StatusItemPresenterTest() {
    presenter.setEvents(
        {.menuWillOpen =
             [this] {
               ++composed;
               presenter.setMenu(menu);
             },
         .chosen = [this](const MenuChoice& choice) { choices.push_back(choice); },
         .activated = [this] { ++activated; },
         .unseen = [this](const UnseenIcon& icon) { unseen.push_back(icon.desktop + " " + icon.why.substr(0, 22)); }});
    presenter.show(look);
  }
  bool served(const std::function<bool()>& done) { return serveBus(loop, done); }
  void hostComes() {
    host = std::make_unique<TrayHost>(loop, daemon.address());
    ASSERT_TRUE(served([&] { return !host->items.empty() && presenter.wantsMenuWhileClosed(); }));
  }
  bool screenShows() {
    const auto items = screen.all<messages::ShowStatusItem>();
    return screen.isRunning && !items.empty() && items.back().visible;
  }
  /// The answer to a question has come, and with it what was sent before.
  void settle() { (void)host->text("Title"); }

  PrivateBus daemon;
  SessionRunLoop loop;
  FakeClock clock;
  ActivationToken activation{clock};
  Bus bus{loop, daemon.address()};
  FakeScreenPort screen;
  StatusItemPresenter presenter{loop, bus, screen, activation, "X-GNOME"};
  StatusItemLook look{
      .dot = {46, 125, 91}, .toolTip = "Kestrelune — ready", .accessibilityLabel = "Kestrelune — ready"};
  MenuTree menu{line("one"), attention("two")};
  int composed = 0, activated = 0;
  std::vector<std::string> unseen;
  std::vector<MenuChoice> choices;
  std::unique_ptr<TrayHost> host;
};

TEST_F(StatusItemPresenterTest, SaysItsLookAndSignalsOnlyWhatChanged) {
  hostComes();
  EXPECT_EQ(host->text("Status"), "Active");
  EXPECT_EQ(host->text("IconName"), "");
  EXPECT_EQ(host->text("IconAccessibleDesc"), look.accessibilityLabel);
  const Table<const char*, std::function<void(StatusItemLook&)>, std::vector<std::string>> rows = {
      {"nothing", [](StatusItemLook&) {}, {}},
      {"dot", [](StatusItemLook& l) { l.dot.red = 208; }, {"NewIcon"}},
      {"tool tip", [](StatusItemLook& l) { l.toolTip = "t"; }, {"NewToolTip"}},
      {"pill", [](StatusItemLook& l) { l.pill = std::string("<a>&\0b", 6); }, {"NewToolTip", "XAyatanaNewLabel"}},
      {"tone", [](StatusItemLook& l) { l.tone = StatusItemLook::PillTone::done; }, {}},
      {"words", [](StatusItemLook& l) { l.accessibilityLabel = "a"; }, {"NewTitle"}}};
  for (const auto& [name, change, signals] : rows) {
    SCOPED_TRACE(name);
    host->signals.clear();
    change(look);
    presenter.show(look);
    settle();
    std::erase(host->signals, "PropertiesChanged");
    EXPECT_EQ(host->signals, signals);
  }
  EXPECT_EQ(host->text("XAyatanaLabel"), "<a>&\uFFFDb");
  const BusMessage tip = host->property("ToolTip");
  const char *icon = nullptr, *title = nullptr, *text = nullptr;
  sd_bus_message_enter_container(tip.get(), 'v', "(sa(iiay)ss)");
  sd_bus_message_enter_container(tip.get(), 'r', "sa(iiay)ss");
  sd_bus_message_read(tip.get(), "s", &icon);
  sd_bus_message_skip(tip.get(), "a(iiay)");
  ASSERT_GT(sd_bus_message_read(tip.get(), "ss", &title, &text), 0);
  EXPECT_STREQ(title, "t");
  EXPECT_STREQ(text, "&lt;a&gt;&amp;\uFFFDb");
}

TEST_F(StatusItemPresenterTest, IsShownWhereThereIsAPlaceAtThisMoment) {
  ASSERT_TRUE(served([&] { return screen.start(); })) << "no watcher: the screen shows it";
  EXPECT_TRUE(screenShows());
  host = std::make_unique<TrayHost>(loop, daemon.address(), false);
  ASSERT_TRUE(served([&] { return !host->items.empty(); }));
  settle();
  EXPECT_TRUE(screenShows()) << "a watcher without a host shows nothing";
  host->hostComes();
  ASSERT_TRUE(served([&] { return !screenShows(); }));
  EXPECT_EQ(host->items.size(), 1u) << "registered once";
  for (const char* name : {"restarted", "restarted again"}) {
    SCOPED_TRACE(name);
    host.reset();
    hostComes();
  }
  EXPECT_FALSE(screenShows()) << "a host that is back in a moment isn't stood in for";
  host.reset();
  host = std::make_unique<TrayHost>(loop, daemon.address(), true, true);
  EXPECT_TRUE(served([&] { return screenShows(); })) << "a watcher that refuses us";
}

TEST_F(StatusItemPresenterTest, FindsTheBusAgain) {
  hostComes();
  host.reset();
  daemon.stop();
  ASSERT_TRUE(served([&] { return !bus.connected(); }));
  daemon.start();
  bus.retry();
  hostComes();
  (void)host->aboutToShow();
  EXPECT_EQ(host->layout().children.size(), menu.size());
}

TEST_F(StatusItemPresenterTest, TheMenuIsComposedWhenAHostAsks) {
  hostComes();
  EXPECT_TRUE(host->aboutToShow());
  const TrayHost::Row whole = host->layout();
  ASSERT_EQ(whole.children.size(), 2u);
  EXPECT_EQ(whole.children[1].texts.at("children-display"), "submenu");
  EXPECT_FALSE(host->aboutToShow()) << "nothing changed";
  presenter.setMenu(menu);
  settle();
  EXPECT_EQ(composed, 2);
  EXPECT_EQ(host->count("LayoutUpdated"), 0) << "the answer told of the change";

  EXPECT_TRUE(host->layout(0, 1).children[1].children.empty());
  EXPECT_EQ(host->layout(whole.children[1].id).children.size(), 4u);
  menu = {{.title = "box", .represented = "a", .enabled = true, .checked = true, .key = "k"}, line("off", "")};
  presenter.setMenu(menu);
  const TrayHost::Row changed = host->layout();
  EXPECT_EQ(host->count("LayoutUpdated"), 1);
  using Texts = std::map<std::string, std::string>;
  EXPECT_EQ(changed.children[0].texts,
            (Texts{{"label", "box"}, {"shortcut", "Control+k"}, {"toggle-state", "1"}, {"toggle-type", "checkmark"}}));
  EXPECT_EQ(changed.children[1].texts, (Texts{{"label", "off"}, {"enabled", "0"}}));
  EXPECT_EQ(host->menu("GetLayout", "iias", whole.children[0].id, -1, 0), nullptr) << "a stale number";
}

TEST_F(StatusItemPresenterTest, NothingMovesUnderAnOpenMenu) {
  hostComes();
  presenter.setMenu(menu);
  settle();
  host->signals.clear();
  const Table<const char*, std::function<void()>> rows = {
      {"closed", [&] { host->event(0, "closed"); }},
      {"clicked", [&] { host->event(host->layout().children.back().id, "clicked"); }},
  };
  for (const auto& [name, close] : rows) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(host->event(0, "opened"));
    EXPECT_TRUE(presenter.menuIsOpen());
    for (const char* title : {"x", "y"}) {
      menu.push_back(line(name + std::string(title)));
      presenter.setMenu(menu);
    }
    (void)host->layout();
    EXPECT_EQ(host->count("LayoutUpdated"), 0);
    close();
    settle();
    EXPECT_EQ(host->count("LayoutUpdated"), 1);
    EXPECT_FALSE(presenter.menuIsOpen());
    host->signals.clear();
  }
  EXPECT_TRUE(host->event(0, "opened"));
  menu[0].detail = "nearly done";
  presenter.setMenu(menu);
  settle();
  EXPECT_EQ(host->count("ItemsPropertiesUpdated"), 1) << "what stays a row shows its new words";
  const std::int32_t shown = host->layout().children[0].id;
  menu.erase(menu.begin());
  presenter.setMenu(menu);
  EXPECT_TRUE(host->event(shown, "clicked")) << "it is still to be seen there";
  EXPECT_TRUE(served([&] { return !choices.empty(); }));
  EXPECT_TRUE(host->event(0, "opened"));
  EXPECT_FALSE(host->event(shown, "clicked"));
  host.reset();
  EXPECT_TRUE(served([&] { return !presenter.menuIsOpen(); })) << "its host is gone";
}

TEST_F(StatusItemPresenterTest, AHostThatIgnoresTheAnswerGetsItsSignalAtTheEnd) {
  hostComes();
  EXPECT_TRUE(host->aboutToShow());
  host->event(0, "opened");
  host->event(0, "closed");
  settle();
  EXPECT_EQ(host->count("LayoutUpdated"), 1);
}

TEST_F(StatusItemPresenterTest, AClickIsChosenOnceAndAStaleOneNever) {
  hostComes();
  presenter.setMenu(menu);
  const TrayHost::Row before = host->layout();
  const auto& parts = before.children[1].children;
  EXPECT_TRUE(host->event(parts[0].id, "clicked"));  // its subtitle
  EXPECT_TRUE(host->event(parts[1].id, "hovered"));
  const BusMessage group =
      host->menu("EventGroup", "a(isvu)", 2, parts[2].id, "clicked", "s", "", 0u, 9999, "clicked", "s", "", 0u);
  std::int32_t unknown = 0;
  ASSERT_GT(sd_bus_message_read(group.get(), "ai", 1, &unknown), 0);
  EXPECT_EQ(unknown, 9999);
  EXPECT_TRUE(host->event(parts[3].id, "clicked"));
  EXPECT_TRUE(host->event(before.children[0].id, "clicked"));
  menu = {line("another")};
  presenter.setMenu(menu);
  EXPECT_FALSE(host->event(before.children[0].id, "clicked"));
  ASSERT_TRUE(served([&] { return choices.size() >= 3; }));
  settle();
  EXPECT_EQ(choices, (std::vector<MenuChoice>{{MenuChoice::Part::later, "chat:1", "key-1"},
                                              {MenuChoice::Part::done, "chat:1", "key-1"},
                                              {MenuChoice::Part::row, "act", ""}}));
}

TEST_F(StatusItemPresenterTest, AClickAtAPlaceOpensOurOwnMenuThere) {
  hostComes();
  const auto call = [&](const char* method) {
    return host->call("/StatusNotifierItem", "org.kde.StatusNotifierItem", method, "ii", 30, 40) != nullptr;
  };
  ASSERT_TRUE(call("Activate"));
  ASSERT_TRUE(screen.start());
  auto shown = screen.all<messages::ShowMenu>();
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_EQ(shown[0].menu, menu);
  EXPECT_EQ(shown[0].place, (messages::MenuPlace{.x = 30, .y = 40}));
  screen.lose();
  ASSERT_TRUE(screen.start()) << "it went before the menu was up: the click still counts";
  shown = screen.all<messages::ShowMenu>();
  ASSERT_EQ(shown.size(), 1u);
  screen.say(messages::MenuOpened{.id = shown[0].id});
  EXPECT_TRUE(presenter.menuIsOpen());
  screen.say(messages::MenuClosed{.id = shown[0].id});
  screen.say(messages::MenuChosen{.id = shown[0].id, .choice = {.represented = "act"}});
  screen.say(messages::MenuChosen{.id = shown[0].id - 1, .choice = {.represented = "late"}});
  EXPECT_EQ(choices, (std::vector<MenuChoice>{{.represented = "act"}}));
  screen.lose();
  EXPECT_FALSE(screen.start()) << "nothing is wanted any more";

  presenter.openMenu();
  screen.places = false;
  ASSERT_TRUE(screen.start());
  EXPECT_EQ(activated, 1) << "no menu can be placed there";
  EXPECT_FALSE(call("Activate")) << "the host is to open its own";
  EXPECT_TRUE(call("ContextMenu")) << "the host has none";
  EXPECT_EQ(activated, 2);
  EXPECT_TRUE(screen.all<messages::ShowMenu>().empty());
  screen.say(messages::StatusItemForm{.form = "none"});
  EXPECT_TRUE(unseen.empty()) << "the host shows it";
  host.reset();
  ASSERT_TRUE(served([&] { return screenShows(); }));
  screen.say(messages::StatusItemForm{.form = "strip"});
  EXPECT_TRUE(unseen.empty());
  screen.say(messages::StatusItemClicked{});
  EXPECT_EQ(screen.all<messages::ShowMenu>().size(), 1u) << "at its own strip the screen places one anywhere";
  screen.say(messages::StatusItemForm{.form = "none"});
  EXPECT_EQ(unseen, std::vector<std::string>{"X-GNOME Start Kestrelune again"});
  screen.say(messages::MenuClosed{.id = screen.all<messages::ShowMenu>().back().id});
  screen.lose();
  look.pill = "new";
  presenter.show(look);
  EXPECT_FALSE(screen.start()) << "it ended, since it can show nothing";
  hostComes();
  host.reset();
  EXPECT_TRUE(served([&] { return screen.start(); })) << "what was asked may have another answer by now";
}

}  // namespace
}  // namespace kestrelune
