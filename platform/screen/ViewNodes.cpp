#include <QBoxLayout>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QTabBar>
#include <QTimer>

#include "Colors.hpp"
#include "Drawing.hpp"
#include "LongList.hpp"
#include "Metrics.hpp"
#include "ViewNode.hpp"
#include "ViewWidgets.hpp"

namespace kestrelune {
namespace {

using metrics::px;

/// How long a control may show what the user did before the companion's word on it is taken.
constexpr int kTrustUser = 1500;

QString text(const std::string& value) { return QString::fromStdString(value); }
/// An ampersand in a name is no shortcut.
QString caption(const std::string& value) { return text(value).replace('&', "&&"); }

double pointsOf(View::Role role) {
  switch (role) {
    case View::Role::largeTitle: return 26;
    case View::Role::title: return 20;
    case View::Role::headline: return 14;
    case View::Role::caption: return 12;
    case View::Role::heading: return 12;
    case View::Role::footnote: return 11;
    case View::Role::body:
    case View::Role::monospaced: break;
  }
  return 13;
}

void applyCommon(QWidget& widget, const View& view) {
  widget.setEnabled(view.enabled);
  widget.setToolTip(drawing::plainToolTip(text(view.toolTip)));
  widget.setAccessibleName(text(view.name.empty() ? view.text : view.name));
  widget.setAccessibleDescription(text(view.help));
  if (view.width > 0) widget.setFixedWidth(px(view.width));
  if (view.height > 0) widget.setFixedHeight(px(view.height));
}

void colour(QWidget& widget, const QColor& color) {
  QPalette palette = widget.palette();
  palette.setColor(QPalette::WindowText, color);
  widget.setPalette(palette);
}

class TextNode final : public ViewNode {
 public:
  explicit TextNode(const Emit& emit) : ViewNode(new QLabel, emit) {}

 protected:
  void apply(const View& view) override {
    auto& label = *static_cast<QLabel*>(widget());
    label.setTextFormat(Qt::PlainText);
    label.setWordWrap(view.width <= 0);
    label.setFont(metrics::font(pointsOf(view.role), view.semibold));
    colour(label, colors::tint(view.tint));
    label.setTextInteractionFlags(view.selectable ? Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard
                                                  : Qt::NoTextInteraction);
    // Setting the same text again would lose what the user has selected in it.
    if (label.text() != text(view.text)) label.setText(text(view.text));
    // A short word at the end of a row keeps its line.
    label.setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    applyCommon(label, view);
  }
};

class ElidedNode final : public ViewNode {
 public:
  explicit ElidedNode(const Emit& emit) : ViewNode(new ElidedLabel, emit) {}

 protected:
  void apply(const View& view) override {
    auto& label = *static_cast<ElidedLabel*>(widget());
    label.setFont(metrics::font(pointsOf(view.role), view.semibold));
    label.setText(text(view.text), colors::tint(view.tint));
    applyCommon(label, view);
  }
};

class ButtonNode final : public ViewNode {
 public:
  explicit ButtonNode(const Emit& emit) : ViewNode(new QPushButton, emit) {
    QObject::connect(button(), &QPushButton::clicked, button(), [this] { send(""); });
  }

 protected:
  void apply(const View& view) override {
    QPushButton& button = *this->button();
    const bool flat = view.style == View::ButtonStyle::link || view.style == View::ButtonStyle::borderless;
    button.setText(caption(view.text));
    button.setFont(metrics::font(13, view.style == View::ButtonStyle::primary));
    button.setFlat(flat);
    button.setAutoDefault(true);
    button.setProperty("primary", view.style == View::ButtonStyle::primary);
    QPalette palette;
    if (view.style == View::ButtonStyle::primary && view.enabled) {
      palette.setColor(QPalette::Button, colors::accent());
      palette.setColor(QPalette::ButtonText, colors::onAccent());
      button.setMinimumHeight(px(30));
    } else if (view.style == View::ButtonStyle::destructive) {
      palette.setColor(QPalette::ButtonText, colors::tint(View::Tint::red));
    } else if (flat) {
      palette.setColor(QPalette::ButtonText, colors::tint(View::Tint::accent));
    }
    button.setPalette(palette);
    if (flat) button.setCursor(Qt::PointingHandCursor);
    applyCommon(button, view);
  }

 private:
  QPushButton* button() const { return static_cast<QPushButton*>(widget()); }
};

class ToggleNode final : public ViewNode {
 public:
  explicit ToggleNode(const Emit& emit) : ViewNode(new QCheckBox, emit) {
    QObject::connect(box(), &QCheckBox::clicked, box(), [this](bool on) {
      send(on ? "on" : "off");
      QTimer::singleShot(kTrustUser, box(), [this] { box()->setChecked(this->view().on); });
    });
  }

 protected:
  void apply(const View& view) override {
    box()->setText(caption(view.text));
    box()->setFont(metrics::font(13));
    box()->setChecked(view.on);
    applyCommon(*box(), view);
  }

