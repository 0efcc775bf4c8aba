#include "Accessible.hpp"

#include <QAbstractScrollArea>
#include <QAccessibleObject>
#include <QAccessibleWidget>
#include <QApplication>

#include "Controls.hpp"
#include "MenuPopup.hpp"
#include "StripWindow.hpp"
#include "ViewWidgets.hpp"
#include "WindowHost.hpp"

namespace kestrelune::accessible {
namespace {

/// The toolkit takes a tool tip for a description, with its markup.
class PartInterface : public QAccessibleWidget {
 public:
  using QAccessibleWidget::QAccessibleWidget;
  QString text(QAccessible::Text kind) const override {
    return kind == QAccessible::Description ? widget()->accessibleDescription() : QAccessibleWidget::text(kind);
  }
};

/// A row of a menu: a menu item, or for an attention row a group with its two buttons.
class RowInterface final : public PartInterface {
 public:
  explicit RowInterface(MenuRowView* row) : PartInterface(row, roleOf(*row), row->accessibleText()) {}

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    const MenuRowView& view = *row();
    // What is only to be read can be read.
    state.disabled = role() == QAccessible::MenuItem && !view.isSelectable();
    state.focusable = view.isSelectable();
    state.focused = view.isHighlighted() && view.part() == MenuChoice::Part::row;
    state.checkable = view.row().checked.has_value();
    state.checked = view.row().checked == true;
    state.hasPopup = view.hasSubmenu();
    return state;
  }
  /// What scrolls the rows is no place of its own.
  QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(row()->window()); }
  QStringList actionNames() const override {
    return row()->isSelectable() ? QStringList{pressAction()} : QStringList();
  }
  void doAction(const QString& name) override {
    if (name != pressAction()) return;
    if (auto* menu = qobject_cast<MenuPopup*>(row()->window())) menu->choose(row(), MenuChoice::Part::row);
  }

 private:
  static QAccessible::Role roleOf(const MenuRowView& row) {
    switch (row.row().form) {
      case MenuRow::Form::attention: return QAccessible::Grouping;
      case MenuRow::Form::separator: return QAccessible::Separator;
      case MenuRow::Form::header:
      case MenuRow::Form::section:
      case MenuRow::Form::pair: return QAccessible::StaticText;
      case MenuRow::Form::normal: break;
    }
    return QAccessible::MenuItem;
  }
  MenuRowView* row() const { return static_cast<MenuRowView*>(widget()); }
};

/// A menu: its rows, and the submenu that is open.
class MenuInterface final : public PartInterface {
 public:
  explicit MenuInterface(MenuPopup* menu) : PartInterface(menu, QAccessible::PopupMenu) {}
  int childCount() const override { return static_cast<int>(parts().size()); }
  QAccessibleInterface* child(int index) const override {
    const auto all = parts();
    return index >= 0 && index < all.size() ? QAccessible::queryAccessibleInterface(all[index]) : nullptr;
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    return static_cast<int>(parts().indexOf(child->object()));
  }

 private:
  QList<QObject*> parts() const {
    const auto& menu = *static_cast<MenuPopup*>(widget());
    QList<QObject*> all(menu.rows().begin(), menu.rows().end());
    if (menu.submenu()) all << menu.submenu();
    return all;
  }
};

/// The program, whose open menu the toolkit would leave out: it looks for popups below the widgets that open them.
class ApplicationInterface final : public QAccessibleApplication {
 public:
  int childCount() const override { return QAccessibleApplication::childCount() + (menu() ? 1 : 0); }
  QAccessibleInterface* child(int index) const override {
    MenuPopup* open = menu();
    if (open && index == QAccessibleApplication::childCount()) return QAccessible::queryAccessibleInterface(open);
    return QAccessibleApplication::child(index);
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    MenuPopup* open = menu();
    if (open && child->object() == open) return QAccessibleApplication::childCount();
    return QAccessibleApplication::indexOfChild(child);
  }

