#include <rasterkit/core/levels.h>
#include <rasterkit/neighbourhood/filter.h>

#include <gtest/gtest.h>

#if __has_include(<xmmintrin.h>)
#include <xmmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cmath>
#include <compare>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using namespace test;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

CPxImage median(CPxImage source) {
  CPxImage dst;
  EXPECT_EQ(CPxFilter(&source).Median(dst), 1);
  return dst;
}

CPxImage withoutNoise(CPxImage source, int threshold) {
  CPxImage dst;
  EXPECT_EQ(CPxFilter(&source).RemoveRandomNoise(dst, threshold), 1);
  return dst;
}

// The sample in the middle of 3 x 3, alone on a background.
CPxImage spot(int bits, double background, double sample) {
  Table rows(3, std::vector<double>(3, background));
  rows[1][1] = sample;
  return picture(CM_GRAY, bits, rows);
}

bool replaced(const CPxImage& source, int threshold) { return !samePicture(withoutNoise(source, threshold), source); }

TEST(Median, takesTheMiddleOfNine) {
  EXPECT_PICTURE(median(gray8({{1, 2, 3},  //
                               {4, 9, 6},
                               {7, 8, 5}})),
                 gray8({{1, 2, 3},  //
                        {4, 5, 6},
                        {7, 8, 5}}));
}

// A network of comparisons sorts every order of numbers if it sorts all of zeros and ones.
TEST(Median, isTheMiddleOfAllSetsOfNine) {
  for (const int bits : {8, 16, 32}) {
    for (int set = 0; set < 512; ++set) {
      Table rows(3, std::vector<double>(3));
      int ones = 0;
      for (int i = 0; i < 9; ++i) {
        rows[i / 3][i % 3] = set >> i & 1;
        ones += set >> i & 1;
      }
      EXPECT_EQ(sampleAt(median(picture(CM_GRAY, bits, rows)), 1, 1), ones > 4) << set;
    }
  }
}

TEST(Median, keepsTheFrame) {
  EXPECT_PICTURE(median(gray8({{9, 0, 9, 0},  //
                               {0, 9, 0, 9},
                               {9, 0, 9, 0},
                               {0, 9, 0, 9}})),
                 gray8({{9, 0, 9, 0},  //
                        {0, 9, 0, 9},
                        {9, 0, 9, 0},
                        {0, 9, 0, 9}}));
  EXPECT_PICTURE(median(gray8({{9, 9, 9}, {9, 0, 9}, {0, 9, 9}})), gray8({{9, 9, 9}, {9, 9, 9}, {0, 9, 9}}));
}

TEST(Median, readsUnfilteredNeighboursInPlaceToo) {
  const CPxImage before = gray8({{0, 0, 0, 0, 0},  //
                                 {0, 7, 7, 7, 0},
                                 {0, 7, 0, 7, 0},
                                 {0, 7, 7, 7, 0},
                                 {0, 0, 0, 0, 0}});
  const CPxImage expected = gray8({{0, 0, 0, 0, 0},  //
                                   {0, 0, 7, 0, 0},
                                   {0, 7, 7, 7, 0},
                                   {0, 0, 7, 0, 0},
                                   {0, 0, 0, 0, 0}});
  EXPECT_PICTURE(median(before), expected);
  CPxImage image = before;
  EXPECT_EQ(CPxFilter(&image).Median(image), 1);
  EXPECT_PICTURE(image, expected);
  image = before;
  EXPECT_EQ(CPxFilter(&image).RemoveRandomNoise(image, 0), 1);
  EXPECT_PICTURE(image, expected);
}

TEST(Median, filtersChannelsIndependently) {
  const CPxImage before = rgb8({{1, 2, 3, 1, 2, 3, 1, 2, 3},  //
                                {1, 2, 3, 1, 2, 200, 1, 2, 3},
                                {1, 2, 3, 1, 2, 3, 1, 2, 3}});
  CPxImage expected = before;
  setSample(expected, 1, 1, 2, 3);
  EXPECT_PICTURE(median(before), expected);
  EXPECT_PICTURE(withoutNoise(before, 1000), expected);
}

