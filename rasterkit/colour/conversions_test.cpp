// Every conversion on every pair of image types, against its slow twin.

#include <rasterkit/colour/colour.h>
#include <rasterkit/core/levels.h>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <vector>

#include "catalogue/catalogue.h"
#include "tests/plain/colour.h"
#include "tests/support/picture.h"

namespace rasterkit {
namespace {

using Colour = CPxColorProcessing;
using test::identical;
using test::PixelType;
using test::Random;
using test::randomImage;

// What a call has besides its images.
struct Arguments {
  int threshold;
  float red, green, blue;
};

using Convert = std::function<int(CPxImage&, CPxImage&, const Arguments&)>;
struct Conversion {
  const char* name;
  Convert fast;
  Convert plain;
};

const std::vector<Conversion>& conversions() {
#define PLAIN_CONVERSION(Method, twin)                                                                                \
  {                                                                                                                   \
#Method, [](CPxImage & s, CPxImage & d,                                                                           \
                const Arguments&) { return Colour::Method(&s, &d); },                                                 \
                                                                   [](CPxImage & s, CPxImage & d,                     \
                                                                      const Arguments&) { return plain::twin(s, d); } \
  }
#define THRESHOLD_CONVERSION(Method, twin)                                                                           \
  {                                                                                                                  \
#Method,                                                                                                         \
        [](CPxImage & s, CPxImage & d,                                                                               \
           const Arguments&                                                                                          \
               a) { return Colour::Method(&s, &d, a.threshold); },                                                   \
                                                                [](CPxImage & s, CPxImage & d,                       \
                                                                   const Arguments&                                  \
                                                                       a) { return plain::twin(s, d, a.threshold); } \
  }
#define WEIGHTED_CONVERSION(Method, twin)                                                                               \
  {                                                                                                                     \
#Method, [](CPxImage& s, CPxImage& d,                                                                                 \
                const Arguments& a) { return Colour::Method(&s, &d, a.red, a.green, a.blue); },                      \
        [](CPxImage& s, CPxImage& d, const Arguments& a) { return plain::twin(s, d, a.red, a.green, a.blue); } \
  }
  static const std::vector<Conversion> all = {PLAIN_CONVERSION(RGBtoRGBA, rgbToRgba),
                                              PLAIN_CONVERSION(RGBAtoRGB, rgbaToRgb),
                                              PLAIN_CONVERSION(RGBtoRGB16, rgbToRgb16),
                                              PLAIN_CONVERSION(RGB16toRGB, rgb16ToRgb),
                                              PLAIN_CONVERSION(GraytoGray16, grayToGray16),
                                              PLAIN_CONVERSION(Gray16toGray, gray16ToGray),
                                              PLAIN_CONVERSION(RGBtoRGB2B, rgbToRgb2b),
                                              PLAIN_CONVERSION(RGB2BtoRGB, rgb2bToRgb),
                                              THRESHOLD_CONVERSION(RGBtoBitmap, rgbToBitmap),
                                              THRESHOLD_CONVERSION(GraytoBitmap, grayToBitmap),
                                              THRESHOLD_CONVERSION(Gray16toBitmap, gray16ToBitmap),
                                              PLAIN_CONVERSION(BitmaptoRGB, bitmapToRgb),
                                              PLAIN_CONVERSION(BitmaptoGray, bitmapToGray),
                                              PLAIN_CONVERSION(BitmaptoGray16, bitmapToGray16),
                                              PLAIN_CONVERSION(IndextoRGB, indexToRgb),
                                              WEIGHTED_CONVERSION(RGBtoGray, rgbToGray),
                                              WEIGHTED_CONVERSION(RGBtoGray16, rgbToGray16),
                                              WEIGHTED_CONVERSION(GraytoRGB, grayToRgb),
                                              WEIGHTED_CONVERSION(Gray16toRGB, gray16ToRgb),
                                              PLAIN_CONVERSION(RGBtoCMYK, rgbToCmyk),
                                              PLAIN_CONVERSION(CMYKtoRGB, cmykToRgb),
                                              PLAIN_CONVERSION(RGBtoHSI, rgbToHsi),
                                              PLAIN_CONVERSION(HSItoRGB, hsiToRgb),
                                              PLAIN_CONVERSION(RGBtoHSV, rgbToHsv),
                                              PLAIN_CONVERSION(RGBtoHLS, rgbToHls),
                                              PLAIN_CONVERSION(HLStoRGB, hlsToRgb),
                                              PLAIN_CONVERSION(RGBtoYCbCr, rgbToYcbcr),
                                              PLAIN_CONVERSION(YCbCrtoRGB, ycbcrToRgb),
                                              PLAIN_CONVERSION(ConverttoRGB, convertToColour),
                                              PLAIN_CONVERSION(ConverttoRGBA, convertToColour)};
#undef PLAIN_CONVERSION
#undef THRESHOLD_CONVERSION
#undef WEIGHTED_CONVERSION
  return all;
}

