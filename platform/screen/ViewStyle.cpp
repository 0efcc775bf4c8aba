#include "ViewStyle.hpp"

#include "Drawing.hpp"
#include "Metrics.hpp"

namespace kestrelune::viewStyle {

using metrics::px;

QString text(const std::string& value) { return QString::fromStdString(value); }
QString caption(const std::string& value) { return text(value).replace('&', "&&"); }

double pointsOf(View::Role role) {
  switch (role) {
    case View::Role::largeTitle: return 26;
    case View::Role::title: return 20;
    case View::Role::headline: return 14;
    case View::Role::caption: return 12;
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
  widget.setAccessibleDescription(text(view.help));
  if (view.width > 0) widget.setFixedWidth(px(view.width));
  if (view.height > 0) widget.setFixedHeight(px(view.height));
}

void colour(QWidget& widget, const QColor& color) {
  QPalette palette = widget.palette();
  palette.setColor(QPalette::WindowText, color);
  widget.setPalette(palette);
}

}  // namespace kestrelune::viewStyle
