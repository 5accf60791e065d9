#include <rasterkit/geometry/bitmap.h>
#include <rasterkit/platform/desktop.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <string>

#include "tests/support/bitmap_blocks.h"
#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Reads a block that ends where its memory ends, so that a sanitizer sees a byte too many.
int imported(CPxImage& image, const Bytes& block) {
  const auto exact = std::make_unique<std::uint8_t[]>(block.size());
  std::copy(block.begin(), block.end(), exact.get());
  return CPxDIBConvert(&image).ConvertFrom(exact.get(), block.size());
}

CPxImage import(const BitmapMaker& maker) {
  CPxImage image;
  EXPECT_EQ(imported(image, maker.block()), 1);
  return image;
}

// Refused, and the image stays.
void expectRefused(const Bytes& block) {
  CPxImage image = gray8({{1, 2}, {3, 4}});
  EXPECT_EQ(imported(image, block), 0);
  EXPECT_PICTURE(image, gray8({{1, 2}, {3, 4}}));
}
void expectRefused(const BitmapMaker& maker) { expectRefused(maker.block()); }

CPxImage indices(int bits, const Table& rows) { return picture(CM_INDEX, bits, rows); }

// Messages, kept instead of shown.
class Messages {
 public:
  Messages() {
    setMessageHandler(
        [](void* self, const char* text, const char* caption, unsigned style) {
          static_cast<Messages*>(self)->all.push_back(std::string(caption) + "|" + text + "|" + std::to_string(style));
          return 1;
        },
        this);
  }
  ~Messages() { setMessageHandler(nullptr); }

  std::vector<std::string> all;
};
const char* const kMaskMessage =
    "Problem?|These DWORD masks look strange!\n\nI'm going to substitute a halftone palette.|64";

std::vector<std::uint32_t> greys(int count) {
  std::vector<std::uint32_t> colours;
  for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(count); ++i) colours.push_back(0x01010101 * i);
  return colours;
}

// Uncompressed --------------------------------------------------------------------------------------------------------

TEST(BitmapImport, reads24BitsBottomRowFirst) {
  const CPxImage image =
      import({.width = 2, .height = 2, .data = {1, 2, 3, 4, 5, 6, 99, 99, 7, 8, 9, 10, 11, 12, 99, 99}});
  EXPECT_TRUE(identical(image, rgb8({{7, 8, 9, 10, 11, 12}, {1, 2, 3, 4, 5, 6}})));  // padding 0, no palette
}

TEST(BitmapImport, readsRowsTopDownWhereTheHeightIsNegative) {
  EXPECT_PICTURE(import({.width = 1, .height = -2, .data = {1, 2, 3, 0, 4, 5, 6, 0}}), rgb8({{1, 2, 3}, {4, 5, 6}}));
}

TEST(BitmapImport, reads32BitsWithTheFourthByteAsAlpha) {
  EXPECT_PICTURE(import({.width = 2, .bits = 32, .data = {1, 2, 3, 4, 5, 6, 7, 0}}),
                 picture(CM_RGBA, 8, {{1, 2, 3, 4, 5, 6, 7, 0}}));
}

TEST(BitmapImport, reads16BitsAsFiveFiveFive) {
  // 31, 16 and 1 of 31 are 255, 131.6 and 8.2.
  EXPECT_PICTURE(import({.width = 2, .bits = 16, .data = {0x01, 0x7E, 0xFF, 0xFF}}),
                 rgb8({{8, 132, 255, 255, 255, 255}}));
}

TEST(BitmapImport, unpacksIndicesFromTheHighestBit) {
  EXPECT_PICTURE(import({.width = 11, .bits = 1, .colours = greys(2), .data = {0xA1, 0x5F, 0, 0}}),
                 indices(1, {{1, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0}}));
  EXPECT_PICTURE(import({.width = 3, .bits = 4, .colours = greys(16), .data = {0x1F, 0xA7, 0, 0}}),
                 indices(4, {{1, 15, 10}}));
  EXPECT_PICTURE(import({.width = 3, .bits = 8, .colours = greys(256), .data = {200, 0, 7, 0}}),
                 indices(8, {{200, 0, 7}}));
}

