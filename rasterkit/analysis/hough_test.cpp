#include <rasterkit/analysis/hough.h>

#include <rasterkit/core/levels.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numbers>
#include <string>
#include <type_traits>

#include "tests/plain/analysis.h"
#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using test::gray8;

CPxImage black(int width, int height) { return CPxImage(CM_GRAY, 8, width, height); }

const CPxHoughLine& lineAt(CPxHoughTransform& transform, int index) {
  return *static_cast<CPxHoughLine*>(transform.GetLineArray()[index]);
}

std::vector<plain::Line> list(CPxHoughTransform& transform) {
  std::vector<plain::Line> lines;
  for (int i = 0; i < transform.GetLineArray().GetSize(); ++i) {
    const CPxHoughLine& record = lineAt(transform, i);
    EXPECT_EQ(record.firstPoints.GetSize(), record.rhos.GetSize());
    EXPECT_EQ(record.secondPoints.GetSize(), record.rhos.GetSize());
    for (int k = 0; k < record.rhos.GetSize(); ++k)
      lines.push_back({record.theta, record.rhos[k], record.firstPoints[k].x, record.firstPoints[k].y,
                       record.secondPoints[k].x, record.secondPoints[k].y});
  }
  return lines;
}

// Accumulator ---------------------------------------------------------------------------------------------------------

TEST(HoughImage, beginsEmptyAndAnswersAllTheSame) {
  CPxHoughImage image;
  EXPECT_EQ(image.IsCreated(), 0);
  EXPECT_EQ(image.GetBuffer(), nullptr);
  EXPECT_EQ(image.GetThetaBuffer(0), nullptr);
  EXPECT_EQ(image.GetMax(), 0u);
  EXPECT_EQ(image.GetMin(), 2147483647u);
  EXPECT_EQ(image.GetMean(), 0.0);
  EXPECT_EQ(image.GetRhoMax(0), 0u);
  EXPECT_EQ(image.GetRhoMin(0), 2147483647u);
  EXPECT_EQ(image.GetRhoMean(0), 0.0);
  EXPECT_EQ(image.GetThetaMax(0), 0u);
  EXPECT_EQ(image.GetThetaMin(0), 2147483647u);
  EXPECT_EQ(image.GetThetaMean(0), 0.0);
  EXPECT_TRUE(std::has_virtual_destructor_v<CPxHoughImage>);
}

TEST(HoughImage, isEmptyWithoutDistancesOrAngles) {
  for (const auto& [rhos, thetas] : {std::pair{0, 5}, {5, 0}, {-1, 5}, {5, INT_MIN}, {0, 0}}) {
    CPxHoughImage image(3, 3);
    image.Create(rhos, thetas);
    EXPECT_EQ(image.IsCreated(), 0);
    EXPECT_EQ(image.GetRhoCount(), 0);
    EXPECT_EQ(image.GetThetaCount(), 0);
  }
}

TEST(HoughImage, withoutMemoryIsEmpty) {
  CPxHoughImage image(3, 3);
  EXPECT_THROW(image.Create(INT_MAX, INT_MAX), std::bad_alloc);
  EXPECT_EQ(image.IsCreated(), 0);
  EXPECT_EQ(image.GetThetaCount(), 0);
}

