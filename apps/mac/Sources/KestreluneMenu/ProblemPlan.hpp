#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "MenuEntry.hpp"
#include "Status.hpp"
#include "base/Json.hpp"
#include "base/Url.hpp"

namespace kestrelune {

/// How the check of a reported problem stands, as the helper writes it to "latest.json".
struct ProblemRecord {
  std::optional<std::string> state;  ///< "running", "done" or "failed"
  std::optional<std::string> app;    ///< display name of the application at work
  std::optional<std::int32_t> pid;
  std::optional<std::string> startedAt;
  std::optional<std::string> finishedAt;
  std::optional<std::string> folder;  ///< absolute path of the report's folder
  std::optional<std::string> answer;
  std::optional<std::string> open;    ///< a link to the chat
  std::optional<std::string> reason;  ///< why it could not be done

  bool operator==(const ProblemRecord&) const = default;
};

void decodeJson(const Json& json, ProblemRecord& record);

/// The pure rules of "Report a problem".
namespace ProblemPlan {

/// A record of this many bytes or more counts as none.
inline constexpr std::size_t kRecordLimit = 65536;
inline constexpr std::size_t kNoteLimit = 600;

/// The record in the text of a file; absent when the text is too long or doesn't decode.
std::optional<ProblemRecord> decode(std::string_view text);

/// The name of a checking application in texts.
std::string appName(std::string_view app);

MenuEntry menuEntry(const std::optional<ProblemRecord>& running);

/// The applications that can do the check now, the preferred one first.
std::vector<std::string> apps(const std::optional<HelperStatus>& status);

/// Without white space at the ends, and no longer than the helper takes.
std::string note(std::string_view text);

/// The helper command's arguments. An `app` that is no checking application is left out.
std::vector<std::string> arguments(const std::optional<std::string>& app, std::string_view note, bool german);

/// The folder of a report, only where it lies inside `reports`: a path read from a file never leads outside.
std::optional<Url> reportFolder(const std::optional<ProblemRecord>& record, const Url& reports);

}  // namespace ProblemPlan
}  // namespace kestrelune
