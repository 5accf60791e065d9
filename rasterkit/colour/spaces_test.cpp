// All 2^24 colours through the colour spaces and back, against the formulas of one pixel.

#include <rasterkit/colour/colour.h>
#include <rasterkit/core/levels.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/plain/colour.h"
#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using Colour = CPxColorProcessing;
using plain::ColourTriple;
using plain::SpaceTriple;

// One image for each red: green in the rows, blue in the columns.
CPxImage sheetOf(int red) {
  CPxImage sheet(CM_RGB, 8, 256, 256);
  auto* sample = static_cast<std::uint8_t*>(sheet.GetBuffer());
  for (int green = 0; green < 256; ++green) {
    for (int blue = 0; blue < 256; ++blue) {
      *sample++ = static_cast<std::uint8_t>(blue);
      *sample++ = static_cast<std::uint8_t>(green);
      *sample++ = static_cast<std::uint8_t>(red);
    }
  }
  return sheet;
}

ColourTriple colourAt(int red, int i) { return {red, i >> 8, i & 255}; }

bool sameBits(SpaceTriple expected, const float* actual) { return std::memcmp(&expected, actual, 12) == 0; }

// Compares every colour's way there, and its way back if there is one; how many colours come back as they were.
template <class There, class Back>
int comeBack(COLOR_MODEL model, int (*convert)(const CPxImage*, CPxImage*), There there,
             int (*restore)(const CPxImage*, CPxImage*), Back back) {
  int exact = 0, wrong = 0;
  CPxImage space(model, 32, 256, 256), restored(CM_RGB, 8, 256, 256), other = space, otherRestored = restored;
  const auto* values = static_cast<const float*>(space.GetBuffer());
  const auto* samples = static_cast<const std::uint8_t*>(restored.GetBuffer());
  for (int red = 0; red < 256; ++red) {
    const CPxImage sheet = sheetOf(red);
    EXPECT_EQ(convert(&sheet, &space), 1);
    if (restore) {
      EXPECT_EQ(restore(&space, &restored), 1);
    }
    // Every level gives the same bytes; the reds are shared out among them.
    const char* const levels[] = {"baseline", "v2", "v3", "v4"};
    if (useLevel(levels[red % 4])) {
      convert(&sheet, &other);
      if (restore) restore(&other, &otherRestored);
      EXPECT_TRUE(test::identical(other, space)) << levels[red % 4];
      EXPECT_TRUE(test::identical(otherRestored, restored)) << levels[red % 4];
    }
    useLevel("best");
    for (int i = 0; i < 65536; ++i) {
      const ColourTriple colour = colourAt(red, i);
      const SpaceTriple expected = there(colour);
      if (!sameBits(expected, values + i * 3) && wrong++ < 5) {
        ADD_FAILURE() << colour.red << " " << colour.green << " " << colour.blue << " gives " << values[i * 3] << " "
                      << values[i * 3 + 1] << " " << values[i * 3 + 2] << ", expected " << expected.first << " "
                      << expected.second << " " << expected.third;
      }
      if (!restore) continue;
      const ColourTriple returned = {samples[i * 3 + 2], samples[i * 3 + 1], samples[i * 3]};
      if (!(returned == back(expected)) && wrong++ < 5)
        ADD_FAILURE() << colour.red << " " << colour.green << " " << colour.blue << " comes back as " << returned.red
                      << " " << returned.green << " " << returned.blue;
      exact += returned == colour;
    }
  }
  EXPECT_EQ(wrong, 0);
  return exact;
}

ColourTriple nothing(SpaceTriple) { return {}; }

// Blue takes no part in the extremes, and the way back truncates.
TEST(AllColours, throughHsiAndBack) {
  const int exact = comeBack(CM_HSI, Colour::RGBtoHSI, plain::hsiOf, Colour::HSItoRGB, plain::ofHsi);
  EXPECT_EQ(exact, 2314158);
}

