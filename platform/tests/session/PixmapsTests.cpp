#include "session/Pixmaps.hpp"

#include "Fakes/Contrast.hpp"
#include "Fakes/Testing.hpp"

namespace kestrelune {
namespace {

struct Picture {
  Pixmap map;
  Color panel;
  /// What is seen at a pixel on that panel.
  Color at(int x, int y) const {
    const std::uint8_t* pixel = &map.bytes[static_cast<std::size_t>(y * map.size + x) * 4];
    const auto mix = [&](int over, int under) {
      return static_cast<std::uint8_t>((over * pixel[0] + under * (255 - pixel[0])) / 255);
    };
    return {mix(pixel[1], panel.red), mix(pixel[2], panel.green), mix(pixel[3], panel.blue)};
  }
};

TEST(PixmapsTest, FlameAndDotReadOnEveryPanel) {
  const Color dots[] = {{46, 125, 91}, {217, 130, 43}, {208, 52, 44}, {201, 52, 0}};
  const Color panels[] = {{255, 255, 255}, {128, 128, 128}, {0, 0, 0}};
  for (const Color dot : dots)
    for (const Pixmap& map : iconPixmaps(dot))
      for (const Color panel : panels) {
        SCOPED_TRACE(testing::Message() << "dot " << int(dot.red) << " size " << map.size << " panel "
                                        << int(panel.red));
        ASSERT_EQ(map.bytes.size(), static_cast<std::size_t>(map.size) * map.size * 4);
        const Picture picture{map, panel};
        EXPECT_EQ(map.bytes[0], 0) << "the corner is clear";
        // From the dot's middle to the right edge: the dot, then a ring, unless the panel itself sets it off.
        const int row = static_cast<int>(map.size - map.size / 22.0 - map.size * 7 / 44.0);
        EXPECT_EQ(picture.at(row, row), dot);
        double strongest = 1;
        for (int x = row; x < map.size; ++x) strongest = std::max(strongest, contrast(picture.at(x, row), dot));
        EXPECT_GE(strongest, 3) << "dot and what is around it";
        // Across the flame's body: somewhere it stands out.
        double flame = 1;
        for (int x = 0; x < map.size; ++x) flame = std::max(flame, contrast(picture.at(x, map.size * 2 / 5), panel));
        EXPECT_GE(flame, 3) << "flame and panel";
      }
}

}  // namespace
}  // namespace kestrelune