TEST(HoughImage, holdsACounterForEachDistanceAndAngle) {
  CPxHoughImage image(3, 2);
  image.SetAt(2, 1, 4000000000u);
  image.SetAt(0, 0, 7);
  EXPECT_EQ(image.GetAt(2, 1), 4000000000u);
  EXPECT_EQ(image.GetThetaBuffer(1)[2], 4000000000u);
  EXPECT_EQ(image.GetBuffer()[0][0], 7u);
  EXPECT_EQ(image.GetBuffer()[1], image.GetThetaBuffer(1));
  EXPECT_EQ(image.GetMax(), 4000000000u);
  EXPECT_EQ(image.GetMin(), 0u);
  EXPECT_EQ(image.GetMean(), 4000000007.0 / 6);
  EXPECT_EQ(image.GetRhoMax(0), 7u);
  EXPECT_EQ(image.GetRhoMin(0), 0u);
  EXPECT_EQ(image.GetRhoMean(0), 3.5);
  EXPECT_EQ(image.GetThetaMax(0), 7u);
  EXPECT_EQ(image.GetThetaMin(1), 0u);
  EXPECT_EQ(image.GetThetaMean(0), 7.0 / 3);
  for (const int outside : {-1, 3, INT_MIN, INT_MAX}) {
    image.SetAt(outside, 0, 9);
    image.SetAt(0, outside, 9);
    EXPECT_EQ(image.GetAt(outside, 0), 0u);
    EXPECT_EQ(image.GetAt(0, outside), 0u);
    EXPECT_EQ(image.GetThetaBuffer(outside), nullptr);
    EXPECT_EQ(image.GetRhoMax(outside), 0u);
    EXPECT_EQ(image.GetRhoMin(outside), 2147483647u);
    EXPECT_EQ(image.GetThetaMax(outside), 0u);
    EXPECT_EQ(image.GetThetaMin(outside), 2147483647u);
    EXPECT_EQ(image.GetRhoMean(outside) + image.GetThetaMean(outside), 0.0);
  }
}

TEST(HoughImage, sumsIn64Bits) {
  CPxHoughImage image(2, 2);
  for (int i = 0; i < 4; ++i) image.SetAt(i % 2, i / 2, 4000000000u);
  EXPECT_EQ(image.GetRhoMean(0), 4000000000.0);
  EXPECT_EQ(image.GetThetaMean(0), 4000000000.0);
  EXPECT_EQ(image.GetMean(), 4000000000.0);
}

TEST(HoughImage, servesOnWhateverIsWrittenIntoItsRowTable) {
  CPxHoughImage image(3, 2);
  image.SetAt(1, 1, 7);
  DWORD* const row = image.GetBuffer()[1];
  DWORD foreign[3] = {90, 91, 92};
  for (DWORD* const written : {static_cast<DWORD*>(nullptr), foreign}) {
    image.GetBuffer()[1] = written;
    EXPECT_EQ(image.GetThetaBuffer(1), row);
    EXPECT_EQ(image.GetAt(1, 1), 7u);
    EXPECT_EQ(image.GetMax() + image.GetRhoMax(1) + image.GetThetaMax(1), 21u);
    EXPECT_EQ(image.GetMean(), 7.0 / 6);
    EXPECT_EQ(CPxHoughImage(image).GetAt(1, 1), 7u);
    image.SetAt(2, 1, 8);
    EXPECT_EQ(row[2], 8u);
    image.SetAt(2, 1, 0);
  }
  EXPECT_EQ(foreign[2], 92u);
}

TEST(HoughImage, hasNoMinimumAbove2147483647) {
  CPxHoughImage image(2, 2);
  for (int i = 0; i < 4; ++i) image.SetAt(i % 2, i / 2, 3000000000u);
  EXPECT_EQ(image.GetMin(), 2147483647u);
  EXPECT_EQ(image.GetRhoMin(1), 2147483647u);
  EXPECT_EQ(image.GetThetaMin(1), 2147483647u);
  image.SetAt(1, 1, 5);
  EXPECT_EQ(image.GetMin(), 5u);
}

TEST(HoughImage, statisticsAreThoseOfSingleCountersAtEveryLevel) {
  test::Random random(3);
  for (const char* const level : {"baseline", "v2", "v3", "v4"}) {
    if (!useLevel(level)) continue;
    for (const int rhos : {1, 5, 16, 63, 200}) {
      CPxHoughImage image(rhos, 3);
      DWORD greatest = 0, least = 2147483647;
      double sum = 0;
      for (int i = 0; i < 3 * rhos; ++i) {
        const auto counter = static_cast<DWORD>(random.bits());
        image.SetAt(i / 3, i % 3, counter);
        greatest = std::max(greatest, counter);
        least = std::min(least, counter);
        sum += counter;
      }
      EXPECT_EQ(image.GetMax(), greatest);
      EXPECT_EQ(image.GetMin(), least);
      EXPECT_EQ(image.GetMean(), sum / (3 * rhos));
    }
  }
  useLevel("best");
}

