#include "session/Pixmaps.hpp"

#include <algorithm>
#include <cmath>

#include "session/FlameMasks.hpp"

namespace kestrelune {
namespace {

constexpr Color kFill{255, 255, 255};
// Of all greys the one that keeps a contrast of 3 to 1 to every colour of the dot and to a middle grey panel.
constexpr Color kOutline{24, 24, 24};
constexpr double kDotShare = 7.0 / 22;  // diameter of the dot in the icon's width
constexpr double kRingShare = 1.0 / 22;

struct Pixel {
  double alpha = 0, red = 0, green = 0, blue = 0;  // multiplied by alpha

  void cover(Color color, double coverage) {
    const double rest = 1 - coverage;
    alpha = alpha * rest + coverage;
    red = red * rest + color.red * coverage;
    green = green * rest + color.green * coverage;
    blue = blue * rest + color.blue * coverage;
  }
};

std::uint8_t byte(double value) { return static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L)); }

/// How much of a pixel lies in a circle, from the distance of the pixel's centre; exact enough for the eye.
double circleCoverage(double distance, double radius) { return std::clamp(radius - distance + 0.5, 0.0, 1.0); }

Pixmap draw(const flame::Mask& mask, Color dot) {
  const double size = mask.size;
  const double ring = std::max(1.0, size * kRingShare);
  const double radius = size * kDotShare / 2;
  const double centre = size - ring - radius;
  Pixmap picture{mask.size, {}};
  picture.bytes.reserve(static_cast<std::size_t>(mask.size) * static_cast<std::size_t>(mask.size) * 4);
  for (int y = 0; y < mask.size; ++y)
    for (int x = 0; x < mask.size; ++x) {
      const int index = y * mask.size + x;
      const double distance = std::hypot(x + 0.5 - centre, y + 0.5 - centre);
      Pixel pixel;
      pixel.cover(kOutline, mask.grown[index] / 255.0);
      pixel.cover(kFill, mask.flame[index] / 255.0);
      pixel.cover(kOutline, circleCoverage(distance, radius + ring));
      pixel.cover(dot, circleCoverage(distance, radius));
      const double share = pixel.alpha > 0 ? pixel.alpha : 1;
      picture.bytes.insert(picture.bytes.end(), {byte(pixel.alpha * 255), byte(pixel.red / share),
                                                 byte(pixel.green / share), byte(pixel.blue / share)});
    }
  return picture;
}

}  // namespace

std::vector<Pixmap> iconPixmaps(Color dot) {
  std::vector<Pixmap> pictures;
  for (const flame::Mask& mask : flame::kMasks) pictures.push_back(draw(mask, dot));
  return pictures;
}

}  // namespace kestrelune
