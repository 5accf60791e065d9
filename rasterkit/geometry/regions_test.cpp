#include <rasterkit/geometry/regions.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

const CRect kOutside[] = {CRect(4, 0, 9, 9),
                          CRect(-9, 0, -1, 9),
                          CRect(0, 3, 9, 9),
                          CRect(0, -9, 9, -1),
                          CRect(INT_MIN, INT_MIN, -1, INT_MAX),
                          CRect(INT_MAX, 0, INT_MAX, 2)};

// 4 x 3, each sample names its place.
CPxImage places() {
  return gray8({{10, 11, 12, 13},  //
                {20, 21, 22, 23},
                {30, 31, 32, 33}});
}

CPxImage ramp(int width, int height) {
  CPxImage image(CM_GRAY, 16, width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) setSample(image, x, y, 0, y * 256 + x);
  return image;
}

CPxImage empty() { return CPxImage(); }

// Crop ----------------------------------------------------------------------------------------------------------------

TEST(Crop, keepsTheRectangleWithItsLastColumnAndRow) {
  CPxImage image = places();
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(1, 0, 2, 1)), 1);
  EXPECT_PICTURE(image, gray8({{11, 12}, {21, 22}}));
}

TEST(Crop, takesEdgesInEitherOrder) {
  CPxImage image = places();
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(2, 1, 1, 0)), 1);
  EXPECT_PICTURE(image, gray8({{11, 12}, {21, 22}}));
}

TEST(Crop, isCutAtTheImagesEdges) {
  CPxImage image = ramp(100, 100);
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(-5, -5, 9, 9)), 1);
  EXPECT_TRUE(identical(image, ramp(10, 10)));

  image = places();
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(INT_MAX, INT_MAX, INT_MIN, INT_MIN)), 1);
  EXPECT_TRUE(identical(image, places()));
}

TEST(Crop, keepsOneColumnAndOneRow) {
  CPxImage image = places();
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(3, 0, 3, 2)), 1);
  EXPECT_PICTURE(image, gray8({{13}, {23}, {33}}));
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(0, 2, 0, 2)), 1);
  EXPECT_PICTURE(image, gray8({{33}}));
}

TEST(Crop, refusesARectangleOutside) {
  for (const CRect& rect : kOutside) {
    CPxImage image = places();
    EXPECT_EQ(CPxMiscProcessing(&image).Crop(rect), 0);
    EXPECT_TRUE(identical(image, places()));
  }
  CPxImage wide = ramp(100, 10);
  EXPECT_EQ(CPxMiscProcessing(&wide).Crop(CRect(120, 0, 130, 9)), 0);
  EXPECT_TRUE(identical(wide, ramp(100, 10)));
}

TEST(Crop, givesANewImageWithThePalette) {
  CPxImage image(CM_INDEX, 8, 5, 2, 4);
  *image.palette.GetPaletteItem(2) = {1, 2, 3, 4};
  image.channelBits[0] = 3;
  std::memset(image.GetBuffer(), 7, static_cast<std::size_t>(image.bufferSize));
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(0, 0, 2, 0)), 1);
  EXPECT_EQ(image.colorModel, CM_INDEX);
  EXPECT_EQ(image.palette.GetPaletteNum(), 4);
  EXPECT_EQ(image.palette.GetPaletteItem(2)->red, 3);
  EXPECT_EQ(image.channelBits[0], 8);
  EXPECT_EQ(static_cast<unsigned char*>(image.GetBuffer())[2], 7);
  EXPECT_EQ(static_cast<unsigned char*>(image.GetBuffer())[3], 0) << "padding";
}

TEST(Crop, ofAnImageWithoutColumnsTouchesNothing) {
  CPxImage image(CM_GRAY, 8, 0, 3);
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(0, 0, 1, 1)), 0);
  EXPECT_EQ(CPxMiscProcessing(&image).Crop(CRect(-2, 0, 1, 1)), 1);
  EXPECT_EQ(image.width, 0);
  EXPECT_EQ(image.height, 2);
}

TEST(Crop, refusesFewerThanNoBits) {
  // Bytes, but no image of such bits can be created: neither for a small part nor for most of the image.
  for (const CRect& rect : {CRect(0, 0, 0, 0), CRect(0, 0, 3, 1)}) {
    CPxImage image = places();
    image.bitsPerSample = -5;
    EXPECT_EQ(CPxMiscProcessing(&image).Crop(rect), 0);
    image.bitsPerSample = 8;
    EXPECT_TRUE(identical(image, places()));
  }
}