TEST(HoughImage, copiesItsCounters) {
  CPxHoughImage image(3, 2);
  image.SetAt(2, 1, 8);
  CPxHoughImage copy(image), assigned(1, 1);
  assigned = image;
  image.SetAt(2, 1, 9);
  for (const CPxHoughImage* const other : {&copy, &assigned}) {
    EXPECT_EQ(other->GetAt(2, 1), 8u);
    EXPECT_EQ(other->GetRhoCount(), 3);
    EXPECT_EQ(other->GetThetaCount(), 2);
  }
  assigned = CPxHoughImage();
  EXPECT_EQ(assigned.IsCreated(), 0);
  const CPxHoughImage& same = image;
  image = same;
  EXPECT_EQ(image.IsCreated(), 0);
}

// Votes ---------------------------------------------------------------------------------------------------------------

TEST(Hough, hasACellForEachPixelOfTheDiagonalTwice) {
  CPxImage image = black(100, 100);
  CPxHoughTransform transform(&image);
  EXPECT_EQ(transform.Direct(), 1);
  EXPECT_EQ(transform.GetHoughImage().GetRhoCount(), 282);
  EXPECT_EQ(transform.GetHoughImage().GetThetaCount(), 360);
  EXPECT_EQ(transform.GetHoughImage().GetMax(), 0u);
}

TEST(Hough, countsColumnsFromOneAndRowsFromTheBottom) {
  CPxImage image = black(3, 4);  // 10 cells
  test::setSample(image, 0, 3, 0, 200);
  CPxHoughTransform transform(&image);
  transform.Direct();
  const CPxHoughImage& votes = transform.GetHoughImage();
  EXPECT_EQ(votes.GetRhoCount(), 10);
  EXPECT_EQ(votes.GetAt(6, 180), 200u);  // x = 1 lies one pixel from the origin
  EXPECT_EQ(votes.GetAt(5, 0), 200u);    // y = 0 lies on the axis
  EXPECT_EQ(votes.GetMean() * 3600, 360.0 * 200);
}

TEST(Hough, addsTheValuesOfAllPixelsOfALine) {
  CPxImage image = black(20, 20);
  for (int y = 0; y < 20; ++y) test::setSample(image, 7, y, 0, y + 1);
  CPxHoughTransform transform(&image);
  transform.Direct();
  EXPECT_EQ(transform.GetHoughImage().GetThetaMax(180), 210u);
}

void expectVotes(const CPxImage& picture) {
  CPxImage image = picture;
  const plain::Votes expected = plain::votes(image);
  for (const char* const level : {"baseline", "v2", "v3", "v4"}) {
    if (!useLevel(level)) continue;
    CPxHoughTransform transform(&image);
    ASSERT_EQ(transform.Direct(), 1);
    const CPxHoughImage& votes = transform.GetHoughImage();
    ASSERT_EQ(votes.GetRhoCount(), expected.cells);
    for (int t = 0; t < votes.GetThetaCount(); ++t)
      ASSERT_EQ(std::vector<std::uint32_t>(votes.GetThetaBuffer(t), votes.GetThetaBuffer(t) + expected.cells),
                expected.counters[t])
          << level << " angle " << t;
  }
  useLevel("best");
}

TEST(Hough, votesAsTheSlowFormDoes) {
  test::Random random(63);
  for (const auto& [width, height] :
       {std::pair{1, 1}, {1, 9}, {7, 3}, {8, 2}, {9, 5}, {64, 3}, {131, 40}, {3, 200}, {200, 140}}) {
    for (const int every : {1, 3, 60}) {
      CPxImage image = black(width, height);
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          if (random.oneIn(every)) test::setSample(image, x, y, 0, random.between(0, 255));
      expectVotes(image);
    }
  }
}

TEST(Hough, readsOneByteAPixelOfAnyImage) {
  test::Random random(64);
  for (const auto type : test::pixelTypes()) expectVotes(test::randomImage(random, type, 23, 11));
}

