#include <rasterkit/core/processing_base.h>

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using test::gray16;
using test::gray8;
using test::identical;
using test::picture;
using test::rgb8;

TEST(ProcessingBase, storesPointersAndChecksNothing) {
  static_assert(!std::is_polymorphic_v<CPxImageProcessingBase>);
  CPxImage image, mask = gray8({{1, 2}});
  CPxImageArray array;
  CPxImageProcessingBase none, onImage(&image, &mask), onArray(&array, &mask);
  EXPECT_EQ(none.GetImage(), nullptr);
  EXPECT_EQ(none.GetImageArray(), nullptr);
  EXPECT_EQ(none.GetAOIImage(), nullptr);
  EXPECT_EQ(onImage.GetImage(), &image);
  EXPECT_EQ(onImage.GetAOIImage(), &mask);
  EXPECT_EQ(onImage.GetImageArray(), nullptr);
  EXPECT_EQ(onArray.GetImageArray(), &array);
  EXPECT_EQ(onArray.GetImage(), nullptr);
  onArray.SetImage(&image);
  onArray.SetImageArray(nullptr);
  onArray.SetAOIImage(nullptr);
  EXPECT_EQ(onArray.GetImage(), &image);
  EXPECT_EQ(onArray.GetImageArray(), nullptr);
  onImage.SetImageArray(&array);
  EXPECT_EQ(&(none = onImage), &none);
  EXPECT_EQ(none.GetImage(), &image);
  EXPECT_EQ(none.GetImageArray(), &array);
  EXPECT_EQ(none.GetAOIImage(), &mask);
}

TEST(ProcessingBase, theConstFormGivesTheMasksRows) {
  CPxImage mask = gray8({{1, 2}, {3, 4}});
  const CPxImageProcessingBase with(static_cast<CPxImage*>(nullptr), &mask), without;
  EXPECT_EQ(with.GetAOIImage(), reinterpret_cast<unsigned char**>(mask.Get2DBuffer()));
  EXPECT_EQ(with.GetAOIImage()[1][0], 3);
  EXPECT_EQ(without.GetAOIImage(), nullptr);
}

TEST(GetPlane, takesOneChannelAsGrey) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}}), out = gray8({{9}});
  image.palette = CPxPalette(3);
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(2, out), 1);
  EXPECT_PICTURE(out, gray8({{3, 6}, {9, 12}}));
  EXPECT_EQ(out.palette.GetPaletteNum(), 0);
}

TEST(GetPlane, ofOneChannelGivesZeroAndLeavesOutUntouched) {
  CPxImage image = gray8({{1, 2}}), out = rgb8({{1, 2, 3}});
  const CPxImage before = out;
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(0, out), 0);
  EXPECT_TRUE(identical(out, before));
}

TEST(GetPlane, ofThePlaneAfterTheLastOrANegativeOneGivesZeros) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}});
  for (const int plane : {3, -1, INT_MIN}) {
    CPxImage out = gray8({{7, 7}});
    EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(plane, out), 1);
    EXPECT_TRUE(identical(out, CPxImage(CM_GRAY, 8, 2, 1))) << plane;
  }
  CPxImage out = gray8({{7}});
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(4, out), 0);
  EXPECT_PICTURE(out, gray8({{7}}));
}

TEST(GetPlane, beyondThirtyTwoBitsIsCreatedAndZero) {
  CPxImage image(CM_RGB, 33, 2, 2), out;
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(1, out), 1);
  EXPECT_TRUE(identical(out, CPxImage(CM_GRAY, 33, 2, 2)));
}

TEST(GetPlane, countsTheChannelsOfTheModel) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}}), out;
  image.channels = 1;
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(1, out), 1);
  EXPECT_PICTURE(out, gray8({{2, 5}}));
}

TEST(GetPlane, ofAnUnknownModelHasNoPlaneToCopy) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}}), out = gray8({{7}});
  image.colorModel = static_cast<COLOR_MODEL>(7);
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(1, out), 0);
  EXPECT_PICTURE(out, gray8({{7}}));
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(0, out), 1);
  EXPECT_TRUE(identical(out, CPxImage(CM_GRAY, 8, 2, 1)));
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(0, out), 1);
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(1, out), 0);
  image.colorModel = CM_RGB;
  EXPECT_PICTURE(image, rgb8({{1, 2, 3, 4, 5, 6}}));
}

TEST(Planes, ofFewerThanNoBitsGiveZero) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}}), out = gray8({{7}}), plane = gray8({{50, 60}});
  image.bitsPerSample = -1;  // no image of such bits can be created
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(1, out), 0);
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(1, plane), 0);
  image.bitsPerSample = 8;
  plane.bitsPerSample = -1;
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(1, plane), 0);
  EXPECT_PICTURE(out, gray8({{7}}));
  EXPECT_PICTURE(image, rgb8({{1, 2, 3, 4, 5, 6}}));
}

