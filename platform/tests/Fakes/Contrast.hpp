#pragma once

#include <algorithm>
#include <cmath>

#include "base/Session.hpp"

namespace kestrelune {

/// The contrast of two colours as WCAG has it, from 1 to 21.
inline double contrast(Color one, Color other) {
  const auto linear = [](double value) {
    value /= 255;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  const auto luminance = [&](Color color) {
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
  };
  const double a = luminance(one) + 0.05, b = luminance(other) + 0.05;
  return std::max(a, b) / std::min(a, b);
}

}  // namespace kestrelune
