#include "ShareTools.hpp"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "RuntimeAction.hpp"
#include "Strings.hpp"
#include "base/Json.hpp"
#include "base/Text.hpp"

namespace kestrelune {
namespace {

constexpr std::size_t kLargestFile = 1 << 20;
constexpr std::int64_t kSchemaVersion = 2;

struct Stored {
  std::optional<std::int64_t> schemaVersion;
  std::optional<std::vector<SharedTool>> view;
  std::optional<std::vector<std::string>> newApps;
};

void decodeJson(const Json& json, Stored& stored) {
  requireObject(json);
  decodeMember(json, "schemaVersion", stored.schemaVersion);
  decodeMember(json, "view", stored.view);
  decodeMember(json, "newApps", stored.newApps);
}

bool isKnown(const SharedTool& tool) {
  return tool.id == "computer_use" || tool.id == "computer_history" || tool.id == "skills";
}

std::string joinedAppNames(const std::vector<std::string>& identifiers) {
  std::string names;
  for (const std::string& identifier : identifiers) {
    if (!names.empty()) names += ", ";
    names += Copy::appName(identifier);
  }
  return names;
}

}  // namespace

void decodeJson(const Json& json, SharedTool& tool) {
  requireObject(json);
  decodeMember(json, "id", tool.id);
  decodeMember(json, "on", tool.on);
  decodeMember(json, "available", tool.available);
  decodeMember(json, "mode", tool.mode);
  decodeMember(json, "to", tool.to);
}

std::vector<SharedTool> SharedToolsState::shown() const {
  std::vector<SharedTool> result;
  std::copy_if(tools.begin(), tools.end(), std::back_inserter(result),
               [](const SharedTool& tool) { return tool.available; });
  return result;
}

namespace ShareTools {

std::optional<SharedToolsState> state(Files& files, const Url& runnerDirectory) {
  const Outcome<std::string> text = readFile(files, runnerDirectory.appending("share-tools.json").path(), kLargestFile);
  if (!text) return std::nullopt;
  Stored stored;
  try {
    decodeJson(Json::parse(text.value), stored);
  } catch (const JsonError&) {
    return std::nullopt;
  }
  if (stored.schemaVersion != kSchemaVersion) return std::nullopt;

  SharedToolsState state{.tools = stored.view.value_or(std::vector<SharedTool>{}),
                         .newApps = stored.newApps.value_or(std::vector<std::string>{})};
  // A newer helper may add tools that this version has no text for.
  std::erase_if(state.tools, [](const SharedTool& tool) { return !isKnown(tool); });
  return state;
}

std::string title(const std::string& id) {
  if (id == "computer_use") return Copy::text(Copy::Key::toolComputerUse);
  if (id == "computer_history") return Copy::text(Copy::Key::toolComputerHistory);
  return Copy::text(Copy::Key::toolSkills);
}

std::string detail(const SharedTool& tool) {
  if (tool.mode == "task") return Copy::text(Copy::Key::toolAsTask);
  if (!tool.on) return Copy::text(Copy::Key::off);
  return joinedAppNames(tool.to);
}

std::vector<MenuEntry> menuEntries(const std::optional<SharedToolsState>& state) {
  if (!state) return {};
  const std::vector<SharedTool> shown = state->shown();
  if (shown.empty()) return {};

  std::vector<MenuEntry> children;
  for (const SharedTool& tool : shown) {
    MenuEntry entry{.title = title(tool.id), .detail = detail(tool)};
    if (tool.mode != "task") {
      entry.checked = tool.on;
      entry.action = Action::shareTool(tool.id, !tool.on);
    }
    children.push_back(std::move(entry));
  }
  const auto count = std::count_if(shown.begin(), shown.end(),
                                   [](const SharedTool& tool) { return tool.on && tool.mode == "direct"; });

  std::vector<MenuEntry> lines;
  lines.push_back(
      MenuEntry{.title = Copy::filled(Copy::Key::sharedToolsLine, {count}), .children = std::move(children)});
  if (!state->newApps.empty()) {
    lines.push_back(MenuEntry{.title = Copy::filled(Copy::Key::sharedToolsNew, {joinedAppNames(state->newApps)}),
                              .action = Action::shareToolsSeen()});
  }
  return lines;
}

}  // namespace ShareTools
}  // namespace kestrelune
