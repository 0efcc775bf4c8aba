#pragma once

#include <cstdint>
#include <vector>

#include "base/Session.hpp"

namespace kestrelune {

/// A square picture: four bytes a pixel, alpha, red, green, blue, colours not multiplied by alpha, row by row.
struct Pixmap {
  int size = 0;
  std::vector<std::uint8_t> bytes;
  bool operator==(const Pixmap&) const = default;
};

/// The flame with the dot at its lower right corner, at every size that hosts ask for, smallest first. White with a
/// dark outline, the dot with a dark ring: both read on light, grey and dark panels without knowing which it is.
std::vector<Pixmap> iconPixmaps(Color dot);

}  // namespace kestrelune
