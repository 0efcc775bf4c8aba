#include "AppUpdateCopy.hpp"

namespace kestrelune {

namespace {

using AppUpdateCopy::Key;

// clang-format off
constexpr TextRow kRows[] = {
    KESTRELUNE_TEXT(manualTitle, "New version of the Kestrelune App", "Neue Version der Kestrelune App"),
    KESTRELUNE_TEXT(manualBody,
        "Version %@ is ready. Download it and replace the app in your Applications folder.",
        "Version %@ ist da. Lade sie und ersetze die App im Ordner „Programme“."),
};
// clang-format on

static_assert(isComplete(kRows, Key::kCount));

}  // namespace

std::string AppUpdateCopy::text(Key key) { return kRows[static_cast<std::size_t>(key)].text(currentLanguage()); }

std::string AppUpdateCopy::filled(Key key, std::initializer_list<text::Argument> arguments) {
  return text::filled(text(key), arguments);
}

TextTable AppUpdateCopy::table() { return kRows; }

}  // namespace kestrelune
