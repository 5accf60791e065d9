#include <rasterkit/point/threshold.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using test::gray16;
using test::gray8;
using test::grayFloat;
using test::identical;
using test::rgb8;

CPxImage thresholded(CPxImage image, int level) {
  CPxImage dst;
  EXPECT_EQ(CPxThresholdProcessing(&image).Threshold(dst, level), 1);
  return dst;
}

CPxImage cut(CPxImage image, int level, int upper) {
  CPxImage dst;
  EXPECT_EQ(CPxThresholdProcessing(&image).Cut(dst, level, upper), 1);
  return dst;
}

unsigned bitsAt(const CPxImage& image, int x) {
  unsigned bits;
  std::memcpy(&bits, static_cast<const unsigned char*>(image.GetBuffer()) + 4 * x, 4);
  return bits;
}

TEST(Threshold, isWhiteFromTheLevelUp) {
  EXPECT_PICTURE(thresholded(gray8({{0, 99, 100}, {101, 254, 255}}), 100), gray8({{0, 0, 255}, {255, 255, 255}}));
}

TEST(Threshold, levelsOutsideTheSampleRange) {
  const CPxImage image = gray8({{0, 1, 255}});
  for (const int level : {0, -1, -300, INT_MIN}) EXPECT_PICTURE(thresholded(image, level), gray8({{255, 255, 255}}));
  for (const int level : {256, 65536, INT_MAX}) EXPECT_PICTURE(thresholded(image, level), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(thresholded(image, 255), gray8({{0, 0, 255}}));
}

TEST(Threshold, whiteIs255InSixteenBitsToo) {
  EXPECT_PICTURE(thresholded(gray16({{0, 999, 1000, 65535}}), 1000), gray16({{0, 0, 255, 255}}));
  EXPECT_PICTURE(thresholded(gray16({{0, 65535}}), 65535), gray16({{0, 255}}));
  EXPECT_PICTURE(thresholded(gray16({{0, 65535}}), 65536), gray16({{0, 0}}));
}

TEST(Threshold, floatsAreComparedWithLevelLessOneAndNaNFails) {
  EXPECT_PICTURE(thresholded(grayFloat({{9, 9.0001, 10, NAN, INFINITY, -INFINITY}}), 10),
                 grayFloat({{0, 255, 255, 0, 255, 0}}));
  EXPECT_PICTURE(thresholded(grayFloat({{-2147483648.0, -3e9, NAN, 0}}), INT_MIN), grayFloat({{0, 0, 0, 255}}));
}

TEST(Threshold, rowPaddingBecomesZero) {
  CPxImage image = gray8({{200, 200, 200}, {200, 200, 200}});
  auto* const bytes = static_cast<unsigned char*>(image.GetBuffer());
  bytes[3] = bytes[7] = 99;
  CPxImage dst = image;
  EXPECT_EQ(CPxThresholdProcessing(&image).Threshold(dst, 100), 1);
  const auto* const out = static_cast<const unsigned char*>(dst.GetBuffer());
  EXPECT_EQ(out[3], 0);
  EXPECT_EQ(out[7], 0);
}

TEST(Threshold, takesShapePaletteAndChannelBitsOfTheSource) {
  CPxImage image(CM_INDEX, 4, 3, 2, 16), dst = rgb8({{1, 2, 3}});
  image.palette.SetGrayPalette();
  const int bits[] = {3};
  image.SetBitsPerSampleEx(bits);
  EXPECT_EQ(CPxThresholdProcessing(&image).Threshold(dst, 1), 1);
  EXPECT_TRUE(identical(dst, image));  // all 0, as the image
}

TEST(Threshold, keepsTheDestinationsBlockAndMayWorkInPlace) {
  CPxImage image = gray8({{1, 200}}), dst = image;
  const void* const block = dst.GetBuffer();
  CPxThresholdProcessing(&image).Threshold(dst, 100);
  EXPECT_EQ(dst.GetBuffer(), block);
  CPxThresholdProcessing(&image).Threshold(image, 100);
  EXPECT_PICTURE(image, gray8({{0, 255}}));
}

TEST(Threshold, refusesOtherChannelCountsAndMoreThan32BitsWithACopy) {
  for (const auto& [model, bits] : {std::pair{CM_GRAYA, 8}, {CM_RGB, 8}, {CM_RGBA, 16}, {CM_GRAY, 33}, {CM_GRAY, 64}}) {
    test::Random random(3);
    CPxImage image = randomImage(random, {model, bits}, 4, 3), dst = gray8({{1}});
    EXPECT_EQ(CPxThresholdProcessing(&image).Threshold(dst, 1), 0);
    EXPECT_TRUE(identical(dst, image));
    EXPECT_EQ(CPxThresholdProcessing(&image).Cut(dst, 1, 1), 0);
    EXPECT_TRUE(identical(dst, image));
  }
}

TEST(Threshold, bitsChooseTheSampleClass) {
  CPxImage zeroBits(CM_GRAY, 0, 1, 1), seventeen(CM_GRAY, 17, 1, 1), dst;
  static_cast<unsigned char*>(zeroBits.GetBuffer())[0] = 200;
  EXPECT_EQ(CPxThresholdProcessing(&zeroBits).Threshold(dst, 100), 1);
  EXPECT_EQ(static_cast<unsigned char*>(dst.GetBuffer())[0], 255);
  test::setSample(seventeen, 0, 0, 0, 0.5);
  EXPECT_EQ(CPxThresholdProcessing(&seventeen).Threshold(dst, 1), 1);
  EXPECT_EQ(test::sampleAt(dst, 0, 0), 255);
}

TEST(Threshold, ofNothingIsNothing) {
  CPxImage dst = gray8({{7}}), empty;
  EXPECT_EQ(CPxThresholdProcessing().Threshold(dst, 1), 0);
  EXPECT_EQ(CPxThresholdProcessing(&empty).Threshold(dst, 1), 0);
  EXPECT_EQ(CPxThresholdProcessing().Cut(dst, 1, 0), 0);
  EXPECT_EQ(CPxThresholdProcessing().Partial(dst, 1), 0);
  EXPECT_PICTURE(dst, gray8({{7}}));
  CPxImage noColumns(CM_GRAY, 8, 0, 3);
  EXPECT_EQ(CPxThresholdProcessing(&noColumns).Threshold(dst, 1), 1);
  EXPECT_TRUE(identical(dst, noColumns));
}

TEST(Cut, upperKeepsFromTheLevelUp) {
  EXPECT_PICTURE(cut(gray8({{0, 99, 100, 255}}), 100, 1), gray8({{0, 0, 100, 255}}));
  EXPECT_PICTURE(cut(gray16({{99, 100, 65535}}), 100, -7), gray16({{0, 100, 65535}}));
  EXPECT_PICTURE(cut(gray8({{0, 255}}), -5, 1), gray8({{0, 255}}));
  EXPECT_PICTURE(cut(gray8({{0, 255}}), 256, 1), gray8({{0, 0}}));
}

TEST(Cut, lowerKeepsUpToTheLevelAndSetsAllBitsElsewhere) {
  EXPECT_PICTURE(cut(gray8({{0, 100, 101, 255}}), 100, 0), gray8({{0, 100, 255, 255}}));
  EXPECT_PICTURE(cut(gray16({{0, 100, 101}}), 100, 0), gray16({{0, 100, 65535}}));
  EXPECT_PICTURE(cut(gray8({{0, 9}}), -1, 0), gray8({{255, 255}}));
}

TEST(Cut, lowerAtTheGreatestSampleCopies) {
  const CPxImage image = gray8({{0, 100, 255, 3}});
  EXPECT_TRUE(identical(cut(image, 255, 0), image));
  EXPECT_TRUE(identical(cut(image, INT_MAX, 0), image));
}

TEST(Cut, floatsNearTheLevelAreKeptAndNaNNeverIs) {
  EXPECT_PICTURE(cut(grayFloat({{9, 9.5, 10, NAN}}), 10, 1), grayFloat({{0, 9.5, 10, 0}}));
  const CPxImage lower = cut(grayFloat({{10, 10.5, 11, NAN}}), 10, 0);
  EXPECT_EQ(test::sampleAt(lower, 0, 0), 10);
  EXPECT_EQ(test::sampleAt(lower, 1, 0), 10.5);
  EXPECT_EQ(bitsAt(lower, 2), 0xFFFFFFFFu);
  EXPECT_TRUE(std::isnan(test::sampleAt(lower, 2, 0)));
  EXPECT_EQ(bitsAt(lower, 3), 0xFFFFFFFFu);
}

TEST(Cut, rowPaddingTakesTheRejectedValue) {
  CPxImage image = gray8({{1, 2, 3}});
  EXPECT_EQ(static_cast<const unsigned char*>(cut(image, 0, 1).GetBuffer())[3], 0);
  EXPECT_EQ(static_cast<const unsigned char*>(cut(image, 0, 0).GetBuffer())[3], 0xFF);
}

// More than caches hold is written past them, in pieces that end where lines of memory do.
TEST(Cut, ofLargeImagesWithRowsThatBeginAnywhereIsTheSame) {
  CPxImage image(CM_GRAY, 16, 4099, 2100), binary, upper, lower;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      static_cast<std::uint16_t*>(image.Get2DBuffer()[y])[x] = static_cast<std::uint16_t>(x * 40503 + y * 7919);
  CPxThresholdProcessing processing(&image);
  ASSERT_EQ(processing.Threshold(binary, 30000) + processing.Cut(upper, 30000, 1) + processing.Cut(lower, 30000, 0), 3);
  const auto row = [](CPxImage& of, int y) { return static_cast<const std::uint16_t*>(of.Get2DBuffer()[y]); };
  int wrong = 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const int sample = row(image, y)[x];
      wrong += row(binary, y)[x] != (sample >= 30000 ? 255 : 0);
      wrong += row(upper, y)[x] != (sample >= 30000 ? sample : 0);
      wrong += row(lower, y)[x] != (sample <= 30000 ? sample : 65535);
    }
    wrong += row(binary, y)[4099] + row(upper, y)[4099] + (row(lower, y)[4099] != 65535);  // the padding
  }
  EXPECT_EQ(wrong, 0);
}

TEST(Partial, copiesAndReportsFailure) {
  CPxImage image = rgb8({{1, 2, 3}}), dst;
  EXPECT_EQ(CPxThresholdProcessing(&image).Partial(dst, 128), 0);
  EXPECT_TRUE(identical(dst, image));
  EXPECT_EQ(CPxThresholdProcessing(&image).Partial(image, 128), 0);
  EXPECT_TRUE(identical(image, dst));
}

}  // namespace
}  // namespace rasterkit
