#pragma once

#include <QString>
#include <string>

/// Texts on their way from a message to a widget.
namespace kestrelune::texts {

/// At most that many characters on one line, whatever a file says. A text of megabytes isn't decoded to be thrown away.
QString oneLine(const std::string& text, qsizetype most);

/// The language in which the companion speaks: "de" is German, anything else English.
void setLanguage(const std::string& language);
/// "Ctrl+Q", as the keyboards of the language have it.
QString controlKey(const std::string& key);

}  // namespace kestrelune::texts