const std::vector<PixelType>& types() {
  static const std::vector<PixelType> list = [] {
    std::vector<PixelType> made;
    for (const COLOR_MODEL model : {CM_BITMAP, CM_GRAY, CM_GRAYA, CM_INDEX, CM_RGB, CM_RGBA, CM_CMYK})
      for (const int bits : {0, 4, 8, 12, 16, 32, 33}) made.push_back({model, bits});
    for (const COLOR_MODEL model :
         {CM_LOGL, CM_HSI, CM_HSV, CM_HLS, CM_XYZ, CM_YUV, CM_YIQ, CM_YCbCr, CM_LUV, CM_Lab, CM_LOGLUV})
      for (const int bits : {8, 24}) made.push_back({model, bits});
    return made;
  }();
  return list;
}

Arguments someArguments(Random& random) {
  static const std::vector<float> odd = {
      0, 1, -1, 0.5F, 2, 1e-9F, 1e20F, -1e20F, std::numeric_limits<float>::quiet_NaN(), -0.0F};
  auto weight = [&] { return random.oneIn(3) ? random.pick(odd) : static_cast<float>(random.fraction()); };
  Arguments a{random.between(-2, 300), weight(), weight(), weight()};
  if (random.oneIn(3)) a.red = 0.299F, a.green = 0.587F, a.blue = 0.114F;
  if (random.oneIn(4)) a.red = a.green = a.blue = 1;
  if (random.oneIn(4)) a.threshold = random.between(-100, 70000);
  return a;
}

// Random widths of the samples, so that reduced-bit layouts of every kind appear; the samples may exceed them.
CPxImage someImage(Random& random, PixelType type, int width, int height) {
  CPxImage image = randomImage(random, type, width, height);
  if (type.bits <= 8 && random.oneIn(2)) {
    int widths[4];
    for (int& bits : widths) bits = random.oneIn(8) ? random.between(-1, 9) : random.between(3, 6);
    image.SetBitsPerSampleEx(widths);
    for (int i = 0; i < image.bufferSize; ++i)
      static_cast<unsigned char*>(image.GetBuffer())[i] = static_cast<unsigned char>(random.bits());
  }
  return image;
}

class EveryConversion : public testing::TestWithParam<const char*> {
 protected:
  ~EveryConversion() override { useLevel("best"); }
};

// No result is asked for: nothing outside an image may be touched, which the sanitizers see best.
TEST_P(EveryConversion, membersThatACallerOverwroteAreSafe) {
  const Conversion& conversion = *std::ranges::find(conversions(), std::string(GetParam()), &Conversion::name);
  Random random(17);
  for (const PixelType from : types()) {
    for (const PixelType to : types()) {
      CPxImage source = someImage(random, from, 9, 3), dst = someImage(random, to, 9, 3);
      overwriteMembers(random, random.oneIn(2) ? source : dst);
      if (random.oneIn(3)) overwriteMembers(random, random.oneIn(2) ? source : dst);
      conversion.fast(source, dst, someArguments(random));
    }
  }
}

