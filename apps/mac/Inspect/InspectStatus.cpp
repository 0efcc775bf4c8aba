#include "AppConfiguration.hpp"
#include "Inspect.hpp"
#include "Runtime.hpp"
#include "RuntimeAction.hpp"
#include "Strings.hpp"

namespace kestrelune::inspect {

namespace {

Json toJson(const Attention& item) {
  Json object{Json::Object{}};
  object.setIfPresent("label", item.label);
  object.setIfPresent("title", item.title);
  object.setIfPresent("kind", item.kind);
  object.setIfPresent("line", item.line);
  object.setIfPresent("task_id", item.taskId);
  object.setIfPresent("open", item.open);
  object.setIfPresent("schedule_id", item.scheduleId);
  return object;
}

Json snapshot(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const Snapshot snapshot = snapshotOf(arguments.words()[0], arguments);
  Json::Array hidden;
  for (const HiddenAttention& item : snapshot.hidden) {
    hidden.push_back(
        Json::Object{{"key", item.key}, {"item", toJson(item.item)}, {"mark", kestrelune::toJson(item.mark)}});
  }
  Json object = Json::Object{
      {"signal", rawValue(snapshot.signal)},
      {"headline", headline(snapshot)},
      {"hidden", hidden},
      {"status", snapshot.status.has_value()},
  };
  if (snapshot.issue) object.set("issue", rawValue(*snapshot.issue));
  object.setIfPresent("message", message(snapshot));
  return object;
}

Json urlObject(const Url& url) { return Json::Object{{"url", url.text()}}; }

Json action(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  return orNull(Action::parse(arguments.words()[0]), [](const Action& action) {
    return Json::Object{{"identifier", action.identifier()}};
  });
}

Json link(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  return orNull(Action::appLink(arguments.words()[0]), urlObject);
}

Json connector(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  return orNull(Action::connectorURL(arguments.words()[0]), urlObject);
}

Json account(const Arguments& arguments) {
  arguments.requireWords(0, 1);
  std::optional<std::string> target;
  if (!arguments.words().empty()) target = arguments.words()[0];
  return urlObject(Action::accountLink(target));
}

Json config(const Arguments& arguments) {
  arguments.requireWords(0, 0);
  try {
    const Configuration found = Configuration::resolve(system::environment());
    return Json::Object{
        {"statusURL", found.statusURL.path()},
        {"heartbeatURL", found.heartbeatURL.path()},
        {"dryRun", found.dryRun},
        {"helperRoot", found.helperRoot.path()},
        {"launchAgentURL", found.launchAgentURL.path()},
    };
  } catch (const RuntimeError&) {
    throw Refused(Configuration::kRefusal);
  }
}

const Subcommand kSnapshot("snapshot", "FILE [--now T] [--alive real|all|none] [--marks FILE]",
                           {"--now", "--alive", "--marks"}, snapshot);
const Subcommand kAction("action", "TEXT", {}, action);
const Subcommand kLink("link", "TEXT", {}, link);
const Subcommand kConnector("connector", "FAMILY", {}, connector);
const Subcommand kAccount("account", "[TARGET]", {}, account);
const Subcommand kConfig("config", "", {}, config);

}  // namespace

}  // namespace kestrelune::inspect
