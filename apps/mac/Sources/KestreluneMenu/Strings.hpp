#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "StatusReader.hpp"
#include "StringsTable.hpp"

namespace kestrelune {

/// The texts of the menu, the questions, the notifications and the main window.
namespace Copy {

enum class Key {
  ready,
  working,
  attention,
  offline,
  needsYou,
  running,
  apps,
  connections,
  signedOut,
  limitUntil,
  limited,
  notInstalled,
  unknown,
  reconnect,
  reconnectMenu,
  restart,
  setup,
  loginItem,
  quit,
  ballAt,
  minutes,
  countOne,
  countMany,
  pillNeedsMany,
  pillDone,
  pillDoneAny,
  missing,
  unreadable,
  outdated,
  invalidPID,
  unsupported,
  helperStopped,
  disconnected,
  connectMac,
  installTitle,
  installBody,
  install,
  cancel,
  errorTitle,
  actionFailed,
  settingUp,
  settingUpBody,
  setupSuccess,
  setupTimeout,
  setupFailed,
  modelUnavailable,
  modelUnavailableAny,
  modelNotification,
  signedOutNotification,
  helperNotification,
  removedNotification,
  serverNotification,
  updateNow,
  updateApp,
  updateAll,
  updatingAll,
  updatingApp,
  updateWaiting,
  updateChecking,
  updateDoneTitle,
  updateBusy,
  updateFailed,
  updateNoApps,
  updateLineUpdated,
  updateLineCurrent,
  updateLineApp,
  updateLineNoUpdater,
  updateLineFailed,
  doneToday,
  yourAIs,
  givesTasks,
  thisMac,
  off,
  readOnly,
  runningCount,
  answerIn,
  doneAt,
  allTasks,
  settings,
  account,
  connectAnother,
  turnOffTitle,
  turnOffBody,
  turnOff,
  turnOnHint,
  readOnlyTitle,
  readOnlyBody,
  setReadOnly,
  allowTasks,
  schedules,
  noSchedules,
  schedulePaused,
  nextRun,
  pauseSchedule,
  resumeSchedule,
  removeSchedule,
  removeScheduleTitle,
  removeScheduleBody,
  windowTitle,
  tabTasks,
  tabAIs,
  tabMacs,
  tabGeneral,
  back,
  nothingNeedsYou,
  nothingRuns,
  nothingDone,
  keptNote,
  stopHint,
  openChat,
  fromApp,
  stateRunning,
  stateDone,
  stateNeedsYou,
  ballWith,
  macOnline,
  macOffline,
  thisMacSuffix,
  addMac,
  linkCopied,
  helperVersion,
  notifications,
  notificationsDetail,
  accountRow,
  accountDetail,
  signIn,
  turnOn,
  sharedTools,
  sharedToolsLine,
  sharedToolsNew,
  sharedToolsSeen,
  toolComputerUse,
  toolComputerHistory,
  toolSkills,
  toolAsTask,
  setupToolsTitle,
  setupToolsBody,
  workers,
  workersAutomatic,
  workersOnly,
  workersCustom,
  workersHint,
  smallModel,
  smallModelDetail,
  autoDelegate,
  autoDelegateDetail,
  profiles,
  profileNone,
  profileByYou,
  profileByAI,
  profilesHint,
  profileTitle,
  profileBody,
  profilePlaceholder,
  profileSave,
  profileRewrite,
  kCount,  ///< how many there are
};

/// In the user's language.
std::string text(Key key);
/// The same with its placeholders filled, in order.
std::string filled(Key key, std::initializer_list<text::Argument> arguments);
TextTable table();

/// The name of an AI application by its host, of an AI service by its family; what isn't known is its own name. The
/// two differ on purpose: "claude" is an application here and a service there.
std::string appName(std::string_view host);
std::string familyName(std::string_view family);

}  // namespace Copy

/// The state in one sentence, and what is to be said about it beyond that, if anything: the helper's own message,
/// else what is wrong.
std::string headline(const Snapshot& snapshot);
std::optional<std::string> message(const Snapshot& snapshot);
/// How many tasks run; the helper may list fewer than it counts.
std::int64_t runningCount(const HelperStatus& status);

}  // namespace kestrelune
