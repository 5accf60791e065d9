#include <rasterkit/analysis/histogram.h>

#include <gtest/gtest.h>

#include <climits>
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

constexpr HIST_FLAG kUnknown = static_cast<HIST_FLAG>(5), kBelow = static_cast<HIST_FLAG>(-1);

CPxHistogram of(const std::vector<int>& values) {
  CPxHistogram histogram(static_cast<int>(values.size()));
  histogram.SetBuffer(values.data(), HIST_RAW);
  return histogram;
}

int total(const CPxHistogram& histogram) {
  int sum = 0;
  for (int i = 0; i < histogram.GetBinCount(); ++i) sum += histogram.GetValue(i, HIST_RAW);
  return sum;
}

TEST(Histogram, beginsEmptyAndLinear) {
  CPxHistogram histogram;
  EXPECT_EQ(histogram.IsCreated(), 0);
  EXPECT_EQ(histogram.GetBinCount(), 0);
  EXPECT_EQ(histogram.GetCircularModel(), 0);
  for (int flag = 0; flag < 5; ++flag) EXPECT_EQ(histogram.GetBuffer(static_cast<HIST_FLAG>(flag)), nullptr);
}

TEST(Histogram, countsEachValueInItsBin) {
  const CPxHistogram bytes(gray8({{1, 7, 1}, {255, 0, 1}}), 0);
  EXPECT_EQ(bytes.GetBinCount(), 256);
  EXPECT_EQ(bytes.GetValue(0, HIST_RAW), 1);
  EXPECT_EQ(bytes.GetValue(1, HIST_RAW), 3);
  EXPECT_EQ(bytes.GetValue(7, HIST_RAW), 1);
  EXPECT_EQ(bytes.GetValue(255, HIST_RAW), 1);
  EXPECT_EQ(total(bytes), 6);

  const CPxHistogram words(gray16({{1, 65535, 300}}), 0);
  EXPECT_EQ(words.GetBinCount(), 65536);
  EXPECT_EQ(words.GetValue(300, HIST_RAW), 1);
  EXPECT_EQ(words.GetValue(65535, HIST_RAW), 1);
  EXPECT_EQ(total(words), 3);
}

void expectCountsOfSingleSamples(const CPxImage& image, const std::string& name) {
  for (int channel = 0; channel < image.channels; ++channel) {
    std::vector<int> expected(std::size_t{1} << image.bitsPerSample);
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) ++expected[static_cast<std::size_t>(test::sampleAt(image, x, y, channel))];
    const CPxHistogram histogram(image, channel);
    ASSERT_EQ(std::vector<int>(histogram.GetBuffer(HIST_RAW), histogram.GetBuffer(HIST_RAW) + expected.size()),
              expected)
        << name << " channel " << channel << ", " << image.width << " x " << image.height;
  }
}

TEST(Histogram, countsAgreeWithSingleSamplesAtEverySizeAndChannel) {
  test::Random random(16);
  for (const auto type : test::pixelTypes()) {
    if (type.bits > 16) continue;
    for (const int width : {1, 2, 7, 8, 9, 31, 64, 67, 500})
      expectCountsOfSingleSamples(test::randomImage(random, type, width, 5), test::nameOf(type));
  }
}

// Of few values, so that counters of one byte run over; just too small to count bytes in pairs, and large enough.
TEST(Histogram, countsAgreeWithSingleSamplesOnLargeImages) {
  test::Random random(17);
  for (const auto type : test::pixelTypes()) {
    if (type.bits > 16) continue;
    for (const auto& [width, height] : {std::pair(1025, 511), {1025, 512}}) {
      CPxImage image(test::randomImage(random, type, width, height));
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          for (int channel = 0; channel < image.channels && y % 4 != 0; ++channel)
            test::setSample(image, x, y, channel, 40 + (y % 3 == 0 ? random.between(0, 2) : x / 100 % 5));
      expectCountsOfSingleSamples(image, test::nameOf(type));
    }
  }
}