TEST(BitmapImport, readsRowsOfEveryDepthInEitherOrder) {
  struct Case {
    BitmapMaker maker;
    COLOR_MODEL model;
    int bits;
    Table rows;  // as they stand in the block
  };
  const Case cases[] = {
      {{.width = 3, .bits = 1, .colours = greys(2), .data = {0xA0, 0, 0, 0, 0x60, 0, 0, 0, 0x20, 0, 0, 0}},
       CM_INDEX,
       1,
       {{1, 0, 1}, {0, 1, 1}, {0, 0, 1}}},
      {{.width = 3, .bits = 4, .colours = greys(16), .data = {0x12, 0x30, 0, 0, 0x45, 0x60, 0, 0, 0x78, 0x90, 0, 0}},
       CM_INDEX,
       4,
       {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}},
      {{.bits = 16, .data = {0x1F, 0, 0, 0, 0xE0, 0x03, 0, 0, 0, 0x7C, 0, 0}},
       CM_RGB,
       8,
       {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}}},
      {{.bits = 32, .data = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
       CM_RGBA,
       8,
       {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}}},
      {{.bits = 32,
        .compression = 3,
        .masks = {0xFF, 0xFF00, 0xFF0000},
        .data = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
       CM_RGBA,
       8,
       {{3, 2, 1, 4}, {7, 6, 5, 8}, {11, 10, 9, 12}}},
  };
  for (auto [maker, model, bits, rows] : cases) {
    maker.height = -3;
    EXPECT_PICTURE(import(maker), picture(model, bits, rows)) << maker.bits << " bits";
    maker.height = 3;
    std::ranges::reverse(rows);
    EXPECT_PICTURE(import(maker), picture(model, bits, rows)) << maker.bits << " bits";
  }
}

TEST(BitmapImport, takesTheColourTable) {
  const CPxImage few = import({.bits = 8, .coloursUsed = 2, .colours = {0x04030201, 0x08070605}, .data = {9, 0, 0, 0}});
  ASSERT_EQ(few.palette.GetPaletteNum(), 2);
  const tagRGBA* const second = few.palette.GetPaletteItem(1);
  EXPECT_EQ(second->blue, 5);
  EXPECT_EQ(second->green, 6);
  EXPECT_EQ(second->red, 7);
  EXPECT_EQ(second->reserved, 8);
  EXPECT_EQ(sampleAt(few, 0, 0), 9);  // an index may lie beyond the table

  EXPECT_EQ(import({.bits = 1, .colours = greys(2), .data = {0, 0, 0, 0}}).palette.GetPaletteNum(), 2);
  EXPECT_EQ(import({.bits = 4, .colours = greys(16), .data = {0, 0, 0, 0}}).palette.GetPaletteNum(), 16);
}

TEST(BitmapImport, skipsTheColourTableOfTrueColour) {
  EXPECT_PICTURE(import({.coloursUsed = 2, .colours = {0x01010101, 0x02020202}, .data = {7, 8, 9, 0}}),
                 rgb8({{7, 8, 9}}));
  // As many as there are colours of 16 bits, and no more, even if all are there.
  EXPECT_PICTURE(import({.bits = 16, .coloursUsed = 65536, .colours = greys(65536), .data = {0x1F, 0, 0, 0}}),
                 rgb8({{255, 0, 0}}));
  expectRefused({.bits = 16, .coloursUsed = 65537, .colours = greys(65537), .data = {0x1F, 0, 0, 0}});
}

TEST(BitmapImport, reusesTheMemoryOfAnImageOfTheSameShape) {
  CPxImage image(CM_RGB, 8, 2, 1);
  std::memset(image.GetBuffer(), 0xEE, static_cast<std::size_t>(image.bufferSize));
  const int bits[] = {1, 2, 3};
  image.SetBitsPerSampleEx(bits);
  const void* const memory = image.GetBuffer();
  EXPECT_EQ(imported(image, BitmapMaker{.width = 2, .data = {1, 2, 3, 4, 5, 6, 9, 9}}.block()), 1);
  EXPECT_EQ(image.GetBuffer(), memory);
  EXPECT_TRUE(identical(image, rgb8({{1, 2, 3, 4, 5, 6}})));
}

// Headers -------------------------------------------------------------------------------------------------------------

