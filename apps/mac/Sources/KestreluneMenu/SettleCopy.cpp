#include "SettleCopy.hpp"

namespace kestrelune {

namespace {

using SettleCopy::Key;

// clang-format off
constexpr TextRow kRows[] = {
    KESTRELUNE_TEXT(later, "Later", "Später"),
    KESTRELUNE_TEXT(settle, "Done", "Erledigt"),
    KESTRELUNE_TEXT(laterHelp, "Show it again in three hours", "In drei Stunden wieder zeigen"),
    KESTRELUNE_TEXT(settleHelp,
        "Take it off the list. The task itself stays as it is.",
        "Aus der Liste nehmen. Der Auftrag selbst bleibt, wie er ist."),
    KESTRELUNE_TEXT(laterNote, "Later · back %@", "Später · wieder %@"),
    KESTRELUNE_TEXT(settledNote, "Hidden as done", "Als erledigt ausgeblendet"),
    KESTRELUNE_TEXT(showAgain, "Show again", "Wieder zeigen"),
};
// clang-format on

static_assert(isComplete(kRows, Key::kCount));

}  // namespace

std::string SettleCopy::text(Key key) { return kRows[static_cast<std::size_t>(key)].text(currentLanguage()); }

std::string SettleCopy::filled(Key key, std::initializer_list<text::Argument> arguments) {
  return text::filled(text(key), arguments);
}

TextTable SettleCopy::table() { return kRows; }

}  // namespace kestrelune