// CopyTo --------------------------------------------------------------------------------------------------------------

TEST(CopyTo, putsTheRectangleAtTheTopLeft) {
  CPxImage image = places(), dst = gray8({{0, 0, 9}, {0, 0, 9}, {9, 9, 9}});
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(dst, CRect(1, 1, 2, 2)), 1);
  EXPECT_PICTURE(dst, gray8({{21, 22, 9}, {31, 32, 9}, {9, 9, 9}}));
  EXPECT_TRUE(identical(image, places()));
}

TEST(CopyTo, isCutAtTheImagesEdges) {
  CPxImage image = ramp(100, 100), dst(CM_GRAY, 16, 20, 20);
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(dst, CRect(90, 90, 200, 200)), 1);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x)
      EXPECT_EQ(sampleAt(dst, x, y), x < 10 && y < 10 ? (90 + y) * 256 + 90 + x : 0) << x << ' ' << y;
}

TEST(CopyTo, countsFromTheRectanglesCornerAlsoOutsideTheImage) {
  CPxImage image = places(), dst(CM_GRAY, 8, 4, 3);
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(dst, CRect(-1, -2, 1, 1)), 1);
  EXPECT_PICTURE(dst, gray8({{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 10, 11, 0}}));
}

TEST(CopyTo, refusesOneColumnOneRowAndAStartInTheLast) {
  CPxImage image = ramp(100, 100), dst = ramp(100, 100);
  CPxMiscProcessing misc(&image);
  for (const CRect& rect : {CRect(10, 10, 10, 40), CRect(10, 10, 40, 10), CRect(99, 0, 120, 50), CRect(0, 99, 50, 120),
                            CRect(40, 10, 10, 40), CRect(10, 40, 40, 10), CRect(-9, 0, 0, 9), CRect(0, -9, 9, 0),
                            CRect(-1, -1, -1, -1), CRect(INT_MAX, INT_MAX, INT_MIN, INT_MIN)}) {
    EXPECT_EQ(misc.CopyTo(dst, rect), 0) << rect.left << ' ' << rect.top << ' ' << rect.right << ' ' << rect.bottom;
    EXPECT_EQ(misc.PasteFrom(dst, rect), 0);
    EXPECT_EQ(misc.PasteFrom(dst, rect, dst), 0);
  }
  EXPECT_TRUE(identical(dst, ramp(100, 100)));
  EXPECT_TRUE(identical(image, ramp(100, 100)));
}

TEST(CopyTo, refusesEverythingOfOneColumnOrRow) {
  CPxImage column(CM_GRAY, 8, 1, 5), dst(CM_GRAY, 8, 5, 5);
  EXPECT_EQ(CPxMiscProcessing(&column).CopyTo(dst, CRect(0, 0, 4, 4)), 0);
  CPxImage row(CM_GRAY, 8, 5, 1);
  EXPECT_EQ(CPxMiscProcessing(&row).CopyTo(dst, CRect(0, 0, 4, 4)), 0);
}

TEST(CopyTo, fillsOnlyWhatTheDestinationHas) {
  CPxImage image = places(), dst(CM_GRAY, 8, 2, 1);
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(dst, CRect(1, 0, 3, 2)), 1);
  EXPECT_PICTURE(dst, gray8({{11, 12}}));
  CPxImage none(CM_GRAY, 8, 0, 0);
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(none, CRect(1, 0, 3, 2)), 1);
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(dst, CRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX)), 1);
  EXPECT_PICTURE(dst, gray8({{11, 12}}));
}

TEST(CopyTo, takesPartnersWithAPixelOfAsManyBytes) {
  CPxImage image = gray16({{0x0201, 0x0403}, {0x0605, 0x0807}}), dst(CM_GRAYA, 8, 2, 2);
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(dst, CRect(0, 0, 1, 1)), 1);
  EXPECT_PICTURE(dst, picture(CM_GRAYA, 8, {{1, 2, 3, 4}, {5, 6, 7, 8}}));

  CPxImage other(CM_GRAY, 8, 2, 2);
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(other, CRect(0, 0, 1, 1)), 0);
  EXPECT_PICTURE(other, gray8({{0, 0}, {0, 0}}));
}

