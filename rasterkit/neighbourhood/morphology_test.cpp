#include <rasterkit/core/levels.h>
#include <rasterkit/neighbourhood/morphology.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using namespace test;
using Method = int (CPxMorphologicProcessing::*)(CPxImage&, int);

CPxImage result(Method method, CPxImage source, int size, CPxImage* mask = nullptr) {
  CPxImage dst;
  CPxMorphologicProcessing morphology(&source);
  morphology.SetAOIImage(mask);
  EXPECT_EQ((morphology.*method)(dst, size), 1);
  return dst;
}
CPxImage eroded(const CPxImage& source, int size) { return result(&CPxMorphologicProcessing::Erode, source, size); }
CPxImage dilated(const CPxImage& source, int size) { return result(&CPxMorphologicProcessing::Dilate, source, size); }
CPxImage opened(const CPxImage& source, int size) { return result(&CPxMorphologicProcessing::Open, source, size); }
CPxImage closed(const CPxImage& source, int size) { return result(&CPxMorphologicProcessing::Close, source, size); }

constexpr Method kMethods[] = {&CPxMorphologicProcessing::Erode, &CPxMorphologicProcessing::Dilate,
                               &CPxMorphologicProcessing::Open, &CPxMorphologicProcessing::Close};

TEST(Erode, takesTheLeastOfTheSquare) {
  EXPECT_PICTURE(eroded(gray8({{9, 9, 9, 9},  //
                               {9, 1, 9, 9},
                               {9, 9, 9, 9}}),
                        1),
                 gray8({{1, 1, 1, 9},  //
                        {1, 1, 1, 9},
                        {1, 1, 1, 9}}));
}

TEST(Erode, removesASingleBrightPixel) {
  EXPECT_PICTURE(eroded(gray16({{7, 7, 7},  //
                                {7, 900, 7},
                                {7, 7, 7}}),
                        1),
                 gray16({{7, 7, 7}, {7, 7, 7}, {7, 7, 7}}));
}

TEST(Dilate, growsASingleBrightPixelToTheSquare) {
  EXPECT_PICTURE(dilated(gray8({{0, 0, 0, 0, 0},  //
                                {0, 0, 0, 0, 0},
                                {0, 0, 8, 0, 0},
                                {0, 0, 0, 0, 0},
                                {0, 0, 0, 0, 0}}),
                         1),
                 gray8({{0, 0, 0, 0, 0},  //
                        {0, 8, 8, 8, 0},
                        {0, 8, 8, 8, 0},
                        {0, 8, 8, 8, 0},
                        {0, 0, 0, 0, 0}}));
}

TEST(Erode, repeatsTheEdgeSamples) {
  // Zeros outside would darken the other edges too.
  EXPECT_PICTURE(eroded(gray8({{0, 255, 255, 255},  //
                               {0, 255, 255, 255},
                               {0, 255, 255, 255}}),
                        1),
                 gray8({{0, 0, 255, 255}, {0, 0, 255, 255}, {0, 0, 255, 255}}));
}

TEST(Dilate, repeatsTheEdgeSamples) {
  EXPECT_PICTURE(dilated(grayFloat({{-5, -5, -5}, {-5, -5, -5}}), 2), grayFloat({{-5, -5, -5}, {-5, -5, -5}}));
}

TEST(Dilate, ranksChannelsIndependently) {
  EXPECT_PICTURE(dilated(rgb8({{10, 200, 30, 200, 10, 30}}), 1), rgb8({{200, 200, 30, 200, 200, 30}}));
  EXPECT_PICTURE(eroded(picture(CM_RGBA, 8, {{1, 9, 5, 255, 9, 1, 6, 0}}), 1),
                 picture(CM_RGBA, 8, {{1, 1, 5, 0, 1, 1, 5, 0}}));
}

TEST(Morphology, sizeZeroCopies) {
  const CPxImage before = rgb8({{1, 2, 3, 4, 5, 6}, {7, 8, 9, 0, 1, 2}});
  for (const Method method : kMethods) EXPECT_PICTURE(result(method, before, 0), before);
}

