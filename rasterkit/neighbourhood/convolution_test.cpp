#include <rasterkit/core/levels.h>
#include <rasterkit/neighbourhood/convolution.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

#include "catalogue/catalogue.h"
#include "tests/plain/twins.h"
#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using test::gray16;
using test::gray8;
using test::grayFloat;
using test::identical;
using test::rgb8;

constexpr auto kCreate = CPxConvolution::CONV_CREATE_DEST;
constexpr auto kKeep = CPxConvolution::CONV_KEEP_BORDER;
constexpr auto kExtend = CPxConvolution::CONV_EXTEND_BORDER;

struct Weights {
  CSize size;
  std::vector<int> values;
};

CPxImage convolved(CPxImage image, Weights kernel, int divisor = 1, int offset = 0,
                   CPxConvolution::CONVOLUTION_FLAG flag = kExtend) {
  CPxImage dst;
  EXPECT_EQ(CPxConvolution(&image).Convolve(kernel.values.data(), kernel.size, dst, divisor, offset, flag), 1);
  return dst;
}

CPxImage sized(CPxImage image, Weights kernel, int divisor = 1, int offset = 0) {
  CPxImage dst;
  EXPECT_EQ(CPxConvolution(&image).ConvolveABS(kernel.values.data(), kernel.size, dst, divisor, offset, kExtend), 1);
  return dst;
}

CPxImage convolvedReal(CPxImage image, CSize size, std::vector<float> weights, float divisor = 1, float offset = 0,
                       bool magnitude = false) {
  CPxImage dst;
  CPxConvolution convolution(&image);
  const int done = magnitude ? convolution.ConvolveABS(weights.data(), size, dst, divisor, offset, kExtend)
                             : convolution.Convolve(weights.data(), size, dst, divisor, offset, kExtend);
  EXPECT_EQ(done, 1);
  return dst;
}

const Weights kOne{{1, 1}, {1}};
const Weights kNegative{{1, 1}, {-1}};
const Weights kBox{{3, 3}, {1, 1, 1, 1, 1, 1, 1, 1, 1}};

TEST(Convolve, oneReproducesTheSource) {
  EXPECT_PICTURE(convolved(gray8({{0, 7, 255}}), kOne), gray8({{0, 7, 255}}));
  EXPECT_PICTURE(convolved(gray16({{0, 7, 65535}}), kOne), gray16({{0, 7, 65535}}));
  EXPECT_PICTURE(convolvedReal(gray8({{0, 7, 255}}), CSize(1, 1), {1}), gray8({{0, 7, 255}}));
}

TEST(Convolve, theKernelIsNotFlipped) {
  const CPxImage image = gray8({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
  EXPECT_PICTURE(convolved(image, {{3, 3}, {1, 0, 0, 0, 0, 0, 0, 0, 0}}), gray8({{1, 1, 2}, {1, 1, 2}, {4, 4, 5}}));
  EXPECT_PICTURE(convolved(image, {{3, 3}, {0, 0, 0, 0, 0, 1, 0, 0, 0}}), gray8({{2, 3, 3}, {5, 6, 6}, {8, 9, 9}}));
}

TEST(Convolve, evenSizesReachFurtherToTheUpperLeft) {
  const CPxImage image = gray8({{1, 2, 3}, {4, 5, 6}});
  EXPECT_PICTURE(convolved(image, {{2, 2}, {1, 0, 0, 0}}), gray8({{1, 1, 2}, {1, 1, 2}}));
  EXPECT_PICTURE(convolved(image, {{4, 1}, {1, 0, 0, 0}}), gray8({{1, 1, 1}, {4, 4, 4}}));
}

TEST(Convolve, theBorderIsKeptOrComputed) {
  const CPxImage image = gray8({{9, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 18}, {0, 0, 0, 0}});
  EXPECT_PICTURE(convolved(image, kBox, 9, 0, kKeep), gray8({{9, 0, 0, 0}, {0, 1, 2, 0}, {0, 0, 2, 18}, {0, 0, 0, 0}}));
  EXPECT_PICTURE(convolved(image, kBox, 9, 0, kExtend),
                 gray8({{4, 2, 0, 0}, {2, 1, 2, 4}, {0, 0, 2, 4}, {0, 0, 2, 4}}));
}

TEST(Convolve, anEvenSizeKeepsBothSides) {
  const CPxImage image = gray8({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}});
  EXPECT_PICTURE(convolved(image, {{2, 2}, {1, 1, 1, 1}}, 1, 0, kKeep), gray8({{1, 1, 1}, {1, 4, 1}, {1, 1, 1}}));
}

TEST(Convolve, anyOtherFlagKeepsTheBorder) {
  const CPxImage image = gray8({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}});
  for (const int flag : {0, 1, 3, -1, INT_MAX})
    EXPECT_PICTURE(convolved(image, kBox, 1, 0, CPxConvolution::CONVOLUTION_FLAG(flag)),
                   gray8({{1, 1, 1}, {1, 9, 1}, {1, 1, 1}}));
}

