#include <cstdio>
#include <string>
#include <string_view>

#include "Detached.hpp"
#include "base/RunLoop.hpp"
#include "base/Surroundings.hpp"
#include "base/System.hpp"
#include "session/DesktopEntry.hpp"
#include "session/DesktopTerminal.hpp"
#include "session/DesktopWorkspace.hpp"
#include "session/ScreenLink.hpp"

using namespace kestrelune;

namespace {

int failed(const std::string& reason) {
  std::fprintf(stderr, "%s\n", reason.c_str());
  return 1;
}

/// Starts an application bundle, also when one of it runs.
int openBundle(std::string bundle) {
  while (bundle.size() > 1 && bundle.ends_with('/')) bundle.pop_back();
  const std::string program = tools::programOf(bundle);
  if (program.empty()) return failed("There is no application at " + bundle + ".");
  const int error = tools::startDetached(program);
  return error == 0 ? 0 : failed(bundle + ": " + system::errorText(error));
}

/// Starts an installed application by the name of its desktop file, without ".desktop".
int openInstalled(const std::string& identifier, const std::string& asked) {
  const Environment environment = system::environment();
  const auto loop = makePollRunLoop();
  const auto tasks = makeTaskLauncher(*loop);
  DesktopTerminal terminal(*tasks, *loop, systemFiles(), environment, ScreenLink::Display::of(environment).exists,
                           false);
  DesktopWorkspace workspace([](const Url&, const std::function<void(bool)>&) {}, *loop, *tasks, systemFiles(),
                             terminal, environment, system::homeFolder().path(), false);
  bool opened = false;
  workspace.openApplication(identifier, [&](bool done) {
    opened = done;
    loop->stop();
  });
  loop->run();
  return opened ? 0 : failed("Unable to open the application " + asked + ".");
}

int openNamed(const std::string& name) {
  const auto identifier =
      desktop_entry::findByName(systemFiles(), system::environment(), system::homeFolder().path(), name);
  return identifier ? openInstalled(*identifier, name) : failed("There is no application with the name " + name + ".");
}

}  // namespace

/// Opens an application: -n an application bundle, in a session of its own; -a an installed one by its name, -b by its
/// identifier. What went wrong stands on standard error.
int main(int count, char** arguments) {
  surroundings::clear();
  const std::string_view kind = count == 3 ? arguments[1] : "";
  if (kind == "-n") return openBundle(arguments[2]);
  if (kind == "-b") return openInstalled(arguments[2], arguments[2]);
  if (kind == "-a") return openNamed(arguments[2]);
  std::fprintf(stderr, "usage: %s -n BUNDLE | -a NAME | -b IDENTIFIER\n", arguments[0]);
  return 2;
}