TEST(BitmapImport, readsCoreHeaders) {
  EXPECT_PICTURE(import({.headerBytes = 12, .data = {1, 2, 3, 0}}), rgb8({{1, 2, 3}}));
  // The table's entries have three bytes; the palette stays black.
  const CPxImage image = import({.headerBytes = 12, .bits = 1, .colours = greys(2), .data = {0x80, 0, 0, 0}});
  EXPECT_TRUE(identical(image, [] {
    CPxImage expected(CM_INDEX, 1, 1, 1, 2);
    setSample(expected, 0, 0, 0, 1);
    return expected;
  }()));
  // Sizes are unsigned 16-bit numbers.
  const CPxImage tall = import({.headerBytes = 12, .height = 40000, .data = Bytes(4 * 40000)});
  EXPECT_EQ(tall.height, 40000);
  for (const std::uint16_t bits : {16, 32}) expectRefused({.headerBytes = 12, .bits = bits, .data = Bytes(64)});
}

TEST(BitmapImport, readsLaterHeaders) {
  for (const std::uint32_t size : {52u, 56u, 64u, 108u, 124u}) {
    SCOPED_TRACE(size);
    EXPECT_PICTURE(import({.headerBytes = size, .data = {1, 2, 3, 0}}), rgb8({{1, 2, 3}}));
    EXPECT_PICTURE(import({.headerBytes = size,
                           .width = 2,
                           .bits = 16,
                           .compression = 3,
                           .masks = {0xF800, 0x7E0, 0x1F},
                           .data = {0xE0, 0x07, 0x1F, 0xF8}}),
                   rgb8({{0, 255, 0, 255, 0, 255}}));
    EXPECT_PICTURE(import({.headerBytes = size, .bits = 8, .colours = greys(256), .data = {3, 0, 0, 0}}),
                   indices(8, {{3}}));
  }
  for (const std::uint32_t size : {0u, 1u, 11u, 13u, 16u, 39u, 41u, 48u, 51u, 125u, 128u, 0xFFFFFFFFu})
    expectRefused({.headerBytes = size, .data = Bytes(256)});
}

TEST(BitmapImport, doesNotLookAtPlanesOrTheSizeOfUncompressedRows) {
  EXPECT_PICTURE(import({.planes = 7, .sizeImage = 0xFFFFFFFF, .data = {1, 2, 3, 0}}), rgb8({{1, 2, 3}}));
}

TEST(BitmapImport, refusesWhatCannotBe) {
  const Bytes data(4096);
  for (const std::int32_t width : {0, -1, INT_MIN, INT_MAX, 1 << 20}) expectRefused({.width = width, .data = data});
  for (const std::int32_t height : {0, INT_MIN, INT_MAX, -INT_MAX, 1 << 20})
    expectRefused({.height = height, .data = data});
  for (const std::uint16_t bits : {0, 2, 3, 5, 12, 15, 23, 31, 33, 48, 64, 65535})
    expectRefused({.bits = bits, .data = data});
  for (const std::uint32_t compression : {1u, 2u, 3u, 4u, 5u, 6u, 11u, 0xFFFFFFFFu})
    expectRefused({.bits = 24, .compression = compression, .sizeImage = 4, .data = data});
  expectRefused({.bits = 4, .compression = 1, .sizeImage = 4, .data = data});
  expectRefused({.bits = 8, .compression = 2, .sizeImage = 4, .data = data});
  expectRefused({.bits = 1, .compression = 1, .sizeImage = 4, .data = data});
  expectRefused({.bits = 8, .compression = 3, .data = data});
  expectRefused({.bits = 8, .coloursUsed = 257, .data = data});
  expectRefused({.bits = 1, .coloursUsed = 3, .data = data});
  expectRefused({.bits = 24, .coloursUsed = 0xFFFFFFFF, .data = data});
  expectRefused({.bits = 32, .coloursUsed = 0x40000000, .data = data});
}

TEST(BitmapImport, refusesABlockThatIsOneByteShort) {
  const BitmapMaker makers[] = {
      {.width = 3, .height = 2, .data = Bytes(24)},
      {.headerBytes = 12, .bits = 1, .colours = greys(2), .data = Bytes(4)},
      {.bits = 4, .colours = greys(16), .data = Bytes(4)},
      {.bits = 8, .coloursUsed = 3, .colours = greys(3), .data = Bytes(4)},
      {.bits = 32, .compression = 3, .masks = {0xFF0000, 0xFF00, 0xFF}, .data = Bytes(4)},
      {.headerBytes = 124, .bits = 16, .compression = 3, .masks = {0x7C00, 0x3E0, 0x1F}, .data = Bytes(4)},
      {.bits = 8, .compression = 1, .sizeImage = 4, .colours = greys(256), .data = {1, 2, 0, 1}},
  };
  for (const BitmapMaker& maker : makers) {
    const Bytes block = maker.block();
    CPxImage image;
    EXPECT_EQ(imported(image, block), 1);
    for (std::size_t size = 0; size < block.size(); ++size)
      expectRefused(Bytes(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(size)));
  }
}

