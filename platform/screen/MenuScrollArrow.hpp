#pragma once

#include <QScrollBar>
#include <QTimer>
#include <QWidget>

namespace kestrelune {

/// The edge of a menu that is longer than its display: shows that there is more, and scrolls while it is pointed at.
class MenuScrollArrow final : public QWidget {
  Q_OBJECT
 public:
  enum class Direction { up, down };

  MenuScrollArrow(Direction direction, QScrollBar& bar, QWidget* menu);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  bool hasMore() const;
  void step();

  const Direction direction_;
  QScrollBar& bar_;
  QTimer timer_;
};

}  // namespace kestrelune