TEST(Median, imagesWithoutAnInsideAreCopied) {
  for (const CPxImage& before :
       {gray8({{9, 0}, {0, 9}}), gray8({{9, 0, 9, 0}, {0, 9, 0, 9}}), gray8({{9, 0}, {0, 9}, {9, 0}}),
        CPxImage(CM_GRAY, 8, 0, 4), CPxImage(CM_GRAY, 8, 4, 0)}) {
    EXPECT_PICTURE(median(before), before);
    EXPECT_PICTURE(withoutNoise(before, -1), before);
  }
}

TEST(Median, ranksFloatsByTotalOrder) {
  EXPECT_EQ(sampleAt(median(grayFloat({{kNan, kNan, 1}, {-kInfinity, 2, 4}, {3, 0, kInfinity}})), 1, 1), 3);
  EXPECT_TRUE(std::isnan(sampleAt(median(grayFloat({{kNan, kNan, kNan}, {kNan, 2, 4}, {3, 0, kNan}})), 1, 1)));
  const double minusNan = std::copysign(kNan, -1.0);
  EXPECT_EQ(sampleAt(median(grayFloat({{minusNan, minusNan, 1}, {minusNan, 2, 4}, {3, 5, 6}})), 1, 1), 2);
  EXPECT_TRUE(
      std::signbit(sampleAt(median(grayFloat({{0.0, 0.0, 0.0}, {0.0, -0.0, -0.0}, {-0.0, -0.0, -0.0}})), 1, 1)));
  EXPECT_FALSE(
      std::signbit(sampleAt(median(grayFloat({{0.0, 0.0, 0.0}, {0.0, 0.0, -0.0}, {-0.0, -0.0, -0.0}})), 1, 1)));
}

// Rows are made in pieces and in whole vectors; seven columns are neither. The last seven end with the row.
TEST(Median, longRowsAreMadeAsTheirParts) {
  for (const int bits : {8, 16, 32})
    for (const COLOR_MODEL model : {CM_GRAY, CM_RGB}) {
      CPxImage whole(model, bits, 1102, 5), part(model, bits, 7, 5);
      unsigned int random = 1;
      for (int y = 0; y < 5; ++y)
        for (int x = 0; x < whole.width; ++x)
          for (int c = 0; c < whole.channels; ++c) {
            random = random * 1664525u + 1013904223u;
            setSample(whole, x, y, c, (random >> 22) * (bits == 32 ? 0.125 : 0.25));
          }
      const CPxImage medians = median(whole), denoised = withoutNoise(whole, 200);
      for (int left = 0; left + part.width <= whole.width; left += part.width - 2) {
        for (int y = 0; y < 5; ++y)
          for (int x = 0; x < part.width; ++x)
            for (int c = 0; c < part.channels; ++c) setSample(part, x, y, c, sampleAt(whole, left + x, y, c));
        const CPxImage partMedians = median(part), partDenoised = withoutNoise(part, 200);
        for (int y = 1; y < 4; ++y)
          for (int x = 1; x + 1 < part.width; ++x)
            for (int c = 0; c < part.channels; ++c) {
              ASSERT_EQ(sampleAt(medians, left + x, y, c), sampleAt(partMedians, x, y, c)) << bits << ": " << left + x;
              ASSERT_EQ(sampleAt(denoised, left + x, y, c), sampleAt(partDenoised, x, y, c))
                  << bits << ": " << left + x;
            }
      }
    }
}

