#include <rasterkit/core/levels.h>
#include <rasterkit/geometry/geometry.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>

#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

using Geometry = CPxGeometryProcessing;
constexpr auto kBilinear = Geometry::INTERPOLATION_BILINEAR;
constexpr auto kNearest = Geometry::INTERPOLATION_NEAREST;

bool allZero(const CPxImage& image) {
  const auto* const first = static_cast<const unsigned char*>(image.GetBuffer());
  return std::all_of(first, first + image.bufferSize, [](unsigned char byte) { return byte == 0; });
}

struct Result {
  int flag;
  CPxImage dst;
};

Result resized(CPxImage source, int width, int height, Geometry::INTERPOLATION mode) {
  Result result;
  result.flag = Geometry(&source).Resize(width, height, result.dst, mode);
  return result;
}

Result scaled(CPxImage source, float factor) {
  Result result;
  result.flag = Geometry(&source).Resize(factor, result.dst);
  return result;
}

// Resize to a size ----------------------------------------------------------------------------------------------------

TEST(Resize, blendsAcrossWithTheLastColumnRepeatedAndReportsZero) {
  const Result result = resized(gray8({{10, 20}}), 4, 1, kBilinear);
  EXPECT_EQ(result.flag, 0);
  EXPECT_PICTURE(result.dst, gray8({{10, 15, 20, 20}}));
}

TEST(Resize, blendsDownAndTruncatesAfterEachDirection) {
  // Half-way: (10 + 21) / 2 is 15.5, cut to 15; (15 + 40) / 2 is 27.5, cut to 27.
  const Result result = resized(gray8({{10, 21}, {40, 40}}), 4, 4, kBilinear);
  EXPECT_PICTURE(result.dst, gray8({{10, 15, 21, 21}, {25, 27, 30, 30}, {40, 40, 40, 40}, {40, 40, 40, 40}}));
  EXPECT_PICTURE(resized(gray16({{1000}, {3001}}), 1, 4, kBilinear).dst, gray16({{1000}, {2000}, {3001}, {3001}}));
}

TEST(Resize, blendsEachChannel) {
  EXPECT_PICTURE(resized(rgb8({{0, 10, 100, 4, 20, 255}}), 4, 1, kBilinear).dst,
                 rgb8({{0, 10, 100, 2, 15, 177, 4, 20, 255, 4, 20, 255}}));
}

TEST(Resize, takesTheNearestPixelAndNoneBeyondTheLast) {
  const Result result = resized(gray8({{10, 20}}), 4, 1, kNearest);
  EXPECT_EQ(result.flag, 1);
  EXPECT_PICTURE(result.dst, gray8({{10, 20, 20, 20}}));
  EXPECT_PICTURE(resized(gray8({{1}, {2}, {3}, {4}, {5}}), 1, 2, kNearest).dst, gray8({{1}, {4}}));
  EXPECT_PICTURE(resized(grayFloat({{0.5, -2}}), 1, 1, kNearest).dst, grayFloat({{0.5}}));
}

TEST(Resize, neverBlendsPaletteIndices) {
  CPxImage source(CM_INDEX, 4, 2, 1, 16);
  source.palette.GetPalette()[3] = {1, 2, 3, 4};
  setSample(source, 1, 0, 0, 15);
  for (const int mode : {1, 2, 9}) {
    const Result result = resized(source, 4, 1, static_cast<Geometry::INTERPOLATION>(mode));
    EXPECT_EQ(result.flag, 1);
    EXPECT_PICTURE(result.dst, picture(CM_INDEX, 4, {{0, 15, 15, 15}}));
    ASSERT_EQ(result.dst.palette.GetPaletteNum(), 16);
    EXPECT_EQ(result.dst.palette.GetPaletteItem(3)->reserved, 4);
  }
}

