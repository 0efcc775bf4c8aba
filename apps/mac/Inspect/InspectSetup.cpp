#include "Inspect.hpp"
#include "SetupCopy.hpp"
#include "SetupFlow.hpp"
#include "base/Bundle.hpp"
#include "base/System.hpp"

namespace kestrelune::inspect {

namespace {

Json toJson(const SetupAppRow& row) {
  Json object = Json::Object{
      {"host", row.host},
      {"title", row.title},
      {"detail", row.detail},
      {"kind", rawValue(row.kind)},
  };
  if (row.action) object.set("action", row.action->identifier());
  object.setIfPresent("actionTitle", row.actionTitle());
  return object;
}

Json setup(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const Snapshot snapshot = snapshotOf(arguments.words()[0], arguments);
  const std::vector<SetupAppRow> rows = SetupFlow::rows(snapshot);
  Json::Array rowValues;
  for (const SetupAppRow& row : rows) rowValues.push_back(toJson(row));
  const std::string taskApp = SetupFlow::firstTaskApp(rows);
  const std::string bundle = arguments.option("--bundle").value_or(Bundle::main().url().path());
  const std::string home = arguments.option("--home").value_or(system::homeFolder().path());
  Json object = Json::Object{
      {"accountDone", SetupFlow::accountDone(snapshot)},
      {"firstOpenStep", rawValue(SetupFlow::firstOpenStep(snapshot))},
      {"rows", rowValues},
      {"firstTaskApp", taskApp},
      {"installed", SetupFlow::isInstalled(bundle, home)},
  };
  object.setIfPresent("projectsLine", SetupFlow::projectsLine(snapshot.status));
  const std::string sentence = SetupCopy::filled(SetupCopy::Key::firstTaskSentence, {taskApp});
  if (const auto url = SetupFlow::firstTaskURL(arguments.option("--chosen"), sentence)) {
    object.set("firstTaskURL", url->text());
  }
  return object;
}

const Subcommand kSetup("setup",
                        "FILE [--now T] [--alive real|all|none] [--marks FILE] [--bundle PATH] [--home PATH] "
                        "[--chosen ID]",
                        {"--now", "--alive", "--marks", "--bundle", "--home", "--chosen"}, setup);

}  // namespace

}  // namespace kestrelune::inspect
