#include <rasterkit/analysis/shading.h>

#include <rasterkit/core/levels.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using test::gray16;
using test::gray8;
using test::grayFloat;
using test::picture;
using test::rgb8;

struct Derived : CIMPShadingCorrect {
  using CIMPShadingCorrect::CIMPShadingCorrect;
  using CIMPShadingCorrect::GetMean;
};

CPxImage corrected(CPxImage image, const CPxImage& blank, int flag = 1) {
  CIMPShadingCorrect shading(&image);
  shading.SetBlankImage(&blank);
  EXPECT_EQ(shading.ShadingCorrect(), flag);
  return image;
}

TEST(Shading, ofOneChannelScalesByTheBlankOverItsMean) {
  // Mean 100: 50 * 80 / 100, 100 * 81 / 100, 150 * 10 / 100; 150 * 255 / 100 is limited.
  EXPECT_PICTURE(corrected(gray8({{80, 81, 10, 255}}), gray8({{50, 100, 150, 100}})), gray8({{40, 81, 15, 255}}));
}

TEST(Shading, byItselfSquares) {
  const CPxImage image = gray8({{10, 20, 30, 200}});  // mean 65
  EXPECT_PICTURE(corrected(image, image), gray8({{1, 6, 13, 255}}));
}

TEST(Shading, roundsTheMean) {
  EXPECT_PICTURE(corrected(gray8({{100, 0}}), gray8({{2, 3}})), gray8({{66, 0}}));  // 2.5 becomes 3
}

TEST(Shading, leavesSamplesOfZero) {
  EXPECT_PICTURE(corrected(gray8({{0, 5}}), gray8({{200, 0}})), gray8({{0, 0}}));
  EXPECT_PICTURE(corrected(rgb8({{0, 0, 7}}), rgb8({{0, 9, 7}})), rgb8({{0, 0, 7}}));
}

TEST(Shading, ofThreeChannelsScalesByTheMeanOverTheBlank) {
  // Means 100, 20, 60: 100 * 50 / 80, 20 * 50 / 10 and so on; a blank sample of 0 leaves its sample.
  EXPECT_PICTURE(corrected(rgb8({{50, 50, 50, 60, 250, 9}}), rgb8({{80, 10, 0, 120, 30, 120}})),
                 rgb8({{62, 100, 50, 50, 166, 4}}));
  EXPECT_PICTURE(corrected(rgb8({{255, 1, 1, 1, 1, 1}}), rgb8({{1, 1, 1, 255, 1, 1}})), rgb8({{255, 1, 1, 0, 1, 1}}));
}

TEST(Shading, ofFourChannelsDividesTheMeanAndLeavesTheFourth) {
  // 90 / (3 * 5), 90 / (1 * 1) ...; 90 / (10 * 0) stays.
  const CPxImage blank = picture(CM_RGBA, 8, {{3, 1, 10, 77, 177, 179, 170, 3}});
  EXPECT_PICTURE(corrected(picture(CM_RGBA, 8, {{5, 1, 0, 9, 1, 0, 255, 200}}), blank),
                 picture(CM_RGBA, 8, {{6, 90, 0, 9, 0, 0, 0, 200}}));
  const CPxImage dark = picture(CM_RGBA, 8, {{0, 0, 0, 0}});
  EXPECT_PICTURE(corrected(picture(CM_RGBA, 8, {{5, 6, 7, 8}}), dark), picture(CM_RGBA, 8, {{5, 6, 7, 8}}));
}

TEST(Shading, ofWordsStoresTheLowByte) {
  // Mean 1000: 1000 * 300 / 1000 = 300, low byte 44; 65535 is limited to itself, low byte 255.
  EXPECT_PICTURE(corrected(gray16({{300, 200}}), gray16({{1000, 1000}})), gray16({{44, 200}}));
  EXPECT_PICTURE(corrected(gray16({{40000, 1}}), gray16({{4, 4}})), gray16({{40000 % 256, 1}}));
  EXPECT_PICTURE(corrected(gray16({{5000, 1}}), gray16({{200, 0}})), gray16({{5000 * 2 % 256, 0}}));
  EXPECT_PICTURE(corrected(gray16({{65535, 1}}), gray16({{30000, 0}})), gray16({{255, 0}}));
}