TEST(CopyTo, withinOneImageReadsBeforeItWrites) {
  CPxImage image = places();
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(image, CRect(1, 1, 3, 2)), 1);
  EXPECT_PICTURE(image, gray8({{21, 22, 23, 13}, {31, 32, 33, 23}, {30, 31, 32, 33}}));
  image = places();
  EXPECT_EQ(CPxMiscProcessing(&image).CopyTo(image, CRect(-1, -1, 3, 2)), 1);
  EXPECT_PICTURE(image, gray8({{10, 11, 12, 13}, {20, 10, 11, 12}, {30, 20, 21, 22}}));
}

// PasteFrom -----------------------------------------------------------------------------------------------------------

TEST(PasteFrom, putsTheOtherImageIntoTheRectangle) {
  CPxImage image = places(), src = gray8({{1, 2, 3}, {4, 5, 6}});
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(src, CRect(1, 1, 2, 2)), 1);
  EXPECT_PICTURE(image, gray8({{10, 11, 12, 13}, {20, 1, 2, 23}, {30, 4, 5, 33}}));
}

TEST(PasteFrom, countsFromTheRectanglesCornerAlsoOutsideTheImage) {
  CPxImage image(CM_GRAY, 16, 50, 50), src = ramp(24, 30);
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(src, CRect(-3, 0, 20, 20)), 1);
  for (int y = 0; y < 50; ++y)
    for (int x = 0; x < 50; ++x) EXPECT_EQ(sampleAt(image, x, y), x <= 20 && y <= 20 ? y * 256 + x + 3 : 0);
}

TEST(PasteFrom, pastesOnlyWhatTheOtherImageHas) {
  CPxImage image = places(), src = gray8({{1}});
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(src, CRect(1, 1, 3, 2)), 1);
  EXPECT_PICTURE(image, gray8({{10, 11, 12, 13}, {20, 1, 22, 23}, {30, 31, 32, 33}}));
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(src, CRect(-1, 0, 3, 2)), 1) << "the other image ends outside";
  EXPECT_PICTURE(image, gray8({{10, 11, 12, 13}, {20, 1, 22, 23}, {30, 31, 32, 33}}));
}

TEST(PasteFrom, aMaskLetsSinglePixelsThrough) {
  CPxImage image = picture(CM_RGB, 16, {{1, 1, 1, 2, 2, 2}, {3, 3, 3, 4, 4, 4}});
  CPxImage src = picture(CM_RGB, 16, {{5, 6, 7, 8, 9, 10}, {11, 12, 13, 14, 15, 16}});
  CPxImage mask = gray8({{0, 1}, {255, 0}});
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(src, CRect(0, 0, 1, 1), mask), 1);
  EXPECT_PICTURE(image, picture(CM_RGB, 16, {{1, 1, 1, 8, 9, 10}, {11, 12, 13, 4, 4, 4}}));
}

TEST(PasteFrom, theMaskLiesWhereTheOtherImageDoesAndEndsWithItsColumns) {
  CPxImage image = places(), src = gray8({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}), mask = gray8({{1, 1}, {0, 1}});
  std::memset(static_cast<unsigned char*>(mask.GetBuffer()) + 2, 1, 2);  // padding selects nothing
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(src, CRect(1, 0, 3, 2), mask), 1);
  EXPECT_PICTURE(image, gray8({{10, 1, 2, 13}, {20, 21, 5, 23}, {30, 31, 32, 33}}));
}

TEST(PasteFrom, aMaskOfAnyTypeIsReadAsBytes) {
  CPxImage image = places(), src = gray8({{1, 2, 3}, {4, 5, 6}}), mask = gray16({{0x0100, 0, 1}, {0, 0x0001, 0}});
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(src, CRect(0, 0, 2, 1), mask), 1);
  EXPECT_PICTURE(image, gray8({{10, 2, 12, 13}, {20, 21, 6, 23}, {30, 31, 32, 33}}));
}

TEST(PasteFrom, imageAndMaskMayBeTheTarget) {
  CPxImage image = gray8({{0, 1, 2}, {3, 0, 5}, {6, 7, 8}});
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(image, CRect(1, 1, 2, 2)), 1);
  EXPECT_PICTURE(image, gray8({{0, 1, 2}, {3, 0, 1}, {6, 3, 0}}));
  image = gray8({{0, 1, 2}, {3, 0, 5}, {6, 7, 8}});
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFrom(image, CRect(1, 1, 2, 2), image), 1);
  EXPECT_PICTURE(image, gray8({{0, 1, 2}, {3, 0, 1}, {6, 3, 8}}));
}