// Each piece of a row takes the way that suits its floats: plain ones, some with -0, whole ones, broken ones between 0
// and 1, of which all are in doubt, and some with NaN or too large for any doubt.
TEST(RemoveRandomNoise, floatsOfEveryKindStandSideBySide) {
  Random random(7);
  CPxImage image(CM_GRAY, 32, 7 * 520, 6);  // a kind fills a whole piece at least
  const auto kinds = std::array<std::function<double()>, 7>{
      [&] { return random.between(0, 90) + random.fraction(); },
      [&] { return random.between(-50, 50) + random.fraction(); },
      [&] { return random.oneIn(3) ? -0.0 : random.between(0, 1) * random.fraction() * 9; },
      [&] { return double(random.between(-99, 99)); },
      [&] { return random.fraction(); },
      [&] { return random.oneIn(9) ? std::copysign(kNan, random.between(-1, 0)) : random.fraction() * 100; },
      [&] { return random.oneIn(9) ? 3e9 : random.between(-9, 9) * 0.25; },
  };
  for (int x = 0; x < image.width; ++x)
    for (int y = 0; y < image.height; ++y) setSample(image, x, y, 0, kinds[x / 520]());
  const auto bitsAt = [](const CPxImage& of, int x, int y) {
    return std::bit_cast<std::uint32_t>(static_cast<float>(sampleAt(of, x, y, 0)));
  };

  // What is expected: of each sample the middle of the nine, and how far it stands out.
  std::vector<std::uint32_t> middles;
  std::vector<std::int64_t> magnitudes;
  for (int y = 1; y + 1 < image.height; ++y)
    for (int x = 1; x + 1 < image.width; ++x) {
      std::vector<float> nine;
      std::int32_t total = 0;
      for (int j = -1; j <= 1; ++j)
        for (int i = -1; i <= 1; ++i) {
          nine.push_back(static_cast<float>(sampleAt(image, x + i, y + j, 0)));
          const double sum = total + (sampleAt(image, x, y, 0) - sampleAt(image, x + i, y + j, 0));
          if (i != 0 || j != 0) total = std::abs(sum) < 2147483648.0 ? static_cast<std::int32_t>(sum) : INT_MIN;
        }
      std::ranges::sort(nine, [](float a, float b) { return std::strong_order(a, b) < 0; });
      middles.push_back(std::bit_cast<std::uint32_t>(nine[4]));
      magnitudes.push_back(std::abs(std::int64_t{total}));
    }

  const struct Levels {
    ~Levels() { useLevel("best"); }
  } whateverFails;
  for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
    if (!useLevel(level)) continue;
    for (const int threshold : {-1, 0, 3, 40, 300}) {
      const CPxImage result = withoutNoise(image, threshold);
      std::size_t i = 0;
      for (int y = 1; y + 1 < image.height; ++y)
        for (int x = 1; x + 1 < image.width; ++x, ++i)
          ASSERT_EQ(bitsAt(result, x, y), magnitudes[i] > threshold ? middles[i] : bitsAt(image, x, y))
              << x << ", " << y << " at " << threshold << ", " << level;
    }
  }
}

// The total of what is truncated eight times lies up to 8 below the sum; or up to 7 above, where it rises from below 0.
TEST(RemoveRandomNoise, isRightHoweverMuchIsTruncated) {
  constexpr double almost = 1 - 0x1p-10, centre = 1000;
  constexpr int wide = 70;
  const struct {
    std::array<double, 8> differences;  // from the neighbours in their order
    int total;
  } cases[] = {
      {{50 + almost, 50 + almost, 50 + almost, 50 + almost, 50 + almost, 50 + almost, 50 + almost, 50 + almost}, 400},
      {{-almost, -almost, -almost, -almost, -almost, -almost, -almost, 401}, 401},
  };
  for (const auto& [differences, total] : cases)
    for (const int sign : {1, -1})
      for (const int x : {1, 33, 68}) {
        CPxImage image(CM_GRAY, 32, wide, 3);
        for (int y = 0; y < 3; ++y)
          for (int u = 0; u < wide; ++u) setSample(image, u, y, 0, centre);
        std::vector<double> nine = {centre};
        for (int k = 0; k < 8; ++k) {
          const int place = k < 4 ? k : k + 1;  // of nine
          nine.push_back(centre - sign * differences[static_cast<std::size_t>(k)]);
          setSample(image, x - 1 + place % 3, place / 3, 0, nine.back());
        }
        std::ranges::sort(nine);
        for (const int threshold : {total - 2, total - 1, total, total + 1})
          EXPECT_EQ(sampleAt(withoutNoise(image, threshold), x, 1, 0), total > threshold ? nine[4] : centre)
              << total << " at " << threshold << ", sign " << sign << ", column " << x;
      }
}

#if __has_include(<xmmintrin.h>)
TEST(Median, denormalsAreRankedThoughTheProcessorTakesThemForZero) {
  CPxImage image(CM_GRAY, 32, 3, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 3; ++x) setSample(image, x, y, 0, std::array{1, 2, 3, 4, 0, 6, 7, 8, 9}[y * 3 + x] * 0x1p-149);
  CPxImage dst;
  const unsigned int mode = _mm_getcsr();
  _mm_setcsr(mode | 0x8040);  // denormal operands are zero, and results
  CPxFilter(&image).Median(dst);
  _mm_setcsr(mode);
  EXPECT_EQ(sampleAt(dst, 1, 1, 0), 4 * 0x1p-149);
}
#endif

