#include "ProblemCopy.hpp"

#include "Endpoints.hpp"

namespace kestrelune {

namespace {

using ProblemCopy::Key;

// clang-format off
constexpr TextRow kRows[] = {
    KESTRELUNE_TEXT(menu, "Report a problem …", "Problem melden …"),
    KESTRELUNE_TEXT(checking, "%@ is checking the problem …", "%@ prüft das Problem …"),
    KESTRELUNE_TEXT(title, "Report a problem", "Problem melden"),
    KESTRELUNE_TEXT(body,
        "%@ looks at how Kestrelune is doing on this Mac: its state and log, without passwords or keys. Then %@ tells you in plain words what is wrong and what you can do. The chat shows in %@. Nothing of it goes to Kestrelune.",
        "%@ sieht sich auf diesem Mac an, wie es Kestrelune geht: Zustand und Protokoll, ohne Passwörter und Schlüssel. Danach sagt %@ dir in einfachen Worten, was los ist und was du tun kannst. Der Chat erscheint in %@. Nichts davon geht an Kestrelune."),
    KESTRELUNE_TEXT(bodyNoApp,
        "Neither Codex nor Claude Code is ready on this Mac right now. Kestrelune still writes a report without passwords or keys that you can look at or send to " KESTRELUNE_SUPPORT_ADDRESS ".",
        "Gerade ist weder Codex noch Claude Code auf diesem Mac bereit. Kestrelune schreibt trotzdem einen Bericht ohne Passwörter und Schlüssel, den du dir ansehen oder an " KESTRELUNE_SUPPORT_ADDRESS " schicken kannst."),
    KESTRELUNE_TEXT(notePlaceholder, "What happened? (optional)", "Was ist passiert? (freiwillig)"),
    KESTRELUNE_TEXT(check, "Check it", "Prüfen lassen"),
    KESTRELUNE_TEXT(checkWith, "Check with %@", "Mit %@ prüfen"),
    KESTRELUNE_TEXT(cancel, "Cancel", "Abbrechen"),
    KESTRELUNE_TEXT(answered, "%@ checked the problem", "%@ hat das Problem geprüft"),
    KESTRELUNE_TEXT(failed, "Report a problem: not checked", "Problem melden: nicht geprüft"),
    KESTRELUNE_TEXT(rowTitle, "Report a problem", "Problem melden"),
    KESTRELUNE_TEXT(rowIdle,
        "Codex or Claude Code checks on this Mac what is not working.",
        "Codex oder Claude Code prüfen auf diesem Mac, was nicht klappt."),
    KESTRELUNE_TEXT(showReport, "Show report", "Bericht zeigen"),
    KESTRELUNE_TEXT(openChat, "Open chat", "Chat öffnen"),
    KESTRELUNE_TEXT(notSetUp,
        "Kestrelune is not set up on this Mac yet.",
        "Kestrelune ist auf diesem Mac noch nicht eingerichtet."),
    KESTRELUNE_TEXT(running,
        "Running now; the answer comes as a notification.",
        "Läuft gerade, die Antwort kommt als Mitteilung."),
};
// clang-format on

static_assert(isComplete(kRows, Key::kCount));

}  // namespace

std::string ProblemCopy::text(Key key) { return kRows[static_cast<std::size_t>(key)].text(currentLanguage()); }

std::string ProblemCopy::filled(Key key, std::initializer_list<text::Argument> arguments) {
  return text::filled(text(key), arguments);
}

TextTable ProblemCopy::table() { return kRows; }

}  // namespace kestrelune
