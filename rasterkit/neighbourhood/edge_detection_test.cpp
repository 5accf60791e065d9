#include <rasterkit/neighbourhood/edge_detection.h>

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using test::gray16;
using test::gray8;
using test::grayFloat;
using test::identical;
using test::rgb8;

using Edges = CPxEdgeDetection;

CPxImage prewitt(CPxImage image, Edges::PREWITT_FLAG flag) {
  CPxImage dst;
  EXPECT_EQ(Edges(&image).Prewitt(dst, flag), 1);
  return dst;
}
CPxImage sobel(CPxImage image, Edges::SOBEL_FLAG flag) {
  CPxImage dst;
  EXPECT_EQ(Edges(&image).Sobel3(dst, flag), 1);
  return dst;
}
CPxImage laplacian(CPxImage image) {
  CPxImage dst;
  EXPECT_EQ(Edges(&image).Laplacian3(dst), 1);
  return dst;
}

const test::Table kStep = {{10, 10, 10, 40, 40, 40}, {10, 10, 10, 40, 40, 40}, {10, 10, 10, 40, 40, 40}};

TEST(Prewitt, aVerticalStepShowsOnBothSidesOfIt) {
  const test::Table edge = {{0, 0, 90, 90, 0, 0}, {0, 0, 90, 90, 0, 0}, {0, 0, 90, 90, 0, 0}};
  EXPECT_PICTURE(prewitt(gray8(kStep), Edges::PREWITT_VERTICAL), gray8(edge));
  EXPECT_PICTURE(prewitt(gray16(kStep), Edges::PREWITT_VERTICAL), gray16(edge));
  EXPECT_PICTURE(prewitt(gray8(kStep), Edges::PREWITT_HORIZONTAL),
                 gray8({{0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0}}));
}

TEST(Prewitt, aSinglePixelShowsTheKernel) {
  const CPxImage image = gray8({{0, 0, 0}, {0, 10, 0}, {0, 0, 0}});
  EXPECT_PICTURE(prewitt(image, Edges::PREWITT_DIAGONAL), gray8({{0, 10, 20}, {10, 0, 10}, {20, 10, 0}}));
  EXPECT_PICTURE(prewitt(image, Edges::PREWITT_HORIZONTAL), gray8({{10, 10, 10}, {0, 0, 0}, {10, 10, 10}}));
  EXPECT_PICTURE(prewitt(image, Edges::PREWITT_VERTICAL), gray8({{10, 0, 10}, {10, 0, 10}, {10, 0, 10}}));
}

TEST(Sobel3, aSinglePixelShowsTheKernel) {
  const CPxImage image = gray8({{0, 0, 0}, {0, 10, 0}, {0, 0, 0}});
  EXPECT_PICTURE(sobel(image, Edges::SOBEL_DIAGONAL), gray8({{10, 10, 0}, {10, 0, 10}, {0, 10, 10}}));
  EXPECT_PICTURE(sobel(image, Edges::SOBEL_HORIZONTAL), gray8({{10, 20, 10}, {0, 0, 0}, {10, 20, 10}}));
  EXPECT_PICTURE(sobel(image, Edges::SOBEL_VERTICAL), gray8({{10, 0, 10}, {20, 0, 20}, {10, 0, 10}}));
}

TEST(Sobel3, theDiagonalsDifferFromThoseOfPrewitt) {
  const CPxImage falling = gray8({{0, 90, 90}, {0, 0, 90}, {0, 0, 0}}),
                 rising = gray8({{0, 0, 0}, {0, 0, 9}, {0, 9, 9}});
  EXPECT_EQ(test::sampleAt(prewitt(falling, Edges::PREWITT_DIAGONAL), 1, 1), 255);
  EXPECT_EQ(test::sampleAt(sobel(falling, Edges::SOBEL_DIAGONAL), 1, 1), 0);
  EXPECT_EQ(test::sampleAt(sobel(rising, Edges::SOBEL_DIAGONAL), 1, 1), 27);  // half of 54
  EXPECT_PICTURE(sobel(gray8({{70, 70}, {70, 70}}), Edges::SOBEL_DIAGONAL), gray8({{0, 0}, {0, 0}}));
}

TEST(Prewitt, anUnknownFlagTouchesNothing) {
  CPxImage image = gray8({{1, 2}}), dst = rgb8({{7, 8, 9}});
  const CPxImage before = dst;
  for (const int flag : {-1, 3, 2147483647}) {
    EXPECT_EQ(Edges(&image).Prewitt(dst, Edges::PREWITT_FLAG(flag)), 0);
    EXPECT_EQ(Edges(&image).Sobel3(dst, Edges::SOBEL_FLAG(flag)), 0);
  }
  EXPECT_TRUE(identical(dst, before));
}

