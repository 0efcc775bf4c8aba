#include "MenuPopup.hpp"

#include <QAccessible>
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QWindow>
#include <algorithm>

#include "Colors.hpp"
#include "Drawing.hpp"
#include "Metrics.hpp"
#include "XServer.hpp"

namespace kestrelune {
namespace {

using metrics::px;

constexpr double kMenuWidth = 368, kWidestMenu = 552, kVerticalPadding = 6, kCorner = 7, kArrowHeight = 16,
                 kScreenMargin = 4;
/// Of the display's height: with less room than this beside its place, a long menu rather covers that place.
constexpr double kEnoughRoom = 0.7;
constexpr int kSubmenuDelay = 180, kGrabInterval = 30, kGrabAttempts = 10;
/// In milliseconds: the release of the click that opened the menu comes within them, and chooses nothing.
constexpr qint64 kOpeningClick = 250;

QRect availableAt(const QPoint& place) {
  QScreen* screen = QGuiApplication::screenAt(place);
  return (screen ? screen : QGuiApplication::primaryScreen())->availableGeometry();
}

}  // namespace

MenuPopup::MenuPopup(MenuTree menu, MenuPopup* parentMenu)
    : QWidget(parentMenu, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint),
      menu_(std::move(menu)),
      parentMenu_(parentMenu),
      scroll_(new QScrollArea(this)),
      content_(new QWidget),
      up_(new MenuScrollArrow(MenuScrollArrow::Direction::up, *scroll_->verticalScrollBar(), this)),
      down_(new MenuScrollArrow(MenuScrollArrow::Direction::down, *scroll_->verticalScrollBar(), this)) {
  setAttribute(Qt::WA_TranslucentBackground);
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setAccessibleName("Kestrelune");
  scroll_->setFrameShape(QFrame::NoFrame);
  scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  scroll_->setFocusPolicy(Qt::NoFocus);
  scroll_->viewport()->setAutoFillBackground(false);
  scroll_->setAutoFillBackground(false);
  content_->setMouseTracking(true);
  scroll_->viewport()->setMouseTracking(true);
  scroll_->setWidget(content_);
  // The ground is the popup's own; taking the widget in gave it one.
  content_->setAutoFillBackground(false);
  submenuTimer_.setSingleShot(true);
  submenuTimer_.setInterval(kSubmenuDelay);
  connect(&submenuTimer_, &QTimer::timeout, this, [this] { submenuDue(); });
  fill();
}

MenuPopup::~MenuPopup() { closed_ = true; }

MenuPopup& MenuPopup::root() { return parentMenu_ ? parentMenu_->root() : *this; }

void MenuPopup::fill() {
  for (MenuRow& row : menu_) {
    auto* view = new MenuRowView(row, content_);
    view->installEventFilter(this);
    view->onChoose = [this, view](MenuChoice::Part part) { choose(view, part); };
    rows_.push_back(view);
  }
  layOut();
}

void MenuPopup::layOut() {
  const int padding = px(kVerticalPadding);
  int width = px(kMenuWidth), y = 0;
  for (const MenuRowView* view : rows_) width = std::max(width, std::min(view->leastWidth(), px(kWidestMenu)));
  for (MenuRowView* view : rows_) {
    const int height = view->rowHeight(width);
    view->setGeometry(0, y, width, height);
    y += height;
  }
  content_->resize(width, y);
  const QRect box = fitted({width, y + 2 * padding});
  const bool scrolls = box.height() < y + 2 * padding;
  const int edge = scrolls ? px(kArrowHeight) : padding;
  setGeometry(box);
  scroll_->setGeometry(0, edge, width, box.height() - 2 * edge);
  up_->setGeometry(0, 0, width, edge);
  down_->setGeometry(0, box.height() - edge, width, edge);
  drawing::cutCorners(*this, px(kCorner));
  up_->setVisible(scrolls);
  down_->setVisible(scrolls);
}

/// Where a menu of that size stands: below its place, above it where there is no room below as at a panel at the
/// bottom edge, and no higher than the display.
QRect MenuPopup::fitted(const QSize& wanted) const {
  const int margin = px(kScreenMargin), width = wanted.width();
  int height = wanted.height();
  const QRect available = availableAt(place_).adjusted(margin, margin, -margin, -margin);
  const int x = std::clamp(place_.x(), available.left(), std::max(available.left(), available.right() + 1 - width));
  const int below = available.bottom() + 1 - place_.y(), above = place_.y() - available.top();
  int y = place_.y();
  if (!parentMenu_ && height > below) {
    const int room = std::max(below, above);
    if (room >= kEnoughRoom * available.height()) height = std::min(height, room);
    if (height > below && height <= above) y -= height;
  }
  height = std::min(height, available.height());
  return {x, std::clamp(y, available.top(), available.bottom() + 1 - height), width, height};
}

void MenuPopup::setMenu(MenuTree menu) {
  if (menu == menu_) return;
  const std::optional<MenuRow> before = current_ ? std::optional(current_->row()) : std::nullopt;
  const MenuChoice::Part part = current_ ? current_->part() : MenuChoice::Part::row;
  std::unique_ptr<MenuPopup> open = std::move(submenu_);
  current_ = nullptr;
  pointed_.reset();
  // A row may be in the middle of handling the event that led here.
  for (MenuRowView* view : rows_) view->hide(), view->deleteLater();
  rows_.clear();
  menu_ = std::move(menu);
  const int scrolled = scroll_->verticalScrollBar()->value();
  fill();
  for (MenuRowView* view : rows_) view->show();
  scroll_->verticalScrollBar()->setValue(scrolled);

  const auto same = std::find_if(rows_.begin(), rows_.end(), [&](const MenuRowView* view) {
    return before && view->isSelectable() && view->row().form == before->form && view->row().title == before->title &&
           view->row().settleKey == before->settleKey;
  });
  if (same != rows_.end()) {
    setCurrent(*same);
    current_->setPart(part);
  }
  submenu_ = std::move(open);
  if (!submenu_) return;
  if (current_ && current_->hasSubmenu()) return submenu_->setMenu(current_->row().children);
  closeSubmenu();
}

void MenuPopup::openAt(const QPoint& place) {
  place_ = place;
  layOut();
  show();
  raise();
  activateWindow();
  setFocus(Qt::PopupFocusReason);
  opened_.start();
  QAccessibleEvent started(this, QAccessible::PopupMenuStart);
  QAccessible::updateAccessibility(&started);
  if (!parentMenu_ && xserver::inUse()) tryGrab(kGrabAttempts);
}

/// A panel that was clicked may hold the pointer for a moment; without it the menu would close at nothing.
void MenuPopup::tryGrab(int attempts) {
  // A submenu that is open by now has what it needs.
  if (!isVisible() || attempts == 0 || submenu_ || grabInput()) return;
  QTimer::singleShot(kGrabInterval, this, [this, attempts] { tryGrab(attempts - 1); });
}

bool MenuPopup::grabInput() {
  QWindow* window = windowHandle();
  return window && window->setMouseGrabEnabled(true) && window->setKeyboardGrabEnabled(true);
}

void MenuPopup::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  drawing::surface(painter, *this, px(kCorner));
}