TEST(PasteFrom, refusesWhatIsNotCreated) {
  CPxImage image = places(), src = places(), none = empty();
  CPxMiscProcessing misc(&image);
  EXPECT_EQ(misc.PasteFrom(none, CRect(0, 0, 2, 2)), 0);
  EXPECT_EQ(misc.PasteFrom(none, CRect(0, 0, 2, 2), src), 0);
  EXPECT_EQ(misc.PasteFrom(src, CRect(0, 0, 2, 2), none), 0);
  EXPECT_EQ(misc.CopyTo(none, CRect(0, 0, 2, 2)), 0);
  EXPECT_TRUE(identical(image, places()));
  for (CPxImage* bound : {static_cast<CPxImage*>(nullptr), &none}) {
    misc.SetImage(bound);
    EXPECT_EQ(misc.Crop(CRect(0, 0, 2, 2)), 0);
    EXPECT_EQ(misc.CopyTo(src, CRect(0, 0, 2, 2)), 0);
    EXPECT_EQ(misc.PasteFrom(src, CRect(0, 0, 2, 2)), 0);
    EXPECT_EQ(misc.PasteFrom(src, CRect(0, 0, 2, 2), src), 0);
    EXPECT_EQ(CPxDrawing(bound).SetFill(std::uint8_t{1}, CRect(0, 0, 2, 2)), 0);
    EXPECT_EQ(CPxDrawing(bound).SetFill(std::uint8_t{1}, src), 0);
  }
  EXPECT_TRUE(identical(src, places()));
}

TEST(PasteFromClipboard, isInert) {
  CPxImage image = places();
  EXPECT_EQ(CPxMiscProcessing(&image).PasteFromClipboard(nullptr), 1);
  EXPECT_EQ(CPxMiscProcessing().PasteFromClipboard(nullptr), 1);
  EXPECT_TRUE(identical(image, places()));
}

// SetFill -------------------------------------------------------------------------------------------------------------

TEST(SetFill, fillsTheRectangleWithItsLastColumnAndRow) {
  CPxImage image(CM_GRAY, 8, 7, 7);
  EXPECT_EQ(CPxDrawing(&image).SetFill(std::uint8_t{9}, CRect(5, 5, 2, 2)), 1);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 7; ++x) EXPECT_EQ(sampleAt(image, x, y), x >= 2 && x <= 5 && y >= 2 && y <= 5 ? 9 : 0);
}

TEST(SetFill, isCutAtTheImagesEdgesAndLeavesThePadding) {
  CPxImage image = gray8({{1, 2, 3}});
  std::memset(image.GetBuffer(), 7, 4);
  EXPECT_EQ(CPxDrawing(&image).SetFill(std::uint8_t{9}, CRect(1, INT_MIN, INT_MAX, INT_MAX)), 1);
  EXPECT_EQ(std::memcmp(image.GetBuffer(), "\7\11\11\7", 4), 0);
}

TEST(SetFill, refusesARectangleOutside) {
  for (const CRect& rect : kOutside) {
    CPxImage image = places();
    EXPECT_EQ(CPxDrawing(&image).SetFill(std::uint8_t{9}, rect), 0);
    EXPECT_TRUE(identical(image, places()));
  }
}

// Fills image (1, 0) by rectangle and by mask and expects the samples there.
template <class Value>
void fillsOnePixel(COLOR_MODEL model, int bits, Value value, const std::vector<double>& samples) {
  const std::size_t n = samples.size();
  std::vector<double> row(3 * n, 1);
  CPxImage image = picture(model, bits, {row, row});
  std::copy(samples.begin(), samples.end(), row.begin() + std::ptrdiff_t(n));
  const CPxImage expected = picture(model, bits, {row, std::vector<double>(3 * n, 1)});
  CPxImage masked = image, mask = gray8({{0, 1, 0}, {0, 0, 0}});
  EXPECT_EQ(CPxDrawing(&image).SetFill(value, CRect(1, 0, 1, 0)), 1);
  EXPECT_TRUE(identical(image, expected));
  EXPECT_EQ(CPxDrawing(&masked).SetFill(value, mask), 1);
  EXPECT_TRUE(identical(masked, expected));
}

