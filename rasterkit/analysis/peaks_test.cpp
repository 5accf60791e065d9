#include <rasterkit/analysis/peaks.h>

#include <rasterkit/core/levels.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <type_traits>

#include "tests/plain/analysis.h"
#include "tests/support/random.h"

namespace rasterkit {
namespace {

using plain::Extremum;
using plain::Settings;

CPxHistogram of(const std::vector<int>& values) {
  CPxHistogram histogram(static_cast<int>(values.size()));
  histogram.SetBuffer(values.data(), HIST_RAW);
  return histogram;
}

std::vector<int> values(const CPxHistogram& histogram, HIST_FLAG flag) {
  const int* const buffer = histogram.GetBuffer(flag);
  return buffer ? std::vector<int>(buffer, buffer + histogram.GetBinCount()) : std::vector<int>();
}

std::vector<Extremum> list(const CPtrArray& records) {
  std::vector<Extremum> out;
  for (int i = 0; i < records.GetSize(); ++i) {
    const auto& r = *static_cast<const CPxHistogramDensity*>(records[i]);
    out.push_back({r.position, r.density, r.previousPosition, r.previousDensity, r.nextPosition, r.nextDensity});
  }
  return out;
}

std::vector<int> positions(const CPtrArray& records) {
  std::vector<int> out;
  for (const Extremum& e : list(records)) out.push_back(e.position);
  return out;
}

/// Gives the analysis exactly this curve: nothing is smoothed before it.
void setCurve(CPxHistogram& histogram, const std::vector<int>& curve) {
  CPxHistogramProcessing(&histogram).Smooth(0, HIST_SMOOTHED, 0, -1, -1);
  histogram.SetBuffer(curve.data(), HIST_SMOOTHED);
}

struct Derived : CPxHistogramProcessing {
  using CPxHistogramProcessing::CPxHistogramProcessing;
  using CPxHistogramProcessing::DeleteAtHDArray;
  using CPxHistogramProcessing::GetNextHDArray;
  using CPxHistogramProcessing::GetNextMaxima;
  using CPxHistogramProcessing::GetNextMinima;
  using CPxHistogramProcessing::GetPrevHDArray;
  using CPxHistogramProcessing::GetPrevMaxima;
  using CPxHistogramProcessing::GetPrevMinima;
  using CPxHistogramProcessing::RemoveHDArray;
  using CPxHistogramProcessing::SetMaxMinArray;
  using CPxHistogramProcessing::SetValidMaxMinArray;
};

// Records -------------------------------------------------------------------------------------------------------------

TEST(HistogramDensity, beginsWithoutAPlaceAndNeighbours) {
  const CPxHistogramDensity none, some(3, 40);
  EXPECT_EQ(none.position, -1);
  EXPECT_EQ(none.density, -1);
  EXPECT_EQ(some.position, 3);
  EXPECT_EQ(some.density, 40);
  EXPECT_EQ(some.previousPosition, -1);
  EXPECT_EQ(some.nextDensity, -1);
  EXPECT_TRUE(std::has_virtual_destructor_v<CPxHistogramDensity>);
}

TEST(HistogramDensity, differsFromItsNeighbours) {
  CPxHistogramDensity record(3, 40);
  EXPECT_EQ(record.GetPrevDensityDiff(), 41);  // no neighbour counts as density -1
  record.previousDensity = 10;
  record.nextDensity = 55;
  EXPECT_EQ(record.GetPrevDensityDiff(), 30);
  EXPECT_EQ(record.GetNextDensityDiff(), 15);
  EXPECT_EQ(record.GetDensityDiff(), 45);
}

TEST(HistogramDensity, isOrderedFromTheHighestDown) {
  const CPxHistogramDensity low(9, 4), high(2, 7), least(0, INT_MIN), greatest(0, INT_MAX);
  EXPECT_EQ(CPxHistogramDensity::CompareDensity(&low, &high), 3);
  EXPECT_EQ(CPxHistogramDensity::CompareDensity(&high, &low), -3);
  EXPECT_EQ(CPxHistogramDensity::ComparePosition(&low, &high), -7);
  EXPECT_EQ(CPxHistogramDensity::CompareDensity(&least, &greatest), INT_MAX);
  EXPECT_EQ(CPxHistogramDensity::CompareDensity(&greatest, &least), INT_MIN);
}

// Smoothing -----------------------------------------------------------------------------------------------------------

TEST(HistogramSmooth, averagesOverTheBinsThatExist) {
  CPxHistogram histogram = of({10, 0, 0, 5, 0, 0});
  EXPECT_EQ(CPxHistogramProcessing(&histogram).Smooth(1, HIST_SMOOTHED, 1, -1, -1), 1);
  EXPECT_EQ(values(histogram, HIST_SMOOTHED), (std::vector<int>{5, 3, 1, 1, 1, 0}));
  EXPECT_EQ(values(histogram, HIST_RAW), (std::vector<int>{10, 0, 0, 5, 0, 0}));
}

TEST(HistogramSmooth, truncatesTowardZero) {
  CPxHistogram histogram = of({-5, -4, 0, 0, 7});
  CPxHistogramProcessing(&histogram).Smooth(1, HIST_SMOOTHED, 1, -1, -1);
  EXPECT_EQ(values(histogram, HIST_SMOOTHED), (std::vector<int>{-4, -3, -1, 2, 3}));
}

TEST(HistogramSmooth, copiesForNoPassOrNoWidth) {
  for (const auto& [passes, half] : {std::pair{0, 3}, {-4, 3}, {3, 0}, {3, -9}, {INT_MIN, INT_MIN}}) {
    CPxHistogram histogram = of({9, 1, 4});
    CPxHistogramProcessing(&histogram).Smooth(passes, HIST_SMOOTHED, half, -1, -1);
    EXPECT_EQ(values(histogram, HIST_SMOOTHED), (std::vector<int>{9, 1, 4})) << passes << " " << half;
  }
}

TEST(HistogramSmooth, leavesTheBufferWrittenLastOutsideItsRange) {
  for (const int passes : {1, 2, 3, 4}) {
    CPxHistogram histogram = of({8, 8, 0, 8, 8});
    histogram.CreateBuffer(HIST_SMOOTHED);
    const int before[] = {-1, -2, -3, -4, -5};
    histogram.SetBuffer(before, HIST_SMOOTHED);
    CPxHistogramProcessing(&histogram).Smooth(passes, HIST_SMOOTHED, 1, 1, 3);
    EXPECT_EQ(histogram.GetValue(0, HIST_SMOOTHED), passes % 2 ? -1 : 8);
    EXPECT_EQ(histogram.GetValue(4, HIST_SMOOTHED), passes % 2 ? -5 : 8);
    EXPECT_EQ(values(histogram, HIST_SMOOTHED),
              plain::smoothed({8, 8, 0, 8, 8}, {-1, -2, -3, -4, -5}, passes, 1, 1, 3));
  }
}

TEST(HistogramSmooth, endsSoonWhereNothingChangesAnyMore) {
  for (const int passes : {INT_MAX, INT_MAX - 1}) {
    CPxHistogram histogram = of({1, 7, 7, 7, 1});
    CPxHistogramProcessing(&histogram).Smooth(passes, HIST_SMOOTHED, 2, 1, 3);
    EXPECT_EQ(values(histogram, HIST_SMOOTHED),
              passes % 2 ? (std::vector<int>{0, 7, 7, 7, 0}) : (std::vector<int>{1, 7, 7, 7, 1}));
  }
}

TEST(HistogramSmooth, agreesWithTheSlowForm) {
  test::Random random(62);
  for (const char* const level : {"baseline", "v2", "v3", "v4"}) {
    if (!useLevel(level)) continue;
    for (int round = 0; round < 300; ++round) {
      const int n = random.between(1, round % 10 == 0 ? 900 : 40);
      const bool huge = random.oneIn(5);
      std::vector<int> raw(n), before(n);
      for (int& v : raw) v = huge ? random.between(INT_MIN, INT_MAX) : random.between(-9, 500);
      for (int& v : before) v = random.between(-9, 9);
      const int half = random.oneIn(3) ? 2 : random.oneIn(9) ? INT_MAX : random.between(-1, n + 2);
      const int from = random.between(-2, n + 1), to = random.oneIn(2) ? -1 : random.between(-2, n + 1);
      const int passes = random.between(-1, 5);
      CPxHistogram histogram = of(raw);
      histogram.CreateBuffer(HIST_SMOOTHED);
      histogram.SetBuffer(before.data(), HIST_SMOOTHED);
      CPxHistogramProcessing(&histogram).Smooth(passes, HIST_SMOOTHED, half, from, to);
      ASSERT_EQ(values(histogram, HIST_SMOOTHED), plain::smoothed(raw, before, passes, std::min(half, 2 * n), from, to))
          << level << " n " << n << " half " << half << " from " << from << " to " << to << " passes " << passes;
    }
  }
  useLevel("best");
}

TEST(HistogramSmooth, takesFirstDifferencesOfTheSmoothedCountsInPlace) {
  CPxHistogram histogram = of({1, 4, 9, 2});
  CPxHistogramProcessing processing(&histogram);
  EXPECT_EQ(processing.Smooth(0, HIST_DIFF1, 0, -1, -1), 1);
  EXPECT_EQ(values(histogram, HIST_SMOOTHED), (std::vector<int>{3, 5, -7, 2}));
  EXPECT_EQ(values(histogram, HIST_DIFF1), (std::vector<int>{0, 0, 0, 0}));
  // Already smoothed: the differences are taken once more.
  EXPECT_EQ(processing.Smooth(0, HIST_DIFF1, 0, -1, -1), 1);
  EXPECT_EQ(values(histogram, HIST_SMOOTHED), (std::vector<int>{2, -12, 9, 2}));
}

TEST(HistogramSmooth, takesSecondDifferencesOfWhateverTheirBufferHolds) {
  CPxHistogram histogram = of({1, 4, 9, 2});
  CPxHistogramProcessing processing(&histogram);
  EXPECT_EQ(processing.Smooth(0, HIST_DIFF2, 0, -1, -1), 1);
  EXPECT_EQ(values(histogram, HIST_DIFF2), (std::vector<int>{0, 0, 0, 0}));
  EXPECT_EQ(values(histogram, HIST_SMOOTHED), (std::vector<int>{3, 5, -7, 2}));
  const int given[] = {5, 6, 8, 20};
  histogram.SetBuffer(given, HIST_DIFF2);
  EXPECT_EQ(processing.Smooth(0, HIST_DIFF2, 0, -1, -1), 1);
  EXPECT_EQ(values(histogram, HIST_DIFF2), (std::vector<int>{5, 2, 12, 20}));
}

TEST(HistogramSmooth, hasNoThirdDifferencesOfAHistogramWithCounts) {
  CPxHistogram histogram = of({1, 4, 9, 2});
  EXPECT_EQ(CPxHistogramProcessing(&histogram).Smooth(0, HIST_DIFF3, 0, -1, -1), 1);
  EXPECT_EQ(histogram.GetBuffer(HIST_DIFF3), nullptr);
  EXPECT_NE(histogram.GetBuffer(HIST_DIFF2), nullptr);
  EXPECT_EQ(values(histogram, HIST_SMOOTHED), (std::vector<int>{3, 5, -7, 2}));
  const std::vector<int> given = {5, 6, 8, 20};
  histogram.SetBuffer(given.data(), HIST_DIFF2);
  EXPECT_EQ(CPxHistogramProcessing(&histogram).Smooth(0, HIST_DIFF3, 0, -1, -1), 1);
  EXPECT_EQ(values(histogram, HIST_DIFF2), given);
}

TEST(HistogramSmooth, smoothsBeforeDifferencesWithTheSameArguments) {
  for (const HIST_FLAG flag : {HIST_DIFF1, HIST_DIFF2, HIST_DIFF3}) {
    CPxHistogram start = of({0, 60, 0, 0, 0, 0});
    CPxHistogramProcessing(&start).Smooth(1, flag, 1, 0, 3);  // 30, 20, 20, 0, and 0 outside the range
    EXPECT_EQ(values(start, HIST_SMOOTHED), (std::vector<int>{-10, 0, -20, 0, 0, 0})) << flag;
    CPxHistogram middle = of({0, 60, 0, 0, 90, 0});
    CPxHistogramProcessing(&middle).Smooth(1, flag, 1, 1, 3);  // 30, 20, 0 from bin 1 to 3
    EXPECT_EQ(values(middle, HIST_SMOOTHED), (std::vector<int>{30, -10, -20, 0, 0, 0})) << flag;
  }
}

TEST(HistogramSmooth, refusesOtherFlags) {
  CPxHistogram histogram = of({1, 4});
  for (const int flag : {0, 5, -1})
    EXPECT_EQ(CPxHistogramProcessing(&histogram).Smooth(1, static_cast<HIST_FLAG>(flag), 1, -1, -1), 0);
  EXPECT_EQ(histogram.GetBuffer(HIST_SMOOTHED), nullptr);
}

TEST(HistogramSmooth, doesNothingWhereThereIsNothing) {
  CPxHistogram empty;
  for (const int flag : {1, 2, 3, 4})
    EXPECT_EQ(CPxHistogramProcessing(&empty).Smooth(1, static_cast<HIST_FLAG>(flag), 1, -1, -1), 1);
  CPxHistogram single(1);
  for (const int flag : {1, 2, 3, 4})
    EXPECT_EQ(CPxHistogramProcessing(&single).Smooth(1, static_cast<HIST_FLAG>(flag), 1, -1, -1), 1);
  EXPECT_EQ(CPxHistogramProcessing().Smooth(1, HIST_SMOOTHED, 1, -1, -1), 0);
  EXPECT_EQ(CPxHistogramProcessing(nullptr).FindMaximaMinima(), 0);
}

TEST(HistogramSmooth, trustsMarksThatOutliveTheirBuffers) {
  CPxHistogram histogram = of({1, 9, 1, 9, 1});
  CPxHistogramProcessing processing(&histogram);
  processing.Smooth(0, HIST_DIFF1, 0, -1, -1);
  histogram.Create(5);
  EXPECT_EQ(processing.FindMaximaMinima(), 1);
  EXPECT_EQ(histogram.GetBuffer(HIST_SMOOTHED), nullptr);
  EXPECT_EQ(processing.GetMaximaArray().GetSize(), 0);
  EXPECT_EQ(processing.Smooth(0, HIST_DIFF1, 0, -1, -1), 1);
  EXPECT_EQ(histogram.GetBuffer(HIST_SMOOTHED), nullptr);
  EXPECT_EQ(processing.Smooth(1, HIST_DIFF2, 0, -1, -1), 1);
}

TEST(HistogramSmooth, computesAllAnewForCopiesOfAHistogram) {
  const std::vector<int> raw = {0, 0, 0, 0, 90, 0, 0, 0, 0};
  CPxHistogram histogram = of(raw);
  CPxHistogramProcessing(&histogram).Smooth(1, HIST_DIFF3, 1, -1, -1);
  for (const bool byAssignment : {false, true}) {
    CPxHistogram copy = byAssignment ? CPxHistogram() : histogram, other = copy;
    if (byAssignment) copy = other = histogram;
    CPxHistogramProcessing processing(&copy);
    processing.FindMaximaMinima();
    EXPECT_EQ(values(copy, HIST_SMOOTHED), plain::smoothed(raw, raw, 1, 2, -1, -1));
    EXPECT_EQ(positions(processing.GetMaximaArray()), (std::vector<int>{4}));
    CPxHistogramProcessing(&other).Smooth(1, HIST_DIFF3, 1, -1, -1);
    for (const HIST_FLAG flag : {HIST_SMOOTHED, HIST_DIFF1, HIST_DIFF2})
      EXPECT_EQ(values(other, flag), values(histogram, flag)) << flag;
  }
}

// Extrema -------------------------------------------------------------------------------------------------------------

/// Positions of the maxima and minima of exactly this curve, in the order of the scan.
std::pair<std::vector<int>, std::vector<int>> extrema(const std::vector<int>& curve, bool circular) {
  CPxHistogram histogram = of(curve);
  histogram.SetCircularModel(circular);
  setCurve(histogram, curve);
  Derived processing(&histogram);
  const int count = processing.SetMaxMinArray();
  EXPECT_EQ(count, processing.GetMaximaArray().GetSize());
  return {positions(processing.GetMaximaArray()), positions(processing.GetMinimaArray())};
}
using Positions = std::pair<std::vector<int>, std::vector<int>>;

TEST(HistogramExtrema, standInTheMiddleOfTheirPlateaus) {
  EXPECT_EQ(extrema({0, 3, 0}, false), (Positions{{1}, {}}));
  EXPECT_EQ(extrema({5, 1, 1, 1, 5}, false), (Positions{{}, {2}}));
  std::vector<int> flatTop(20, 0);
  for (int i = 10; i <= 13; ++i) flatTop[i] = 7;
  EXPECT_EQ(extrema(flatTop, false), (Positions{{11}, {}}));
}

TEST(HistogramExtrema, areNotAtTheEndsOfALinearAxis) {
  EXPECT_EQ(extrema({0, 1, 2, 3}, false), (Positions{{}, {}}));
  EXPECT_EQ(extrema({3, 2, 1}, false), (Positions{{}, {}}));
  EXPECT_EQ(extrema({2, 2, 2}, false), (Positions{{}, {}}));
  EXPECT_EQ(extrema({4}, false), (Positions{{}, {}}));
  EXPECT_EQ(extrema({4}, true), (Positions{{}, {}}));
}

TEST(HistogramExtrema, areAcrossTheEndOfACircularAxis) {
  EXPECT_EQ(extrema({0, 1, 2, 3}, true), (Positions{{3}, {0}}));
  EXPECT_EQ(extrema({2, 2, 2}, true), (Positions{{}, {}}));
  // A plateau over bins 4, 5, 0, 1: its middle is the lower one, bin 5.
  EXPECT_EQ(extrema({9, 9, 0, 0, 9, 9}, true), (Positions{{5}, {2}}));
  // Over 5, 0, 1, 2: bin 0.
  EXPECT_EQ(extrema({9, 9, 9, 0, 0, 9}, true), (Positions{{0}, {3}}));
}

TEST(HistogramExtrema, ofRandomCurvesAreThoseOfTheSlowScan) {
  test::Random random(1);
  for (int round = 0; round < 2000; ++round) {
    const int n = random.between(1, 40);
    std::vector<int> curve(n);
    const int most = random.between(0, 4);
    for (int& v : curve) v = random.between(0, most);
    const bool circular = random.oneIn(2);
    const auto expected = plain::analysed(curve, curve, {circular, 0.1, INT_MAX, INT_MAX});
    CPxHistogram histogram = of(curve);
    histogram.SetCircularModel(circular);
    setCurve(histogram, curve);
    CPxHistogramProcessing processing(&histogram);
    processing.SetMaxRawMaximaCount(INT_MAX);
    processing.SetMaxValidMaximaCount(INT_MAX);
    processing.FindMaximaMinima();
    ASSERT_EQ(list(processing.GetMaximaArray()), expected.maxima) << testing::PrintToString(curve) << circular;
    ASSERT_EQ(list(processing.GetMinimaArray()), expected.minima) << testing::PrintToString(curve) << circular;
    ASSERT_EQ(list(processing.GetValidMaximaArray()), expected.valid) << testing::PrintToString(curve) << circular;
  }
}

TEST(HistogramExtrema, knowTheirNeighboursOfTheOtherKind) {
  CPxHistogram histogram = of({0, 5, 2, 8, 1, 3, 0});
  setCurve(histogram, values(histogram, HIST_RAW));
  CPxHistogramProcessing processing(&histogram);
  processing.SetMaxValidMaximaCount(9);
  EXPECT_EQ(processing.FindMaximaMinima(), 1);
  EXPECT_EQ(list(processing.GetMaximaArray()),
            (std::vector<Extremum>{{3, 8, 2, 2, 4, 1}, {1, 5, -1, -1, 2, 2}, {5, 3, 4, 1, -1, -1}}));
  EXPECT_EQ(list(processing.GetMinimaArray()), (std::vector<Extremum>{{2, 2, 1, 5, 3, 8}, {4, 1, 3, 8, 5, 3}}));
  EXPECT_EQ(list(processing.GetValidMaximaArray()), list(processing.GetMaximaArray()));
  EXPECT_EQ(processing.GetThMinimaPos(), -1);
  EXPECT_EQ(processing.GetThPrevMaximaPos(), -1);
  EXPECT_EQ(processing.GetThNextMaximaPos(), -1);
}

TEST(HistogramExtrema, haveNeighboursAcrossTheEndOfACircularAxis) {
  CPxHistogram histogram = of({3, 0, 5, 1, 4, 2});
  histogram.SetCircularModel(1);
  setCurve(histogram, values(histogram, HIST_RAW));
  Derived processing(&histogram);
  processing.SetMaxMinArray();
  EXPECT_EQ(processing.GetPrevMinima(0)->position, 5);
  EXPECT_EQ(processing.GetNextMinima(5)->position, 1);
  EXPECT_EQ(processing.GetNextMaxima(4)->position, 2);  // the last record of 2, 4, 0 stops the search
  EXPECT_EQ(processing.GetPrevMaxima(3)->position, 2);
  histogram.SetCircularModel(0);
  EXPECT_EQ(processing.GetPrevMinima(0), nullptr);
  EXPECT_EQ(processing.GetNextMinima(5), nullptr);
  CPtrArray none;
  histogram.SetCircularModel(1);
  EXPECT_EQ(processing.GetPrevHDArray(none, 3), nullptr);
  EXPECT_EQ(processing.GetNextHDArray(none, 3), nullptr);
}

TEST(HistogramExtrema, areFoundPastSlotsThatTheHostLeftEmpty) {
  CPxHistogram histogram = of({0, 9, 0, 5, 0, 7, 0});
  Derived processing(&histogram);
  CPtrArray& maxima = processing.GetMaximaArray();
  maxima.SetSize(1);
  for (const bool isCircular : {false, true}) {
    histogram.SetCircularModel(isCircular);
    EXPECT_EQ(processing.GetPrevMaxima(3), nullptr);
    EXPECT_EQ(processing.GetNextMaxima(3), nullptr);
    EXPECT_EQ(processing.SetValidMaxMinArray(), 0);
  }
  for (const int bin : {3, 5}) {
    maxima.Add(new CPxHistogramDensity(bin, histogram.GetValue(bin, HIST_RAW)));
    maxima.SetSize(maxima.GetSize() + 1);
  }
  for (const bool isCircular : {false, true}) {
    histogram.SetCircularModel(isCircular);
    EXPECT_EQ(processing.GetPrevMaxima(4), maxima[1]);
    EXPECT_EQ(processing.GetNextMaxima(4), maxima[3]);
    EXPECT_EQ(processing.GetPrevMaxima(3), isCircular ? maxima[3] : nullptr);
    EXPECT_EQ(processing.GetNextMaxima(5), isCircular ? maxima[1] : nullptr);
  }
  EXPECT_EQ(processing.SetValidMaxMinArray(), 1);
  EXPECT_EQ(positions(processing.GetValidMaximaArray()), (std::vector<int>{5, 3}));
  ASSERT_EQ(maxima.GetSize(), 5);
  EXPECT_EQ(static_cast<const CPxHistogramDensity*>(maxima[1])->position, 5);  // the higher one first
  EXPECT_EQ(static_cast<const CPxHistogramDensity*>(maxima[3])->position, 3);
  EXPECT_EQ(maxima[2], nullptr);
}

TEST(HistogramExtrema, mayStandAtAnyPositionTheHostWrites) {
  CPxHistogram histogram = of({0, 9, 0});
  histogram.SetCircularModel(1);
  Derived processing(&histogram);
  for (const int position : {0, INT_MIN, INT_MAX})
    processing.GetMaximaArray().Add(new CPxHistogramDensity(position, 5));
  EXPECT_EQ(processing.SetValidMaxMinArray(), 1);  // distances wrap in 32 bits
  EXPECT_GE(processing.GetValidMaximaArray().GetSize(), 1);
}

TEST(HistogramExtrema, areSmoothedAwayUntilFewEnoughRemain) {
  std::vector<int> curve(80, 0);
  for (int k = 0; k < 7; ++k) curve[5 + 10 * k] = 100 + 30 * k, curve[6 + 10 * k] = 90;
  CPxHistogram histogram = of(curve);
  setCurve(histogram, curve);
  CPxHistogramProcessing processing(&histogram);
  processing.FindMaximaMinima();
  EXPECT_NE(values(histogram, HIST_SMOOTHED), curve);
  EXPECT_LE(processing.GetMaximaArray().GetSize(), 6);

  setCurve(histogram, curve);
  processing.SetMaxRawMaximaCount(7);
  processing.FindMaximaMinima();
  EXPECT_EQ(values(histogram, HIST_SMOOTHED), curve);
  EXPECT_EQ(processing.GetMaximaArray().GetSize(), 7);
}

TEST(HistogramExtrema, areFoundAgainInTheSmoothedCountsThatAreThere) {
  CPxHistogram histogram = of({0, 0, 0, 50, 0, 0, 0, 90, 0, 0, 0});
  CPxHistogramProcessing processing(&histogram);
  processing.FindMaximaMinima();
  const std::vector<int> curve = values(histogram, HIST_SMOOTHED);
  EXPECT_EQ(curve, plain::smoothed(values(histogram, HIST_RAW), std::vector<int>(11), 1, 2, -1, -1));
  const auto maxima = list(processing.GetMaximaArray());
  processing.FindMaximaMinima();
  EXPECT_EQ(values(histogram, HIST_SMOOTHED), curve);
  EXPECT_EQ(list(processing.GetMaximaArray()), maxima);
}

TEST(HistogramExtrema, ofOneBinAreNone) {
  CPxHistogram histogram = of({5});
  CPxHistogramProcessing processing(&histogram);
  EXPECT_EQ(processing.FindMaximaMinima(), 1);
  EXPECT_EQ(processing.GetMaximaArray().GetSize(), 0);
  EXPECT_EQ(processing.GetMinimaArray().GetSize(), 0);
  EXPECT_EQ(Derived(&histogram).SetValidMaxMinArray(), 0);
  CPxHistogram empty;
  EXPECT_EQ(CPxHistogramProcessing(&empty).FindMaximaMinima(), 1);
}

// Reduction -----------------------------------------------------------------------------------------------------------

TEST(HistogramPeaks, areOrderedByDensityAndStayInPlaceWhereEqual) {
  CPxHistogram histogram = of({0, 5, 0, 9, 0, 5, 0, 9, 0, 5, 0});
  setCurve(histogram, values(histogram, HIST_RAW));
  CPxHistogramProcessing processing(&histogram);
  processing.SetMaxValidMaximaCount(10);
  processing.FindMaximaMinima();
  EXPECT_EQ(positions(processing.GetMaximaArray()), (std::vector<int>{3, 7, 1, 5, 9}));
}

TEST(HistogramPeaks, thatAreCloseAreMergedIntoTheHigher) {
  std::vector<int> curve(256, 0);
  curve[100] = 500;
  curve[110] = 40;
  curve[120] = 450;
  curve[200] = 300;
  CPxHistogram histogram = of(curve);
  setCurve(histogram, curve);
  CPxHistogramProcessing processing(&histogram);
  processing.FindMaximaMinima();  // in order of density: 100, 120 (20 bins on, at most 25: merged), 200, 110
  const auto valid = list(processing.GetValidMaximaArray());
  ASSERT_EQ(valid.size(), 2u);
  EXPECT_EQ(valid[0].position, 100);
  EXPECT_EQ(valid[0].density, 500);
  EXPECT_EQ(valid[0].nextPosition, 160);  // the valley after 120
  EXPECT_EQ(processing.GetMaximaArray().GetSize(), 4);
}

TEST(HistogramPeaks, areCloseUpToATenthOfTheBinsAtFirst) {
  for (const int distance : {25, 26}) {  // of 256 bins
    std::vector<int> curve(256, 0);
    curve[100] = 500;
    curve[100 + distance] = 450;
    curve[200] = 300;
    CPxHistogram histogram = of(curve);
    setCurve(histogram, curve);
    CPxHistogramProcessing processing(&histogram);
    processing.FindMaximaMinima();
    // Not merged for their distance, there are three, of which the lowest is the first not to rise enough.
    EXPECT_EQ(positions(processing.GetValidMaximaArray()),
              distance == 25 ? (std::vector<int>{100, 200}) : (std::vector<int>{100, 126}));
  }
}

TEST(HistogramPeaks, ofEqualDensityStayInPlaceHoweverManyThereAre) {
  std::vector<int> curve(201, 0), inOrder;
  for (int i = 2; i < 200; i += 4) curve[i] = 7, inOrder.push_back(i);
  CPxHistogram histogram = of(curve);
  setCurve(histogram, curve);
  CPxHistogramProcessing processing(&histogram);
  processing.SetMaxRawMaximaCount(100);
  processing.FindMaximaMinima();
  EXPECT_EQ(positions(processing.GetMaximaArray()), inOrder);
}

TEST(HistogramPeaks, mustRiseMoreThanSixThousandthsOfTheGreatestCount) {
  // The maxima at 20 and 22 are merged, which leaves two as allowed; one round is held all the same. Of 1000 it lets
  // those go that rise by 6 at most.
  for (const int rise : {6, 7}) {
    std::vector<int> curve(200, 0);
    curve[20] = 1000, curve[21] = 500, curve[22] = 990;
    for (int i = 23; i < 100; ++i) curve[i] = 300;
    curve[100] = 300 + rise;
    CPxHistogram histogram = of(curve);
    setCurve(histogram, curve);
    CPxHistogramProcessing processing(&histogram);
    processing.SetMinIntervalRatio(0.02);
    processing.FindMaximaMinima();
    EXPECT_EQ(positions(processing.GetMaximaArray()), (std::vector<int>{20, 22, 100}));
    EXPECT_EQ(positions(processing.GetValidMaximaArray()),
              rise == 6 ? (std::vector<int>{20}) : (std::vector<int>{20, 100}));
  }
}

TEST(HistogramPeaks, countsBelowOneAreOne) {
  CPxHistogram histogram = of({0, 5, 0, 9, 0, 6, 0});
  setCurve(histogram, values(histogram, HIST_RAW));
  for (const int count : {0, -1, INT_MIN}) {
    CPxHistogramProcessing processing(&histogram);
    processing.SetMinIntervalRatio(0);
    processing.SetMaxValidMaximaCount(count);
    processing.FindMaximaMinima();
    EXPECT_EQ(processing.GetValidMaximaArray().GetSize(), 1);
    EXPECT_EQ(processing.GetMaximaArray().GetSize(), 3);

    // Two maxima, a single one after one pass, none after more.
    CPxHistogram twin(15);
    setCurve(twin, {0, 0, 0, 0, 0, 0, 90, 0, 90, 0, 0, 0, 0, 0, 0});
    CPxHistogramProcessing raw(&twin);
    raw.SetMaxRawMaximaCount(count);
    raw.FindMaximaMinima();
    EXPECT_EQ(positions(raw.GetMaximaArray()), (std::vector<int>{7}));
  }
}

TEST(HistogramPeaks, withoutAPositiveCountAreReducedOnce) {
  CPxHistogram histogram(50);
  std::vector<int> curve(50, 0);
  for (int i = 3; i < 50; i += 6) curve[i] = 100 + i;
  setCurve(histogram, curve);
  CPxHistogramProcessing processing(&histogram);
  processing.SetMinIntervalRatio(0);
  processing.SetMaxRawMaximaCount(100);
  processing.FindMaximaMinima();
  EXPECT_EQ(processing.GetValidMaximaArray().GetSize(), 8);
}

TEST(HistogramPeaks, thatNoLimitReachesStay) {
  CPxHistogram histogram = of({0, 1, 0, 0, 0, 0, 0, 0});
  setCurve(histogram, {INT_MIN, INT_MAX, INT_MIN + 1, INT_MAX - 1, 0, 500, 0, 0});
  for (const double ratio : {0.0, 0.5, 1e300, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
    CPxHistogramProcessing processing(&histogram);
    processing.SetMinIntervalRatio(ratio);
    processing.SetMaxValidMaximaCount(1);
    EXPECT_EQ(processing.FindMaximaMinima(), 1);
    EXPECT_GE(processing.GetValidMaximaArray().GetSize(), 1);
  }
}

TEST(HistogramPeaks, ofRandomHistogramsAreThoseOfTheSlowAnalysis) {
  test::Random random(2);
  for (int round = 0; round < 3000; ++round) {
    const int n = round % 50 == 0 ? random.between(200, 1500) : random.between(1, 120);
    const int shape = random.between(0, 5);
    std::vector<int> raw(n);
    int level = 0;
    for (int i = 0; i < n; ++i) {
      if (random.oneIn(shape == 1 ? 6 : 2)) level = random.between(0, shape == 2 ? 100000 : 60);
      raw[i] = shape == 0 ? 0 : shape == 3 ? random.between(0, 3) : shape == 4 ? random.between(-50, 50) : level;
    }
    Settings settings{random.oneIn(2), random.pick(std::vector<double>{0.1, 0.0, 0.02, 0.5, 1.5}), random.between(1, 9),
                      random.between(1, 5)};
    const int passes = random.between(0, 4), half = random.between(0, 4);
    const auto expected = plain::analysed(raw, plain::smoothed(raw, raw, passes, half, -1, -1), settings);

    CPxHistogram histogram = of(raw);
    histogram.SetCircularModel(settings.circular);
    CPxHistogramProcessing processing(&histogram);
    processing.SetMinIntervalRatio(settings.minIntervalRatio);
    processing.SetMaxRawMaximaCount(settings.maxRawMaxima);
    processing.SetMaxValidMaximaCount(settings.maxValidMaxima);
    processing.Smooth(passes, HIST_SMOOTHED, half, -1, -1);
    ASSERT_EQ(processing.FindMaximaMinima(), 1);
    ASSERT_EQ(values(histogram, HIST_SMOOTHED), expected.smoothed) << round;
    ASSERT_EQ(list(processing.GetMaximaArray()), expected.maxima) << round;
    ASSERT_EQ(list(processing.GetMinimaArray()), expected.minima) << round;
    ASSERT_EQ(list(processing.GetValidMaximaArray()), expected.valid) << round;
  }
}

// Arrays, copies, files -----------------------------------------------------------------------------------------------

TEST(HistogramProcessing, copiesItsRecords) {
  CPxHistogram histogram = of({0, 5, 0, 9, 0});
  setCurve(histogram, values(histogram, HIST_RAW));
  CPxHistogramProcessing processing(&histogram), assigned;
  processing.FindMaximaMinima();
  CPxHistogramProcessing copy(processing);
  assigned.FindMaximaMinima();
  assigned = processing;
  CPxHistogramProcessing& same = assigned;
  assigned = same;
  for (CPxHistogramProcessing* const other : {&copy, &assigned}) {
    EXPECT_EQ(list(other->GetMaximaArray()), list(processing.GetMaximaArray()));
    EXPECT_EQ(list(other->GetMinimaArray()), list(processing.GetMinimaArray()));
    EXPECT_EQ(list(other->GetValidMaximaArray()), list(processing.GetValidMaximaArray()));
    EXPECT_NE(other->GetMaximaArray()[0], processing.GetMaximaArray()[0]);
  }
}

TEST(HistogramProcessing, copiesItsHistogramAndSettings) {
  std::vector<int> curve(100,
                         0);  // 7 maxima, more than the 6 of the beginning, and 10 bins apart: as far as those merge
  for (int k = 0; k < 7; ++k) curve[5 + 10 * k] = 100 + 30 * k;
  CPxHistogram histogram = of(curve);
  setCurve(histogram, curve);
  CPxHistogramProcessing processing(&histogram), assigned;
  processing.SetMinIntervalRatio(0);
  processing.SetMaxRawMaximaCount(7);
  processing.SetMaxValidMaximaCount(3);
  CPxHistogramProcessing copy(processing);
  assigned = processing;
  for (CPxHistogramProcessing* const each : {&processing, &copy, &assigned}) {
    EXPECT_EQ(each->FindMaximaMinima(), 1);
    EXPECT_EQ(values(histogram, HIST_SMOOTHED), curve);
    EXPECT_EQ(positions(each->GetValidMaximaArray()), (std::vector<int>{65, 55, 45}));
  }
}

TEST(HistogramProcessing, deletesSingleRecords) {
  Derived processing;
  CPtrArray records;
  for (int i = 0; i < 3; ++i) records.Add(new CPxHistogramDensity(i, i));
  EXPECT_EQ(processing.DeleteAtHDArray(records, 1), 1);
  EXPECT_EQ(positions(records), (std::vector<int>{0, 2}));
  EXPECT_EQ(processing.DeleteAtHDArray(records, 3), 0);
  EXPECT_THROW(processing.DeleteAtHDArray(records, 2), CInvalidArgException);
  EXPECT_THROW(processing.DeleteAtHDArray(records, -1), CInvalidArgException);
  EXPECT_EQ(records.GetSize(), 2);
  processing.RemoveHDArray(records);
  EXPECT_EQ(records.GetSize(), 0);
}

class HistogramFile : public testing::Test {
 protected:
  const std::string path = (std::filesystem::temp_directory_path() / "rasterkit_histogram_test.txt").string();
  ~HistogramFile() override { std::remove(path.c_str()); }
  std::string text() const {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

TEST_F(HistogramFile, holdsOneNumberALine) {
  CPxHistogram histogram = of({3, -12, 2147483647});
  CPxHistogramProcessing(&histogram).SaveHistogram(path.c_str(), HIST_RAW);
  EXPECT_EQ(text(), "3\r\n-12\r\n2147483647\r\n");

  CPxHistogram bytes(256);
  CPxHistogramProcessing(&bytes).SaveHistogram(path.c_str(), HIST_RAW);
  std::string zeros;
  for (int i = 0; i < 256; ++i) zeros += "0\r\n";
  EXPECT_EQ(text(), zeros);
}

TEST_F(HistogramFile, isEmptyWithoutABuffer) {
  CPxHistogram histogram = of({3});
  for (const int flag : {1, 4, 5, -1}) {
    CPxHistogramProcessing(&histogram).SaveHistogram(path.c_str(), HIST_RAW);
    CPxHistogramProcessing(&histogram).SaveHistogram(path.c_str(), static_cast<HIST_FLAG>(flag));
    EXPECT_EQ(text(), "") << flag;
  }
  CPxHistogramProcessing().SaveHistogram(path.c_str(), HIST_RAW);
  EXPECT_EQ(text(), "");
}

TEST_F(HistogramFile, thatCannotBeOpenedThrows) {
  CPxHistogram histogram = of({3});
  EXPECT_THROW(CPxHistogramProcessing(&histogram).SaveHistogram("/no/such/folder/file", HIST_RAW), CFileException);
  EXPECT_THROW(CPxHistogramProcessing(&histogram).SaveHistogram(nullptr, HIST_RAW), CFileException);
}

TEST_F(HistogramFile, thatCannotBeWrittenThrows) {
  const char* const full = "/dev/full";
  if (std::filesystem::path::preferred_separator == '\\' || !std::filesystem::exists(full))
    GTEST_SKIP() << "there is no device that is always full";
  for (const int bins : {1, 65536}) {  // noticed as it is closed, and before
    CPxHistogram histogram(bins);
    EXPECT_THROW(CPxHistogramProcessing(&histogram).SaveHistogram(full, HIST_RAW), CFileException) << bins;
  }
}

}  // namespace
}  // namespace rasterkit
