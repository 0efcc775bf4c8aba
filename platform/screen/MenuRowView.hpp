#pragma once

#include <QPushButton>
#include <QWidget>
#include <functional>

#include "base/MenuTree.hpp"

namespace kestrelune {

/// A small button inside an attention row.
class MenuRowButton final : public QPushButton {
  Q_OBJECT
 public:
  MenuRowButton(const std::string& title, const std::string& help, QWidget* parent);
  QSize sizeHint() const override;
  /// The part that the keyboard is at.
  void setCurrent(bool current);
  bool isCurrent() const { return current_; }
  /// The row around it is highlighted.
  void setOnAccent(bool onAccent);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  bool current_ = false;
  bool onAccent_ = false;
};

/// One row of a menu, drawn by its form. It reacts to nothing itself but its buttons: the popup that holds it knows
/// which row is current.
class MenuRowView final : public QWidget {
  Q_OBJECT
 public:
  MenuRowView(MenuRow row, QWidget* parent);

  const MenuRow& row() const { return row_; }
  /// Can be the current row.
  bool isSelectable() const;
  bool hasSubmenu() const { return !row_.children.empty(); }
  /// The width in pixels at which those of its words can be read that no tool tip tells.
  int leastWidth() const;
  /// Height at a menu's width, in pixels.
  int rowHeight(int width) const;
  void setHighlighted(bool highlighted);
  bool isHighlighted() const { return highlighted_; }

  /// Attention rows: which part the keyboard is at.
  void setPart(MenuChoice::Part part);
  MenuChoice::Part part() const { return part_; }
  /// The row itself, or the button that the keyboard is at.
  QWidget* currentWidget();
  MenuChoice choice(MenuChoice::Part part) const;

  /// What assistive tools read.
  QString accessibleText() const;

  std::function<void(MenuChoice::Part)> onChoose;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void paintNormal(QPainter& painter);
  void paintHeader(QPainter& painter);
  void paintPair(QPainter& painter);
  void paintAttention(QPainter& painter);
  void paintSection(QPainter& painter);
  void paintHighlight(QPainter& painter);
  bool isCut() const;
  int textRight() const;
  QColor textColor() const;
  QColor detailColor() const;

  const MenuRow row_;
  const QString title_, subtitle_, detail_;
  bool highlighted_ = false;
  MenuChoice::Part part_ = MenuChoice::Part::row;
  MenuRowButton* later_ = nullptr;
  MenuRowButton* done_ = nullptr;
};

}  // namespace kestrelune
