#pragma once

#include <unistd.h>

#include <string>
#include <vector>

#include "AppConfiguration.hpp"
#include "Fakes/FakeDefaults.hpp"
#include "Fakes/FakeHttp.hpp"
#include "Fakes/FakeLoop.hpp"
#include "Fakes/FakeSession.hpp"
#include "Fakes/FakeTasks.hpp"
#include "Fakes/Languages.hpp"
#include "Fakes/TestFolder.hpp"
#include "Outside.hpp"
#include "RuntimeActionRunner.hpp"
#include "base/Files.hpp"

namespace kestrelune {

/// An English-speaking outside that is turned by hand, over a folder of its own.
struct World {
  Configuration configuration(bool dryRun = false) const {
    Configuration result;
    result.statusURL = folder.url("runner/status.json");
    result.heartbeatURL = folder.url("runner/menubar.json");
    result.helperRoot = folder.url("root");
    result.launchAgentURL = folder.url("agent.plist");
    result.dryRun = dryRun;
    return result;
  }
  Outside outside() {
    return {.loop = loop,
            .clock = clock,
            .files = *files,
            .tasks = tasks,
            .session = session,
            .defaults = defaults,
            .http = http,
            .bundle = Bundle(Url::file("/app")),
            .pid = 4711,
            .output = [this](const std::string& line) { lines.push_back(line); }};
  }
  ActionRunner::Reach actionReach() {
    return {.session = session,
            .tasks = tasks,
            .bundle = Bundle(Url::file("/app")),
            .helperCommand = folder.url("root/bin/kestrelune"),
            .terminate = [this] { terminated = true; },
            .output = outside().output};
  }
  /// A program that may be run, and does nothing.
  void writeProgram(const std::string& name) const {
    folder.write(name, "#!/bin/sh\n");
    systemFiles().chmod(folder.path(name), 0755);
  }
  /// A status of this moment, whose helper is this very process.
  void writeStatus(const std::string& members = R"(,"state":"running")", pid_t pid = ::getpid()) const {
    folder.write("runner/status.json", R"({"schemaVersion":1,"pid":)" + std::to_string(pid) + R"(,"updatedAt":")" +
                                           formatIso8601(clock.now()) + "\"" + members + "}");
  }

  const testing_support::English english;
  const TestFolder folder{};
  FakeClock clock;
  FakeLoop loop{clock};
  FakeSession session{loop};
  FakeTaskLauncher tasks{loop};
  FakeDefaults defaults;
  FakeHttp http{loop};
  std::vector<std::string> lines;
  Files* files = &systemFiles();
  bool terminated = false;
};

}  // namespace kestrelune
