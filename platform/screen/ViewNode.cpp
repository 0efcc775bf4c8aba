#include "ViewNode.hpp"

#include <QBoxLayout>
#include <algorithm>

namespace kestrelune {

ViewNode::~ViewNode() {
  if (!widget_) return;
  // The widget may be in the middle of the event that ends it, and says nothing any more to a node that is gone.
  widget_->blockSignals(true);
  widget_->hide();
  widget_->deleteLater();
}

void ViewNode::update(const View& view) {
  if (view == view_) return;
  apply(view);
  view_ = view;
}

void ViewChildren::update(const std::vector<View>& views, QBoxLayout& layout) {
  std::vector<std::unique_ptr<ViewNode>> old = std::move(nodes_);
  nodes_.clear();
  std::size_t reusableFrom = 0;
  bool sameWidgets = old.size() == views.size();
  for (const View& view : views) {
    // Mostly the children are the same in the same order, and the first one that is left fits.
    const auto found = std::find_if(old.begin() + static_cast<std::ptrdiff_t>(reusableFrom), old.end(),
                                    [&](const auto& node) { return node && node->canShow(view); });
    if (found == old.end()) {
      nodes_.push_back(ViewNode::make(view, emit_));
      sameWidgets = false;
    } else {
      sameWidgets = sameWidgets && static_cast<std::size_t>(found - old.begin()) == nodes_.size();
      (*found)->update(view);
      nodes_.push_back(std::move(*found));
    }
    while (reusableFrom < old.size() && !old[reusableFrom]) ++reusableFrom;
  }
  if (sameWidgets) return;
  while (QLayoutItem* item = layout.takeAt(0)) delete item;
  const bool across = layout.direction() == QBoxLayout::LeftToRight;
  const auto grows = [](View::Kind kind) { return kind == View::Kind::stack || kind == View::Kind::card; };
  // A spacer takes the room that nothing else wants.
  const bool textGrows =
      across && std::any_of(nodes_.begin(), nodes_.end(), [&](const auto& node) { return grows(node->view().kind); });
  bool anyGrowsDown = across;
  for (const auto& node : nodes_) {
    const View::Kind kind = node->view().kind;
    const bool growsDown = !across && (kind == View::Kind::scroll || kind == View::Kind::longList);
    const bool growsAcross = across && (grows(kind) || (kind == View::Kind::spacer && !textGrows));
    const bool hugs =
        !across && (kind == View::Kind::button || kind == View::Kind::spinner || kind == View::Kind::icon);
    anyGrowsDown = anyGrowsDown || growsDown;
    layout.addWidget(node->widget(), growsDown || growsAcross ? 1 : 0,
                     hugs     ? Qt::AlignLeft
                     : across ? Qt::AlignVCenter
                              : Qt::Alignment());
    node->widget()->show();
    // Assistive tools read the children in the order in which their parent has them.
    node->widget()->raise();
  }
  // Room that is too much stays under the last child.
  if (!anyGrowsDown) layout.addStretch(1);
}

}  // namespace kestrelune