TEST(Convolve, creatingTheDestinationDiscardsItsShapeAndSparesTheSource) {
  std::vector<int> box = kBox.values;
  CPxImage image = gray8({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}), dst = rgb8({{1, 2, 3}});
  const CPxImage expected = convolved(image, kBox, 1, 0, kCreate);
  EXPECT_EQ(CPxConvolution(&image).Convolve(box.data(), kBox.size, dst, 1, 0, kCreate), 1);
  EXPECT_TRUE(identical(dst, expected));
  EXPECT_EQ(CPxConvolution(&image).Convolve(box.data(), kBox.size, image, 1, 0, kCreate), 1);
  EXPECT_TRUE(identical(image, expected));
}

TEST(Convolve, divisionTruncatesTowardZeroBeforeTheOffset) {
  EXPECT_PICTURE(convolved(gray8({{7, 8, 9}}), kNegative, 4, 10), gray8({{9, 8, 8}}));
  EXPECT_PICTURE(convolved(gray8({{7, 8, 9}}), kOne, -4, 10), gray8({{9, 8, 8}}));
  EXPECT_PICTURE(convolved(gray8({{7, 8, 9}}), kOne, INT_MIN, 10), gray8({{10, 10, 10}}));
  EXPECT_PICTURE(convolved(gray16({{7, 8, 9}}), kNegative, 4, 10), gray16({{9, 8, 8}}));
}

