#pragma once

#include <QAbstractScrollArea>
#include <map>
#include <memory>
#include <vector>

#include "ViewNode.hpp"

namespace kestrelune {

/// A scrolling list that makes widgets only for the rows in sight. Rows have their own heights; one that was never
/// seen counts with the usual height. Of a list of any length it holds a piece, and asks for another one in time.
class LongList final : public QAbstractScrollArea {
  Q_OBJECT
 public:
  explicit LongList(const ViewNode::Emit& emit);
  ~LongList() override;

  /// Replaces the rows: `view`'s children, of which the first is number `view.count` of `view.total`; without a total
  /// they are all. What stands at the top of the sight stays there, as long as it exists.
  void setRows(const View& view);
  std::size_t liveRows() const { return live_.size(); }
  /// Those of the rows that have one, from top to bottom.
  std::vector<QWidget*> rowWidgets() const;
  /// It scrolls up and down only, so it is never narrower than a row that it had in sight.
  QSize minimumSizeHint() const override;
  /// Scrolls to what has the focus, if that is one of the rows.
  void keepFocusInSight();

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  bool viewportEvent(QEvent* event) override;

 private:
  const View* row(std::size_t index) const;
  void moveHeights(std::ptrdiff_t by);
  void ask(std::size_t first, std::size_t last);
  void measure();
  void layOut();
  std::size_t rowAt(int y) const;
  int heightOf(std::size_t row) const;
  int measured(const ViewNode& node) const;

  const ViewNode::Emit& emit_;
  std::string key_;
  std::size_t first_ = 0;  ///< the number of `rows_.front()`
  std::vector<View> rows_;
  std::vector<int> heights_;  ///< of all rows, 0: not measured yet
  std::vector<int> tops_;     ///< one more than rows: the end
  std::string asked_;
  std::map<std::size_t, std::unique_ptr<ViewNode>> live_;
  int padding_ = 0, spacing_ = 0;
  int leastWidth_ = 0;
  bool layingOut_ = false;
};

}  // namespace kestrelune
