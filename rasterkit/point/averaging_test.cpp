#include <rasterkit/point/averaging.h>

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>
#include <utility>

#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

CPxImageArray series(std::vector<CPxImage>& images) {
  CPxImageArray array;
  for (CPxImage& image : images) array.Add(&image);
  return array;
}

CPxImage averaged(std::vector<CPxImage> images, int flag = 1) {
  CPxImageArray array = series(images);
  CPxImage dst = gray8({{9}});
  EXPECT_EQ(CPxAveraging(&array).AveragingAverage(dst), flag);
  return dst;
}

static_assert(std::is_constructible_v<CPxAveraging, CPxImageArray*> &&
              !std::is_constructible_v<CPxAveraging, CPxImage*>);

TEST(Averaging, truncatesTheMean) {
  EXPECT_PICTURE(averaged({gray8({{1, 9}, {9, 9}}), gray8({{2, 9}, {9, 9}})}), gray8({{1, 0}, {0, 0}}));
  EXPECT_PICTURE(averaged({gray16({{65535, 9}, {9, 9}}), gray16({{65534, 9}, {9, 9}})}), gray16({{65534, 0}, {0, 0}}));
  EXPECT_PICTURE(
      averaged({rgb8({{1, 2, 3, 9, 9, 9}, {9, 9, 9, 9, 9, 9}}), rgb8({{5, 7, 4, 9, 9, 9}, {9, 9, 9, 9, 9, 9}})}),
      rgb8({{3, 4, 3, 0, 0, 0}, {0, 0, 0, 0, 0, 0}}));
}

TEST(Averaging, leavesTheLastRowAndColumnBlack) {
  const CPxImage nines = gray8({{9, 9, 9}, {9, 9, 9}, {9, 9, 9}});
  EXPECT_PICTURE(averaged({nines, nines, nines}), gray8({{9, 9, 0}, {9, 9, 0}, {0, 0, 0}}));
  EXPECT_PICTURE(averaged({gray8({{9}, {9}}), gray8({{9}, {9}})}), gray8({{0}, {0}}));
}

TEST(Averaging, copiesOneImageWhole) {
  for (const PixelType type :
       {PixelType{CM_GRAY, 8}, PixelType{CM_GRAYA, 16}, PixelType{CM_RGB, 32}, PixelType{CM_GRAY, 33}}) {
    Random random(5);
    const CPxImage image = randomImage(random, type, 5, 4);
    EXPECT_TRUE(identical(averaged({image}), image));
  }
}

// Single precision holds whole numbers to 2^24: a sum beyond it loses its last bit, and the order can be seen.
TEST(Averaging, addsInSinglePrecisionInTheCollectionsOrder) {
  const int count = 400;
  CPxImage bright = gray16({{65535, 0}, {0, 0}}), dark = gray16({{1, 0}, {0, 0}}), dst;
  CPxImageArray brightFirst, darkFirst;
  for (int i = 0; i < count; ++i) brightFirst.Add(i < 260 ? &bright : &dark);
  for (int i = 0; i < count; ++i) darkFirst.Add(i < 140 ? &dark : &bright);
  auto mean = [&](CPxImageArray& images) {
    EXPECT_EQ(CPxAveraging(&images).AveragingAverage(dst), 1);
    return sampleAt(dst, 0, 0);
  };
  auto expected = [&](const CPxImageArray& images) {
    float sum = 0;
    for (int i = 0; i < count; ++i) sum += static_cast<float>(sampleAt(*images.GetAt(i), 0, 0));
    return sum;
  };
  EXPECT_NE(mean(brightFirst), mean(darkFirst));
  EXPECT_EQ(mean(brightFirst), static_cast<int>(1.0F / count * expected(brightFirst)));
  EXPECT_EQ(mean(darkFirst), static_cast<int>(1.0F / count * expected(darkFirst)));

  const int many = 65799;  // of bytes
  CPxImage white = gray8({{255, 0}, {0, 0}});
  CPxImageArray whites;
  float sum = 0;
  for (int i = 0; i < many; ++i) {
    whites.Add(&white);
    sum += 255;
  }
  EXPECT_NE(static_cast<int>(1.0F / many * sum), static_cast<int>(1.0F / many * (255.0F * many)));
  EXPECT_EQ(mean(whites), static_cast<int>(1.0F / many * sum));
}

TEST(Averaging, sumsOfEveryLengthAreExactBelowThat) {
  for (const int count : {2, 3, 255, 256, 257, 258, 300}) {
    for (const int bits : {8, 16}) {
      CPxImage image = picture(CM_GRAY, bits, {{bits == 8 ? 255.0 : 40000.0, 0}, {0, 0}}), dst;
      CPxImageArray images;
      float sum = 0;
      for (int i = 0; i < count; ++i) {
        images.Add(&image);
        sum += static_cast<float>(sampleAt(image, 0, 0));
      }
      EXPECT_EQ(CPxAveraging(&images).AveragingAverage(dst), 1);
      EXPECT_EQ(sampleAt(dst, 0, 0), static_cast<int>(1.0F / static_cast<float>(count) * sum)) << count << ' ' << bits;
    }
  }
}

