
#include "AppUpdate.hpp"
#include "AppUpdateTimes.hpp"
#include "Fakes/FakeFiles.hpp"
#include "Fakes/Testing.hpp"
#include "Fakes/World.hpp"
#include "base/Digest.hpp"
#include "base/Move.hpp"

namespace kestrelune {
namespace {

const std::string kPlace = "/apps/Kestrelune.app";
const std::string kFolder = "/account/root/app-update";
const std::string kBackup = kFolder + "/previous-41.app";

std::map<std::string, std::string> contentsOf(int build) {
  const std::string number = std::to_string(build);
  return {{"/Contents/Helpers/move", "move " + number},
          {"/Contents/Helpers/open", "open " + number},
          {"/Contents/Info.json", R"({"CFBundleIdentifier":"com.kestrelune.menu","CFBundleShortVersionString":"2",)"
                                  R"("CFBundleVersion":")" +
                                      number + "\"}"},
          {"/Contents/MacOS/KestreluneMenu", "program " + number}};
}

void putApp(FakeFiles& files, const std::string& path, int build) {
  for (const auto& [name, content] : contentsOf(build)) files.put(path + name, content, 0755);
}

/// The build of the application there, if all of it is.
int wholeAt(const FakeFiles& files, const std::string& path) {
  for (const int build : {41, 42}) {
    bool whole = true;
    for (const auto& [name, content] : contentsOf(build)) whole = whole && files.content(path + name) == content;
    if (whole) return build;
  }
  return 0;
}

/// One run of the companion over what is in memory; build 42 is offered, and everything outside goes well.
struct Life {
  explicit Life(FakeFiles& memory) : files(memory) {
    world.files = &files;
    Outside outside = world.outside();
    outside.bundle = Bundle(files, Url::file(kPlace));
    outside.signature = {.runningTeam = [] { return "ABCDE12345"; }, .satisfies = [](const auto&...) { return true; }};
    outside.execute = [this](const HelperCommand& command, double, auto completed) {
      if (command.executable.ends_with("ditto")) putApp(files, kFolder + "/staged-42/Kestrelune.app", 42);
      world.loop.post([completed] { completed({0, "source=Notarized Developer ID"}); });
    };
    Configuration configuration;
    configuration.helperRoot = Url::file("/account/root");
    updater = std::make_unique<AppSelfUpdater>(configuration, outside, notifications, false);
  }

  void goOn() {
    updater->start();
    world.loop.pass(AppUpdateTimes::kFirstCheck);
    if (world.http.asked.empty()) return;
    world.http.answer(
        0, HttpResponse{
               200, R"({"schemaVersion":1,"version":"2","build":42,"minimumSystemVersion":"1","size":7,"sha256":")" +
                        sha256("archive") + R"(","url":"https://kestrelune.example/download/Kestrelune-42.zip"})"});
    world.loop.turn();
    if (world.http.asked.size() < 2) return;
    files.put(world.http.asked[1].file, "archive");
    world.http.answer(1, HttpResponse{200, ""});
    world.loop.turn();
  }

  FakeFiles& files;
  World world;
  ActionRunner actions{false, world.actionReach()};
  Notifications notifications{
      false, actions, {world.loop, world.session.notifications(), world.defaults, world.outside().output}};
  std::unique_ptr<AppSelfUpdater> updater;
};

/// How the new application takes the old one's place.
enum class Way { exchange, moves, exchangeAcross, movesAcross };
constexpr Way kWays[] = {Way::exchange, Way::moves, Way::exchangeAcross, Way::movesAcross};
constexpr bool exchanges(Way way) { return way == Way::exchange || way == Way::exchangeAcross; }

/// An account where build 41 is installed, build 30 was just rolled back, and an attempt long ago left its mark.
struct Account {
  explicit Account(Way way) {
    files.exchanges = exchanges(way);
    if (way >= Way::exchangeAcross) files.mount = "/apps";
    putApp(files, kPlace, 41);
    files.put(kFolder + "/rolled-back", "30\n");
    files.put(kFolder + "/confirmed-42", "");
  }
  AppUpdateState state() { return AppUpdateFiles(files, Url::file(kFolder)).read().value(); }
  bool isMarked() const { return files.content(kFolder + "/rolled-back").has_value(); }

  FakeFiles files;
};