TEST(Shading, ofWordsWrapsProductsIn32Bits) {
  // 65535 * 65535 is -131071 in 32 bits; / 65535 = -2, low byte 254. The mean of 65535, 65535 is 65535.
  EXPECT_PICTURE(corrected(gray16({{65535, 1}}), gray16({{65535, 65535}})), gray16({{254, 1}}));
}

TEST(Shading, ofThreeChannelsOfWordsDividesTheMean) {
  // Means 1200, 600, 65535: 1200 / (2 * 3), 600 / (1 * 1) = 600, low byte 88; 65535 / (65535 * 1).
  EXPECT_PICTURE(
      corrected(picture(CM_RGB, 16, {{3, 1, 1, 1, 1, 0}}), picture(CM_RGB, 16, {{2, 1, 65535, 2398, 1199, 65535}})),
      picture(CM_RGB, 16, {{200, 88, 1, 0, 0, 0}}));
}

TEST(Shading, withAMeanOfZeroLeavesOneChannel) {
  EXPECT_PICTURE(corrected(gray8({{7, 9}}), gray8({{0, 0}})), gray8({{7, 9}}));
  EXPECT_PICTURE(corrected(gray16({{700, 9}}), gray16({{0, 0}})), gray16({{700, 9}}));
}

TEST(Shading, leavesFloatImagesAndTwoChannels) {
  const CPxImage real = grayFloat({{1.5, 2}}), pair = picture(CM_GRAYA, 8, {{1, 2, 3, 4}});
  EXPECT_PICTURE(corrected(real, gray8({{1, 2}})), real);
  EXPECT_PICTURE(corrected(real, grayFloat({{1, 2}})), real);
  EXPECT_PICTURE(corrected(pair, gray8({{1, 2}})), pair);
  EXPECT_PICTURE(corrected(pair, pair), pair);
  const CPxImage wide = CPxImage(CM_GRAY, 40, 2, 1);
  EXPECT_PICTURE(corrected(wide, gray8({{1, 2}})), wide);
}

TEST(Shading, refusesWhatDoesNotFit) {
  const CPxImage image = gray8({{1, 2}});
  EXPECT_PICTURE(corrected(image, CPxImage(), 0), image);
  EXPECT_PICTURE(corrected(image, gray8({{1}}), 0), image);
  EXPECT_PICTURE(corrected(image, gray8({{1}, {2}}), 0), image);
  EXPECT_PICTURE(corrected(image, gray16({{1, 2}}), 0), image);
  EXPECT_PICTURE(corrected(image, rgb8({{1, 2, 3, 4, 5, 6}}), 0), image);
  EXPECT_PICTURE(corrected(grayFloat({{1, 2}}), gray8({{1}}), 0), grayFloat({{1, 2}}));
  CIMPShadingCorrect unbound;
  unbound.SetBlankImage(&image);
  EXPECT_EQ(unbound.ShadingCorrect(), 0);
  CPxImage none, tampered = image;
  tampered.height = 9;
  for (CPxImage* const bound : {&none, &tampered}) {
    unbound.SetImage(bound);
    EXPECT_EQ(unbound.ShadingCorrect(), 0);
  }
}

TEST(Shading, ofNoPixelsSucceeds) {
  for (const int bits : {8, 16, 32}) corrected(CPxImage(CM_GRAY, bits, 0, 4), CPxImage(CM_GRAY, bits, 0, 4));
}

TEST(Shading, readsABlankOfTheSameSizeInBytesAsTheImagesSamples) {
  // Four bytes a pixel; its mean as a float is huge, or none at all.
  CPxImage blank = grayFloat({{-1e30, -1e30}});
  const CPxImage image = picture(CM_RGBA, 8, {{1, 1, 1, 1, 1, 2, 3, 4}});
  const auto* const bytes = static_cast<const unsigned char*>(blank.GetBuffer());
  // The level is the indefinite value; its quotient's low byte is stored.
  const int level = std::numeric_limits<int>::min();
  EXPECT_EQ(test::sampleAt(corrected(image, blank), 0, 0, 0), (level / bytes[0]) & 0xFF);
}

