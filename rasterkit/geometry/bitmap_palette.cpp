// The palette of a bitmap block: its table, or its most frequent colours.

#include <rasterkit/geometry/bitmap.h>

#include "rasterkit/geometry/bitmap_block.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <utility>
#include <vector>

namespace rasterkit {
namespace {

constexpr std::size_t kColours = 256;

tagRGBA grey(int level) {
  const auto sample = static_cast<unsigned char>(level);
  return {sample, sample, sample, 0};
}

CPxPalette halftonePalette() {
  CPxPalette palette(kColours);
  tagRGBA* entry = palette.GetPalette();
  const auto step = [](int i) { return static_cast<unsigned char>(i * 51); };
  for (int red = 0; red < 6; ++red)
    for (int green = 0; green < 6; ++green)
      for (int blue = 0; blue < 6; ++blue) *entry++ = {step(blue), step(green), step(red), 0};
  for (int i = 1; i <= 40; ++i) *entry++ = grey(i * 255 / 41);
  return palette;
}

std::uint16_t reduced(unsigned blue, unsigned green, unsigned red) {
  return static_cast<std::uint16_t>(red >> 3 << 11 | green >> 2 << 5 | blue >> 3);
}

tagRGBA expanded(std::uint16_t colour) {
  return {static_cast<unsigned char>(colour << 3 & 0xFF), static_cast<unsigned char>(colour >> 3 & 252),
          static_cast<unsigned char>(colour >> 8 & 248), 0};
}

// The most frequent of the 16-bit colours but the last; of equally frequent ones the lower. colourOf(row, x) is the
// colour of a pixel.
template <class ColourOf>
CPxPalette popularityPalette(const BitmapBlock& block, ColourOf colourOf) try {
  std::vector<std::uint32_t> count(65536);
  for (int y = 0; y < block.height; ++y) {
    const std::uint8_t* const row = block.row(y);
    for (int x = 0; x < block.width; ++x) ++count[colourOf(row, static_cast<std::size_t>(x))];
  }
  std::vector<std::uint16_t> order(65535);
  std::iota(order.begin(), order.end(), std::uint16_t{0});
  std::ranges::partial_sort(order, order.begin() + kColours, [&](std::uint16_t a, std::uint16_t b) {
    return count[a] != count[b] ? count[a] > count[b] : a < b;
  });
  CPxPalette palette(kColours);
  std::transform(order.begin(), order.begin() + kColours, palette.GetPalette(), expanded);
  return palette;
} catch (const std::bad_alloc&) {
  return halftonePalette();
}

CPxPalette paletteOf(const BitmapBlock& block) {
  if (block.bits <= 8) return colourTable(block);
  if (block.bits == 24)
    return popularityPalette(block, [](const std::uint8_t* row, std::size_t x) {
      return reduced(row[3 * x], row[3 * x + 1], row[3 * x + 2]);
    });
  if (!masksFit(block.masks)) return halftonePalette();
  const BitField blue(block.masks[0]), green(block.masks[1]), red(block.masks[2]);
  return popularityPalette(block, [&, bits = block.bits](const std::uint8_t* row, std::size_t x) {
    const std::uint32_t pixel = packedPixel(row, x, bits);
    return reduced(blue(pixel), green(pixel), red(pixel));
  });
}

}  // namespace

int bitmapPalette(const void* bytesOfBlock, std::size_t bytes, CPxPalette& palette) {
  const auto block = BitmapBlock::read(bytesOfBlock, bytes);
  if (!block || block->core) return 0;
  palette = paletteOf(*block);
  return 1;
}

}  // namespace rasterkit