TEST(RemoveRandomNoise, replacesWhatStandsOut) {
  EXPECT_PICTURE(withoutNoise(spot(8, 10, 255), 1000), spot(8, 10, 10));  // 8 * 245 = 1960
  EXPECT_PICTURE(withoutNoise(spot(8, 10, 255), 2000), spot(8, 10, 255));
  EXPECT_PICTURE(median(spot(8, 10, 255)), spot(8, 10, 10));
}

TEST(RemoveRandomNoise, theThresholdItselfIsKept) {
  for (const int bits : {8, 16, 32}) {
    for (const double sample : {255.0, 0.0}) {
      const CPxImage before = spot(bits, 100, sample);
      const int magnitude = sample > 100 ? 1240 : 800;
      EXPECT_FALSE(replaced(before, magnitude)) << bits;
      EXPECT_TRUE(replaced(before, magnitude - 1)) << bits;
    }
  }
  EXPECT_TRUE(replaced(spot(16, 65535, 0), 524279));
  EXPECT_FALSE(replaced(spot(16, 65535, 0), 524280));
  EXPECT_FALSE(replaced(spot(8, 0, 255), INT_MAX));
  EXPECT_FALSE(replaced(spot(16, 0, 65535), INT_MAX));
}

TEST(RemoveRandomNoise, aNegativeThresholdIsTheMedian) {
  Random random(5);
  for (const PixelType type : pixelTypes()) {
    const CPxImage before = randomImage(random, type, 37, 9);
    for (const int threshold : {-1, -300, INT_MIN}) EXPECT_PICTURE(withoutNoise(before, threshold), median(before));
  }
}

TEST(RemoveRandomNoise, thresholdZeroKeepsWhatIsEven) {
  const CPxImage slope = gray8({{1, 2, 3}, {2, 3, 4}, {3, 4, 5}});
  EXPECT_FALSE(replaced(slope, 0));
  // The least and the greatest of 8 bits, against everything that a narrower sum would lose.
  EXPECT_TRUE(replaced(spot(8, 0, 255), 2039));
  EXPECT_FALSE(replaced(spot(8, 0, 255), 2040));
  EXPECT_TRUE(replaced(spot(8, 255, 0), 2039));
  EXPECT_FALSE(replaced(spot(8, 255, 0), 2040));
}

// Whole numbers in wider samples are judged alike, whatever they are summed in, near the threshold and at it.
TEST(RemoveRandomNoise, everySampleClassJudgesWholeNumbersAlike) {
  Random random(6);
  const CPxImage narrow = randomImage(random, {CM_RGB, 8}, 211, 7);
  CPxImage wide(CM_RGB, 16, 211, 7), real(CM_RGB, 32, 211, 7), broken(CM_RGB, 32, 211, 7);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 211; ++x)
      for (int c = 0; c < 3; ++c) {
        setSample(wide, x, y, c, sampleAt(narrow, x, y, c));
        setSample(real, x, y, c, sampleAt(narrow, x, y, c));
        setSample(broken, x, y, c, sampleAt(narrow, x, y, c));
      }
  setSample(broken, 0, 0, 0, 0.5);  // so that the rest is not known to be whole
  for (int threshold = 0; threshold <= 2041; threshold += threshold < 64 ? 1 : 7) {
    const CPxImage expected = withoutNoise(narrow, threshold);
    CPxImage result = withoutNoise(wide, threshold), realResult = withoutNoise(real, threshold),
             brokenResult = withoutNoise(broken, threshold);
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 211; ++x)
        for (int c = 0; c < 3; ++c) {
          ASSERT_EQ(sampleAt(result, x, y, c), sampleAt(expected, x, y, c)) << threshold;
          ASSERT_EQ(sampleAt(realResult, x, y, c), sampleAt(expected, x, y, c)) << threshold;
          if (x > 1 || y > 1) {
            ASSERT_EQ(sampleAt(brokenResult, x, y, c), sampleAt(expected, x, y, c)) << threshold;
          }
        }
  }
}