TEST(Convolve, resultsAreLimitedToTheSampleRange) {
  EXPECT_PICTURE(convolved(gray8({{0, 1, 200}}), {{1, 1}, {2}}), gray8({{0, 2, 255}}));
  EXPECT_PICTURE(convolved(gray8({{0, 1, 200}}), kNegative), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(convolved(gray16({{0, 1, 40000}}), {{1, 1}, {2}}), gray16({{0, 2, 65535}}));
  EXPECT_PICTURE(convolved(gray8({{0, 255}}), kOne, 1, 100000), gray8({{255, 255}}));
  EXPECT_PICTURE(convolved(gray8({{0, 255}}), kOne, 1, -100000), gray8({{0, 0}}));
}

TEST(Convolve, sumsAndOffsetsWrap) {
  EXPECT_PICTURE(convolved(gray8({{4}}), {{1, 1}, {1073741825}}), gray8({{4}}));
  EXPECT_PICTURE(convolved(gray8({{0, 1}}), kOne, 1, INT_MAX), gray8({{255, 0}}));
  EXPECT_PICTURE(sized(gray8({{1}}), kNegative, 1, INT_MIN), gray8({{255}}));
  EXPECT_PICTURE(convolved(gray16({{65535}}), {{1, 1}, {65537}}), gray16({{0}}));  // 2^32 - 1
}

TEST(Convolve, aDivisorOfZeroIsRefusedWithACopy) {
  std::vector<int> one{1}, box = kBox.values;
  for (CPxImage image : {gray8({{1, 2}}), gray16({{1, 2}}), grayFloat({{1, 2}})}) {
    CPxImage dst = rgb8({{9, 9, 9}});
    EXPECT_EQ(CPxConvolution(&image).Convolve(one.data(), CSize(1, 1), dst, 0, 0, kExtend), 0);
    EXPECT_TRUE(identical(dst, image));
    dst = rgb8({{9, 9, 9}});
    EXPECT_EQ(CPxConvolution(&image).ConvolveABS(box.data(), CSize(3, 3), dst, 0, 0, kKeep), 0);
    EXPECT_TRUE(identical(dst, image));
  }
}

TEST(Convolve, aQuotientThatOverflowsIsRefusedWithACopy) {
  std::vector<int> weight{1 << 30};
  CPxImage image = gray8({{1, 1}, {2, 1}}), dst;
  CPxConvolution convolution(&image);
  EXPECT_EQ(convolution.Convolve(weight.data(), CSize(1, 1), dst, -1, 0, kExtend), 0);
  EXPECT_TRUE(identical(dst, image));
  const CPxImage before = image;
  EXPECT_EQ(convolution.Convolve(weight.data(), CSize(1, 1), image, -1, 0, kExtend), 0);
  EXPECT_TRUE(identical(image, before));
  // Not where the pixel is left out, by the area of interest or as border, or the divisor is another.
  CPxImage area = gray8({{1, 1}, {0, 1}});
  convolution.SetAOIImage(&area);
  EXPECT_EQ(convolution.Convolve(weight.data(), CSize(1, 1), dst, -1, 0, kExtend), 1);
  EXPECT_PICTURE(dst, gray8({{0, 0}, {2, 0}}));
  convolution.SetAOIImage(nullptr);
  std::vector<int> row{0, 1 << 30, 0};
  EXPECT_EQ(convolution.Convolve(row.data(), CSize(3, 1), dst, -1, 0, kKeep), 1);
  EXPECT_TRUE(identical(dst, image));
  EXPECT_EQ(convolution.Convolve(weight.data(), CSize(1, 1), dst, 1, 0, kExtend), 1);
}

TEST(Convolve, everyProcessedFloatSampleBecomesMinusOne) {
  const CPxImage image = grayFloat({{0, 1e30, NAN}, {-5, 3, 2}, {1, 1, 1}});
  EXPECT_PICTURE(convolved(image, kOne), grayFloat({{-1, -1, -1}, {-1, -1, -1}, {-1, -1, -1}}));
  EXPECT_PICTURE(convolvedReal(image, CSize(1, 1), {NAN}, 0), grayFloat({{-1, -1, -1}, {-1, -1, -1}, {-1, -1, -1}}));
  EXPECT_PICTURE(convolved(grayFloat({{0, 1, 2}, {3, 4, 5}, {6, 7, 8}}), kBox, 1, 0, kKeep),
                 grayFloat({{0, 1, 2}, {3, -1, 5}, {6, 7, 8}}));
  EXPECT_PICTURE(convolved(grayFloat({{3}}), {{1, 1}, {INT_MIN}}, -1), grayFloat({{-1}}));
}

TEST(Convolve, channelsAreIndependentAlphaIncluded) {
  const CPxImage image = test::picture(CM_RGBA, 8, {{1, 10, 100, 4, 2, 20, 200, 8}});
  EXPECT_PICTURE(convolved(image, {{2, 1}, {1, 1}}), test::picture(CM_RGBA, 8, {{2, 20, 200, 8, 3, 30, 255, 12}}));
}

TEST(Convolve, aMaskedPixelKeepsTheSourceInEveryPart) {
  CPxImage image = gray8({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}), area = gray8({{0, 1, 0}, {9, 0, 255}, {0, 1, 0}}), dst;
  CPxConvolution convolution(&image);
  convolution.SetAOIImage(&area);
  std::vector<int> twice{2};
  EXPECT_EQ(convolution.Convolve(twice.data(), CSize(1, 1), dst, 1, 0, kExtend), 1);
  EXPECT_PICTURE(dst, gray8({{1, 4, 3}, {8, 5, 12}, {7, 16, 9}}));
  EXPECT_EQ(convolution.Convolve(twice.data(), CSize(1, 1), area, 1, 0, kExtend), 1);
  EXPECT_PICTURE(area, dst);
  CPxImage other = gray8({{1, 1}});
  convolution.SetAOIImage(&other);
  EXPECT_EQ(convolution.Convolve(twice.data(), CSize(1, 1), dst, 1, 0, kExtend), 0);
  EXPECT_TRUE(identical(dst, image));
}

TEST(Convolve, kernelsLargerThanTheImageReadTheEdges) {
  const Weights wide{{9, 7}, std::vector<int>(63, 1)};
  EXPECT_PICTURE(convolved(gray16({{10}}), wide), gray16({{630}}));
  EXPECT_PICTURE(convolved(gray16({{1, 2}}), {{5, 1}, {1, 1, 1, 1, 1}}), gray16({{7, 8}}));
  EXPECT_PICTURE(convolved(gray8({{1, 2}}), wide, 1, 0, kKeep), gray8({{1, 2}}));
  EXPECT_PICTURE(convolvedReal(gray8({{200}}), CSize(9, 7), std::vector<float>(63, 0.1F)), gray8({{255}}));
}

TEST(Convolve, noKernelIsRefusedWithACopy) {
  CPxImage image = gray8({{1, 2}}), dst;
  std::vector<int> one{1};
  std::vector<float> real{1};
  CPxConvolution convolution(&image);
  for (const CSize size : {CSize(0, 1), CSize(1, 0), CSize(-3, 3), CSize(3, INT_MIN)}) {
    dst = gray8({{9}});
    EXPECT_EQ(convolution.Convolve(one.data(), size, dst, 1, 0, kExtend), 0);
    EXPECT_TRUE(identical(dst, image));
    EXPECT_EQ(convolution.ConvolveABS(real.data(), size, dst, 1, 0, kExtend), 0);
  }
  dst = gray8({{9}});
  EXPECT_EQ(convolution.Convolve(static_cast<int*>(nullptr), CSize(1, 1), dst, 1, 0, kExtend), 0);
  EXPECT_TRUE(identical(dst, image));
  EXPECT_EQ(convolution.Convolve(static_cast<float*>(nullptr), CSize(1, 1), dst, 1, 0, kExtend), 0);
}

TEST(Convolve, ofNothingIsNothing) {
  CPxImage dst = gray8({{7}}), empty, deep(CM_GRAY, 33, 2, 2), none(CM_GRAY, 8, 0, 4);
  std::vector<int> one{1};
  EXPECT_EQ(CPxConvolution().Convolve(one.data(), CSize(1, 1), dst, 1, 0, kCreate), 0);
  EXPECT_EQ(CPxConvolution(&empty).Convolve(one.data(), CSize(1, 1), dst, 1, 0, kCreate), 0);
  EXPECT_PICTURE(dst, gray8({{7}}));
  EXPECT_EQ(CPxConvolution(&deep).Convolve(one.data(), CSize(1, 1), dst, 1, 0, kExtend), 0);
  EXPECT_TRUE(identical(dst, deep));
  EXPECT_EQ(CPxConvolution(&none).Convolve(one.data(), CSize(1, 1), dst, 1, 0, kExtend), 1);
  EXPECT_TRUE(identical(dst, none));
}

TEST(Convolve, allDivisorsOfAllSumsBelow32768) {
  // One row of all sums a x 129 + b, negative ones too, against every divisor that leaves something to tell apart.
  CPxImage image(CM_GRAY, 8, 2, 255);
  for (int y = 0; y < 255; ++y) {
    test::setSample(image, 0, y, 0, y);
    test::setSample(image, 1, y, 0, (y * 37) % 256);
  }
  test::Random random(1);
  for (int divisor = 1; divisor <= 32768; divisor += divisor < 1000 ? 1 : 97) {
    const int a = random.between(-64, 64), b = random.between(-64, 64), sign = random.oneIn(2) ? 1 : -1;
    const CPxImage dst = convolved(image, {{2, 1}, {a, b}}, sign * divisor, 100);
    for (int y = 0; y < 255; ++y) {
      const int sum = (a + b) * y, other = a * y + b * ((y * 37) % 256);
      ASSERT_EQ(test::sampleAt(dst, 0, y), std::clamp(sum / (sign * divisor) + 100, 0, 255)) << divisor;
      ASSERT_EQ(test::sampleAt(dst, 1, y), std::clamp(other / (sign * divisor) + 100, 0, 255)) << divisor;
    }
  }
}

TEST(ConvolveABS, isTheSizeOfTheQuotient) {
  EXPECT_PICTURE(sized(gray8({{7, 8, 255}}), kNegative, 4), gray8({{1, 2, 63}}));
  EXPECT_PICTURE(sized(gray8({{7, 8, 255}}), kNegative, -4), gray8({{1, 2, 63}}));
  EXPECT_PICTURE(sized(gray16({{7, 8, 65535}}), kNegative, 4), gray16({{1, 2, 16383}}));
  EXPECT_PICTURE(convolvedReal(gray8({{7, 8, 255}}), CSize(1, 1), {-0.25F}, 1, 0, true), gray8({{1, 2, 63}}));
}

TEST(ConvolveABS, takesTheOffsetTheOtherWayWhereTheResultIsNegative) {
  EXPECT_PICTURE(sized(gray8({{30, 10, 5}}), kNegative, 1, 10), gray8({{40, 0, 5}}));
  EXPECT_PICTURE(sized(gray8({{30, 10, 5}}), kOne, 1, -10), gray8({{20, 0, 0}}));
  EXPECT_PICTURE(sized(gray8({{30, 10, 5}}), kNegative, 1, -10), gray8({{20, 0, 0}}));
  EXPECT_PICTURE(convolvedReal(gray8({{30, 10, 5}}), CSize(1, 1), {-1}, 1, 10, true), gray8({{40, 0, 5}}));
  EXPECT_PICTURE(convolvedReal(gray8({{30, 10, 5}}), CSize(1, 1), {-1}, 1, 9.5F, true), gray8({{39, 19, 4}}));
}

TEST(ConvolveReal, truncatesAfterTheLimits) {
  EXPECT_PICTURE(convolvedReal(gray8({{255, 100, 3}}), CSize(1, 1), {0.9996F}), gray8({{254, 99, 2}}));
  EXPECT_PICTURE(convolvedReal(gray8({{255, 100, 3}}), CSize(1, 1), {-0.01F}), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(convolvedReal(gray8({{255, 100, 3}}), CSize(1, 1), {-0.5F}, 1, 60.5F), gray8({{0, 10, 59}}));
}

TEST(ConvolveReal, aSumThatMissesAWholeNumberByLessThanSinglePrecisionTells) {
  // Three times the single-precision third of 99, in double precision: 99 and a little more, or less.
  const float third = 1.0F / 3;
  EXPECT_PICTURE(convolvedReal(gray8({{99, 99, 99}}), CSize(3, 1), {third, third, third}), gray8({{99, 99, 99}}));
  const float less = std::nextafter(third, 0.0F);
  EXPECT_PICTURE(convolvedReal(gray8({{99, 99, 99}}), CSize(3, 1), {less, less, less}), gray8({{98, 98, 98}}));
  const float tenth = 0.1F;  // a little above 0.1
  EXPECT_PICTURE(convolvedReal(gray8({{10, 250}}), CSize(1, 1), {tenth}), gray8({{1, 25}}));
  EXPECT_PICTURE(convolvedReal(gray8({{10, 250}}), CSize(1, 1), {1}, 10.000001F), gray8({{0, 24}}));
}

TEST(ConvolveReal, aDivisorOfZeroDividesAsFloatsDo) {
  EXPECT_PICTURE(convolvedReal(gray8({{0, 1, 2}}), CSize(1, 1), {1}, 0), gray8({{0, 255, 255}}));
  EXPECT_PICTURE(convolvedReal(gray8({{0, 1, 2}}), CSize(1, 1), {-1}, 0), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(convolvedReal(gray16({{0, 1, 2}}), CSize(1, 1), {-1}, 0, 0, true), gray16({{0, 65535, 65535}}));
  EXPECT_PICTURE(convolvedReal(gray8({{1, 2}}), CSize(1, 1), {NAN}), gray8({{0, 0}}));
  EXPECT_PICTURE(convolvedReal(gray8({{0, 2}}), CSize(1, 1), {INFINITY}), gray8({{0, 255}}));
  EXPECT_PICTURE(convolvedReal(gray8({{1, 2}}), CSize(1, 1), {1}, NAN), gray8({{0, 0}}));
  EXPECT_PICTURE(convolvedReal(gray8({{1, 2}}), CSize(1, 1), {1}, INFINITY, 7), gray8({{7, 7}}));
}

// A row of all pairs of samples, or of so many samples at a time.
CPxImage allPairs() {
  CPxImage image(CM_GRAY, 8, 2 * 256, 256);
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) {
      test::setSample(image, 2 * x, y, 0, x);
      test::setSample(image, 2 * x + 1, y, 0, y);
    }
  return image;
}

// Sums beyond 16 bits whose quotients are in the range of the samples, at its ends, or beyond.
TEST(Convolve, sumsBeyond16BitsAreLimitedAsTheirQuotientsAre) {
  const CPxImage image = allPairs();
  for (const auto& [a, b] : {std::pair{127, 127}, {-128, -128}, {127, -128}, {130, 3}, {-300, 2}}) {
    for (const int divisor : {1, -1, 2, 3, 42, 127, -127, 128, 129, 200}) {
      for (const int offset : {0, 1, -1, 40, -40, 255, -300}) {
        Weights kernel{{2, 1}, {a, b}};
        const CPxImage dst = convolved(image, kernel, divisor, offset), size = sized(image, kernel, divisor, offset);
        for (int y = 0; y < 256; ++y)
          for (int x = 0; x < 256; ++x) {
            const int quotient = (a * x + b * y) / divisor, r = quotient + offset;
            ASSERT_EQ(test::sampleAt(dst, 2 * x + 1, y), std::clamp(r, 0, 255)) << divisor << ", " << offset;
            ASSERT_EQ(test::sampleAt(size, 2 * x + 1, y), std::clamp(r < 0 ? offset - quotient : r, 0, 255))
                << divisor << ", " << offset;
          }
      }
    }
  }
}

// What whole numbers are taken for is the same as what double precision gives, for all pairs of samples.
TEST(ConvolveReal, sumsThatAreExactAreTruncatedAsInDoublePrecision) {
  const CPxImage image = allPairs();
  const float third = 1.0F / 3;
  struct {
    float a, b, divisor, offset;
  } const cases[] = {{third, third, 1, 0},          {0.5F + 0x1p-24F, 0.5F, 1, 0},
                     {0.5F - 0x1p-25F, 0.5F, 1, 0}, {0.1F, 0.9F, 1, 0.25F},
                     {0.7F, -0.3F, 1, -20.1F},      {-0.7F, 0.01F, -0.5F, 0},
                     {1e-6F, 1, 4, 0.1F},           {123.4F, -99.9F, 64, 100},
                     {0x1p-30F, 0.999F, 1, 0},      {3.3e-5F, 0.001F, 0.0009765625F, 0},
                     {0.3F, 0.7F, 1.5F, 0},         {0x1p-60F, 0.3F, 1, 0}};
  for (const auto& [a, b, divisor, offset] : cases) {
    const CPxImage dst = convolvedReal(image, CSize(2, 1), {a, b}, divisor, offset);
    for (int y = 0; y < 256; ++y)
      for (int x = 0; x < 256; ++x) {
        const double r = (x * static_cast<double>(a) + y * static_cast<double>(b)) / divisor + offset;
        ASSERT_EQ(test::sampleAt(dst, 2 * x + 1, y), static_cast<int>(std::clamp(r, 0.0, 255.0)))
            << a << ", " << b << ": " << x << ", " << y;
      }
  }
}

// Of rows so wide only the ends are copied.
TEST(Convolve, wideRowsAreReadWhereTheyAre) {
  test::Random random(21);
  for (const auto& [model, width, height] : {std::tuple{CM_GRAY, 4099, 85}, {CM_RGB, 1501, 84}}) {
    const CPxImage strip = randomImage(random, {model, 8}, width, 40);
    CPxImage image(model, 8, width, height), dst, expected;
    for (int y = 0; y < height; ++y)
      std::memcpy(image.Get2DBuffer()[y], strip.Get2DBuffer()[y % 40], static_cast<std::size_t>(image.bytesPerLine));
    std::vector<int> weights = {5, -3, 100, -127, 60, 8, 90, -44, 1, 2, 3, -4, 5, 66, -7};
    CPxImage around(model, 8, width, 44);  // the strip among its own ends
    for (int y = 0; y < 44; ++y)
      std::memcpy(around.Get2DBuffer()[y], strip.Get2DBuffer()[(y + 38) % 40],
                  static_cast<std::size_t>(image.bytesPerLine));
    EXPECT_EQ(CPxConvolution(&around).Convolve(weights.data(), CSize(5, 3), expected, 90, 3, kKeep), 1);
    EXPECT_EQ(CPxConvolution(&image).Convolve(weights.data(), CSize(5, 3), dst, 90, 3, kKeep), 1);
    const auto n = static_cast<std::size_t>(width) * static_cast<std::size_t>(image.channels);
    for (int y = 1; y + 1 < height; ++y)
      ASSERT_EQ(std::memcmp(dst.Get2DBuffer()[y], expected.Get2DBuffer()[y % 40 + 2], n), 0) << y;
    // With its borders too: they are those of a narrow image.
    EXPECT_EQ(CPxConvolution(&image).Convolve(weights.data(), CSize(5, 3), dst, 90, 3, kExtend), 1);
    CPxImage inPlace = image;
    EXPECT_EQ(CPxConvolution(&inPlace).Convolve(weights.data(), CSize(5, 3), inPlace, 90, 3, kExtend), 1);
    EXPECT_TRUE(identical(dst, inPlace));
    EXPECT_EQ(CPxConvolution(&around).Convolve(weights.data(), CSize(5, 3), expected, 90, 3, kExtend), 1);
    for (int y = 1; y + 1 < height; ++y)
      ASSERT_EQ(std::memcmp(dst.Get2DBuffer()[y], expected.Get2DBuffer()[y % 40 + 2], n), 0) << y;
  }
}

// Rows longer than the blocks that are summed at once -----------------------------------------------------------------

// The operation of the catalogue against its slow twin, at every processor level.
void equalsItsTwin(const char* name, CPxImage source, const catalogue::Kernel& kernel, double divisor, double offset,
                   CPxImage* mask = nullptr) {
  const catalogue::Operation& operation = *catalogue::find(name);
  CPxImage expected, dst;
  const auto call = [&](CPxImage& out) {
    catalogue::Call made(operation, source, out);
    made.set("kernel", kernel);
    made.mask = mask;
    if (operation.find("divisor")->kind == catalogue::Kind::integer) {
      made.set("divisor", static_cast<int>(divisor));
      made.set("offset", static_cast<int>(offset));
    } else {
      made.set("divisor", divisor);
      made.set("offset", offset);
    }
    return made;
  };
  const int flag = call(expected).run(*plain::find(name));
  for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
    if (!useLevel(level)) continue;
    EXPECT_EQ(call(dst).run(), flag);
    EXPECT_TRUE(identical(dst, expected)) << name << ", " << kernel.width << " x " << kernel.height << ", " << level;
  }
  useLevel("best");
}

std::vector<CPxImage> wideImages(test::Random& random) {
  std::vector<CPxImage> images;
  for (const int bits : {8, 16}) {
    images.push_back(randomImage(random, {CM_RGB, bits}, 700, 2));
    images.push_back(randomImage(random, {CM_GRAY, bits}, 1031, 3));
    images.push_back(randomImage(random, {CM_RGBA, bits}, 9, 5));
    CPxImage flat(CM_GRAY, bits, 1100, 2);
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 1100; ++x) test::setSample(flat, x, y, 0, x < 40 ? x : 200);
    images.push_back(flat);
  }
  return images;
}