TEST(Hough, ofASizeWhoseSquaresWrapHasNoCells) {
  CPxImage image = black(46341, 1);
  CPxImage out;
  test::setSample(image, 5, 0, 0, 255);
  CPxHoughTransform transform(&image);
  EXPECT_EQ(transform.Direct(), 1);
  EXPECT_EQ(transform.GetHoughImage().IsCreated(), 0);
  EXPECT_EQ(transform.GetHoughImage().GetThetaCount(), 0);
  EXPECT_EQ(transform.DetectLine(out), 1);
  EXPECT_EQ(transform.GetLineArray().GetSize(), 0);
  EXPECT_EQ(out.width, 46341);
}

TEST(Hough, ofNoPixelsVotesForNothing) {
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}}) {
    CPxImage image = black(width, height), out;
    CPxHoughTransform transform(&image);
    EXPECT_EQ(transform.Direct(), 1);
    EXPECT_EQ(transform.GetHoughImage().GetMax(), 0u);
    EXPECT_EQ(transform.DetectLine(out), 1);
    EXPECT_EQ(out.width, width);
    EXPECT_EQ(out.height, height);
  }
}

TEST(Hough, withoutAnImageRefuses) {
  CPxImage out = gray8({{1}}), tampered = black(3, 3), none;
  const CPxImage before = out;
  tampered.height = 100;
  for (CPxImage* const image : {static_cast<CPxImage*>(nullptr), &tampered, &none}) {
    CPxHoughTransform transform(image);
    EXPECT_EQ(transform.Direct(), 0);
    EXPECT_EQ(transform.GetDisplayImage(out), 0);
    EXPECT_EQ(transform.Inverse(out, CPxHoughImage(2, 2)), 0);
    EXPECT_EQ(transform.DetectLine(out), 0);
    EXPECT_TRUE(test::identical(out, before));
  }
}

// Display -------------------------------------------------------------------------------------------------------------

TEST(HoughDisplay, isTheAccumulatorScaledToItsGreatestCounter) {
  CPxImage image = black(3, 4), out;
  CPxHoughTransform transform(&image);
  transform.Direct();
  transform.GetHoughImage().SetAt(9, 359, 3);
  transform.GetHoughImage().SetAt(1, 2, 2);
  EXPECT_EQ(transform.GetDisplayImage(out), 1);
  EXPECT_EQ(out.width, 10);
  EXPECT_EQ(out.height, 360);
  EXPECT_EQ(out.colorModel, CM_GRAY);
  EXPECT_EQ(out.bitsPerSample, 8);
  EXPECT_EQ(test::sampleAt(out, 9, 359), 255);
  EXPECT_EQ(test::sampleAt(out, 1, 2), 170);
  EXPECT_EQ(test::sampleAt(out, 0, 0), 0);
}

TEST(HoughDisplay, ofNoVotesIsBlack) {
  CPxImage image = black(3, 4), out;
  CPxHoughTransform transform(&image);
  EXPECT_EQ(transform.GetDisplayImage(out), 1);
  EXPECT_NE(out.IsCreated(), 0);
  EXPECT_EQ(out.width, 0);
  EXPECT_EQ(out.height, 0);
  transform.Direct();
  EXPECT_EQ(transform.GetDisplayImage(image), 1);  // over the image itself
  EXPECT_TRUE(test::samePicture(image, black(10, 360)));
}

// Inverse -------------------------------------------------------------------------------------------------------------

TEST(HoughInverse, drawsCellsOf128VotesAndMore) {
  CPxImage image = black(4, 3);
  CPxHoughTransform transform(&image);
  transform.Direct();  // 10 cells, step 1: cell 5 is distance 0
  CPxHoughImage peaks(10, 360);
  peaks.SetAt(6, 180, 127);
  peaks.SetAt(8, 180, 255);
  CPxImage out = black(4, 3);
  EXPECT_EQ(transform.Inverse(out, peaks), 1);
  EXPECT_PICTURE(out, gray8({{0, 0, 0, 255}, {0, 0, 0, 255}, {0, 0, 0, 255}}));
  peaks.SetAt(6, 180, 128);
  EXPECT_EQ(transform.Inverse(out, peaks), 1);
  EXPECT_PICTURE(out, gray8({{0, 128, 0, 255}, {0, 128, 0, 255}, {0, 128, 0, 255}}));
}