TEST(Resize, keepsChannelBitsAndClearsRowPadding) {
  CPxImage source(CM_RGB, 8, 2, 2);
  const int bits[] = {5, 6, 5};
  source.SetBitsPerSampleEx(bits);
  std::memset(source.GetBuffer(), 9, static_cast<std::size_t>(source.bufferSize));
  for (const auto mode : {kBilinear, kNearest}) {
    CPxImage dst(CM_RGB, 8, 3, 3);
    std::memset(dst.GetBuffer(), 0xFF, static_cast<std::size_t>(dst.bufferSize));
    Geometry(&source).Resize(3, 3, dst, mode);
    EXPECT_EQ(dst.channelBits[1], 6);
    CPxImage expected(CM_RGB, 8, 3, 3);
    expected.SetBitsPerSampleEx(bits);
    for (int y = 0; y < 3; ++y)
      for (int i = 0; i < 9; ++i) setSample(expected, i / 3, y, i % 3, 9);
    EXPECT_TRUE(identical(dst, expected));
  }
}

TEST(Resize, createsButDoesNotFillWhatItCannotResample) {
  const CPxImage deep(CM_GRAY, 40, 2, 2);
  const Result unknown = resized(gray8({{7, 7}}), 3, 2, static_cast<Geometry::INTERPOLATION>(3));
  const Result real = resized(grayFloat({{7, 7}}), 3, 2, kBilinear);
  const Result nearestDeep = resized(deep, 3, 2, kNearest), bilinearDeep = resized(deep, 3, 2, kBilinear);
  for (const Result* result : {&unknown, &real, &nearestDeep, &bilinearDeep}) {
    EXPECT_EQ(result->flag, 0);
    EXPECT_EQ(result->dst.width, 3);
    EXPECT_EQ(result->dst.height, 2);
    EXPECT_TRUE(allZero(result->dst));
  }
}

TEST(Resize, leavesTheDestinationWhereThereIsNothingToDo) {
  CPxImage source = gray8({{1, 2}}), columns(CM_GRAY, 8, 0, 5), rows(CM_GRAY, 8, 5, 0), empty;
  CPxImage dst = gray8({{9}});
  for (const auto mode : {kBilinear, kNearest}) {
    EXPECT_EQ(Geometry(&source).Resize(0, 5, dst, mode), 0);
    EXPECT_EQ(Geometry(&source).Resize(5, -1, dst, mode), 0);
    for (CPxImage* const nothing : {&columns, &rows, &empty, static_cast<CPxImage*>(nullptr)})
      EXPECT_EQ(Geometry(nothing).Resize(2, 2, dst, mode), 0);
  }
  EXPECT_EQ(Geometry(&source).Resize(0.0F, dst), 0);
  EXPECT_EQ(Geometry(&source).Resize(-1.0F, dst), 0);
  EXPECT_EQ(Geometry(&source).Resize(0.2F, dst), 0);  // 0 columns
  EXPECT_EQ(Geometry(&source).Resize(3e38F, dst), 0);
  EXPECT_EQ(Geometry(&source).Resize(std::numeric_limits<float>::infinity(), dst), 0);
  EXPECT_EQ(Geometry(&source).Resize(std::numeric_limits<float>::quiet_NaN(), dst), 0);
  EXPECT_EQ(Geometry(&columns).Resize(2.0F, dst), 0);
  EXPECT_EQ(Geometry().Resize(2.0F, dst), 0);
  EXPECT_PICTURE(dst, gray8({{9}}));
}

TEST(Resize, mayReplaceItsSource) {
  for (const auto mode : {kBilinear, kNearest}) {
    const CPxImage before = rgb8({{1, 2, 3, 11, 12, 13}, {100, 101, 102, 7, 8, 9}});
    CPxImage image = before;
    Geometry(&image).Resize(5, 3, image, mode);
    EXPECT_TRUE(identical(image, resized(before, 5, 3, mode).dst));
  }
}

