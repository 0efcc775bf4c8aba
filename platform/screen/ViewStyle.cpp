#include "ViewStyle.hpp"

#include "Drawing.hpp"
#include "Metrics.hpp"

namespace kestrelune::viewStyle {

using metrics::px;

constexpr QChar kBreak(0x200B);

QString text(const std::string& value) { return QString::fromStdString(value); }
QString caption(const std::string& value) { return text(value).replace('&', "&&"); }

QString breakable(const QString& text) {
  constexpr int kLongestPiece = 24;
  QString result;
  int length = 0;
  for (const QChar c : text) {
    length = c.isSpace() || c == u'-' ? 0 : length + 1;
    // Never between the halves of a character, or before what belongs to the one before.
    if (length > kLongestPiece && !c.isLowSurrogate() && !c.isMark()) {
      result += kBreak;
      length = 1;
    }
    result += c;
  }
  return result;
}

QString unbroken(QString text) { return text.remove(kBreak); }

double pointsOf(View::Role role) {
  switch (role) {
    case View::Role::largeTitle: return 26;
    case View::Role::title: return 20;
    case View::Role::headline: return 14;
    case View::Role::caption:
    case View::Role::heading: return 12;
    case View::Role::footnote: return 11;
    case View::Role::body:
    case View::Role::monospaced: break;
  }
  return 13;
}

void applyCommon(QWidget& widget, const View& view) {
  widget.setEnabled(view.enabled);
  widget.setToolTip(drawing::plainToolTip(text(view.toolTip)));
  widget.setAccessibleName(text(view.name.empty() ? view.text : view.name));
  widget.setAccessibleDescription(text(view.help.empty() ? view.toolTip : view.help));
  if (view.width > 0) widget.setFixedWidth(px(view.width));
  if (view.height > 0) widget.setFixedHeight(px(view.height));
}

void colour(QWidget& widget, const QColor& color) {
  QPalette palette = widget.palette();
  palette.setColor(QPalette::WindowText, color);
  widget.setPalette(palette);
}

}  // namespace kestrelune::viewStyle