TEST_P(EveryConversion, isItsSlowTwinOnEveryPairOfTypes) {
  const Conversion& conversion = *std::ranges::find(conversions(), std::string(GetParam()), &Conversion::name);
  // The plain form of the dispatchers takes either destination.
  const std::string name = conversion.name;
  Random random(name.size() * 131 + static_cast<unsigned char>(name.back()));
  int converted = 0;
  for (const PixelType from : types()) {
    for (const PixelType to : types()) {
      if (name == "ConverttoRGB" && to.model == CM_RGBA) continue;
      if (name == "ConverttoRGBA" && to.model == CM_RGB) continue;
      const int rounds = from.bits <= 16 && to.bits <= 16 ? 3 : 1;
      for (int round = 0; round < rounds; ++round) {
        int width = random.between(0, 9), height = random.between(0, 3);
        CPxImage source = someImage(random, from, width, height);
        CPxImage dst = someImage(random, to, random.oneIn(12) ? width + 1 : width, height);
        Arguments a = someArguments(random);
        const auto compare = [&](const char* level) {
          const CPxImage before = source;
          CPxImage fast = dst, slow = dst;
          const int fastFlag = conversion.fast(source, fast, a), slowFlag = conversion.plain(source, slow, a);
          ASSERT_EQ(fastFlag, slowFlag) << level;
          ASSERT_TRUE(identical(fast, slow)) << level;
          ASSERT_TRUE(identical(source, before)) << level << ": the source changed";
        };
        SCOPED_TRACE(name + " from " + test::nameOf(from) + " to " + test::nameOf(to) + ", " + std::to_string(width) +
                     " x " + std::to_string(height) + ", threshold " + std::to_string(a.threshold) + ", weights " +
                     std::to_string(a.red) + " " + std::to_string(a.green) + " " + std::to_string(a.blue));
        compare("best");
        if (HasFatalFailure()) return;
        CPxImage probe = dst;
        if (!conversion.plain(source, probe, a)) continue;
        ++converted;
        // Widths around those of the vectors and blocks, at every level.
        for (const int longer : {random.between(10, 70), random.between(120, 140), random.between(500, 1100)}) {
          source = someImage(random, from, longer, 2);
          dst = someImage(random, to, longer, 2);
          a = someArguments(random);
          for (const char* const level : {"baseline", "v2", "v3", "v4", "best"})
            if (useLevel(level)) compare(level);
          if (HasFatalFailure()) return;
        }
      }
    }
  }
  EXPECT_GT(converted, 0);
}

TEST_P(EveryConversion, worksWithOneImageForBoth) {
  const Conversion& conversion = *std::ranges::find(conversions(), std::string(GetParam()), &Conversion::name);
  Random random(77);
  for (const PixelType type : types()) {
    if (std::string(conversion.name) == "ConverttoRGB" && type.model == CM_RGBA) continue;
    if (std::string(conversion.name) == "ConverttoRGBA" && type.model == CM_RGB) continue;
    CPxImage image = someImage(random, type, 67, 3);
    const Arguments a = someArguments(random);
    CPxImage source = image, expected = image;
    const int flag = conversion.plain(source, expected, a);
    EXPECT_EQ(conversion.fast(image, image, a), flag) << test::nameOf(type);
    EXPECT_TRUE(identical(image, expected)) << test::nameOf(type);
  }
}

std::vector<const char*> names() {
  std::vector<const char*> list;
  for (const Conversion& conversion : conversions()) list.push_back(conversion.name);
  return list;
}
INSTANTIATE_TEST_SUITE_P(Colour, EveryConversion, testing::ValuesIn(names()),
                         [](const auto& info) { return std::string(info.param); });

// Large images are written past the caches.
TEST(WidthConversions, largeImagesAreTheirSlowTwins) {
  Random random(6);
  const auto compare = [&](int (*fast)(const CPxImage*, CPxImage*), int (*slow)(const CPxImage&, CPxImage&),
                           PixelType from, PixelType to) {
    const CPxImage source = randomImage(random, from, 3003, 1001);
    CPxImage expected = randomImage(random, to, 3003, 1001);
    ASSERT_GT(expected.bufferSize, 8 << 20) << "not large";
    const CPxImage before = expected;
    EXPECT_EQ(slow(source, expected), 1);
    for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
      if (!useLevel(level)) continue;
      CPxImage dst = before;
      EXPECT_EQ(fast(&source, &dst), 1);
      EXPECT_TRUE(identical(dst, expected)) << level;
    }
  };
  compare(Colour::RGBAtoRGB, plain::rgbaToRgb, {CM_RGBA, 8}, {CM_RGB, 8});
  compare(Colour::RGBtoRGB16, plain::rgbToRgb16, {CM_RGB, 8}, {CM_RGB, 16});
  compare(Colour::RGB16toRGB, plain::rgb16ToRgb, {CM_RGBA, 16}, {CM_RGB, 8});
}

