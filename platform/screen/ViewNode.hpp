#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

#include "base/Session.hpp"
#include "base/View.hpp"

class QBoxLayout;

namespace kestrelune {

/// A view on screen: a node of the tree with its widget. Updating it touches only what differs, so that focus, scroll
/// and selection survive a redraw; a child is the same one when its key is, or, without a key, its kind and place.
class ViewNode {
 public:
  using Emit = std::function<void(const ViewEvent&)>;

  /// `emit` outlives the node.
  static std::unique_ptr<ViewNode> make(const View& view, const Emit& emit);
  virtual ~ViewNode();
  ViewNode(const ViewNode&) = delete;
  ViewNode& operator=(const ViewNode&) = delete;

  /// Whether `update` can show this view.
  bool canShow(const View& view) const { return view.kind == view_.kind && view.key == view_.key; }
  /// An equal view touches no widget.
  void update(const View& view);

  QWidget* widget() const { return widget_; }
  const View& view() const { return view_; }

 protected:
  ViewNode(QWidget* widget, const Emit& emit) : widget_(widget), emit_(emit) {}
  /// Brings the widget from what `view()` says to this.
  virtual void apply(const View& view) = 0;
  void send(const std::string& value) const { emit_({.node = view_.key, .value = value}); }

  QPointer<QWidget> widget_;
  const Emit& emit_;
  View view_;
};

/// The children of a container, in the order of its layout.
class ViewChildren {
 public:
  explicit ViewChildren(const ViewNode::Emit& emit) : emit_(emit) {}
  void update(const std::vector<View>& views, QBoxLayout& layout);

 private:
  const ViewNode::Emit& emit_;
  std::vector<std::unique_ptr<ViewNode>> nodes_;
};

}  // namespace kestrelune
