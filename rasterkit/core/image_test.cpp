#include <rasterkit/core/image.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using test::gray8;
using test::identical;
using test::picture;

void expectEmpty(const CPxImage& image) {
  EXPECT_EQ(image.IsCreated(), 0);
  EXPECT_EQ(image.colorModel, 0);
  EXPECT_EQ(image.channels, 0);
  EXPECT_EQ(image.bitsPerSample, 0);
  EXPECT_EQ(image.channelBits, nullptr);
  EXPECT_EQ(image.width, 0);
  EXPECT_EQ(image.height, 0);
  EXPECT_EQ(image.bytesPerLine, 0);
  EXPECT_EQ(image.bufferSize, 0);
  EXPECT_EQ(image.GetBuffer(), nullptr);
  EXPECT_EQ(image.Get2DBuffer(), nullptr);
  EXPECT_EQ(image.palette.GetPaletteNum(), 0);
}

TEST(Image, beginsEmpty) { expectEmpty(CPxImage()); }

TEST(Image, createSetsEveryMember) {
  CPxImage image(CM_RGB, 16, 3, 2, 5);
  EXPECT_TRUE(image.IsCreated());
  EXPECT_EQ(image.colorModel, CM_RGB);
  EXPECT_EQ(image.channels, 3);
  EXPECT_EQ(image.bitsPerSample, 16);
  EXPECT_EQ(image.width, 3);
  EXPECT_EQ(image.height, 2);
  EXPECT_EQ(image.bytesPerLine, 20);  // 18 bytes of samples
  EXPECT_EQ(image.bufferSize, 40);
  EXPECT_EQ(image.palette.GetPaletteNum(), 5);
  for (int channel = 0; channel < 3; ++channel) EXPECT_EQ(image.channelBits[channel], 16);
  auto* const block = static_cast<unsigned char*>(image.GetBuffer());
  EXPECT_EQ(image.Get2DBuffer()[0], block);
  EXPECT_EQ(image.Get2DBuffer()[1], block + 20);
  for (int i = 0; i < 40; ++i) EXPECT_EQ(block[i], 0);
}

TEST(Image, theRowStrideIsTheLeastMultipleOfFourThatHoldsARow) {
  for (int width = 1; width <= 9; ++width) {
    EXPECT_EQ(CPxImage(CM_GRAY, 8, width, 1).bytesPerLine, (width + 3) / 4 * 4);
    EXPECT_EQ(CPxImage(CM_RGB, 8, width, 1).bytesPerLine, (3 * width + 3) / 4 * 4);
    EXPECT_EQ(CPxImage(CM_GRAY, 16, width, 1).bytesPerLine, (2 * width + 3) / 4 * 4);
    EXPECT_EQ(CPxImage(CM_GRAY, 32, width, 1).bytesPerLine, 4 * width);
  }
}

TEST(Image, bitsChooseTheSampleWidth) {
  for (const auto& [bits, bytes] :
       {std::pair{0, 1}, {1, 1}, {8, 1}, {9, 2}, {16, 2}, {17, 4}, {32, 4}, {33, 4}, {64, 4}})
    EXPECT_EQ(CPxImage(CM_GRAY, bits, 4, 1).bytesPerLine, 4 * bytes) << bits;
}

TEST(Image, theBlockIsAlignedForTheWidestVectors) {
  for (const auto& [width, height] : {std::pair{1, 1}, {9, 3}, {65, 2}, {1000, 900}, {2049, 2049}, {4100, 3001}})
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(CPxImage(CM_GRAY, 8, width, height).GetBuffer()) % 64, 0u);
}

TEST(Image, createClearsAndKeepsABlockOfTheSameShape) {
  CPxImage image = gray8({{1, 2}, {3, 4}});
  const void* const block = image.GetBuffer();
  image.SetBitsPerSampleEx(std::vector<int>{5}.data());
  image.Create(CM_GRAY, 8, 2, 2);
  EXPECT_EQ(image.GetBuffer(), block);
  EXPECT_EQ(image.channelBits[0], 8);
  for (int i = 0; i < image.bufferSize; ++i) EXPECT_EQ(static_cast<unsigned char*>(image.GetBuffer())[i], 0);
}