TEST(Convolve, aColumnTimesARowAndACentre) {
  test::Random random(11);
  for (int round = 0; round < 12; ++round) {
    catalogue::Kernel kernel{random.between(3, 7), random.between(3, 7), {}};
    const int most = round % 3 == 0 ? 1 : round % 3 == 1 ? 4 : 40;
    std::vector<int> down, across;
    for (int j = 0; j < kernel.height; ++j) down.push_back(random.between(-most, most));
    for (int i = 0; i < kernel.width; ++i) across.push_back(random.between(-1, most));
    for (const int a : down)
      for (const int b : across) kernel.weights.push_back(a * b);
    if (round % 2)
      kernel.weights[static_cast<std::size_t>(kernel.height / 2 * kernel.width + kernel.width / 2)] += round * 3 - 11;
    const int divisor = random.between(-9, 60) | 1;
    for (const CPxImage& image : wideImages(random)) {
      equalsItsTwin("convolve", image, kernel, divisor, 0);
      equalsItsTwin("convolve-abs", image, kernel, divisor, round % 4 ? 0 : 9);
    }
  }
}

TEST(Convolve, longRowsAndManyTaps) {
  test::Random random(12);
  for (int round = 0; round < 8; ++round) {
    catalogue::Kernel kernel{random.between(1, 6), random.between(1, 6), {}};
    const int most = round % 4 == 0 ? 3 : round % 4 == 1 ? 127 : round % 4 == 2 ? 70000 : 2147483647;
    for (int k = 0; k < kernel.width * kernel.height; ++k) kernel.weights.push_back(random.between(-most, most));
    for (const CPxImage& image : wideImages(random)) {
      equalsItsTwin("convolve", image, kernel, random.between(1, most), random.between(-9, 9));
      equalsItsTwin("convolve-abs", image, kernel, -1 - most / 3, 5);
    }
  }
}

