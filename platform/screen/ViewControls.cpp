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
    QObject::connect(&back_, &QTimer::timeout, box(), [this] { box()->setChecked(this->view().on); });
    QObject::connect(box(), &ToggleBox::clicked, box(), [this](bool on) {
      send(on ? "on" : "off");
      back_.start();
    });
  }

 protected:
  void apply(const View& view) override {
    box()->setText(caption(view.text));
    box()->setFont(metrics::font(13));
    box()->setChecked(view.on);
    back_.stop();
    applyCommon(*box(), view);
  }

 private:
  ToggleBox* box() const { return static_cast<ToggleBox*>(widget()); }
  QTimer back_;
};

class RadioNode final : public ViewNode {
 public:
  explicit RadioNode(const Emit& emit) : ViewNode(new RadioGroup, emit), layout_(new QVBoxLayout(widget())) {
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
      options_[i].button->setEnabled(child.enabled);
      options_[i].detail->setText(text(child.detail));
      options_[i].detail->setFont(metrics::font(12));
      colour(*options_[i].detail, colors::secondaryLabel());
    }
    applyCommon(*widget(), view);
  }

 private:
  struct Option {
    QWidget* row;
    RadioBox* button;
    QLabel* detail;
  };

  void addOption() {
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* button = new RadioBox;
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
    QObject::connect(button, &RadioBox::clicked, button, [this, index] {
      for (std::size_t i = 0; i < options_.size(); ++i) options_[i].button->setChecked(i == index);
      if (index < view().children.size()) send(view().children[index].key);
    });
  }

  QVBoxLayout* layout_;
  std::vector<Option> options_;
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