 private:
  QCheckBox* box() const { return static_cast<QCheckBox*>(widget()); }
};

class RadioNode final : public ViewNode {
 public:
  explicit RadioNode(const Emit& emit) : ViewNode(new QWidget, emit), layout_(new QVBoxLayout(widget())) {
    layout_->setContentsMargins(0, 0, 0, 0);
  }

 protected:
  void apply(const View& view) override {
    layout_->setSpacing(px(view.spacing));
    while (options_.size() > view.children.size()) {
      delete options_.back().row;
      options_.pop_back();
    }
    while (options_.size() < view.children.size()) addOption();
    for (std::size_t i = 0; i < options_.size(); ++i) {
      const View& child = view.children[i];
      options_[i].button->setText(caption(child.text));
      options_[i].button->setFont(metrics::font(13));
      options_[i].button->setAccessibleDescription(text(child.help));
      options_[i].button->setChecked(child.on);
      options_[i].detail->setText(text(child.detail));
      options_[i].detail->setFont(metrics::font(12));
      colour(*options_[i].detail, colors::secondaryLabel());
    }
    applyCommon(*widget(), view);
  }

 private:
  struct Option {
    QWidget* row;
    QRadioButton* button;
    QLabel* detail;
  };

  void addOption() {
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* button = new QRadioButton;
    // Exclusive among all rows, though each stands in a row of its own.
    button->setAutoExclusive(false);
    auto* detail = new QLabel;
    detail->setTextFormat(Qt::PlainText);
    layout->addWidget(button);
    layout->addStretch();
    layout->addWidget(detail);
    layout_->addWidget(row);
    const std::size_t index = options_.size();
    options_.push_back({row, button, detail});
    QObject::connect(button, &QRadioButton::clicked, button, [this, index] {
      for (std::size_t i = 0; i < options_.size(); ++i) options_[i].button->setChecked(i == index);
      if (index < view().children.size()) send(view().children[index].key);
    });
  }

  QVBoxLayout* layout_;
  std::vector<Option> options_;
};

class SegmentedNode final : public ViewNode {
 public:
  explicit SegmentedNode(const Emit& emit) : ViewNode(new QTabBar, emit) {
    bar()->setDrawBase(false);
    bar()->setDocumentMode(true);
    bar()->setExpanding(true);
    bar()->setUsesScrollButtons(false);
    bar()->setElideMode(Qt::ElideRight);
    QObject::connect(bar(), &QTabBar::currentChanged, bar(), [this](int index) {
      if (!applying_ && index >= 0 && index < static_cast<int>(view().children.size())) {
        send(view().children[static_cast<std::size_t>(index)].key);
      }
    });
  }

 protected:
  void apply(const View& view) override {
    applying_ = true;
    bar()->setFont(metrics::font(13));
    while (bar()->count() > static_cast<int>(view.children.size())) bar()->removeTab(bar()->count() - 1);
    while (bar()->count() < static_cast<int>(view.children.size())) bar()->addTab(QString());
    for (int i = 0; i < bar()->count(); ++i) {
      const View& child = view.children[static_cast<std::size_t>(i)];
      bar()->setTabText(i, caption(child.text));
      if (child.on) bar()->setCurrentIndex(i);
    }
    applyCommon(*bar(), view);
    applying_ = false;
  }

 private:
  QTabBar* bar() const { return static_cast<QTabBar*>(widget()); }
  bool applying_ = false;
};

/// Row, stack, section, panel and card.
class ContainerNode final : public ViewNode {
 public:
  ContainerNode(View::Kind kind, const Emit& emit)
      : ViewNode(new CardWidget, emit),
        layout_(new QBoxLayout(
            kind == View::Kind::row || kind == View::Kind::card ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom,
            widget())),
        children_(emit) {
    card()->onPressed = [this] { send(""); };
    card()->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
  }

 protected:
  void apply(const View& view) override {
    const bool card = view.kind == View::Kind::card;
    const int padding = px(view.padding > 0 ? view.padding : card ? 4 : 0);
    layout_->setContentsMargins(padding, padding, padding, padding);
    layout_->setSpacing(px(view.spacing));
    this->card()->setGround(view.kind == View::Kind::panel ? CardWidget::Ground::panel : CardWidget::Ground::none);
    this->card()->setPressable(view.pressable);
    this->card()->setWhole(view.oneElement);
    std::vector<View> children = view.children;
    if (view.kind == View::Kind::section && !view.text.empty()) {
      children.insert(children.begin(), View{.kind = View::Kind::text,
                                             .key = view.key + "/heading",
                                             .text = view.text,
                                             .role = View::Role::heading,
                                             .tint = View::Tint::secondary,
                                             .semibold = true});
    }
    children_.update(children, *layout_);
    applyCommon(*this->card(), view);
    if (view.oneElement && view.name.empty()) this->card()->setAccessibleName(joinedTexts(view));
  }

 private:
  static QString joinedTexts(const View& view) {
    QStringList parts;
    if (!view.text.empty()) parts << text(view.text);
    for (const View& child : view.children) {
      if (const QString part = joinedTexts(child); !part.isEmpty()) parts << part;
    }
    return parts.join(", ");
  }
  CardWidget* card() const { return static_cast<CardWidget*>(widget()); }

