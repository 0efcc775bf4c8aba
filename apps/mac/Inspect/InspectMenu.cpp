#include "Inspect.hpp"
#include "MenuPlan.hpp"
#include "ProblemPlan.hpp"
#include "ShareTools.hpp"
#include "Strings.hpp"
#include "Usage.hpp"
#include "base/Files.hpp"

namespace kestrelune::inspect {

namespace {

const char* name(MenuEntry::Kind kind) {
  switch (kind) {
    case MenuEntry::Kind::section: return "section";
    case MenuEntry::Kind::item: return "item";
    case MenuEntry::Kind::separator: return "separator";
  }
  return "";
}

const char* name(MenuPlan::Tone tone) {
  switch (tone) {
    case MenuPlan::Tone::none: return "none";
    case MenuPlan::Tone::needsYou: return "needsYou";
    case MenuPlan::Tone::done: return "done";
    case MenuPlan::Tone::running: return "running";
  }
  return "";
}

Json toJson(const std::vector<MenuEntry>& entries) {
  Json::Array list;
  for (const MenuEntry& entry : entries) {
    Json object = Json::Object{{"kind", name(entry.kind)}, {"title", entry.title}};
    object.setIfPresent("subtitle", entry.subtitle);
    object.setIfPresent("detail", entry.detail);
    if (entry.action) object.set("action", entry.action->identifier());
    object.setIfPresent("checked", entry.checked);
    object.setIfPresent("key", entry.key);
    if (entry.children) object.set("children", toJson(*entry.children));
    object.setIfPresent("settleKey", entry.settleKey);
    list.push_back(object);
  }
  return list;
}

std::optional<bool> smallModel(const Arguments& arguments) {
  const std::string value = arguments.option("--small-model").value_or("absent");
  if (value == "absent") return std::nullopt;
  if (value != "on" && value != "off") throw Unusable("--small-model takes on, off or absent");
  return value == "on";
}

Json menu(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const Snapshot snapshot = snapshotOf(arguments.words()[0], arguments);
  const Date now = nowOption(arguments);
  MenuPlan::Context context{.setupFailed = arguments.flag("--setup-failed"),
                            .hasAgent = arguments.flag("--has-agent"),
                            .problem = problemOption(arguments),
                            .update = arguments.option("--update"),
                            .setupOpen = arguments.flag("--setup-open"),
                            .smallModel = smallModel(arguments)};
  if (const auto folder = arguments.option("--runner-dir")) {
    context.sharedTools = ShareTools::state(systemFiles(), Url::file(*folder));
  }
  const MenuPlan::Pill pill = MenuPlan::pill(snapshot, now);
  return Json::Object{{"pill", Json::Object{{"text", pill.text}, {"tone", name(pill.tone)}}},
                      {"entries", toJson(MenuPlan::entries(snapshot, now, context))}};
}

Json usage(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const Snapshot snapshot = snapshotOf(arguments.words()[0], arguments);
  const Date now = nowOption(arguments);
  Json::Array list;
  if (!snapshot.status || !snapshot.status->apps) return list;
  for (const HostApp& app : *snapshot.status->apps) {
    if (!app.usage) continue;
    Json::Array lines;
    for (const std::string& line : UsagePlan::lines(app.usage, now)) lines.push_back(line);
    Json object = Json::Object{{"lines", lines}};
    object.setIfPresent("host", app.host);
    object.setIfPresent("left", UsagePlan::left(app.usage));
    list.push_back(object);
  }
  return list;
}

Json problemPlan(const Arguments& arguments) {
  arguments.requireWords(1, 1);
  const std::vector<std::string> apps = ProblemPlan::apps(snapshotOf(arguments.words()[0], arguments).status);
  Json::Array appValues, argumentValues;
  for (const std::string& app : apps) appValues.push_back(app);
  const auto first = apps.empty() ? std::nullopt : std::optional(apps.front());
  const bool german = currentLanguage() == Language::german;
  for (const std::string& each : ProblemPlan::arguments(first, arguments.option("--note").value_or(""), german)) {
    argumentValues.push_back(each);
  }
  const auto folder = arguments.option("--folder"), reports = arguments.option("--reports");
  if (folder.has_value() != reports.has_value()) throw Unusable("--folder and --reports belong together");
  std::optional<Url> inside;
  if (folder) inside = ProblemPlan::reportFolder(ProblemRecord{.folder = folder}, Url::file(*reports));
  Json answer = Json::Object{{"apps", appValues}, {"arguments", argumentValues}};
  if (inside) answer.set("folder", inside->path());
  return answer;
}

const Subcommand kMenu("menu",
                       "FILE [--now T] [--alive real|all|none] [--marks FILE] [--setup-failed] [--has-agent] "
                       "[--setup-open] [--update TEXT] [--problem FILE] [--runner-dir DIR] "
                       "[--small-model on|off|absent]",
                       {"--now", "--alive", "--marks", "--update", "--problem", "--runner-dir", "--small-model"}, menu,
                       {"--setup-failed", "--has-agent", "--setup-open"});
const Subcommand kUsage("usage", "FILE [--now T] [--alive real|all|none]", {"--now", "--alive"}, usage);
const Subcommand kProblemPlan("problem-plan", "FILE [--note TEXT] [--folder PATH --reports DIR]",
                              {"--now", "--alive", "--note", "--folder", "--reports"}, problemPlan);

}  // namespace

}  // namespace kestrelune::inspect
