#pragma once

#include <QAbstractScrollArea>
#include <map>
#include <memory>
#include <vector>

#include "ViewNode.hpp"

namespace kestrelune {

/// A scrolling list that makes widgets only for the rows in sight. Rows have their own heights; one that was never
/// seen counts with the usual height.
class LongList final : public QAbstractScrollArea {
  Q_OBJECT
 public:
  explicit LongList(const ViewNode::Emit& emit);

  /// Replaces the rows. What stands at the top of the view stays there, as long as it exists.
  void setRows(const std::vector<View>& rows, int padding, int spacing);
  std::size_t liveRows() const { return live_.size(); }

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  bool focusNextPrevChild(bool next) override;
  bool viewportEvent(QEvent* event) override;

 private:
  void measure();
  void layOut();
  std::size_t rowAt(int y) const;
  int heightOf(std::size_t row) const;
  int measured(const ViewNode& node) const;
  void keepFocusInSight();

  const ViewNode::Emit& emit_;
  std::vector<View> rows_;
  std::vector<int> heights_;  ///< 0: not measured yet
  std::vector<int> tops_;     ///< one more than rows: the end
  std::map<std::size_t, std::unique_ptr<ViewNode>> live_;
  int padding_ = 0, spacing_ = 0;
  bool layingOut_ = false;
};

}  // namespace kestrelune