TEST(AppUpdateInstall, StoppedAnywhereAWholeApplicationIsThereAndTheNextStartGoesOn) {
  // What a rename does in two folders is one transaction on a disk, so no cut forgets one half of it.
  for (const bool cutsPower : {false, true}) {
    for (const Way way : kWays) {
      bool stopped = true;
      for (int n = 1; stopped; ++n) {
        SCOPED_TRACE(std::to_string(static_cast<int>(way)) + " stopped at " + std::to_string(n));
        Account account(way);
        FakeFiles& files = account.files;
        {
          Life life(files);
          files.crashAt(n);
          try {
            life.goOn();
            stopped = false;
          } catch (const FakeFiles::Crash&) {
          }
          cutsPower ? files.cutPower(FakeFiles::Cut::losesContents) : files.restart();
        }
        const int there = wholeAt(files, kPlace);
        ASSERT_TRUE(there != 0 || (!exchanges(way) && wholeAt(files, kBackup) == 41));
        EXPECT_TRUE(account.isMarked() || account.state().skippedBuild == 30);
        if (there == 0) moveItem(files, kBackup, kPlace);  // as the launcher does
        Life next(files);
        next.goOn();
        next.world.loop.pass(AppUpdateTimes::kConfirmation);
        EXPECT_EQ(wholeAt(files, kPlace), 42);
        EXPECT_FALSE(files.at("/apps/.updating-Kestrelune.app"));
        EXPECT_EQ(account.state().skippedBuild, 30);
        if (there == 42) {
          EXPECT_TRUE(files.content(kFolder + "/confirmed-42") || wholeAt(files, kBackup) == 0) << "or long over";
        } else {
          EXPECT_TRUE(next.world.loop.stopped());
          EXPECT_EQ(next.world.tasks.children.size(), 1u);
          EXPECT_EQ(wholeAt(files, kBackup), 41);
          EXPECT_FALSE(files.content(kFolder + "/confirmed-42"));
        }
      }
    }
  }
}

TEST(AppUpdateInstall, EachCallMayFailOnce) {
  for (const Way way : kWays) {
    // 0: the script can't be started.
    for (int n = 0, last = 1; n <= last; ++n) {
      SCOPED_TRACE(std::to_string(static_cast<int>(way)) + " failed at " + std::to_string(n));
      Account account(way);
      Life life(account.files);
      life.world.tasks.launchError = n == 0 ? EAGAIN : 0;
      account.files.failAt(n, ENOSPC);
      life.goOn();
      last = std::max(last, account.files.calls());
      const bool over = life.world.loop.stopped();
      EXPECT_EQ(life.updater->phase() == AppSelfUpdater::Phase::installing, over);
      EXPECT_NE(wholeAt(account.files, kPlace), 0);
      if (wholeAt(account.files, kPlace) == 42) {
        const int staged = wholeAt(account.files, kFolder + "/staged-42/Kestrelune.app");
        EXPECT_TRUE(staged == 41 || wholeAt(account.files, kBackup) == 41) << "nothing to go back to";
      }
      if (over) {
        EXPECT_EQ(wholeAt(account.files, kBackup), 41);
        EXPECT_FALSE(account.isMarked()) << "it would be taken for one of the new build";
      } else {
        EXPECT_FALSE(account.state().pending);
        EXPECT_TRUE(account.isMarked() || account.state().skippedBuild == 30);
      }
    }
  }
}

TEST(AppUpdateInstall, AConfirmationIsWrittenAgainUntilItStands) {
  Account account(Way::exchange);
  putApp(account.files, kPlace, 42);
  AppUpdateState state;
  state.pending = {41, 42, 0};
  AppUpdateFiles(account.files, Url::file(kFolder)).write(state);
  account.files.unlink(kFolder + "/rolled-back");
  account.files.unlink(kFolder + "/confirmed-42");
  Life life(account.files);
  life.updater->start();
  life.world.loop.pass(AppUpdateTimes::kConfirmation - 0.1);
  account.files.failAt(1, ENOSPC);
  life.world.loop.pass(0.2);
  EXPECT_FALSE(account.files.content(kFolder + "/confirmed-42"));
  life.world.loop.pass(5);
  EXPECT_TRUE(account.files.content(kFolder + "/confirmed-42")) << "a good build would be taken back for good";
}

}  // namespace
}  // namespace kestrelune
