#pragma once

#include <optional>
#include <set>
#include <string>

#include "SetupFlow.hpp"
#include "SetupRunner.hpp"
#include "ShareTools.hpp"
#include "StatusReader.hpp"
#include "base/View.hpp"

namespace kestrelune {

/// Everything that the first-run window shows depends on.
struct SetupWindowModel {
  SetupStep step = SetupStep::account;
  Snapshot snapshot;
  SetupRunner::State install;
  bool checkingUpdate = false;
  bool needsMove = false;             ///< the application must be moved first
  std::optional<std::string> chosen;  ///< the assistant picked
  std::set<std::string> opened;       ///< assistants for which the connect button was pressed
  bool firstTaskCopied = false;
  std::optional<SharedToolsState> sharedTools;
};

/// The first-run window as a tree. The keys of its controls are those that `SetupWindowController` acts on.
namespace SetupWindowViews {

View tree(const SetupWindowModel& model);

}  // namespace SetupWindowViews

/// Keys of controls. App rows and tools carry their position behind a slash.
namespace SetupKeys {
inline constexpr const char* kSignIn = "sign-in";
inline constexpr const char* kContinueFromAccount = "continue-account";
inline constexpr const char* kQuit = "quit";
inline constexpr const char* kOpenApplications = "open-applications";
inline constexpr const char* kAssistants = "assistants";
inline constexpr const char* kConnect = "connect";
inline constexpr const char* kContinueFromAI = "continue-ai";
inline constexpr const char* kSkip = "skip";
inline constexpr const char* kBackToAccount = "back-account";
inline constexpr const char* kBackToAI = "back-ai";
inline constexpr const char* kDone = "done";
inline constexpr const char* kFirstTask = "first-task";
inline constexpr const char* kAppRow = "app/";
inline constexpr const char* kTool = "tool/";
}  // namespace SetupKeys

}  // namespace kestrelune