// Totals beyond 2^23, where floats have no halves left between whole numbers.
TEST(RemoveRandomNoise, judgesLargeWholeNumbersExactly) {
  constexpr int wide = 70;
  for (const int less : {0, 1, 2, 3, 4, 5, 6, 7})
    for (const int sign : {1, -1})
      for (const int x : {1, 33, 68}) {
        CPxImage image(CM_GRAY, 32, wide, 3);
        for (int y = 0; y < 3; ++y)
          for (int u = 0; u < wide; ++u) setSample(image, u, y, 0, u == x ? 0 : sign * -0x1p17);
        const double centre = sign * (0x1p20 - 4);
        setSample(image, x, 1, 0, centre);
        setSample(image, x - 1, 0, 0, sign * (less - 0x1p17));
        const int total = 8 * ((1 << 20) - 4) + 6 * (1 << 17) - less;
        EXPECT_EQ(sampleAt(withoutNoise(image, total - 1), x, 1, 0), sign * -0x1p17) << less << ", " << x;
        EXPECT_EQ(sampleAt(withoutNoise(image, total), x, 1, 0), centre) << less << ", " << x;
      }
}

// Where floats are so large that sums in single precision are rounded, and whole ones so large that their sums are no
// longer exact.
TEST(RemoveRandomNoise, roundedSumsOfLargeFloatsAreInDoubt) {
  const auto replacedAt = [](double around, double centre, int threshold) {
    CPxImage image(CM_GRAY, 32, 40, 3);
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < image.width; ++x) setSample(image, x, y, 0, around);
    setSample(image, 20, 1, 0, centre);
    return sampleAt(withoutNoise(image, threshold), 20, 1) != centre;
  };
  // Each difference is a little less than 4000006.
  EXPECT_TRUE(replacedAt(0x1p-20, 4000006, 32000039));
  for (const int threshold : {32000040, 32000041, 32000042}) EXPECT_FALSE(replacedAt(0x1p-20, 4000006, threshold));
  EXPECT_TRUE(replacedAt(0, 2000001, 16000007));
  EXPECT_FALSE(replacedAt(0, 2000001, 16000008));
}

TEST(RemoveRandomNoise, theFrameStays) {
  const CPxImage before = gray8({{255, 0, 255}, {0, 0, 0}, {255, 0, 0}});
  for (const int threshold : {-1, 0, 100, 5000}) EXPECT_PICTURE(withoutNoise(before, threshold), before);
}

TEST(RemoveRandomNoise, truncatesTheTotalOfFloatsAfterEveryDifference) {
  // Eight differences of 0.75 would be 6; none of them reaches a whole number.
  EXPECT_FALSE(replaced(spot(32, 0, 0.75), 0));
  // 1.5, 2.5, 3.5 ... lose a half each: 8 in all instead of 12.
  EXPECT_TRUE(replaced(spot(32, 0, 1.5), 7));
  EXPECT_FALSE(replaced(spot(32, 0, 1.5), 8));
  EXPECT_TRUE(replaced(spot(32, 1.5, 0), 7));
  EXPECT_FALSE(replaced(spot(32, 1.5, 0), 8));
  // The order counts: 0.5 is lost and -1 stays, or -1 and 0.5 make -0.5, which is lost.
  EXPECT_TRUE(replaced(grayFloat({{-0.5, 1, 0.125}, {0.125, 0, 0.125}, {0.125, 0.125, 0.125}}), 0));
  EXPECT_FALSE(replaced(grayFloat({{1, -0.5, 0.125}, {0.125, 0, 0.125}, {0.125, 0.125, 0.125}}), 0));
}

// Of the four rows that two are judged by, any may be the one that is not whole.
TEST(RemoveRandomNoise, fractionsInOneRowAreTruncatedToo) {
  for (const auto& [centre, row] : {std::pair{1, 0}, {1, 2}, {2, 1}, {2, 3}}) {
    CPxImage image(CM_GRAY, 32, 3, 4);
    for (int x = 0; x < 3; ++x) setSample(image, x, row, 0, 0.75);
    setSample(image, 1, centre, 0, 1);  // five differences of 1; the three quarters are lost
    EXPECT_FALSE(replaced(image, 5)) << row;
    EXPECT_TRUE(replaced(image, 4)) << row;
  }
}

