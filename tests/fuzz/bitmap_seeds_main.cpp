// Writes one small bitmap block of every kind that the import knows, and some that lie: seeds for bitmap_fuzz.
//
//     rasterkit_bitmap_seeds FOLDER

#include <vector>

#include "tests/fuzz/seed_files.h"
#include "tests/support/bitmap_blocks.h"
#include "tests/support/random.h"

namespace rasterkit::test {
namespace {

std::vector<std::uint32_t> randomColours(Random& random, int count) {
  std::vector<std::uint32_t> colours;
  for (int i = 0; i < count; ++i) colours.push_back(static_cast<std::uint32_t>(random.bits()));
  return colours;
}

std::vector<std::uint8_t> randomBytes(Random& random, int count) {
  std::vector<std::uint8_t> bytes;
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(random.bits()));
  return bytes;
}

int strideOf(const BitmapMaker& maker) { return (maker.width * maker.bits + 31) / 32 * 4; }

std::vector<BitmapMaker> seeds() {
  Random random(1);
  std::vector<BitmapMaker> all;
  const auto addRows = [&](BitmapMaker maker) {
    maker.data = randomBytes(random, strideOf(maker) * std::abs(maker.height));
    all.push_back(maker);
  };
  for (const std::uint32_t header : {12u, 40u, 52u, 56u, 108u, 124u})
    for (const std::uint16_t bits : {1, 4, 8, 16, 24, 32}) {
      if (header == 12 && (bits == 16 || bits == 32)) continue;
      BitmapMaker maker{
          .headerBytes = header, .width = random.between(1, 20), .height = random.between(1, 6), .bits = bits};
      if (bits <= 8) maker.colours = randomColours(random, 1 << bits);
      addRows(maker);
      if (header == 12) continue;
      maker.height = -maker.height;
      addRows(maker);
      if (bits <= 8) {
        maker.coloursUsed = static_cast<std::uint32_t>(random.between(1, (1 << bits) - 1));
        maker.colours = randomColours(random, static_cast<int>(maker.coloursUsed));
        addRows(maker);
      }
      if (bits != 16 && bits != 32) continue;
      maker.compression = 3;
      for (const std::vector<std::uint32_t>& masks : {std::vector<std::uint32_t>{0xF800, 0x7E0, 0x1F},
                                                      {0xF00, 0xF0, 0xF},
                                                      {0x3FF00000, 0xFFC00, 0x3FF},
                                                      {0xFF, 0xFF00, 0xFF0000},
                                                      {5, 0, 0xFF}}) {
        maker.masks = masks;
        addRows(maker);
      }
    }

  const std::vector<std::vector<std::uint8_t>> runs = {{5, 0x12, 0, 0, 0, 5, 0x34, 0x56, 0x70, 0x11, 0x22, 0, 0, 1},
                                                       {0, 2, 3, 1, 2, 9, 0, 2, 200, 100, 4, 4, 0, 1},
                                                       {255, 1, 0, 0, 255, 2, 0, 3, 1, 2, 3, 0},
                                                       {},
                                                       {0, 200, 1, 2}};
  for (const std::uint16_t bits : {8, 4})
    for (const auto& data : runs)
      for (const bool told : {false, true})
        all.push_back({.width = 9,
                       .height = 4,
                       .bits = bits,
                       .compression = bits == 8 ? 1u : 2u,
                       .sizeImage = told ? static_cast<std::uint32_t>(data.size()) : 0,
                       .coloursUsed = 4,
                       .colours = randomColours(random, 4),
                       .data = data});

  all.push_back({.width = 1 << 30, .height = 1 << 30, .data = randomBytes(random, 16)});
  all.push_back({.width = 1, .height = INT32_MIN, .data = randomBytes(random, 16)});
  all.push_back({.headerBytes = 0xFFFFFFFF, .data = randomBytes(random, 16)});
  all.push_back({.bits = 8, .coloursUsed = 0xFFFFFFFF, .data = randomBytes(random, 16)});
  return all;
}

}  // namespace
}  // namespace rasterkit::test

int main(int argc, char** argv) {
  std::vector<std::vector<std::uint8_t>> blocks;
  for (const auto& maker : rasterkit::test::seeds()) blocks.push_back(maker.block());
  return rasterkit::fuzz::writeSeeds(argc, argv, "block", blocks);
}
