#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MenuEntry.hpp"
#include "base/Files.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// A special ability that one AI application lends the others.
struct SharedTool {
  std::string id;  ///< "computer_use", "computer_history" or "skills"
  bool on = false;
  bool available = false;       ///< it can be offered on this computer
  std::string mode;             ///< "direct", "task" or another
  std::vector<std::string> to;  ///< identifiers of the applications that receive it

  bool operator==(const SharedTool&) const = default;
};

struct SharedToolsState {
  std::vector<SharedTool> tools;
  std::vector<std::string> newApps;  ///< applications that joined since the user last looked

  /// The tools that are available, in file order.
  std::vector<SharedTool> shown() const;

  bool operator==(const SharedToolsState&) const = default;
};

/// The helper decides which tools are possible and writes "share-tools.json"; here that file is read and shown.
namespace ShareTools {

/// Absent for a missing or damaged file, one of another version, and one in which a single tool lacks a key.
std::optional<SharedToolsState> state(Files& files, const Url& runnerDirectory);

/// The tool's name in the user's language; the skills' name for any id that isn't one of the other two.
std::string title(const std::string& id);
/// What a tool does at present: "as a task …", "off", or the names of the applications that receive it.
std::string detail(const SharedTool& tool);

/// The line with its switches, and a second line while there are new applications. No lines without shown tools.
std::vector<MenuEntry> menuEntries(const std::optional<SharedToolsState>& state);

}  // namespace ShareTools
}  // namespace kestrelune
