#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "RuntimeAction.hpp"
#include "StatusReader.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// The steps of the first-run window, in order.
enum class SetupStep { account, ai, mac };

/// One AI application of this computer, as the last step shows it.
struct SetupAppRow {
  enum class Kind { ready, needsUpdate, signedOut, limited, notInstalled, unknown };

  std::string host;
  std::string title;
  std::string detail;
  Kind kind = Kind::unknown;
  std::optional<Action> action;  ///< absent: no button

  std::optional<std::string> actionTitle() const;

  bool operator==(const SetupAppRow&) const = default;
};

/// The case's own name.
std::string_view rawValue(SetupAppRow::Kind kind);
std::string_view rawValue(SetupStep step);

/// What the first-run window shows, from what the helper says.
namespace SetupFlow {

/// The AI services in which the user asks, by family, in the order of their tiles.
inline constexpr std::array<std::string_view, 5> kAssistants{"claude", "chatgpt", "cursor", "grok", "google"};

/// Only the helper's own word that it runs lets the window go on.
bool accountDone(const Snapshot& snapshot);
bool connected(std::string_view id, const Snapshot& snapshot);
/// At which step the window opens.
SetupStep firstOpenStep(const Snapshot& snapshot);

/// Absent for an application without an identifier.
std::optional<SetupAppRow> row(const HostApp& app);
std::vector<SetupAppRow> rows(const Snapshot& snapshot);
/// Names the first two of the projects that the helper found; absent when it found none.
std::optional<std::string> projectsLine(const std::optional<HelperStatus>& status);

std::string tileDetail(std::string_view id);
/// What the user has to do in the assistant itself.
std::optional<std::string> guide(std::string_view id);
/// What is copied for the assistant.
std::optional<std::string> clipboard(std::string_view id);
/// Opens the desktop application of the one assistant that has a link of its own.
Url grokBotApp();

/// Whether the application runs from a place that lasts: "/Applications", or the same folder in the user's home, but
/// no temporary copy that the system made of a download.
bool isInstalled(std::string_view bundlePath, std::string_view home);

/// The name of the application to use in the first task: the first that could take it now or soon.
std::string firstTaskApp(const std::vector<SetupAppRow>& rows);
/// Opens the assistant with the sentence in its input box; absent for one that can't be opened that way.
std::optional<Url> firstTaskURL(const std::optional<std::string>& chosen, const std::string& sentence);

}  // namespace SetupFlow

}  // namespace kestrelune