TEST(SetFill, takesAValueOfEachOfTheTwelveTypes) {
  fillsOnePixel(CM_GRAY, 8, static_cast<unsigned char>(200), {200});
  fillsOnePixel(CM_GRAYA, 8, tagPXG2{{200, 201}}, {200, 201});
  fillsOnePixel(CM_RGB, 8, tagPXG3{{200, 201, 202}}, {200, 201, 202});
  fillsOnePixel(CM_RGBA, 8, tagPXG4{{200, 201, 202, 203}}, {200, 201, 202, 203});
  fillsOnePixel(CM_GRAY, 16, static_cast<unsigned short>(60000), {60000});
  fillsOnePixel(CM_GRAYA, 16, tagPXGW2{{60000, 60001}}, {60000, 60001});
  fillsOnePixel(CM_RGB, 16, tagPXGW3{{60000, 60001, 60002}}, {60000, 60001, 60002});
  fillsOnePixel(CM_RGBA, 16, tagPXGW4{{60000, 60001, 60002, 60003}}, {60000, 60001, 60002, 60003});
  fillsOnePixel(CM_GRAY, 32, -0.5F, {-0.5});
  fillsOnePixel(CM_GRAYA, 32, tagPXGF2{{-0.5F, 1e9F}}, {-0.5, 1e9F});
  fillsOnePixel(CM_RGB, 32, tagPXGF3{{-0.5F, 1e9F, 3}}, {-0.5, 1e9F, 3});
  fillsOnePixel(CM_RGBA, 32, tagPXGF4{{-0.5F, 1e9F, 3, 4}}, {-0.5, 1e9F, 3, 4});
}

TEST(SetFill, aValueOfAnotherSizeStepsByItsOwnAndStaysWithinTheRowsPixels) {
  // 5 bytes of pixels a row and 3 of padding: room for one value of 3 bytes, for one of 4.
  CPxImage image(CM_GRAY, 8, 5, 2);
  std::memset(image.GetBuffer(), 7, static_cast<std::size_t>(image.bufferSize));
  EXPECT_EQ(CPxDrawing(&image).SetFill(tagPXG3{{1, 2, 3}}, CRect(0, 0, 4, 4)), 1);
  EXPECT_EQ(std::memcmp(image.GetBuffer(), "\1\2\3\7\7\7\7\7\1\2\3\7\7\7\7\7", 16), 0);
  CPxImage mask = gray8({{1, 1, 1, 1, 1}});
  EXPECT_EQ(CPxDrawing(&image).SetFill(tagPXG4{{5, 5, 5, 5}}, mask), 1);
  EXPECT_EQ(std::memcmp(image.GetBuffer(), "\5\5\5\5\7\7\7\7\1\2\3\7\7\7\7\7", 16), 0);
  EXPECT_EQ(CPxDrawing(&image).SetFill(tagPXG3{{9, 9, 9}}, CRect(1, 0, 4, 4)), 1) << "no whole value from column 1 on";
  EXPECT_EQ(std::memcmp(image.GetBuffer(), "\5\5\5\5\7\7\7\7\1\2\3\7\7\7\7\7", 16), 0);

  CPxImage words = gray16({{0x1111, 0x1111, 0x1111}});
  EXPECT_EQ(CPxDrawing(&words).SetFill(std::uint8_t{0x22}, CRect(0, 0, 2, 0)), 1);
  EXPECT_PICTURE(words, gray16({{0x2222, 0x1122, 0x1111}}));
}

TEST(SetFill, theMaskEndsWhereItEnds) {
  CPxImage image = places(), mask = gray8({{1, 0}, {1, 1}});
  std::memset(static_cast<unsigned char*>(mask.GetBuffer()) + 2, 1, 2);
  EXPECT_EQ(CPxDrawing(&image).SetFill(std::uint8_t{9}, mask), 1);
  EXPECT_PICTURE(image, gray8({{9, 11, 12, 13}, {9, 9, 22, 23}, {30, 31, 32, 33}}));
}

TEST(SetFill, theMaskMayBeTheImage) {
  CPxImage image = picture(CM_GRAYA, 8, {{0, 1, 1, 0, 0, 0}});
  EXPECT_EQ(CPxDrawing(&image).SetFill(tagPXG2{{8, 9}}, image), 1);
  EXPECT_PICTURE(image, picture(CM_GRAYA, 8, {{0, 1, 8, 9, 8, 9}}));
}

