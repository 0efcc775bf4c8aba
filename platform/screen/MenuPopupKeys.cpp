#include <QApplication>
#include <QKeyEvent>
#include <algorithm>

#include "MenuPopup.hpp"
#include "Texts.hpp"

/// The keyboard in a menu.
namespace kestrelune {
namespace {

constexpr int kPage = 10;
constexpr qsizetype kMostTyped = 8;

}  // namespace

void MenuPopup::move(int step) {
  if (rows_.empty()) return;
  const auto count = static_cast<int>(rows_.size());
  const auto at = std::find(rows_.begin(), rows_.end(), current_);
  int index = current_ ? static_cast<int>(at - rows_.begin()) : step > 0 ? -1 : count;
  for (int tried = 0; tried < count; ++tried) {
    index = (index + step + count) % count;
    if (rows_[static_cast<std::size_t>(index)]->isSelectable())
      return setCurrent(rows_[static_cast<std::size_t>(index)]);
  }
}

/// Not round the end, as single steps go.
void MenuPopup::movePage(int direction) {
  const auto place = [this] { return std::find(rows_.begin(), rows_.end(), current_) - rows_.begin(); };
  for (int i = 0; i < kPage; ++i) {
    MenuRowView* before = current_;
    const auto from = place();
    move(direction);
    if (before && (place() - from) * direction < 0) return setCurrent(before);
  }
}

void MenuPopup::movePart(int step) {
  const int part = std::clamp(static_cast<int>(current_->part()) + step, 0, static_cast<int>(MenuChoice::Part::done));
  current_->setPart(static_cast<MenuChoice::Part>(part));
  tellFocus();
}

void MenuPopup::activateCurrent() {
  if (!current_) return;
  if (current_->hasSubmenu()) return openSubmenu(true);
  choose(current_, current_->part());
}

bool MenuPopup::pressKeyEquivalent(const QString& key) {
  for (MenuRowView* row : rows_) {
    if (!row->row().key.empty() && row->isSelectable() &&
        key.compare(QString::fromStdString(row->row().key), Qt::CaseInsensitive) == 0) {
      choose(row, MenuChoice::Part::row);
      return true;
    }
  }
  return false;
}

void MenuPopup::keyPressEvent(QKeyEvent* event) {
  const bool attention = current_ && current_->row().form == MenuRow::Form::attention;
  switch (event->key()) {
    case Qt::Key_Escape: return parentMenu_ ? parentMenu_->closeSubmenu() : static_cast<void>(hide());
    case Qt::Key_Down: return move(1);
    case Qt::Key_Up: return move(-1);
    case Qt::Key_Home: setCurrent(nullptr); return move(1);
    case Qt::Key_End: setCurrent(nullptr); return move(-1);
    case Qt::Key_PageDown: return movePage(1);
    case Qt::Key_PageUp: return movePage(-1);
    case Qt::Key_Right:
      if (attention) return movePart(1);
      if (current_ && current_->hasSubmenu()) openSubmenu(true);
      return;
    case Qt::Key_Left:
      if (attention && current_->part() != MenuChoice::Part::row) return movePart(-1);
      if (parentMenu_) parentMenu_->closeSubmenu();
      return;
    case Qt::Key_Tab:
      if (attention && current_->part() != MenuChoice::Part::done) return movePart(1);
      return move(1);
    case Qt::Key_Backtab:
      if (attention && current_->part() != MenuChoice::Part::row) return movePart(-1);
      return move(-1);
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space: return activateCurrent();
    default: break;
  }
  if (event->modifiers() & Qt::ControlModifier) {
    const QString key = event->key() == Qt::Key_Comma ? QString(",") : QKeySequence(event->key()).toString();
    if (root().pressKeyEquivalent(key)) return;
  }
  if (event->modifiers() == Qt::NoModifier && moveToLetter(event->text())) return;
  QWidget::keyPressEvent(event);
}

/// The next row whose title begins with what was typed.
bool MenuPopup::moveToLetter(const QString& letter) {
  if (letter.isEmpty() || !letter.at(0).isPrint()) return false;
  const auto fits = [&](const MenuRowView* row) {
    return row->isSelectable() && texts::oneLine(row->row().title, kMostTyped).startsWith(letter, Qt::CaseInsensitive);
  };
  const auto after = current_ ? std::find(rows_.begin(), rows_.end(), current_) + 1 : rows_.begin();
  auto found = std::find_if(after, rows_.end(), fits);
  if (found == rows_.end()) found = std::find_if(rows_.begin(), after, fits);
  if (found == rows_.end() || !fits(*found)) return false;
  setCurrent(*found);
  return true;
}

/// Tab moves within the menu and never out of it. One whose texts become larger would be composed anew under the
/// pointer, so it goes.
bool MenuPopup::event(QEvent* event) {
  if (event->type() == QEvent::ApplicationFontChange && isVisible()) root().hide();
  if (event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_Tab || key->key() == Qt::Key_Backtab) {
      keyPressEvent(key);
      return true;
    }
  }
  return QWidget::event(event);
}

}  // namespace kestrelune
