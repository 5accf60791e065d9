#include <rasterkit/point/arithmetic.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

const CRect kAll(-1, -1, -1, -1);

CPxImage added(CPxImage image, auto k, CRect rect = kAll) {
  EXPECT_EQ(CPxArithmeticProcessing(&image).ADD(k, rect), 1);
  return image;
}
CPxImage subtracted(CPxImage image, auto k, CRect rect = kAll) {
  EXPECT_EQ(CPxArithmeticProcessing(&image).SUB(k, rect), 1);
  return image;
}
CPxImage multiplied(CPxImage image, auto k, CRect rect = kAll) {
  EXPECT_EQ(CPxArithmeticProcessing(&image).MUL(k, rect), 1);
  return image;
}
CPxImage divided(CPxImage image, CPxImage other, CRect rect = kAll) {
  EXPECT_EQ(CPxArithmeticProcessing(&image).DIV(other, rect), 1);
  return image;
}
CPxImage united(CPxImage image, CPxImage other, CRect rect = kAll) {
  EXPECT_EQ(CPxArithmeticProcessing(&image).OR(other, rect), 1);
  return image;
}

// Constants -----------------------------------------------------------------------------------------------------------

TEST(Add, isLimitedAboveAndWrapsBelow) {
  EXPECT_PICTURE(added(gray8({{0, 10, 250}}), 5), gray8({{5, 15, 255}}));
  EXPECT_PICTURE(added(gray8({{0, 10, 250}}), 6), gray8({{6, 16, 255}}));
  EXPECT_PICTURE(added(gray8({{0, 10, 250}}), 300), gray8({{255, 255, 255}}));
  EXPECT_PICTURE(added(gray8({{0, 10, 250}}), -20), gray8({{236, 246, 230}}));
  EXPECT_PICTURE(added(gray8({{0, 10, 250}}), -1000), gray8({{24, 34, 18}}));
}

TEST(Add, bringsWordsToTheLowByte) {
  EXPECT_PICTURE(added(gray16({{0, 250, 1000, 65535}}), 5), gray16({{5, 255, 255, 255}}));
  EXPECT_PICTURE(added(gray16({{0, 250, 1000, 65535}}), 0), gray16({{0, 250, 255, 255}}));
  EXPECT_PICTURE(added(gray16({{0, 250, 1000, 65535}}), -20), gray16({{236, 230, 255, 255}}));
  EXPECT_PICTURE(added(gray16({{0, 250, 1000, 65535}}), -800), gray16({{224, 218, 200, 255}}));
  EXPECT_PICTURE(added(gray16({{0, 250, 1000, 65535}}), -70000), gray16({{144, 138, 120, 143}}));
}

TEST(Add, wrapsIn32Bits) {
  EXPECT_PICTURE(added(gray8({{0, 1, 255}}), INT_MAX), gray8({{255, 0, 254}}));
  EXPECT_PICTURE(added(gray8({{0, 1, 255}}), INT_MAX - 254), gray8({{255, 255, 0}}));
  EXPECT_PICTURE(added(gray8({{0, 1, 255}}), INT_MIN), gray8({{0, 1, 255}}));
  EXPECT_PICTURE(added(gray16({{0, 1, 65535}}), INT_MAX), gray16({{255, 0, 254}}));
  EXPECT_PICTURE(added(gray16({{0, 1, 65535}}), INT_MIN), gray16({{0, 1, 255}}));
}

TEST(Add, quantisesFloats) {
  EXPECT_PICTURE(added(grayFloat({{0.75, 254.9, 255.5, 1e6, -1.5, -300}}), 0),
                 grayFloat({{0, 254, 255, 255, 255, 212}}));
  EXPECT_PICTURE(added(grayFloat({{NAN, INFINITY, -INFINITY, 3e9}}), 0), grayFloat({{0, 0, 0, 0}}))
      << "truncated before it is limited";
  EXPECT_PICTURE(added(grayFloat({{NAN, INFINITY, -INFINITY, 3e9}}), 0.0F), grayFloat({{0, 255, 0, 255}}))
      << "limited before it is truncated";
}