TEST(BitmapImport, refusesNull) {
  CPxImage image = gray8({{1}});
  EXPECT_EQ(CPxDIBConvert(&image).ConvertFrom(nullptr, 100), 0);
  EXPECT_EQ(CPxDIBConvert(&image).ConvertFrom(nullptr), 0);
  EXPECT_PICTURE(image, gray8({{1}}));
  const Bytes block = BitmapMaker{.data = {1, 2, 3, 0}}.block();
  EXPECT_EQ(CPxDIBConvert().ConvertFrom(block.data(), block.size()), 0);
}

TEST(BitmapImport, takesTheSizeFromTheHeaderWhereNoneIsGiven) {
  const auto unsized = [](const BitmapMaker& maker, CPxImage& image) {
    Bytes block = maker.block();
    return CPxDIBConvert(&image).ConvertFrom(reinterpret_cast<BITMAPINFOHEADER*>(block.data()));
  };
  CPxImage image;
  EXPECT_EQ(unsized({.width = 2, .data = {1, 2, 3, 4, 5, 6, 0, 0}}, image), 1);
  EXPECT_PICTURE(image, rgb8({{1, 2, 3, 4, 5, 6}}));
  EXPECT_EQ(unsized({.headerBytes = 12, .data = {1, 2, 3, 0}}, image), 1);
  EXPECT_PICTURE(image, rgb8({{1, 2, 3}}));
  EXPECT_EQ(unsized({.bits = 32, .compression = 3, .masks = {0xFF, 0xFF00, 0xFF0000}, .data = {1, 2, 3, 4}}, image), 1);
  EXPECT_PICTURE(image, picture(CM_RGBA, 8, {{3, 2, 1, 4}}));
  const BitmapMaker runs{
      .width = 2, .bits = 8, .compression = 1, .coloursUsed = 1, .colours = {0}, .data = {2, 0, 0, 1}};
  BitmapMaker told = runs;
  told.sizeImage = 4;
  EXPECT_EQ(unsized(told, image), 1);
  EXPECT_PICTURE(image, indices(8, {{0, 0}}));
  EXPECT_EQ(unsized(runs, image), 0);  // nobody says where they end
  EXPECT_EQ(unsized({.width = -1, .data = {1, 2, 3, 0}}, image), 0);
}

TEST(BitmapImport, takesAnyAlignment) {
  const Bytes block =
      BitmapMaker{.bits = 32, .compression = 3, .masks = {0xFF, 0xFF00, 0xFF0000}, .data = {1, 2, 3, 4}}.block();
  for (std::size_t offset = 0; offset < 4; ++offset) {
    Bytes moved(offset);
    moved.insert(moved.end(), block.begin(), block.end());
    CPxImage image;
    EXPECT_EQ(CPxDIBConvert(&image).ConvertFrom(moved.data() + offset, block.size()), 1);
    EXPECT_PICTURE(image, picture(CM_RGBA, 8, {{3, 2, 1, 4}}));
  }
}

// Bit fields ----------------------------------------------------------------------------------------------------------

TEST(BitmapImport, takesBitFieldsOfAnyWidthAndPlace) {
  // Red 3 bits, green 2, blue 1: rounded to nearest.
  EXPECT_PICTURE(
      import({.width = 2, .bits = 16, .compression = 3, .masks = {0x38, 0x6, 0x1}, .data = {0x2B, 0, 0x12, 0}}),
      rgb8({{255, 85, 182, 0, 85, 73}}));
  // Ten bits each: the top eight. The colour table that the header claims is not there.
  EXPECT_PICTURE(import({.bits = 32,
                         .compression = 3,
                         .coloursUsed = 5,
                         .masks = {0x3FF00000, 0xFFC00, 0x3FF},
                         .data = {0xFF, 0x03, 0x08, 0x80}}),
                 picture(CM_RGBA, 8, {{255, 128, 0, 128}}));
}

