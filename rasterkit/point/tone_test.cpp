#include <rasterkit/core/manager.h>
#include <rasterkit/platform/desktop.h>
#include <rasterkit/point/arithmetic.h>
#include <rasterkit/point/tone.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <new>
#include <type_traits>

#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

const CRect kAll(-1, -1, -1, -1);

// Counts and keeps what the library says while it lives.
struct Messages {
  Messages() { setMessageHandler(keep, this); }
  ~Messages() { setMessageHandler(nullptr); }
  static int keep(void* context, const char* text, const char* caption, unsigned int style) {
    auto& self = *static_cast<Messages*>(context);
    ++self.count;
    self.text = text;
    self.caption = caption;
    self.style = style;
    return 1;
  }
  int count = 0;
  std::string text, caption;
  unsigned int style = 0;
};

template <class Processing>
int apply(Processing& processing, CRect rect) {
  if constexpr (std::is_same_v<Processing, CPxContrastProcessing>) {
    return processing.Contrast(rect);
  } else {
    return processing.Gamma(rect);
  }
}

// The whole image through a table of n entries.
template <class Processing>
CPxImage through(CPxImage image, float coefficient, int n) {
  Processing processing(&image);
  EXPECT_EQ(processing.SetCoefficient(coefficient), 1);
  EXPECT_EQ(processing.CreateVectorTable(n), 1);
  EXPECT_EQ(apply(processing, kAll), 1);
  return image;
}

CPxImage contrasted(CPxImage image, float coefficient, int n = 256) {
  return through<CPxContrastProcessing>(image, coefficient, n);
}
CPxImage gammaOf(CPxImage image, float coefficient, int n = 256) {
  return through<CPxGammaProcessing>(image, coefficient, n);
}

// Brightness ----------------------------------------------------------------------------------------------------------

CPxImage brightened(CPxImage image, int value, int flag = 1) {
  EXPECT_EQ(CPxBrightnessProcessing(&image).Brightness(value), flag);
  return image;
}

TEST(Brightness, addsOrSubtracts) {
  EXPECT_PICTURE(brightened(gray8({{0, 100, 250}}), 30), gray8({{30, 130, 255}}));
  EXPECT_PICTURE(brightened(gray8({{0, 100, 250}}), -30), gray8({{0, 70, 220}}));
  EXPECT_PICTURE(brightened(gray8({{0, 100, 250}}), 0), gray8({{0, 100, 250}}));
  EXPECT_PICTURE(brightened(gray16({{0, 100, 1000}}), 0), gray16({{0, 100, 1000 & 255}}));
  EXPECT_PICTURE(brightened(grayFloat({{0.5, 100.5, 999}}), 30), grayFloat({{30, 130, 255}}));
  EXPECT_PICTURE(brightened(gray8({{0, 100, 250}}), INT_MIN), gray8({{0, 0, 0}})) << "cannot be negated";
  EXPECT_PICTURE(brightened(picture(CM_RGBA, 8, {{1, 2, 3, 4}}), 1), picture(CM_RGBA, 8, {{2, 3, 4, 5}}));
}

TEST(Brightness, returnsWhatTheArithmeticDoes) {
  brightened(CPxImage(), 5, 0);
  EXPECT_EQ(CPxBrightnessProcessing().Brightness(0), 0);
  const CPxImage pair = picture(CM_GRAYA, 8, {{1, 2}});
  EXPECT_TRUE(identical(brightened(pair, 5), pair));
}

// Tables --------------------------------------------------------------------------------------------------------------

CPxImage allBytes() {
  CPxImage image(CM_GRAY, 8, 256, 1);
  for (int x = 0; x < 256; ++x) setSample(image, x, 0, 0, x);
  return image;
}

TEST(Contrast, roundsTheProductAndEndsAtTheTablesEnd) {
  const CPxImage result = contrasted(allBytes(), 1.5F);
  EXPECT_EQ(sampleAt(result, 1, 0), 2);
  EXPECT_EQ(sampleAt(result, 3, 0), 5);
  EXPECT_EQ(sampleAt(result, 169, 0), 254);
  for (int x = 170; x < 256; ++x) EXPECT_EQ(sampleAt(result, x, 0), 255) << x;
}

TEST(Contrast, ofZeroAndLessIsBlack) {
  const CPxImage black(CM_GRAY, 8, 256, 1);
  EXPECT_PICTURE(contrasted(allBytes(), 0), black);
  EXPECT_PICTURE(contrasted(allBytes(), -3), black);
  EXPECT_PICTURE(contrasted(allBytes(), NAN), black);
  EXPECT_PICTURE(contrasted(allBytes(), 1e30F), black) << "no 32-bit integer holds the products";
}