TEST(Add, ofFloatsTruncatesTheSum) {
  EXPECT_PICTURE(added(gray8({{1, 253, 254}}), 1.75F), gray8({{2, 254, 255}}));
  EXPECT_PICTURE(added(gray8({{1, 253, 254}}), -1.5F), gray8({{0, 251, 252}}));
  EXPECT_PICTURE(added(gray8({{1, 253, 254}}), -2.5F), gray8({{255, 250, 251}}));
  EXPECT_PICTURE(added(gray8({{1, 253, 254}}), NAN), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(added(gray8({{1, 253, 254}}), -1e10F), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(added(gray16({{1, 253, 65535}}), 0.5F), gray16({{1, 253, 255}}));
}

TEST(Sub, isLimitedBelowAndWrapsAbove) {
  EXPECT_PICTURE(subtracted(gray8({{0, 10, 250}}), 20), gray8({{0, 0, 230}}));
  EXPECT_PICTURE(subtracted(gray8({{0, 10, 250}}), 1000), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(subtracted(gray8({{0, 10, 250}}), -300), gray8({{44, 54, 38}}));
  EXPECT_PICTURE(subtracted(gray8({{0, 1, 255}}), INT_MIN), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(subtracted(gray8({{0, 1, 255}}), -INT_MAX), gray8({{255, 0, 0}}));
  EXPECT_PICTURE(subtracted(gray8({{0, 1, 255}}), INT_MAX), gray8({{0, 0, 0}}));
}

TEST(Sub, bringsWordsToTheLowByte) {
  EXPECT_PICTURE(subtracted(gray16({{0, 300, 65535}}), 20), gray16({{0, 24, 235}}));
  EXPECT_PICTURE(subtracted(gray16({{0, 300, 65535}}), 65535), gray16({{0, 0, 0}}));
  EXPECT_PICTURE(subtracted(gray16({{0, 300, 65535}}), 70000), gray16({{0, 0, 0}}));
  EXPECT_PICTURE(subtracted(gray16({{0, 300, 65535}}), -70000), gray16({{112, 156, 111}}));
  EXPECT_PICTURE(subtracted(gray16({{0, 300, 65535}}), INT_MIN), gray16({{0, 0, 0}}));
}

TEST(Sub, ofFloats) {
  EXPECT_PICTURE(subtracted(gray8({{1, 2, 254}}), 1.5F), gray8({{0, 0, 252}}));
  EXPECT_PICTURE(subtracted(gray8({{1, 2, 254}}), -2.5F), gray8({{3, 4, 0}}));
  EXPECT_PICTURE(subtracted(grayFloat({{0.5, 300.5, -7, NAN, INFINITY, -INFINITY}}), 0),
                 grayFloat({{0, 44, 0, 0, 0, 0}}));
  EXPECT_PICTURE(subtracted(grayFloat({{0.5, 300.5, -7, NAN, INFINITY, -INFINITY}}), 0.25F),
                 grayFloat({{0, 44, 0, 0, 0, 0}}));
}

TEST(Mul, isRoundedAndLimitedOnBothSides) {
  EXPECT_PICTURE(multiplied(gray8({{0, 1, 85, 86, 255}}), 3), gray8({{0, 3, 255, 255, 255}}));
  EXPECT_PICTURE(multiplied(gray8({{0, 1, 255}}), -1), gray8({{0, 0, 0}}));
  EXPECT_PICTURE(multiplied(gray8({{0, 1, 255}}), 100000), gray8({{0, 255, 255}}));
  EXPECT_PICTURE(multiplied(gray16({{0, 1, 127, 128, 1000}}), 2), gray16({{0, 2, 254, 255, 255}}));
  EXPECT_PICTURE(multiplied(gray8({{0, 1, 2, 3, 255}}), 0.5F), gray8({{0, 1, 1, 2, 128}}));
  EXPECT_PICTURE(multiplied(gray8({{0, 1, 2, 3, 255}}), -0.5F), gray8({{0, 0, 0, 0, 0}}));
  EXPECT_PICTURE(multiplied(gray16({{0, 1, 65535}}), 0.001F), gray16({{0, 0, 66}}));
}

TEST(Mul, wrapsIn32Bits) {
  EXPECT_PICTURE(multiplied(gray8({{1, 2, 3}}), 0x7FFFFFFF), gray8({{255, 0, 255}}));
  EXPECT_PICTURE(multiplied(gray8({{1, 2, 4}}), 0x40000000), gray8({{255, 0, 0}}));
  EXPECT_PICTURE(multiplied(gray16({{1, 2, 65535}}), INT_MIN), gray16({{0, 0, 0}}));
  EXPECT_PICTURE(multiplied(gray16({{1, 32768, 65535}}), 65537), gray16({{255, 0, 0}}));
}

TEST(Mul, ofFloats) {
  EXPECT_PICTURE(multiplied(grayFloat({{0.75, 1.5, 127.9, -3, NAN, 3e9, INFINITY}}), 1),
                 grayFloat({{0, 1, 127, 0, 0, 0, 0}}))
      << "a whole factor truncates the product before it is limited";
  EXPECT_PICTURE(multiplied(grayFloat({{0.25, 0.5, 254.49, 254.5, -0.4, -3, NAN, INFINITY}}), 1.0F),
                 grayFloat({{0, 1, 254, 255, 0, 0, 0, 255}}));
}

TEST(Constants, touchOnlyTheRectangle) {
  const CPxImage image = gray8({{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}});
  const CPxImage part = gray8({{1, 1, 1, 1}, {1, 3, 3, 1}, {1, 3, 3, 1}});
  EXPECT_PICTURE(added(image, 2, CRect(1, 1, 2, 2)), part);
  EXPECT_PICTURE(added(image, 2, CRect(2, 2, 1, 1)), part);
  EXPECT_PICTURE(multiplied(image, 3, CRect(2, INT_MAX, 1, 1)), part);
  EXPECT_PICTURE(subtracted(image, -2.0F, CRect(1, 1, 2, 99)), part);
  EXPECT_PICTURE(added(image, 2, CRect(INT_MIN, INT_MAX, INT_MAX, INT_MIN)), added(image, 2));
  EXPECT_PICTURE(added(image, 2, CRect(3, 2, 3, 2)), gray8({{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 3}}));
}

TEST(Constants, refuseARectangleOutside) {
  for (const CRect& rect : {CRect(-9, 0, -1, 3), CRect(4, 0, 9, 3), CRect(0, -9, 3, -1), CRect(0, 3, 3, 9),
                            CRect(INT_MIN, INT_MIN, INT_MIN, INT_MIN), CRect(-1, -1, -1, 0)}) {
    for (const COLOR_MODEL model : {CM_GRAY, CM_GRAYA}) {
      CPxImage image(model, 8, 4, 3);
      CPxArithmeticProcessing arithmetic(&image);
      EXPECT_EQ(arithmetic.ADD(1, rect), 0);
      EXPECT_EQ(arithmetic.ADD(1.0F, rect), 0);
      EXPECT_EQ(arithmetic.SUB(-1, rect), 0);
      EXPECT_EQ(arithmetic.SUB(-1.0F, rect), 0);
      EXPECT_EQ(arithmetic.MUL(1, rect), 0);
      EXPECT_EQ(arithmetic.MUL(1.0F, rect), 0);
      EXPECT_TRUE(identical(image, CPxImage(model, 8, 4, 3)));
    }
  }
}

TEST(Constants, changeAllSamplesOfColourPixels) {
  EXPECT_PICTURE(added(rgb8({{1, 2, 3, 4, 5, 6}}), 1), rgb8({{2, 3, 4, 5, 6, 7}}));
  EXPECT_PICTURE(added(picture(CM_RGBA, 16, {{1, 2, 3, 4}}), 1), picture(CM_RGBA, 16, {{2, 3, 4, 5}}));
  EXPECT_PICTURE(added(picture(CM_CMYK, 8, {{1, 2, 3, 4}}), 1), picture(CM_CMYK, 8, {{2, 3, 4, 5}}));
}

TEST(Constants, reportSuccessWhereNothingIsProcessed) {
  for (const PixelType type : {PixelType{CM_GRAYA, 8}, PixelType{CM_GRAYA, 16}, PixelType{CM_GRAYA, 32},
                               PixelType{CM_RGB, 32}, PixelType{CM_RGBA, 32}, PixelType{CM_GRAY, 33}}) {
    Random random(7);
    const CPxImage image = randomImage(random, type, 3, 2);
    EXPECT_TRUE(identical(added(image, 1), image));
    EXPECT_TRUE(identical(subtracted(image, 1.0F), image));
    EXPECT_TRUE(identical(multiplied(image, 2), image));
  }
}

TEST(Constants, ofAnImageWithoutSamples) {
  for (const auto& [width, height] : {std::pair(0, 0), std::pair(3, 0), std::pair(0, 3)}) {
    CPxImage image(CM_GRAY, 8, width, height);
    EXPECT_EQ(CPxArithmeticProcessing(&image).ADD(1, kAll), 0);
    EXPECT_EQ(CPxArithmeticProcessing(&image).DIV(image, kAll), 1);
    EXPECT_EQ(CPxArithmeticProcessing(&image).DIV(image, CRect(0, 0, 5, 5)), 0);
  }
  CPxImage none;
  for (CPxImage* image : {&none, static_cast<CPxImage*>(nullptr)}) {
    EXPECT_EQ(CPxArithmeticProcessing(image).ADD(1, kAll), 0);
    EXPECT_EQ(CPxArithmeticProcessing(image).MUL(1.0F, kAll), 0);
    EXPECT_EQ(CPxArithmeticProcessing(image).OR(none, kAll), 0);
  }
}

TEST(Constants, ignoreTheAreaOfInterest) {
  CPxImage image = gray8({{1, 2}}), nothing = gray8({{0, 0}});
  CPxArithmeticProcessing arithmetic(&image);
  arithmetic.SetAOIImage(&nothing);
  EXPECT_EQ(arithmetic.ADD(1, kAll), 1);
  EXPECT_PICTURE(image, gray8({{2, 3}}));
}

// Another image -------------------------------------------------------------------------------------------------------

TEST(Div, dividesByOneMore) {
  EXPECT_PICTURE(divided(gray8({{255, 255, 200, 7}}), gray8({{0, 1, 2, 255}})), gray8({{255, 127, 66, 0}}));
  EXPECT_PICTURE(divided(gray16({{65535, 65535, 1000}}), gray16({{0, 65535, 2}})), gray16({{65535, 0, 333}}));
}

TEST(Div, isExactForAllWordQuotientsAtStake) {
  CPxImage numbers(CM_GRAY, 16, 4096, 1), divisors(CM_GRAY, 16, 4096, 1);
  for (int x = 0; x < 4096; ++x) {
    const int divisor = 1 + x % 255;
    setSample(numbers, x, 0, 0, divisor * (x % 250 + 1) - x % 2);
    setSample(divisors, x, 0, 0, divisor - 1);
  }
  const CPxImage quotients = divided(numbers, divisors);
  for (int x = 0; x < 4096; ++x)
    EXPECT_EQ(sampleAt(quotients, x, 0), int(sampleAt(numbers, x, 0)) / (int(sampleAt(divisors, x, 0)) + 1));
}

TEST(Div, isExactForAllQuotientsOfBytes) {
  CPxImage numbers(CM_GRAY, 8, 256, 256), divisors(CM_GRAY, 8, 256, 256);
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x) {
      setSample(numbers, x, y, 0, x);
      setSample(divisors, x, y, 0, y);
    }
  }
  const CPxImage quotients = divided(numbers, divisors);
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) EXPECT_EQ(sampleAt(quotients, x, y), x / (y + 1)) << x << ' ' << y;
}

TEST(Div, byZerosChangesNothing) {
  Random random(3);
  for (const PixelType type : {PixelType{CM_GRAY, 8}, PixelType{CM_RGB, 16}, PixelType{CM_RGBA, 8}}) {
    const CPxImage image = randomImage(random, type, 9, 4);
    EXPECT_TRUE(identical(divided(image, CPxImage(type.model, type.bits, 9, 4)), image));
  }
}

TEST(Div, weightsFloats) {
  EXPECT_PICTURE(divided(grayFloat({{100, 100, 100, -3}}), grayFloat({{0, 255, 51, 510}})),
                 grayFloat({{0, 100, 20, -6}}));
  EXPECT_PICTURE(divided(picture(CM_RGB, 32, {{1, 2, 3}}), picture(CM_RGB, 32, {{255, 510, 0}})),
                 picture(CM_RGB, 32, {{1, 4, 0}}));
}

TEST(Or, joinsBits) {
  EXPECT_PICTURE(united(gray8({{1, 2, 255}}), gray8({{2, 2, 0}})), gray8({{3, 2, 255}}));
  EXPECT_PICTURE(united(gray16({{0x0100, 0xF0F0}}), gray16({{0x0001, 0x0F00}})), gray16({{0x0101, 0xFFF0}}));
  const CPxImage floats = grayFloat({{1, 2}});
  EXPECT_TRUE(identical(united(floats, grayFloat({{3, 4}})), floats));
}

TEST(Partners, lieOnTheRectanglesCornerAndEndWhereTheyEnd) {
  const CPxImage zeros(CM_GRAY, 8, 4, 4), other = gray8({{1, 2}, {3, 4}});
  EXPECT_PICTURE(united(zeros, other, CRect(1, 1, 3, 3)),
                 gray8({{0, 0, 0, 0}, {0, 1, 2, 0}, {0, 3, 4, 0}, {0, 0, 0, 0}}));
  EXPECT_PICTURE(united(zeros, other, CRect(-1, -1, 3, 3)),
                 gray8({{4, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
  EXPECT_PICTURE(united(zeros, other, CRect(0, -1, 1, 2)),
                 gray8({{3, 4, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
  EXPECT_TRUE(identical(united(zeros, other, CRect(-2, 0, 3, 3)), zeros)) << "the other image ends outside";
  EXPECT_TRUE(identical(united(zeros, other, CRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX)), zeros));
  EXPECT_PICTURE(united(zeros, other), gray8({{1, 2, 0, 0}, {3, 4, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
}

TEST(Partners, coverTheRectanglesLastColumnAndRow) {
  const CPxImage zeros(CM_GRAY, 8, 3, 3), ones = added(zeros, 1);
  EXPECT_PICTURE(united(zeros, ones, CRect(0, 0, 1, 1)), gray8({{1, 1, 0}, {1, 1, 0}, {0, 0, 0}}));
  EXPECT_PICTURE(united(zeros, ones, CRect(1, 0, 9, 9)), gray8({{0, 1, 1}, {0, 1, 1}, {0, 1, 1}}));
}

TEST(Partners, refuseEmptyIntersections) {
  CPxImage image(CM_GRAY, 8, 4, 4), other = added(image, 1);
  CPxArithmeticProcessing arithmetic(&image);
  for (const CRect& rect : {CRect(1, 1, 1, 3), CRect(1, 1, 3, 1), CRect(3, 0, 9, 3), CRect(0, 3, 3, 9),
                            CRect(3, 3, 0, 0), CRect(-4, 0, 0, 3), CRect(9, 9, 12, 12)}) {
    EXPECT_EQ(arithmetic.DIV(other, rect), 0);
    EXPECT_EQ(arithmetic.OR(other, rect), 0);
  }
  EXPECT_TRUE(identical(image, CPxImage(CM_GRAY, 8, 4, 4)));
}

TEST(Partners, oneColumnIsTheWholeImageOnlyByItsName) {
  const CPxImage column = gray8({{1}, {1}, {1}}), twos = gray8({{2}, {2}, {2}});
  EXPECT_PICTURE(united(column, twos), gray8({{3}, {3}, {3}}));
  CPxImage image = column, other = twos;
  EXPECT_EQ(CPxArithmeticProcessing(&image).OR(other, CRect(0, 0, 0, 2)), 0);
  EXPECT_TRUE(identical(image, column));
}

TEST(Partners, ofAnotherTypeNeedAPixelOfAsManyBytes) {
  EXPECT_PICTURE(united(gray16({{0, 0}}), picture(CM_GRAYA, 8, {{1, 2, 3, 4}})), gray16({{0x0201, 0x0403}}));
  CPxImage image = gray8({{1, 1}}), other = gray16({{2, 2}}), none;
  EXPECT_EQ(CPxArithmeticProcessing(&image).OR(other, kAll), 0);
  EXPECT_EQ(CPxArithmeticProcessing(&image).DIV(none, kAll), 0);
  EXPECT_PICTURE(image, gray8({{1, 1}}));
  CPxImage pair(CM_GRAYA, 8, 2, 1);
  EXPECT_EQ(CPxArithmeticProcessing(&pair).DIV(image, kAll), 1) << "not processed, whatever the partner";
  EXPECT_EQ(CPxArithmeticProcessing(&pair).DIV(image, CRect(5, 5, 9, 9)), 0);
}

TEST(Partners, mayBeTheImageItself) {
  CPxImage image = gray8({{1, 2, 4}, {8, 16, 32}, {64, 128, 0}});
  EXPECT_EQ(CPxArithmeticProcessing(&image).OR(image, CRect(1, 1, 2, 2)), 1);
  EXPECT_PICTURE(image, gray8({{1, 2, 4}, {8, 17, 34}, {64, 136, 16}}));
  EXPECT_EQ(CPxArithmeticProcessing(&image).DIV(image, kAll), 1);
  EXPECT_PICTURE(image, gray8({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}));
}

TEST(Inert, arithmeticReturnsOneAndChangesNothing) {
  CPxImage image = gray8({{1, 2}}), other = gray8({{3, 4}}), none;
  for (CPxImage* bound : {&image, &none, static_cast<CPxImage*>(nullptr)}) {
    CPxArithmeticProcessing arithmetic(bound);
    EXPECT_EQ(arithmetic.AND(other, kAll), 1);
    EXPECT_EQ(arithmetic.NOT(none, CRect(9, 9, 12, 12)), 1);
    EXPECT_EQ(arithmetic.XOR(other, kAll), 1);
    EXPECT_EQ(arithmetic.DIV(2, kAll), 1);
    EXPECT_EQ(arithmetic.DIV(2.0F, kAll), 1);
  }
  EXPECT_PICTURE(image, gray8({{1, 2}}));
  EXPECT_PICTURE(other, gray8({{3, 4}}));
}

}  // namespace
}  // namespace rasterkit::test