// Blending in whole numbers where that is exact: each sample as the formula has it.
template <class S>
void blendsAsWritten(Random& random, int fromWidth, int fromHeight, int width, int height, int channels) {
  SCOPED_TRACE(std::to_string(fromWidth) + " x " + std::to_string(fromHeight) + " to " + std::to_string(width) + " x " +
               std::to_string(height) + ", " + std::to_string(channels) + " channels");
  CPxImage source(channels == 1 ? CM_GRAY : CM_RGB, sizeof(S) * 8, fromWidth, fromHeight);
  const int style = random.between(0, 2);
  for (int y = 0; y < fromHeight; ++y)
    for (int x = 0; x < fromWidth; ++x)
      for (int k = 0; k < channels; ++k) {
        const int most = std::numeric_limits<S>::max();
        setSample(source, x, y, k,
                  style == 0   ? random.between(0, most)
                  : style == 1 ? (random.oneIn(2) ? most : 0)
                               : random.between(most / 2, most / 2 + 3));
      }
  const CPxImage dst = resized(source, width, height, kBilinear).dst;
  const auto rowOf = [](const CPxImage& image, int y) {
    return reinterpret_cast<const S*>(static_cast<const unsigned char*>(image.GetBuffer()) +
                                      std::ptrdiff_t{image.bytesPerLine} * y);
  };
  const double sx = static_cast<double>(fromWidth) / width, sy = static_cast<double>(fromHeight) / height;
  for (int y = 0; y < height; ++y) {
    const double fy = y * sy, dy = fy - std::floor(fy);
    const int y0 = static_cast<int>(fy), y1 = std::min(y0 + 1, fromHeight - 1);
    const S *const upper = rowOf(source, y0), *const lower = rowOf(source, y1), *const out = rowOf(dst, y);
    for (int x = 0; x < width; ++x) {
      const double fx = x * sx, dx = fx - std::floor(fx);
      const int x0 = static_cast<int>(fx), x1 = std::min(x0 + 1, fromWidth - 1);
      for (int k = 0; k < channels; ++k) {
        const auto across = [&](const S* row) {
          return static_cast<int>(row[x0 * channels + k] * (1 - dx) + row[x1 * channels + k] * dx);
        };
        const int expected = static_cast<int>(across(upper) * (1 - dy) + across(lower) * dy);
        ASSERT_EQ(out[x * channels + k], expected) << "x " << x << ", y " << y << ", channel " << k;
      }
    }
  }
}

TEST(Resize, blendsFarFromTheOriginAsWritten) {
  Random random(5);
  const int sizes[][4] = {{700, 300, 490, 210},  {700, 300, 491, 211},   {501, 401, 802, 642},  {512, 512, 1024, 1024},
                          {640, 8, 1024, 13},    {8, 640, 13, 1024},     {1000, 600, 500, 300}, {1000, 600, 999, 599},
                          {300, 600, 1001, 700}, {1290, 200, 903, 1400}, {2000, 2, 2001, 3},    {150, 150, 150, 301}};
  for (const char* const level : {"baseline", "v3", "v4", "best"}) {
    if (!useLevel(level)) continue;
    for (const auto& [fromWidth, fromHeight, width, height] : sizes)
      for (const int channels : {1, 3}) {
        blendsAsWritten<unsigned char>(random, fromWidth, fromHeight, width, height, channels);
        blendsAsWritten<unsigned short>(random, fromWidth, fromHeight, width, height, channels);
        if (HasFatalFailure()) return;
      }
  }
}

// Resize by a factor --------------------------------------------------------------------------------------------------

TEST(ResizeByFactor, takesTheTruncatedColumnAndRow) {
  const CPxImage five =
      gray8({{0, 1, 2, 3, 4}, {5, 6, 7, 8, 9}, {10, 11, 12, 13, 14}, {15, 16, 17, 18, 19}, {20, 21, 22, 23, 24}});
  const Result result = scaled(five, 0.5F);
  EXPECT_EQ(result.flag, 1);
  EXPECT_PICTURE(result.dst, gray8({{0, 2, 4}, {10, 12, 14}, {20, 22, 24}}));  // 2.5 rows and columns round up
  EXPECT_PICTURE(scaled(gray8({{1, 2}}), 2.0F).dst, gray8({{1, 1, 2, 2}, {1, 1, 2, 2}}));
  // 5 times the float nearest to 0.7 is a little less than 3.5 in doubles, 3.5 in floats.
  EXPECT_PICTURE(scaled(gray8({{0, 1, 2, 3, 4}}), 0.7F).dst, gray8({{0, 1, 2}}));
  EXPECT_PICTURE(scaled(gray8({{0}, {1}, {2}, {3}, {4}}), 0.7F).dst, gray8({{0}, {1}, {2}}));
  EXPECT_PICTURE(scaled(gray16({{1, 2, 3}}), 1.5F).dst, gray16({{1, 1, 2, 3, 3}, {1, 1, 2, 3, 3}}));
}