// Their sums tell nothing as long as they stay below the threshold and 8: all of a row is then judged one by one.
TEST(RemoveRandomNoise, fractionsBelowOneAddUpToNothing) {
  Random random(8);
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB, CM_RGBA}) {
    CPxImage image(model, 32, 700, 5);
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x)
        for (int c = 0; c < image.channels; ++c) setSample(image, x, y, c, random.fraction() * 0.99);
    for (const int threshold : {0, 3}) EXPECT_FALSE(replaced(image, threshold));
  }
}

TEST(RemoveRandomNoise, totalsOfFloatsThatNoIntegerHoldsAreTheLeastOne) {
  EXPECT_TRUE(replaced(spot(32, 1, kNan), INT_MAX));
  EXPECT_TRUE(replaced(spot(32, 1, kInfinity), INT_MAX));
  // 3e9 is too much; added to -2147483648 it is 852516352; and so on in turns.
  EXPECT_TRUE(replaced(spot(32, 0, 3e9), 852516351));
  EXPECT_FALSE(replaced(spot(32, 0, 3e9), 852516352));
  EXPECT_TRUE(replaced(spot(32, 1, -3e9), INT_MAX));
  // Three and three times in turns, where the columns are even.
  const Table stripe(4, {0, 3e9, 0});
  EXPECT_TRUE(replaced(grayFloat(stripe), 852516351));
  EXPECT_FALSE(replaced(grayFloat(stripe), 852516352));
  // Twice, beside a sample of 1; its other differences are 1.
  const CPxImage below = grayFloat({{-3e9, -3e9, 0}, {-3e9, -3e9, 0}, {0, 1, 0}, {0, 0, 0}});
  EXPECT_EQ(sampleAt(withoutNoise(below, 852516358), 1, 2), 0);
  EXPECT_EQ(sampleAt(withoutNoise(below, 852516359), 1, 2), 1);
  const CPxImage above = grayFloat({{0, 0, 0}, {0, 1, 0}, {-3e9, -3e9, 0}, {-3e9, -3e9, 0}});
  EXPECT_EQ(sampleAt(withoutNoise(above, 852516353), 1, 1), 0);
  EXPECT_EQ(sampleAt(withoutNoise(above, 852516354), 1, 1), 1);
  // A neighbour before the last leaves -2147483648 behind, to which the rest is added.
  EXPECT_FALSE(replaced(grayFloat({{3e9, 0, 0}, {0, 1, 0}, {0, 0, 0}}), INT_MAX));
  EXPECT_FALSE(replaced(grayFloat({{3e9, 0, 0}, {0, 1, 0}, {0, 0, 0}}), 2147483641));
  EXPECT_TRUE(replaced(grayFloat({{3e9, 0, 0}, {0, 1, 0}, {0, 0, 0}}), 2147483640));
}

TEST(Median, refusesUnsupportedImagesAndIgnoresTheMask) {
  CPxImage deep(CM_GRAY, 33, 4, 4), dst = gray8({{1}});
  EXPECT_EQ(CPxFilter(&deep).Median(dst), 0);
  EXPECT_PICTURE(dst, deep);
  EXPECT_EQ(CPxFilter(&deep).RemoveRandomNoise(dst, 1), 0);
  EXPECT_PICTURE(dst, deep);
  CPxImage empty, kept = gray8({{1}});
  EXPECT_EQ(CPxFilter().Median(kept), 0);
  EXPECT_EQ(CPxFilter(&empty).RemoveRandomNoise(kept, 1), 0);
  EXPECT_PICTURE(kept, gray8({{1}}));

  CPxImage source = spot(8, 10, 255), mask = gray8({{0, 0}});
  CPxFilter filter(&source);
  filter.SetAOIImage(&mask);
  EXPECT_EQ(filter.Median(dst), 1);
  EXPECT_PICTURE(dst, spot(8, 10, 10));
  EXPECT_EQ(filter.RemoveRandomNoise(dst, 0), 1);
  EXPECT_PICTURE(dst, spot(8, 10, 10));
}

}  // namespace
}  // namespace rasterkit