TEST(BitmapImport, keepsTheFourthByteAsAlphaWhateverTheMasks) {
  EXPECT_PICTURE(import({.bits = 32, .compression = 3, .masks = {0xFF000000, 0xFF0000, 0xFF00}, .data = {1, 2, 3, 4}}),
                 picture(CM_RGBA, 8, {{2, 3, 4, 4}}));
}

TEST(BitmapImport, replacesStrangeMasksByTheUsualOnesAndSaysSo) {
  Messages messages;
  for (const std::uint32_t strange : {0u, 0x5u, 0xFF00FFu, 0x80000001u}) {
    messages.all.clear();
    EXPECT_PICTURE(import({.bits = 16, .compression = 3, .masks = {0xF800, 0x7E0, strange}, .data = {0x1F, 0, 0, 0}}),
                   rgb8({{255, 0, 0}}));
    EXPECT_EQ(messages.all, std::vector<std::string>{kMaskMessage});
  }
  EXPECT_PICTURE(import({.bits = 32, .compression = 3, .masks = {0xFF, 5, 0xFF0000}, .data = {1, 2, 3, 4}}),
                 picture(CM_RGBA, 8, {{1, 2, 3, 4}}));

  // One run of all 32 bits is a mask.
  messages.all.clear();
  EXPECT_PICTURE(import({.bits = 32, .compression = 3, .masks = {0xFFFFFFFF, 0xFF00, 0xFF}, .data = {1, 2, 3, 4}}),
                 picture(CM_RGBA, 8, {{1, 2, 4, 4}}));
  EXPECT_TRUE(messages.all.empty());
}

TEST(BitmapImport, saysNothingAboutABlockThatItRefuses) {
  Messages messages;
  expectRefused({.bits = 32, .compression = 3, .masks = {0, 0, 0}, .data = {1, 2, 3}});
  EXPECT_TRUE(messages.all.empty());
}

// Run-length data -----------------------------------------------------------------------------------------------------

CPxImage runs(int bits, int width, int height, Bytes data, std::uint32_t sizeImage = 0) {
  return import({.width = width,
                 .height = height,
                 .bits = static_cast<std::uint16_t>(bits),
                 .compression = bits == 8 ? 1u : 2u,
                 .sizeImage = sizeImage,
                 .coloursUsed = 1,
                 .colours = {0},
                 .data = std::move(data)});
}

TEST(BitmapImport, decodesRunsOfBytes) {
  EXPECT_PICTURE(runs(8, 4, 2, {3, 7, 1, 9, 0, 0, 0, 3, 1, 2, 3, 0, 1, 5, 0, 1}),
                 indices(8, {{1, 2, 3, 5}, {7, 7, 7, 9}}));
}

TEST(BitmapImport, decodesRunsOfNibbles) {
  // Five of the pair 1, 2; then five pixels in three bytes and one of padding.
  EXPECT_PICTURE(runs(4, 5, 2, {5, 0x12, 0, 0, 0, 5, 0x34, 0x56, 0x70, 0xFF, 0, 1}),
                 indices(4, {{3, 4, 5, 6, 7}, {1, 2, 1, 2, 1}}));
}

TEST(BitmapImport, leavesSkippedPixelsAtZero) {
  EXPECT_PICTURE(runs(8, 4, 3, {1, 5, 0, 2, 2, 1, 1, 6, 0, 1}), indices(8, {{0, 0, 0, 0}, {0, 0, 0, 6}, {5, 0, 0, 0}}));
  EXPECT_PICTURE(runs(8, 2, 2, {0, 0, 1, 4, 0, 1, 2, 9}), indices(8, {{4, 0}, {0, 0}}));
}

TEST(BitmapImport, cutsRunsAtTheRowsEndAndDropsRowsAboveTheTop) {
  EXPECT_PICTURE(runs(8, 3, 1, {2, 1, 200, 2, 9, 3, 0, 4, 5, 5, 5, 5, 0, 0, 3, 8, 0, 1}), indices(8, {{1, 1, 2}}));
  EXPECT_PICTURE(runs(4, 3, 2, {9, 0x12, 0, 2, 255, 0, 1, 0x77, 0, 2, 0, 255, 1, 0x99, 0, 1}),
                 indices(4, {{0, 0, 0}, {1, 2, 1}}));
}

