#include "BackgroundCommandRunner.hpp"
#include "Inspect.hpp"
#include "RuntimeActionText.hpp"
#include "base/RunLoop.hpp"
#include "base/System.hpp"

namespace kestrelune::inspect {

namespace {

Json describe(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  return orNull(Action::parse(arguments.words()[0]), ActionText::description);
}

double timeoutOption(const Arguments& arguments) {
  const std::optional<std::string> text = arguments.option("--timeout");
  if (!text) throw Unusable("--timeout is missing");
  try {
    double seconds = 0;
    decodeJson(Json::parse(*text), seconds);
    if (seconds >= 0) return seconds;
  } catch (const JsonError&) {
  }
  throw Unusable("--timeout takes a number of seconds");
}

Json run(const Arguments& arguments) {
  arguments.requireWords(1, SIZE_MAX);
  HelperCommand command;
  command.executable = arguments.words()[0];
  command.arguments.assign(arguments.words().begin() + 1, arguments.words().end());
  command.environment = system::environment();

  const std::unique_ptr<RunLoop> loop = makePollRunLoop();
  HelperCommandResult result;
  const ExecuteCommand execute = HelperCommandRunner(*loop).executor();
  execute(command, timeoutOption(arguments), [&](const HelperCommandResult& ended) {
    result = ended;
    loop->stop();
  });
  loop->run();
  return Json::Object{{"code", result.code}, {"lastLine", result.lastLine}};
}

const Subcommand kDescribe("describe", "IDENTIFIER", {}, describe);
const Subcommand kRun("run", "--timeout S -- COMMAND ARGS ...", {"--timeout"}, run);

}  // namespace

}  // namespace kestrelune::inspect