TEST(Morphology, aSquareBeyondTheImageCoversAllOfIt) {
  const CPxImage before = gray8({{5, 6, 7, 2}, {8, 9, 3, 4}});
  for (const int size : {3, 4, 100, INT_MAX / 2, INT_MAX / 2 + 1, INT_MAX - 1, INT_MAX}) {
    EXPECT_PICTURE(eroded(before, size), gray8({{2, 2, 2, 2}, {2, 2, 2, 2}})) << size;
    EXPECT_PICTURE(dilated(before, size), gray8({{9, 9, 9, 9}, {9, 9, 9, 9}})) << size;
    EXPECT_PICTURE(opened(before, size), gray8({{2, 2, 2, 2}, {2, 2, 2, 2}})) << size;
    EXPECT_PICTURE(closed(before, size), gray8({{9, 9, 9, 9}, {9, 9, 9, 9}})) << size;
  }
}

TEST(Morphology, aNegativeSizeLeavesTheDestinationUntouched) {
  for (const int size : {-1, -2, INT_MIN}) {
    for (const Method method : kMethods) {
      CPxImage source = gray8({{1, 2}}), dst = rgb8({{7, 7, 7}});
      EXPECT_EQ((CPxMorphologicProcessing(&source).*method)(dst, size), 0);
      EXPECT_PICTURE(dst, rgb8({{7, 7, 7}}));
    }
  }
}

TEST(Open, removesWhatIsBrightAndNarrow) {
  EXPECT_PICTURE(opened(gray8({{9, 0, 0, 0, 0, 0},  //
                               {0, 0, 5, 5, 5, 0},
                               {0, 0, 5, 6, 5, 0},
                               {0, 0, 5, 5, 5, 0},
                               {0, 0, 0, 0, 0, 0}}),
                        1),
                 gray8({{0, 0, 0, 0, 0, 0},  //
                        {0, 0, 5, 5, 5, 0},
                        {0, 0, 5, 5, 5, 0},
                        {0, 0, 5, 5, 5, 0},
                        {0, 0, 0, 0, 0, 0}}));
}

TEST(Close, fillsWhatIsDarkAndNarrow) {
  EXPECT_PICTURE(closed(gray8({{7, 7, 7, 7, 7},  //
                               {7, 0, 7, 7, 7},
                               {7, 7, 7, 7, 7}}),
                        1),
                 gray8({{7, 7, 7, 7, 7}, {7, 7, 7, 7, 7}, {7, 7, 7, 7, 7}}));
}

TEST(Morphology, theMaskIsHonouredByErodeAndDilateOnly) {
  const CPxImage before = gray8({{3, 9, 9, 9, 0}, {9, 9, 9, 9, 9}});
  CPxImage mask = gray8({{1, 0, 255, 2, 1}, {0, 7, 1, 1, 0}});
  EXPECT_PICTURE(result(&CPxMorphologicProcessing::Erode, before, 1, &mask), gray8({{3, 9, 9, 0, 0}, {9, 3, 9, 0, 9}}));
  EXPECT_PICTURE(result(&CPxMorphologicProcessing::Dilate, before, 1, &mask),
                 gray8({{9, 9, 9, 9, 9}, {9, 9, 9, 9, 9}}));
  CPxImage none = gray8({{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}});
  EXPECT_PICTURE(result(&CPxMorphologicProcessing::Dilate, before, 1, &none), before);
  EXPECT_PICTURE(result(&CPxMorphologicProcessing::Open, before, 1, &none), opened(before, 1));
  EXPECT_PICTURE(result(&CPxMorphologicProcessing::Close, before, 1, &none), closed(before, 1));
}

TEST(Morphology, theMaskGovernsAllChannelsOfAPixel) {
  CPxImage mask = gray8({{0, 1}});
  EXPECT_PICTURE(result(&CPxMorphologicProcessing::Dilate, rgb8({{1, 5, 3, 4, 2, 6}}), 1, &mask),
                 rgb8({{1, 5, 3, 4, 5, 6}}));
}