TEST(BitmapImport, takesRunLengthDataThatEndEarly) {
  EXPECT_PICTURE(runs(8, 3, 1, {}), indices(8, {{0, 0, 0}}));
  EXPECT_PICTURE(runs(8, 3, 1, {1, 4, 2}), indices(8, {{4, 0, 0}}));
  EXPECT_PICTURE(runs(8, 5, 1, {0, 5, 1, 2}), indices(8, {{1, 2, 0, 0, 0}}));
  EXPECT_PICTURE(runs(4, 5, 1, {0, 5, 0x12}), indices(4, {{1, 2, 0, 0, 0}}));
  EXPECT_PICTURE(runs(8, 3, 1, {1, 4, 0, 2, 1}), indices(8, {{4, 0, 0}}));
  // What lies beyond the told size is not data.
  EXPECT_PICTURE(runs(8, 3, 1, {1, 4, 2, 5}, 2), indices(8, {{4, 0, 0}}));
}

TEST(BitmapImport, refusesRunsThatAreTopDownOrLongerThanTheBlock) {
  BitmapMaker maker{.height = -1, .bits = 8, .compression = 1, .coloursUsed = 1, .colours = {0}, .data = {1, 4, 0, 1}};
  expectRefused(maker);
  maker.height = 1;
  maker.sizeImage = 5;
  expectRefused(maker);
}

TEST(BitmapImport, clearsAnImageThatItReusesForRuns) {
  CPxImage image = import({.width = 2, .bits = 8, .coloursUsed = 1, .colours = {0}, .data = {7, 7, 0, 0}});
  EXPECT_EQ(
      imported(image,
               BitmapMaker{.width = 2, .bits = 8, .compression = 1, .coloursUsed = 1, .colours = {0}, .data = {0, 1}}
                   .block()),
      1);
  EXPECT_PICTURE(image, indices(8, {{0, 0}}));
}

// Palettes ------------------------------------------------------------------------------------------------------------

bool isColour(const CPxPalette& palette, int index, int blue, int green, int red) {
  const tagRGBA* const entry = palette.GetPaletteItem(index);
  return entry && entry->blue == blue && entry->green == green && entry->red == red && entry->reserved == 0;
}

CPxPalette paletteFor(const BitmapMaker& maker) {
  CPxPalette palette;
  const Bytes block = maker.block();
  EXPECT_EQ(bitmapPalette(block.data(), block.size(), palette), 1);
  return palette;
}

TEST(BitmapPalette, isTheColourTableUpTo8Bits) {
  const CPxPalette palette =
      paletteFor({.bits = 4, .coloursUsed = 2, .colours = {0x00030201, 0x05060708}, .data = Bytes(4)});
  ASSERT_EQ(palette.GetPaletteNum(), 2);
  EXPECT_TRUE(isColour(palette, 0, 1, 2, 3));
  EXPECT_EQ(palette.GetPaletteItem(1)->reserved, 5);
  EXPECT_EQ(paletteFor({.bits = 1, .colours = greys(2), .data = Bytes(4)}).GetPaletteNum(), 2);
}

TEST(BitmapPalette, listsFrequentColoursFirstThenTheLowest) {
  // Twice a red, once a blue, once a green that stands higher among 16-bit colours than the blue; white is not counted.
  const CPxPalette palette = paletteFor({.width = 7, .data = {0, 0, 255, 255, 255, 255, 15,  0,   0,   7, 3, 249,
                                                              0, 7, 0,   255, 255, 255, 255, 255, 255, 0, 0, 0}});
  ASSERT_EQ(palette.GetPaletteNum(), 256);
  EXPECT_TRUE(isColour(palette, 0, 0, 0, 248));
  EXPECT_TRUE(isColour(palette, 1, 8, 0, 0));
  EXPECT_TRUE(isColour(palette, 2, 0, 4, 0));
  // Then those that do not occur, in ascending order: 0, 2, 3 (1 is the blue above).
  EXPECT_TRUE(isColour(palette, 3, 0, 0, 0));
  EXPECT_TRUE(isColour(palette, 4, 16, 0, 0));
  EXPECT_TRUE(isColour(palette, 255, 240, 28, 0));
}

