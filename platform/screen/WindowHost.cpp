#include "WindowHost.hpp"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>

#include "Colors.hpp"
#include "Controls.hpp"
#include "Metrics.hpp"

namespace kestrelune {
namespace {

using metrics::px;

}  // namespace

WindowHost::WindowHost(const WindowSpec& spec, const View& tree) : QWidget(nullptr, Qt::Window) {
  setAttribute(Qt::WA_QuitOnClose, false);
  emit_ = [this](const ViewEvent& event) {
    if (onEvent) onEvent(event);
  };
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  if (spec.heightFollowsContent) {
    scroll_ = new QScrollArea;
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setWidgetResizable(true);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setFocusPolicy(Qt::NoFocus);
    layout->addWidget(scroll_);
  }
  setSpec(spec);
  setTree(tree);
  if (!spec.frame) {
    resize(px(spec.width), std::max(px(spec.height), height()));
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    move(available.center() - QPoint(width() / 2, height() / 2));
    return;
  }
  // A frame from a display that is gone must not hide the window.
  QRect frame(spec.frame->x, spec.frame->y, spec.frame->width, spec.frame->height);
  QScreen* screen = QGuiApplication::screenAt(frame.center());
  const QRect available = (screen ? screen : QGuiApplication::primaryScreen())->availableGeometry();
  frame.setSize(frame.size().boundedTo(available.size()));
  if (!available.contains(frame)) frame.moveCenter(available.center());
  setGeometry(frame);
}

/// Views that go hand on the focus, and lists scroll after it: nobody is to hear of that.
WindowHost::~WindowHost() {
  onEvent = nullptr;
  onFrame = nullptr;
  onClosed = nullptr;
}

void WindowHost::setSpec(const WindowSpec& spec) {
  spec_ = spec;
  setWindowTitle(QString::fromStdString(spec.title));
  if (spec.minWidth > 0) setMinimumSize(px(spec.minWidth), px(spec.minHeight));
}

void WindowHost::setTree(const View& tree) {
  const QWidget* before = focusWidget();
  if (root_ && root_->canShow(tree)) {
    root_->update(tree);
  } else {
    root_ = ViewNode::make(tree, emit_);
    if (scroll_) {
      scroll_->setWidget(root_->widget());
    } else {
      layout()->addWidget(root_->widget());
    }
    root_->widget()->show();
  }
  fit();
  // A redraw that took away what had the focus begins anew, as a window that opens does.
  QWidget* focused = focusWidget();
  if (!focused || !focused->isVisibleTo(this) || !focused->isEnabled() || focused != before) focusFirst();
}

/// On what Return would press, else on the first control.
void WindowHost::focusFirst() {
  if (PushButton* button = primaryButton()) return button->setFocus();
  for (QWidget* widget : root_->widget()->findChildren<QWidget*>()) {
    if (!(widget->focusPolicy() & Qt::TabFocus) || !widget->isEnabled() || !widget->isVisibleTo(this)) continue;
    return widget->setFocus();
  }
}

PushButton* WindowHost::primaryButton() const {
  for (PushButton* button : findChildren<PushButton*>()) {
    if (button->style() == View::ButtonStyle::primary && button->isEnabled() && button->isVisibleTo(this))
      return button;
  }
  return nullptr;
}

/// Gives the content the height it needs, within what the display has.
void WindowHost::fit() {
  if (!scroll_) return;
  const int width = px(spec_.width);
  QLayout* content = root_->widget()->layout();
  content->activate();
  const int wanted =
      content->hasHeightForWidth() ? content->totalHeightForWidth(width) : content->totalSizeHint().height();
  const QScreen* at = screen() ? screen() : QGuiApplication::primaryScreen();
  const int most = at->availableGeometry().height() - px(48);
  setFixedSize(width, std::clamp(wanted, std::min(px(spec_.height), most), most));
}

void WindowHost::bringForward() {
  if (isMinimized()) showNormal();
  show();
  raise();
  activateWindow();
  if (!isActiveWindow()) QApplication::alert(this);
}

void WindowHost::closeEvent(QCloseEvent* event) {
  event->accept();
  if (onClosed) onClosed();
}

void WindowHost::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape || event->matches(QKeySequence::Close)) return static_cast<void>(close());
  if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) return QWidget::keyPressEvent(event);
  if (auto* button = qobject_cast<QPushButton*>(QApplication::focusWidget())) return button->animateClick();
  if (PushButton* button = primaryButton()) button->animateClick();
}

void WindowHost::resizeEvent(QResizeEvent*) { tellFrame(); }
void WindowHost::moveEvent(QMoveEvent*) { tellFrame(); }

void WindowHost::tellFrame() {
  if (!isVisible() || isMaximized() || isFullScreen() || !onFrame) return;
  onFrame({geometry().x(), geometry().y(), geometry().width(), geometry().height()});
}

bool WindowHost::event(QEvent* event) {
  if (event->type() == QEvent::LayoutRequest) fit();
  return QWidget::event(event);
}

}  // namespace kestrelune