void MenuPopup::setCurrent(MenuRowView* row) {
  if (row == current_) return;
  if (current_) current_->setHighlighted(false);
  closeSubmenu();
  submenuTimer_.stop();
  pointed_.reset();
  current_ = row;
  if (!row) return;
  row->setHighlighted(true);
  scroll_->ensureWidgetVisible(row, 0, 0);
  tellFocus();
}

/// Assistive tools follow the row, or the button in it, that a press would choose.
void MenuPopup::tellFocus() {
  QAccessibleEvent focused(current_->currentWidget(), QAccessible::Focus);
  QAccessible::updateAccessibility(&focused);
}

void MenuPopup::choose(MenuRowView* row, MenuChoice::Part part) {
  if (row->hasSubmenu()) {
    setCurrent(row);
    return openSubmenu(false);
  }
  if (part == MenuChoice::Part::row && (!row->isSelectable() || row->row().represented.empty())) {
    // An attention row without a way to open it has only its buttons.
    return;
  }
  MenuPopup& top = root();
  top.chosen_ = row->choice(part);
  top.hide();
}

MenuRowView* MenuPopup::rowAt(const QPoint& global) const {
  if (!scroll_->viewport()->rect().contains(scroll_->viewport()->mapFromGlobal(global))) return nullptr;
  const QPoint place = content_->mapFromGlobal(global);
  for (MenuRowView* row : rows_) {
    if (row->geometry().contains(place)) return row;
  }
  return nullptr;
}

