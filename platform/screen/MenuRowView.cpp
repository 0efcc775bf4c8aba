#include "MenuRowView.hpp"

#include <QFontMetrics>
#include <QPainter>

#include "Colors.hpp"
#include "Drawing.hpp"
#include "Metrics.hpp"
#include "Texts.hpp"

namespace kestrelune {
namespace {

using metrics::px;

// Measures in points.
constexpr double kMenuWidth = 368, kSideInset = 5, kTextLeft = 14, kCheckedLeft = 25, kTextRight = 332;
constexpr double kHeaderLeft = 20, kHeaderWidth = 328, kGap = 10;
constexpr double kButtonGap = 6, kBeforeButtons = 10, kLeastText = 130;
// What is on the right of a text in a menu of whatever width.
constexpr double kAfterText = kMenuWidth - kTextRight, kAroundHeader = kMenuWidth - kHeaderWidth;
constexpr double kTitlePoints = 13, kSmallPoints = 11, kHeadlinePoints = 14, kMessagePoints = 12;
/// What lies beyond can't be seen; measuring and shaping it would only take time.
constexpr qsizetype kMostVisibleCharacters = 600, kMostSpokenCharacters = 2000;

QString shown(const std::string& text) { return texts::oneLine(text, kMostVisibleCharacters); }

void drawText(QPainter& painter, const QRect& box, const QString& text, const QFont& font, const QColor& color,
              Qt::Alignment alignment = Qt::AlignLeft) {
  painter.setFont(font);
  painter.setPen(color);
  const QString fitted = QFontMetrics(font).elidedText(text, Qt::ElideRight, box.width());
  painter.drawText(box, static_cast<int>(alignment | Qt::AlignVCenter) | Qt::TextSingleLine, fitted);
}

int textWidth(const QString& text, const QFont& font) { return QFontMetrics(font).horizontalAdvance(text); }

}  // namespace

MenuRowButton::MenuRowButton(const std::string& title, const std::string& help, QWidget* parent)
    : QPushButton(QString::fromStdString(title).replace('&', "&&"), parent) {
  setToolTip(drawing::plainToolTip(QString::fromStdString(help)));
  setAccessibleName(QString::fromStdString(title));
  setAccessibleDescription(QString::fromStdString(help));
  setFocusPolicy(Qt::NoFocus);
  setFont(metrics::font(kSmallPoints));
  setCursor(Qt::ArrowCursor);
  setMouseTracking(true);  // moves go on to the row, which so becomes current
  resize(sizeHint());
}

QSize MenuRowButton::sizeHint() const { return {textWidth(accessibleName(), font()) + px(18), px(19)}; }

void MenuRowButton::setCurrent(bool current) {
  current_ = current;
  update();
}

void MenuRowButton::setOnAccent(bool onAccent) {
  onAccent_ = onAccent;
  update();
}

/// The one that a press would choose stands out from its row: filled, in the row's colours turned around.
void MenuRowButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const bool strong = current_ || isDown() || (underMouse() && onAccent_);
  QColor ground = strong ? colors::accent() : colors::menuBackground(), line = strong ? ground : colors::separator();
  QColor text = strong ? colors::onAccent() : colors::label();
  if (onAccent_) {
    text = strong ? colors::accent() : colors::onAccent();
    line = colors::onAccent();
    ground = strong ? line : QColor(Qt::transparent);
    if (!strong) line.setAlphaF(0.6F);
  }
  painter.setPen(QPen(line, 1));
  painter.setBrush(ground);
  painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), px(5), px(5));
  painter.setPen(text);
  painter.setFont(font());
  painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, accessibleName());
}

MenuRowView::MenuRowView(MenuRow row, QWidget* parent)
    : QWidget(parent),
      row_(std::move(row)),
      title_(shown(row_.title)),
      subtitle_(shown(row_.subtitle)),
      detail_(shown(row_.detail)) {
  setToolTip(
      drawing::plainToolTip(row_.toolTip.empty() && isCut() ? accessibleText() : QString::fromStdString(row_.toolTip)));
  setAccessibleName(accessibleText());
  setAccessibleDescription(QString::fromStdString(row_.toolTip));
  setMouseTracking(true);
  if (row_.form != MenuRow::Form::attention) return;
  later_ = new MenuRowButton(row_.laterTitle, row_.laterHelp, this);
  done_ = new MenuRowButton(row_.doneTitle, row_.doneHelp, this);
  connect(later_, &QPushButton::clicked, this, [this] { onChoose(MenuChoice::Part::later); });
  connect(done_, &QPushButton::clicked, this, [this] { onChoose(MenuChoice::Part::done); });
}

