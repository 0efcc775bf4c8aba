#include "Strings.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "Endpoints.hpp"

namespace kestrelune {

namespace {

using Copy::Key;

// clang-format off
constexpr TextRow kRows[] = {
    KESTRELUNE_TEXT(ready, "Everything is ready", "Alles bereit"),
    KESTRELUNE_TEXT(working, "A task is running", "Ein Auftrag läuft"),
    KESTRELUNE_TEXT(attention, "Something needs you", "Eine Sache braucht dich"),
    KESTRELUNE_TEXT(offline, "Kestrelune is not running", "Kestrelune läuft nicht"),
    KESTRELUNE_TEXT(needsYou, "Needs you", "Braucht dich"),
    KESTRELUNE_TEXT(running, "Running", "Läuft"),
    KESTRELUNE_TEXT(apps, "Working on this Mac", "Arbeiten auf diesem Mac"),
    KESTRELUNE_TEXT(connections, "Questions from", "Fragen aus"),
    KESTRELUNE_TEXT(signedOut, "signed out", "abgemeldet"),
    KESTRELUNE_TEXT(limitUntil, "Limited until %@", "Limit bis %@"),
    KESTRELUNE_TEXT(limited, "Usage limit reached", "Limit erreicht"),
    KESTRELUNE_TEXT(notInstalled, "not installed", "nicht installiert"),
    KESTRELUNE_TEXT(unknown, "unknown", "unbekannt"),
    KESTRELUNE_TEXT(reconnect, "Reconnect", "Neu verbinden"),
    KESTRELUNE_TEXT(reconnectMenu, "Reconnect …", "Neu verbinden …"),
    KESTRELUNE_TEXT(restart, "Restart Kestrelune", "Kestrelune neu starten"),
    KESTRELUNE_TEXT(setup, "Set up this Mac …", "Diesen Mac einrichten …"),
    KESTRELUNE_TEXT(loginItem, "Open at login", "Beim Anmelden öffnen"),
    KESTRELUNE_TEXT(quit, "Quit", "Beenden"),
    KESTRELUNE_TEXT(ballAt, "Ball with %@", "Ball bei %@"),
    KESTRELUNE_TEXT(minutes, "%d min", "%d min"),
    KESTRELUNE_TEXT(countOne, "1 running", "1 läuft"),
    KESTRELUNE_TEXT(countMany, "%d running", "%d laufen"),
    KESTRELUNE_TEXT(pillNeedsMany, "%d need you", "%d brauchen dich"),
    KESTRELUNE_TEXT(pillDone, "✓ %@ done", "✓ %@ fertig"),
    KESTRELUNE_TEXT(pillDoneAny, "✓ Done", "✓ Fertig"),
    KESTRELUNE_TEXT(missing, "No status file found.", "Keine Statusdatei gefunden."),
    KESTRELUNE_TEXT(unreadable, "The status file could not be read.", "Die Statusdatei konnte nicht gelesen werden."),
    KESTRELUNE_TEXT(outdated,
        "The last status is over two minutes old.",
        "Der letzte Status ist älter als zwei Minuten."),
    KESTRELUNE_TEXT(invalidPID,
        "Kestrelune is not running in the background.",
        "Kestrelune läuft im Hintergrund nicht."),
    KESTRELUNE_TEXT(unsupported, "This status format is not supported.", "Dieses Statusformat wird nicht unterstützt."),
    KESTRELUNE_TEXT(helperStopped,
        "Kestrelune is not ready on this Mac yet.",
        "Kestrelune ist auf diesem Mac noch nicht bereit."),
    KESTRELUNE_TEXT(disconnected,
        "This Mac is not connected to Kestrelune.",
        "Dieser Mac ist nicht mit Kestrelune verbunden."),
    KESTRELUNE_TEXT(connectMac, "Connect this Mac …", "Mac verbinden …"),
    KESTRELUNE_TEXT(installTitle, "Set up Kestrelune on this Mac?", "Kestrelune auf diesem Mac einrichten?"),
    KESTRELUNE_TEXT(installBody,
        "Terminal will download and run the installation script from " KESTRELUNE_SERVICE_HOST " to set up Kestrelune on this Mac.",
        "Terminal lädt das Installationsskript von " KESTRELUNE_SERVICE_HOST " und führt es aus. Dabei wird Kestrelune auf diesem Mac eingerichtet."),
    KESTRELUNE_TEXT(install, "Set up", "Einrichten"),
    KESTRELUNE_TEXT(cancel, "Cancel", "Abbrechen"),
    KESTRELUNE_TEXT(errorTitle, "Action failed", "Aktion fehlgeschlagen"),
    KESTRELUNE_TEXT(actionFailed,
        "The action could not be completed: %@",
        "Die Aktion konnte nicht ausgeführt werden: %@"),
    KESTRELUNE_TEXT(settingUp, "Setting up Kestrelune", "Kestrelune wird eingerichtet"),
    KESTRELUNE_TEXT(settingUpBody,
        "Confirm “Connect this Mac?” in your browser.",
        "Bestätige „Connect this Mac?“ im Browser."),
    KESTRELUNE_TEXT(setupSuccess, "This Mac is connected to Kestrelune.", "Dieser Mac ist mit Kestrelune verbunden."),
    KESTRELUNE_TEXT(setupTimeout,
        "Setup timed out after twelve minutes. Please try again.",
        "Die Einrichtung wurde nach zwölf Minuten abgebrochen. Bitte versuche es erneut."),
    KESTRELUNE_TEXT(setupFailed,
        "Setup could not be completed. Please try again.",
        "Die Einrichtung konnte nicht abgeschlossen werden. Bitte versuche es erneut."),
    KESTRELUNE_TEXT(modelUnavailable, "Model %@ not available", "Modell %@ nicht freigeschaltet"),
    KESTRELUNE_TEXT(modelUnavailableAny, "Model not available", "Modell nicht freigeschaltet"),
    KESTRELUNE_TEXT(modelNotification,
        "%@: the model %@ is not available for your account. Choose another model in %@.",
        "%@: Das Modell %@ ist für dein Konto nicht freigeschaltet. Wähle in %@ ein anderes Modell."),
    KESTRELUNE_TEXT(signedOutNotification,
        "%@ is signed out. Open %@ and sign in.",
        "%@ ist abgemeldet. Öffne %@ und melde dich an."),
    KESTRELUNE_TEXT(helperNotification,
        "Kestrelune is not running on this Mac.",
        "Kestrelune läuft auf diesem Mac nicht."),
    KESTRELUNE_TEXT(removedNotification,
        "This Mac is no longer connected to Kestrelune.",
        "Dieser Mac ist nicht mehr mit Kestrelune verbunden."),
    KESTRELUNE_TEXT(serverNotification, "Kestrelune is unreachable.", "Kestrelune ist nicht erreichbar."),
    KESTRELUNE_TEXT(updateNow, "Update %@ now", "%@ jetzt aktualisieren"),
    KESTRELUNE_TEXT(updateApp, "%@ is outdated – update the app", "%@ ist zu alt – App aktualisieren"),
    KESTRELUNE_TEXT(updateAll, "Update all AI apps", "Alle KI-Apps aktualisieren"),
    KESTRELUNE_TEXT(updatingAll, "Updating AI apps …", "KI-Apps werden aktualisiert …"),
    KESTRELUNE_TEXT(updatingApp, "Updating %@ …", "%@ wird aktualisiert …"),
    KESTRELUNE_TEXT(updateWaiting,
        "Waiting for the running task to finish …",
        "Wartet, bis der laufende Auftrag fertig ist …"),
    KESTRELUNE_TEXT(updateChecking, "Checking the updated apps …", "Prüft die aktualisierten Apps …"),
    KESTRELUNE_TEXT(updateDoneTitle, "AI apps updated", "KI-Apps aktualisiert"),
    KESTRELUNE_TEXT(updateBusy,
        "Tasks are still running, so nothing was changed. Please try again later.",
        "Es laufen noch Aufträge, deshalb wurde nichts geändert. Versuch es später noch einmal."),
    KESTRELUNE_TEXT(updateFailed, "The update did not finish: %@", "Die Aktualisierung wurde nicht abgeschlossen: %@"),
    KESTRELUNE_TEXT(updateNoApps, "No AI app was found on this Mac.", "Auf diesem Mac wurde keine KI-App gefunden."),
    KESTRELUNE_TEXT(updateLineUpdated, "%@: %@ → %@", "%@: %@ → %@"),
    KESTRELUNE_TEXT(updateLineCurrent, "%@: up to date", "%@: aktuell"),
    KESTRELUNE_TEXT(updateLineApp,
        "%@: please update it in the %@ app with “Check for Updates”",
        "%@: bitte in der %@-App über „Nach Updates suchen“ aktualisieren"),
    KESTRELUNE_TEXT(updateLineNoUpdater,
        "%@: no official way to update it was found",
        "%@: kein offizieller Update-Weg gefunden"),
    KESTRELUNE_TEXT(updateLineFailed,
        "%@: update failed – please update it in its app",
        "%@: Aktualisierung fehlgeschlagen – bitte in der App selbst aktualisieren"),
    KESTRELUNE_TEXT(doneToday, "Done today", "Heute fertig"),
    KESTRELUNE_TEXT(yourAIs, "Your AIs", "Deine KIs"),
    KESTRELUNE_TEXT(givesTasks, "gives tasks", "gibt Aufträge"),
    KESTRELUNE_TEXT(thisMac, "this Mac", "dieser Mac"),
    KESTRELUNE_TEXT(off, "off", "aus"),
    KESTRELUNE_TEXT(readOnly, "Read only", "nur lesen"),
    KESTRELUNE_TEXT(runningCount, "Running · %d", "Läuft · %d"),
    KESTRELUNE_TEXT(answerIn, "Answer in %@", "Antworten in %@"),
    KESTRELUNE_TEXT(doneAt, "✓ %@", "✓ %@"),
    KESTRELUNE_TEXT(allTasks, "All tasks …", "Alle Aufträge …"),
    KESTRELUNE_TEXT(settings, "Settings …", "Einstellungen …"),
    KESTRELUNE_TEXT(account, "Account and billing ↗", "Konto und Abrechnung ↗"),
    KESTRELUNE_TEXT(connectAnother, "Connect another AI …", "Weitere KI verbinden …"),
    KESTRELUNE_TEXT(turnOffTitle, "Turn off %@?", "%@ ausschalten?"),
    KESTRELUNE_TEXT(turnOffBody,
        "%@ then takes no more tasks, and its running tasks stop. You can turn it on again on your account page.",
        "%@ nimmt dann keine Aufträge mehr an, laufende Aufträge werden gestoppt. Wieder einschalten kannst du auf deiner Konto-Seite."),
    KESTRELUNE_TEXT(turnOff, "Turn off", "Ausschalten"),
    KESTRELUNE_TEXT(turnOnHint, "Turn on on your account page ↗", "Einschalten auf der Konto-Seite ↗"),
    KESTRELUNE_TEXT(readOnlyTitle, "Set %@ to Read only?", "%@ auf „Nur lesen“ stellen?"),
    KESTRELUNE_TEXT(readOnlyBody,
        "%@ then sees your tasks and results but cannot give, change or stop tasks. Running tasks go on. You can allow it again on your account page.",
        "%@ sieht dann deine Aufträge und Ergebnisse, kann aber keine neuen Aufträge geben, ändern oder stoppen. Laufende Aufträge laufen weiter. Wieder erlauben kannst du es auf deiner Konto-Seite."),
    KESTRELUNE_TEXT(setReadOnly, "Read only", "Nur lesen"),
    KESTRELUNE_TEXT(allowTasks, "Allow tasks ↗", "Aufträge erlauben ↗"),
    KESTRELUNE_TEXT(schedules, "Schedules", "Zeitpläne"),
    KESTRELUNE_TEXT(noSchedules,
        "None yet. Ask your AI, for example “every morning at 8, sum up my mail”.",
        "Noch keine. Bitte deine KI, z. B. „jeden Morgen um 8 die Mails zusammenfassen“."),
    KESTRELUNE_TEXT(schedulePaused, "Paused", "Pausiert"),
    KESTRELUNE_TEXT(nextRun, "next run %@", "nächster Lauf %@"),
    KESTRELUNE_TEXT(pauseSchedule, "Pause", "Pausieren"),
    KESTRELUNE_TEXT(resumeSchedule, "Resume", "Fortsetzen"),
    KESTRELUNE_TEXT(removeSchedule, "Remove", "Entfernen"),
    KESTRELUNE_TEXT(removeScheduleTitle, "Remove “%@”?", "„%@“ entfernen?"),
    KESTRELUNE_TEXT(removeScheduleBody,
        "The schedule then starts no more tasks. Earlier tasks stay in the list.",
        "Der Zeitplan startet dann keine Aufträge mehr. Bisherige Aufträge bleiben in der Liste."),
    KESTRELUNE_TEXT(windowTitle, "Kestrelune", "Kestrelune"),
    KESTRELUNE_TEXT(tabTasks, "Tasks", "Aufträge"),
    KESTRELUNE_TEXT(tabAIs, "AIs", "KIs"),
    KESTRELUNE_TEXT(tabMacs, "Macs", "Macs"),
    KESTRELUNE_TEXT(tabGeneral, "General", "Allgemein"),
    KESTRELUNE_TEXT(back, "‹ All tasks", "‹ Alle Aufträge"),
    KESTRELUNE_TEXT(nothingNeedsYou, "Nothing needs you right now.", "Nichts braucht dich gerade."),
    KESTRELUNE_TEXT(nothingRuns, "Nothing is running.", "Gerade läuft nichts."),
    KESTRELUNE_TEXT(nothingDone, "Nothing finished yet today.", "Heute ist noch nichts fertig."),
    KESTRELUNE_TEXT(keptNote,
        "Your AIs can also answer “What happened with #46?”.",
        "Deine KIs beantworten auch „Was ist mit #46 passiert?“."),
    KESTRELUNE_TEXT(stopHint,
        "To stop it, tell any of your AIs “Stop %@”.",
        "Zum Stoppen sag einer deiner KIs „Stopp %@“."),
    KESTRELUNE_TEXT(openChat, "Open the chat", "Chat öffnen"),
    KESTRELUNE_TEXT(fromApp, "from %@", "von %@"),
    KESTRELUNE_TEXT(stateRunning, "Running", "Läuft"),
    KESTRELUNE_TEXT(stateDone, "Done", "Fertig"),
    KESTRELUNE_TEXT(stateNeedsYou, "Needs you", "Braucht dich"),
    KESTRELUNE_TEXT(ballWith, "Ball with %@", "Ball bei %@"),
    KESTRELUNE_TEXT(macOnline, "Online", "Online"),
    KESTRELUNE_TEXT(macOffline, "Offline", "Offline"),
    KESTRELUNE_TEXT(thisMacSuffix, "%@ (this Mac)", "%@ (dieser Mac)"),
    KESTRELUNE_TEXT(addMac, "Add a Mac · copy download link", "Weiteren Mac hinzufügen · Download-Link kopieren"),
    KESTRELUNE_TEXT(linkCopied, "Link copied", "Link kopiert"),
    KESTRELUNE_TEXT(helperVersion, "Kestrelune %@", "Kestrelune %@"),
    KESTRELUNE_TEXT(notifications, "Notifications", "Mitteilungen"),
    KESTRELUNE_TEXT(notificationsDetail, "Only when something needs you", "Nur wenn etwas dich braucht"),
    KESTRELUNE_TEXT(accountRow, "Account, plan and invoices", "Konto, Plan und Rechnungen"),
    KESTRELUNE_TEXT(accountDetail,
        "On " KESTRELUNE_SERVICE_HOST ", signed in",
        "Auf " KESTRELUNE_SERVICE_HOST ", angemeldet"),
    KESTRELUNE_TEXT(signIn, "Sign in", "Anmelden"),
    KESTRELUNE_TEXT(turnOn, "Turn on ↗", "Einschalten ↗"),
    KESTRELUNE_TEXT(sharedTools, "Shared tools", "Geteilte Werkzeuge"),
    KESTRELUNE_TEXT(sharedToolsLine, "Shared tools · %d on", "Geteilte Werkzeuge · %d an"),
    KESTRELUNE_TEXT(sharedToolsNew, "New: %@ uses your shared tools", "Neu: %@ nutzt deine geteilten Werkzeuge"),
    KESTRELUNE_TEXT(sharedToolsSeen,
        "The new app now uses your shared tools. Switch each one on or off under “Shared tools”.",
        "Die neue App nutzt jetzt deine geteilten Werkzeuge. Jedes schaltest du einzeln unter „Geteilte Werkzeuge“ ein und aus."),
    KESTRELUNE_TEXT(toolComputerUse, "Codex Computer Use", "Codex-Computer-Use"),
    KESTRELUNE_TEXT(toolComputerHistory, "Codex Computer History", "Codex-Computer-History"),
    KESTRELUNE_TEXT(toolSkills, "Skills of every app", "Skills aller Apps"),
    KESTRELUNE_TEXT(toolAsTask, "as a task to Codex", "als Auftrag an Codex"),
    KESTRELUNE_TEXT(setupToolsTitle, "Shared tools", "Geteilte Werkzeuge"),
    KESTRELUNE_TEXT(setupToolsBody,
        "Your AI apps use each other's special abilities, also without being asked. Switch off what you do not want.",
        "Deine KI-Apps nutzen gegenseitig ihre Sonderfunktionen, auch ohne dass du es sagst. Schalte ab, was du nicht willst."),
    KESTRELUNE_TEXT(workers, "Workers: %@", "Arbeiter: %@"),
    KESTRELUNE_TEXT(workersAutomatic, "Automatic", "Automatisch"),
    KESTRELUNE_TEXT(workersOnly, "Only %@", "Nur %@"),
    KESTRELUNE_TEXT(workersCustom, "Custom", "Eigene Auswahl"),
    KESTRELUNE_TEXT(workersHint, "Applies when no app is named", "Gilt, wenn keine App genannt wird"),
    KESTRELUNE_TEXT(smallModel, "Small model", "Hilfsmodell"),
    KESTRELUNE_TEXT(smallModelDetail, "Luna or Haiku · names, handovers", "Luna oder Haiku · Namen, Übergaben"),
    KESTRELUNE_TEXT(autoDelegate, "Auto-Delegate", "Auto-Delegate"),
    KESTRELUNE_TEXT(autoDelegateDetail, "AIs hand work to the team themselves", "KIs geben Arbeit selbst ans Team"),
    KESTRELUNE_TEXT(profiles, "Profiles: %d of %d", "Profile: %d von %d"),
    KESTRELUNE_TEXT(profileNone, "None yet – the AI writes it itself", "Noch keins – die KI schreibt es selbst"),
    KESTRELUNE_TEXT(profileByYou, "by you", "von dir"),
    KESTRELUNE_TEXT(profileByAI, "by the AI", "von der KI"),
    KESTRELUNE_TEXT(profilesHint,
        "What you use each AI for · Auto-Delegate shares work by it",
        "Wofür du jede KI nutzt · Auto-Delegate verteilt danach"),
    KESTRELUNE_TEXT(profileTitle, "Profile of %@", "Profil von %@"),
    KESTRELUNE_TEXT(profileBody,
        "Two or three sentences: what you use this AI for. The AI wrote it from its own memories; only this text is shared. No AI writes over your text.",
        "Zwei, drei Sätze: wofür du diese KI nutzt. Die KI hat es aus ihren eigenen Erinnerungen geschrieben; geteilt wird nur dieser Text. Deinen Text überschreibt keine KI."),
    KESTRELUNE_TEXT(profilePlaceholder,
        "For example: business, the website and invoices.",
        "Zum Beispiel: Business, Website und Rechnungen."),
    KESTRELUNE_TEXT(profileSave, "Save", "Sichern"),
    KESTRELUNE_TEXT(profileRewrite, "Let it write anew", "Neu schreiben lassen"),
};
// clang-format on

static_assert(isComplete(kRows, Key::kCount));

using Name = std::pair<std::string_view, const char*>;

constexpr std::array<Name, 5> kAppNames{{
    {"codex", "Codex"},
    {"claude", "Claude Code"},
    {"cursor", "Cursor"},
    {"t3code", "T3 Code"},
    {"antigravity", "Antigravity"},
}};

constexpr std::array<Name, 7> kFamilyNames{{
    {"claude", "Claude"},
    {"chatgpt", "ChatGPT"},
    {"cursor", "Cursor"},
    {"grok", "Grok Bot"},
    {"google", "Antigravity"},
    {"codex", "Codex"},
    {"t3code", "T3 Code"},
}};

template <std::size_t count>
std::string nameIn(const std::array<Name, count>& names, std::string_view identifier) {
  for (const auto& [known, name] : names) {
    if (known == identifier) return name;
  }
  return std::string(identifier);
}

Key keyOf(StatusIssue issue) {
  switch (issue) {
    case StatusIssue::missing: return Key::missing;
    case StatusIssue::unreadable: return Key::unreadable;
    case StatusIssue::outdated: return Key::outdated;
    case StatusIssue::invalidPID: return Key::invalidPID;
    case StatusIssue::unsupported: return Key::unsupported;
    case StatusIssue::stopped: return Key::helperStopped;
    case StatusIssue::disconnected: return Key::disconnected;
  }
  return Key::unknown;
}

}  // namespace

std::string Copy::text(Key key) { return kRows[static_cast<std::size_t>(key)].text(currentLanguage()); }

std::string Copy::filled(Key key, std::initializer_list<text::Argument> arguments) {
  return text::filled(text(key), arguments);
}

TextTable Copy::table() { return kRows; }

std::string Copy::appName(std::string_view host) { return nameIn(kAppNames, host); }

std::string Copy::familyName(std::string_view family) { return nameIn(kFamilyNames, family); }

std::int64_t runningCount(const HelperStatus& status) {
  const std::int64_t counted = status.tasks ? status.tasks->running.value_or(0) : 0;
  const std::int64_t listed = status.running ? static_cast<std::int64_t>(status.running->size()) : 0;
  return std::max({counted, listed, std::int64_t{0}});
}

std::string headline(const Snapshot& snapshot) {
  switch (snapshot.signal) {
    case Signal::green: return Copy::text(Key::ready);
    case Signal::yellow: return Copy::text(Key::attention);
    case Signal::red: return Copy::text(Key::offline);
    case Signal::running: break;
  }
  const std::int64_t count = snapshot.status ? runningCount(*snapshot.status) : 0;
  return count == 1 ? Copy::text(Key::working) : Copy::filled(Key::countMany, {count});
}

std::optional<std::string> message(const Snapshot& snapshot) {
  if (snapshot.status && snapshot.status->message && !snapshot.status->message->empty()) {
    return snapshot.status->message;
  }
  if (!snapshot.issue) return std::nullopt;
  return Copy::text(keyOf(*snapshot.issue));
}

}  // namespace kestrelune