TEST(Morphology, aMaskThatIsTheDestinationIsReadAsItWas) {
  CPxImage source = gray8({{3, 9, 9}, {9, 9, 9}}), mask = gray8({{0, 1, 1}, {1, 0, 1}});
  CPxMorphologicProcessing morphology(&source);
  morphology.SetAOIImage(&mask);
  EXPECT_EQ(morphology.Erode(mask, 1), 1);
  EXPECT_PICTURE(mask, gray8({{3, 3, 9}, {3, 9, 9}}));
}

TEST(Morphology, aMaskThatDoesNotFitRefuses) {
  const CPxImage before = gray8({{1, 2, 3}});
  for (CPxImage mask : {gray8({{1, 1}}), gray16({{1, 1, 1}}), picture(CM_GRAYA, 8, {{1, 1, 1, 1, 1, 1}}), CPxImage()}) {
    for (const Method method : {&CPxMorphologicProcessing::Erode, &CPxMorphologicProcessing::Dilate}) {
      CPxImage source = before, dst;
      CPxMorphologicProcessing morphology(&source);
      morphology.SetAOIImage(&mask);
      EXPECT_EQ((morphology.*method)(dst, 1), 0);
      EXPECT_PICTURE(dst, before);
    }
    EXPECT_PICTURE(result(&CPxMorphologicProcessing::Open, before, 1, &mask), opened(before, 1));
  }
}

TEST(Morphology, unsupportedImagesAreCopiedByOnePassAndIgnoredByTwo) {
  CPxImage source(CM_GRAY, 33, 4, 2);
  for (std::size_t i = 0; i < std::size(kMethods); ++i) {
    const Method method = kMethods[i];
    const bool once = i < 2;  // erosion and dilation come first
    CPxImage dst = gray8({{7}});
    EXPECT_EQ((CPxMorphologicProcessing(&source).*method)(dst, 1), 0);
    EXPECT_PICTURE(dst, once ? source : gray8({{7}}));
    EXPECT_EQ((CPxMorphologicProcessing().*method)(dst, 1), 0);
    EXPECT_PICTURE(dst, once ? source : gray8({{7}}));
  }
}

TEST(Morphology, ranksFloatsByTotalOrder) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN(), minusNan = std::copysign(nan, -1.0);
  const CPxImage before = grayFloat({{0.0, -0.0, 5, nan, inf, -inf, minusNan, 1}});
  EXPECT_PICTURE(eroded(before, 1), grayFloat({{-0.0, -0.0, -0.0, 5, -inf, minusNan, minusNan, minusNan}}));
  EXPECT_PICTURE(dilated(before, 1), grayFloat({{0.0, 5, nan, nan, nan, inf, 1, 1}}));
}

TEST(Morphology, keepsEveryBitOfANan) {
  CPxImage source = grayFloat({{1, 2, 3}});
  const std::uint32_t signalling = 0x7F812345;
  std::memcpy(static_cast<float*>(source.GetBuffer()) + 1, &signalling, 4);
  CPxImage dst;
  EXPECT_EQ(CPxMorphologicProcessing(&source).Dilate(dst, 1), 1);
  for (int x = 0; x < 3; ++x) EXPECT_EQ(std::memcmp(static_cast<float*>(dst.GetBuffer()) + x, &signalling, 4), 0) << x;
}

TEST(Morphology, imagesWithoutPixelsSucceed) {
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}}) {
    CPxImage source(CM_RGB, 16, width, height), dst;
    for (const Method method : kMethods) {
      EXPECT_EQ((CPxMorphologicProcessing(&source).*method)(dst, 3), 1);
      EXPECT_PICTURE(dst, source);
    }
  }
}

// Every size against every height and width around it: the blocks of rows begin and end in all ways.
TEST(Morphology, everySizeAgreesWithTheDefinition) {
  Random random(13);
  for (int side = 1; side <= 26; ++side) {
    const CPxImage before = randomImage(random, {CM_GRAYA, 8}, side % 2 ? side : 3, side % 2 ? 3 : side);
    for (int size = 1; size <= side + 1; ++size) {
      CPxImage expected = before;
      for (int y = 0; y < before.height; ++y)
        for (int x = 0; x < before.width; ++x)
          for (int c = 0; c < 2; ++c) {
            double least = 255;
            for (int j = -size; j <= size; ++j)
              for (int i = -size; i <= size; ++i)
                least = std::min(least, sampleAt(before, std::clamp(x + i, 0, before.width - 1),
                                                 std::clamp(y + j, 0, before.height - 1), c));
            setSample(expected, x, y, c, least);
          }
      for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
        if (!useLevel(level)) continue;
        EXPECT_PICTURE(eroded(before, size), expected) << "size " << size;
        CPxImage inPlace = before;
        EXPECT_EQ(CPxMorphologicProcessing(&inPlace).Erode(inPlace, size), 1);
        EXPECT_PICTURE(inPlace, expected) << "size " << size << " in place";
      }
      useLevel("best");
    }
  }
}

