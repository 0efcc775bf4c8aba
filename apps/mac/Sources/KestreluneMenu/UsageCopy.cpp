#include "UsageCopy.hpp"

namespace kestrelune {

namespace {

using UsageCopy::Key;

// clang-format off
constexpr TextRow kRows[] = {
    KESTRELUNE_TEXT(title, "Usage", "Nutzung"),
    KESTRELUNE_TEXT(left, "%d %% left", "noch %d %%"),
    KESTRELUNE_TEXT(session, "5 hours", "5 Std."),
    KESTRELUNE_TEXT(weekly, "Week", "Woche"),
    KESTRELUNE_TEXT(monthly, "Month", "Monat"),
    KESTRELUNE_TEXT(usedResets, "%@: %d %% used · resets %@", "%@: %d %% genutzt · neu %@"),
    KESTRELUNE_TEXT(used, "%@: %d %% used", "%@: %d %% genutzt"),
    KESTRELUNE_TEXT(today, "Today", "Heute"),
    KESTRELUNE_TEXT(month, "30 days", "30 Tage"),
    KESTRELUNE_TEXT(tokens, "%@ tokens", "%@ Tokens"),
    KESTRELUNE_TEXT(apiValue, "API value about %@", "API-Wert ca. %@"),
    KESTRELUNE_TEXT(mostly, "mostly %@", "meist %@"),
    KESTRELUNE_TEXT(note,
        "Read on this Mac; none of it goes to Kestrelune. API value: what these tokens would cost at API list prices.",
        "Gelesen auf diesem Mac, nichts davon geht an Kestrelune. API-Wert: was diese Tokens zu API-Listenpreisen kosten würden."),
};
// clang-format on

static_assert(isComplete(kRows, Key::kCount));

}  // namespace

std::string UsageCopy::text(Key key) { return kRows[static_cast<std::size_t>(key)].text(currentLanguage()); }

std::string UsageCopy::filled(Key key, std::initializer_list<text::Argument> arguments) {
  return text::filled(text(key), arguments);
}

TextTable UsageCopy::table() { return kRows; }

}  // namespace kestrelune