TEST(Histogram, ofSeveralChannelsCountsTheOneAsked) {
  const CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}});
  CPxHistogram histogram(256);
  EXPECT_EQ(histogram.SetHistogram(image, 2), 1);
  EXPECT_EQ(histogram.GetValue(3, HIST_RAW), 1);
  EXPECT_EQ(histogram.GetValue(6, HIST_RAW), 1);
  EXPECT_EQ(total(histogram), 2);
  EXPECT_EQ(histogram.SetHistogram(image, 3), 0);
  EXPECT_EQ(histogram.SetHistogram(image, -1), 0);
  EXPECT_EQ(total(histogram), 2);
}

TEST(Histogram, ofOneChannelIgnoresTheChannelAsked) {
  CPxHistogram histogram(256);
  EXPECT_EQ(histogram.SetHistogram(gray8({{9}}), 7), 1);
  EXPECT_EQ(histogram.SetHistogram(gray8({{9}}), -3), 1);
  EXPECT_EQ(histogram.GetValue(9, HIST_RAW), 2);
}

TEST(Histogram, addsToTheCountsThatAreThere) {
  const CPxImage image = gray8({{4, 4, 5}});
  CPxHistogram histogram(image, 0);
  EXPECT_EQ(histogram.SetHistogram(image, 0), 1);
  EXPECT_EQ(histogram.GetValue(4, HIST_RAW), 4);
  EXPECT_EQ(histogram.GetValue(5, HIST_RAW), 2);
}

TEST(Histogram, refusesFloatSamplesAndImagesWithoutPixelsOfTheirOwn) {
  CPxHistogram histogram(256);
  CPxImage tampered = gray8({{1}});
  tampered.height = 100;
  EXPECT_EQ(histogram.SetHistogram(grayFloat({{1}}), 0), 0);
  EXPECT_EQ(histogram.SetHistogram(CPxImage(CM_GRAY, 33, 2, 2), 0), 0);
  EXPECT_EQ(histogram.SetHistogram(CPxImage(), 0), 0);
  EXPECT_EQ(histogram.SetHistogram(tampered, 0), 0);
  tampered = gray8({{1}});
  tampered.channels = 5;
  EXPECT_EQ(histogram.SetHistogram(tampered, 0), 0);
  tampered.channels = 0;
  EXPECT_EQ(histogram.SetHistogram(tampered, 0), 0);
  EXPECT_EQ(total(histogram), 0);
  EXPECT_EQ(histogram.SetHistogram(CPxImage(CM_GRAY, 8, 0, 4), 0), 1);
}

TEST(Histogram, doesNotCountSamplesBeyondItsBins) {
  CPxHistogram small(4);
  EXPECT_EQ(small.SetHistogram(gray8({{0, 3, 4, 255}}), 0), 1);
  EXPECT_EQ(small.SetHistogram(gray16({{3, 4, 65535}}), 0), 1);
  EXPECT_EQ(small.GetValue(0, HIST_RAW), 1);
  EXPECT_EQ(small.GetValue(3, HIST_RAW), 2);
  EXPECT_EQ(total(small), 3);

  CPxHistogram empty;
  EXPECT_EQ(empty.SetHistogram(gray8({{1}}), 0), 1);
  EXPECT_EQ(empty.SetHistogram(grayFloat({{1}}), 0), 0);
  EXPECT_EQ(empty.IsCreated(), 0);
}

TEST(Histogram, hasTheBinsOfTheChannelsBits) {
  CPxImage image = gray16({{1, 5, 4095, 4096}});
  const int twelve[] = {12};
  image.SetBitsPerSampleEx(twelve);
  const CPxHistogram histogram(image, 0);
  EXPECT_EQ(histogram.GetBinCount(), 4096);
  EXPECT_EQ(total(histogram), 3);

  for (const int bits : {-1, 17, INT_MIN, INT_MAX}) {
    image.SetBitsPerSampleEx(&bits);
    EXPECT_EQ(CPxHistogram(image, 0).IsCreated(), 0) << bits;
  }
  const int none[] = {0};
  image.SetBitsPerSampleEx(none);
  EXPECT_EQ(CPxHistogram(image, 0).GetBinCount(), 1);

  EXPECT_EQ(CPxHistogram(gray8({{1}}), 1).IsCreated(), 0);
  EXPECT_EQ(CPxHistogram(gray8({{1}}), -1).IsCreated(), 0);
  EXPECT_EQ(CPxHistogram(CPxImage(), 0).IsCreated(), 0);
  EXPECT_EQ(CPxHistogram(grayFloat({{1}}), 0).IsCreated(), 0);
}