TEST(Convolve, longRowsWithAMask) {
  test::Random random(18);
  for (const int bits : {8, 16}) {
    for (const auto& [model, width] : {std::pair{CM_GRAY, 4801}, {CM_RGB, 1700}}) {
      const CPxImage image = randomImage(random, {model, bits}, width, 5);
      CPxImage mask = randomMask(random, width, 5);
      equalsItsTwin("convolve", image, {3, 3, {1, 2, 1, 2, 4, 2, 1, 2, 1}}, 16, 0, &mask);
      equalsItsTwin("convolve", image, {5, 2, {9, -70, 300, 4, 5, 66, -7, 8, 9, 1}}, 300, 3, &mask);
      equalsItsTwin("convolve-real", image, {3, 2, {0.1, 0.2, 0.3, 0.15, 0.05, 0.2}}, 1, 0, &mask);
      equalsItsTwin("convolve-abs-real", image, {3, 1, {-1.5, 0.25, 1}}, 1, 0, &mask);
    }
  }
}

// Rows are taken in fours, two results at a time: every height, and widths around what rows in fours reach.
TEST(Convolve, kernelsOfAllHeightsAndOfWidthsAroundTheGreatestReach) {
  test::Random random(15);
  const auto check = [&](int width, int height, COLOR_MODEL model) {
    catalogue::Kernel kernel{width, height, {}};
    const int most = height % 3 == 0 ? 127 : height % 3 == 1 ? 40000 : 2;
    for (int k = 0; k < width * height; ++k) kernel.weights.push_back(random.between(-most, most));
    const CPxImage image = randomImage(random, {model, 8}, 67, 5);
    equalsItsTwin("convolve", image, kernel, height * most, height - 8);
    for (double& weight : kernel.weights) weight *= 0.37 / most;
    equalsItsTwin("convolve-real", image, kernel, 1, 3);
  };
  for (int height = 1; height <= 34; ++height) {
    check(random.between(1, 3), height, CM_GRAY);
    check(1, height, CM_RGBA);
  }
  for (const int width : {32, 33, 34, 64, 65, 128, 129, 130, 131}) {
    check(width, 1, CM_GRAY);
    check(width, 2, CM_GRAYA);
    check(width, 1, CM_RGBA);
  }
}

