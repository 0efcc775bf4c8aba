#include "Notifications.hpp"

#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"

namespace kestrelune {
namespace {

class NotificationsTest : public testing::Test, protected World {
 protected:
  Notifications make(bool dryRun) {
    return Notifications(dryRun, actions, {loop, session.notifications(), defaults, outside().output});
  }

  ActionRunner actions{false, actionReach()};
  const Notice notice{.id = "helper",
                      .title = "Kestrelune",
                      .body = "Kestrelune is not running on this Mac.",
                      .action = Action::restart()};
};

TEST_F(NotificationsTest, ADryRunPrintsOneLineEvenWhenMuted) {
  defaults.setBoolean(Notifications::kMutedKey, true);
  Notifications notifications = make(true);
  notifications.start();
  notifications.send(notice);
  EXPECT_EQ(lines, std::vector<std::string>{
                       "DRY_RUN notification helper: Kestrelune | Kestrelune is not running on this Mac. -> restart"});
  EXPECT_FALSE(session.notifications().isListening());
  EXPECT_TRUE(session.notifications().delivered.empty());
}

TEST_F(NotificationsTest, MutedNoticesAreLostForGood) {
  Notifications notifications = make(false);
  defaults.setBoolean(Notifications::kMutedKey, true);
  notifications.send(notice);
  defaults.setBoolean(Notifications::kMutedKey, false);
  EXPECT_TRUE(session.notifications().delivered.empty());
  notifications.send(notice);
  ASSERT_EQ(session.notifications().delivered.size(), 1u);
  EXPECT_EQ(session.notifications().delivered[0].action, "restart");
}

TEST_F(NotificationsTest, AFailureIsOneLine) {
  session.notifications().failure = "no server";
  make(false).send(notice);
  loop.turn();
  EXPECT_EQ(lines, std::vector<std::string>{"Notification delivery: no server"});
}

TEST_F(NotificationsTest, AClickPerformsItsActionInALaterPass) {
  Notifications notifications = make(false);
  notifications.start();
  for (const char* refused : {"", "nonsense", "update:t3code"}) session.notifications().click(refused);
  loop.turn();
  EXPECT_TRUE(session.terminal().commands.empty());
  session.notifications().click("signIn:claude");
  EXPECT_TRUE(session.terminal().commands.empty());
  loop.turn();
  EXPECT_EQ(session.terminal().commands, std::vector<std::string>{"claude auth login"});
}

}  // namespace
}  // namespace kestrelune
