#include "Texts.hpp"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <utility>

namespace kestrelune::texts {
namespace {

constexpr qsizetype kMostBytes = 4;  // of a character
bool german = false;

bool endsLine(QChar c) {
  return c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

}  // namespace

QString oneLine(const std::string& text, qsizetype most) {
  const auto bytes = std::min(static_cast<qsizetype>(text.size()), kMostBytes * most);
  QString result = QString::fromUtf8(text.data(), bytes);
  // Never between the halves of a character.
  if (result.size() > most) result.truncate(result.at(most - 1).isHighSurrogate() ? most - 1 : most);
  for (QChar& c : result) {
    if (endsLine(c)) c = u' ';
  }
  return result;
}

void setLanguage(const std::string& language) {
  if (std::exchange(german, language.starts_with("de")) || !german) return;
  // For the menus of fields, which are the toolkit's.
  auto* translator = new QTranslator(QCoreApplication::instance());
  if (translator->load("qtbase_de", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(translator);
  }
}

QString controlKey(const std::string& key) { return (german ? "Strg+" : "Ctrl+") + oneLine(key, 8).toUpper(); }

}  // namespace kestrelune::texts
