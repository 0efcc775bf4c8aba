#pragma once

#include <functional>
#include <optional>
#include <string>

#include "AppConfiguration.hpp"
#include "BackgroundCommand.hpp"
#include "UpdateReport.hpp"
#include "base/Clock.hpp"
#include "base/Dates.hpp"
#include "base/Files.hpp"
#include "base/Lifetime.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// Has the helper update all AI applications, and tells whether that goes on, also when another process began it. A
/// run can't be cancelled; it ends with the helper's own end or after 95 minutes. Main thread only.
class AppsUpdater {
 public:
  AppsUpdater(const Configuration& configuration, Files& files, const Clock& clock, ExecuteCommand execute,
              std::function<void(const std::string& line)> output);

  /// Reads the progress file unless this process runs an update. A file of a dead process, or one past its time, is
  /// not believed.
  bool busy() const;
  /// What the helper says about the run; absent when the file is missing or damaged.
  std::optional<UpdateProgress> progress() const;
  /// True while a command started here is under way.
  bool running() const { return running_; }

  /// Begins unless an update goes on. In a dry run it prints one line instead.
  void start();

  std::function<void()> onChange;  ///< `running` changed
  std::function<void(const std::string& title, const std::string& body)> onFinished;

 private:
  void finish(const HelperCommandResult& result);

  Url progressURL_;
  Url helperRoot_;
  bool dryRun_;
  Files& files_;
  const Clock& clock_;
  ExecuteCommand execute_;
  std::function<void(const std::string&)> output_;
  bool running_ = false;
  Date startedAt_;
  Lifetime lifetime_;
};

}  // namespace kestrelune
