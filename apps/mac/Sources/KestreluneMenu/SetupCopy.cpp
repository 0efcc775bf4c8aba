#include "SetupCopy.hpp"

#include "Endpoints.hpp"

namespace kestrelune {

namespace {

using SetupCopy::Key;

// clang-format off
constexpr TextRow kRows[] = {
    KESTRELUNE_TEXT(windowTitle, "Set up Kestrelune", "Kestrelune einrichten"),
    KESTRELUNE_TEXT(stepOf, "Step %d of 3", "Schritt %d von 3"),
    KESTRELUNE_TEXT(back, "Back", "Zurück"),
    KESTRELUNE_TEXT(continueButton, "Continue", "Weiter"),
    KESTRELUNE_TEXT(done, "Done", "Fertig"),
    KESTRELUNE_TEXT(tryAgain, "Try again", "Erneut versuchen"),
    KESTRELUNE_TEXT(welcomeTitle, "Welcome to Kestrelune", "Willkommen bei Kestrelune"),
    KESTRELUNE_TEXT(welcomeBody,
        "Kestrelune connects the AI apps you already pay for. Three short steps: your account, the AI you ask in, and this Mac.",
        "Kestrelune verbindet die KI-Apps, die du schon bezahlst. Drei kurze Schritte: dein Konto, die KI, in der du fragst, und dieser Mac."),
    KESTRELUNE_TEXT(signIn, "Sign in or create account", "Anmelden oder Konto anlegen"),
    KESTRELUNE_TEXT(signInNote, "Opens your browser.", "Öffnet deinen Browser."),
    KESTRELUNE_TEXT(waitingTitle, "Finish in your browser", "Im Browser abschließen"),
    KESTRELUNE_TEXT(waitingBody,
        "Sign in, then confirm “Connect this Mac?”. This window continues by itself.",
        "Melde dich an und bestätige „Connect this Mac?“. Dieses Fenster geht dann von selbst weiter."),
    KESTRELUNE_TEXT(accountDone, "Signed in. This Mac is connected.", "Angemeldet. Dieser Mac ist verbunden."),
    KESTRELUNE_TEXT(accountFailed, "Setup was not completed: %@", "Die Einrichtung wurde nicht abgeschlossen: %@"),
    KESTRELUNE_TEXT(aiTitle, "Which AI do you ask in?", "In welcher KI fragst du?"),
    KESTRELUNE_TEXT(aiBody,
        "You give tasks there, and the results come back there. You can add more later from the menu bar.",
        "Dort gibst du Aufträge, und dorthin kommen die Ergebnisse zurück. Weitere KIs kannst du später über die Menüleiste verbinden."),
    KESTRELUNE_TEXT(connect, "Connect %@", "%@ verbinden"),
    KESTRELUNE_TEXT(connectOpened,
        "Allow Kestrelune there, then continue here.",
        "Erlaube Kestrelune dort und mach dann hier weiter."),
    KESTRELUNE_TEXT(aiConnected, "%@ is connected.", "%@ ist verbunden."),
    KESTRELUNE_TEXT(skip, "Skip for now", "Später"),
    KESTRELUNE_TEXT(tileClaude, "Claude app or " KESTRELUNE_CLAUDE_HOST, "Claude-App oder " KESTRELUNE_CLAUDE_HOST),
    KESTRELUNE_TEXT(tileChatGPT, "Plus, Pro or Business", "Plus, Pro oder Business"),
    KESTRELUNE_TEXT(tileCursor, "One-click install", "Mit einem Klick"),
    KESTRELUNE_TEXT(tileGrok, "Grok Bot connectors", "Grok-Bot-Connectors"),
    KESTRELUNE_TEXT(tileGoogle, "Antigravity desktop app", "Antigravity-Desktop-App"),
    KESTRELUNE_TEXT(macTitle, "This Mac can do the work", "Dieser Mac kann arbeiten"),
    KESTRELUNE_TEXT(macBody,
        "Checked without using any of your AI plans: each app must be installed, signed in and new enough.",
        "Geprüft, ohne deine KI-Abos zu verbrauchen: Jede App muss installiert, angemeldet und aktuell genug sein."),
    KESTRELUNE_TEXT(macNote,
        "Each app keeps its own sign-in and the permissions you set in it. Kestrelune copies no passwords. Apps work in ~/Kestrelune unless a task names another folder.",
        "Jede App behält ihre eigene Anmeldung und die Rechte, die du in ihr eingestellt hast. Kestrelune kopiert keine Passwörter. Gearbeitet wird in ~/Kestrelune, wenn ein Auftrag keinen anderen Ordner nennt."),
    KESTRELUNE_TEXT(doneNote,
        "Kestrelune starts with your Mac. Quit or remove it any time.",
        "Kestrelune startet mit deinem Mac. Du kannst es jederzeit beenden oder entfernen."),
    KESTRELUNE_TEXT(noAppReady,
        "No app on this Mac can take tasks yet. Sign in to Codex, Claude Code or Cursor, or update it.",
        "Noch kann keine App auf diesem Mac Aufträge annehmen. Melde dich in Codex, Claude Code oder Cursor an oder aktualisiere die App."),
    KESTRELUNE_TEXT(ready, "✓ Ready", "✓ Bereit"),
    KESTRELUNE_TEXT(updateNow, "Update now", "Jetzt aktualisieren"),
    KESTRELUNE_TEXT(signInApp, "Sign in", "Anmelden"),
    KESTRELUNE_TEXT(open, "Open", "Öffnen"),
    KESTRELUNE_TEXT(notInstalled, "%@ is not installed", "%@ ist nicht installiert"),
    KESTRELUNE_TEXT(notInstalledDetail,
        "Optional. Needed only when a task goes to %@.",
        "Optional. Nur nötig, wenn ein Auftrag an %@ geht."),
    KESTRELUNE_TEXT(signedOutTitle, "%@ is signed out", "%@ ist abgemeldet"),
    KESTRELUNE_TEXT(signedOutDetail,
        "Optional. Needed only when a task goes to %@.",
        "Optional. Nur nötig, wenn ein Auftrag an %@ geht."),
    KESTRELUNE_TEXT(outdatedTitle, "%@ needs an update", "%@ braucht ein Update"),
    KESTRELUNE_TEXT(outdatedDetail, "Version %@ is too old for Kestrelune.", "Version %@ ist für Kestrelune zu alt."),
    KESTRELUNE_TEXT(outdatedDetailPlan,
        "Signed in (%@), but version %@ is too old for Kestrelune.",
        "Angemeldet (%@), aber Version %@ ist für Kestrelune zu alt."),
    KESTRELUNE_TEXT(limitedDetail,
        "Usage limit reached. Tasks wait until it resets.",
        "Limit erreicht. Aufträge warten, bis es zurückgesetzt ist."),
    KESTRELUNE_TEXT(modelDetail,
        "The chosen model is not available for this account.",
        "Das gewählte Modell ist für dieses Konto nicht freigeschaltet."),
    KESTRELUNE_TEXT(signedInDetail, "Signed in", "Angemeldet"),
    KESTRELUNE_TEXT(unknownDetail, "Not checked yet", "Noch nicht geprüft"),
    KESTRELUNE_TEXT(noApps,
        "Kestrelune is still checking the apps on this Mac …",
        "Kestrelune prüft noch die Apps auf diesem Mac …"),
    KESTRELUNE_TEXT(menuOpen, "Finish setting up …", "Einrichtung abschließen …"),
    KESTRELUNE_TEXT(moveTitle, "Move Kestrelune to Applications first", "Lege Kestrelune zuerst in „Programme“"),
    KESTRELUNE_TEXT(moveBody,
        "Kestrelune runs from the download folder right now, so macOS will not keep it after a restart. Drag Kestrelune into your Applications folder, then open it from there.",
        "Kestrelune läuft gerade aus dem Download-Ordner, deshalb behält macOS es nach einem Neustart nicht. Zieh Kestrelune in den Ordner „Programme“ und öffne es dort."),
    KESTRELUNE_TEXT(openApplications, "Open Applications folder", "Ordner „Programme“ öffnen"),
    KESTRELUNE_TEXT(quitApp, "Quit Kestrelune", "Kestrelune beenden"),
    KESTRELUNE_TEXT(guideChatGPT,
        "In ChatGPT: Settings → Apps & Connectors → Advanced settings, turn on Developer mode. Then Create, name it Kestrelune and paste the address (copied for you).",
        "In ChatGPT: Einstellungen → Apps & Connectors → Erweitert, Entwicklermodus einschalten. Dann „Erstellen“, Name Kestrelune, Adresse einfügen (schon kopiert)."),
    KESTRELUNE_TEXT(guideGrok,
        "The sentence for your bot is copied. Paste it into Grok Bot, and it adds Kestrelune itself.",
        "Der Satz für deinen Bot ist kopiert. Füge ihn in Grok Bot ein, dann richtet er Kestrelune selbst ein."),
    KESTRELUNE_TEXT(guideCursor,
        "Cursor asks once whether to install Kestrelune. Click Install.",
        "Cursor fragt einmal, ob Kestrelune installiert werden soll. Klicke auf „Install“."),
    KESTRELUNE_TEXT(guideGoogle,
        "In Antigravity: Settings → Customizations → Installed MCP Servers, add a server named Kestrelune and paste the address (copied for you). Then click Authenticate.",
        "In Antigravity: Einstellungen → Customizations → Installed MCP Servers, einen Server Kestrelune hinzufügen und die Adresse einfügen (schon kopiert). Dann auf „Authenticate“ klicken."),
    KESTRELUNE_TEXT(copied, "Copied: %@", "Kopiert: %@"),
    KESTRELUNE_TEXT(firstTask, "Try your first task", "Ersten Auftrag ausprobieren"),
    KESTRELUNE_TEXT(firstTaskCopied,
        "The first task is copied. Paste it into %@.",
        "Der erste Auftrag ist kopiert. Füge ihn in %@ ein."),
    KESTRELUNE_TEXT(firstTaskSentence,
        "Ask %@ on my Mac to create hello.md with three ideas for a weekend project.",
        "Bitte %@ auf meinem Mac, hello.md mit drei Ideen für ein Wochenendprojekt anzulegen."),
    KESTRELUNE_TEXT(projectsFound,
        "Found your projects: %@. Every AI working there sees what the others did lately.",
        "Deine Projekte gefunden: %@. Jede KI dort sieht, was die anderen zuletzt gemacht haben."),
    KESTRELUNE_TEXT(projectsMore, "%@ and %d more", "%@ und %d weitere"),
};
// clang-format on

static_assert(isComplete(kRows, Key::kCount));

}  // namespace

std::string SetupCopy::text(Key key) { return kRows[static_cast<std::size_t>(key)].text(currentLanguage()); }

std::string SetupCopy::filled(Key key, std::initializer_list<text::Argument> arguments) {
  return text::filled(text(key), arguments);
}

TextTable SetupCopy::table() { return kRows; }

}  // namespace kestrelune
