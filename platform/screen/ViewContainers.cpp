#include <QBoxLayout>
#include <QEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <algorithm>

#include "LongList.hpp"
#include "Metrics.hpp"
#include "ViewStyle.hpp"
#include "ViewWidgets.hpp"

namespace kestrelune::viewStyle {
namespace {

using metrics::px;

constexpr double kCardPadding = 4, kCardSide = 8;

/// Row, stack, section, panel and card.
class ContainerNode final : public ViewNode {
 public:
  ContainerNode(View::Kind kind, const Emit& emit)
      : ViewNode(new CardWidget, emit),
        layout_(new QBoxLayout(
            kind == View::Kind::row || kind == View::Kind::card ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom,
            widget())),
        children_(emit) {
    card()->onPressed = [this] { send(""); };
  }

 protected:
  void apply(const View& view) override {
    const bool card = view.kind == View::Kind::card;
    const int padding = px(view.padding > 0 ? view.padding : card ? kCardPadding : 0);
    const int side = card && view.padding <= 0 ? px(kCardSide) : padding;
    layout_->setContentsMargins(side, padding, side, padding);
    layout_->setSpacing(px(view.spacing));
    this->card()->setGround(view.kind == View::Kind::panel ? CardWidget::Ground::panel : CardWidget::Ground::none);
    this->card()->setPressable(view.pressable);
    this->card()->setWhole(view.oneElement);
    std::vector<View> children = view.children;
    if (view.kind == View::Kind::section && !view.text.empty()) {
      children.insert(children.begin(), View{.kind = View::Kind::text,
                                             .key = view.key + "/heading",
                                             .text = view.text,
                                             .role = View::Role::heading,
                                             .tint = View::Tint::secondary,
                                             .semibold = true});
    }
    children_.update(children, *layout_);
    applyCommon(*this->card(), view);
    if (view.oneElement && view.name.empty()) this->card()->setAccessibleName(joinedTexts(view));
  }

 private:
  static QString joinedTexts(const View& view) {
    QStringList parts;
    if (!view.text.empty()) parts << text(view.text);
    for (const View& child : view.children) {
      if (const QString part = joinedTexts(child); !part.isEmpty()) parts << part;
    }
    return parts.join(", ");
  }
  CardWidget* card() const { return static_cast<CardWidget*>(widget()); }

  QBoxLayout* layout_;
  ViewChildren children_;
};

/// It scrolls up and down only, so it is never narrower than what it holds.
class DownwardArea final : public QScrollArea {
 public:
  QSize minimumSizeHint() const override {
    const QSize usual = QScrollArea::minimumSizeHint();
    const int content = widget() ? widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width() : 0;
    return {std::max(usual.width(), content), usual.height()};
  }

 protected:
  bool eventFilter(QObject* object, QEvent* event) override {
    if (object == widget() && event->type() == QEvent::LayoutRequest) updateGeometry();
    return QScrollArea::eventFilter(object, event);
  }
};

class ScrollNode final : public ViewNode {
 public:
  explicit ScrollNode(const Emit& emit)
      : ViewNode(new DownwardArea, emit), content_(new QWidget), layout_(new QVBoxLayout(content_)), children_(emit) {
    area()->setFrameShape(QFrame::NoFrame);
    area()->setWidgetResizable(true);
    area()->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area()->setFocusPolicy(Qt::NoFocus);
    area()->setWidget(content_);
  }

 protected:
  void apply(const View& view) override {
    const int padding = px(view.padding);
    layout_->setContentsMargins(padding, padding, padding, padding);
    layout_->setSpacing(px(view.spacing));
    children_.update(view.children, *layout_);
    applyCommon(*area(), view);
  }

 private:
  QScrollArea* area() const { return static_cast<QScrollArea*>(widget()); }
  QWidget* content_;
  QVBoxLayout* layout_;
  ViewChildren children_;
};

class LongListNode final : public ViewNode {
 public:
  explicit LongListNode(const Emit& emit) : ViewNode(new LongList(emit), emit) {}

 protected:
  void apply(const View& view) override {
    static_cast<LongList*>(widget())->setRows(view);
    applyCommon(*widget(), view);
  }
};

}  // namespace

std::unique_ptr<ViewNode> makeContainer(View::Kind kind, const ViewNode::Emit& emit) {
  switch (kind) {
    case View::Kind::scroll: return std::make_unique<ScrollNode>(emit);
    case View::Kind::longList: return std::make_unique<LongListNode>(emit);
    case View::Kind::option:
    case View::Kind::row:
    case View::Kind::stack:
    case View::Kind::section:
    case View::Kind::panel:
    case View::Kind::card: return std::make_unique<ContainerNode>(kind, emit);
    default: return nullptr;
  }
}

}  // namespace kestrelune::viewStyle