// Random colours are hardly ever met, so the colour that is looked for is taken from the image.
TEST(ReplaceColor, isItsSlowTwin) {
  Random random(5);
  for (const PixelType type : types()) {
    for (int round = 0; round < 12; ++round) {
      CPxImage source = randomImage(random, type, random.between(1, 200), random.between(1, 4));
      tagPXG4 find = {}, write;
      for (auto& sample : write.sample) sample = static_cast<unsigned char>(random.bits());
      const int x = random.between(0, source.width - 1), y = random.between(0, source.height - 1);
      for (int c = 0; c < source.channels; ++c) {
        const double value = test::sampleAt(source, x, y, c);
        const double sample = value >= 0 && value <= 255 ? std::floor(value) : 7;
        find.sample[c] = static_cast<unsigned char>(sample);
        // The same colour elsewhere, and once with one sample changed.
        for (int i = 0; i < 5 && type.bits <= 32; ++i)
          test::setSample(source, random.between(0, source.width - 1), y, c, sample);
        if (type.bits <= 32)
          for (int i = 0; i < source.width; i += 3) test::setSample(source, i, y, c, sample);
      }
      if (type.bits <= 32)
        test::setSample(source, 0, y, random.between(0, source.channels - 1),
                        random.between(0, type.bits < 8 ? 1 : 255));
      CPxImage expected = source;
      const int flag = plain::replaceColor(expected, find, write);
      for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
        if (!useLevel(level)) continue;
        CPxImage image = source;
        EXPECT_EQ(Colour(&image).ReplaceColor(find, write), flag) << test::nameOf(type);
        ASSERT_TRUE(identical(image, expected)) << test::nameOf(type) << ", " << level;
      }
    }
  }
}

// The steps of the catalogue lead from every model that has a way to colour.
TEST(ColourSteps, chainFromEverySensibleModel) {
  Random random(3);
  auto run = [](const char* name, CPxImage& source) {
    CPxImage dst;
    catalogue::Call call(*catalogue::find(name), source, dst);
    EXPECT_EQ(catalogue::find(name)->refusal(source), "") << name;
    EXPECT_TRUE(call.succeeded(call.run())) << name;
    return dst;
  };
  for (const PixelType type : {PixelType{CM_BITMAP, 8},
                               {CM_GRAY, 8},
                               {CM_GRAY, 16},
                               {CM_GRAYA, 8},
                               {CM_GRAYA, 12},
                               {CM_INDEX, 8},
                               {CM_RGB, 5},
                               {CM_RGB, 8},
                               {CM_RGB, 16},
                               {CM_RGBA, 4},
                               {CM_RGBA, 8},
                               {CM_RGBA, 16},
                               {CM_CMYK, 8},
                               {CM_HSI, 32},
                               {CM_HLS, 32},
                               {CM_YCbCr, 32}}) {
    SCOPED_TRACE(test::nameOf(type));
    CPxImage source = randomImage(random, type, 5, 4);
    for (const char* const name : {"rgb", "rgba", "gray", "graya", "gray16", "graya16", "rgb16", "rgba16", "bitmap",
                                   "reduce", "cmyk", "hsi", "hsv", "hls", "ycbcr"}) {
      const CPxImage dst = run(name, source);
      EXPECT_TRUE(PXCOMPARE_SIZE(&source, &dst)) << name;
    }
    CPxImage gray = run("gray", source);
    EXPECT_EQ(catalogue::find("threshold")->refusal(gray), "");
  }
}

TEST(ColourSteps, keepWhatTheTypesCanHold) {
  CPxImage dst;
  auto run = [&](const char* name, CPxImage source) {
    catalogue::Call call(*catalogue::find(name), source, dst);
    EXPECT_TRUE(call.succeeded(call.run())) << name;
    return dst;
  };
  EXPECT_PICTURE(run("gray", test::gray8({{0, 77, 255}})), test::gray8({{0, 77, 255}}));
  EXPECT_PICTURE(run("gray16", test::gray8({{0, 77, 255}})), test::gray16({{0, 77 * 256, 65280}}));
  EXPECT_PICTURE(run("gray16", test::gray16({{5, 65535}})), test::gray16({{5, 65535}}));
  EXPECT_PICTURE(run("rgb16", test::gray16({{5, 65535}})), test::picture(CM_RGB, 16, {{5, 5, 5, 65535, 65535, 65535}}));
  EXPECT_PICTURE(run("rgba", test::rgb8({{1, 2, 3}})), test::picture(CM_RGBA, 8, {{1, 2, 3, 255}}));
  EXPECT_PICTURE(run("graya16", test::gray16({{5}})), test::picture(CM_GRAYA, 16, {{5, 65535}}));
  EXPECT_PICTURE(run("rgb", run("reduce", test::rgb8({{255, 128, 64}}))), test::rgb8({{255, 129, 65}}));
  const CPxImage single(CM_HSV, 32, 1, 1);
  EXPECT_EQ(catalogue::find("gray")->refusal(single), "no conversion leads from 32-bit HSV");
}

}  // namespace
}  // namespace rasterkit
