#pragma once

#include <functional>
#include <string>

#include "AppSignature.hpp"
#include "BackgroundCommand.hpp"
#include "base/Bundle.hpp"
#include "base/Clock.hpp"
#include "base/Defaults.hpp"
#include "base/Files.hpp"
#include "base/Http.hpp"
#include "base/RunLoop.hpp"
#include "base/Session.hpp"
#include "base/Task.hpp"

namespace kestrelune {

/// Everything outside the program that its parts are given. All of it outlives them.
struct Outside {
  RunLoop& loop;
  Clock& clock;
  Files& files;
  TaskLauncher& tasks;
  Session& session;
  Defaults& defaults;
  Http& http;
  Bundle bundle;
  AppSignature signature;
  ExecuteCommand execute;  ///< how short-lived commands are run
  pid_t pid = 0;
  std::function<void(const std::string&)> output;  ///< one line, printed at once
};

}  // namespace kestrelune