// Wide rows, where vectors join windows in place.
TEST(Morphology, wideRowsAgreeWithTheDefinition) {
  Random random(14);
  for (const PixelType type : pixelTypes()) {
    const CPxImage before = randomImage(random, {type.model, type.bits}, 517, 1);
    for (const int size : {1, 2, 3, 4, 7, 8, 15, 31, 32, 63, 64, 127}) {
      CPxImage expected = before;
      for (int x = 0; x < before.width; ++x)
        for (int c = 0; c < before.channels; ++c) {
          double greatest = sampleAt(before, x, 0, c);
          for (int u = std::max(0, x - size); u <= std::min(before.width - 1, x + size); ++u)
            if (std::strong_order(greatest, sampleAt(before, u, 0, c)) < 0) greatest = sampleAt(before, u, 0, c);
          setSample(expected, x, 0, c, greatest);
        }
      for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
        if (!useLevel(level)) continue;
        EXPECT_PICTURE(dilated(before, size), expected) << nameOf(type) << ", size " << size << ", " << level;
      }
      useLevel("best");
    }
  }
}

// The extremum over so many samples on either side along one axis: of a square, one axis after the other.
CPxImage alongModel(const CPxImage& image, int size, bool greatest, bool down) {
  CPxImage made = image;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      for (int c = 0; c < image.channels; ++c) {
        double picked = sampleAt(image, x, y, c);
        for (int i = -size; i <= size; ++i) {
          const int u = std::clamp(down ? x : x + i, 0, image.width - 1);
          const double sample = sampleAt(image, u, std::clamp(down ? y + i : y, 0, image.height - 1), c);
          if (greatest ? std::strong_order(picked, sample) < 0 : std::strong_order(sample, picked) < 0) picked = sample;
        }
        setSample(made, x, y, c, picked);
      }
  return made;
}
CPxImage squareModel(const CPxImage& image, int size, bool greatest) {
  return alongModel(alongModel(image, size, greatest, false), size, greatest, true);
}

// All four methods at every level, into another image and in place.
void expectTheModel(const CPxImage& before, int size, const std::string& what) {
  const CPxImage least = squareModel(before, size, false), greatest = squareModel(before, size, true);
  const CPxImage expected[] = {least, greatest, squareModel(least, size, true), squareModel(greatest, size, false)};
  for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
    if (!useLevel(level)) continue;
    for (std::size_t i = 0; i < std::size(kMethods); ++i) {
      EXPECT_PICTURE(result(kMethods[i], before, size), expected[i]) << what << ", method " << i << ", " << level;
      CPxImage inPlace = before;
      EXPECT_EQ((CPxMorphologicProcessing(&inPlace).*kMethods[i])(inPlace, size), 1);
      EXPECT_PICTURE(inPlace, expected[i]) << what << ", method " << i << " in place, " << level;
    }
  }
  useLevel("best");
}

// Small squares are made by two rows and by pieces of 1024 bytes, and a bit more for the last piece.
TEST(Morphology, smallSquaresAgreeWithTheDefinitionInEveryPiece) {
  Random random(16);
  for (const PixelType type : pixelTypes()) {
    const int bytes = (type.bits <= 8    ? 1
                       : type.bits <= 16 ? 2
                                         : 4) *
                      randomImage(random, {type.model, type.bits}, 1, 1).channels;
    int height = 1;
    for (const int width :
         {1, 2, 9, 1024 / bytes, 1024 / bytes + 1, 1088 / bytes - 1, 1088 / bytes, 1088 / bytes + 3}) {
      const CPxImage before = randomImage(random, {type.model, type.bits}, width, height);
      for (const int size : {1, 2, 3, 4})
        expectTheModel(before, size, nameOf(type) + " " + std::to_string(width) + " x " + std::to_string(height));
      height = height % 7 + 1;
    }
  }
}

