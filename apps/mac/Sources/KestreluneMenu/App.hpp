#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AppConfiguration.hpp"
#include "Menu.hpp"
#include "Outside.hpp"

namespace kestrelune {

/// Starts the program's parts in order, and stops them in order. Termination is `RunLoop::stop`, from wherever it
/// comes; what runs the loop calls `applicationWillTerminate` afterwards.
class AppDelegate {
 public:
  /// `arguments` without the program's name; they are honoured in a dry run only.
  AppDelegate(Configuration configuration, Outside outside, std::vector<std::string> arguments);

  void applicationDidFinishLaunching();
  void applicationWillTerminate();

  MenuController* controller() { return controller_.get(); }

 private:
  void hookSignals();
  void terminate();
  void handleArguments();
  std::optional<std::string> valueAfter(const std::string& name) const;
  bool has(const std::string& name) const;

  const Configuration configuration_;
  Outside outside_;
  const std::vector<std::string> arguments_;
  std::unique_ptr<MenuController> controller_;
  std::vector<std::unique_ptr<Subscription>> signals_;
  std::vector<Timer> timers_;
};

/// The configuration of the process, or nothing after a line on standard error.
std::optional<Configuration> launchConfiguration(const Environment& environment);

}  // namespace kestrelune
