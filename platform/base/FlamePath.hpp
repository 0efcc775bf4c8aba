#pragma once

#include <array>
#include <span>

/// The flame, our sign: the one drawing from which every picture of it is made. A box of 22 by 20 points, y down;
/// closed contours of cubic Bézier curves, filled by the even-odd rule, so that the inner tongue is cut out.
namespace kestrelune::flame {

inline constexpr double kWidth = 22, kHeight = 20;

struct Point {
  double x = 0, y = 0;
};
/// From the end of the curve before it to `end`.
struct Curve {
  Point control1, control2, end;
};
/// The last curve ends at `start`.
struct Contour {
  Point start;
  std::span<const Curve> curves;
};

inline constexpr std::array<Curve, 6> kBodyCurves{{
    {{12.3, 4.3}, {17.6, 6.2}, {17.6, 12.1}},    // the right side swings out
    {{17.6, 16.4}, {14.7, 19.5}, {10.9, 19.5}},  // and round the foot
    {{7.1, 19.5}, {4.4, 16.7}, {4.4, 13.2}},
    {{4.4, 10.3}, {6.2, 8.7}, {6.4, 6.0}},  // up to the small lick at the left
    {{7.5, 6.9}, {8.2, 8.1}, {8.3, 9.5}},   // down into the notch
    {{10.5, 7.3}, {11.5, 4.0}, {10.9, 0.5}},
}};
inline constexpr std::array<Curve, 4> kTongueCurves{{
    {{11.0, 12.3}, {13.2, 13.3}, {13.2, 15.7}},
    {{13.2, 17.2}, {12.1, 18.2}, {10.6, 18.2}},
    {{9.0, 18.2}, {7.8, 17.2}, {7.8, 15.6}},
    {{7.8, 13.4}, {10.2, 12.5}, {10.5, 10.0}},
}};
inline constexpr std::array<Contour, 2> kContours{{{{10.9, 0.5}, kBodyCurves}, {{10.5, 10.0}, kTongueCurves}}};

}  // namespace kestrelune::flame