TEST(Histogram, ofFewerThanOneBinIsEmpty) {
  for (const int bins : {0, -1, INT_MIN}) {
    CPxHistogram histogram(bins);
    EXPECT_EQ(histogram.IsCreated(), 0);
    EXPECT_EQ(histogram.GetBinCount(), 0);
    for (int flag = -1; flag < 6; ++flag) {
      histogram.CreateBuffer(static_cast<HIST_FLAG>(flag));
      EXPECT_EQ(histogram.GetBuffer(static_cast<HIST_FLAG>(flag)), nullptr);
    }
  }
}

TEST(Histogram, makesBuffersOnce) {
  CPxHistogram histogram(3);
  for (const HIST_FLAG flag : {HIST_SMOOTHED, HIST_DIFF1, HIST_DIFF2}) {
    histogram.CreateBuffer(flag);
    ASSERT_NE(histogram.GetBuffer(flag), nullptr);
    EXPECT_EQ(histogram.GetValue(2, flag), 0);
    histogram.SetValue(2, 8, flag);
    histogram.CreateBuffer(flag);
    EXPECT_EQ(histogram.GetValue(2, flag), 8);
  }
  histogram.CreateBuffer(HIST_DIFF3);  // asks for the counts to be absent
  EXPECT_EQ(histogram.GetBuffer(HIST_DIFF3), nullptr);
  histogram.CreateBuffer(kUnknown);
  EXPECT_EQ(histogram.GetBuffer(kUnknown), nullptr);
  EXPECT_EQ(histogram.GetBuffer(kBelow), nullptr);
}

TEST(Histogram, setsAndChangesSingleElements) {
  CPxHistogram histogram = of({10, 2, INT_MAX});
  histogram.SetValue(1, 5, HIST_RAW);
  histogram.AddValue(1, -7, HIST_RAW);
  EXPECT_EQ(histogram.GetValue(1, HIST_RAW), -2);
  histogram.AddValue(2, 1, HIST_RAW);
  EXPECT_EQ(histogram.GetValue(2, HIST_RAW), INT_MIN);
}

TEST(Histogram, subtractsDownToNothingButNotUp) {
  CPxHistogram histogram = of({10, 2, 3, INT_MIN});
  for (int i = 0; i < 4; ++i) histogram.SubValue(i, 3, HIST_RAW);
  EXPECT_EQ(histogram.GetValue(0, HIST_RAW), 0);
  EXPECT_EQ(histogram.GetValue(1, HIST_RAW), -1);
  EXPECT_EQ(histogram.GetValue(2, HIST_RAW), 0);
  EXPECT_EQ(histogram.GetValue(3, HIST_RAW), 0);  // wraps to a positive number
}

TEST(Histogram, answersForUnknownFlags) {
  CPxHistogram histogram = of({1, 2});
  for (const HIST_FLAG flag : {kUnknown, kBelow}) {
    int position = 77;
    const int values[] = {3, 4};
    histogram.SetBuffer(values, flag);
    histogram.SetValue(0, 9, flag);
    histogram.AddValue(0, 9, flag);
    histogram.SubValue(0, -9, flag);
    EXPECT_EQ(histogram.GetValue(0, flag), -1);
    EXPECT_EQ(histogram.GetHighValidPosition(flag), -1);
    EXPECT_EQ(histogram.GetLowValidPosition(flag), -1);
    EXPECT_EQ(histogram.GetMaxValue(&position, 0, -1, flag), 0);
    EXPECT_EQ(histogram.GetMinValue(&position, 0, -1, flag), INT_MAX);
    EXPECT_EQ(histogram.GetMeanValue(0, -1, flag), 0.0);
    EXPECT_EQ(position, 77);
  }
  EXPECT_EQ(total(histogram), 3);
}