TEST(Gamma, raisesToAPower) {
  EXPECT_PICTURE(gammaOf(allBytes(), 1), allBytes());
  const CPxImage root = gammaOf(allBytes(), 0.5F);
  EXPECT_EQ(sampleAt(root, 255, 0), 15);
  EXPECT_EQ(sampleAt(root, 99, 0), 9);
  EXPECT_EQ(sampleAt(root, 100, 0), 10);
  const CPxImage steep = gammaOf(allBytes(), 1.5F);
  EXPECT_EQ(sampleAt(steep, 40, 0), 252);
  for (int x = 41; x < 256; ++x) EXPECT_EQ(sampleAt(steep, x, 0), 255) << x;
}

TEST(Gamma, ofLessThanZeroIsLimited) {
  EXPECT_PICTURE(gammaOf(gray8({{0, 1, 2, 200}}), -1), gray8({{0, 1, 0, 0}})) << "1 / 0 is no 32-bit integer";
  EXPECT_PICTURE(gammaOf(gray8({{0, 1, 2, 200}}), 0), gray8({{1, 1, 1, 1}}));
  EXPECT_PICTURE(gammaOf(gray8({{0, 1, 2, 200}}), 30), gray8({{0, 1, 255, 0}}));
}

template <class Processing>
class Tables : public testing::Test {
 protected:
  static CPxImage mapped(CPxImage image, float coefficient, int n = 256) {
    return through<Processing>(image, coefficient, n);
  }
};
using Both = testing::Types<CPxContrastProcessing, CPxGammaProcessing>;
TYPED_TEST_SUITE(Tables, Both);

TYPED_TEST(Tables, aWordImageTakesATableOf65536) {
  const CPxImage words = gray16({{0, 1, 300, 65535}});
  EXPECT_PICTURE(this->mapped(words, 1, 65536), words);
  EXPECT_PICTURE(this->mapped(gray16({{2, 40000}}), 2, 65536), gray16({{4, 65535}}));
}

TYPED_TEST(Tables, samplesBeyondTheTableStay) {
  EXPECT_PICTURE(this->mapped(gray16({{2, 15, 16, 60000}}), 2, 16), gray16({{4, 15, 16, 60000}}));
  EXPECT_PICTURE(this->mapped(gray8({{0, 1, 2, 200}}), 0, 1), gray8({{0, 1, 2, 200}}));
}

TYPED_TEST(Tables, aLongTableIsStoredByItsLowByte) {
  // Entry 200 is 400 in one table and 40000 in the other.
  const double expected = std::is_same_v<TypeParam, CPxContrastProcessing> ? 400 % 256 : 40000 % 256;
  EXPECT_PICTURE(this->mapped(gray8({{200}}), 2, 65536), gray8({{expected}}));
}

TYPED_TEST(Tables, mapAlphaToo) {
  EXPECT_PICTURE(this->mapped(picture(CM_RGBA, 8, {{2, 2, 2, 2}}), 2), picture(CM_RGBA, 8, {{4, 4, 4, 4}}));
  EXPECT_PICTURE(this->mapped(rgb8({{2, 2, 2}}), 2), rgb8({{4, 4, 4}}));
}

TYPED_TEST(Tables, reportSuccessWhereNothingIsProcessed) {
  for (const PixelType type : {PixelType{CM_GRAYA, 8}, PixelType{CM_GRAYA, 16}, PixelType{CM_GRAY, 32},
                               PixelType{CM_RGB, 32}, PixelType{CM_GRAY, 33}}) {
    Random random(1);
    const CPxImage image = randomImage(random, type, 4, 3);
    EXPECT_TRUE(identical(this->mapped(image, 2), image));
  }
}

TYPED_TEST(Tables, touchOnlyTheRectangle) {
  const CPxImage before = gray8({{2, 2, 2}, {2, 2, 2}, {2, 2, 2}}), after = gray8({{2, 2, 2}, {2, 4, 4}, {2, 4, 4}});
  for (const CRect& rect : {CRect(1, 1, 2, 2), CRect(2, 2, 1, 1), CRect(INT_MAX, 1, 1, INT_MAX), CRect(1, 99, 2, 1)}) {
    CPxImage image = before;
    TypeParam processing(&image);
    processing.SetCoefficient(2);
    processing.CreateVectorTable(256);
    EXPECT_EQ(apply(processing, rect), 1);
    EXPECT_PICTURE(image, after);
  }
}

TYPED_TEST(Tables, refuseARectangleOutsideWithoutAMessage) {
  Messages messages;
  CPxImage image = gray8({{2, 2}});
  TypeParam processing(&image);
  processing.CreateVectorTable(256);
  for (const CRect& rect : {CRect(2, 0, 9, 9), CRect(-9, 0, -1, 9), CRect(0, 1, 9, 9), CRect(0, -9, 9, -1)})
    EXPECT_EQ(apply(processing, rect), 0);
  EXPECT_PICTURE(image, gray8({{2, 2}}));
  EXPECT_EQ(messages.count, 0);
}

