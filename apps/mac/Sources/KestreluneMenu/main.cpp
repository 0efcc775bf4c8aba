#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "App.hpp"
#include "BackgroundCommandRunner.hpp"
#include "base/Bundle.hpp"
#include "base/Clock.hpp"
#include "base/Defaults.hpp"
#include "base/Files.hpp"
#include "base/Http.hpp"
#include "base/Instance.hpp"
#include "base/Surroundings.hpp"
#include "base/System.hpp"
#include "base/Task.hpp"
#include "session/Desktop.hpp"

using namespace kestrelune;

namespace {

/// Signals that end the program wait until the run loop takes them, so that none falls into the start.
void holdSignals() {
  std::signal(SIGPIPE, SIG_IGN);
  // A file that has reached the session's limit fails as on a full disk.
  std::signal(SIGXFSZ, SIG_IGN);
  sigset_t ending;
  sigemptyset(&ending);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&ending, number);
  sigprocmask(SIG_BLOCK, &ending, nullptr);
}

std::string defaultsPath(const Configuration& configuration) {
  const Url folder = configuration.dryRun ? configuration.helperRoot : system::configFolder().appending("Kestrelune");
  return folder.appending("defaults.json").path();
}

/// Seconds for another instance to answer, or to come to its end.
constexpr double kInstancePatience = 20;

/// Seconds for work in the background to come to its end.
constexpr double kBackgroundPatience = 0.3;

/// True when this is the instance to run; otherwise the one that runs has been told.
bool isFirst(Instance& instance) {
  switch (instance.begin(sessionVariables(system::environment()), kInstancePatience)) {
    case Instance::Start::first: return true;
    case Instance::Start::told: return false;
    case Instance::Start::unheeded: system::printErrorLine("Kestrelune runs already, but doesn't answer."); break;
  }
  return false;
}

}  // namespace

int main(int count, char** arguments) {
  surroundings::clear();
  const std::optional<Configuration> configuration = launchConfiguration(system::environment());
  if (!configuration) return 0;
  Instance instance(configuration->helperRoot.path());
  if (!configuration->dryRun && !isFirst(instance)) return 0;
  holdSignals();

  SystemClock clock;
  const Bundle bundle = Bundle::main();
  const auto loop = makeSessionRunLoop();
  const auto tasks = makeTaskLauncher(*loop);
  const HelperCommandRunner commands(*loop);
  const auto defaults = makeFileDefaults(systemFiles(), defaultsPath(*configuration));
  const auto session = makeDesktopSession(
      *loop, *tasks,
      {.screenProgram = bundle.contents("Helpers/KestreluneScreen"),
       .launcher = launcherOf(systemFiles(), system::environment(), system::homeFolder(), bundle.url()),
       .dryRun = configuration->dryRun});

  const auto http = makeChildHttp(*tasks, *loop, systemFiles(), bundle.contents("Helpers/KestreluneFetch").path());

  AppDelegate delegate(*configuration,
                       {.loop = *loop,
                        .clock = clock,
                        .files = systemFiles(),
                        .tasks = *tasks,
                        .session = *session,
                        .defaults = *defaults,
                        .http = *http,
                        .bundle = bundle,
                        .signature = AppSignature::of(bundle, systemFiles(), clock),
                        .execute = commands.executor(),
                        .pid = system::processId(),
                        .output = system::printLine},
                       std::vector<std::string>(arguments + 1, arguments + count));
  delegate.applicationDidFinishLaunching();
  instance.serve(*loop, [&](const Environment& told) {
    session->adopt(told);
    delegate.controller()->showWindow("tasks");
  });
  loop->run();
  instance.close();
  delegate.applicationWillTerminate();
  tasks->leave();
  commands.leave();
  // What a thread still does may be stopped anywhere, as by a loss of power. It uses what stands here, which therefore
  // must not be taken down, and while it is waited for, no later start gets on.
  if (!loop->finish(kBackgroundPatience)) std::_Exit(0);
  return 0;
}
