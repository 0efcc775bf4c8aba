#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "AppSignature.hpp"
#include "BackgroundCommand.hpp"
#include "Fakes/FakeFiles.hpp"
#include "Fakes/FakeHttp.hpp"
#include "Fakes/FakeLoop.hpp"
#include "Fakes/FakeTasks.hpp"

namespace kestrelune {

/// What the self-updater meets outside: the service with its releases, the tools of a build, and the script and the
/// launcher, which go on when the program is gone. Build 41 is installed at first, and 41 is offered.
class SimulatedUpdates {
 public:
  static constexpr char kPlace[] = "/apps/Kestrelune.app";

  /// `contents`: what each build holds besides what tells its number; "Info.json" are more members of it.
  SimulatedUpdates(FakeLoop& loop, FakeFiles& files, FakeHttp& http, std::string folder,
                   std::map<std::string, std::string> contents);

  /// Of the maker is what is whole.
  AppSignature signature() const;
  /// The number of the build there, if all of it is; 0 otherwise.
  std::int64_t wholeAt(const std::string& path) const;
  std::int64_t installed() const { return wholeAt(kPlace); }
  /// A person installs this one.
  void install(std::int64_t build);

  void publish(std::int64_t build) { offered_ = build; }
  std::int64_t offered() const { return offered_; }
  /// Every second build is no good: it never reports in.
  static bool isGood(std::int64_t build) { return build % 2 == 1; }

  bool isAsked() const;
  enum class Answer { right, forged, damaged, none };
  /// To the request that waits.
  void answer(Answer how);
  /// Carries out what a tool was asked for, well or badly, and gives what it says.
  std::string tool(const HelperCommand& command, bool well);

  /// A script that the program has started goes on without it. False: there is none.
  bool adoptScript(FakeTaskLauncher& tasks);
  bool scriptRuns() const { return script_.has_value(); }
  void killScript() { script_.reset(); }
  /// It has waited for a confirmation in vain, and ends the program.
  bool scriptGivesUp() const { return script_ && script_->roundsLeft <= 0; }
  /// What it does then. It may be killed after some of its commands.
  void rollBack(int commands);
  /// The build that the script told of as rolled back, last.
  std::optional<std::int64_t> rolledBack() const { return rolledBack_; }
  /// Brings an application back where none stands, as each start does.
  void launch();

  /// What lies in the folder of updates, or beside the application, and shouldn't for ever.
  std::vector<std::string> leftovers() const;

 private:
  struct Script {
    std::string backup;
    std::int64_t build = 0;
    int roundsLeft = 0;
    Timer round;
  };

  std::map<std::string, std::string> contentsOf(std::int64_t build) const;
  void putApp(const std::string& path, std::int64_t build);
  void look();

  FakeLoop& loop_;
  FakeFiles& files_;
  FakeHttp& http_;
  const std::string folder_;
  const std::map<std::string, std::string> contents_;
  std::int64_t offered_ = 41;
  std::string promised_;   ///< the content of the archive of which the manifest told
  bool assessed_ = false;  ///< the last application was, and well
  std::optional<Script> script_;
  std::optional<std::int64_t> rolledBack_;
};

}  // namespace kestrelune
