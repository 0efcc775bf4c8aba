#include "session/ScreenWindows.hpp"

#include "FakeScreenPort.hpp"
#include "Fakes/FakeLoop.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

using namespace messages;

View text(const std::string& words) { return {.text = words}; }

struct ScreenWindowsTest : testing::Test {
  void show(const std::string& id, const std::string& words = "1") {
    windows.show({.id = id}, text(words),
                 {[this](const ViewEvent& event) { events.push_back(event.node); },
                  [this, id] { closed.push_back(id); }, [](const Rect&) {}});
  }
  /// Trees on the screen that runs now, by the order of sending, as "id:text".
  std::vector<std::string> shown() const {
    std::vector<std::string> found;
    for (const ShowWindow& message : port.all<ShowWindow>()) found.push_back(message.spec.id + ":" + message.tree.text);
    return found;
  }
  using Strings = std::vector<std::string>;

  FakeClock clock;
  FakeLoop loop{clock};
  FakeScreenPort port;
  ActivationToken activation{clock};
  ScreenWindows windows{loop, clock, port, activation};
  Strings events, closed;
};

TEST_F(ScreenWindowsTest, SendsAWindowOnceAndAgainOnlyWhenItChanged) {
  show("main");
  windows.update("main", text("2"));
  ASSERT_TRUE(port.start());
  EXPECT_EQ(shown(), Strings{"main:2"});
  show("main", "2");
  windows.update("main", text("2"));
  windows.update("nobody", text("2"));
  EXPECT_EQ(shown(), Strings{"main:2"});
  windows.update("main", text("3"));
  EXPECT_EQ(shown(), (Strings{"main:2", "main:3"}));
}

TEST_F(ScreenWindowsTest, ANewScreenIsToldOfWhatIsOpenWhereItWas) {
  show("main");
  show("setup");
  port.start();
  port.say(WindowFrame{"main", {1, 2, 3, 4}});
  windows.update("setup", text("2"));
  windows.close("main");
  show("main", "again");
  port.say(WindowFrame{"main", {5, 6, 7, 8}});
  loop.pass(60);
  port.lose();
  ASSERT_TRUE(port.start());
  EXPECT_EQ(shown(), (Strings{"main:again", "setup:2"}));
  EXPECT_EQ(port.all<ShowWindow>().front().spec.frame, (Rect{5, 6, 7, 8}));
  EXPECT_TRUE(port.all<RaiseWindow>().empty()) << "a window that comes back takes nobody's focus";
}

TEST_F(ScreenWindowsTest, EventsGoToTheWindowAndItsEndIsToldOnce) {
  show("main");
  port.start();
  port.say(WindowEvent{"main", {"save", ""}});
  port.say(WindowEvent{"nobody", {"save", ""}});
  EXPECT_EQ(events, Strings{"save"});

  windows.update("main", text("on its way while the user closes"));
  port.say(WindowClosed{"main"});
  port.say(WindowClosed{"main"});
  EXPECT_EQ(closed, Strings{"main"});
  EXPECT_FALSE(windows.isVisible("main"));
  EXPECT_TRUE(port.sent.back() == Down(CloseWindow{"main"}));

  show("main");
  windows.close("main");
  port.say(WindowClosed{"main"});
  EXPECT_EQ(closed.size(), 1u);
  port.lose();
  EXPECT_FALSE(port.start()) << "nothing is open";
}

TEST_F(ScreenWindowsTest, AClickBringsOneWindowToTheFront) {
  activation.provide("token");
  show("main");
  windows.raise("main");
  port.start();
  EXPECT_EQ(port.all<ShowWindow>().at(0).activationToken, "token");
  ASSERT_EQ(port.all<RaiseWindow>().size(), 1u);
  EXPECT_EQ(port.all<RaiseWindow>().at(0).activationToken, "");
  activation.provide("late");
  clock.pass(6);
  windows.raise("main");
  EXPECT_EQ(port.all<RaiseWindow>().at(1).activationToken, "");
  activation.provide("second");
  windows.raise("main");
  EXPECT_EQ(port.all<RaiseWindow>().at(2).activationToken, "second");
  activation.provide({{"XDG_ACTIVATION_TOKEN", ""}, {"DESKTOP_STARTUP_ID", "older"}});
  activation.hold(true);
  clock.pass(30);
  activation.hold(false);
  windows.raise("main");
  EXPECT_EQ(port.all<RaiseWindow>().at(3).activationToken, "older") << "the user read a menu meanwhile";
}

TEST_F(ScreenWindowsTest, TheWindowThatEndsTheScreenIsClosedAndNoOther) {
  for (const char* guilty : {"a", "b", "c"}) {
    SCOPED_TRACE(guilty);
    closed.clear();
    for (const char* id : {"a", "b", "c"}) show(id);
    for (double start = clock.uptime(); clock.uptime() < start + 120; loop.pass(0.5)) {
      if (!port.isRunning && !port.start()) break;
      // The tree does its harm a moment after it came.
      const auto windowsShown = port.all<ShowWindow>();
      if (std::any_of(windowsShown.begin(), windowsShown.end(),
                      [&](const ShowWindow& message) { return message.spec.id == guilty; }))
        port.lose();
    }
    EXPECT_EQ(closed, Strings{guilty});
    for (const char* id : {"a", "b", "c"}) {
      EXPECT_EQ(windows.isVisible(id), id != std::string(guilty));
      windows.close(id);
    }
    if (port.isRunning) port.lose();
    clock.pass(100);
  }
}

TEST_F(ScreenWindowsTest, CrashesFarApartOrWithoutATreeBlameNobody) {
  show("main");
  for (int i = 0; i < 10; ++i) {
    ASSERT_TRUE(port.start());
    loop.pass(i % 2 == 0 ? 11 : 1);
    port.lose();
    clock.pass(16);
  }
  for (int i = 0; i < 10; ++i) port.lose();  // it can't even be started
  EXPECT_TRUE(closed.empty());
}

TEST_F(ScreenWindowsTest, WithoutADisplayAWindowEndsByItself) {
  port.display = false;
  testing::internal::CaptureStdout();
  show("main");
  EXPECT_NE(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(closed.empty()) << "told from within";
  loop.turn();
  EXPECT_EQ(closed, Strings{"main"});
  EXPECT_FALSE(windows.isVisible("main"));
}

TEST_F(ScreenWindowsTest, BoundsAreAnsweredInEveryCase) {
  std::vector<std::size_t> answers;
  const auto answer = [&](const std::vector<Rect>& frames) { answers.push_back(frames.size()); };
  windows.bounds(answer);
  loop.turn();
  show("main");
  port.start();
  windows.bounds(answer);
  windows.bounds(answer);
  const auto asked = port.all<AskBounds>();
  port.say(Bounds{asked.at(1).id, {{}, {}}});
  port.say(Bounds{asked.at(1).id, {{}, {}}});
  port.lose();
  EXPECT_EQ(answers, (std::vector<std::size_t>{0, 2, 0}));
}

}  // namespace
}  // namespace kestrelune
