#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>

#include "ViewNode.hpp"
#include "base/Session.hpp"

class QAbstractScrollArea;
class QScrollArea;

namespace kestrelune {

class PushButton;

/// One window of the companion: a tree of views in a frame.
class WindowHost final : public QWidget {
  Q_OBJECT
 public:
  WindowHost(const WindowSpec& spec, const View& tree);
  ~WindowHost() override;

  void setSpec(const WindowSpec& spec);
  void setTree(const View& tree);
  const WindowSpec& spec() const { return spec_; }

  std::function<void(const ViewEvent&)> onEvent;
  std::function<void()> onClosed;
  std::function<void(const Rect&)> onFrame;  ///< at rest, not for each step of a drag

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  bool event(QEvent* event) override;
  bool focusNextPrevChild(bool next) override;

 private:
  void replaceRoot(const View& tree);
  void fit();
  int leastWidth() const;
  void scroll(int key);
  QAbstractScrollArea* scrollingPart() const;
  void focusFirst();
  PushButton* primaryButton() const;
  void tellFrame();

  WindowSpec spec_;
  ViewNode::Emit emit_;
  std::unique_ptr<ViewNode> root_;
  QTimer frameTimer_;
  QScrollArea* scroll_ = nullptr;  ///< where the height follows the content: it may not fit the display
};

}  // namespace kestrelune
