#include "WindowHost.hpp"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <vector>

#include "Controls.hpp"
#include "Drawing.hpp"
#include "LongList.hpp"
#include "Metrics.hpp"

namespace kestrelune {
namespace {

using metrics::px;

/// How long a window must rest before its frame is told.
constexpr int kFrameRest = 150;
/// What a window's frame and a panel may take of the display's height.
constexpr double kFrameRoom = 48;

/// Everything that Tab reaches, in the order in which it is seen.
void collectStops(QWidget* widget, std::vector<QWidget*>& stops) {
  if (!widget || widget->isHidden() || !widget->isEnabled()) return;
  if ((widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus) stops.push_back(widget);
  if (const auto* list = qobject_cast<LongList*>(widget)) {
    for (QWidget* row : list->rowWidgets()) collectStops(row, stops);
  } else if (const auto* area = qobject_cast<QScrollArea*>(widget)) {
    collectStops(area->widget(), stops);
  } else if (const QLayout* layout = widget->layout()) {
    for (int i = 0; i < layout->count(); ++i) collectStops(layout->itemAt(i)->widget(), stops);
  }
}

}  // namespace

WindowHost::WindowHost(const WindowSpec& spec, const View& tree) : QWidget(nullptr, Qt::Window) {
  setAttribute(Qt::WA_QuitOnClose, false);
  setWindowIcon(drawing::windowIcon());
  frameTimer_.setSingleShot(true);
  frameTimer_.setInterval(kFrameRest);
  connect(&frameTimer_, &QTimer::timeout, this, [this] { tellFrame(); });
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
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    if (!scroll_) resize(QSize(px(spec.width), px(spec.height)).boundedTo(available.size()));
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
    replaceRoot(tree);
  }
  fit();
  // A redraw that took away what had the focus begins anew, as a window that opens does.
  QWidget* focused = focusWidget();
  if (!focused || !focused->isVisibleTo(this) || !focused->isEnabled() || focused != before) focusFirst();
}

void WindowHost::replaceRoot(const View& tree) {
  root_ = ViewNode::make(tree, emit_);
  if (scroll_) {
    // What it showed goes the way of all views.
    scroll_->takeWidget();
    scroll_->setWidget(root_->widget());
  } else {
    layout()->addWidget(root_->widget());
  }
  root_->widget()->show();
}

/// On what Return would press, else on the first control.
void WindowHost::focusFirst() {
  if (PushButton* button = primaryButton()) return button->setFocus();
  std::vector<QWidget*> stops;
  collectStops(root_->widget(), stops);
  if (!stops.empty()) stops.front()->setFocus();
}

QAbstractScrollArea* WindowHost::scrollingPart() const {
  for (auto* area : findChildren<QAbstractScrollArea*>()) {
    const bool scrolls = qobject_cast<QScrollArea*>(area) || qobject_cast<LongList*>(area);
    if (scrolls && area->isVisible() && area->verticalScrollBar()->maximum() > 0) return area;
  }
  return nullptr;
}

PushButton* WindowHost::primaryButton() const {
  for (PushButton* button : findChildren<PushButton*>()) {
    if (button->style() == View::ButtonStyle::primary && button->isEnabled() && button->isVisibleTo(this))
      return button;
  }
  return nullptr;
}

/// What the content needs with this font, within what the display has.
int WindowHost::leastWidth() const {
  const QScreen* at = screen() ? screen() : QGuiApplication::primaryScreen();
  return std::min(root_->widget()->minimumSizeHint().width(), at->availableGeometry().width());
}

/// Gives the content the room it needs, within what the display has.
void WindowHost::fit() {
  QLayout* content = root_->widget()->layout();
  if (content) content->activate();
  if (!scroll_ && spec_.minWidth > 0) setMinimumWidth(std::max(px(spec_.minWidth), leastWidth()));
  if (!scroll_) return;
  const int width = std::max(px(spec_.width), leastWidth());
  const int wanted = content && content->hasHeightForWidth() ? content->totalHeightForWidth(width)
                                                             : root_->widget()->sizeHint().height();
  const QScreen* at = screen() ? screen() : QGuiApplication::primaryScreen();
  const int most = at->availableGeometry().height() - px(kFrameRoom);
  // Left to itself a bar that was there once stays, since the narrower content is higher.
  scroll_->setVerticalScrollBarPolicy(wanted > most ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
  setFixedSize(width, std::clamp(wanted, std::min(px(spec_.height), most), most));
}

void WindowHost::closeEvent(QCloseEvent* event) {
  event->accept();
  if (frameTimer_.isActive()) tellFrame();
  if (onClosed) onClosed();
}

void WindowHost::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape || event->matches(QKeySequence::Close)) return static_cast<void>(close());
  switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (auto* button = qobject_cast<QPushButton*>(QApplication::focusWidget())) return button->animateClick();
      if (PushButton* button = primaryButton()) button->animateClick();
      return;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End: return scroll(event->key());
    default: return QWidget::keyPressEvent(event);
  }
}

/// Keys that no control wants move what can be scrolled.
void WindowHost::scroll(int key) {
  QAbstractScrollArea* area = scrollingPart();
  if (!area) return;
  const auto action = [&] {
    switch (key) {
      case Qt::Key_Up: return QAbstractSlider::SliderSingleStepSub;
      case Qt::Key_Down: return QAbstractSlider::SliderSingleStepAdd;
      case Qt::Key_PageUp: return QAbstractSlider::SliderPageStepSub;
      case Qt::Key_PageDown: return QAbstractSlider::SliderPageStepAdd;
      case Qt::Key_Home: return QAbstractSlider::SliderToMinimum;
      default: return QAbstractSlider::SliderToMaximum;
    }
  };
  area->verticalScrollBar()->triggerAction(action());
}

/// Tab goes by what is seen, whatever came when.
bool WindowHost::focusNextPrevChild(bool next) {
  std::vector<QWidget*> stops;
  collectStops(this, stops);
  if (stops.empty()) return false;
  const auto at = std::find(stops.begin(), stops.end(), focusWidget());
  const auto count = static_cast<std::ptrdiff_t>(stops.size());
  std::ptrdiff_t index = next ? 0 : count - 1;
  if (at != stops.end()) index = (at - stops.begin() + (next ? 1 : count - 1)) % count;
  QWidget* stop = stops[static_cast<std::size_t>(index)];
  stop->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
  for (QWidget* around = stop->parentWidget(); around; around = around->parentWidget()) {
    if (auto* area = qobject_cast<QScrollArea*>(around)) area->ensureWidgetVisible(stop);
    if (auto* list = qobject_cast<LongList*>(around)) list->keepFocusInSight();
  }
  return true;
}

void WindowHost::resizeEvent(QResizeEvent*) { frameTimer_.start(); }
void WindowHost::moveEvent(QMoveEvent*) { frameTimer_.start(); }

void WindowHost::tellFrame() {
  frameTimer_.stop();
  if (!isVisible() || isMinimized() || isMaximized() || isFullScreen() || !onFrame) return;
  onFrame({geometry().x(), geometry().y(), geometry().width(), geometry().height()});
}

bool WindowHost::event(QEvent* event) {
  if (event->type() == QEvent::LayoutRequest) fit();
  const bool looksDifferent =
      event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::ApplicationFontChange;
  if (looksDifferent && root_) {
    // Colours and sizes are given to the widgets when they are made.
    setSpec(WindowSpec(spec_));
    const View tree = root_->view();
    replaceRoot(tree);
    fit();
    focusFirst();
  }
  return QWidget::event(event);
}

}  // namespace kestrelune