// A whole offset, times the divisor, is what the sum begins with: far from what samples hold, too.
TEST(ConvolveReal, wholeOffsetsFarBeyondTheSamples) {
  test::Random random(16);
  for (const double offset : {300.0, 512.0, 520.0, 600.0, 1000.0, 32767.0, 32768.0, 33000.0, 40000.0, 65536.0, 65600.0,
                              4194303.0, 4194304.0, 4194305.0, 3e7}) {
    for (const double sign : {1.0, -1.0}) {
      for (const auto& [weight, divisor] : {std::pair{1.0, 1.0}, {-2.015625, 1.0}, {1.0, 2.0}, {-0.515625, -0.25}}) {
        const CPxImage image =
            randomImage(random, {random.oneIn(2) ? CM_GRAY : CM_RGB, random.oneIn(3) ? 16 : 8}, 37, 2);
        equalsItsTwin("convolve-real", image, {1, 1, {weight}}, divisor, sign * offset);
        equalsItsTwin("convolve-real", image, {2, 2, {weight, 0.25, -sign * offset / 255, 1}}, divisor, sign * offset);
        const double most = sign * offset / 255;  // brings sums back to where samples are
        equalsItsTwin("convolve-real", image, {2, 1, {std::round(-64 * most) / 64, weight}}, 1, sign * offset);
      }
    }
  }
}

TEST(ConvolveReal, longRowsAndManyTaps) {
  test::Random random(13);
  for (int round = 0; round < 8; ++round) {
    catalogue::Kernel kernel{random.between(1, 6), random.between(1, 6), {}};
    double sum = 0;
    for (int k = 0; k < kernel.width * kernel.height; ++k) {
      kernel.weights.push_back(random.fraction() + (round % 3 == 0 ? -0.4 : 0.01));
      sum += kernel.weights.back();
    }
    // Of a sum of 1 flat areas lie next to whole numbers.
    if (round % 3)
      for (double& weight : kernel.weights) weight /= sum;
    if (round % 4 == 3)
      for (double& weight : kernel.weights) weight *= 1e6;
    for (const CPxImage& image : wideImages(random)) {
      equalsItsTwin("convolve-real", image, kernel, round % 2 ? 1 : 3.5, round % 4 ? 0 : 20.25);
      equalsItsTwin("convolve-abs-real", image, kernel, -1, round % 4 ? 0 : -20.25);
      equalsItsTwin("convolve-abs-real", image, kernel, -1, 4);
    }
  }
}

}  // namespace
}  // namespace rasterkit