TEST(AllColours, throughHlsAndBack) {
  const auto back = [](SpaceTriple p) { return plain::ofHls(p); };
  const int exact = comeBack(CM_HLS, Colour::RGBtoHLS, plain::hlsOf, Colour::HLStoRGB, back);
  EXPECT_EQ(exact, 7058791);
}

// The negated bytes of values of 0 to 1 are 0 nearly everywhere: hardly a colour comes back.
TEST(AllColours, throughYCbCrAndBack) {
  const int exact = comeBack(CM_YCbCr, Colour::RGBtoYCbCr, plain::ycbcrOf, Colour::YCbCrtoRGB, plain::ofYcbcr);
  EXPECT_EQ(exact, 4);
}

TEST(AllColours, throughHsv) { comeBack(CM_HSV, Colour::RGBtoHSV, plain::hsvOf, nullptr, nothing); }

// Where a sample's way back changes its formula, and just beside, among usual hues and among any.
TEST(WaysBack, fromTheEdgesOfHuesAndAnyNumbers) {
  test::Random random(11);
  const float most = std::numeric_limits<float>::max(), infinity = std::numeric_limits<float>::infinity();
  const std::vector<float> odd = {0.0F,      -0.0F,
                                  1.0F,      std::nextafter(1.0F, 2.0F),
                                  2.0F,      std::nextafter(2.0F, 3.0F),
                                  0.5F,      -1.0F,
                                  420.0F,    -120.0F,
                                  1e30F,     most,
                                  -most,     infinity,
                                  -infinity, std::numeric_limits<float>::quiet_NaN()};
  const auto sixth = [&] {
    const float hue = 60.0F * static_cast<float>(random.between(0, 6));
    const int side = random.between(-1, 1);
    return side == 0 ? hue : std::nextafter(hue, side > 0 ? 1000.0F : -1000.0F);
  };
  const auto unit = [&] {
    return random.oneIn(4) ? 0.5F * static_cast<float>(random.between(0, 2)) : static_cast<float>(random.fraction());
  };
  for (const COLOR_MODEL model : {CM_HLS, CM_HSI, CM_YCbCr}) {
    CPxImage source(model, 32, 999, 40), back(CM_RGB, 8, 999, 40);
    for (int y = 0; y < 40; ++y)
      for (int x = 0; x < 999; ++x)
        for (int c = 0; c < 3; ++c) {
          const bool any = y % 2 == 1 && random.oneIn(10);
          test::setSample(source, x, y, c,
                          double{any                           ? random.pick(odd)
                                 : c == 0 && model != CM_YCbCr ? sixth()
                                                               : unit()});
        }
    for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
      if (!useLevel(level)) continue;
      const auto restore = model == CM_HLS   ? &Colour::HLStoRGB
                           : model == CM_HSI ? static_cast<int (*)(const CPxImage*, CPxImage*)>(&Colour::HSItoRGB)
                                             : &Colour::YCbCrtoRGB;
      ASSERT_EQ(restore(&source, &back), 1);
      for (int y = 0; y < 40; ++y) {
        const auto* pixel = static_cast<const float*>(source.Get2DBuffer()[y]);
        const auto* sample = static_cast<const std::uint8_t*>(back.Get2DBuffer()[y]);
        for (int x = 0; x < 999; ++x, pixel += 3, sample += 3) {
          const SpaceTriple p = {pixel[0], pixel[1], pixel[2]};
          const ColourTriple expected = model == CM_HLS   ? plain::ofHls(p)
                                        : model == CM_HSI ? plain::ofHsi(p)
                                                          : plain::ofYcbcr(p);
          const ColourTriple actual = {sample[2], sample[1], sample[0]};
          ASSERT_TRUE(actual == expected)
              << level << ", model " << model << ": " << p.first << " " << p.second << " " << p.third;
        }
      }
    }
  }
  useLevel("best");
}