void MenuPopup::pointAt(const QPoint& global) {
  if (!rect().contains(mapFromGlobal(global))) {
    if (parentMenu_) parentMenu_->pointAt(global);
    return;
  }
  if (parentMenu_) parentMenu_->stay();
  MenuRowView* row = rowAt(global);
  if (row && !row->isSelectable()) row = nullptr;
  if (row == current_) return stay();
  if (submenu_) {
    // The way into a submenu may lead across other rows.
    pointed_ = row;
    return submenuTimer_.start();
  }
  setCurrent(row);
  if (current_ && current_->hasSubmenu()) submenuTimer_.start();
}

/// The pointer is where the open submenu belongs, or in it.
void MenuPopup::stay() {
  if (!submenu_) return;
  pointed_.reset();
  submenuTimer_.stop();
}

void MenuPopup::submenuDue() {
  if (pointed_) setCurrent(*std::exchange(pointed_, std::nullopt));
  openSubmenu(false);
}

bool MenuPopup::eventFilter(QObject* watched, QEvent* event) {
  auto* row = qobject_cast<MenuRowView*>(watched);
  if (row && event->type() == QEvent::MouseMove) {
    pointAt(static_cast<QMouseEvent*>(event)->globalPosition().toPoint());
  } else if (row && event->type() == QEvent::MouseButtonRelease) {
    mouseReleaseEvent(static_cast<QMouseEvent*>(event));
    return true;
  } else if (row && event->type() == QEvent::MouseButtonPress) {
    pressed_ = true;
  }
  return QWidget::eventFilter(watched, event);
}

void MenuPopup::mouseMoveEvent(QMouseEvent* event) { pointAt(event->globalPosition().toPoint()); }

void MenuPopup::mousePressEvent(QMouseEvent* event) {
  // A click beside the menu closes it; one on the menu above this one is that menu's.
  const QPoint global = event->globalPosition().toPoint();
  for (MenuPopup* menu = this; menu; menu = menu->parentMenu_) {
    if (menu->rect().contains(menu->mapFromGlobal(global))) return;
  }
  root().hide();
}

void MenuPopup::mouseReleaseEvent(QMouseEvent* event) {
  if (!pressed_ && opened_.elapsed() < kOpeningClick) return;
  const QPoint global = event->globalPosition().toPoint();
  for (MenuPopup* menu = this; menu; menu = menu->parentMenu_) {
    if (MenuRowView* row = menu->rowAt(global); row && row->isSelectable()) {
      return menu->choose(row, MenuChoice::Part::row);
    }
  }
}

void MenuPopup::openSubmenu(bool selectFirst) {
  if (!current_ || !current_->hasSubmenu()) return;
  if (!submenu_) {
    submenu_ = std::make_unique<MenuPopup>(current_->row().children, this);
    const QPoint right = mapToGlobal(QPoint(width() - px(4), 0));
    const QPoint top = current_->mapToGlobal(QPoint(0, -px(kVerticalPadding)));
    const QRect available = availableAt(mapToGlobal(QPoint(0, 0)));
    const bool fits = right.x() + submenu_->width() <= available.right();
    submenu_->openAt({fits ? right.x() : mapToGlobal(QPoint(px(4), 0)).x() - submenu_->width(), top.y()});
  }
  if (selectFirst && !submenu_->current()) submenu_->move(1);
}

void MenuPopup::closeSubmenu() {
  if (!submenu_) return;
  // It may be handling the event that closes it.
  MenuPopup* old = submenu_.release();
  old->closed_ = true;
  old->hide();
  old->deleteLater();
}

void MenuPopup::hideEvent(QHideEvent*) {
  if (closed_) return;
  closed_ = true;
  closeSubmenu();
  if (parentMenu_) {
    // Closed by a click elsewhere, or by choosing: the whole menu goes.
    root().hide();
    return;
  }
  QAccessibleEvent ended(this, QAccessible::PopupMenuEnd);
  QAccessible::updateAccessibility(&ended);
  if (onClosed) onClosed();
  if (chosen_ && onChosen) onChosen(*std::exchange(chosen_, std::nullopt));
}

}  // namespace kestrelune
