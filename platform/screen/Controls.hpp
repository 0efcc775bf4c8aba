#pragma once

#include <QPushButton>
#include <QTabBar>

#include "base/View.hpp"

namespace kestrelune {

/// A push button in the forms of `View::ButtonStyle`.
class PushButton final : public QPushButton {
  Q_OBJECT
 public:
  PushButton();
  void setLook(const QString& text, View::ButtonStyle style);
  View::ButtonStyle style() const { return style_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  bool isPlain() const { return style_ == View::ButtonStyle::link || style_ == View::ButtonStyle::borderless; }

  View::ButtonStyle style_ = View::ButtonStyle::normal;
};

/// A picker of tabs: one ground, and a raised piece for the one that is chosen.
class SegmentedBar final : public QTabBar {
  Q_OBJECT
 public:
  SegmentedBar();

 protected:
  QSize tabSizeHint(int index) const override;
  QSize minimumTabSizeHint(int index) const override;
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace kestrelune
