#pragma once

#include <QFrame>
#include <QLabel>
#include <QTimer>
#include <QWidget>
#include <functional>

#include "base/View.hpp"

namespace kestrelune {

/// One line of text, cut at its end; the whole text is its tool tip when it doesn't fit.
class ElidedLabel final : public QWidget {
  Q_OBJECT
 public:
  using QWidget::QWidget;
  void setText(const QString& text, const QColor& color);
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString text_;
  QColor color_;
};

/// A container that may be read as one thing.
class WholeWidget : public QWidget {
  Q_OBJECT
 public:
  using QWidget::QWidget;
  void setWhole(bool whole) { whole_ = whole; }
  bool isWhole() const { return whole_; }

 private:
  bool whole_ = false;
};

/// A container on a rounded ground, or one that can be pressed as one button.
class CardWidget final : public WholeWidget {
  Q_OBJECT
 public:
  enum class Ground { none, panel };

  using WholeWidget::WholeWidget;
  void setGround(Ground ground) { ground_ = ground; }
  void setPressable(bool pressable);
  bool isPressable() const { return pressable_; }
  void press();

  std::function<void()> onPressed;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  Ground ground_ = Ground::none;
  bool pressable_ = false, down_ = false;
};

/// Something is under way.
class SpinnerWidget final : public QWidget {
  Q_OBJECT
 public:
  explicit SpinnerWidget(QWidget* parent = nullptr);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  QTimer timer_;
  int turn_ = 0;
};

class SymbolWidget final : public QWidget {
  Q_OBJECT
 public:
  using QWidget::QWidget;
  void setSymbol(View::Icon icon, View::Tint tint);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  View::Icon icon_ = View::Icon::none;
  View::Tint tint_ = View::Tint::primary;
};

/// Bars for steps, of which the first ones are filled.
class StepsWidget final : public QWidget {
  Q_OBJECT
 public:
  using QWidget::QWidget;
  void setSteps(int filled, int total);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  int filled_ = 0, total_ = 0;
};

}  // namespace kestrelune