TEST(Image, aRefusedCreateLeavesItEmptyWhateverItHeld) {
  const struct {
    int model, bits, width, height;
  } refused[] = {{CM_GRAY, 8, -1, 4}, {CM_GRAY, 8, 4, -1}, {CM_GRAY, -1, 4, 4}, {5, 8, 4, 4},
                 {9, 8, 4, 4},        {23, 8, 4, 4},       {-1, 8, 4, 4},       {CM_GRAY, INT_MIN, INT_MIN, INT_MIN}};
  for (const auto& [model, bits, width, height] : refused) {
    CPxImage image = picture(CM_RGB, 8, {{1, 2, 3}});
    image.Create(static_cast<COLOR_MODEL>(model), bits, width, height);
    expectEmpty(image);
  }
}

TEST(Image, aSizeThatOverflowsThrowsAndLeavesItEmpty) {
  for (const auto& [model, bits, width, height] : {std::tuple{CM_RGBA, 32, INT_MAX, INT_MAX},
                                                   {CM_GRAY, 8, INT_MAX, 1},
                                                   {CM_GRAY, 8, 65536, 65536},
                                                   {CM_RGBA, 32, INT_MAX, 0}}) {
    CPxImage image = gray8({{1}});
    EXPECT_THROW(image.Create(model, bits, width, height), std::bad_alloc);
    expectEmpty(image);
  }
}

TEST(Image, imagesWithoutRowsOrColumnsAreCreated) {
  const CPxImage noColumns(CM_GRAY, 8, 0, 3), noRows(CM_GRAY, 8, 3, 0), manyEmptyRows(CM_GRAY, 8, 0, INT_MAX);
  EXPECT_TRUE(noColumns.IsCreated());
  EXPECT_TRUE(noRows.IsCreated());
  EXPECT_TRUE(manyEmptyRows.IsCreated());
  EXPECT_EQ(noColumns.bufferSize, 0);
  EXPECT_EQ(noRows.bufferSize, 0);
}

TEST(Image, copiesAreDeep) {
  CPxImage original = picture(CM_RGB, 8, {{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}});
  original.SetBitsPerSampleEx(std::vector<int>{5, 6, 5}.data());
  original.palette = CPxPalette(4);
  original.palette.SetGrayPalette();
  const CPxImage& readOnly = original;
  CPxImage copy(readOnly), assigned = gray8({{9}});
  assigned = readOnly;
  EXPECT_TRUE(identical(copy, original));
  EXPECT_TRUE(identical(assigned, original));
  EXPECT_NE(copy.GetBuffer(), original.GetBuffer());
  EXPECT_NE(copy.channelBits, original.channelBits);
  EXPECT_NE(copy.palette.GetPalette(), original.palette.GetPalette());
  test::setSample(copy, 0, 0, 0, 99);
  EXPECT_EQ(test::sampleAt(original, 0, 0, 0), 1);
}

TEST(Image, assigningAnImageToItselfChangesNothing) {
  CPxImage image = gray8({{1, 2}, {3, 4}});
  const CPxImage before = image;
  CPxImage& same = image;
  image = same;
  EXPECT_TRUE(identical(image, before));
  image = std::move(same);
  EXPECT_TRUE(identical(image, before));
}

TEST(Image, assigningAnEmptyImageEmpties) {
  CPxImage image = gray8({{1}});
  image = CPxImage();
  expectEmpty(image);
  image = gray8({{1}});
  const CPxImage empty;
  image = empty;
  expectEmpty(image);
}

TEST(Image, movesLeaveTheSourceEmpty) {
  static_assert(std::is_nothrow_move_constructible_v<CPxImage> && std::is_nothrow_move_assignable_v<CPxImage>);
  CPxImage image = gray8({{1, 2}});
  const void* const block = image.GetBuffer();
  CPxImage moved = std::move(image);
  EXPECT_EQ(moved.GetBuffer(), block);
  EXPECT_EQ(moved.channelBits[0], 8);
  expectEmpty(image);  // NOLINT(bugprone-use-after-move): that is what is tested
  image = std::move(moved);
  EXPECT_EQ(image.GetBuffer(), block);
  expectEmpty(moved);  // NOLINT(bugprone-use-after-move)
}

