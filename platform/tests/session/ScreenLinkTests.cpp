#include "session/ScreenLink.hpp"

#include "Fakes/FakeLoop.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

using namespace messages;

/// What a screen would be; outlives the channel to it.
struct FakeScreen {
  ScreenChannel::Events events;
  std::string bytes;
  std::size_t room = std::string::npos;  ///< bytes that it takes before it is slow
  bool killed = false, connected = true;

  void say(const Up& message) { sayLine(encode(message)); }
  void sayLine(std::string line) {
    if (line.ends_with('\n')) line.pop_back();
    events.line(line);
  }
  std::vector<Down> heard() const {
    std::vector<Down> messages;
    std::string_view rest = bytes;
    for (std::size_t feed; (feed = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(feed + 1))
      messages.push_back(decodeDown(rest.substr(0, feed)));
    return messages;
  }
};

class FakeChannel final : public ScreenChannel {
 public:
  explicit FakeChannel(std::shared_ptr<FakeScreen> screen) : screen_(std::move(screen)) {}
  ~FakeChannel() override { screen_->connected = false; }
  std::size_t write(std::string_view bytes) override {
    const std::size_t taken = std::min(bytes.size(), screen_->room);
    screen_->bytes += bytes.substr(0, taken);
    screen_->room -= screen_->room == std::string::npos ? 0 : taken;
    return taken;
  }
  void kill() override { screen_->killed = true; }

 private:
  std::shared_ptr<FakeScreen> screen_;
};

struct Rig {
  FakeScreen& screen() { return *screens.back(); }
  void startReady() {
    link.ensure();
    screen().say(Ready{});
  }