TEST(BitmapPalette, countsThePixelsOfAllRows) {
  for (const int height : {3, -3}) {
    const CPxPalette palette = paletteFor({.height = height, .data = {0, 0, 255, 0, 255, 0, 0, 0, 255, 0, 0, 0}});
    EXPECT_TRUE(isColour(palette, 0, 248, 0, 0));
    EXPECT_TRUE(isColour(palette, 1, 0, 0, 248));
    const CPxPalette fields =
        paletteFor({.height = height, .bits = 16, .data = {0xE0, 0x03, 0, 0, 0x1F, 0, 0, 0, 0xE0, 0x03, 0, 0}});
    EXPECT_TRUE(isColour(fields, 0, 0, 252, 0));
    EXPECT_TRUE(isColour(fields, 1, 248, 0, 0));
  }
}

TEST(BitmapPalette, takesSamplesByTheirMasks) {
  // 5-5-5 with all bits of green: 255, whose upper six bits are 252.
  EXPECT_TRUE(isColour(paletteFor({.bits = 16, .data = {0xE0, 0x03, 0, 0}}), 0, 0, 252, 0));
  EXPECT_TRUE(isColour(paletteFor({.bits = 32, .data = {9, 5, 17, 99}}), 0, 8, 4, 16));
  EXPECT_TRUE(
      isColour(paletteFor({.bits = 32, .compression = 3, .masks = {0xFF, 0xFF00, 0xFF0000}, .data = {17, 5, 9, 0}}), 0,
               8, 4, 16));
}

TEST(BitmapPalette, isTheHalftonePaletteForStrangeMasks) {
  Messages messages;
  const CPxPalette palette = paletteFor({.bits = 16, .compression = 3, .masks = {5, 0x7E0, 0x1F}, .data = Bytes(4)});
  EXPECT_EQ(messages.all, std::vector<std::string>{kMaskMessage});
  ASSERT_EQ(palette.GetPaletteNum(), 256);
  EXPECT_TRUE(isColour(palette, 0, 0, 0, 0));
  EXPECT_TRUE(isColour(palette, 1, 51, 0, 0));
  EXPECT_TRUE(isColour(palette, 6, 0, 51, 0));
  EXPECT_TRUE(isColour(palette, 36, 0, 0, 51));
  EXPECT_TRUE(isColour(palette, 215, 255, 255, 255));
  EXPECT_TRUE(isColour(palette, 216, 6, 6, 6));        // 255 / 41 = 6.2
  EXPECT_TRUE(isColour(palette, 255, 248, 248, 248));  // 40 * 255 / 41 = 248.8
}

TEST(BitmapPalette, staysWhereThereIsNone) {
  CPxPalette palette(3);
  const auto refuses = [&](const BitmapMaker& maker) {
    const Bytes block = maker.block();
    EXPECT_EQ(bitmapPalette(block.data(), block.size(), palette), 0);
    EXPECT_EQ(palette.GetPaletteNum(), 3);
  };
  refuses({.headerBytes = 12, .bits = 8, .colours = greys(256), .data = Bytes(4)});
  refuses({.headerBytes = 12, .data = Bytes(4)});
  refuses({.bits = 8, .colours = greys(256), .data = Bytes(3)});  // a row too short
  EXPECT_EQ(bitmapPalette(nullptr, 99, palette), 0);
}

TEST(BitmapImport, aBlockMayLieInTheImagesOwnPaletteOrPixels) {
  const Bytes block = BitmapMaker{.data = {1, 2, 3, 0}}.block();
  CPxImage image(CM_RGB, 8, 1, 1, static_cast<int>(block.size() / sizeof(tagRGBA)));
  std::memcpy(image.palette.GetPalette(), block.data(), block.size());
  EXPECT_EQ(CPxDIBConvert(&image).ConvertFrom(image.palette.GetPalette(), block.size()), 1);
  EXPECT_PICTURE(image, rgb8({{1, 2, 3}}));

  image.Create(CM_GRAY, 8, static_cast<int>(block.size()), 1);
  std::memcpy(image.GetBuffer(), block.data(), block.size());
  EXPECT_EQ(CPxDIBConvert(&image).ConvertFrom(image.GetBuffer(), block.size()), 1);
  EXPECT_PICTURE(image, rgb8({{1, 2, 3}}));
}

}  // namespace
}  // namespace rasterkit::test