TEST(Image, aCopyOfAnImageWhoseMembersLieIsEmpty) {
  CPxImage liar = gray8({{1, 2}, {3, 4}});
  liar.height = 1000;
  CPxImage copy(liar);
  expectEmpty(copy);
}

TEST(Image, aCopyKeepsMembersThatACallerChangedWithinTheBlock) {
  CPxImage odd = gray8({{1, 2, 3, 4}});
  odd.colorModel = CM_RGB;
  odd.bitsPerSample = 5;
  const CPxImage copy(odd);
  EXPECT_EQ(copy.colorModel, CM_RGB);
  EXPECT_EQ(copy.channels, 1);
  EXPECT_EQ(copy.bitsPerSample, 5);
  EXPECT_EQ(std::memcmp(copy.GetBuffer(), odd.GetBuffer(), 4), 0);
}

TEST(Image, livesInAVector) {
  std::vector<CPxImage> images;
  for (int i = 0; i < 20; ++i) images.push_back(gray8({{double(i)}}));
  images.erase(images.begin());
  for (int i = 0; i < 19; ++i) EXPECT_EQ(test::sampleAt(images[std::size_t(i)], 0, 0), i + 1);
}

TEST(Image, setPixelStoresInsideOneChannelBytesOnly) {
  CPxImage image(CM_GRAY, 8, 3, 2);
  image.SetPixel(2, 1, 77);
  EXPECT_PICTURE(image, gray8({{0, 0, 0}, {0, 0, 77}}));
  for (const auto& [x, y] : {std::pair{-1, 0}, {3, 0}, {0, -1}, {0, 2}, {INT_MAX, INT_MIN}}) image.SetPixel(x, y, 99);
  EXPECT_PICTURE(image, gray8({{0, 0, 0}, {0, 0, 77}}));
  CPxImage colour(CM_RGB, 8, 1, 1), words(CM_GRAY, 16, 1, 1), empty;
  colour.SetPixel(0, 0, 9);
  words.SetPixel(0, 0, 9);
  empty.SetPixel(0, 0, 9);
  EXPECT_PICTURE(colour, picture(CM_RGB, 8, {{0, 0, 0}}));
  EXPECT_PICTURE(words, test::gray16({{0}}));
}

TEST(Image, setPixelStaysInsideItsRowWhateverTheMembersSay) {
  for (const int width : {5, 1000, INT_MAX, INT_MIN}) {
    CPxImage image(CM_GRAY, 8, 4, 2);
    image.width = width;
    for (const int x : {4, 5, 500, 1 << 30}) image.SetPixel(x, 0, 77);
    image.width = 4;
    EXPECT_TRUE(identical(image, CPxImage(CM_GRAY, 8, 4, 2))) << width;
  }
  test::Random random(3);
  for (int i = 0; i < 2000; ++i) {  // no result is asked for: the sanitizers see what lies outside
    CPxImage image = randomImage(random, random.pick(test::pixelTypes()), random.between(0, 9), random.between(0, 9));
    overwriteMembers(random, image);
    image.SetPixel(random.between(0, 4000), random.between(0, 10), 1);
    image.SetBitsPerSampleEx(std::vector<int>{5, 6, 5, 1}.data());
    image.Create(CM_GRAY, 8, 2, 1);
    EXPECT_TRUE(identical(image, CPxImage(CM_GRAY, 8, 2, 1)));
  }
}

TEST(Image, aKeptBlocksRowTableIsWrittenAnew) {
  CPxImage image(CM_GRAY, 8, 4, 2);
  const CPxImage other = gray8({{1, 2, 3, 4}, {5, 6, 7, 8}});
  for (const bool copied : {false, true}) {
    std::swap(image.Get2DBuffer()[0], image.Get2DBuffer()[1]);
    if (copied) {
      image = other;
    } else {
      image.Create(CM_GRAY, 8, 4, 2);
    }
    EXPECT_EQ(image.Get2DBuffer()[0], image.GetBuffer());
    EXPECT_EQ(image.Get2DBuffer()[1], static_cast<unsigned char*>(image.GetBuffer()) + 4);
  }
}