TEST(HoughInverse, drawsFlatLinesAcrossAndKeepsThemWithin) {
  CPxImage image = black(4, 3);
  CPxHoughTransform transform(&image);
  transform.Direct();
  CPxHoughImage peaks(10, 360);
  CPxImage out = black(4, 3);
  peaks.SetAt(4, 0, 200);  // at -90 degrees, distance -1: y = 1
  transform.Inverse(out, peaks);
  EXPECT_PICTURE(out, gray8({{0, 0, 0, 0}, {255, 255, 255, 255}, {0, 0, 0, 0}}));
  peaks.SetAt(0, 0, 400);  // distance -5: above the image
  out = black(4, 3);
  transform.Inverse(out, peaks);
  EXPECT_PICTURE(out, gray8({{255, 255, 255, 255}, {127, 127, 127, 127}, {0, 0, 0, 0}}));
}

TEST(HoughInverse, drawsLaterCellsOverEarlierOnes) {
  CPxImage image = black(2, 2);
  CPxHoughTransform transform(&image);
  transform.Direct();
  CPxHoughImage peaks(5, 360);
  peaks.SetAt(2, 0, 150);    // flat
  peaks.SetAt(3, 180, 300);  // steep, a later angle
  CPxImage out = black(2, 2);
  transform.Inverse(out, peaks);
  EXPECT_PICTURE(out, gray8({{255, 0}, {255, 127}}));
}

TEST(HoughInverse, drawsWhereTheOutputExists) {
  CPxImage image = black(4, 3);
  CPxHoughTransform transform(&image);
  transform.Direct();
  CPxHoughImage peaks(10, 360);
  peaks.SetAt(4, 0, 200);
  peaks.SetAt(6, 180, 255);
  peaks.SetAt(8, 180, 255);
  CPxImage narrow = black(2, 1), wide = black(5, 4);
  EXPECT_EQ(transform.Inverse(narrow, peaks), 1);
  EXPECT_PICTURE(narrow, gray8({{0, 255}}));
  EXPECT_EQ(transform.Inverse(wide, peaks), 1);
  EXPECT_PICTURE(wide, gray8({{0, 255, 0, 255, 0}, {200, 255, 200, 255, 0}, {0, 255, 0, 255, 0}, {0, 0, 0, 0, 0}}));
}

TEST(HoughInverse, refusesOtherOutputs) {
  CPxImage image = black(2, 2);
  CPxHoughTransform transform(&image);
  transform.Direct();
  CPxHoughImage peaks(5, 360);
  peaks.SetAt(3, 180, 300);
  for (const CPxImage& picture : {CPxImage(CM_RGB, 8, 2, 2), CPxImage(CM_GRAY, 16, 2, 2), CPxImage()}) {
    CPxImage out = picture;
    EXPECT_EQ(transform.Inverse(out, peaks), 0);
    EXPECT_TRUE(test::identical(out, picture));
  }
}

TEST(HoughInverse, drawsNothingBeforeVotesAndBeyondTheAngles) {
  CPxImage image = black(2, 2), out = black(2, 2);
  CPxHoughImage peaks(5, 400);
  peaks.SetAt(3, 180, 300);
  CPxHoughTransform transform(&image);
  EXPECT_EQ(transform.Inverse(out, peaks), 1);
  EXPECT_TRUE(test::samePicture(out, black(2, 2)));
  peaks.SetAt(3, 180, 0);
  peaks.SetAt(3, 360, 300);
  transform.Direct();
  EXPECT_EQ(transform.Inverse(out, peaks), 1);
  EXPECT_EQ(transform.Inverse(out, CPxHoughImage()), 1);
  EXPECT_TRUE(test::samePicture(out, black(2, 2)));
}

// Detection -----------------------------------------------------------------------------------------------------------