TEST(Shading, keepsABlankOfItsOwn) {
  CPxImage blank = gray8({{10, 20}}), image = gray8({{30, 30}});
  CIMPShadingCorrect shading(&image);
  shading.SetBlankImage(&blank);
  blank = gray8({{1}});
  EXPECT_PICTURE(*shading.GetBlankImage(), gray8({{10, 20}}));
  shading.SetBlankImage(nullptr);
  EXPECT_PICTURE(*shading.GetBlankImage(), gray8({{10, 20}}));
  EXPECT_EQ(shading.ShadingCorrect(), 1);
  EXPECT_PICTURE(image, gray8({{20, 40}}));
}

TEST(Shading, addsMeansOfFloatBlanksToThoseThatAreThere) {
  CPxImage image = picture(CM_RGBA, 8, {{1, 1, 1, 1}}), blank = picture(CM_GRAY, 32, {{8}});
  auto* const bytes = static_cast<unsigned char*>(blank.GetBuffer());
  ASSERT_TRUE(bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0);  // 8.0F: only the fourth byte is set
  CIMPShadingCorrect shading(&image);
  shading.SetBlankImage(&blank);
  shading.SetBlankImage(&blank);  // (8 + 8) / 1
  CPxImage ones = picture(CM_RGBA, 8, {{1, 1, 1, 1}});
  *shading.GetBlankImage() = ones;
  EXPECT_EQ(shading.ShadingCorrect(), 1);
  EXPECT_EQ(test::sampleAt(image, 0, 0, 0), 16);
}

TEST(Shading, addsFloatsInSinglePrecision) {
  // In single precision 2^24 + 1 is 2^24: the mean is 2^24 / 512, as if the other samples were 0.
  CPxImage blank(CM_GRAY, 32, 512, 1), ones(CM_RGBA, 16, 512, 1);
  for (int x = 0; x < 512; ++x) {
    test::setSample(blank, x, 0, 0, x == 0 ? 16777216 : 1);
    for (int k = 0; k < 4; ++k) test::setSample(ones, x, 0, k, 1);
  }
  CPxImage image = ones;
  CIMPShadingCorrect shading(&image);
  shading.SetBlankImage(&blank);
  *shading.GetBlankImage() = ones;
  EXPECT_EQ(shading.ShadingCorrect(), 1);
  EXPECT_EQ(test::sampleAt(image, 0, 0, 0), 32768 % 256);
}

TEST(Shading, hasNoMeanWithoutABlank) {
  CPxImage blank = gray8({{1}});
  Derived shading;
  EXPECT_EQ(shading.GetMean(&blank), 0);
  shading.SetBlankImage(&blank);
  EXPECT_EQ(shading.GetMean(nullptr), 1);
}

TEST(Shading, copiesItsBlankAndMeans) {
  CPxImage blank = gray8({{10, 20}}), image = gray8({{30, 30}}), other = image;
  CIMPShadingCorrect shading(&image);
  shading.SetBlankImage(&blank);
  CIMPShadingCorrect copy(shading), assigned;
  assigned = shading;
  EXPECT_NE(copy.GetBlankImage()->GetBuffer(), shading.GetBlankImage()->GetBuffer());
  EXPECT_EQ(copy.GetImage(), &image);
  for (CIMPShadingCorrect* const each : {&copy, &assigned}) {
    each->SetImage(&other);
    other = gray8({{30, 30}});
    EXPECT_EQ(each->ShadingCorrect(), 1);
    EXPECT_PICTURE(other, gray8({{20, 40}}));
  }
  EXPECT_TRUE(std::has_virtual_destructor_v<CIMPShadingCorrect>);
}

TEST(Shading, correctsItsOwnBlankAsASeparateImage) {
  const CPxImage picture = gray8({{10, 20, 30, 200}});
  CIMPShadingCorrect shading;
  shading.SetBlankImage(&picture);
  shading.SetImage(shading.GetBlankImage());
  EXPECT_EQ(shading.ShadingCorrect(), 1);
  EXPECT_PICTURE(*shading.GetBlankImage(), corrected(picture, picture));
}