TYPED_TEST(Tables, aCoefficientWaitsForTheNextTable) {
  CPxImage image = gray8({{3}});
  TypeParam processing(&image);
  EXPECT_EQ(processing.GetCoefficient(), 1.5F);
  processing.SetCoefficient(2);
  processing.CreateVectorTable(256);
  processing.SetCoefficient(0.25F);
  EXPECT_EQ(processing.GetCoefficient(), 0.25F);
  EXPECT_EQ(apply(processing, kAll), 1);
  EXPECT_PICTURE(image, gray8({{std::is_same_v<TypeParam, CPxContrastProcessing> ? 6.0 : 9.0}}));
  processing.CreateVectorTable(256);
  EXPECT_EQ(apply(processing, kAll), 1);
  EXPECT_PICTURE(image, gray8({{std::is_same_v<TypeParam, CPxContrastProcessing> ? 2.0 : 1.0}}));
}

TYPED_TEST(Tables, withoutATableOrAnImageAMessageSaysSo) {
  GetHostProfileManager().SetCaption("Darkroom");
  Messages messages;
  CPxImage image = gray8({{3}});
  TypeParam processing(&image);
  EXPECT_EQ(apply(processing, kAll), 0);
  EXPECT_EQ(messages.count, 1);
  EXPECT_EQ(messages.text, "You should call a SetCoefficient and CreateVectorTable function first.");
  EXPECT_EQ(messages.caption, "Darkroom");
  EXPECT_EQ(messages.style, 0x30u);
  GetHostProfileManager().SetCaption(nullptr);

  processing.SetCoefficient(2);
  EXPECT_EQ(apply(processing, kAll), 0) << "a coefficient makes no table";
  for (const int n : {0, -1, INT_MIN}) {
    EXPECT_EQ(processing.CreateVectorTable(n), 1);
    EXPECT_EQ(apply(processing, CRect(9, 9, 9, 9)), 0);
  }
  EXPECT_EQ(messages.count, 5);
  EXPECT_EQ(messages.caption, "");

  processing.CreateVectorTable(256);
  processing.SetImage(nullptr);
  EXPECT_EQ(apply(processing, kAll), 0);
  EXPECT_EQ(messages.count, 6);
  CPxImage none;
  processing.SetImage(&none);
  EXPECT_EQ(apply(processing, kAll), 0) << "an image that is not created is no reason for a message";
  EXPECT_EQ(messages.count, 6);
  EXPECT_PICTURE(image, gray8({{3}}));
}

TYPED_TEST(Tables, anImageWithoutSamplesIsDoneAtOnce) {
  for (const auto& [width, height] : {std::pair(0, 0), std::pair(3, 0), std::pair(0, 3)}) {
    CPxImage image(CM_GRAY, 8, width, height);
    TypeParam processing(&image);
    processing.CreateVectorTable(256);
    EXPECT_EQ(apply(processing, kAll), 1);
    EXPECT_EQ(apply(processing, CRect(0, 0, 3, 3)), 0);
  }
}

TYPED_TEST(Tables, areCopiedDeeply) {
  CPxImage image = gray8({{3}});
  TypeParam first(&image);
  first.SetCoefficient(2);
  first.CreateVectorTable(256);
  TypeParam second(first), third;
  third = first;
  first.CreateVectorTable(0);
  const CPxImage expected = gray8({{std::is_same_v<TypeParam, CPxContrastProcessing> ? 6.0 : 9.0}});
  EXPECT_EQ(apply(second, kAll), 1);
  EXPECT_PICTURE(image, expected);
  image = gray8({{3}});
  EXPECT_EQ(apply(third, kAll), 1);
  EXPECT_PICTURE(image, expected);
}

TYPED_TEST(Tables, ignoreTheAreaOfInterest) {
  CPxImage image = gray8({{2}}), nothing = gray8({{0}});
  TypeParam processing(&image);
  processing.SetAOIImage(&nothing);
  processing.SetCoefficient(2);
  processing.CreateVectorTable(256);
  EXPECT_EQ(apply(processing, kAll), 1);
  EXPECT_PICTURE(image, gray8({{4}}));
}

TYPED_TEST(Tables, canBeDeletedThroughTheirBase) { EXPECT_TRUE(std::has_virtual_destructor_v<TypeParam>); }

TEST(Brightness, canBeDeletedThroughItsBase) {
  EXPECT_TRUE(std::has_virtual_destructor_v<CPxBrightnessProcessing>);
  EXPECT_FALSE(std::has_virtual_destructor_v<CPxPointProcessing>);
}

TEST(AutoContrast, isInert) {
  CPxImage image = gray8({{3}});
  EXPECT_EQ(CPxContrastProcessing(&image).AutoContrast(), 0);
  EXPECT_EQ(CPxContrastProcessing().AutoContrast(), 0);
  EXPECT_PICTURE(image, gray8({{3}}));
}

}  // namespace
}  // namespace rasterkit::test