/// Pixels within half a pixel of the line with this normal angle and distance; columns and rows from 0, y upward.
CPxImage lineImage(int width, int height, double degrees, double distance) {
  CPxImage image = black(width, height);
  const double co = std::cos(degrees * std::numbers::pi / 180), si = std::sin(degrees * std::numbers::pi / 180);
  for (int row = 0; row < height; ++row)
    for (int x = 0; x < width; ++x)
      if (std::fabs(x * co + (height - 1 - row) * si - distance) <= 0.5) test::setSample(image, x, row, 0, 255);
  return image;
}

TEST(HoughDetect, findsLinesWithinAPixelAndHalfADegree) {
  for (const auto& [degrees, distance] : {std::pair{0.0, 60.0},
                                          {30.0, 70.0},
                                          {-30.0, 20.0},
                                          {45.0, 90.0},
                                          {-60.0, -30.0},
                                          {75.0, 80.0},
                                          {10.0, 40.0},
                                          {-10.0, 75.0}}) {
    SCOPED_TRACE(testing::Message() << degrees << " degrees, " << distance << " pixels");
    CPxImage image = lineImage(160, 120, degrees, distance), out;
    CPxHoughTransform transform(&image);
    transform.Direct();
    EXPECT_EQ(transform.DetectLine(out), 1);
    ASSERT_GE(transform.GetLineArray().GetSize(), 1);
    const CPxHoughLine& line = lineAt(transform, 0);
    ASSERT_GE(line.rhos.GetSize(), 1);
    EXPECT_NEAR(-90 + line.theta / 2.0, degrees, 0.5);
    // The middle of the cell; distances are those of columns counted from 1.
    EXPECT_NEAR(line.rhos[0] + 0.5 - 200, distance + std::cos(degrees * std::numbers::pi / 180), 1.0);
  }
}

TEST(HoughDetect, describesLinesAsTheSlowFormDoes) {
  test::Random random(65);
  for (int round = 0; round < 60; ++round) {
    const int width = random.between(1, 90), height = random.between(1, 90);
    CPxImage image = black(width, height);
    for (int lines = random.between(0, 4); lines > 0; --lines) {
      const CPxImage line = lineImage(width, height, random.between(-90, 89) * (random.oneIn(4) ? 0.0 : 1.0),
                                      random.between(0, width + height) / 2.0);
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
          if (test::sampleAt(line, x, y) != 0) test::setSample(image, x, y, 0, 255);
    }
    for (int noise = random.between(0, 30); noise > 0; --noise)
      test::setSample(image, random.between(0, width - 1), random.between(0, height - 1), 0, random.between(0, 255));
    const plain::Lines expected = plain::detected(image);
    CPxImage out;
    CPxHoughTransform transform(&image);
    transform.Direct();
    EXPECT_EQ(transform.DetectLine(out), 1);
    ASSERT_EQ(transform.GetLineArray().GetSize(), static_cast<int>(expected.angles.size()));
    for (int i = 0; i < transform.GetLineArray().GetSize(); ++i)
      EXPECT_EQ(lineAt(transform, i).theta, expected.angles[i]);
    EXPECT_EQ(list(transform), expected.lines) << round;
    EXPECT_TRUE(test::identical(out, expected.drawn)) << round;
  }
}

TEST(HoughDetect, clipsVerticalLinesToTheirOwnRule) {
  CPxImage image = lineImage(101, 80, 0, 30), out;
  CPxHoughTransform transform(&image);
  transform.Direct();
  transform.DetectLine(out);
  ASSERT_EQ(transform.GetLineArray().GetSize(), 1);
  const CPxHoughLine& line = lineAt(transform, 0);
  ASSERT_EQ(line.theta, 180);
  EXPECT_EQ(line.firstPoints[0].y, 0);
  EXPECT_EQ(line.secondPoints[0].y, 79);
  EXPECT_NEAR(line.firstPoints[0].x, 30, 1);
  EXPECT_EQ(line.firstPoints[0].x, line.secondPoints[0].x);
}