/// Something of the row doesn't fit into it.
bool MenuRowView::isCut() const {
  if (row_.form != MenuRow::Form::normal && row_.form != MenuRow::Form::pair) return false;
  const QFont font = metrics::font(kTitlePoints);
  const int width = px(kTextRight - (row_.form == MenuRow::Form::pair ? kTextLeft : kCheckedLeft)),
            details = detail_.isEmpty() ? 0 : textWidth(detail_, font) + px(kGap);
  return textWidth(title_, font) + details > width || textWidth(subtitle_, metrics::font(kSmallPoints)) > width;
}

bool MenuRowView::isSelectable() const {
  if (row_.form == MenuRow::Form::attention) return true;
  return row_.form == MenuRow::Form::normal && row_.enabled;
}

QString MenuRowView::accessibleText() const {
  QStringList parts;
  for (const std::string* part : {&row_.title, &row_.subtitle, &row_.detail}) {
    if (part->empty() || (part == &row_.detail && row_.form == MenuRow::Form::attention)) continue;
    parts << texts::oneLine(*part, kMostSpokenCharacters);
  }
  return parts.join(", ");
}

int MenuRowView::leastWidth() const {
  switch (row_.form) {
    case MenuRow::Form::header: return textWidth(title_, metrics::font(kHeadlinePoints, true)) + 1 + px(kAroundHeader);
    case MenuRow::Form::section:
      return textWidth(title_, metrics::font(kSmallPoints, true)) + 1 + px(kTextLeft) + px(kAfterText);
    case MenuRow::Form::attention:
      return px(kTextLeft + kLeastText + kBeforeButtons) + later_->width() + px(kButtonGap) + done_->width() +
             px(kAfterText);
    case MenuRow::Form::normal:
    case MenuRow::Form::pair:
    case MenuRow::Form::separator: break;
  }
  return 0;
}

int MenuRowView::rowHeight(int width) const {
  switch (row_.form) {
    case MenuRow::Form::separator: return px(11);
    case MenuRow::Form::section:
    case MenuRow::Form::pair: return px(24);
    case MenuRow::Form::attention: return px(subtitle_.isEmpty() ? 26 : 40);
    case MenuRow::Form::normal: return px(subtitle_.isEmpty() ? 24 : 40);
    case MenuRow::Form::header: break;
  }
  if (row_.subtitle.empty()) return px(36);
  const QRect box = QFontMetrics(metrics::font(kMessagePoints))
                        .boundingRect(QRect(0, 0, width - px(kAroundHeader), 10000),
                                      Qt::TextWordWrap | Qt::TextWrapAnywhere, subtitle_);
  return px(38) + std::max(px(16), box.height());
}

void MenuRowView::setHighlighted(bool highlighted) {
  if (!highlighted) setPart(MenuChoice::Part::row);
  if (highlighted_ == highlighted) return;
  highlighted_ = highlighted;
  if (later_) later_->setOnAccent(highlighted), done_->setOnAccent(highlighted);
  update();
}

void MenuRowView::setPart(MenuChoice::Part part) {
  part_ = part;
  if (later_) later_->setCurrent(part == MenuChoice::Part::later);
  if (done_) done_->setCurrent(part == MenuChoice::Part::done);
}

QWidget* MenuRowView::currentWidget() {
  switch (part_) {
    case MenuChoice::Part::later: return later_;
    case MenuChoice::Part::done: return done_;
    case MenuChoice::Part::row: break;
  }
  return this;
}

MenuChoice MenuRowView::choice(MenuChoice::Part part) const {
  return {.part = part, .represented = row_.represented, .settleKey = row_.settleKey};
}

int MenuRowView::textRight() const { return width() - px(kAfterText); }

void MenuRowView::resizeEvent(QResizeEvent*) {
  if (!later_) return;
  done_->move(textRight() - done_->width(), (height() - done_->height()) / 2);
  later_->move(done_->x() - px(kButtonGap) - later_->width(), done_->y());
}

QColor MenuRowView::textColor() const {
  if (highlighted_) return colors::onAccent();
  return isSelectable() || row_.form == MenuRow::Form::pair ? colors::label() : colors::tertiaryLabel();
}

QColor MenuRowView::detailColor() const {
  if (highlighted_) return colors::secondaryOnAccent();
  return isSelectable() ? colors::secondaryLabel() : colors::tertiaryLabel();
}

void MenuRowView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  switch (row_.form) {
    case MenuRow::Form::normal: return paintNormal(painter);
    case MenuRow::Form::header: return paintHeader(painter);
    case MenuRow::Form::pair: return paintPair(painter);
    case MenuRow::Form::attention: return paintAttention(painter);
    case MenuRow::Form::section: return paintSection(painter);
    case MenuRow::Form::separator:
      painter.fillRect(QRect(px(kTextLeft), height() / 2, width() - 2 * px(kTextLeft), 1), colors::separator());
  }
}