TEST(Histogram, answersForAbsentBuffersAndPositionsOutside) {
  CPxHistogram histogram = of({1, 2});
  int position = 77;
  const int values[] = {3, 4};
  histogram.SetBuffer(values, HIST_SMOOTHED);
  histogram.SetBuffer(nullptr, HIST_RAW);
  histogram.SetValue(0, 9, HIST_SMOOTHED);
  EXPECT_EQ(histogram.GetBuffer(HIST_SMOOTHED), nullptr);
  EXPECT_EQ(histogram.GetValue(0, HIST_SMOOTHED), 0);
  EXPECT_EQ(histogram.GetHighValidPosition(HIST_SMOOTHED), -1);
  EXPECT_EQ(histogram.GetLowValidPosition(HIST_SMOOTHED), -1);
  EXPECT_EQ(histogram.GetMaxValue(&position, 0, -1, HIST_SMOOTHED), 0);
  EXPECT_EQ(histogram.GetMinValue(&position, 0, -1, HIST_SMOOTHED), INT_MAX);
  EXPECT_EQ(histogram.GetMeanValue(0, -1, HIST_SMOOTHED), 0.0);
  EXPECT_EQ(position, 77);

  for (const int outside : {-1, 2, INT_MIN, INT_MAX}) {
    histogram.SetValue(outside, 9, HIST_RAW);
    histogram.AddValue(outside, 9, HIST_RAW);
    histogram.SubValue(outside, -9, HIST_RAW);
    EXPECT_EQ(histogram.GetValue(outside, HIST_RAW), 0);
  }
  EXPECT_EQ(total(histogram), 3);
}

TEST(Histogram, findsTheOutermostBinsInUse) {
  EXPECT_EQ(of({0, 3, 0, -1, 0}).GetLowValidPosition(HIST_RAW), 1);
  EXPECT_EQ(of({0, 3, 0, -1, 0}).GetHighValidPosition(HIST_RAW), 3);
  EXPECT_EQ(of({0, 0}).GetLowValidPosition(HIST_RAW), -1);
  EXPECT_EQ(of({0, 0}).GetHighValidPosition(HIST_RAW), -1);
}

TEST(Histogram, findsTheFirstGreatestElementOfARange) {
  const CPxHistogram histogram = of({5, 9, 9, 1, 20});
  int position = -7;
  EXPECT_EQ(histogram.GetMaxValue(&position, 0, 4, HIST_RAW), 9);
  EXPECT_EQ(position, 1);
  EXPECT_EQ(histogram.GetMaxValue(&position, 0, -1, HIST_RAW), 20);
  EXPECT_EQ(position, 4);
  EXPECT_EQ(histogram.GetMaxValue(&position, -5, 99, HIST_RAW), 20);
  EXPECT_EQ(histogram.GetMaxValue(&position, 3, 3, HIST_RAW), 0);
  EXPECT_EQ(position, 3);
  EXPECT_EQ(histogram.GetMaxValue(&position, 4, 2, HIST_RAW), 0);
  EXPECT_EQ(position, 4);
  EXPECT_EQ(histogram.GetMaxValue(nullptr, 0, -1, HIST_RAW), 20);
  EXPECT_EQ(of({0, -3}).GetMaxValue(&position, 0, -1, HIST_RAW), 0);
  EXPECT_EQ(position, 0);
}

TEST(Histogram, findsNoMinimum) {
  const CPxHistogram histogram = of({5, 9, 1});
  int position = -7;
  EXPECT_EQ(histogram.GetMinValue(&position, 1, 3, HIST_RAW), INT_MAX);
  EXPECT_EQ(position, 1);
  EXPECT_EQ(histogram.GetMinValue(&position, -4, -1, HIST_RAW), INT_MAX);
  EXPECT_EQ(position, 0);
  EXPECT_EQ(histogram.GetMinValue(nullptr, 0, 3, HIST_RAW), INT_MAX);
}