// What a blank of these means makes of an image, with other samples in it.
void correctBy(CPxImage& image, const std::vector<double>& means, const CPxImage& blank) {
  CIMPShadingCorrect shading(&image);
  CPxImage flat(image.colorModel, image.bitsPerSample, 1, 1);
  for (std::size_t k = 0; k < means.size(); ++k) test::setSample(flat, 0, 0, static_cast<int>(k), means[k]);
  shading.SetBlankImage(&flat);
  *shading.GetBlankImage() = blank;
  ASSERT_EQ(shading.ShadingCorrect(), 1);
}

template <class S>
S* samplesOf(CPxImage& image, int row) {
  return static_cast<S*>(image.Get2DBuffer()[row]);
}

/// Every pair of sample and blank, at every mean.
TEST(Shading, dividesBytesExactly) {
  CPxImage grey(CM_GRAY, 8, 256, 256), greyBlank = grey, colour(CM_RGB, 8, 256, 256), colourBlank = colour;
  for (int blank = 0; blank < 256; ++blank) {
    for (int i = 0; i < 3 * 256; ++i) {
      samplesOf<std::uint8_t>(colour, blank)[i] = static_cast<std::uint8_t>(i / 3);
      samplesOf<std::uint8_t>(colourBlank, blank)[i] = static_cast<std::uint8_t>(blank);
    }
    for (int i = 0; i < 256; ++i) {
      samplesOf<std::uint8_t>(grey, blank)[i] = static_cast<std::uint8_t>(i);
      samplesOf<std::uint8_t>(greyBlank, blank)[i] = static_cast<std::uint8_t>(blank);
    }
  }
  for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
    if (!useLevel(level)) continue;
    for (int mean = 0; mean < 256; ++mean) {
      CPxImage greyResult = grey, colourResult = colour;
      correctBy(greyResult, {double(mean)}, greyBlank);
      correctBy(colourResult, {double(mean), double(mean ^ 1), double(255 - mean)}, colourBlank);
      const int means[] = {mean, mean ^ 1, 255 - mean};
      int wrong = 0;
      for (int blank = 0; blank < 256; ++blank) {
        for (int s = 0; s < 256; ++s) {
          wrong += samplesOf<std::uint8_t>(greyResult, blank)[s] != (mean ? std::min(blank * s / mean, 255) : s);
          for (int k = 0; k < 3; ++k)
            wrong += samplesOf<std::uint8_t>(colourResult, blank)[3 * s + k] !=
                     (blank ? std::min(means[k] * s / blank, 255) : s);
        }
      }
      ASSERT_EQ(wrong, 0) << level << " mean " << mean;
    }
  }
  useLevel("best");
}

/// Products next to multiples of the mean, up to the greatest one and where they wrap.
TEST(Shading, dividesWordsExactly) {
  test::Random random(64);
  for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
    if (!useLevel(level)) continue;
    for (int mean : {1,    2,    3,     5,     7,     255,   256,   257,   896,   897,   2047,
                     2048, 4095, 16383, 16384, 32767, 32768, 43691, 64640, 64641, 65534, 65535}) {
      // Where single precision begins and ends to be enough, at those means themselves.
      const bool isBorder = mean / 2 == 448 || mean / 2 == 32320;
      if (!isBorder && random.oneIn(2)) mean = std::clamp(mean + random.between(-100, 100), 1, 65535);
      const int blanks[] = {mean,  std::max(mean - 1, 0),    std::min(mean + 1, 65535), 1,     32768,
                            65535, random.between(0, 65535), random.between(0, 65535),  65534, 0};
      CPxImage image(CM_GRAY, 16, 65536, 10), blank = image;
      for (int y = 0; y < 10; ++y)
        for (int s = 0; s < 65536; ++s) {
          samplesOf<std::uint16_t>(image, y)[s] = static_cast<std::uint16_t>(s);
          samplesOf<std::uint16_t>(blank, y)[s] = static_cast<std::uint16_t>(blanks[y]);
        }
      correctBy(image, {double(mean)}, blank);
      for (int y = 0; y < 10; ++y) {
        for (int s = 0; s < 65536; ++s) {
          const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(blanks[y]) * unsigned(s));
          ASSERT_EQ(samplesOf<std::uint16_t>(image, y)[s], std::min(product / mean, 65535) & 0xFF)
              << level << " mean " << mean << " blank " << blanks[y] << " sample " << s;
        }
      }
    }
  }
  useLevel("best");
}