TEST(ResizeByFactor, movesPixelsOfMoreThan32Bits) {
  CPxImage deep(CM_RGB, 48, 2, 1);
  auto* const words = static_cast<std::uint32_t*>(deep.GetBuffer());
  for (unsigned i = 0; i < 6; ++i) words[i] = i + 1;
  const Result result = scaled(deep, 2.0F);
  EXPECT_EQ(result.flag, 1);
  ASSERT_EQ(result.dst.width, 4);
  EXPECT_EQ(static_cast<const std::uint32_t*>(result.dst.GetBuffer())[3], 1u);
  EXPECT_EQ(static_cast<const std::uint32_t*>(result.dst.GetBuffer())[6], 4u);
}

TEST(ResizeByFactor, succeedsWithNothingWhereTheModelIsUnknown) {
  CPxImage image = gray8({{1, 2}});
  image.colorModel = static_cast<COLOR_MODEL>(7);
  CPxImage dst = gray8({{9}});
  EXPECT_NE(Geometry(&image).Resize(2.0F, dst), 0);
  EXPECT_FALSE(dst.IsCreated());

  dst = gray8({{9}});
  EXPECT_NE(Geometry(&image).ResizeEx(2.0F, CPoint(0, 0), dst), 0);
  EXPECT_PICTURE(dst, gray8({{9}}));

  EXPECT_EQ(Geometry(&image).Resize(2, 2, dst, kNearest), 0);
  EXPECT_FALSE(dst.IsCreated());
}

// ResizeEx ------------------------------------------------------------------------------------------------------------

CPxImage magnified(CPxImage source, float factor, CPoint origin, int width, int height, int flag = 1) {
  CPxImage dst(source.colorModel, source.bitsPerSample, width, height);
  EXPECT_EQ(Geometry(&source).ResizeEx(factor, origin, dst), flag);
  return dst;
}

TEST(ResizeEx, scrollsTheBlocksAndKeepsTheFirstPixel) {
  const CPxImage source = gray8({{1, 2, 3, 4}});
  EXPECT_PICTURE(magnified(source, 2, CPoint(0, 0), 4, 2), gray8({{1, 1, 2, 2}, {1, 1, 2, 2}}));
  EXPECT_PICTURE(magnified(source, 2, CPoint(1, 0), 4, 1), gray8({{1, 2, 2, 3}}));
  EXPECT_PICTURE(magnified(source, 2, CPoint(2, 0), 4, 1), gray8({{1, 1, 2, 2}}));
}

TEST(ResizeEx, takesTheReciprocalInSinglePrecision) {
  // 1 / 25 as a float is a little less than 0.04, so that column 25 is still the first one.
  const CPxImage dst = magnified(gray8({{1, 2}}), 25, CPoint(0, 0), 27, 1);
  EXPECT_EQ(sampleAt(dst, 25, 0), 1);
  EXPECT_EQ(sampleAt(dst, 26, 0), 2);
}

TEST(ResizeEx, staysInsideTheSource) {
  EXPECT_PICTURE(magnified(gray8({{1, 2}, {3, 4}}), 1, CPoint(0, 0), 4, 3),
                 gray8({{1, 2, 2, 2}, {3, 4, 4, 4}, {3, 4, 4, 4}}));
  // Sums wrap.
  EXPECT_PICTURE(magnified(gray8({{1, 2, 3}}), 1, CPoint(INT_MAX, INT_MIN), 3, 2), gray8({{1, 2, 3}, {1, 2, 3}}));
  EXPECT_PICTURE(magnified(gray8({{1, 2, 3}}), 1e-30F, CPoint(0, 0), 3, 1), gray8({{1, 1, 1}}));
}