TEST(Image, itsMembersStandInTheOrderThatTheHeaderGives) {
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#endif
  const std::size_t offsets[] = {
      offsetof(CPxImage, colorModel),   offsetof(CPxImage, channels),   offsetof(CPxImage, bitsPerSample),
      offsetof(CPxImage, channelBits),  offsetof(CPxImage, width),      offsetof(CPxImage, height),
      offsetof(CPxImage, bytesPerLine), offsetof(CPxImage, bufferSize), offsetof(CPxImage, palette)};
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
  EXPECT_TRUE(std::ranges::is_sorted(offsets));
}

TEST(Image, channelBitsAreCopiedOneAChannel) {
  CPxImage image(CM_RGB, 8, 1, 1);
  const int bits[] = {5, 6, 4};
  image.SetBitsPerSampleEx(bits);
  EXPECT_EQ(image.channelBits[0], 5);
  EXPECT_EQ(image.channelBits[1], 6);
  EXPECT_EQ(image.channelBits[2], 4);
  image.SetBitsPerSampleEx(nullptr);
  EXPECT_EQ(image.channelBits[1], 6);
  CPxImage().SetBitsPerSampleEx(bits);
  int foreign[2] = {1, 2};  // not the image's own, and too few
  image.channelBits = foreign;
  image.SetBitsPerSampleEx(bits);
  EXPECT_EQ(foreign[0], 1);
  EXPECT_EQ(foreign[1], 2);
}

TEST(Palette, grayRampRunsFromBlackToWhite) {
  CPxPalette palette(4);
  palette.SetGrayPalette();
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(palette.GetPaletteItem(i)->red, i * 85);
    EXPECT_EQ(palette.GetPaletteItem(i)->green, i * 85);
    EXPECT_EQ(palette.GetPaletteItem(i)->blue, i * 85);
    EXPECT_EQ(palette.GetPaletteItem(i)->reserved, 0);
  }
  CPxPalette eight(8);
  eight.SetGrayPalette();
  EXPECT_EQ(eight.GetPaletteItem(1)->red, 36);  // 255 / 7 truncated
  CPxPalette one(1);
  one.SetGrayPalette();
  EXPECT_EQ(one.GetPaletteItem(0)->red, 0);
  CPxPalette none(-3);
  none.SetGrayPalette();
  EXPECT_EQ(none.GetPaletteNum(), 0);
  EXPECT_EQ(none.GetPalette(), nullptr);
}

TEST(Palette, copiesAreDeep) {
  CPxPalette palette(2);
  palette.GetPaletteItem(1)->red = 7;
  CPxPalette copy = palette;
  palette.GetPaletteItem(1)->red = 9;
  ASSERT_EQ(copy.GetPaletteNum(), 2);
  EXPECT_EQ(copy.GetPaletteItem(1)->red, 7);
  palette = copy;
  copy.GetPaletteItem(1)->red = 8;
  EXPECT_EQ(palette.GetPaletteItem(1)->red, 7);
}

TEST(Palette, itemsOutsideAreNullAndNewOnesAreZero) {
  CPxPalette palette(2);
  EXPECT_EQ(palette.GetPaletteItem(-1), nullptr);
  EXPECT_EQ(palette.GetPaletteItem(2), nullptr);
  for (int i = 0; i < 2; ++i) {
    const tagRGBA item = *palette.GetPaletteItem(i);
    EXPECT_EQ(item.blue + item.green + item.red + item.reserved, 0);
  }
  static_assert(sizeof(tagPXG2) == 2 && sizeof(tagPXG3) == 3 && sizeof(tagPXG4) == 4);
  static_assert(sizeof(tagPXGW2) == 4 && sizeof(tagPXGW3) == 6 && sizeof(tagPXGW4) == 8);
  static_assert(sizeof(tagPXGF2) == 8 && sizeof(tagPXGF3) == 12 && sizeof(tagPXGF4) == 16);
  static_assert(sizeof(tagRGBA) == 4 && offsetof(tagRGBA, blue) == 0 && offsetof(tagRGBA, green) == 1 &&
                offsetof(tagRGBA, red) == 2 && offsetof(tagRGBA, reserved) == 3);
}