TEST(SetFill, ofAnImageWithoutRowsTouchesNothing) {
  for (const auto& [width, height] : {std::pair(0, 0), std::pair(5, 0), std::pair(0, 5)}) {
    CPxImage image(CM_RGB, 8, width, height), mask(CM_GRAY, 8, 9, 9);
    EXPECT_EQ(CPxDrawing(&image).SetFill(tagPXG3{}, CRect(0, 0, 9, 9)), 0);
    EXPECT_EQ(CPxDrawing(&image).SetFill(tagPXG3{}, CRect(-1, -1, 9, 9)), 1);
    EXPECT_EQ(CPxDrawing(&image).SetFill(tagPXG3{}, mask), 1);
  }
}

TEST(Regions, areRefusedBeyond32Bits) {
  CPxImage image(CM_GRAY, 33, 4, 3), partner(CM_GRAY, 32, 4, 3), mask = places();
  CPxMiscProcessing misc(&image);
  EXPECT_EQ(misc.Crop(CRect(0, 0, 1, 1)), 0);
  EXPECT_EQ(misc.CopyTo(partner, CRect(0, 0, 2, 2)), 0);
  EXPECT_EQ(misc.PasteFrom(partner, CRect(0, 0, 2, 2)), 0);
  EXPECT_EQ(misc.PasteFrom(partner, CRect(0, 0, 2, 2), mask), 0);
  EXPECT_EQ(CPxDrawing(&image).SetFill(1.0F, CRect(0, 0, 2, 2)), 0);
  EXPECT_EQ(CPxDrawing(&image).SetFill(1.0F, mask), 0);
  EXPECT_TRUE(identical(image, CPxImage(CM_GRAY, 33, 4, 3)));
}

TEST(Regions, refuseAPartnerBeyond32BitsThoughItsPixelsHaveAsManyBytes) {
  CPxImage image = grayFloat({{1, 2}, {3, 4}}), partner(CM_GRAY, 33, 2, 2), mask = gray8({{1, 1}, {1, 1}});
  CPxMiscProcessing misc(&image);
  EXPECT_EQ(misc.CopyTo(partner, CRect(0, 0, 1, 1)), 0);
  EXPECT_EQ(misc.PasteFrom(partner, CRect(0, 0, 1, 1)), 0);
  EXPECT_EQ(misc.PasteFrom(partner, CRect(0, 0, 1, 1), mask), 0);
  EXPECT_TRUE(identical(partner, CPxImage(CM_GRAY, 33, 2, 2)));
  EXPECT_PICTURE(image, grayFloat({{1, 2}, {3, 4}}));
}

TEST(Regions, refuseImagesWithoutChannels) {
  CPxImage image = places(), partner = places(), mask = places();
  image.channels = partner.channels = 0;
  CPxMiscProcessing misc(&image);
  EXPECT_EQ(misc.Crop(CRect(0, 0, 1, 1)), 0);
  EXPECT_EQ(misc.CopyTo(partner, CRect(0, 0, 2, 2)), 0);
  EXPECT_EQ(misc.PasteFrom(partner, CRect(0, 0, 2, 2)), 0);
  EXPECT_EQ(misc.PasteFrom(partner, CRect(0, 0, 2, 2), mask), 0);
  EXPECT_EQ(CPxDrawing(&image).SetFill(std::uint8_t{9}, CRect(0, 0, 2, 2)), 0);
  EXPECT_EQ(CPxDrawing(&image).SetFill(std::uint8_t{9}, mask), 0);
  image.channels = partner.channels = 1;
  EXPECT_TRUE(identical(image, places()));
  EXPECT_TRUE(identical(partner, places()));
}

TEST(Regions, ignoreTheAreaOfInterest) {
  CPxImage image = places(), nothing(CM_GRAY, 8, 4, 3);
  CPxDrawing drawing(&image);
  drawing.SetAOIImage(&nothing);
  EXPECT_EQ(drawing.SetFill(std::uint8_t{9}, CRect(0, 0, 0, 0)), 1);
  EXPECT_EQ(sampleAt(image, 0, 0), 9);
}

}  // namespace
}  // namespace rasterkit::test