TEST(ResizeEx, fillsADestinationOfTheSamePixelSizeOnly) {
  CPxImage source = gray16({{0x0201, 0x0403}});
  CPxImage two = picture(CM_GRAYA, 8, {{9, 9, 9, 9, 9, 9}});
  EXPECT_EQ(Geometry(&source).ResizeEx(1, CPoint(0, 0), two), 1);
  EXPECT_PICTURE(two, picture(CM_GRAYA, 8, {{1, 2, 3, 4, 3, 4}}));
  const CPxImage before = two = picture(CM_GRAYA, 8, {{9, 9, 9, 9, 9, 9}});

  CPxImage one = gray8({{9}}), empty;
  EXPECT_EQ(Geometry(&source).ResizeEx(1, CPoint(0, 0), one), 0);
  EXPECT_EQ(Geometry(&source).ResizeEx(1, CPoint(0, 0), empty), 0);
  EXPECT_EQ(Geometry(&source).ResizeEx(0, CPoint(0, 0), two), 0);
  EXPECT_EQ(Geometry(&source).ResizeEx(-1, CPoint(0, 0), two), 0);
  EXPECT_EQ(Geometry(&source).ResizeEx(std::numeric_limits<float>::infinity(), CPoint(0, 0), two), 0);
  EXPECT_EQ(Geometry(&source).ResizeEx(NAN, CPoint(0, 0), two), 0);
  EXPECT_PICTURE(one, gray8({{9}}));
  EXPECT_FALSE(empty.IsCreated());
  EXPECT_PICTURE(two, before);
}

TEST(ResizeEx, leavesRowPaddingAndPaletteOfTheDestination) {
  CPxImage source = gray8({{5}}), dst(CM_INDEX, 8, 1, 1, 2);
  auto* const bytes = static_cast<unsigned char*>(dst.GetBuffer());
  bytes[3] = 77;
  EXPECT_EQ(Geometry(&source).ResizeEx(4, CPoint(0, 0), dst), 1);
  EXPECT_EQ(bytes[0], 5);
  EXPECT_EQ(bytes[3], 77);
  EXPECT_EQ(dst.palette.GetPaletteNum(), 2);
}

TEST(ResizeEx, mayFillItsSource) {
  CPxImage image = gray8({{1, 2, 3, 4}});
  EXPECT_EQ(Geometry(&image).ResizeEx(2, CPoint(0, 0), image), 1);
  EXPECT_PICTURE(image, gray8({{1, 1, 2, 2}}));
}

// Flip ----------------------------------------------------------------------------------------------------------------

CPxImage flipped(CPxImage image, int flag, int result = 1) {
  EXPECT_EQ(Geometry(&image).Flip(static_cast<Geometry::FLIP_FLAG>(flag)), result);
  return image;
}

