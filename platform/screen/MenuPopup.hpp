#pragma once

#include <QElapsedTimer>
#include <QScrollArea>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "MenuRowView.hpp"
#include "MenuScrollArrow.hpp"

namespace kestrelune {

/// A menu with our own rows: our own, since a toolkit's menu rows hold no buttons that a keyboard or a screen reader
/// can reach. Submenus are popups of their own, made when they open.
class MenuPopup final : public QWidget {
  Q_OBJECT
 public:
  /// `parentMenu`: the menu of which this is a submenu, or null.
  MenuPopup(MenuTree menu, MenuPopup* parentMenu);
  ~MenuPopup() override;

  /// Replaces the rows. The current row stays current, with its submenu, where one of its form and title is there.
  void setMenu(MenuTree menu);
  /// Opens with a corner at `place` (screen coordinates), on whichever side there is room. While a panel holds the
  /// pointer it tries again, for about 300 ms.
  void openAt(const QPoint& place);

  std::function<void(const MenuChoice&)> onChosen;  ///< after the menu has closed
  std::function<void()> onClosed;                   ///< once, however it closes

  const std::vector<MenuRowView*>& rows() const { return rows_; }
  MenuRowView* current() const { return current_; }
  MenuPopup* submenu() const { return submenu_.get(); }
  /// Chooses a part of a row as a click would.
  void choose(MenuRowView* row, MenuChoice::Part part);
  /// A mouse position in screen coordinates; submenus hand theirs up.
  void pointAt(const QPoint& global);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool event(QEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void fill();
  void layOut();
  QRect fitted(const QSize& wanted) const;
  void tryGrab(int attempts);
  bool grabInput();
  void stay();
  void submenuDue();
  void setCurrent(MenuRowView* row);
  void move(int step);
  void movePage(int direction);
  void movePart(int step);
  void activateCurrent();
  bool pressKeyEquivalent(const QString& key);
  bool moveToLetter(const QString& letter);
  void openSubmenu(bool selectFirst);
  void closeSubmenu();
  void tellFocus();
  MenuPopup& root();
  MenuRowView* rowAt(const QPoint& global) const;

  MenuTree menu_;
  MenuPopup* const parentMenu_;
  QScrollArea* scroll_;
  QWidget* content_;
  MenuScrollArrow *up_, *down_;
  std::vector<MenuRowView*> rows_;
  MenuRowView* current_ = nullptr;
  std::unique_ptr<MenuPopup> submenu_;
  std::optional<MenuRowView*> pointed_;  ///< where the pointer rests while the submenu of another row is open
  QTimer submenuTimer_;
  QElapsedTimer opened_;
  bool pressed_ = false;
  std::optional<MenuChoice> chosen_;
  QPoint place_;
  bool closed_ = false;
};

}  // namespace kestrelune
