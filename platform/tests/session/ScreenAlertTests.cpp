#include "session/ScreenAlert.hpp"

#include "FakeScreenPort.hpp"
#include "Fakes/FakeLoop.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

using namespace messages;

Question question(const std::string& title) { return {.title = title, .buttons = {"Yes", "No"}}; }

struct ScreenAlertTest : testing::Test {
  void ask(const std::string& title) {
    alert.ask(question(title), [this, title](const Answer& answer) {
      answers.push_back(title + (answer.button ? std::to_string(*answer.button) : "-") + answer.text);
    });
  }
  std::vector<std::string> asked() const {
    std::vector<std::string> titles;
    for (const Ask& message : port.all<Ask>()) titles.push_back(message.question.title);
    return titles;
  }
  void answer(std::optional<int> button, const std::string& text = "") {
    port.say(Answered{port.all<Ask>().back().id, button, text});
  }
  using Strings = std::vector<std::string>;

  FakeClock clock;
  FakeLoop loop{clock};
  FakeScreenPort port;
  ActivationToken activation{clock};
  ScreenAlert alert{loop, port, activation};
  Strings answers;
};

TEST_F(ScreenAlertTest, AsksOneAfterTheOther) {
  ask("a");
  ask("b");
  port.start();
  EXPECT_EQ(asked(), Strings{"a"});
  port.say(Answered{port.all<Ask>().back().id + 1, 0, ""});  // nobody asked that
  answer(0, "text");
  EXPECT_EQ(asked(), (Strings{"a", "b"}));
  answer(std::nullopt);
  EXPECT_EQ(answers, (Strings{"a0text", "b-"}));
}

TEST_F(ScreenAlertTest, AnEqualQuestionThatIsOpenIsRaisedInstead) {
  ask("a");
  port.start();
  ask("b");
  ask("a");
  ask("b");
  EXPECT_EQ(port.all<RaiseQuestion>().size(), 1u);
  answer(1);
  answer(1);
  EXPECT_EQ(answers, (Strings{"a1", "b1"}));
  ask("a");
  EXPECT_EQ(asked(), (Strings{"a", "b", "a"}));
}

TEST_F(ScreenAlertTest, WhatTwoScreensTakeAlongCountsAsCancelledAndTheNextIsAsked) {
  ask("a");
  ask("b");
  port.start();
  port.lose();
  ASSERT_TRUE(port.start());
  EXPECT_EQ(asked(), Strings{"a"});
  port.lose();
  EXPECT_EQ(answers, Strings{"a-"});
  ASSERT_TRUE(port.start());
  EXPECT_EQ(asked(), Strings{"b"});
  answer(0);
  port.lose();
  EXPECT_FALSE(port.start());
  EXPECT_EQ(answers, (Strings{"a-", "b0"}));
}

TEST_F(ScreenAlertTest, WithoutADisplayALineTellsAndNothingIsAnswered) {
  port.display = false;
  testing::internal::CaptureStdout();
  ask("Turn off?");
  EXPECT_NE(testing::internal::GetCapturedStdout().find("Turn off?"), std::string::npos);
  EXPECT_TRUE(answers.empty());
  loop.turn();
  EXPECT_EQ(answers, Strings{"Turn off?-"});
}

TEST_F(ScreenAlertTest, AMessageWithoutButtonsGetsOne) {
  alert.ask({.title = "Action failed"}, [](const Answer&) {});
  port.start();
  EXPECT_EQ(port.all<Ask>().at(0).question.buttons, Strings{"OK"});
}

TEST(ScreenPasteboard, TriesATextAgainThatTheScreenMayNotHaveTaken) {
  FakeClock clock;
  FakeLoop loop{clock};
  FakeScreenPort port;
  ScreenPasteboard pasteboard(loop, port);
  ASSERT_TRUE(pasteboard.copy("a"));
  port.start();
  EXPECT_EQ(port.all<Copy>().size(), 1u);
  port.lose();
  ASSERT_TRUE(port.start());
  EXPECT_EQ(port.all<Copy>().size(), 1u);
  port.lose();
  EXPECT_FALSE(port.start()) << "a text that ends the screen is not tried for ever";

  pasteboard.copy("b");
  port.start();
  loop.pass(10);
  port.lose();
  EXPECT_FALSE(port.start()) << "it was taken; what was copied elsewhere since must not be lost";
  port.display = false;
  EXPECT_FALSE(pasteboard.copy("c"));
}

}  // namespace
}  // namespace kestrelune
