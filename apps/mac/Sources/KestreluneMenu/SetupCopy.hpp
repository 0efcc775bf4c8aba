#pragma once

#include <initializer_list>
#include <string>

#include "StringsTable.hpp"

namespace kestrelune {

/// The texts of the first-run window.
namespace SetupCopy {

enum class Key {
  windowTitle,
  stepOf,
  back,
  continueButton,
  done,
  tryAgain,
  welcomeTitle,
  welcomeBody,
  signIn,
  signInNote,
  waitingTitle,
  waitingBody,
  accountDone,
  accountFailed,
  aiTitle,
  aiBody,
  connect,
  connectOpened,
  aiConnected,
  skip,
  tileClaude,
  tileChatGPT,
  tileCursor,
  tileGrok,
  tileGoogle,
  macTitle,
  macBody,
  macNote,
  doneNote,
  noAppReady,
  ready,
  updateNow,
  signInApp,
  open,
  notInstalled,
  notInstalledDetail,
  signedOutTitle,
  signedOutDetail,
  outdatedTitle,
  outdatedDetail,
  outdatedDetailPlan,
  limitedDetail,
  modelDetail,
  signedInDetail,
  unknownDetail,
  noApps,
  menuOpen,
  moveTitle,
  moveBody,
  openApplications,
  quitApp,
  guideChatGPT,
  guideGrok,
  guideCursor,
  guideGoogle,
  copied,
  firstTask,
  firstTaskCopied,
  firstTaskSentence,
  projectsFound,
  projectsMore,
  kCount,  ///< how many there are
};

/// In the user's language.
std::string text(Key key);
/// The same with its placeholders filled, in order.
std::string filled(Key key, std::initializer_list<text::Argument> arguments);
TextTable table();

}  // namespace SetupCopy

}  // namespace kestrelune
