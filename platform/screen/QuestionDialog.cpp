#include "QuestionDialog.hpp"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QTextBoundaryFinder>
#include <QVBoxLayout>
#include <utility>

#include "Colors.hpp"
#include "Controls.hpp"
#include "Drawing.hpp"
#include "Metrics.hpp"

namespace kestrelune {
namespace {

using metrics::px;

constexpr double kTextWidth = 360, kButtonWidth = 240;
/// Of the display's height; a longer text scrolls, so that the buttons stay within reach.
constexpr double kMostOfDisplay = 0.4;
constexpr qsizetype kLongestTitle = 160, kLongestText = 20000, kLongestWord = 30;

QString cut(const QString& text, qsizetype most) { return text.size() <= most ? text : text.left(most - 1) + "…"; }

/// A word that is wider than the dialog may break where no reader sees why it shouldn't.
QString breakable(const QString& text) {
  QString result;
  QTextBoundaryFinder words(QTextBoundaryFinder::Line, text);
  for (qsizetype start = 0, end; (end = words.toNextBoundary()) != -1; start = end) {
    QString word = text.mid(start, end - start);
    if (word.size() > kLongestWord) {
      QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, std::exchange(word, ""));
      for (qsizetype from = 0, to; (to = characters.toNextBoundary()) != -1; from = to)
        word += characters.string().mid(from, to - from) + QChar(0x200b);
    }
    result += word;
  }
  return result;
}

QLabel* plainLabel(const QString& text, double points, bool semibold, const QColor& color) {
  auto* label = new QLabel;
  label->setTextFormat(Qt::PlainText);
  label->setText(breakable(text));
  label->setAccessibleName(text);
  label->setWordWrap(true);
  label->setFont(metrics::font(points, semibold));
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, color);
  label->setPalette(palette);
  label->setFixedSize(px(kTextWidth), label->heightForWidth(px(kTextWidth)));
  return label;
}

/// The label itself, or one that scrolls where it would leave too little room for the rest.
QWidget* inReach(QLabel* label) {
  const QRect display = QGuiApplication::primaryScreen()->availableGeometry();
  const int most = static_cast<int>(display.height() * kMostOfDisplay);
  if (label->height() <= most) return label;
  auto* area = new QScrollArea;
  area->setFrameShape(QFrame::NoFrame);
  area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  area->setWidget(label);
  area->setFixedSize(label->width() + area->verticalScrollBar()->sizeHint().width(), most);
  return area;
}

QString fitted(const QString& name) {
  return QFontMetrics(metrics::font(13)).elidedText(name, Qt::ElideRight, px(kButtonWidth));
}

QLabel* flameLabel() {
  auto* label = new QLabel;
  label->setPixmap(drawing::flamePixmap({px(40), px(40)}, qGuiApp->devicePixelRatio()));
  label->setAlignment(Qt::AlignTop);
  return label;
}

}  // namespace

QuestionDialog::QuestionDialog(Question question) : question_(std::move(question)) {
  setAttribute(Qt::WA_QuitOnClose, false);
  setWindowTitle("Kestrelune");
  setWindowIcon(drawing::windowIcon());
  setAccessibleName(QString::fromStdString(question_.title));
  setAccessibleDescription(QString::fromStdString(question_.text));
  auto* all = new QVBoxLayout(this);
  all->setContentsMargins(0, 0, 0, 0);
  all->setSizeConstraint(QLayout::SetFixedSize);
  build();
}

/// Colours and sizes are given to the widgets when they are made: another look needs others.
void QuestionDialog::build() {
  if (content_ && question_.field) question_.field->text = fieldText();
  delete content_;
  line_ = nullptr;
  lines_ = nullptr;
  content_ = new QWidget;
  layout()->addWidget(content_);
  const Question& question = question_;
  auto* texts = new QVBoxLayout;
  texts->setSpacing(px(8));
  const QString title = cut(QString::fromStdString(question.title), kLongestTitle);
  const QString text = cut(QString::fromStdString(question.text), kLongestText);
  texts->addWidget(plainLabel(title, 14, true, colors::label()), 0, Qt::AlignLeft);
  if (!text.isEmpty())
    texts->addWidget(inReach(plainLabel(text, 12, false, colors::secondaryLabel())), 0, Qt::AlignLeft);

  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(px(8));
  buttons->addStretch();
  for (std::size_t i = 0; i < question.buttons.size(); ++i) {
    const QString name = QString::fromStdString(question.buttons[i]), cutName = fitted(name);
    auto* button = new PushButton;
    button->setLook(QString(cutName).replace('&', "&&"),
                    i == 0 ? View::ButtonStyle::primary : View::ButtonStyle::normal);
    button->setAccessibleName(name);
    button->setDefault(i == 0);
    connect(button, &QPushButton::clicked, this, [this, i] { answer(static_cast<int>(i)); });
    // The default stands at the right, as the last in reading order.
    buttons->insertWidget(1, button, 0, Qt::AlignVCenter);
    if (i == 0) button->setFocus();
  }

  auto* all = new QVBoxLayout;
  all->setSpacing(px(14));
  auto* top = new QHBoxLayout;
  top->setSpacing(px(16));
  top->addWidget(flameLabel());
  top->addLayout(texts, 1);
  all->addLayout(top);
  content_->setLayout(all);
  if (question.field) {
    addField(*question.field);
    QWidget* field = line_ ? static_cast<QWidget*>(line_) : lines_;
    texts->addWidget(field, 0, Qt::AlignLeft);
    field->setFocus();
  }
  all->addLayout(buttons);
  all->setContentsMargins(px(20), px(18), px(20), px(16));
}

bool QuestionDialog::event(QEvent* event) {
  const bool looksDifferent =
      event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::ApplicationFontChange;
  if (looksDifferent && content_) build();
  return QDialog::event(event);
}

void QuestionDialog::addField(const Question::Field& field) {
  const QString text = QString::fromStdString(field.text), hint = QString::fromStdString(field.placeholder);
  const QSize size(px(field.width), std::max(px(field.height), px(24)));
  if (field.multiline) {
    lines_ = new QPlainTextEdit(text, content_);
    lines_->setPlaceholderText(hint);
    lines_->setTabChangesFocus(true);
    lines_->setFixedSize(size);
    lines_->setFont(metrics::font(13));
    lines_->setAccessibleName(hint);
    // Return is a line's end here.
    connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return), lines_), &QShortcut::activated, this,
            [this] { answer(0); });
  } else {
    line_ = new QLineEdit(text, content_);
    line_->setPlaceholderText(hint);
    line_->setFixedSize(size);
    line_->setFont(metrics::font(13));
    line_->setAccessibleName(hint);
  }
}

std::string QuestionDialog::fieldText() const {
  return (line_ ? line_->text() : lines_ ? lines_->toPlainText() : QString()).toStdString();
}

void QuestionDialog::answer(std::optional<int> button) {
  if (std::exchange(answered_, true)) return;
  const std::string text = fieldText();
  hide();
  if (onAnswered) onAnswered(button, text);
}

void QuestionDialog::reject() {
  answer(question_.cancelButton >= 0 ? std::optional(question_.cancelButton) : std::nullopt);
}

}  // namespace kestrelune
