#pragma once

#include <QCheckBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>

#include "base/View.hpp"

namespace kestrelune {

/// A push button in the forms of `View::ButtonStyle`. Its title stands in one line where there is room for that.
class PushButton final : public QPushButton {
  Q_OBJECT
 public:
  PushButton();
  void setLook(const QString& text, View::ButtonStyle style);
  View::ButtonStyle style() const { return style_; }
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;
  bool hasHeightForWidth() const override { return true; }
  int heightForWidth(int width) const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  int padding() const;
  QSize around(const QSize& text) const;
  bool isPlain() const { return style_ == View::ButtonStyle::link || style_ == View::ButtonStyle::borderless; }

  View::ButtonStyle style_ = View::ButtonStyle::normal;
};

/// A check box with its title, or without one a switch.
class ToggleBox final : public QCheckBox {
  Q_OBJECT
 public:
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool hitButton(const QPoint& position) const override;
};

/// One choice of several.
class RadioBox final : public QRadioButton {
  Q_OBJECT
 public:
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool hitButton(const QPoint& position) const override;
};

/// The options of one choice, read as a group.
class RadioGroup final : public QWidget {
  Q_OBJECT
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
