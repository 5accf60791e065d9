#include <rasterkit/colour/colour.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using Colour = CPxColorProcessing;
using test::gray16;
using test::gray8;
using test::identical;
using test::picture;
using test::rgb8;
using test::sampleAt;
using test::setSample;
using test::Table;

CPxImage rgba8(const Table& rows) { return picture(CM_RGBA, 8, rows); }
CPxImage graya8(const Table& rows) { return picture(CM_GRAYA, 8, rows); }
CPxImage bitmap(const Table& rows) { return picture(CM_BITMAP, 8, rows); }

// An image with its own bits for every sample.
CPxImage reduced(COLOR_MODEL model, int bits, std::vector<int> widths, const Table& rows) {
  CPxImage image = picture(model, bits, rows);
  image.SetBitsPerSampleEx(widths.data());
  return image;
}

CPxImage index8(const std::vector<tagRGBA>& palette, const Table& rows) {
  CPxImage image = picture(CM_INDEX, 8, rows);
  image.palette = CPxPalette(static_cast<int>(palette.size()));
  for (std::size_t i = 0; i < palette.size(); ++i) *image.palette.GetPaletteItem(static_cast<int>(i)) = palette[i];
  return image;
}

// Samples and widths ---------------------------------------------------------------------------------------------

TEST(RGBtoRGBA, copiesTheColourAndLeavesAlpha) {
  const CPxImage source = rgb8({{1, 2, 3, 4, 5, 6}});
  CPxImage dst = rgba8({{0, 0, 0, 77, 0, 0, 0, 88}});
  EXPECT_EQ(Colour::RGBtoRGBA(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgba8({{1, 2, 3, 77, 4, 5, 6, 88}}));
}

TEST(RGBAtoRGB, dropsAlpha) {
  const CPxImage source = rgba8({{1, 2, 3, 77, 4, 5, 6, 88}});
  CPxImage dst = rgb8({{0, 0, 0, 0, 0, 0}});
  EXPECT_EQ(Colour::RGBAtoRGB(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgb8({{1, 2, 3, 4, 5, 6}}));
}

TEST(RGBtoRGB16, shiftsSoThatWhiteIs65280) {
  const CPxImage source = rgb8({{255, 0, 1}});
  CPxImage dst(CM_RGB, 16, 1, 1);
  EXPECT_EQ(Colour::RGBtoRGB16(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_RGB, 16, {{65280, 0, 256}}));
  dst.Create(CM_RGB, 12, 1, 1);
  EXPECT_EQ(Colour::RGBtoRGB16(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_RGB, 12, {{4080, 0, 16}}));
}

TEST(RGBtoRGB16, neverWritesAlpha) {
  const CPxImage source = rgba8({{1, 2, 3, 200}});
  CPxImage dst = picture(CM_RGBA, 16, {{0, 0, 0, 999}});
  EXPECT_EQ(Colour::RGBtoRGB16(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_RGBA, 16, {{256, 512, 768, 999}}));
}

TEST(RGB16toRGB, shiftsBackAndNeverWritesAlpha) {
  const CPxImage source = picture(CM_RGBA, 16, {{65535, 256, 255, 65535}});
  CPxImage dst = rgba8({{0, 0, 0, 9}});
  EXPECT_EQ(Colour::RGB16toRGB(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgba8({{255, 1, 0, 9}}));
}

TEST(RGB16toRGB, storesTheLowByteOfValuesBeyondTheBits) {
  const CPxImage source = picture(CM_RGB, 12, {{4095, 65535, 4096}});
  CPxImage dst = rgb8({{0, 0, 0}});
  EXPECT_EQ(Colour::RGB16toRGB(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgb8({{255, 255, 0}}));
}

TEST(GraytoGray16, refusesPlainGrey) {
  const CPxImage source = gray8({{200}});
  CPxImage dst = gray16({{7}});
  EXPECT_EQ(Colour::GraytoGray16(&source, &dst), 0);
  EXPECT_PICTURE(dst, gray16({{7}}));
}

TEST(GraytoGray16, shiftsGreyAndTheAlphaOfBothSides) {
  const CPxImage source = graya8({{200, 100}});
  CPxImage plain = gray16({{7}}), alpha = picture(CM_GRAYA, 16, {{7, 7}});
  EXPECT_EQ(Colour::GraytoGray16(&source, &plain), 1);
  EXPECT_PICTURE(plain, gray16({{51200}}));
  EXPECT_EQ(Colour::GraytoGray16(&source, &alpha), 1);
  EXPECT_PICTURE(alpha, picture(CM_GRAYA, 16, {{51200, 25600}}));
}

TEST(GraytoGray16, readsAnyOtherImageByteByByte) {
  const CPxImage source = rgb8({{1, 2, 3, 4, 5, 6}});
  CPxImage dst = picture(CM_GRAYA, 16, {{7, 8, 9, 10}});
  EXPECT_EQ(Colour::GraytoGray16(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_GRAYA, 16, {{256, 8, 512, 10}}));
}

TEST(GraytoGray16, readsItsDestinationAsItWas) {
  CPxImage image = gray16({{0x0201, 0x0403, 0x0605}});
  EXPECT_EQ(Colour::GraytoGray16(&image, &image), 1);
  EXPECT_PICTURE(image, gray16({{0x0100, 0x0200, 0x0300}}));
}

TEST(GraytoGray16, takesNoSampleOfMoreThan32Bits) {
  const CPxImage source(CM_GRAY, 33, 2, 2);
  CPxImage dst(CM_GRAY, 16, 2, 2);
  EXPECT_EQ(Colour::GraytoGray16(&source, &dst), 0);
}

TEST(Gray16toGray, shiftsGreyAndTheAlphaOfBothSides) {
  const CPxImage source = picture(CM_GRAYA, 16, {{51455, 25600}});
  CPxImage plain = gray8({{7}}), alpha = graya8({{7, 7}});
  EXPECT_EQ(Colour::Gray16toGray(&source, &plain), 1);
  EXPECT_PICTURE(plain, gray8({{200}}));
  EXPECT_EQ(Colour::Gray16toGray(&source, &alpha), 1);
  EXPECT_PICTURE(alpha, graya8({{200, 100}}));
  const CPxImage opaque = gray16({{512}});
  EXPECT_EQ(Colour::Gray16toGray(&opaque, &alpha), 1);
  EXPECT_PICTURE(alpha, graya8({{2, 100}}));
}

// Reduced-bit colour ---------------------------------------------------------------------------------------------

TEST(RGBtoRGB2B, eachSampleHasItsOwnWidthInThreeSampleLayouts) {
  const CPxImage source = rgb8({{255, 255, 255, 16, 8, 4}});
  CPxImage dst = reduced(CM_RGB, 5, {5, 6, 5}, {{0, 0, 0, 0, 0, 0}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 1);
  EXPECT_PICTURE(dst, reduced(CM_RGB, 5, {5, 6, 5}, {{31, 63, 31, 2, 2, 0}}));
}

TEST(RGBtoRGB2B, theCommonWidthServesFourSampleLayoutsAndAlphaHasItsOwn) {
  const CPxImage source = rgba8({{255, 128, 64, 255}});
  CPxImage dst = reduced(CM_RGBA, 5, {1, 5, 2, 1}, {{0, 0, 0, 0}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 1);
  EXPECT_PICTURE(dst, reduced(CM_RGBA, 5, {1, 5, 2, 1}, {{31, 16, 8, 1}}));
  const CPxImage opaque = rgb8({{0, 0, 0}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&opaque, &dst), 1);
  EXPECT_PICTURE(dst, reduced(CM_RGBA, 5, {1, 5, 2, 1}, {{0, 0, 0, 1}}));
}

TEST(RGBtoRGB2B, sixBitsOfGreenNeverTouchAlpha) {
  const CPxImage source = rgba8({{255, 255, 255, 255, 1, 4, 8, 255}});
  CPxImage dst = reduced(CM_RGBA, 8, {5, 6, 5, 8}, {{0, 0, 0, 42, 0, 0, 0, 43}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_RGBA, 8, {{31, 63, 31, 42, 0, 1, 1, 43}}));
}

TEST(RGBtoRGB2B, anotherGreenWidthNeedsAtMostFiveCommonBits) {
  const CPxImage source = rgb8({{255, 255, 255}});
  CPxImage dst = reduced(CM_RGB, 6, {3, 3, 2}, {{9, 9, 9}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 0);
  EXPECT_PICTURE(dst, picture(CM_RGB, 6, {{9, 9, 9}}));
  dst = reduced(CM_RGB, 3, {3, 3, 2}, {{0, 0, 0}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_RGB, 3, {{7, 7, 3}}));
  dst = reduced(CM_RGB, 5, {3, 3, 2}, {{0, 0, 0}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_RGB, 5, {{7, 7, 3}}));
}

TEST(RGBtoRGB2B, samplesOfFewerBitsThanTheirPlaceStay) {
  for (const int bits : {5, 4, 0}) {
    CPxImage source = rgb8({{255, 16, 8}}), dst = reduced(CM_RGB, 5, {5, 5, 5}, {{0, 0, 0}});
    source.bitsPerSample = bits;
    EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 1);
    EXPECT_PICTURE(dst, picture(CM_RGB, 5, {{255, 16, 8}})) << bits;
  }
}

TEST(RGBtoRGB2B, usedWidthsAreFrom1To8) {
  const CPxImage source = rgba8({{255, 255, 255, 255}}), opaque = rgb8({{255, 255, 255}});
  CPxImage dst = reduced(CM_RGB, 8, {0, 5, 5}, {{9, 9, 9}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 0);
  dst = reduced(CM_RGB, 8, {5, 5, 9}, {{9, 9, 9}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 0);
  EXPECT_PICTURE(dst, rgb8({{9, 9, 9}}));
  // An alpha width that is not used is not looked at.
  dst = reduced(CM_RGBA, 4, {4, 4, 4, 0}, {{9, 9, 9, 9}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 0);
  EXPECT_PICTURE(dst, picture(CM_RGBA, 4, {{9, 9, 9, 9}}));
  EXPECT_EQ(Colour::RGBtoRGB2B(&opaque, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_RGBA, 4, {{15, 15, 15, 9}}));
}

TEST(RGBtoRGB2B, aWidthAboveTheSourcesBitsShiftsByNothing) {
  const CPxImage source = picture(CM_RGB, 4, {{15, 7, 1}});
  CPxImage dst = reduced(CM_RGB, 5, {5, 5, 3}, {{0, 0, 0}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_RGB, 5, {{15, 7, 0}}));
}

TEST(RGBtoRGB2B, worksInPlace) {
  CPxImage image = reduced(CM_RGB, 8, {5, 6, 5}, {{255, 255, 8}});
  EXPECT_EQ(Colour::RGBtoRGB2B(&image, &image), 1);
  EXPECT_PICTURE(image, rgb8({{31, 63, 1}}));
}

TEST(RGB2BtoRGB, truncatesAndReachesFullScale) {
  const CPxImage source = reduced(CM_RGB, 5, {5, 5, 5}, {{15, 31, 0}});
  CPxImage dst = rgb8({{9, 9, 9}});
  EXPECT_EQ(Colour::RGB2BtoRGB(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgb8({{123, 255, 0}}));
  const CPxImage four = reduced(CM_RGB, 4, {4, 4, 4}, {{7, 15, 1}});
  EXPECT_EQ(Colour::RGB2BtoRGB(&four, &dst), 1);
  EXPECT_PICTURE(dst, rgb8({{119, 255, 17}}));
}

TEST(RGB2BtoRGB, fourSamplesHaveTheCommonWidthAndAlphaItsOwn) {
  const CPxImage source = reduced(CM_RGBA, 5, {8, 5, 8, 1}, {{31, 15, 0, 1}});
  CPxImage dst = rgba8({{9, 9, 9, 9}});
  EXPECT_EQ(Colour::RGB2BtoRGB(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgba8({{255, 123, 0, 255}}));
  // "Another" green width with alpha is a four-sample layout too.
  const CPxImage three = reduced(CM_RGBA, 3, {1, 3, 1, 2}, {{7, 0, 7, 1}});
  EXPECT_EQ(Colour::RGB2BtoRGB(&three, &dst), 1);
  EXPECT_PICTURE(dst, rgba8({{255, 0, 255, 85}}));
}

TEST(RGB2BtoRGB, sixBitsOfGreenNeverTouchAlpha) {
  const CPxImage source = reduced(CM_RGBA, 8, {5, 6, 5, 1}, {{31, 63, 31, 1}});
  CPxImage dst = rgba8({{9, 9, 9, 9}});
  EXPECT_EQ(Colour::RGB2BtoRGB(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgba8({{255, 255, 255, 9}}));
}

// Bitmaps and thresholds -----------------------------------------------------------------------------------------

TEST(RGBtoBitmap, comparesTheWeightedGrey) {
  // Greys 0, 54 (red), 182 (green), 18 (blue), 255.
  const CPxImage source = rgb8({{0, 0, 0, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255}});
  CPxImage dst = bitmap({{9, 9, 9, 9, 9}});
  EXPECT_EQ(Colour::RGBtoBitmap(&source, &dst, 54), 1);
  EXPECT_PICTURE(dst, bitmap({{0, 1, 1, 0, 1}}));
  EXPECT_EQ(Colour::RGBtoBitmap(&source, &dst, 55), 1);
  EXPECT_PICTURE(dst, bitmap({{0, 0, 1, 0, 1}}));
  for (const int all : {0, -1, std::numeric_limits<int>::min()}) {
    EXPECT_EQ(Colour::RGBtoBitmap(&source, &dst, all), 1);
    EXPECT_PICTURE(dst, bitmap({{1, 1, 1, 1, 1}}));
  }
  for (const int none : {256, std::numeric_limits<int>::max()}) {
    EXPECT_EQ(Colour::RGBtoBitmap(&source, &dst, none), 1);
    EXPECT_PICTURE(dst, bitmap({{0, 0, 0, 0, 0}}));
  }
}

TEST(GraytoBitmap, comparesTheGrey) {
  const CPxImage source = gray8({{0, 99, 100, 255}}), alpha = graya8({{99, 100, 100, 0}});
  CPxImage dst = bitmap({{9, 9, 9, 9}}), two = bitmap({{9, 9}});
  EXPECT_EQ(Colour::GraytoBitmap(&source, &dst, 100), 1);
  EXPECT_PICTURE(dst, bitmap({{0, 0, 1, 1}}));
  EXPECT_EQ(Colour::GraytoBitmap(&source, &dst, 256), 1);
  EXPECT_PICTURE(dst, bitmap({{0, 0, 0, 0}}));
  EXPECT_EQ(Colour::GraytoBitmap(&source, &dst, -5), 1);
  EXPECT_PICTURE(dst, bitmap({{1, 1, 1, 1}}));
  EXPECT_EQ(Colour::GraytoBitmap(&alpha, &two, 100), 1);
  EXPECT_PICTURE(two, bitmap({{0, 1}}));
}

TEST(Gray16toBitmap, comparesIn16BitUnits) {
  const CPxImage source = gray16({{0, 999, 1000, 65535}});
  CPxImage dst = bitmap({{9, 9, 9, 9}});
  EXPECT_EQ(Colour::Gray16toBitmap(&source, &dst, 1000), 1);
  EXPECT_PICTURE(dst, bitmap({{0, 0, 1, 1}}));
  EXPECT_EQ(Colour::Gray16toBitmap(&source, &dst, 65536), 1);
  EXPECT_PICTURE(dst, bitmap({{0, 0, 0, 0}}));
}

TEST(Bitmap, anyByteButZeroIsWhite) {
  const CPxImage source = bitmap({{0, 1, 200}});
  CPxImage colour = rgba8({{9, 9, 9, 9, 9, 9, 9, 8, 9, 9, 9, 7}}), grey = graya8({{9, 9, 9, 8, 9, 7}}),
           grey16 = gray16({{9, 9, 9}}), grey12(CM_GRAY, 12, 3, 1);
  EXPECT_EQ(Colour::BitmaptoRGB(&source, &colour), 1);
  EXPECT_PICTURE(colour, rgba8({{0, 0, 0, 9, 255, 255, 255, 8, 255, 255, 255, 7}}));
  EXPECT_EQ(Colour::BitmaptoGray(&source, &grey), 1);
  EXPECT_PICTURE(grey, graya8({{0, 9, 255, 8, 255, 7}}));
  EXPECT_EQ(Colour::BitmaptoGray16(&source, &grey16), 1);
  EXPECT_PICTURE(grey16, gray16({{0, 65535, 65535}}));
  EXPECT_EQ(Colour::BitmaptoGray16(&source, &grey12), 1);
  EXPECT_PICTURE(grey12, picture(CM_GRAY, 12, {{0, 4095, 4095}}));
}

// Palettes -------------------------------------------------------------------------------------------------------

TEST(IndextoRGB, takesThePalettesColourAndBlackBeyondIt) {
  const CPxImage source = index8({{1, 2, 3, 99}, {4, 5, 6, 99}}, {{1, 0, 2, 255}});
  CPxImage dst = rgba8({{9, 9, 9, 1, 9, 9, 9, 2, 9, 9, 9, 3, 9, 9, 9, 4}});
  EXPECT_EQ(Colour::IndextoRGB(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgba8({{4, 5, 6, 1, 1, 2, 3, 2, 0, 0, 0, 3, 0, 0, 0, 4}}));
}

TEST(RGBtoIndex, convertsNothing) {
  const CPxImage source = rgb8({{1, 2, 3}});
  CPxImage dst = index8({{1, 2, 3, 0}}, {{7}});
  const CPxImage before = dst;
  EXPECT_EQ(Colour::RGBtoIndex(&source, &dst), 0);
  EXPECT_TRUE(identical(dst, before));
}

// Grey with weights ----------------------------------------------------------------------------------------------

TEST(RGBtoGray, roundsLimitsAboveAndCopiesAlpha) {
  const CPxImage source = rgba8({{30, 20, 10, 1, 255, 255, 255, 2}});
  CPxImage dst = graya8({{0, 0, 0, 0}});
  EXPECT_EQ(Colour::RGBtoGray(&source, &dst, 0.25F, 0.5F, 0.25F), 1);  // 20; 255
  EXPECT_PICTURE(dst, graya8({{20, 1, 255, 2}}));
  EXPECT_EQ(Colour::RGBtoGray(&source, &dst, 0.05F, 0, 1), 1);  // 30.5 in single, a little more in double
  EXPECT_PICTURE(dst, graya8({{31, 1, 255, 2}}));
  EXPECT_EQ(Colour::RGBtoGray(&source, &dst, -1, 0, 0), 1);  // -9.5 gives -9, -254.5 gives -254
  EXPECT_PICTURE(dst, graya8({{247, 1, 2, 2}}));
}

TEST(RGBtoGray, whatAnIntCannotHoldHasTheLowByteZero) {
  const CPxImage source = rgb8({{30, 20, 10}});
  CPxImage dst = gray8({{9}});
  for (const float weight : {1e30F, -1e30F, std::numeric_limits<float>::quiet_NaN()}) {
    EXPECT_EQ(Colour::RGBtoGray(&source, &dst, weight, 0, 0), 1);
    EXPECT_PICTURE(dst, gray8({{0}})) << weight;
  }
  EXPECT_EQ(Colour::RGBtoGray(&source, &dst, 100000, 0, 0), 1);
  EXPECT_PICTURE(dst, gray8({{255}}));
}

TEST(RGBtoGray, largeWeightsMayCancel) {
  const CPxImage source = rgb8({{9, 7, 7, 200, 7, 7, 9, 8, 7}});  // 9, 200, below every int
  CPxImage dst = gray8({{1, 1, 1}});
  for (const float weight : {1e20F, 3e38F}) {
    EXPECT_EQ(Colour::RGBtoGray(&source, &dst, weight, -weight, 1), 1);
    EXPECT_PICTURE(dst, gray8({{9, 200, 0}})) << weight;
  }
}

TEST(RGBtoGray16, scalesToTheDestinationsBits) {
  const CPxImage source = rgba8({{0, 255, 0, 3, 255, 255, 255, 4}});
  CPxImage dst = picture(CM_GRAYA, 16, {{0, 0, 0, 0}}), twelve(CM_GRAY, 12, 2, 1);
  EXPECT_EQ(Colour::RGBtoGray16(&source, &dst, 0.299F, 0.587F, 0.114F), 1);  // 149.685 * 256 = 38319.36
  EXPECT_PICTURE(dst, picture(CM_GRAYA, 16, {{38319, 768, 65280, 1024}}));
  EXPECT_EQ(Colour::RGBtoGray16(&source, &twelve, 0.299F, 0.587F, 0.114F), 1);
  EXPECT_PICTURE(twelve, picture(CM_GRAY, 12, {{2395, 4080}}));
  EXPECT_EQ(Colour::RGBtoGray16(&source, &twelve, 1, 1, 1), 1);
  EXPECT_PICTURE(twelve, picture(CM_GRAY, 12, {{4080, 4095}}));
}

TEST(GraytoRGB, weighsAndStoresTheLowByte) {
  const CPxImage source = graya8({{100, 5, 255, 6}});
  CPxImage dst = rgba8({{0, 0, 0, 0, 0, 0, 0, 0}}), plain = rgb8({{0, 0, 0, 0, 0, 0}});
  EXPECT_EQ(Colour::GraytoRGB(&source, &dst, 1, 0.5F, 2), 1);
  EXPECT_PICTURE(dst, rgba8({{200, 50, 100, 5, 254, 128, 255, 6}}));
  EXPECT_EQ(Colour::GraytoRGB(&source, &plain, 1, 1, 1), 1);
  EXPECT_PICTURE(plain, rgb8({{100, 100, 100, 255, 255, 255}}));
}

TEST(GraytoRGB, scalesFewerBitsToEight) {
  const CPxImage source = picture(CM_GRAY, 4, {{15, 7, 0}});
  CPxImage dst = rgb8({{9, 9, 9, 9, 9, 9, 9, 9, 9}});
  EXPECT_EQ(Colour::GraytoRGB(&source, &dst, 1, 1, 1), 1);
  EXPECT_PICTURE(dst, rgb8({{255, 255, 255, 119, 119, 119, 0, 0, 0}}));
}

TEST(Gray16toRGB, shiftsThenWeighs) {
  const CPxImage source = picture(CM_GRAYA, 16, {{25700, 512, 65535, 65535}});
  CPxImage dst = rgba8({{0, 0, 0, 0, 0, 0, 0, 0}});
  EXPECT_EQ(Colour::Gray16toRGB(&source, &dst, 1, 0.5F, 2), 1);
  EXPECT_PICTURE(dst, rgba8({{200, 50, 100, 2, 254, 128, 255, 255}}));
  EXPECT_EQ(Colour::Gray16toRGB(&source, &dst, 1, 1, 1), 1);
  EXPECT_PICTURE(dst, rgba8({{100, 100, 100, 2, 255, 255, 255, 255}}));
}

// CMYK -----------------------------------------------------------------------------------------------------------

TEST(CMYK, redAndBlackThereAndBack) {
  const CPxImage source = rgb8({{0, 0, 255, 0, 0, 0}});
  CPxImage cmyk(CM_CMYK, 8, 2, 1), back = rgb8({{9, 9, 9, 9, 9, 9}});
  EXPECT_EQ(Colour::RGBtoCMYK(&source, &cmyk), 1);
  EXPECT_PICTURE(cmyk, picture(CM_CMYK, 8, {{0, 255, 255, 0, 0, 0, 0, 255}}));
  EXPECT_EQ(Colour::CMYKtoRGB(&cmyk, &back), 1);
  EXPECT_PICTURE(back, source);
}

TEST(CMYKtoRGB, wraps) {
  const CPxImage source = picture(CM_CMYK, 8, {{200, 0, 0, 100}});
  CPxImage dst = rgba8({{0, 0, 0, 9}});
  EXPECT_EQ(Colour::CMYKtoRGB(&source, &dst), 1);
  EXPECT_PICTURE(dst, rgba8({{155, 155, 211, 9}}));
}

// From any model -------------------------------------------------------------------------------------------------

TEST(ConverttoRGB, assignsAnRGBSourceAndReports0) {
  const CPxImage source = rgb8({{1, 2, 3}, {4, 5, 6}});
  CPxImage dst = rgb8({{9, 9, 9, 9, 9, 9}});
  EXPECT_EQ(Colour::ConverttoRGB(&source, &dst), 0);
  EXPECT_TRUE(identical(dst, source));
  EXPECT_EQ(Colour::ConverttoRGB(&dst, &dst), 0);
  EXPECT_TRUE(identical(dst, source));
}

TEST(ConverttoRGBA, assignsAnRGBASourceAndReports0) {
  const CPxImage source = rgba8({{1, 2, 3, 4}});
  CPxImage dst(CM_RGBA, 8, 5, 5);
  EXPECT_EQ(Colour::ConverttoRGBA(&source, &dst), 0);
  EXPECT_TRUE(identical(dst, source));
}

TEST(ConverttoRGB, takesEachModelThroughItsConversion) {
  auto converted = [](const CPxImage& source, int result = 1) {
    CPxImage dst(CM_RGB, 8, source.width, source.height);
    EXPECT_EQ(Colour::ConverttoRGB(&source, &dst), result);
    return dst;
  };
  EXPECT_PICTURE(converted(bitmap({{0, 1}})), rgb8({{0, 0, 0, 255, 255, 255}}));
  EXPECT_PICTURE(converted(gray8({{7}})), rgb8({{7, 7, 7}}));
  EXPECT_PICTURE(converted(graya8({{7, 1}})), rgb8({{7, 7, 7}}));
  EXPECT_PICTURE(converted(gray16({{512}})), rgb8({{2, 2, 2}}));
  EXPECT_PICTURE(converted(index8({{1, 2, 3, 0}}, {{0}})), rgb8({{1, 2, 3}}));
  EXPECT_PICTURE(converted(reduced(CM_RGB, 5, {5, 5, 5}, {{31, 0, 15}})), rgb8({{255, 0, 123}}));
  EXPECT_PICTURE(converted(picture(CM_RGB, 16, {{256, 512, 768}})), rgb8({{1, 2, 3}}));
  EXPECT_PICTURE(converted(rgba8({{1, 2, 3, 4}})), rgb8({{1, 2, 3}}));
  EXPECT_PICTURE(converted(reduced(CM_RGBA, 4, {4, 4, 4, 4}, {{15, 0, 7, 1}})), rgb8({{255, 0, 119}}));
  EXPECT_PICTURE(converted(picture(CM_CMYK, 8, {{0, 255, 255, 0}})), rgb8({{0, 0, 255}}));
  EXPECT_PICTURE(converted(picture(CM_HSI, 32, {{0, 0, 0.5}})), rgb8({{127, 127, 127}}));
  EXPECT_PICTURE(converted(picture(CM_HLS, 32, {{0, 0.5, 0}})), rgb8({{127, 127, 127}}));
  EXPECT_PICTURE(converted(picture(CM_YCbCr, 32, {{1, 0, 0}})), rgb8({{255, 255, 255}}));
  const CPxImage black = rgb8({{0, 0, 0}});
  for (const COLOR_MODEL model : {CM_LOGL, CM_HSV, CM_XYZ, CM_YUV, CM_YIQ, CM_LUV, CM_Lab, CM_LOGLUV})
    EXPECT_PICTURE(converted(CPxImage(model, 32, 1, 1), 0), black) << model;
  // More bits than a conversion takes; 16-bit RGBA goes nowhere from here.
  for (const COLOR_MODEL model : {CM_BITMAP, CM_INDEX, CM_RGBA, CM_CMYK})
    EXPECT_PICTURE(converted(CPxImage(model, 16, 1, 1), 0), black) << model;
  for (const COLOR_MODEL model : {CM_GRAY, CM_GRAYA, CM_RGB, CM_RGBA})
    EXPECT_PICTURE(converted(CPxImage(model, 32, 1, 1), 0), black) << model;
}

TEST(ConverttoRGBA, takesColourThroughItsConversions) {
  auto converted = [](const CPxImage& source) {
    CPxImage dst = rgba8({{0, 0, 0, 99}});
    EXPECT_EQ(Colour::ConverttoRGBA(&source, &dst), 1);
    return dst;
  };
  EXPECT_PICTURE(converted(rgb8({{1, 2, 3}})), rgba8({{1, 2, 3, 99}}));
  EXPECT_PICTURE(converted(picture(CM_RGBA, 16, {{256, 512, 768, 1024}})), rgba8({{1, 2, 3, 99}}));
  EXPECT_PICTURE(converted(reduced(CM_RGBA, 4, {4, 4, 4, 4}, {{15, 0, 7, 5}})), rgba8({{255, 0, 119, 85}}));
  EXPECT_PICTURE(converted(gray8({{7}})), rgba8({{7, 7, 7, 99}}));
}

TEST(Convert, needsADestinationOfItsModelAndAKnownSource) {
  CPxImage gray = gray8({{7}}), rgba = rgba8({{1, 2, 3, 4}}), rgb16(CM_RGB, 16, 1, 1), rgb = rgb8({{1, 2, 3}});
  EXPECT_EQ(Colour::ConverttoRGB(&gray, &rgba), 0);
  EXPECT_EQ(Colour::ConverttoRGBA(&gray, &rgb), 0);
  EXPECT_EQ(Colour::ConverttoRGB(&gray, &rgb16), 0);
  EXPECT_EQ(Colour::ConverttoRGB(nullptr, &rgb), 0);
  EXPECT_EQ(Colour::ConverttoRGB(&gray, nullptr), 0);
  for (const int model : {5, 9, 23, -1}) {
    gray.colorModel = static_cast<COLOR_MODEL>(model);
    EXPECT_EQ(Colour::ConverttoRGB(&gray, &rgb), 0);
    EXPECT_EQ(Colour::ConverttoRGBA(&gray, &rgba), 0);
  }
  EXPECT_PICTURE(rgb, rgb8({{1, 2, 3}}));
}

// Checks ---------------------------------------------------------------------------------------------------------

TEST(Conversions, refuseWhatDoesNotFitAndTouchNothing) {
  const CPxImage source = rgb8({{1, 2, 3, 4, 5, 6}}), none;
  const CPxImage before = rgba8({{9, 9, 9, 9, 9, 9, 9, 9}});
  CPxImage dst = before, empty;
  EXPECT_EQ(Colour::RGBtoRGBA(nullptr, &dst), 0);
  EXPECT_EQ(Colour::RGBtoRGBA(&source, nullptr), 0);
  EXPECT_EQ(Colour::RGBtoRGBA(&none, &dst), 0);
  EXPECT_EQ(Colour::RGBtoRGBA(&none, &empty), 0);
  EXPECT_EQ(Colour::RGBAtoRGB(&source, &dst), 0);
  EXPECT_EQ(Colour::RGBtoGray(&source, &dst, 1, 1, 1), 0);
  EXPECT_EQ(Colour::RGBtoRGB16(&source, &dst), 0);
  EXPECT_EQ(Colour::RGBtoHSI(&source, &dst), 0);
  const CPxImage taller = rgb8({{1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}}), narrower = rgb8({{1, 2, 3}});
  EXPECT_EQ(Colour::RGBtoRGBA(&taller, &dst), 0);
  EXPECT_EQ(Colour::RGBtoRGBA(&narrower, &dst), 0);
  // Members that describe more than the image holds.
  CPxImage broken = source;
  broken.width = 100;
  dst.width = 100;
  EXPECT_EQ(Colour::RGBtoRGBA(&broken, &dst), 0);
  dst.width = 2;
  EXPECT_TRUE(identical(dst, before));
}

TEST(Conversions, emptyRowsAndColumnsSucceed) {
  for (const auto& [width, height] : {std::pair(0, 3), std::pair(3, 0), std::pair(0, 0)}) {
    const CPxImage source(CM_RGB, 8, width, height);
    CPxImage gray(CM_GRAY, 8, width, height), space(CM_HSI, 32, width, height);
    EXPECT_EQ(Colour::RGBtoGray(&source, &gray, 1, 1, 1), 1);
    EXPECT_EQ(Colour::RGBtoHSI(&source, &space), 1);
  }
}

TEST(Conversions, leaveTheRowPaddingAlone) {
  const CPxImage source = rgb8({{1, 2, 3}});
  CPxImage dst = gray8({{9}});
  std::memset(dst.GetBuffer(), 0xAB, 4);
  EXPECT_EQ(Colour::RGBtoGray(&source, &dst, 0, 0, 1), 1);
  const unsigned char expected[] = {1, 0xAB, 0xAB, 0xAB};
  EXPECT_EQ(std::memcmp(dst.GetBuffer(), expected, 4), 0);
}

// Colour spaces --------------------------------------------------------------------------------------------------

struct Three {
  float a, b, c;
  friend bool operator==(const Three&, const Three&) = default;
  friend void PrintTo(const Three& t, std::ostream* out) { *out << t.a << ", " << t.b << ", " << t.c; }
};
Three hsi(int red, int green, int blue) {
  Three t;
  Colour::RGBtoHSI(static_cast<unsigned char>(red), static_cast<unsigned char>(green), static_cast<unsigned char>(blue),
                   t.a, t.b, t.c);
  return t;
}
Three hsv(int red, int green, int blue) {
  Three t;
  Colour::RGBtoHSV(static_cast<unsigned char>(red), static_cast<unsigned char>(green), static_cast<unsigned char>(blue),
                   t.a, t.b, t.c);
  return t;
}
Table ofHsi(float hue, float saturation, float intensity) {
  unsigned char red, green, blue;
  Colour::HSItoRGB(hue, saturation, intensity, red, green, blue);
  return {{double(blue), double(green), double(red)}};
}

TEST(RGBtoHSI, leavesBlueOutOfTheExtremes) {
  EXPECT_EQ(hsi(0, 0, 255), (Three{0, 0, 0}));
  EXPECT_EQ(hsi(255, 0, 0), (Three{360, 1, 0.5F}));
  EXPECT_EQ(hsi(200, 100, 100), (Three{360, 100.0F / 210, 300 * 0.0019607844F}));
  EXPECT_EQ(hsi(77, 77, 77), (Three{0, 0, 154 * 0.0019607844F}));
  EXPECT_EQ(hsi(0, 255, 0), (Three{120, 1, 0.5F}));
  EXPECT_EQ(hsi(255, 0, 255), (Three{300, 1, 0.5F}));  // blue equals the greatest, and decides
}

TEST(HSItoRGB, limitsIntensityAndSaturation) {
  EXPECT_EQ(ofHsi(0, 0, 0.5F), (Table{{127, 127, 127}}));
  EXPECT_EQ(ofHsi(0, 0, 1.5F), (Table{{252, 252, 252}}));
  EXPECT_EQ(ofHsi(0, 0, 1.0F), (Table{{255, 255, 255}}));
  EXPECT_EQ(ofHsi(0, -3, -1), (Table{{0, 0, 0}}));
  EXPECT_EQ(ofHsi(0, 1, 0.5F), (Table{{0, 0, 255}}));
  EXPECT_EQ(ofHsi(120, 1, 0.5F), (Table{{0, 255, 0}}));
  EXPECT_EQ(ofHsi(240, 1, 0.5F), (Table{{255, 0, 0}}));
  EXPECT_EQ(ofHsi(0, 7, 0.5F), (Table{{1, 1, 253}}));  // a saturation of 0.99
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(ofHsi(0, nan, nan), (Table{{0, 0, 0}}));
}

TEST(RGBtoHSV, measuresTheHueAsAnAngle) {
  EXPECT_EQ(hsv(255, 0, 0), (Three{0, 1, 0.5F}));
  EXPECT_EQ(hsv(90, 90, 90), (Three{0, 0, static_cast<float>(90 * 0.00392156862745098)}));
  const float third = static_cast<float>(2.0943951023931957);
  EXPECT_EQ(hsv(0, 255, 0).a, third);
  EXPECT_EQ(hsv(0, 0, 255), (Three{third, 1, 0}));  // not reflected; blue takes no part in the value
  EXPECT_EQ(hsv(0, 255, 255).a, static_cast<float>(3.141592653589793));
}

TEST(RGBtoHLS, takesTheExtremesOfAllThree) {
  const CPxImage source = rgb8({{0, 0, 255, 0, 255, 0, 255, 0, 0, 100, 100, 200, 8, 8, 8, 255, 0, 255}});
  CPxImage dst(CM_HLS, 32, 6, 1);
  EXPECT_EQ(Colour::RGBtoHLS(&source, &dst), 1);
  EXPECT_PICTURE(dst, picture(CM_HLS, 32,
                              {{360, 0.5, 1, 120, 0.5, 1, 240, 0.5, 1,  //
                                360, double(300 * 0.0019607844F), double(100.0F / 210), 0, double(8 * 0.003921569F), 0,
                                300, 0.5, 1}}));
}

TEST(HLStoRGB, limitsNeitherLightnessNorSaturation) {
  const CPxImage source = picture(CM_HLS, 32, {{120, 0.5, 1, 0, 1.5, 0, 0, 0.5, 3}});
  CPxImage dst(CM_RGB, 8, 3, 1);
  EXPECT_EQ(Colour::HLStoRGB(&source, &dst), 1);
  // 1.5 * 255 = 382, its low byte 126; m2 = 2, m1 = -1: 510 and -255.
  EXPECT_PICTURE(dst, rgb8({{0, 255, 0, 126, 126, 126, 1, 1, 254}}));
}

TEST(YCbCr, thereIsExactAndBackIsNegated) {
  const CPxImage source = rgb8({{255, 255, 255, 0, 0, 0}});
  CPxImage space(CM_YCbCr, 32, 2, 1);
  EXPECT_EQ(Colour::RGBtoYCbCr(&source, &space), 1);
  EXPECT_FLOAT_EQ(static_cast<float>(sampleAt(space, 0, 0, 0)), 1);
  EXPECT_NEAR(sampleAt(space, 0, 0, 1), 0, 1e-6);
  EXPECT_EQ(sampleAt(space, 1, 0, 0), 0);
  const CPxImage values = picture(CM_YCbCr, 32, {{1, 0, 0, 0.5, 0, 0, 1.9, 0, 0, -3.5, 0, 0, 3e9, 0, 0}});
  CPxImage dst(CM_RGBA, 8, 5, 1);
  EXPECT_EQ(Colour::YCbCrtoRGB(&values, &dst), 1);
  EXPECT_PICTURE(dst, rgba8({{255, 255, 255, 0, 0, 0, 0, 0, 255, 255, 255, 0, 3, 3, 3, 0, 0, 0, 0, 0}}));
}

TEST(Spaces, imagesAreTheirPixels) {
  const CPxImage source = rgba8({{1, 2, 3, 9, 200, 100, 50, 8}});
  CPxImage space(CM_HSI, 32, 2, 1), back = rgba8({{0, 0, 0, 7, 0, 0, 0, 6}});
  EXPECT_EQ(Colour::RGBtoHSI(&source, &space), 1);
  const Three first = hsi(3, 2, 1), second = hsi(50, 100, 200);
  EXPECT_PICTURE(space, picture(CM_HSI, 32, {{first.a, first.b, first.c, second.a, second.b, second.c}}));
  EXPECT_EQ(Colour::HSItoRGB(&space, &back), 1);
  const Table one = ofHsi(first.a, first.b, first.c), two = ofHsi(second.a, second.b, second.c);
  EXPECT_PICTURE(back, rgba8({{one[0][0], one[0][1], one[0][2], 7, two[0][0], two[0][1], two[0][2], 6}}));
}

TEST(Spaces, thoseThatConvertNothingReport0AndLeaveTheDestination) {
  struct Entry {
    COLOR_MODEL model;
    int (*there)(const CPxImage*, CPxImage*);
    int (*back)(const CPxImage*, CPxImage*);
  };
  for (const Entry& entry : {Entry{CM_HSV, nullptr, Colour::HSVtoRGB},
                             {CM_XYZ, Colour::RGBtoXYZ, Colour::XYZtoRGB},
                             {CM_YUV, Colour::RGBtoYUV, Colour::YUVtoRGB},
                             {CM_YIQ, Colour::RGBtoYIQ, Colour::YIQtoRGB},
                             {CM_LUV, Colour::RGBtoLUV, Colour::LUVtoRGB},
                             {CM_Lab, Colour::RGBtoLab, Colour::LabtoRGB},
                             {CM_LOGL, Colour::RGBtoLOGL, Colour::LOGLtoRGB},
                             {CM_LOGLUV, Colour::RGBtoLOGLUV, Colour::LOGLUVtoRGB}}) {
    CPxImage colour = rgb8({{1, 2, 3}}), space(entry.model, 32, 1, 1);
    setSample(space, 0, 0, 0, 0.75);
    const CPxImage colourBefore = colour, spaceBefore = space;
    if (entry.there) {
      EXPECT_EQ(entry.there(&colour, &space), 0) << entry.model;
    }
    EXPECT_EQ(entry.back(&space, &colour), 0) << entry.model;
    EXPECT_TRUE(identical(colour, colourBefore)) << entry.model;
    EXPECT_TRUE(identical(space, spaceBefore)) << entry.model;
  }
}

// Adjustments ----------------------------------------------------------------------------------------------------

TEST(HSIAdjust, goesThereAndBackAndReports0) {
  CPxImage image = rgba8({{10, 20, 30, 5, 0, 0, 255, 6}});
  EXPECT_EQ(Colour(&image).HSIAdjust(120, 0, 0), 0);
  const Three pixel = hsi(30, 20, 10);
  const Table first = ofHsi(pixel.a + 120, pixel.b, pixel.c);
  EXPECT_PICTURE(image, rgba8({{first[0][0], first[0][1], first[0][2], 5, 0, 255, 0, 6}}));
}

TEST(HSIAdjust, refusesOtherImages) {
  CPxImage image = gray8({{1}});
  EXPECT_EQ(Colour(&image).HSIAdjust(0, 0, 0.5F), 0);
  EXPECT_PICTURE(image, gray8({{1}}));
  EXPECT_EQ(Colour().HSIAdjust(0, 0, 0), 0);
}

TEST(Adjustments, allOthersReport1AndDoNothing) {
  CPxImage image = rgb8({{1, 2, 3}});
  for (CPxImage* bound : {&image, static_cast<CPxImage*>(nullptr)}) {
    Colour colour(bound);
    EXPECT_EQ(colour.HLSAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.HSVAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.XYZAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.YUVAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.YIQAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.YCbCrAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.LUVAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.LabAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.LOGLUVAdjust(1, 1, 1), 1);
    EXPECT_EQ(colour.LOGLAdjust(1), 1);
  }
  EXPECT_PICTURE(image, rgb8({{1, 2, 3}}));
}

// Invert ---------------------------------------------------------------------------------------------------------

CPxImage inverted(CPxImage image, int selection, int result = 1) {
  EXPECT_EQ(Colour(&image).Invert(selection), result);
  return image;
}

TEST(Invert, turnsEverySampleOrOneOfEachPixel) {
  EXPECT_PICTURE(inverted(rgb8({{0, 200, 255, 1, 2, 3}}), 0), rgb8({{255, 55, 0, 254, 253, 252}}));
  EXPECT_PICTURE(inverted(rgb8({{0, 200, 255, 1, 2, 3}}), 1), rgb8({{255, 200, 255, 254, 2, 3}}));
  EXPECT_PICTURE(inverted(rgb8({{0, 200, 255, 1, 2, 3}}), 3), rgb8({{0, 200, 0, 1, 2, 252}}));
  EXPECT_PICTURE(inverted(rgba8({{1, 2, 3, 4}}), 4), rgba8({{1, 2, 3, 251}}));
  EXPECT_PICTURE(inverted(picture(CM_CMYK, 8, {{1, 2, 3, 4}}), 4), picture(CM_CMYK, 8, {{1, 2, 3, 251}}));
  EXPECT_PICTURE(inverted(gray16({{1000}}), 0), gray16({{64535}}));
  EXPECT_PICTURE(inverted(picture(CM_RGB, 16, {{0, 1, 65535}}), 2), picture(CM_RGB, 16, {{0, 65534, 65535}}));
}

TEST(Invert, theMaximumFollowsTheBits) {
  EXPECT_PICTURE(inverted(picture(CM_BITMAP, 1, {{0, 1, 2}}), 0), picture(CM_BITMAP, 1, {{1, 0, 255}}));
  EXPECT_PICTURE(inverted(picture(CM_GRAY, 12, {{0, 4095, 4096}}), 0), picture(CM_GRAY, 12, {{4095, 0, 65535}}));
}

TEST(Invert, floatsOfTheSpacesAndOfLogL) {
  EXPECT_PICTURE(inverted(picture(CM_HSI, 32, {{0.25, 3, -1}}), 0), picture(CM_HSI, 32, {{0.75, -2, 2}}));
  EXPECT_PICTURE(inverted(picture(CM_HSI, 32, {{0.25, 3, -1}}), 2), picture(CM_HSI, 32, {{0.25, -2, -1}}));
  EXPECT_PICTURE(inverted(picture(CM_LOGL, 32, {{0.25}}), -7), picture(CM_LOGL, 32, {{0.75}}));
}

TEST(Invert, selectionsBeyondTheChannelsAreRefused) {
  for (const int selection : {-1, 4, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_PICTURE(inverted(rgb8({{1, 2, 3}}), selection, 0), rgb8({{1, 2, 3}}));
    EXPECT_PICTURE(inverted(picture(CM_YUV, 32, {{1, 2, 3}}), selection, 0), picture(CM_YUV, 32, {{1, 2, 3}}));
    EXPECT_PICTURE(inverted(gray8({{1}}), selection), gray8({{254}}));
    EXPECT_PICTURE(inverted(bitmap({{1}}), selection), bitmap({{254}}));
  }
  EXPECT_PICTURE(inverted(rgba8({{1, 2, 3, 4}}), 5, 0), rgba8({{1, 2, 3, 4}}));
  EXPECT_PICTURE(inverted(graya8({{1, 2}}), 3, 0), graya8({{1, 2}}));
}

TEST(Invert, theAlphaOfGreyIsInvertedButReportedAs0) {
  EXPECT_PICTURE(inverted(graya8({{1, 2}}), 0), graya8({{254, 253}}));
  EXPECT_PICTURE(inverted(graya8({{1, 2}}), 1), graya8({{254, 2}}));
  EXPECT_PICTURE(inverted(graya8({{1, 2}}), 2, 0), graya8({{1, 253}}));
  EXPECT_PICTURE(inverted(picture(CM_GRAYA, 16, {{1, 2}}), 2, 0), picture(CM_GRAYA, 16, {{1, 65533}}));
}

TEST(Invert, ofAnIndexImageInvertsThePalette) {
  const CPxImage image = inverted(index8({{1, 2, 3, 4}, {255, 0, 100, 9}}, {{0, 1}}), 55, 0);
  EXPECT_TRUE(identical(image, index8({{254, 253, 252, 4}, {0, 255, 155, 9}}, {{0, 1}})));
  EXPECT_EQ(inverted(CPxImage(CM_INDEX, 16, 1, 1, 1), 0, 0).palette.GetPaletteItem(0)->red, 255);
}

TEST(Invert, refusesOtherClassesAndModels) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_GRAYA, CM_RGB, CM_RGBA, CM_CMYK, CM_BITMAP})
    EXPECT_PICTURE(inverted(CPxImage(model, 32, 1, 1), 0, 0), CPxImage(model, 32, 1, 1));
  for (const COLOR_MODEL model : {CM_LOGL, CM_HSI, CM_LOGLUV})
    for (const int bits : {8, 16, 33})
      EXPECT_PICTURE(inverted(CPxImage(model, bits, 1, 1), 0, 0), CPxImage(model, bits, 1, 1));
  for (const int model : {-1, 5, 7, 9, 23}) {
    for (CPxImage odd : {gray8({{7}}), CPxImage(CM_GRAY, 32, 1, 1), CPxImage(CM_HSI, 32, 1, 1)}) {
      odd.colorModel = static_cast<COLOR_MODEL>(model);
      EXPECT_EQ(Colour(&odd).Invert(0), 0) << model;
    }
  }
  EXPECT_EQ(Colour().Invert(0), 0);
}

// ReplaceColor ---------------------------------------------------------------------------------------------------

CPxImage replaced(CPxImage image, tagPXG4 find, tagPXG4 write, int result = 1) {
  EXPECT_EQ(Colour(&image).ReplaceColor(find, write), result);
  return image;
}

TEST(ReplaceColor, replacesWholePixelsThatAreEqual) {
  EXPECT_PICTURE(replaced(gray8({{1, 2, 1}}), {{1, 9, 9, 9}}, {{7, 8, 8, 8}}), gray8({{7, 2, 7}}));
  EXPECT_PICTURE(replaced(graya8({{1, 2, 1, 3}}), {{1, 2, 9, 9}}, {{7, 8, 0, 0}}), graya8({{7, 8, 1, 3}}));
  EXPECT_PICTURE(replaced(rgb8({{1, 2, 3, 1, 2, 4}}), {{1, 2, 3, 9}}, {{7, 8, 9, 0}}), rgb8({{7, 8, 9, 1, 2, 4}}));
  EXPECT_PICTURE(replaced(rgba8({{1, 2, 3, 4, 1, 2, 3, 5}}), {{1, 2, 3, 4}}, {{6, 7, 8, 9}}),
                 rgba8({{6, 7, 8, 9, 1, 2, 3, 5}}));
  EXPECT_PICTURE(replaced(picture(CM_CMYK, 8, {{1, 2, 3, 4}}), {{1, 2, 3, 4}}, {{6, 7, 8, 9}}),
                 picture(CM_CMYK, 8, {{6, 7, 8, 9}}));
}

TEST(ReplaceColor, sixteenBitSamplesAreNotScaled) {
  EXPECT_PICTURE(replaced(gray16({{10, 2570}}), {{10, 0, 0, 0}}, {{200, 0, 0, 0}}), gray16({{200, 2570}}));
  EXPECT_PICTURE(replaced(picture(CM_RGB, 16, {{1, 2, 3, 257, 2, 3}}), {{1, 2, 3, 0}}, {{4, 5, 6, 0}}),
                 picture(CM_RGB, 16, {{4, 5, 6, 257, 2, 3}}));
  EXPECT_PICTURE(replaced(picture(CM_CMYK, 16, {{1, 2, 3, 4}}), {{1, 2, 3, 4}}, {{4, 5, 6, 7}}),
                 picture(CM_CMYK, 16, {{4, 5, 6, 7}}));
  EXPECT_PICTURE(replaced(picture(CM_BITMAP, 16, {{1, 256}}), {{1, 0, 0, 0}}, {{2, 0, 0, 0}}),
                 picture(CM_BITMAP, 16, {{2, 256}}));
}

TEST(ReplaceColor, floatsAreComparedByValue) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const CPxImage image =
      replaced(picture(CM_Lab, 32, {{0, -0.0, 0, nan, 0, 0, 0, 0, 0.5}}), {{0, 0, 0, 0}}, {{1, 2, 3, 0}});
  EXPECT_PICTURE(image, picture(CM_Lab, 32, {{1, 2, 3, nan, 0, 0, 0, 0, 0.5}}));
}

TEST(ReplaceColor, inAPaletteTheColoursAreRedGreenBlue) {
  const CPxImage image = replaced(index8({{3, 2, 1, 4}, {1, 2, 3, 4}}, {{0, 1}}), {{1, 2, 3, 0}}, {{7, 8, 9, 0}}, 0);
  EXPECT_TRUE(identical(image, index8({{9, 8, 7, 4}, {1, 2, 3, 4}}, {{0, 1}})));
}

TEST(ReplaceColor, refusesOtherClassesAndModels) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_GRAYA, CM_RGB, CM_RGBA, CM_CMYK, CM_BITMAP, CM_LOGL})
    EXPECT_PICTURE(replaced(CPxImage(model, 32, 1, 1), {}, {{1, 1, 1, 1}}, 0), CPxImage(model, 32, 1, 1));
  EXPECT_PICTURE(replaced(CPxImage(CM_HSI, 16, 1, 1), {}, {{1, 1, 1, 1}}, 0), CPxImage(CM_HSI, 16, 1, 1));
  for (const int model : {-1, 5, 7, 9, 23}) {
    for (CPxImage odd : {gray8({{7}}), CPxImage(CM_GRAY, 32, 1, 1), CPxImage(CM_HSI, 32, 1, 1)}) {
      odd.colorModel = static_cast<COLOR_MODEL>(model);
      EXPECT_EQ(Colour(&odd).ReplaceColor({{7, 0, 0, 0}}, {}), 0) << model;
    }
  }
  EXPECT_EQ(Colour().ReplaceColor({}, {}), 0);
}

// The area of interest ------------------------------------------------------------------------------------------

TEST(ColourInPlace, ignoresTheAreaOfInterest) {
  CPxImage nothing(CM_GRAY, 8, 2, 1), image = rgb8({{1, 2, 3, 1, 2, 3}});
  Colour colour(&image);
  colour.SetAOIImage(&nothing);
  EXPECT_EQ(colour.Invert(0), 1);
  EXPECT_PICTURE(image, rgb8({{254, 253, 252, 254, 253, 252}}));
  EXPECT_EQ(colour.ReplaceColor({{254, 253, 252, 0}}, {{9, 9, 9, 0}}), 1);
  EXPECT_PICTURE(image, rgb8({{9, 9, 9, 9, 9, 9}}));
  EXPECT_EQ(colour.HSIAdjust(0, 0, 0.5F), 0);
  EXPECT_EQ(test::sampleAt(image, 0, 0, 0), test::sampleAt(image, 1, 0, 2));
  EXPECT_NE(test::sampleAt(image, 0, 0, 0), 9);
}

}  // namespace
}  // namespace rasterkit