  QBoxLayout* layout_;
  ViewChildren children_;
};

class ScrollNode final : public ViewNode {
 public:
  explicit ScrollNode(const Emit& emit)
      : ViewNode(new QScrollArea, emit), content_(new QWidget), layout_(new QVBoxLayout(content_)), children_(emit) {
    area()->setFrameShape(QFrame::NoFrame);
    area()->setWidgetResizable(true);
    area()->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area()->setFocusPolicy(Qt::NoFocus);
    auto* outer = new QVBoxLayout;
    content_->setLayout(layout_);
    delete outer;
    layout_->setAlignment(Qt::AlignTop);
    area()->setWidget(content_);
  }

 protected:
  void apply(const View& view) override {
    const int padding = px(view.padding);
    layout_->setContentsMargins(padding, padding, padding, padding);
    layout_->setSpacing(px(view.spacing));
    children_.update(view.children, *layout_);
    applyCommon(*area(), view);
  }

 private:
  QScrollArea* area() const { return static_cast<QScrollArea*>(widget()); }
  QWidget* content_;
  QVBoxLayout* layout_;
  ViewChildren children_;
};

class LongListNode final : public ViewNode {
 public:
  explicit LongListNode(const Emit& emit) : ViewNode(new LongList(emit), emit) {}

 protected:
  void apply(const View& view) override {
    static_cast<LongList*>(widget())->setRows(view.children, px(view.padding), px(view.spacing));
    applyCommon(*widget(), view);
  }
};

class FieldNode final : public ViewNode {
 public:
  explicit FieldNode(const Emit& emit) : ViewNode(new QLineEdit, emit) {
    QObject::connect(line(), &QLineEdit::textEdited, line(),
                     [this](const QString& value) { send(value.toStdString()); });
  }

 protected:
  void apply(const View& view) override {
    line()->setFont(metrics::font(13));
    line()->setPlaceholderText(text(view.detail));
    // Never under the user's hands.
    if (!line()->hasFocus() && line()->text() != text(view.text)) line()->setText(text(view.text));
    applyCommon(*line(), view);
  }

 private:
  QLineEdit* line() const { return static_cast<QLineEdit*>(widget()); }
};

/// Divider, spacer, spinner, icon and progress: drawn, and never asked.
class DrawnNode final : public ViewNode {
 public:
  DrawnNode(View::Kind kind, const Emit& emit) : ViewNode(widgetFor(kind), emit) {}

 protected:
  void apply(const View& view) override {
    if (auto* symbol = qobject_cast<SymbolWidget*>(widget())) symbol->setSymbol(view.icon, view.tint);
    if (auto* steps = qobject_cast<StepsWidget*>(widget())) steps->setSteps(view.count, view.total);
    applyCommon(*widget(), view);
  }

 private:
  static QWidget* widgetFor(View::Kind kind) {
    switch (kind) {
      case View::Kind::icon: return new SymbolWidget;
      case View::Kind::progress: return new StepsWidget;
      case View::Kind::spinner: return new SpinnerWidget;
      default: break;
    }
    auto* widget = new QWidget;
    if (kind == View::Kind::divider) {
      widget->setFixedHeight(1);
      QPalette palette;
      palette.setColor(QPalette::Window, colors::separator());
      widget->setPalette(palette);
      widget->setAutoFillBackground(true);
    } else {
      widget->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }
    return widget;
  }
};

std::unique_ptr<ViewNode> blank(const View& view, const ViewNode::Emit& emit) {
  switch (view.kind) {
    case View::Kind::text:
      if (view.truncates) return std::make_unique<ElidedNode>(emit);
      return std::make_unique<TextNode>(emit);
    case View::Kind::button: return std::make_unique<ButtonNode>(emit);
    case View::Kind::toggle: return std::make_unique<ToggleNode>(emit);
    case View::Kind::radioGroup: return std::make_unique<RadioNode>(emit);
    case View::Kind::segmented: return std::make_unique<SegmentedNode>(emit);
    case View::Kind::scroll: return std::make_unique<ScrollNode>(emit);
    case View::Kind::longList: return std::make_unique<LongListNode>(emit);
    case View::Kind::field: return std::make_unique<FieldNode>(emit);
    case View::Kind::divider:
    case View::Kind::spacer:
    case View::Kind::spinner:
    case View::Kind::icon:
    case View::Kind::progress: return std::make_unique<DrawnNode>(view.kind, emit);
    case View::Kind::option:
    case View::Kind::row:
    case View::Kind::stack:
    case View::Kind::section:
    case View::Kind::panel:
    case View::Kind::card: break;
  }
  return std::make_unique<ContainerNode>(view.kind, emit);
}

}  // namespace

std::unique_ptr<ViewNode> ViewNode::make(const View& view, const Emit& emit) {
  std::unique_ptr<ViewNode> node = blank(view, emit);
  node->apply(view);
  node->view_ = view;
  return node;
}

}  // namespace kestrelune