TEST(HoughDetect, forgetsEarlierLines) {
  CPxImage image = lineImage(60, 60, 20, 30), out;
  CPxHoughTransform transform(&image);
  transform.Direct();
  transform.DetectLine(out);
  const auto lines = list(transform);
  ASSERT_FALSE(lines.empty());
  transform.DetectLine(out);
  EXPECT_EQ(list(transform), lines);
  image = black(60, 60);
  transform.Direct();
  transform.DetectLine(image);  // over the image itself
  EXPECT_EQ(transform.GetLineArray().GetSize(), 0);
  EXPECT_TRUE(test::samePicture(image, black(60, 60)));
}

TEST(HoughDetect, overItsImageGivesTheSame) {
  const CPxImage picture = lineImage(60, 50, 20, 30);
  CPxImage image = picture, out;
  CPxHoughTransform separate(&image);
  separate.Direct();
  separate.DetectLine(out);
  CPxHoughTransform shared(&image);
  shared.Direct();
  shared.DetectLine(image);
  EXPECT_EQ(list(shared), list(separate));
  EXPECT_TRUE(test::identical(image, out));
}

TEST(HoughDetect, beforeVotesFindsNothing) {
  CPxImage image = lineImage(60, 60, 20, 30), out;
  CPxHoughTransform transform(&image);
  EXPECT_EQ(transform.DetectLine(out), 1);
  EXPECT_TRUE(test::samePicture(out, black(60, 60)));
  EXPECT_EQ(transform.GetLineArray().GetSize(), 0);
  // Counters that the host wrote have no angles yet.
  transform.GetHoughImage().Create(100, 360);
  for (int r = 48; r < 53; ++r) transform.GetHoughImage().SetAt(r, 90, 1000);
  EXPECT_EQ(transform.DetectLine(out), 1);
  EXPECT_EQ(transform.GetLineArray().GetSize(), 0);
}

TEST(HoughDetect, findsNoLinesAtAnglesBeyondTheTables) {
  CPxImage image = black(60, 60), out;
  CPxHoughTransform transform(&image);
  transform.Direct();
  transform.GetHoughImage().Create(100, 500);
  for (int r = 48; r < 53; ++r)
    for (int t = 440; t < 450; ++t) transform.GetHoughImage().SetAt(r, t, 1000);
  EXPECT_EQ(transform.DetectLine(out), 1);
  EXPECT_EQ(transform.GetLineArray().GetSize(), 0);
  EXPECT_TRUE(test::samePicture(out, black(60, 60)));
}

TEST(HoughDetect, copiesOwnTheirCountersAndLines) {
  CPxImage image = lineImage(60, 60, 20, 30), another = lineImage(50, 40, 70, 20), out;
  CPxHoughTransform transform(&image);
  transform.Direct();
  transform.DetectLine(out);
  CPxHoughTransform copy(transform), assigned(&another);
  assigned.Direct();
  assigned.DetectLine(out);
  assigned = transform;
  CPxHoughTransform& same = assigned;
  assigned = same;
  for (CPxHoughTransform* const other : {&copy, &assigned}) {
    EXPECT_EQ(list(*other), list(transform));
    EXPECT_NE(other->GetLineArray()[0], transform.GetLineArray()[0]);
    EXPECT_EQ(other->GetHoughImage().GetMax(), transform.GetHoughImage().GetMax());
    EXPECT_NE(other->GetHoughImage().GetBuffer(), transform.GetHoughImage().GetBuffer());
    EXPECT_EQ(other->GetImage(), &image);
    CPxHoughImage peaks(transform.GetHoughImage().GetRhoCount(), 360);
    peaks.SetAt(100, 100, 200);
    peaks.SetAt(120, 200, 300);
    CPxImage expected = black(60, 60), drawn = expected;
    EXPECT_EQ(transform.Inverse(expected, peaks), 1);
    EXPECT_EQ(other->Inverse(drawn, peaks), 1);
    EXPECT_FALSE(test::samePicture(expected, black(60, 60)));
    EXPECT_PICTURE(drawn, expected);
  }
}