void MenuRowView::paintHighlight(QPainter& painter) {
  if (!highlighted_) return;
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors::accent());
  painter.drawRoundedRect(rect().adjusted(px(kSideInset), 0, -px(kSideInset), 0), px(5), px(5));
}

void MenuRowView::paintNormal(QPainter& painter) {
  paintHighlight(painter);
  const QFont font = metrics::font(kTitlePoints), small = metrics::font(kSmallPoints);
  int right = textRight();
  if (hasSubmenu()) {
    const int size = px(11);
    drawing::symbol(painter, QRectF(textRight() + px(10), (height() - size) / 2.0, size, size), View::Icon::chevron,
                    detailColor());
  }
  if (!row_.key.empty()) {
    const QString key = texts::controlKey(row_.key);
    const int keyWidth = textWidth(key, font);
    drawText(painter, QRect(right - keyWidth, 0, keyWidth + 1, height()), key, font, detailColor());
    right -= keyWidth + px(12);
  }
  const int left = px(kCheckedLeft);
  if (row_.checked == true) {
    painter.setPen(QPen(textColor(), px(1.6), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    const QPointF middle(px(15), height() / 2.0);
    painter.drawPolyline(
        QPolygonF{middle + QPointF(-px(4), 0), middle + QPointF(-px(1), px(3)), middle + QPointF(px(4), -px(4))});
  }
  const bool tall = !subtitle_.isEmpty();
  const int line = tall ? px(18) : height();
  const int top = tall ? px(3) : 0;
  // Where both don't fit, the title keeps what it needs up to half of the row.
  const int gap = detail_.isEmpty() ? 0 : px(kGap);
  const int titleShare = std::min(textWidth(title_, font) + 1, (right - left) / 2);
  const int detailWidth = std::min(textWidth(detail_, font) + 1, right - left - gap - titleShare);
  if (!detail_.isEmpty()) {
    drawText(painter, QRect(right - detailWidth, top, detailWidth, line), detail_, font, detailColor(), Qt::AlignRight);
  }
  const int titleRight = detail_.isEmpty() ? right : right - detailWidth - gap;
  drawText(painter, QRect(left, top, titleRight - left, line), title_, font, textColor());
  if (tall) drawText(painter, QRect(left, top + line - px(1), right - left, px(16)), subtitle_, small, detailColor());
}

void MenuRowView::paintHeader(QPainter& painter) {
  const int left = px(kHeaderLeft), room = width() - px(kAroundHeader);
  drawText(painter, QRect(left, px(8), room, px(20)), title_, metrics::font(kHeadlinePoints, true), colors::label());
  if (row_.subtitle.empty()) return;
  painter.setFont(metrics::font(kMessagePoints));
  painter.setPen(colors::secondaryLabel());
  painter.drawText(QRect(left, px(30), room, height() - px(32)), Qt::TextWordWrap | Qt::TextWrapAnywhere, subtitle_);
}

void MenuRowView::paintPair(QPainter& painter) {
  const QFont font = metrics::font(kTitlePoints);
  const int left = px(kTextLeft), right = textRight();
  const int stateWidth = std::min(textWidth(detail_, font) + 1, (right - left) * 7 / 10);
  drawText(painter, QRect(right - stateWidth, 0, stateWidth, height()), detail_, font, colors::secondaryLabel(),
           Qt::AlignRight);
  drawText(painter, QRect(left, 0, right - stateWidth - px(kGap) - left, height()), title_, font, colors::label());
}

void MenuRowView::paintAttention(QPainter& painter) {
  paintHighlight(painter);
  const int left = px(kTextLeft);
  const int room = later_->x() - px(kBeforeButtons) - left;
  if (subtitle_.isEmpty()) {
    return drawText(painter, QRect(left, 0, room, height()), title_, metrics::font(kTitlePoints), textColor());
  }
  drawText(painter, QRect(left, px(3), room, px(18)), title_, metrics::font(kTitlePoints), textColor());
  drawText(painter, QRect(left, px(20), room, px(16)), subtitle_, metrics::font(kSmallPoints), detailColor());
}

void MenuRowView::paintSection(QPainter& painter) {
  drawText(painter, QRect(px(kTextLeft), px(2), textRight() - px(kTextLeft), height() - px(2)), title_,
           metrics::font(kSmallPoints, true), colors::secondaryLabel());
}

}  // namespace kestrelune