TEST(Prewitt, refusesWithACopyAndHonoursTheAreaOfInterest) {
  CPxImage deep(CM_GRAY, 40, 2, 2), dst = gray8({{1}});
  EXPECT_EQ(Edges(&deep).Prewitt(dst, Edges::PREWITT_VERTICAL), 0);
  EXPECT_TRUE(identical(dst, deep));
  EXPECT_EQ(Edges(&deep).Sobel3(dst, Edges::SOBEL_VERTICAL), 0);
  EXPECT_EQ(Edges(&deep).Laplacian3(dst), 0);
  EXPECT_TRUE(identical(dst, deep));

  CPxImage image = gray8({{0, 50, 100}}), area = gray8({{0, 1, 0}});
  Edges edges(&image);
  edges.SetAOIImage(&area);
  EXPECT_EQ(edges.Sobel3(dst, Edges::SOBEL_VERTICAL), 1);
  EXPECT_PICTURE(dst, gray8({{0, 255, 100}}));
  EXPECT_EQ(edges.Prewitt(dst, Edges::PREWITT_VERTICAL), 1);
  EXPECT_PICTURE(dst, gray8({{0, 255, 100}}));
}

TEST(Prewitt, floatSamplesBecomeMinusOne) {
  EXPECT_PICTURE(prewitt(grayFloat({{1, 2}}), Edges::PREWITT_VERTICAL), grayFloat({{-1, -1}}));
  EXPECT_PICTURE(sobel(grayFloat({{1, 2}}), Edges::SOBEL_HORIZONTAL), grayFloat({{-1, -1}}));
}

TEST(Laplacian3, aBrightPixelStandsOutAndTheFrameIsZero) {
  EXPECT_PICTURE(laplacian(gray8({{9, 9, 9, 9}, {9, 0, 0, 9}, {9, 0, 200, 9}, {9, 9, 9, 9}})),
                 gray8({{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 194, 0}, {0, 0, 0, 0}}));
  EXPECT_PICTURE(laplacian(gray8({{0, 0, 0}, {0, 200, 0}, {0, 0, 0}})), gray8({{0, 0, 0}, {0, 200, 0}, {0, 0, 0}}));
}

TEST(Laplacian3, isLimitedTo255InEveryClass) {
  EXPECT_EQ(test::sampleAt(laplacian(gray16({{0, 0, 0}, {0, 4000, 0}, {0, 0, 0}})), 1, 1), 255);
  EXPECT_EQ(test::sampleAt(laplacian(grayFloat({{0, 0, 0}, {0, 4000, 0}, {0, 0, 0}})), 1, 1), 255);
}

TEST(Laplacian3, floatsAreTruncatedAndNaNIsZero) {
  const auto centre = [](double around, double here) {
    return test::sampleAt(laplacian(grayFloat({{around, 0, 0}, {0, here, 0}, {0, 0, 0}})), 1, 1);
  };
  EXPECT_EQ(centre(0, 2.99), 2);
  EXPECT_EQ(centre(0, -3), 0);
  EXPECT_EQ(centre(NAN, 3), 0);
  EXPECT_EQ(centre(INFINITY, INFINITY), 0);
  EXPECT_EQ(centre(-INFINITY, 3), 255);
  EXPECT_EQ(centre(1e30, 1e30), 255);
}

TEST(Laplacian3, smallImagesBecomeZeroAndTheMaskIsNotLookedAt) {
  for (CPxImage image : {gray8({{5, 5}, {5, 5}, {5, 5}}), gray16({{5, 5, 5}, {5, 5, 5}}), grayFloat({{5}})}) {
    CPxImage dst, mask(CM_GRAY, 8, 77, 1);
    Edges edges(&image);
    edges.SetAOIImage(&mask);
    EXPECT_EQ(edges.Laplacian3(dst), 1);
    EXPECT_PICTURE(dst, CPxImage(image.colorModel, image.bitsPerSample, image.width, image.height));
  }
}

TEST(EdgeDetection, whatIsNotOfferedTouchesNothing) {
  CPxImage image = gray8({{1, 2}}), dst = rgb8({{7, 8, 9}}), empty;
  const CPxImage before = dst;
  for (CPxImage* const source : {&image, &empty, static_cast<CPxImage*>(nullptr)})
    for (const auto method : {&Edges::FeiChen, &Edges::Laplacian3Minus, &Edges::Laplacian3Prewitt, &Edges::Laplacian3_4,
                              &Edges::Laplacian5, &Edges::Laplacian9, &Edges::MedianSquare2x2, &Edges::PixelDifference,
                              &Edges::Roberts2, &Edges::SeperatedPixelDifference, &Edges::ShadowMask})
      EXPECT_EQ((Edges(source).*method)(dst), 0);
  EXPECT_TRUE(identical(dst, before));
}

TEST(Edges, aMaskThatDoesNotFitRefuses) {
  CPxImage image = gray8(kStep), mask = gray8({{1, 1}}), dst;
  Edges edges(&image);
  edges.SetAOIImage(&mask);
  EXPECT_EQ(edges.Prewitt(dst, Edges::PREWITT_VERTICAL), 0);
  EXPECT_TRUE(identical(dst, image));
  dst.Remove();
  EXPECT_EQ(edges.Sobel3(dst, Edges::SOBEL_VERTICAL), 0);
  EXPECT_TRUE(identical(dst, image));
  EXPECT_EQ(edges.Laplacian3(dst), 1);  // does not look at it
  EXPECT_PICTURE(dst, laplacian(image));
}

}  // namespace
}  // namespace rasterkit
