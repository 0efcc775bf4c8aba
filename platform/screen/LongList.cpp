#include "LongList.hpp"

#include <QApplication>
#include <QEvent>
#include <QLayout>
#include <QScrollBar>
#include <algorithm>

#include "Metrics.hpp"

namespace kestrelune {
namespace {

/// Rows beyond the edges that are kept alive, so that the keyboard can move into them.
constexpr std::size_t kMargin = 4;
constexpr double kUsualHeight = 42;
constexpr int kMostPasses = 4;

}  // namespace

LongList::LongList(const ViewNode::Emit& emit) : emit_(emit) {
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setFocusPolicy(Qt::NoFocus);
  viewport()->setAutoFillBackground(false);
  // A viewport is ground for entered text, and labels on it would take that colour.
  viewport()->setBackgroundRole(QPalette::Window);
}

void LongList::setRows(const std::vector<View>& rows, int padding, int spacing) {
  // What the user looks at stays where it is when something is added above it.
  const int scrolled = verticalScrollBar()->value();
  const std::size_t top = rows_.empty() ? 0 : rowAt(scrolled);
  const std::string anchor = top < rows_.size() ? rows_[top].key : "";
  const int offset = top < rows_.size() ? scrolled - tops_[top] : 0;

  std::map<std::string, std::pair<std::unique_ptr<ViewNode>, int>> keyed;
  std::map<std::size_t, std::unique_ptr<ViewNode>> unkeyed;
  for (auto& [index, node] : live_) {
    if (rows_[index].key.empty()) {
      unkeyed[index] = std::move(node);
    } else {
      keyed[rows_[index].key] = {std::move(node), heights_[index]};
    }
  }
  live_.clear();
  std::vector<int> heights(rows.size(), 0);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i < rows_.size() && rows[i] == rows_[i]) heights[i] = heights_[i];
    std::unique_ptr<ViewNode> node;
    if (rows[i].key.empty()) {
      if (const auto found = unkeyed.find(i); found != unkeyed.end()) node = std::move(found->second);
    } else if (const auto found = keyed.find(rows[i].key); found != keyed.end()) {
      node = std::move(found->second.first);
    }
    if (!node || !node->canShow(rows[i])) continue;
    if (node->view() != rows[i]) heights[i] = 0;
    node->update(rows[i]);
    live_[i] = std::move(node);
  }
  rows_ = rows;
  heights_ = std::move(heights);
  padding_ = padding;
  spacing_ = spacing;
  measure();
  if (!anchor.empty() && scrolled > 0) {
    const auto found = std::find_if(rows_.begin(), rows_.end(), [&](const View& row) { return row.key == anchor; });
    if (found != rows_.end()) {
      verticalScrollBar()->setValue(tops_[static_cast<std::size_t>(found - rows_.begin())] + offset);
    }
  }
  layOut();
}

int LongList::heightOf(std::size_t row) const { return heights_[row] > 0 ? heights_[row] : metrics::px(kUsualHeight); }

void LongList::measure() {
  tops_.resize(rows_.size() + 1);
  int y = padding_;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    tops_[i] = y;
    y += heightOf(i) + spacing_;
  }
  tops_[rows_.size()] = y;
  const int content = y - (rows_.empty() ? 0 : spacing_) + padding_;
  verticalScrollBar()->setPageStep(viewport()->height());
  verticalScrollBar()->setSingleStep(metrics::px(20));
  verticalScrollBar()->setRange(0, std::max(0, content - viewport()->height()));
}

std::size_t LongList::rowAt(int y) const {
  const auto next = std::upper_bound(tops_.begin(), tops_.end(), y);
  return next == tops_.begin() ? 0 : static_cast<std::size_t>(next - tops_.begin()) - 1;
}

int LongList::measured(const ViewNode& node) const {
  const int width = viewport()->width() - 2 * padding_;
  QWidget* widget = node.widget();
  if (widget->layout() && widget->layout()->hasHeightForWidth()) return widget->layout()->totalHeightForWidth(width);
  if (widget->hasHeightForWidth()) return widget->heightForWidth(width);
  return widget->sizeHint().height();
}

void LongList::layOut() {
  if (layingOut_ || rows_.empty()) {
    if (rows_.empty()) live_.clear();
    return;
  }
  layingOut_ = true;
  const int width = viewport()->width() - 2 * padding_;
  std::size_t first = 0, last = 0;
  // Measuring what comes into sight may move what is in sight.
  for (int pass = 0; pass < kMostPasses; ++pass) {
    const int top = verticalScrollBar()->value();
    first = rowAt(top);
    first = first > kMargin ? first - kMargin : 0;
    last = std::min(rows_.size() - 1, rowAt(top + viewport()->height()) + kMargin);
    bool changed = false;
    for (std::size_t i = first; i <= last; ++i) {
      auto& node = live_[i];
      if (!node) {
        node = ViewNode::make(rows_[i], emit_);
        node->widget()->setParent(viewport());
      }
      const int height = measured(*node);
      changed = changed || heightOf(i) != height;
      heights_[i] = height;
    }
    if (!changed) break;
    measure();
  }
  const QWidget* focused = QApplication::focusWidget();
  std::erase_if(live_, [&](const auto& entry) {
    const bool inSight = entry.first >= first && entry.first <= last;
    return !inSight && !(focused && entry.second->widget()->isAncestorOf(focused)) && entry.second->widget() != focused;
  });
  const int scrolled = verticalScrollBar()->value();
  for (auto& [index, node] : live_) {
    node->widget()->setGeometry(padding_, tops_[index] - scrolled, width, heightOf(index));
    node->widget()->show();
  }
  layingOut_ = false;
}

void LongList::resizeEvent(QResizeEvent*) {
  std::fill(heights_.begin(), heights_.end(), 0);
  measure();
  layOut();
}

void LongList::scrollContentsBy(int, int) { layOut(); }

/// A row that changed its own size, as a text does when its font changes, is measured anew.
bool LongList::viewportEvent(QEvent* event) {
  if (event->type() == QEvent::LayoutRequest) layOut();
  return QAbstractScrollArea::viewportEvent(event);
}

bool LongList::focusNextPrevChild(bool next) {
  const bool moved = QAbstractScrollArea::focusNextPrevChild(next);
  keepFocusInSight();
  return moved;
}

void LongList::keepFocusInSight() {
  QWidget* focused = QApplication::focusWidget();
  if (!focused || !viewport()->isAncestorOf(focused)) return;
  const QRect box(focused->mapTo(viewport(), QPoint(0, 0)), focused->size());
  QScrollBar* bar = verticalScrollBar();
  if (box.top() < 0) bar->setValue(bar->value() + box.top());
  if (box.bottom() > viewport()->height()) bar->setValue(bar->value() + box.bottom() - viewport()->height());
}

}  // namespace kestrelune