 private:
  static MenuPopup* menu() {
    for (QWidget* window : QApplication::topLevelWidgets())
      if (auto* menu = qobject_cast<MenuPopup*>(window); menu && menu->isVisible() && !menu->parentWidget())
        return menu;
    return nullptr;
  }
};

/// A widget that is read as one thing: what is in it is its own affair.
class WholeInterface : public PartInterface {
 public:
  WholeInterface(QWidget* widget, QAccessible::Role role) : PartInterface(widget, role) {}
  int childCount() const override { return 0; }
  QAccessibleInterface* child(int) const override { return nullptr; }
};

/// A widget that can be pressed as a whole.
class PressableInterface : public WholeInterface {
 public:
  PressableInterface(QWidget* widget, std::function<void()> press)
      : WholeInterface(widget, QAccessible::Button), press_(std::move(press)) {}
  QStringList actionNames() const override { return {pressAction()}; }
  void doAction(const QString& name) override {
    if (name == pressAction()) press_();
  }

 private:
  std::function<void()> press_;
};

/// "Later" or "Done" in a row: the menu holds the keyboard, and says which button it is at.
class RowButtonInterface final : public PressableInterface {
 public:
  explicit RowButtonInterface(MenuRowButton* button) : PressableInterface(button, [button] { button->click(); }) {}
  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.focusable = true;
    state.focused = static_cast<MenuRowButton*>(widget())->isCurrent();
    return state;
  }
};

/// A symbol without a name says nothing that the words beside it don't say.
class SymbolInterface final : public PartInterface {
 public:
  explicit SymbolInterface(QWidget* symbol) : PartInterface(symbol, QAccessible::Graphic) {}
  QAccessible::State state() const override {
    QAccessible::State state = PartInterface::state();
    state.invisible = widget()->accessibleName().isEmpty();
    return state;
  }
};

QAccessibleInterface* create(const QString&, QObject* object) {
  if (auto* row = qobject_cast<MenuRowView*>(object)) return new RowInterface(row);
  if (auto* button = qobject_cast<MenuRowButton*>(object)) return new RowButtonInterface(button);
  if (auto* menu = qobject_cast<MenuPopup*>(object)) return new MenuInterface(menu);
  if (object == qApp) return new ApplicationInterface;
  if (auto* strip = qobject_cast<StripWindow*>(object)) {
    return new PressableInterface(strip, [strip] { strip->onClicked(); });
  }
  if (auto* card = qobject_cast<CardWidget*>(object); card && card->isPressable()) {
    return new PressableInterface(card, [card] { card->press(); });
  }
  if (auto* whole = qobject_cast<WholeWidget*>(object)) {
    if (whole->isWhole()) return new WholeInterface(whole, QAccessible::StaticText);
    // What has a name of its own is more than an arrangement.
    return whole->accessibleName().isEmpty() ? nullptr : new PartInterface(whole, QAccessible::Grouping);
  }
  // The toolkit's own gives a child that is gone, to a reader who counted before the last redraw, and ends the program.
  if (auto* area = qobject_cast<QAbstractScrollArea*>(object)) return new PartInterface(area, QAccessible::Client);
  if (auto* window = qobject_cast<WindowHost*>(object)) return new PartInterface(window, QAccessible::Window);
  if (auto* group = qobject_cast<RadioGroup*>(object)) return new PartInterface(group, QAccessible::Grouping);
  if (auto* text = qobject_cast<ElidedLabel*>(object)) return new PartInterface(text, QAccessible::StaticText);
  if (auto* symbol = qobject_cast<SymbolWidget*>(object)) return new SymbolInterface(symbol);
  if (auto* steps = qobject_cast<StepsWidget*>(object)) return new PartInterface(steps, QAccessible::Graphic);
  if (auto* busy = qobject_cast<SpinnerWidget*>(object)) return new PartInterface(busy, QAccessible::Animation);
  return nullptr;
}

}  // namespace

void install() { QAccessible::installFactory(create); }

}  // namespace kestrelune::accessible
