#include <QButtonGroup>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>
#include <QVBoxLayout>

#include "Colors.hpp"
#include "Controls.hpp"
#include "Metrics.hpp"
#include "ViewStyle.hpp"

namespace kestrelune::viewStyle {
namespace {

using metrics::px;

/// How long a control may show what the user did before the companion's word on it is taken.
constexpr int kTrustUser = 1500;

class ButtonNode final : public ViewNode {
 public:
  explicit ButtonNode(const Emit& emit) : ViewNode(new PushButton, emit) {
    QObject::connect(button(), &PushButton::clicked, button(), [this] { send(""); });
  }

 protected:
  void apply(const View& view) override {
    button()->setLook(caption(view.text), view.style);
    applyCommon(*button(), view);
  }

 private:
  PushButton* button() const { return static_cast<PushButton*>(widget()); }
};

class ToggleNode final : public ViewNode {
 public:
  explicit ToggleNode(const Emit& emit) : ViewNode(new ToggleBox, emit) {
    back_.setSingleShot(true);
    back_.setInterval(kTrustUser);
    QObject::connect(&back_, &QTimer::timeout, box(), [this] { show(this->view().on); });
    // Assistive tools toggle without a click.
    QObject::connect(box(), &ToggleBox::toggled, box(), [this](bool on) {
      if (on == shown_) return;
      shown_ = on;
      send(on ? "on" : "off");
      back_.start();
    });
  }

 protected:
  void apply(const View& view) override {
    box()->setText(caption(view.text));
    box()->setFont(metrics::font(13));
    show(view.on);
    back_.stop();
    applyCommon(*box(), view);
  }

 private:
  void show(bool on) {
    shown_ = on;
    box()->setChecked(on);
  }

  ToggleBox* box() const { return static_cast<ToggleBox*>(widget()); }
  QTimer back_;
  bool shown_ = false;
};

class RadioNode final : public ViewNode {
 public:
  explicit RadioNode(const Emit& emit)
      : ViewNode(new RadioGroup, emit), layout_(new QVBoxLayout(widget())), group_(new QButtonGroup(widget())) {
    layout_->setContentsMargins(0, 0, 0, 0);
    QObject::connect(group_, &QButtonGroup::idToggled, widget(), [this](int index, bool on) {
      const auto chosen = static_cast<std::size_t>(index);
      if (!applying_ && on && chosen < view().children.size()) send(view().children[chosen].key);
    });
  }

 protected:
  void apply(const View& view) override {
    applying_ = true;
    layout_->setSpacing(px(view.spacing));
    while (options_.size() > view.children.size()) {
      group_->removeButton(options_.back().button);
      delete options_.back().row;
      options_.pop_back();
    }
    while (options_.size() < view.children.size()) addOption();
    // An exclusive group never lets go of its last choice.
    group_->setExclusive(false);
    for (std::size_t i = 0; i < options_.size(); ++i) show(options_[i], view.children[i]);
    group_->setExclusive(true);
    applyCommon(*widget(), view);
    applying_ = false;
  }

 private:
  struct Option {
    QWidget* row;
    RadioBox* button;
    QLabel* detail;
  };

  static void show(const Option& option, const View& view) {
    option.button->setText(caption(view.text));
    option.button->setFont(metrics::font(13));
    option.button->setAccessibleDescription(text(view.help));
    option.button->setEnabled(view.enabled);
    option.button->setChecked(view.on);
    option.detail->setText(text(view.detail));
    option.detail->setFont(metrics::font(12));
    colour(*option.detail, colors::secondaryLabel());
  }

  void addOption() {
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    const Option option{row, new RadioBox, new QLabel};
    option.detail->setTextFormat(Qt::PlainText);
    layout->addWidget(option.button);
    layout->addStretch();
    layout->addWidget(option.detail);
    layout_->addWidget(row);
    group_->addButton(option.button, static_cast<int>(options_.size()));
    options_.push_back(option);
  }

  QVBoxLayout* layout_;
  QButtonGroup* group_;
  std::vector<Option> options_;
  bool applying_ = false;
};

class SegmentedNode final : public ViewNode {
 public:
  explicit SegmentedNode(const Emit& emit) : ViewNode(new SegmentedBar, emit) {
    QObject::connect(bar(), &SegmentedBar::currentChanged, bar(), [this](int index) {
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
  SegmentedBar* bar() const { return static_cast<SegmentedBar*>(widget()); }
  bool applying_ = false;
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
    if (view.name.empty()) line()->setAccessibleName(line()->placeholderText());
  }

 private:
  QLineEdit* line() const { return static_cast<QLineEdit*>(widget()); }
};

}  // namespace

std::unique_ptr<ViewNode> makeControl(View::Kind kind, const ViewNode::Emit& emit) {
  switch (kind) {
    case View::Kind::button: return std::make_unique<ButtonNode>(emit);
    case View::Kind::toggle: return std::make_unique<ToggleNode>(emit);
    case View::Kind::radioGroup: return std::make_unique<RadioNode>(emit);
    case View::Kind::segmented: return std::make_unique<SegmentedNode>(emit);
    case View::Kind::field: return std::make_unique<FieldNode>(emit);
    default: return nullptr;
  }
}

}  // namespace kestrelune::viewStyle