  FakeClock clock;
  FakeLoop loop{clock};
  std::vector<std::shared_ptr<FakeScreen>> screens;
  bool canStart = true;
  ScreenLink link{loop,
                  clock,
                  [this](ScreenChannel::Events events) -> std::unique_ptr<ScreenChannel> {
                    screens.push_back(std::make_shared<FakeScreen>());
                    screen().events = std::move(events);
                    if (!canStart) return nullptr;
                    return std::make_unique<FakeChannel>(screens.back());
                  },
                  {true, true},
                  "de"};
  int started = 0, lost = 0;
  std::vector<Up> received;
  std::unique_ptr<Subscription> listening =
      link.listen({[this](const Ready&) { ++started; }, [this](const Up& message) { received.push_back(message); },
                   [this] {
                     ++lost;
                     link.ensure();
                   }});
};

struct ScreenLinkTest : testing::Test, Rig {};

TEST_F(ScreenLinkTest, SpeaksOnlyAfterBothSidesAgree) {
  link.send(Copy{"too early"});
  link.ensure();
  link.ensure();
  link.send(Copy{"still too early"});
  ASSERT_EQ(screens.size(), 1u);
  EXPECT_TRUE(screen().heard() == (std::vector<Down>{Hello{kVersion, "de"}}));
  EXPECT_FALSE(link.running());

  screen().say(Ready{kVersion, false, false, ""});
  EXPECT_TRUE(link.running());
  EXPECT_FALSE(link.placesPopups());
  EXPECT_EQ(started, 1);
  link.send(Copy{"now"});
  screen().say(WindowClosed{"a"});
  EXPECT_TRUE(screen().heard().back() == Down(Copy{"now"}));
  EXPECT_TRUE(received == (std::vector<Up>{WindowClosed{"a"}}));
}

TEST_F(ScreenLinkTest, NothingStartsWithoutADisplay) {
  const Table<Environment, bool, bool> rows = {{{}, false, false},
                                               {{{"DISPLAY", ""}}, false, false},
                                               {{{"DISPLAY", ":0"}}, true, true},
                                               {{{"WAYLAND_DISPLAY", "wayland-0"}}, true, false},
                                               {{{"DISPLAY", ":0"}, {"WAYLAND_DISPLAY", "wayland-0"}}, true, false}};
  for (const auto& [environment, exists, placesPopups] : rows) {
    const auto display = ScreenLink::Display::of(environment);
    EXPECT_EQ(display.exists, exists);
    EXPECT_EQ(display.placesPopups, placesPopups);
  }
  ScreenLink without(
      loop, clock, [](const ScreenChannel::Events&) -> std::unique_ptr<ScreenChannel> { throw std::logic_error(""); },
      {}, "en");
  without.ensure();
  loop.pass(100);
  EXPECT_FALSE(without.running());
}

TEST_F(ScreenLinkTest, DisorderEndsAScreenOnceAndTheNextOneWaits) {
  const Table<const char*, bool, std::function<void(FakeScreen&)>, double> rows = {
      {"it dies at its start", false, [](FakeScreen& s) { s.events.ended(); }, 0.5},
      {"it dies later", true, [](FakeScreen& s) { s.events.ended(); }, 0.5},
      {"no JSON", true, [](FakeScreen& s) { s.sayLine("Segmentation fault"); }, 0.5},
      {"an unknown type", true, [](FakeScreen& s) { s.sayLine(R"({"type":"hocus"})"); }, 0.5},
      {"another first word", false, [](FakeScreen& s) { s.say(WindowClosed{"a"}); }, 0.5},
      {"ready twice", true, [](FakeScreen& s) { s.say(Ready{}); }, 0.5},
      {"talk without an end", true,
       [](FakeScreen& s) {
         for (int i = 0; i < 20'000 && !s.killed; ++i) s.say(StatusItemClicked{});
       },
       0.5},
      {"another version", false, [](FakeScreen& s) { s.sayLine(R"({"type":"ready","version":99})"); }, 60},
  };
  for (const auto& [name, ready, disorder, wait] : rows) {
    SCOPED_TRACE(name);
    Rig rig;
    rig.link.ensure();
    if (ready) rig.screen().say(Ready{});
    disorder(rig.screen());
    EXPECT_TRUE(rig.screen().killed) << "at once";
    rig.screen().events.ended();  // the news of its end comes after that
    rig.loop.turn();
    EXPECT_EQ(rig.lost, 1);
    EXPECT_FALSE(rig.link.running());
    EXPECT_TRUE(rig.screen().killed);
    EXPECT_FALSE(rig.screen().connected);
    rig.loop.pass(wait - 0.1);
    EXPECT_EQ(rig.screens.size(), 1u);
    rig.loop.pass(0.2);
    EXPECT_EQ(rig.screens.size(), 2u);
    rig.screen().say(Ready{});
    EXPECT_TRUE(rig.link.running());
  }
}

TEST_F(ScreenLinkTest, TheWaitDoublesUpToAMinuteAndIsForgottenAfterAMinuteOfService) {
  canStart = false;
  link.ensure();
  EXPECT_EQ(lost, 0) << "told from within";
  std::vector<double> starts;
  for (int second = 0; second < 2000; ++second) {
    const std::size_t before = screens.size();
    loop.pass(0.25);
    for (std::size_t i = before; i < screens.size(); ++i) starts.push_back(clock.uptime());
  }
  ASSERT_GT(starts.size(), 9u);
  EXPECT_EQ(starts[1] - starts[0], 1);
  EXPECT_EQ(starts[4] - starts[3], 8);
  EXPECT_EQ(starts[9] - starts[8], 60);

  canStart = true;
  while (!screen().events.ended || screen().bytes.empty()) loop.pass(1);
  screen().say(Ready{});
  for (int i = 0; i < 3; ++i) {
    screen().say(Bounds{0, {}});
    loop.pass(25);
  }
  const std::size_t before = screens.size();
  screen().events.ended();
  loop.pass(0.6);
  EXPECT_EQ(screens.size(), before + 1);
}

TEST_F(ScreenLinkTest, AScreenThatAnswersNothingForHalfAMinuteHangs) {
  startReady();
  for (int i = 0; i < 10; ++i) {
    loop.pass(30);
    ASSERT_TRUE(screen().heard().back() == Down(AskBounds{0}));
    screen().say(Bounds{0, {}});
  }
  EXPECT_EQ(lost, 0);
  EXPECT_TRUE(received.empty()) << "the link's own questions are nobody else's";
  loop.pass(61);
  EXPECT_EQ(lost, 1);
  EXPECT_TRUE(screens.front()->killed);
}

TEST_F(ScreenLinkTest, AScreenThatEndsBecauseItShowsNothingIsReplacedAtOnce) {
  startReady();
  screen().say(Idle{});
  EXPECT_EQ(lost, 1);
  EXPECT_EQ(screens.size(), 2u) << "somebody wanted to show something at that very moment";
  EXPECT_FALSE(screens[0]->killed);
  screens[0]->events.ended();
  screen().say(Ready{});
  EXPECT_TRUE(link.running());
  loop.pass(6);
  EXPECT_FALSE(screens[0]->connected);
  EXPECT_FALSE(screen().killed);
}

TEST(ScreenLink, EndsAScreenThatListensPolitelyAndAnyOtherByForce) {
  for (const bool ready : {true, false}) {
    SCOPED_TRACE(ready);
    std::shared_ptr<FakeScreen> screen;
    {
      Rig rig;
      rig.link.ensure();
      if (ready) rig.screen().say(Ready{});
      screen = rig.screens.back();
    }
    EXPECT_FALSE(screen->connected);
    EXPECT_EQ(screen->killed, !ready);
    EXPECT_EQ(screen->heard().back() == Down(Quit{}), ready);
  }
}

TEST_F(ScreenLinkTest, ASlowScreenGetsTheNewestTreeOnly) {
  startReady();
  screen().room = 1;
  for (int number = 0; number < 1000; ++number)
    link.send(ShowWindow{.spec = {.id = "main"}, .tree = {.text = std::to_string(number)}});
  screen().room = std::string::npos;
  screen().events.writable();
  std::vector<std::string> texts;
  for (const Down& message : screen().heard())
    if (const auto* window = std::get_if<ShowWindow>(&message)) texts.push_back(window->tree.text);
  EXPECT_EQ(texts, (std::vector<std::string>{"0", "999"})) << "the first was half written";
}

TEST_F(ScreenLinkTest, AScreenThatReadsNothingIsEnded) {
  startReady();
  screen().room = 1;
  for (int number = 0; number < 100; ++number) link.send(Ask{number, {}});
  EXPECT_EQ(lost, 0) << "not from within a sender's call";
  loop.turn();
  EXPECT_EQ(lost, 1);
  EXPECT_TRUE(screens.front()->killed);
}

}  // namespace
}  // namespace kestrelune