TEST(HoughLine, isStoredAndLoaded) {
  const std::string path = (std::filesystem::temp_directory_path() / "rasterkit_hough_test.bin").string();
  CPxHoughLine line, loaded;
  line.rhos.Add(4000000000u);
  line.rhos.Add(7);
  line.firstPoints.Add(CPoint(-1, 2));
  {
    CArchive archive(path.c_str(), true);
    line.rhos.Serialize(archive);
    line.firstPoints.Serialize(archive);
    line.secondPoints.Serialize(archive);
    archive.Close();
  }
  {
    CArchive archive(path.c_str(), false);
    loaded.rhos.Serialize(archive);
    loaded.firstPoints.Serialize(archive);
    loaded.secondPoints.Serialize(archive);
  }
  std::remove(path.c_str());
  ASSERT_EQ(loaded.rhos.GetSize(), 2);
  EXPECT_EQ(loaded.rhos[0], 4000000000u);
  ASSERT_EQ(loaded.firstPoints.GetSize(), 1);
  EXPECT_EQ(loaded.firstPoints[0], CPoint(-1, 2));
  EXPECT_EQ(loaded.secondPoints.GetSize(), 0);
}

struct Derived : CPxHoughTransform {
  using CPxHoughTransform::ComputeSINCOS;
  using CPxHoughTransform::CPxHoughTransform;
  using CPxHoughTransform::RemoveThetaRhoArray;
  using CPxHoughTransform::SetLineInfo;
};

TEST(HoughDetect, clipsVerticalLinesOutsideTheImageToRowsBeyondAllOfThem) {
  CPxImage image = black(3, 4);  // distances are whole: cell 5 is 0
  Derived transform(&image);
  transform.Direct();
  auto* const line = new CPxHoughLine;
  line->theta = 180;
  for (DWORD cell = 3; cell < 9; ++cell) line->rhos.Add(cell);
  transform.GetLineArray().Add(line);
  transform.SetLineInfo();
  constexpr int kBeyond = INT_MIN + 3;  // 3 less the least integer, wrapped
  const CPoint first[] = {{0, kBeyond}, {0, 0}, {0, 0}, {1, 0}, {2, 0}, {2, kBeyond}};
  const CPoint second[] = {{0, kBeyond}, {0, kBeyond}, {0, 3}, {1, 3}, {2, 3}, {2, kBeyond}};
  for (int k = 0; k < 6; ++k) {
    EXPECT_EQ(line->firstPoints[k], first[k]) << "distance " << k - 2;
    EXPECT_EQ(line->secondPoints[k], second[k]) << "distance " << k - 2;
  }
}

TEST(HoughDetect, clipsLinesPastSlotsThatTheHostLeftEmpty) {
  CPxImage image = black(3, 4);
  Derived transform(&image);
  transform.Direct();
  auto* const line = new CPxHoughLine;
  line->theta = 180;
  line->rhos.Add(6);
  transform.GetLineArray().SetSize(1);
  transform.GetLineArray().Add(line);
  transform.SetLineInfo();
  ASSERT_EQ(line->firstPoints.GetSize(), 1);
  EXPECT_EQ(line->firstPoints[0], CPoint(1, 0));
  EXPECT_EQ(line->secondPoints[0], CPoint(1, 3));
}

TEST(Hough, letsDerivedClassesClipAndForgetLines) {
  CPxImage image = lineImage(60, 60, 20, 30), out;
  Derived transform(&image);
  transform.SetLineInfo();
  transform.Direct();
  transform.DetectLine(out);
  ASSERT_GE(transform.GetLineArray().GetSize(), 1);
  const int lines = lineAt(transform, 0).rhos.GetSize();
  transform.SetLineInfo();
  EXPECT_EQ(lineAt(transform, 0).firstPoints.GetSize(), 2 * lines);
  transform.RemoveThetaRhoArray();
  EXPECT_EQ(transform.GetLineArray().GetSize(), 0);

  Derived fresh(&image);
  CPxHoughImage peaks(5, 360);
  peaks.SetAt(3, 180, 300);
  fresh.ComputeSINCOS();
  EXPECT_EQ(fresh.Inverse(out, peaks), 1);
}

}  // namespace
}  // namespace rasterkit