TEST(Flip, exchangesRowsColumnsOrBoth) {
  const CPxImage image = gray8({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
  EXPECT_PICTURE(flipped(image, Geometry::FLIP_VERTICAL), gray8({{7, 8, 9}, {4, 5, 6}, {1, 2, 3}}));
  EXPECT_PICTURE(flipped(image, Geometry::FLIP_HORIZONTAL), gray8({{3, 2, 1}, {6, 5, 4}, {9, 8, 7}}));
  EXPECT_PICTURE(flipped(image, Geometry::FLIP_BOTH), gray8({{9, 8, 7}, {6, 5, 4}, {3, 2, 1}}));
  EXPECT_PICTURE(flipped(image, 7), image);
}

TEST(Flip, movesWholePixels) {
  EXPECT_PICTURE(flipped(rgb8({{1, 2, 3, 4, 5, 6}}), Geometry::FLIP_HORIZONTAL), rgb8({{4, 5, 6, 1, 2, 3}}));
  EXPECT_PICTURE(flipped(picture(CM_RGBA, 32, {{1, 2, 3, 4, 5, 6, 7, 8}}), Geometry::FLIP_BOTH),
                 picture(CM_RGBA, 32, {{5, 6, 7, 8, 1, 2, 3, 4}}));
}

TEST(Flip, takesOneToEightSixteenOrThirtyTwoBits) {
  for (const int bits : {1, 5, 8, 16, 32})
    EXPECT_PICTURE(flipped(picture(CM_GRAY, bits, {{0, 1}}), 1), picture(CM_GRAY, bits, {{1, 0}}));
  for (const int bits : {0, 9, 12, 15, 17, 24, 33, 64}) {
    const CPxImage image = picture(CM_GRAY, bits, {{0, 1}});
    EXPECT_PICTURE(flipped(image, 1, 0), image);
    EXPECT_PICTURE(flipped(image, 7, 0), image);
  }
}

TEST(Flip, takesTheChannelCountOfTheMember) {
  CPxImage image = gray8({{1, 2, 3, 4}});
  image.channels = 2;
  image.width = 2;
  EXPECT_EQ(Geometry(&image).Flip(Geometry::FLIP_HORIZONTAL), 1);
  image.channels = 1;
  image.width = 4;
  EXPECT_PICTURE(image, gray8({{3, 4, 1, 2}}));
  for (const int channels : {0, 5, -1}) {
    image.channels = channels;
    EXPECT_EQ(Geometry(&image).Flip(Geometry::FLIP_HORIZONTAL), 0);
  }
  image.channels = 1;
  EXPECT_PICTURE(image, gray8({{3, 4, 1, 2}}));
}

TEST(Flip, refusesAMissingImage) {
  CPxImage empty;
  EXPECT_EQ(Geometry(&empty).Flip(Geometry::FLIP_BOTH), 0);
  EXPECT_EQ(Geometry().Flip(Geometry::FLIP_BOTH), 0);
}

// Shift ---------------------------------------------------------------------------------------------------------------

TEST(Shift, uncoversTheBackground) {
  const CPxImage before = gray8({{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}});
  CPxImage image = before;
  EXPECT_EQ(Geometry(&image).Shift(CPoint(2, 0)), 1);
  EXPECT_PICTURE(image, gray8({{0, 0, 1, 2}, {0, 0, 5, 6}, {0, 0, 9, 10}}));

  Geometry geometry(&image);
  geometry.SetBackColor(100);
  image = before;
  EXPECT_EQ(geometry.Shift(CPoint(2, 0)), 1);
  EXPECT_PICTURE(image, gray8({{100, 100, 1, 2}, {100, 100, 5, 6}, {100, 100, 9, 10}}));
  image = before;
  EXPECT_EQ(geometry.Shift(CPoint(-1, 1)), 1);
  EXPECT_PICTURE(image, gray8({{100, 100, 100, 100}, {2, 3, 4, 100}, {6, 7, 8, 100}}));
  image = before;
  EXPECT_EQ(geometry.Shift(CPoint(1, -1)), 1);
  EXPECT_PICTURE(image, gray8({{100, 5, 6, 7}, {100, 9, 10, 11}, {100, 100, 100, 100}}));
}

TEST(Shift, takesEachBackgroundByteAsASample) {
  const auto shifted = [](CPxImage image, const Geometry& colour) {
    Geometry geometry = colour;
    geometry.SetImage(&image);
    EXPECT_EQ(geometry.Shift(CPoint(1, 0)), 1);
    return image;
  };
  Geometry colour;
  colour.SetBackColor(tagPXG4{{255, 7, 8, 9}});
  EXPECT_PICTURE(shifted(gray16({{1, 2, 3}, {4, 5, 6}}), colour), gray16({{255, 1, 2}, {255, 4, 5}}));
  EXPECT_PICTURE(shifted(grayFloat({{1, 2, 3}, {4, 5, 6}}), colour), grayFloat({{255, 1, 2}, {255, 4, 5}}));
  colour.SetBackColor(tagPXG2{{1, 2}});
  const Table pixels = {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
  EXPECT_PICTURE(shifted(picture(CM_RGBA, 8, pixels), colour),
                 picture(CM_RGBA, 8, {{1, 2, 8, 9, 0, 0, 0, 0, 0, 0, 0, 0}, {1, 2, 8, 9, 0, 0, 0, 0, 0, 0, 0, 0}}));
  colour.SetBackColor(tagPXG3{{3, 4, 5}});
  colour.SetBackColor(200);
  EXPECT_PICTURE(shifted(picture(CM_RGBA, 8, pixels), colour),
                 picture(CM_RGBA, 8, {{200, 4, 5, 9, 0, 0, 0, 0, 0, 0, 0, 0}, {200, 4, 5, 9, 0, 0, 0, 0, 0, 0, 0, 0}}));
}

TEST(Shift, failsWhereFewerThanTwoColumnsOrRowsRemain) {
  for (const CPoint offset : {CPoint(3, 0), CPoint(-3, 0), CPoint(0, 2), CPoint(0, -2), CPoint(INT_MAX, 0),
                              CPoint(INT_MIN, 0), CPoint(0, INT_MAX), CPoint(INT_MIN, INT_MIN)}) {
    CPxImage image = gray8({{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}});
    EXPECT_EQ(Geometry(&image).Shift(offset), 0);
    EXPECT_PICTURE(image, gray8({{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
  }
  CPxImage column = gray8({{1}, {2}, {3}});
  EXPECT_EQ(Geometry(&column).Shift(CPoint(0, 0)), 0);
  EXPECT_PICTURE(column, gray8({{0}, {0}, {0}}));
}

TEST(Shift, leavesRowPadding) {
  CPxImage image = gray8({{1, 2, 3}, {4, 5, 6}});
  auto* const bytes = static_cast<unsigned char*>(image.GetBuffer());
  bytes[3] = bytes[7] = 99;
  EXPECT_EQ(Geometry(&image).Shift(CPoint(1, 0)), 1);
  EXPECT_EQ(bytes[3], 99);
  EXPECT_EQ(bytes[7], 99);
}

TEST(Shift, reportsTheOffsetOfAModelThatIsUnknown) {
  CPxImage image = gray8({{1, 2, 3}, {4, 5, 6}});
  image.colorModel = static_cast<COLOR_MODEL>(99);
  EXPECT_EQ(Geometry(&image).Shift(CPoint(2, 5)), 2);
  EXPECT_EQ(Geometry(&image).Shift(CPoint(0, 5)), 0);
  EXPECT_EQ(Geometry(&image).Shift(CPoint(-7, 5)), -7);
  image.colorModel = CM_GRAY;
  EXPECT_PICTURE(image, gray8({{1, 2, 3}, {4, 5, 6}}));
}

TEST(Shift, refusesMoreThan32BitsAndAMissingImage) {
  CPxImage deep(CM_GRAY, 33, 3, 3), empty;
  *static_cast<unsigned char*>(deep.GetBuffer()) = 5;
  const CPxImage before = deep;
  EXPECT_EQ(Geometry(&deep).Shift(CPoint(1, 1)), 0);
  EXPECT_TRUE(identical(deep, before));
  EXPECT_EQ(Geometry(&empty).Shift(CPoint(1, 1)), 0);
  EXPECT_EQ(Geometry().Shift(CPoint(1, 1)), 0);
}

TEST(Geometry, assignmentCopiesTheBackground) {
  CPxImage image = gray8({{1, 2, 3}, {4, 5, 6}});
  Geometry one(&image), other;
  one.SetBackColor(50);
  other = one;
  EXPECT_EQ(other.GetImage(), &image);
  EXPECT_EQ(other.Shift(CPoint(1, 0)), 1);
  EXPECT_PICTURE(image, gray8({{50, 1, 2}, {50, 4, 5}}));
}

}  // namespace
}  // namespace rasterkit::test
