#include "Metrics.hpp"

#include <QApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace kestrelune::metrics {
namespace {

/// What desktops set where the user has changed nothing; from 9 to 11 points all are usual.
constexpr double kUsualPoints = 10, kUsualDots = 96, kTolerance = 0.12;

double relative(double value, double usual) { return std::abs(value / usual - 1) < kTolerance ? 1 : value / usual; }

double textFactor = 1;

/// The font that we made larger or smaller, and what it was before.
std::optional<std::pair<QFont, QFont>> changed;

QFont usualFont() {
  const QFont font = QGuiApplication::font();
  return changed && changed->first == font ? changed->second : font;
}

double dots() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  return screen ? screen->logicalDotsPerInchY() : kUsualDots;
}

/// Where dots are larger than usual the display has taken the wish into account.
double byDisplay() {
  const double measured = relative(dots(), kUsualDots);
  return measured == 1 ? textFactor : measured;
}

double measuredScale() {
  const QFont font = usualFont();
  const double points = font.pointSizeF() > 0 ? font.pointSizeF() : font.pixelSize() * 72 / dots();
  return std::clamp(relative(points, kUsualPoints) * byDisplay(), 0.8, 3.0);
}

}  // namespace

double textScale() {
  static QFont known;
  static double scale = 0;
  if (const QFont font = QGuiApplication::font(); scale == 0 || font != known) {
    known = font;
    scale = measuredScale();
  }
  return scale;
}

void setTextFactor(double factor) {
  if (factor == textFactor) return;
  textFactor = factor;
  if (relative(dots(), kUsualDots) != 1) return;
  const QFont usual = usualFont();
  QFont font = usual;
  if (font.pointSizeF() > 0)
    font.setPointSizeF(font.pointSizeF() * factor);
  else
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(font.pixelSize() * factor))));
  changed = {font, usual};
  QApplication::setFont(font);
}

int px(double points) { return static_cast<int>(std::lround(points * textScale())); }

QFont font(double points, bool semibold) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(std::max(1, px(points)));
  font.setWeight(semibold ? QFont::DemiBold : QFont::Normal);
  return font;
}

}  // namespace kestrelune::metrics
