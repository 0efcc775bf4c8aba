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

const View* LongList::row(std::size_t index) const {
  return index >= first_ && index - first_ < rows_.size() ? &rows_[index - first_] : nullptr;
}

/// A row that goes may hand its focus on, which scrolls: not now.
LongList::~LongList() {
  layingOut_ = true;
  live_.clear();
}

void LongList::setRows(const View& view) {
  layingOut_ = true;
  const int scrolled = verticalScrollBar()->value();
  // What the user looks at stays where it is when something is added above it.
  const std::size_t top = heights_.empty() ? 0 : rowAt(scrolled);
  const View* anchor = row(top);
  const std::string anchorKey = scrolled > 0 && anchor ? anchor->key : "";
  const int offset = anchor ? scrolled - tops_[top] : 0;

  const std::size_t oldFirst = std::exchange(first_, static_cast<std::size_t>(std::max(0, view.count)));
  const std::vector<View> old = std::exchange(rows_, view.children);
  key_ = view.key;
  padding_ = metrics::px(view.padding);
  spacing_ = metrics::px(view.spacing);
  asked_.clear();

  std::map<std::string_view, std::size_t> places;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (!rows_[i].key.empty()) places.emplace(rows_[i].key, first_ + i);
  }
  const auto found = anchorKey.empty() ? places.end() : places.find(anchorKey);
  const std::ptrdiff_t moved =
      found == places.end() ? 0 : static_cast<std::ptrdiff_t>(found->second) - static_cast<std::ptrdiff_t>(top);
  heights_.resize(std::max(first_ + rows_.size(), static_cast<std::size_t>(std::max(0, view.total))), 0);
  moveHeights(moved);

  std::map<std::size_t, std::unique_ptr<ViewNode>> live = std::move(live_);
  live_.clear();
  for (auto& [index, node] : live) {
    const std::string& key = node->view().key;
    const auto place = key.empty() ? places.end() : places.find(key);
    const std::size_t now = place != places.end() ? place->second : index + static_cast<std::size_t>(moved);
    const View* shown = row(now);
    if (now >= heights_.size() || (shown && !node->canShow(*shown))) continue;
    if (shown && node->view() != *shown) {
      heights_[now] = 0;
      node->update(*shown);
    }
    live_[now] = std::move(node);
  }
  for (std::size_t i = 0; i < old.size(); ++i) {
    const std::size_t now = oldFirst + i + static_cast<std::size_t>(moved);
    if (const View* shown = row(now); shown && !(*shown == old[i])) heights_[now] = 0;
  }
  measure();
  layingOut_ = false;
  if (found != places.end()) verticalScrollBar()->setValue(tops_[found->second] + offset);
  layOut();
}

/// Heights follow the rows that they were measured for.
void LongList::moveHeights(std::ptrdiff_t by) {
  const auto size = static_cast<std::ptrdiff_t>(heights_.size());
  if (by > 0) {
    heights_.insert(heights_.begin(), static_cast<std::size_t>(std::min(by, size)), 0);
    heights_.resize(static_cast<std::size_t>(size));
  } else if (by < 0) {
    heights_.erase(heights_.begin(), heights_.begin() + std::min(-by, size));
    heights_.resize(static_cast<std::size_t>(size), 0);
  }
}

/// Once for the same rows: the answer may be on its way.
void LongList::ask(std::size_t first, std::size_t last) {
  const std::string wanted = std::to_string(first) + "-" + std::to_string(last);
  if (wanted == asked_) return;
  asked_ = wanted;
  emit_({.node = key_, .value = wanted});
}

int LongList::heightOf(std::size_t row) const { return heights_[row] > 0 ? heights_[row] : metrics::px(kUsualHeight); }

void LongList::measure() {
  tops_.resize(heights_.size() + 1);
  int y = padding_;
  for (std::size_t i = 0; i < heights_.size(); ++i) {
    tops_[i] = y;
    y += heightOf(i) + spacing_;
  }
  tops_[heights_.size()] = y;
  const int content = y - (heights_.empty() ? 0 : spacing_) + padding_;
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

QSize LongList::minimumSizeHint() const {
  const QSize usual = QAbstractScrollArea::minimumSizeHint();
  const int rows = leastWidth_ + 2 * padding_ + verticalScrollBar()->sizeHint().width();
  return {std::max(usual.width(), rows), usual.height()};
}

void LongList::layOut() {
  if (layingOut_) return;
  if (heights_.empty()) return live_.clear();
  layingOut_ = true;
  const int width = viewport()->width() - 2 * padding_;
  std::size_t first = 0, last = 0;
  bool made = false, missing = false;
  // Measuring what comes into sight may move what is in sight.
  for (int pass = 0; pass < kMostPasses; ++pass) {
    const int top = verticalScrollBar()->value();
    first = rowAt(top);
    first = first > kMargin ? first - kMargin : 0;
    last = std::min(heights_.size() - 1, rowAt(top + viewport()->height()) + kMargin);
    bool changed = false;
    missing = false;
    for (std::size_t i = first; i <= last; ++i) {
      const View* view = row(i);
      if (!view) {
        missing = true;
        continue;
      }
      auto& node = live_[i];
      if (!node) {
        node = ViewNode::make(*view, emit_);
        node->widget()->setParent(viewport());
        made = true;
      }
      const int height = measured(*node);
      changed = changed || heightOf(i) != height;
      heights_[i] = height;
    }
    if (!changed) break;
    measure();
  }
  // What has the focus stays alive where it is, however far that is out of sight.
  const QWidget* focused = QApplication::focusWidget();
  std::erase_if(live_, [&](const auto& entry) {
    const bool inSight = entry.first >= first && entry.first <= last && row(entry.first);
    return !inSight && !(focused && entry.second->widget()->isAncestorOf(focused)) && entry.second->widget() != focused;
  });
  const int scrolled = verticalScrollBar()->value();
  for (auto& [index, node] : live_) {
    node->widget()->setGeometry(padding_, tops_[index] - scrolled, width, heightOf(index));
    node->widget()->show();
    // Assistive tools read the rows in the order in which their parent has them.
    if (made) node->widget()->raise();
  }
  layingOut_ = false;
  int least = leastWidth_;
  for (const auto& [index, node] : live_) least = std::max(least, node->widget()->minimumSizeHint().width());
  if (std::exchange(leastWidth_, least) != least) updateGeometry();
  if (missing) ask(first, last);
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

std::vector<QWidget*> LongList::rowWidgets() const {
  std::vector<QWidget*> result;
  for (const auto& [index, node] : live_) result.push_back(node->widget());
  return result;
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