TEST(Averaging, mayWriteIntoTheSeries) {
  for (int target = 0; target < 3; ++target) {
    std::vector<CPxImage> images = {gray8({{1, 9}, {9, 9}}), gray8({{2, 9}, {9, 9}}), gray8({{6, 9}, {9, 9}})};
    CPxImageArray array = series(images);
    EXPECT_EQ(CPxAveraging(&array).AveragingAverage(images[static_cast<std::size_t>(target)]), 1);
    EXPECT_PICTURE(images[static_cast<std::size_t>(target)], gray8({{3, 0}, {0, 0}}));
  }
}

TEST(Averaging, takesAsManyImagesAsTheCollectionSays) {
  std::vector<CPxImage> images = {gray8({{1, 9}, {9, 9}}), gray8({{3, 9}, {9, 9}}), gray8({{8, 9}, {9, 9}})};
  CPxImageArray array = series(images);
  const std::pair<int, CPxImage> expected[] = {
      {1, images[0]}, {2, gray8({{2, 0}, {0, 0}})}, {3, gray8({{4, 0}, {0, 0}})}, {4, images[0]}, {INT_MAX, images[0]}};
  for (const auto& [count, mean] : expected) {
    array.count = count;
    CPxImage dst;
    EXPECT_EQ(CPxAveraging(&array).AveragingAverage(dst), count <= 3) << count;
    EXPECT_TRUE(identical(dst, mean)) << count;
  }
}

TEST(Averaging, refusesASeriesWithTheDestinationInIt) {
  std::vector<CPxImage> images = {grayFloat({{1, 9}, {9, 9}}), grayFloat({{3, 9}, {9, 9}})};
  CPxImageArray array = series(images);
  EXPECT_EQ(CPxAveraging(&array).AveragingAverage(images[1]), 0);
  EXPECT_PICTURE(images[1], grayFloat({{1, 9}, {9, 9}}));
}

TEST(Averaging, refusesFloatsAndPairsWithACopyOfTheFirst) {
  for (const PixelType type :
       {PixelType{CM_GRAY, 32}, PixelType{CM_GRAYA, 8}, PixelType{CM_RGB, 32}, PixelType{CM_GRAY, 33}}) {
    Random random(5);
    const CPxImage first = randomImage(random, type, 5, 4);
    EXPECT_TRUE(identical(averaged({first, first}, 0), first));
  }
}

TEST(Averaging, refusesASeriesThatDoesNotFitTogether) {
  const CPxImage first = gray8({{1, 2}, {3, 4}});
  for (const CPxImage& other : {CPxImage(), gray8({{1, 2, 3}, {3, 4, 5}}), gray8({{1, 2}}), gray16({{1, 2}, {3, 4}}),
                                picture(CM_RGB, 8, {{1, 1, 1, 2, 2, 2}, {1, 1, 1, 2, 2, 2}})}) {
    EXPECT_TRUE(identical(averaged({first, other}, 0), first));
    EXPECT_TRUE(identical(averaged({first, first, other}, 0), first));
  }
  CPxImage image = first, dst;
  CPxImageArray array;
  array.Add(&image);
  array.Add(nullptr);
  EXPECT_EQ(CPxAveraging(&array).AveragingAverage(dst), 0);
  EXPECT_TRUE(identical(dst, first));
}

TEST(Averaging, takesOtherModelsAndBitsOfTheSamePixels) {
  EXPECT_PICTURE(averaged({gray8({{2, 0}, {0, 0}}), picture(CM_INDEX, 4, {{4, 0}, {0, 0}})}), gray8({{3, 0}, {0, 0}}));
}

TEST(Averaging, withoutAFirstImageLeavesTheDestination) {
  CPxImage none, dst = gray8({{9}});
  CPxImageArray empty, noFirst, emptyFirst;
  noFirst.Add(nullptr);
  emptyFirst.Add(&none);
  for (CPxImageArray* array : {&empty, &noFirst, &emptyFirst, static_cast<CPxImageArray*>(nullptr)})
    EXPECT_EQ(CPxAveraging(array).Averaging(dst, 0), 0);
  empty.count = -1;
  EXPECT_EQ(CPxAveraging(&empty).Averaging(dst, 0), 0);
  EXPECT_EQ(CPxAveraging().Averaging(dst, 0), 0);
  EXPECT_PICTURE(dst, gray8({{9}}));
}

TEST(Averaging, ofModesOtherThanZeroIsInert) {
  CPxImage image = gray8({{1}}), dst = gray8({{9}});
  CPxImageArray array;
  array.Add(&image);
  CPxAveraging averaging(&array);
  for (const int mode : {1, -1, 2, INT_MIN}) EXPECT_EQ(averaging.Averaging(dst, mode), 0);
  EXPECT_EQ(averaging.AveragingAccumulation(dst), 0);
  EXPECT_EQ(averaging.AveragingMinMax(dst), 0);
  EXPECT_PICTURE(dst, gray8({{9}}));
  EXPECT_EQ(averaging.Averaging(dst, 0), 1);
  EXPECT_PICTURE(dst, image);
}

TEST(Averaging, ofImagesWithoutSamples) {
  for (const auto& [width, height] : {std::pair(0, 0), std::pair(3, 0), std::pair(0, 3)}) {
    const CPxImage image(CM_RGB, 8, width, height);
    EXPECT_TRUE(identical(averaged({image, image}), image));
  }
}

}  // namespace
}  // namespace rasterkit::test