TEST(GetPlane, intoTheSourceItself) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}});
  EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(1, image), 1);
  EXPECT_PICTURE(image, gray8({{2, 5}}));
}

// More than caches hold is written past them, in pieces that end where lines of memory do.
TEST(GetPlane, ofLargeImagesIsTheSame) {
  CPxImage image(CM_RGB, 32, 2051, 2060), out;
  const auto row = [](CPxImage& of, int y) { return static_cast<float*>(of.Get2DBuffer()[y]); };
  for (int y = 0; y < image.height; ++y)
    for (int i = 0; i < 3 * image.width; ++i) row(image, y)[i] = static_cast<float>(i ^ y);
  ASSERT_EQ(CPxImageProcessingBase(&image).GetPlane(2, out), 1);
  int wrong = 0;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) wrong += row(out, y)[x] != row(image, y)[3 * x + 2];
  EXPECT_EQ(wrong, 0);
}

TEST(SetPlane, replacesOneChannel) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}}), plane = gray8({{50, 60}});
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(1, plane), 1);
  EXPECT_PICTURE(image, rgb8({{1, 50, 3, 4, 60, 6}}));
}

TEST(SetPlane, beyondThirtyTwoBitsChangesNothing) {
  CPxImage image(CM_RGB, 33, 2, 2), plane(CM_GRAY, 33, 2, 2), other(CM_GRAY, 33, 2, 1);
  for (int i = 0; i < plane.bufferSize; ++i) static_cast<unsigned char*>(plane.GetBuffer())[i] = 7;
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(1, plane), 1);
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(1, other), 0);
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(4, plane), 0);
  EXPECT_TRUE(identical(image, CPxImage(CM_RGB, 33, 2, 2)));
}

TEST(SetPlane, afterGetPlaneLeavesTheImageUnchanged) {
  test::Random random(1);
  for (const auto type : test::pixelTypes()) {
    CPxImage image = randomImage(random, type, 21, 5), plane;
    if (image.channels == 1) continue;
    const CPxImage before = image;
    for (int channel = 0; channel < image.channels; ++channel) {
      EXPECT_EQ(CPxImageProcessingBase(&image).GetPlane(channel, plane), 1);
      EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(channel, plane), 1);
      EXPECT_TRUE(identical(image, before));
    }
  }
}

TEST(SetPlane, refusesAnotherSizeOneChannelAndAPlaneTooHigh) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}}), wide = gray8({{1, 2, 3}}), high = gray8({{1, 2}, {3, 4}}),
           plane = gray8({{8, 9}});
  const CPxImage before = image;
  CPxImageProcessingBase base(&image);
  EXPECT_EQ(base.SetPlane(0, wide), 0);
  EXPECT_EQ(base.SetPlane(0, high), 0);
  EXPECT_EQ(base.SetPlane(4, plane), 0);
  EXPECT_TRUE(identical(image, before));
  EXPECT_EQ(base.SetPlane(3, plane), 1);
  EXPECT_EQ(base.SetPlane(-1, plane), 1);
  EXPECT_TRUE(identical(image, before));
  CPxImage gray = gray8({{1, 2}});
  EXPECT_EQ(CPxImageProcessingBase(&gray).SetPlane(0, plane), 0);
}

TEST(SetPlane, readsTheRowsAsTheImagesSampleType) {
  CPxImage image(CM_GRAYA, 16, 2, 1), bytes = gray8({{1, 2}}), pairs = picture(CM_GRAYA, 8, {{1, 2, 3, 4}});
  // A pixel with fewer bytes than one sample is refused, but only where something would be copied.
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(0, bytes), 0);
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(2, bytes), 1);
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(0, pairs), 1);
  EXPECT_PICTURE(image, picture(CM_GRAYA, 16, {{1 + 256 * 2, 0, 3 + 256 * 4, 0}}));
}

TEST(SetPlane, fromTheImageItselfReadsItsRowAsItWas) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6, 7, 8, 9}});
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(0, image), 1);
  EXPECT_PICTURE(image, rgb8({{1, 2, 3, 2, 5, 6, 3, 8, 9}}));
}

TEST(Planes, withoutImagesGiveZero) {
  CPxImageProcessingBase none;
  CPxImage plane = gray8({{1}}), empty, image = rgb8({{1, 2, 3}});
  EXPECT_EQ(none.GetPlane(0, plane), 0);
  EXPECT_EQ(none.SetPlane(0, plane), 0);
  EXPECT_PICTURE(plane, gray8({{1}}));
  EXPECT_EQ(CPxImageProcessingBase(&empty).GetPlane(0, plane), 0);
  EXPECT_EQ(CPxImageProcessingBase(&empty).SetPlane(0, plane), 0);
  EXPECT_EQ(CPxImageProcessingBase(&image).SetPlane(0, empty), 0);
}

}  // namespace
}  // namespace rasterkit
