#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>

#include "Colors.hpp"
#include "Metrics.hpp"
#include "ViewStyle.hpp"
#include "ViewWidgets.hpp"

namespace kestrelune {
namespace {

using namespace viewStyle;
using metrics::px;

class TextLabel final : public QLabel {
 protected:
  void keyPressEvent(QKeyEvent* event) override {
    if (!event->matches(QKeySequence::Copy) || !hasSelectedText()) return QLabel::keyPressEvent(event);
    QGuiApplication::clipboard()->setText(unbroken(selectedText()));
  }
};

class TextNode final : public ViewNode {
 public:
  explicit TextNode(const Emit& emit) : ViewNode(new TextLabel, emit) {
    auto& label = *static_cast<QLabel*>(widget());
    label.setTextFormat(Qt::PlainText);
    // A title in a language that is written from the right stands where its neighbours do.
    label.setAlignment(Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter);
  }

 protected:
  void apply(const View& view) override {
    auto& label = *static_cast<QLabel*>(widget());
    label.setWordWrap(view.width <= 0);
    label.setFont(metrics::font(pointsOf(view.role), view.semibold));
    colour(label, colors::tint(view.tint));
    label.setTextInteractionFlags(view.selectable ? Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard
                                                  : Qt::NoTextInteraction);
    // Setting the same text again would lose what the user has selected in it.
    const QString shown = breakable(text(view.text));
    if (label.text() != shown) label.setText(shown);
    // A heading stands closer to what it heads than to what is before it.
    label.setContentsMargins(0, view.role == View::Role::heading ? px(8) : 0, 0, 0);
    applyCommon(label, view);
    // A column that would cut its text with this font gives way.
    if (view.width > 0) label.setFixedWidth(std::max(px(view.width), label.sizeHint().width()));
  }
};

class ElidedNode final : public ViewNode {
 public:
  explicit ElidedNode(const Emit& emit) : ViewNode(new ElidedLabel, emit) {}

 protected:
  void apply(const View& view) override {
    auto& label = *static_cast<ElidedLabel*>(widget());
    label.setFont(metrics::font(pointsOf(view.role), view.semibold));
    label.setText(text(view.text), colors::tint(view.tint));
    applyCommon(label, view);
  }
};

/// Divider, spacer, spinner, icon and progress: drawn, and never asked.
class DrawnNode final : public ViewNode {
 public:
  DrawnNode(View::Kind kind, const Emit& emit) : ViewNode(widgetFor(kind), emit) {}

 protected:
  void apply(const View& view) override {
    if (auto* symbol = qobject_cast<SymbolWidget*>(widget())) symbol->setSymbol(view.icon, view.tint);
    if (auto* steps = qobject_cast<StepsWidget*>(widget())) steps->setSteps(view.count, view.total);
    applyCommon(*widget(), view);
  }

 private:
  static QWidget* widgetFor(View::Kind kind) {
    switch (kind) {
      case View::Kind::icon: return new SymbolWidget;
      case View::Kind::progress: return new StepsWidget;
      case View::Kind::spinner: return new SpinnerWidget;
      default: break;
    }
    auto* widget = new QWidget;
    if (kind == View::Kind::divider) {
      widget->setFixedHeight(1);
      QPalette palette;
      palette.setColor(QPalette::Window, colors::separator());
      widget->setPalette(palette);
      widget->setAutoFillBackground(true);
    } else {
      widget->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }
    return widget;
  }
};

std::unique_ptr<ViewNode> blank(const View& view, const ViewNode::Emit& emit) {
  if (view.kind == View::Kind::text) {
    if (view.truncates) return std::make_unique<ElidedNode>(emit);
    return std::make_unique<TextNode>(emit);
  }
  if (auto control = makeControl(view.kind, emit)) return control;
  if (auto container = makeContainer(view.kind, emit)) return container;
  return std::make_unique<DrawnNode>(view.kind, emit);
}

}  // namespace

std::unique_ptr<ViewNode> ViewNode::make(const View& view, const Emit& emit) {
  std::unique_ptr<ViewNode> node = blank(view, emit);
  node->apply(view);
  node->view_ = view;
  return node;
}

}  // namespace kestrelune