TEST(ImageInfo, channelsOfEveryModel) {
  const int expected[] = {1, 1, 1, 1, 2, 0, 0, 0, 0, 0, 3, 4, 4, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3};
  for (int model = 0; model <= 22; ++model)
    EXPECT_EQ(CPxImageInfo::GetChannel(static_cast<COLOR_MODEL>(model)), expected[model]) << model;
  EXPECT_EQ(CPxImageInfo::GetChannel(static_cast<COLOR_MODEL>(23)), 0);
  EXPECT_EQ(CPxImageInfo::GetChannel(static_cast<COLOR_MODEL>(-1)), 0);
  CPxImage image;
  EXPECT_EQ(CPxImageInfo(&image).GetImage(), &image);
}

TEST(ImageArray, pointsAtImagesAndGivesNullOutside) {
  CPxImage a, b;
  CPxImageArray images;
  EXPECT_EQ(images.count, 0);
  images.Add(&a);
  images.Add(&b);
  EXPECT_EQ(images.count, 2);
  EXPECT_EQ(images.GetAt(1), &b);
  EXPECT_EQ(images.GetAt(2), nullptr);
  EXPECT_EQ(images.GetAt(-1), nullptr);
  images.count = 9;  // a member that anybody may write
  EXPECT_EQ(images.GetAt(5), nullptr);
  images.RemoveAll();
  EXPECT_EQ(images.count, 0);
  EXPECT_EQ(images.GetAt(0), nullptr);
}

TEST(Predicates, compareModelAndSampleClass) {
  using Predicate = int (*)(const CPxImage*);
  const struct {
    Predicate predicate;
    int model, least, most;
  } rules[] = {{PXISBITMAP, 0, 0, 8}, {PXISGRAY, 1, 0, 8},     {PXISGRAY16, 1, 9, 16}, {PXISINDEX, 3, 0, 8},
               {PXISGRAYA, 4, 0, 8},  {PXISGRAYA16, 4, 9, 16}, {PXISRGB, 10, 0, 8},    {PXISRGB16, 10, 9, 16},
               {PXISRGBA, 11, 0, 8},  {PXISRGBA16, 11, 9, 16}, {PXISCMYK, 12, 0, 8},   {PXISHSI, 13, 17, 32},
               {PXISHSV, 14, 17, 32}, {PXISHLS, 15, 17, 32},   {PXISXYZ, 16, 17, 32},  {PXISYUV, 17, 17, 32},
               {PXISYIQ, 18, 17, 32}, {PXISYCbCr, 19, 17, 32}, {PXISLUV, 20, 17, 32},  {PXISLab, 21, 17, 32},
               {PXISLOGL, 2, 17, 32}, {PXISLOGLUV, 22, 17, 32}};
  for (int model = 0; model <= 22; ++model) {
    if (CPxImageInfo::GetChannel(static_cast<COLOR_MODEL>(model)) == 0) continue;
    for (const int bits : {0, 1, 8, 9, 16, 17, 32, 33}) {
      const CPxImage image(static_cast<COLOR_MODEL>(model), bits, 2, 2);
      for (const auto& rule : rules)
        EXPECT_EQ(rule.predicate(&image) != 0, model == rule.model && bits >= rule.least && bits <= rule.most)
            << "model " << model << ", " << bits << " bits, rule of model " << rule.model;
    }
  }
  const CPxImage empty;  // its model reads as CM_BITMAP
  for (const auto& rule : rules) {
    EXPECT_EQ(rule.predicate(nullptr), 0);
    EXPECT_EQ(rule.predicate(&empty), 0);
  }
}

TEST(Predicates, compareSizes) {
  const CPxImage a(CM_GRAY, 8, 3, 2), b(CM_RGB, 16, 3, 2), c(CM_GRAY, 8, 2, 3), empty;
  EXPECT_TRUE(PXCOMPARE_SIZE(&a, &b));
  EXPECT_FALSE(PXCOMPARE_SIZE(&a, &c));
  EXPECT_FALSE(PXCOMPARE_SIZE(&a, nullptr));
  EXPECT_FALSE(PXCOMPARE_SIZE(nullptr, &a));
  EXPECT_FALSE(PXCOMPARE_SIZE(&empty, &empty));
}

}  // namespace
}  // namespace rasterkit
