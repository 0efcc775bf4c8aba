// Renders the flame into coverage masks, once, while the system is built: FlameMasks OUTPUT.
// Each size has two: the flame itself, and the flame grown by an outline.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "base/FlamePath.hpp"

namespace {

using kestrelune::flame::Contour;
using kestrelune::flame::Curve;
using kestrelune::flame::Point;

constexpr int kSizes[] = {16, 22, 24, 32, 48, 64, 96};
constexpr int kSamples = 8;    // each way within a pixel
constexpr int kSegments = 24;  // lines that stand for one curve
// The flame stands in a square a little higher than its box, so that the outline has room.
constexpr double kSquare = 21;
constexpr double kOutline = 0.055;  // of the square's side
constexpr double kThinnest = 1.0;   // of the outline, pixels

struct Line {
  Point from, to;
};

Point at(Point start, const Curve& curve, double t) {
  const double u = 1 - t;
  const double a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
  return {a * start.x + b * curve.control1.x + c * curve.control2.x + d * curve.end.x,
          a * start.y + b * curve.control1.y + c * curve.control2.y + d * curve.end.y};
}

std::vector<Line> lines(int size) {
  const double scale = size / kSquare;
  const auto place = [&](Point point) {
    return Point{(point.x - kestrelune::flame::kWidth / 2) * scale + size / 2.0,
                 (point.y - kestrelune::flame::kHeight / 2) * scale + size / 2.0};
  };
  std::vector<Line> result;
  for (const Contour& contour : kestrelune::flame::kContours) {
    Point start = contour.start;
    for (const Curve& curve : contour.curves) {
      for (int i = 0; i < kSegments; ++i)
        result.push_back(
            {place(at(start, curve, double(i) / kSegments)), place(at(start, curve, double(i + 1) / kSegments))});
      start = curve.end;
    }
  }
  return result;
}

bool inside(const std::vector<Line>& outline, Point p) {
  bool in = false;
  for (const Line& line : outline) {
    if ((line.from.y > p.y) == (line.to.y > p.y)) continue;
    const double t = (p.y - line.from.y) / (line.to.y - line.from.y);
    if (p.x < line.from.x + t * (line.to.x - line.from.x)) in = !in;
  }
  return in;
}

bool isNear(const std::vector<Line>& outline, Point p, double distance) {
  return std::any_of(outline.begin(), outline.end(), [&](const Line& line) {
    const double dx = line.to.x - line.from.x, dy = line.to.y - line.from.y;
    const double length = dx * dx + dy * dy;
    const double along = ((p.x - line.from.x) * dx + (p.y - line.from.y) * dy) / std::max(length, 1e-12);
    const double t = std::clamp(along, 0.0, 1.0);
    return std::hypot(p.x - line.from.x - t * dx, p.y - line.from.y - t * dy) <= distance;
  });
}

struct Masks {
  std::vector<int> flame, grown;
};

Masks render(int size) {
  const std::vector<Line> outline = lines(size);
  const double distance = std::max(kThinnest, kOutline * size);
  Masks masks;
  for (int y = 0; y < size; ++y)
    for (int x = 0; x < size; ++x) {
      int flame = 0, grown = 0;
      for (int i = 0; i < kSamples * kSamples; ++i) {
        const int column = i % kSamples, row = i / kSamples;
        const Point p{x + (column + 0.5) / kSamples, y + (row + 0.5) / kSamples};
        const bool in = inside(outline, p);
        flame += in;
        grown += in || isNear(outline, p, distance);
      }
      const auto coverage = [](int count) { return (count * 255 + kSamples * kSamples / 2) / (kSamples * kSamples); };
      masks.flame.push_back(coverage(flame));
      masks.grown.push_back(coverage(grown));
    }
  return masks;
}

void writeArray(std::ofstream& out, const std::string& name, const std::vector<int>& values) {
  out << "inline constexpr std::uint8_t " << name << "[] = {";
  for (std::size_t i = 0; i < values.size(); ++i) out << (i % 32 ? "," : (i ? ",\n" : "\n")) << values[i];
  out << "};\n";
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: FlameMasks OUTPUT\n");
    return 2;
  }
  std::ofstream out(arguments[1], std::ios::trunc);
  out << "#pragma once\n\n#include <cstdint>\n\nnamespace kestrelune::flame {\n\n"
      << "/// Coverage from 0 to 255, row by row, of the flame and of the flame with its outline.\n"
      << "struct Mask {\n  int size;\n  const std::uint8_t* flame;\n  const std::uint8_t* grown;\n};\n\n";
  std::string table;
  for (const int size : kSizes) {
    const Masks masks = render(size);
    const std::string number = std::to_string(size);
    writeArray(out, "kFlame" + number, masks.flame);
    writeArray(out, "kGrown" + number, masks.grown);
    table += "    {" + number + ", kFlame" + number + ", kGrown" + number + "},\n";
  }
  out << "\ninline constexpr Mask kMasks[] = {\n" << table << "};\n\n}  // namespace kestrelune::flame\n";
  out.close();
  return out ? 0 : 1;
}
