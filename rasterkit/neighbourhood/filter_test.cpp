#include <rasterkit/neighbourhood/filter.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using test::gray16;
using test::gray8;
using test::grayFloat;
using test::identical;

CPxImage blurred(CPxImage image) {
  CPxImage dst;
  EXPECT_EQ(CPxFilter(&image).Blur(dst), 1);
  return dst;
}
CPxImage sharpened(CPxImage image) {
  CPxImage dst;
  EXPECT_EQ(CPxFilter(&image).Sharpen(dst), 1);
  return dst;
}

TEST(Blur, keepsFlatAreasAndTruncates) {
  EXPECT_PICTURE(blurred(gray8({{200, 200}, {200, 200}})), gray8({{200, 200}, {200, 200}}));
  EXPECT_PICTURE(blurred(gray8({{0, 0, 0}, {0, 99, 0}, {0, 0, 0}})), gray8({{3, 3, 3}, {3, 74, 3}, {3, 3, 3}}));
  EXPECT_PICTURE(blurred(gray16({{0, 0, 0}, {0, 65535, 0}, {0, 0, 0}})),
                 gray16({{2047, 2047, 2047}, {2047, 49151, 2047}, {2047, 2047, 2047}}));
}

TEST(Sharpen, aFlat200Becomes199) {
  EXPECT_PICTURE(sharpened(gray8({{200, 200}, {200, 200}})), gray8({{199, 199}, {199, 199}}));
  EXPECT_PICTURE(sharpened(gray8({{0, 0}, {0, 0}})), gray8({{0, 0}, {0, 0}}));
}

// What the weights give in double precision, for every centre and every sum of neighbours.
TEST(Sharpen, isExactForEverySumOfNeighbours) {
  const double around = -0.1F, centre = 1.8F;
  for (int c = 0; c < 256; ++c) {
    // One image a centre: columns of eight neighbours that sum to 0, 1, 2 ... 2040.
    CPxImage image(CM_GRAY, 8, 3 * 2041, 3);
    for (int sum = 0; sum <= 2040; ++sum) {
      int left = sum;
      for (int i = 0; i < 9; ++i) {
        const int sample = i == 4 ? c : std::min(left, 255);
        if (i != 4) left -= sample;
        test::setSample(image, 3 * sum + i % 3, i / 3, 0, sample);
      }
    }
    CPxImage dst;
    ASSERT_EQ(CPxFilter(&image).Sharpen(dst), 1);
    for (int sum = 0; sum <= 2040; ++sum) {
      double expected = 0;
      for (int i = 0; i < 9; ++i)
        expected += test::sampleAt(image, 3 * sum + i % 3, i / 3) * (i == 4 ? centre : around);
      ASSERT_EQ(test::sampleAt(dst, 3 * sum + 1, 1), static_cast<int>(std::clamp(expected, 0.0, 255.0)))
          << c << " among " << sum;
    }
  }
}

TEST(Sharpen, isTheConvolutionWithItsWeightsIn16Bits) {
  test::Random random(5);
  std::vector<float> weights(9, -0.1F);
  weights[4] = 1.8F;
  for (int round = 0; round < 40; ++round) {
    CPxImage image = randomImage(random, {CM_RGB, 16}, 61, 5), expected;
    EXPECT_EQ(CPxFilter(&image).Convolve(weights.data(), CSize(3, 3), expected, 1, 0, CPxFilter::CONV_EXTEND_BORDER),
              1);
    EXPECT_PICTURE(sharpened(image), expected);
  }
}

TEST(Sharpen, ignoresTheAreaOfInterestThatBlurHonours) {
  CPxImage image = gray8({{200, 200}}), area = gray8({{0, 1}}), dst;
  CPxFilter filter(&image);
  filter.SetAOIImage(&area);
  EXPECT_EQ(filter.Sharpen(dst), 1);
  EXPECT_PICTURE(dst, gray8({{199, 199}}));
  image = gray8({{0, 64}});
  EXPECT_EQ(filter.Blur(dst), 1);
  EXPECT_PICTURE(dst, gray8({{0, 58}}));
}

TEST(Blur, floatSamplesBecomeMinusOneAndOtherImagesAreRefusedWithACopy) {
  EXPECT_PICTURE(blurred(grayFloat({{1, 2}})), grayFloat({{-1, -1}}));
  EXPECT_PICTURE(sharpened(grayFloat({{1, 2}})), grayFloat({{-1, -1}}));
  CPxImage deep(CM_RGB, 64, 2, 2), dst = gray8({{1}});
  EXPECT_EQ(CPxFilter(&deep).Blur(dst), 0);
  EXPECT_TRUE(identical(dst, deep));
  EXPECT_EQ(CPxFilter(&deep).Sharpen(dst), 0);
  EXPECT_EQ(CPxFilter().Sharpen(dst), 0);
  EXPECT_TRUE(identical(dst, deep));
}

TEST(Filter, isAConvolutionAndFills) {
  CPxImage image = gray8({{1, 2}, {3, 4}}), mask = gray8({{0, 1}, {1, 0}});
  CPxFilter filter(&image);
  static_assert(std::is_convertible_v<CPxFilter*, CPxConvolution*>);
  EXPECT_EQ(filter.SetFill(static_cast<unsigned char>(9), CRect(0, 0, 0, 1)), 1);
  EXPECT_PICTURE(image, gray8({{9, 2}, {9, 4}}));
  EXPECT_EQ(filter.SetFill(static_cast<unsigned char>(7), mask), 1);
  EXPECT_PICTURE(image, gray8({{9, 7}, {7, 4}}));
  CPxImage colour = test::rgb8({{1, 2, 3, 4, 5, 6}});
  EXPECT_EQ(CPxFilter(&colour).SetFill(tagPXG3{{7, 8, 9}}, CRect(1, 0, 1, 0)), 1);
  EXPECT_PICTURE(colour, test::rgb8({{1, 2, 3, 7, 8, 9}}));
  EXPECT_EQ(CPxFilter().SetFill(0.5F, CRect(0, 0, 1, 1)), 0);
}

TEST(Filter, aMaskThatDoesNotFitRefusesToBlur) {
  CPxImage image = gray8({{10, 20, 90}, {40, 50, 60}, {70, 80, 30}}), mask = gray8({{1, 1}}), dst;
  CPxFilter filter(&image);
  filter.SetAOIImage(&mask);
  EXPECT_EQ(filter.Blur(dst), 0);
  EXPECT_TRUE(identical(dst, image));
  EXPECT_EQ(filter.Sharpen(dst), 1);  // does not look at it
  EXPECT_PICTURE(dst, sharpened(image));
}

}  // namespace
}  // namespace rasterkit