TEST(AllColours, throughCmykAndBack) {
  CPxImage cmyk(CM_CMYK, 8, 256, 256), expected(CM_CMYK, 8, 256, 256), restored(CM_RGB, 8, 256, 256);
  for (int red = 0; red < 256; ++red) {
    const CPxImage sheet = sheetOf(red);
    ASSERT_EQ(Colour::RGBtoCMYK(&sheet, &cmyk), 1);
    ASSERT_EQ(plain::rgbToCmyk(sheet, expected), 1);
    ASSERT_EQ(std::memcmp(cmyk.GetBuffer(), expected.GetBuffer(), static_cast<std::size_t>(cmyk.bufferSize)), 0);
    ASSERT_EQ(Colour::CMYKtoRGB(&cmyk, &restored), 1);
    ASSERT_EQ(std::memcmp(restored.GetBuffer(), sheet.GetBuffer(), static_cast<std::size_t>(sheet.bufferSize)), 0);
  }
}

TEST(AllColours, toGreyAndBlackAndWhite) {
  struct Weights {
    float red, green, blue;
  };
  // The usual weights in whole-number arithmetic, and some that it cannot hold.
  for (const Weights w : {Weights{0.299F, 0.587F, 0.114F}, {0.3333F, 0.001F, 0.777F}, {1.7F, -0.9F, 0.003F}}) {
    CPxImage gray(CM_GRAY, 8, 256, 256), gray16(CM_GRAY, 16, 256, 256);
    int wrong = 0;
    for (int red = 0; red < 256; ++red) {
      const CPxImage sheet = sheetOf(red);
      ASSERT_EQ(Colour::RGBtoGray(&sheet, &gray, w.red, w.green, w.blue), 1);
      ASSERT_EQ(Colour::RGBtoGray16(&sheet, &gray16, w.red, w.green, w.blue), 1);
      CPxImage bitmap(CM_BITMAP, 8, 256, 256), expected(CM_BITMAP, 8, 256, 256);
      ASSERT_EQ(Colour::RGBtoBitmap(&sheet, &bitmap, red), 1);
      ASSERT_EQ(plain::rgbToBitmap(sheet, expected, red), 1);
      wrong += std::memcmp(bitmap.GetBuffer(), expected.GetBuffer(), 65536) != 0;
      const auto* bytes = static_cast<const std::uint8_t*>(gray.GetBuffer());
      const auto* words = static_cast<const std::uint16_t*>(gray16.GetBuffer());
      for (int i = 0; i < 65536; ++i) {
        const ColourTriple colour = colourAt(red, i);
        wrong += bytes[i] != plain::weightedGrey(colour, w.red, w.green, w.blue, 8);
        wrong += words[i] != plain::weightedGrey(colour, w.red, w.green, w.blue, 16);
      }
    }
    EXPECT_EQ(wrong, 0);
  }
}

TEST(AllColours, onePixelAtATime) {
  int wrong = 0;
  for (int red = 0; red < 256; ++red) {
    for (int i = red % 7; i < 65536; i += 7) {
      const ColourTriple colour = colourAt(red, i);
      const auto r = static_cast<unsigned char>(colour.red), g = static_cast<unsigned char>(colour.green),
                 b = static_cast<unsigned char>(colour.blue);
      float values[3];
      Colour::RGBtoHSV(r, g, b, values[0], values[1], values[2]);
      wrong += !sameBits(plain::hsvOf(colour), values);
      Colour::RGBtoHSI(r, g, b, values[0], values[1], values[2]);
      const SpaceTriple hsi = plain::hsiOf(colour);
      wrong += !sameBits(hsi, values);
      unsigned char back[3];
      Colour::HSItoRGB(values[0], values[1], values[2], back[0], back[1], back[2]);
      wrong += !(plain::ofHsi(hsi) == ColourTriple{back[0], back[1], back[2]});
    }
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace rasterkit