TEST(Histogram, dividesTheSumOfARangeByAllBins) {
  CPxHistogram histogram(256);
  for (int i = 0; i < 10; ++i) histogram.SetValue(i, 1, HIST_RAW);
  EXPECT_EQ(histogram.GetMeanValue(0, 10, HIST_RAW), 10.0 / 256);
  EXPECT_EQ(histogram.GetMeanValue(5, -1, HIST_RAW), 5.0 / 256);
  EXPECT_EQ(histogram.GetMeanValue(9, 3, HIST_RAW), 0.0);
  EXPECT_EQ(of({INT_MAX, INT_MAX}).GetMeanValue(0, -1, HIST_RAW), 2147483647.0);
}

TEST(Histogram, copiesTheCountsAlone) {
  CPxHistogram histogram = of({1, 2, 3});
  histogram.CreateBuffer(HIST_SMOOTHED);
  histogram.SetCircularModel(4);
  CPxHistogram copy(histogram);
  EXPECT_EQ(copy.GetValue(2, HIST_RAW), 3);
  EXPECT_EQ(copy.GetBuffer(HIST_SMOOTHED), nullptr);
  EXPECT_EQ(copy.GetCircularModel(), 0);
  EXPECT_NE(copy.GetBuffer(HIST_RAW), histogram.GetBuffer(HIST_RAW));

  CPxHistogram assigned(9);
  assigned.SetCircularModel(1);
  assigned = histogram;
  EXPECT_EQ(assigned.GetBinCount(), 3);
  EXPECT_EQ(assigned.GetValue(0, HIST_RAW), 1);
  EXPECT_EQ(assigned.GetCircularModel(), 1);
  assigned = CPxHistogram();
  EXPECT_EQ(assigned.IsCreated(), 0);
  EXPECT_EQ(assigned.GetBinCount(), 0);
}

TEST(Histogram, assignedToItselfIsEmpty) {
  CPxHistogram histogram = of({1, 2});
  const CPxHistogram& same = histogram;
  histogram = same;
  EXPECT_EQ(histogram.IsCreated(), 0);
  EXPECT_EQ(histogram.GetBinCount(), 0);
}

TEST(Histogram, removedKeepsItsAxis) {
  CPxHistogram histogram = of({1, 2});
  histogram.SetCircularModel(-6);
  histogram.Remove();
  EXPECT_EQ(histogram.IsCreated(), 0);
  EXPECT_EQ(histogram.GetBinCount(), 0);
  EXPECT_EQ(histogram.GetCircularModel(), -6);
  histogram.Initialize();
  EXPECT_EQ(histogram.GetCircularModel(), 0);
}

TEST(Histogram, isDeletedThroughItsBase) { EXPECT_TRUE(std::has_virtual_destructor_v<CPxHistogram>); }

struct Derived : CPxHistogram {
  using CPxHistogram::GetHighValidPosition;
  using CPxHistogram::GetLowValidPosition;
  using CPxHistogram::GetMaxValue;
  using CPxHistogram::GetMeanValue;
  using CPxHistogram::GetMinValue;
};

TEST(Histogram, letsDerivedClassesSearchBuffersOfTheirOwn) {
  Derived histogram;
  histogram.Create(4);
  int values[] = {0, 7, 8, 0}, position = 0;
  EXPECT_EQ(histogram.GetHighValidPosition(values), 2);
  EXPECT_EQ(histogram.GetLowValidPosition(values), 1);
  EXPECT_EQ(histogram.GetMaxValue(values, 0, -1, &position), 8);
  EXPECT_EQ(position, 2);
  EXPECT_EQ(histogram.GetMinValue(values, 3, -1, &position), INT_MAX);
  EXPECT_EQ(position, 3);
  EXPECT_EQ(histogram.GetMeanValue(values, 0, -1), 15.0 / 4);
  EXPECT_EQ(histogram.GetHighValidPosition(static_cast<int*>(nullptr)), -1);
}

}  // namespace
}  // namespace rasterkit
