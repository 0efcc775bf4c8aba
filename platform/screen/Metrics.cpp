#include "Metrics.hpp"

#include <QFontInfo>
#include <QGuiApplication>
#include <algorithm>
#include <cmath>

namespace kestrelune::metrics {
namespace {

/// What desktops set where the user has changed nothing: 10 points at 96 dots an inch.
constexpr double kUsualPixels = 40.0 / 3;
/// Smaller differences come from rounding and from themes, not from a wish.
constexpr double kTolerance = 0.12;

}  // namespace

double textScale() {
  const double scale = QFontInfo(QGuiApplication::font()).pixelSize() / kUsualPixels;
  return std::abs(scale - 1) < kTolerance ? 1 : std::clamp(scale, 0.8, 3.0);
}

int px(double points) { return static_cast<int>(std::lround(points * textScale())); }

QFont font(double points, bool semibold) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(std::max(1, px(points)));
  font.setWeight(semibold ? QFont::DemiBold : QFont::Normal);
  return font;
}

}  // namespace kestrelune::metrics