// Floats are compared by their bits until one with a sign is picked: kinds of them side by side, wider than a piece.
TEST(Morphology, smallSquaresOfAllKindsOfFloatsAgreeWithTheDefinition) {
  Random random(17);
  const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<float> kinds[] = {{0, 1, 2.5F, inf},       {0, -0.0F},        {3, 4, 5, 6, 7, 8, 9, -1},
                                      {-1, -2, -inf, -1e-40F}, {nan, -nan, 1, 0}, {1e-40F, 2e-40F, nan}};
  for (std::size_t first = 0; first < std::size(kinds); ++first) {
    CPxImage before(CM_GRAY, 32, 1300, 5);
    for (int y = 0; y < before.height; ++y)
      for (int x = 0; x < before.width; ++x) {
        const auto& kind = kinds[(first + static_cast<std::size_t>(x) / 300) % std::size(kinds)];
        setSample(before, x, y, 0, random.pick(kind));
      }
    for (const int size : {1, 2, 3, 4}) expectTheModel(before, size, "kind " + std::to_string(first));
  }
}

// Of the two rows that are made at a time only one may see a row with a sign, or one without.
TEST(Morphology, smallSquaresAgreeWithTheDefinitionWhereOneRowDiffersInSign) {
  Random random(19);
  for (int other = 0; other < 12; ++other)
    for (const float sign : {1.0F, -1.0F}) {
      CPxImage before(CM_GRAY, 32, 40, 12);
      for (int y = 0; y < before.height; ++y)
        for (int x = 0; x < before.width; ++x)
          setSample(before, x, y, 0, (y == other ? -sign : sign) * static_cast<float>(random.between(1, 1000)));
      for (const int size : {1, 2, 3, 4}) expectTheModel(before, size, "row " + std::to_string(other));
    }
}

TEST(Morphology, theMaskSelectsOfSmallAndLargeSquares) {
  Random random(18);
  for (const PixelType type : pixelTypes())
    for (const int height : {1, 2, 5, 12}) {
      const CPxImage before = randomImage(random, {type.model, type.bits}, 70, height);
      CPxImage mask = randomMask(random, 70, height);
      for (const int size : {1, 2, 3, 4, 5, 9}) {
        CPxImage expected = squareModel(before, size, true);
        for (int y = 0; y < height; ++y)
          for (int x = 0; x < 70; ++x)
            for (int c = 0; c < before.channels && sampleAt(mask, x, y, 0) == 0; ++c)
              setSample(expected, x, y, c, sampleAt(before, x, y, c));
        EXPECT_PICTURE(result(&CPxMorphologicProcessing::Dilate, before, size, &mask), expected) << nameOf(type);
        CPxImage inPlace = before;
        CPxMorphologicProcessing morphology(&inPlace);
        morphology.SetAOIImage(&mask);
        EXPECT_EQ(morphology.Dilate(inPlace, size), 1);
        EXPECT_PICTURE(inPlace, expected) << nameOf(type) << " in place";
      }
    }
}

// Rows so wide that those kept for both passes exceed a megabyte: the passes then follow one another.
TEST(Morphology, twoPassesOfVeryWideRowsAreOneAfterTheOther) {
  Random random(15);
  const CPxImage before = randomImage(random, {CM_GRAY, 8}, 270001, 9);
  for (const int size : {1, 4, 8}) {
    const CPxImage expected[] = {dilated(eroded(before, size), size), eroded(dilated(before, size), size)};
    for (const std::size_t i : {0, 1}) {
      const Method method = kMethods[i + 2];
      EXPECT_PICTURE(result(method, before, size), expected[i]) << "size " << size;
      CPxImage inPlace = before;
      EXPECT_EQ((CPxMorphologicProcessing(&inPlace).*method)(inPlace, size), 1);
      EXPECT_PICTURE(inPlace, expected[i]) << "size " << size << " in place";
    }
  }
}

}  // namespace
}  // namespace rasterkit
