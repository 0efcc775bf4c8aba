#include "Metrics.hpp"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>

namespace kestrelune::metrics {
namespace {

/// What desktops set where the user has changed nothing; from 9 to 11 points all are usual.
constexpr double kUsualPoints = 10, kUsualDots = 96, kTolerance = 0.12;

double relative(double value, double usual) { return std::abs(value / usual - 1) < kTolerance ? 1 : value / usual; }

double measuredScale() {
  const QFont font = QGuiApplication::font();
  const QScreen* screen = QGuiApplication::primaryScreen();
  const double dots = screen ? screen->logicalDotsPerInchY() : kUsualDots;
  const double points = font.pointSizeF() > 0 ? font.pointSizeF() : font.pixelSize() * 72 / dots;
  return std::clamp(relative(points, kUsualPoints) * relative(dots, kUsualDots), 0.8, 3.0);
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

int px(double points) { return static_cast<int>(std::lround(points * textScale())); }

QFont font(double points, bool semibold) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(std::max(1, px(points)));
  font.setWeight(semibold ? QFont::DemiBold : QFont::Normal);
  return font;
}

}  // namespace kestrelune::metrics