/// The image corrected with a float blank of this mean that became another.
CPxImage byMean(double mean, CPxImage image, const CPxImage& blank) {
  CIMPShadingCorrect shading(&image);
  const CPxImage real = picture(CM_RGBA, 32, {{mean, mean, mean, mean}});
  shading.SetBlankImage(&real);
  *shading.GetBlankImage() = blank;
  EXPECT_EQ(shading.ShadingCorrect(), 1);
  return image;
}

TEST(Shading, limitsTheMeanToTheGreatestSample) {
  EXPECT_PICTURE(byMean(300, gray8({{200}}), gray8({{100}})), gray8({{78}}));                  // 20000 / 255
  EXPECT_PICTURE(byMean(300, rgb8({{100, 0, 0}}), rgb8({{200, 1, 1}})), rgb8({{127, 0, 0}}));  // 25500 / 200
  EXPECT_PICTURE(byMean(300, picture(CM_RGBA, 8, {{1, 2, 0, 9}}), picture(CM_RGBA, 8, {{1, 1, 1, 1}})),
                 picture(CM_RGBA, 8, {{255, 127, 0, 9}}));
  EXPECT_PICTURE(byMean(70000, gray16({{60}}), gray16({{60000}})), gray16({{54}}));  // 3600000 / 65535
  EXPECT_PICTURE(byMean(70000, picture(CM_RGB, 16, {{300, 0, 0}}), picture(CM_RGB, 16, {{1, 1, 1}})),
                 picture(CM_RGB, 16, {{218, 0, 0}}));  // 65535 / 300
}

/// Means below 0, or none.
TEST(Shading, withAMeanBelowZeroStoresTheLowByte) {
  // -5.9 + 0.5 is truncated to -5: 700 / -5 = -140, low byte 116; 0 stays.
  EXPECT_PICTURE(byMean(-5.9, gray8({{7, 0, 1}}), gray8({{100, 9, 0}})), gray8({{116, 0, 0}}));
  // 60000 * 40000 wraps to -1894967296; its quotient is positive and limited.
  EXPECT_PICTURE(byMean(-5.9, gray16({{7, 40000}}), gray16({{100, 60000}})), gray16({{116, 255}}));
  // -5 * 7 / 100 = 0, -5 * 250 / 3 = -416, a blank of 0 leaves its sample.
  EXPECT_PICTURE(byMean(-5.9, rgb8({{7, 250, 9}}), rgb8({{100, 3, 0}})), rgb8({{0, -416 & 0xFF, 9}}));
  // -5 / (1 * 2) = -2; the fourth sample stays.
  EXPECT_PICTURE(byMean(-5.9, picture(CM_RGBA, 8, {{2, 0, 7, 8}}), picture(CM_RGBA, 8, {{1, 1, 0, 1}})),
                 picture(CM_RGBA, 8, {{254, 0, 7, 8}}));
  for (const double mean : {double(NAN), -1e30}) {  // the least integer
    EXPECT_PICTURE(byMean(mean, gray8({{7, 0}}), gray8({{100, 9}})), gray8({{0, 0}}));
    EXPECT_PICTURE(byMean(mean, gray16({{7, 0}}), gray16({{100, 9}})), gray16({{0, 0}}));
    // Its product with 3 wraps to itself, with 2 to 0; / 7 = -306783378, low byte 110.
    EXPECT_PICTURE(byMean(mean, rgb8({{3, 2, 9}}), rgb8({{7, 7, 0}})), rgb8({{-306783378 & 0xFF, 0, 9}}));
  }
  EXPECT_PICTURE(byMean(1e30, gray8({{7}}), gray8({{100}})), gray8({{0}}));  // beyond an integer too

  // A blank without pixels has no mean either.
  CPxImage image = rgb8({{3, 2, 9}});
  const CPxImage none(CM_RGB, 8, 0, 1);
  CIMPShadingCorrect shading(&image);
  shading.SetBlankImage(&none);
  *shading.GetBlankImage() = rgb8({{7, 7, 0}});
  EXPECT_EQ(shading.ShadingCorrect(), 1);
  EXPECT_PICTURE(image, rgb8({{-306783378 & 0xFF, 0, 9}}));
}

}  // namespace
}  // namespace rasterkit
