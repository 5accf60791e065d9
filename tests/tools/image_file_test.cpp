#include "tools/image_file.h"

#include <algorithm>
#include <filesystem>

#include "tests/support/files.h"
#include "tests/support/picture.h"
#include "tests/tools/handmade.h"
#include "tools/codecs.h"
#include "tools/failure.h"

namespace rasterkit::tools {
namespace {

using namespace test;

Bytes encoded(const CPxImage& image, Format format) { return encode({&image, 1}, format, "picture"); }
CPxImage decoded(const Bytes& bytes) { return decode(bytes, "picture").pages.at(0); }

template <class Action>
int codeOf(const Action& action) {
  try {
    action();
  } catch (const Failure& failure) {
    EXPECT_EQ(std::string(failure.what()).find('\n'), std::string::npos) << failure.what();
    return failure.code();
  }
  return 0;
}

int codeOfDecoding(const Bytes& bytes) {
  return codeOf([&] { decode(bytes, "picture"); });
}

// The file's samples; row padding and channel bits have no place in one.
CPxImage plain(CPxImage image) {
  image.palette = CPxPalette();
  return image;
}

struct Holding {
  Format format;
  std::vector<std::pair<COLOR_MODEL, int>> types;
};

const Holding kHoldings[] = {
    {Format::png,
     {{CM_GRAY, 8},
      {CM_GRAYA, 8},
      {CM_RGB, 8},
      {CM_RGBA, 8},
      {CM_GRAY, 16},
      {CM_GRAYA, 16},
      {CM_RGB, 16},
      {CM_RGBA, 16}}},
    {Format::tiff,
     {{CM_GRAY, 8},  {CM_GRAYA, 8},  {CM_RGB, 8},   {CM_RGBA, 8},  {CM_CMYK, 8},   {CM_GRAY, 16}, {CM_GRAYA, 16},
      {CM_RGB, 16},  {CM_RGBA, 16},  {CM_CMYK, 16}, {CM_GRAY, 32}, {CM_GRAYA, 32}, {CM_RGB, 32},  {CM_RGBA, 32},
      {CM_CMYK, 32}, {CM_LOGL, 32},  {CM_HSI, 32},  {CM_HSV, 32},  {CM_HLS, 32},   {CM_XYZ, 32},  {CM_YUV, 32},
      {CM_YIQ, 32},  {CM_YCbCr, 32}, {CM_LUV, 32},  {CM_Lab, 32},  {CM_LOGLUV, 32}}},
    {Format::bmp, {{CM_GRAY, 8}, {CM_RGB, 8}, {CM_RGBA, 8}}},
};

TEST(ImageFile, givesBackEverySampleOfTheTypesItsFormatHolds) {
  Random random(1);
  for (const Holding& holding : kHoldings)
    for (const auto& [model, bits] : holding.types)
      for (const auto& [width, height] : {std::pair(1, 1), {3, 2}, {17, 5}, {64, 33}}) {
        CPxImage image = plain(randomImage(random, {model, bits}, width, height));
        if (model == CM_RGBA) setSample(image, 0, 0, 3, 1);  // a bitmap of which nothing is seen has no alpha
        SCOPED_TRACE(std::string(formatName(holding.format)) + " " + nameOf({model, bits}) + " " +
                     std::to_string(width));
        const ImageFile file = decode(encoded(image, holding.format), "picture");
        EXPECT_EQ(file.format, holding.format);
        ASSERT_EQ(file.pages.size(), 1u);
        EXPECT_PICTURE(file.pages[0], image);
      }
}

TEST(ImageFile, refusesTypesThatItsFormatDoesNotHold) {
  Random random(2);
  for (const Holding& holding : kHoldings)
    for (const int model : {CM_GRAY, CM_GRAYA, CM_RGB, CM_RGBA, CM_CMYK, CM_HSI})
      for (const int bits : {5, 8, 16, 32, 33}) {
        const std::pair type(static_cast<COLOR_MODEL>(model), bits);
        if (std::ranges::find(holding.types, type) != holding.types.end()) continue;
        if (holding.format == Format::tiff && model == CM_HSI && bits <= 16 && bits >= 8) continue;
        const CPxImage image(type.first, bits, 4, 4);
        EXPECT_EQ(codeOf([&] { encoded(image, holding.format); }), ExitCode::unwritable)
            << formatName(holding.format) << " " << model << " " << bits;
      }
  for (const auto& [model, bits] : {std::pair(CM_GRAYA, 8), {CM_RGBA, 8}, {CM_RGB, 16}, {CM_GRAY, 32}, {CM_INDEX, 8}}) {
    const CPxImage image(model, bits, 4, 4, 4);
    EXPECT_EQ(codeOf([&] { encoded(image, Format::jpeg); }), ExitCode::unwritable);
  }
}

TEST(ImageFile, keepsJpegCloseToTheImage) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB, CM_CMYK}) {
    CPxImage image(model, 8, 32, 24);
    for (int y = 0; y < 24; ++y)
      for (int x = 0; x < 32; ++x)
        for (int c = 0; c < image.channels; ++c) setSample(image, x, y, c, 40 + 2 * x + y + 30 * c);
    const CPxImage back = decoded(encoded(image, Format::jpeg));
    ASSERT_EQ(back.colorModel, model);
    for (int y = 0; y < 24; ++y)
      for (int x = 0; x < 32; ++x)
        for (int c = 0; c < image.channels; ++c)
          ASSERT_NEAR(sampleAt(back, x, y, c), sampleAt(image, x, y, c), 8)
              << model << " " << x << "," << y << "," << c;
  }
}

TEST(ImageFile, keepsPalettes) {
  for (const Format format : {Format::png, Format::tiff, Format::bmp})
    for (const int bits : {1, 4, 8}) {
      const int colours = 1 << bits;
      CPxImage image(CM_INDEX, bits, 19, 7, colours);
      Random random(3);
      for (int i = 0; i < colours; ++i)
        *image.palette.GetPaletteItem(i) = {static_cast<unsigned char>(random.between(0, 255)),
                                            static_cast<unsigned char>(i), static_cast<unsigned char>(255 - i), 0};
      for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 19; ++x) setSample(image, x, y, 0, random.between(0, colours - 1));
      const CPxImage back = decoded(encoded(image, format));
      SCOPED_TRACE(std::string(formatName(format)) + " " + std::to_string(bits));
      // Bitmaps always have 256 entries.
      ASSERT_EQ(back.palette.GetPaletteNum(), format == Format::bmp ? 256 : colours);
      for (int i = 0; i < colours; ++i)
        EXPECT_EQ(std::memcmp(back.palette.GetPaletteItem(i), image.palette.GetPaletteItem(i), 4), 0) << i;
      EXPECT_EQ(back.colorModel, CM_INDEX);
      for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 19; ++x) ASSERT_EQ(sampleAt(back, x, y), sampleAt(image, x, y));
    }
}

TEST(ImageFile, makesIndicesBeyondThePaletteBlack) {
  CPxImage image(CM_INDEX, 8, 2, 1, 1);
  *image.palette.GetPaletteItem(0) = {1, 2, 3, 0};
  setSample(image, 1, 0, 0, 200);
  for (const Format format : {Format::png, Format::tiff, Format::bmp}) {
    const CPxImage back = decoded(encoded(image, format));
    EXPECT_EQ(sampleAt(back, 1, 0), 200);
    ASSERT_GT(back.palette.GetPaletteNum(), 200);
    EXPECT_EQ(back.palette.GetPaletteItem(0)->red, 3);
    EXPECT_EQ(back.palette.GetPaletteItem(200)->red, 0);
  }
}

TEST(ImageFile, writesBitmapsBlackAndWhite) {
  for (const int bits : {1, 8}) {
    CPxImage image(CM_BITMAP, bits, 3, 1);
    setSample(image, 1, 0, 0, 1);
    setSample(image, 2, 0, 0, 7);
    for (const Format format : {Format::png, Format::tiff, Format::bmp})
      EXPECT_PICTURE(decoded(encoded(image, format)), gray8({{0, 255, 255}}));
  }
}

TEST(ImageFile, readsEveryPageOfATiff) {
  const CPxImage pages[] = {gray8({{1, 2}, {3, 4}}), gray16({{500, 600, 700}}), grayFloat({{0.25}})};
  const ImageFile file = decode(encode(pages, Format::tiff, "picture"), "picture");
  ASSERT_EQ(file.pages.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_PICTURE(file.pages[i], pages[i]);
  EXPECT_EQ(codeOf([&] { encode(pages, Format::png, "picture"); }), ExitCode::unwritable);
}

TEST(ImageFile, makesNoFileOfAnImageWithoutPixels) {
  for (const Format format : {Format::png, Format::tiff, Format::jpeg, Format::bmp}) {
    EXPECT_EQ(codeOf([&] { encoded(CPxImage(CM_GRAY, 8, 0, 3), format); }), ExitCode::unwritable);
    EXPECT_EQ(codeOf([&] { encoded(CPxImage(), format); }), ExitCode::unwritable);
  }
}

TEST(ImageFile, givesBackGreyOfFewLevels) {
  // Two, four and sixteen levels are stored in fewer bits, anything between them is not.
  for (const auto& samples : {std::vector<double>{0, 255, 255},
                              {255, 255},
                              {0, 85, 170, 255},
                              {0, 17, 34, 238, 255, 51},
                              {0, 254, 255},
                              {0, 84, 170},
                              {0, 16, 34},
                              {1, 2}})
    EXPECT_PICTURE(decoded(encoded(gray8({samples, samples}), Format::png)), gray8({samples, samples}));
  const CPxImage blackAndWhite(CM_GRAY, 8, 64, 64);
  EXPECT_EQ(encoded(blackAndWhite, Format::png).at(24), 1) << "bits";
}

// Kinds that are read but not written ---------------------------------------------------------------------------------

constexpr int kGray = 0, kRgb = 2, kPalette = 3;

TEST(ImageFile, spreadsNarrowGreyOverTheWholeRange) {
  EXPECT_PICTURE(decoded(handmadePng(9, 1, 1, kGray, {}, {{0b10100001, 0b10000000}})),
                 gray8({{255, 0, 255, 0, 0, 0, 0, 255, 255}}));
  EXPECT_PICTURE(decoded(handmadePng(4, 1, 2, kGray, {}, {{0b00011011}})), gray8({{0, 85, 170, 255}}));
  EXPECT_PICTURE(decoded(handmadePng(2, 1, 4, kGray, {}, {{0x0a}})), gray8({{0, 170}}));
  const std::map<int, std::vector<std::uint32_t>> tiff = {{256, {3}}, {257, {2}}, {258, {4}}, {259, {1}}, {262, {1}},
                                                          {273, {8}}, {277, {1}}, {278, {2}}, {279, {4}}};
  EXPECT_PICTURE(decoded(handmadeTiff(true, tiff, {0x01, 0x20, 0xef, 0x00})), gray8({{0, 17, 34}, {238, 255, 0}}));
}

TEST(ImageFile, keepsTwoBitPalettesInFour) {
  const CPxImage image =
      decoded(handmadePng(4, 1, 2, kPalette, {{"PLTE", {10, 20, 30, 1, 2, 3, 4, 5, 6, 7, 8, 9}}}, {{0b00011011}}));
  EXPECT_EQ(image.colorModel, CM_INDEX);
  EXPECT_EQ(image.bitsPerSample, 4);
  EXPECT_EQ(image.palette.GetPaletteNum(), 4);
  EXPECT_EQ(image.palette.GetPaletteItem(0)->red, 10);
  EXPECT_EQ(image.palette.GetPaletteItem(0)->blue, 30);
  for (int x = 0; x < 4; ++x) EXPECT_EQ(sampleAt(image, x, 0), x);
}

TEST(ImageFile, turnsTransparencyIntoAlpha) {
  EXPECT_PICTURE(decoded(handmadePng(2, 1, 8, kPalette, {{"PLTE", {10, 20, 30, 1, 2, 3}}, {"tRNS", {128}}}, {{0, 1}})),
                 picture(CM_RGBA, 8, {{30, 20, 10, 128, 3, 2, 1, 255}}));
  EXPECT_PICTURE(decoded(handmadePng(2, 1, 8, kGray, {{"tRNS", {0, 7}}}, {{7, 8}})),
                 picture(CM_GRAYA, 8, {{7, 0, 8, 255}}));
  EXPECT_PICTURE(decoded(handmadePng(2, 1, 8, kRgb, {{"tRNS", {0, 1, 0, 2, 0, 3}}}, {{1, 2, 3, 4, 5, 6}})),
                 picture(CM_RGBA, 8, {{3, 2, 1, 0, 6, 5, 4, 255}}));
}

TEST(ImageFile, readsTiffsOfAllLayouts) {
  std::map<int, std::vector<std::uint32_t>> tiff = {{256, {2}}, {257, {2}}, {258, {8}}, {259, {1}}, {262, {0}},
                                                    {273, {8}}, {277, {1}}, {278, {2}}, {279, {4}}};
  EXPECT_PICTURE(decoded(handmadeTiff(false, tiff, {0, 10, 200, 255})), gray8({{255, 245}, {55, 0}})) << "white is 0";

  tiff[274] = {6};
  EXPECT_PICTURE(decoded(handmadeTiff(true, tiff, {0, 10, 200, 255})), gray8({{55, 255}, {0, 245}})) << "turned";

  tiff[274] = {1};
  tiff[258] = {16};
  tiff[262] = {1};
  tiff[279] = {8};
  EXPECT_PICTURE(decoded(handmadeTiff(true, tiff, {1, 2, 3, 4, 5, 6, 7, 8})), gray16({{258, 772}, {1286, 1800}}));

  tiff[258] = {8, 8, 8};
  tiff[262] = {2};
  tiff[277] = {3};
  tiff[273] = {8, 12, 16};
  tiff[279] = {4, 4, 4};
  tiff[284] = {2};
  EXPECT_PICTURE(decoded(handmadeTiff(false, tiff, {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24})),
                 rgb8({{21, 11, 1, 22, 12, 2}, {23, 13, 3, 24, 14, 4}}))
      << "one plane a colour";

  // Two tiles of 16 x 16 for 18 x 2 pixels.
  Bytes tiles(512);
  for (std::size_t i = 0; i < 512; ++i) tiles[i] = static_cast<unsigned char>(i);
  const CPxImage tiled = decoded(handmadeTiff(false,
                                              {{256, {18}},
                                               {257, {2}},
                                               {258, {8}},
                                               {259, {1}},
                                               {262, {1}},
                                               {277, {1}},
                                               {322, {16}},
                                               {323, {16}},
                                               {324, {8, 264}},
                                               {325, {256, 256}}},
                                              tiles));
  ASSERT_EQ(tiled.width, 18);
  EXPECT_EQ(sampleAt(tiled, 15, 0), 15);
  EXPECT_EQ(sampleAt(tiled, 15, 1), 31);
  EXPECT_EQ(sampleAt(tiled, 16, 0), 0);
  EXPECT_EQ(sampleAt(tiled, 17, 1), 17);
}

// The two headers that stand before the pixels, 32-bit words after the magic.
Bytes handmadeBmp(std::uint32_t start, int width, int height, int bits, int compression, const Bytes& rest) {
  Bytes out(54);
  patch(out, 0, {'B', 'M'});
  patch(out, 10, {static_cast<int>(start)});
  patch(out, 14,
        {40, 0, 0, 0, width, 0, 0, 0, height & 255, height < 0 ? 255 : 0, height < 0 ? 255 : 0, height < 0 ? 255 : 0, 1,
         0, bits, 0, compression});
  out.insert(out.end(), rest.begin(), rest.end());
  return out;
}

TEST(ImageFile, readsBitmapsOfAllKinds) {
  EXPECT_PICTURE(decoded(handmadeBmp(54, 1, 2, 24, 0, {1, 2, 3, 0, 4, 5, 6, 0})), rgb8({{4, 5, 6}, {1, 2, 3}}));
  EXPECT_PICTURE(decoded(handmadeBmp(54, 1, -2, 24, 0, {1, 2, 3, 0, 4, 5, 6, 0})), rgb8({{1, 2, 3}, {4, 5, 6}}));
  EXPECT_PICTURE(decoded(handmadeBmp(58, 1, 1, 24, 0, {9, 9, 9, 9, 1, 2, 3, 0})), rgb8({{1, 2, 3}})) << "a gap";
  EXPECT_PICTURE(decoded(handmadeBmp(54, 2, 1, 16, 0, {0x1f, 0x7c, 0xe0, 0x03})), rgb8({{255, 0, 255, 0, 255, 0}}));
  EXPECT_PICTURE(decoded(handmadeBmp(66, 1, 1, 16, 3, {0, 0xf8, 0, 0, 0xe0, 7, 0, 0, 0x1f, 0, 0, 0, 0xe0, 7, 0, 0})),
                 rgb8({{0, 255, 0}}));
  EXPECT_PICTURE(decoded(handmadeBmp(54, 1, 1, 32, 0, {1, 2, 3, 0})), rgb8({{1, 2, 3}})) << "nothing to be seen";
  EXPECT_PICTURE(decoded(handmadeBmp(54, 1, 1, 32, 0, {1, 2, 3, 4})), picture(CM_RGBA, 8, {{1, 2, 3, 4}}));

  // The oldest header, of 12 bytes, with colours of 3.
  Bytes core(26);
  patch(core, 0, {'B', 'M'});
  patch(core, 10, {32, 0, 0, 0, 12, 0, 0, 0, 8, 0, 1, 0, 1, 0, 1, 0});
  core.insert(core.end(), {1, 2, 3, 4, 5, 6, 0b01000000, 0, 0, 0});
  const CPxImage image = decoded(core);
  EXPECT_EQ(image.colorModel, CM_INDEX);
  EXPECT_EQ(sampleAt(image, 1, 0), 1);
  EXPECT_EQ(sampleAt(image, 2, 0), 0);
  ASSERT_EQ(image.palette.GetPaletteNum(), 2);
  EXPECT_EQ(image.palette.GetPaletteItem(1)->red, 6);
}

TEST(ImageFile, saysWhatItDoesNotRead) {
  std::map<int, std::vector<std::uint32_t>> tiff = {{256, {1}}, {257, {1}}, {258, {8}}, {259, {1}}, {262, {1}},
                                                    {273, {8}}, {277, {1}}, {278, {1}}, {279, {1}}};
  EXPECT_EQ(codeOfDecoding(handmadeTiff(false, tiff, {1})), 0);
  const auto with = [&](int tag, std::vector<std::uint32_t> values) {
    auto changed = tiff;
    changed[tag] = std::move(values);
    return handmadeTiff(false, changed, {1, 2, 3, 4, 5, 6, 7, 8});
  };
  EXPECT_EQ(codeOfDecoding(with(258, {12})), ExitCode::damaged);
  EXPECT_EQ(codeOfDecoding(with(258, {32})), ExitCode::damaged) << "whole numbers of 32 bits";
  EXPECT_EQ(codeOfDecoding(with(339, {2})), ExitCode::damaged) << "signed";
  EXPECT_EQ(codeOfDecoding(with(262, {8})), ExitCode::damaged) << "L*a*b*";
  EXPECT_EQ(codeOfDecoding(with(277, {5})), ExitCode::damaged);
  // What libtiff says of inks that are not samples has two lines.
  tiff[334] = {8192};
  EXPECT_EQ(codeOfDecoding(with(273, {100000})), ExitCode::damaged);
}

TEST(ImageFile, turnsImagesUpright) {
  // The same picture as each of the eight orientations stores it.
  const CPxImage upright = gray8({{1, 2, 3}, {4, 5, 6}});
  const CPxImage stored[] = {gray8({{1, 2, 3}, {4, 5, 6}}),   gray8({{3, 2, 1}, {6, 5, 4}}),
                             gray8({{6, 5, 4}, {3, 2, 1}}),   gray8({{4, 5, 6}, {1, 2, 3}}),
                             gray8({{1, 4}, {2, 5}, {3, 6}}), gray8({{3, 6}, {2, 5}, {1, 4}}),
                             gray8({{6, 3}, {5, 2}, {4, 1}}), gray8({{4, 1}, {5, 2}, {6, 3}})};
  for (int orientation = 1; orientation <= 8; ++orientation) {
    CPxImage image = stored[orientation - 1];
    turnUpright(image, orientation);
    EXPECT_PICTURE(image, upright) << orientation;
  }
  CPxImage wide = rgb8({{1, 2, 3, 4, 5, 6}});
  turnUpright(wide, 3);
  EXPECT_PICTURE(wide, rgb8({{4, 5, 6, 1, 2, 3}}));
}

TEST(ImageFile, turnsPhotographsAsTheCameraWasHeld) {
  CPxImage image(CM_GRAY, 8, 16, 8);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 16; ++x) setSample(image, x, y, 0, x < 8 ? 0 : 255);
  Bytes bytes = encoded(image, Format::jpeg);
  const Bytes exif = {0xff, 0xe1, 0,    34,   'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0,
                      1,    0,    0x12, 0x01, 3,   0,   1,   0,   0, 0, 6,   0,   0,  0, 0, 0, 0, 0};
  bytes.insert(bytes.begin() + 2, exif.begin(), exif.end());
  const CPxImage turned = decoded(bytes);
  ASSERT_EQ(turned.width, 8);
  ASSERT_EQ(turned.height, 16);
  EXPECT_LT(sampleAt(turned, 4, 0), 50);
  EXPECT_GT(sampleAt(turned, 4, 15), 200);
}

// Broken files --------------------------------------------------------------------------------------------------------

const std::vector<std::pair<std::string, Bytes>>& smallFiles() {
  static const auto files = [] {
    Random random(5);
    std::vector<std::pair<std::string, Bytes>> made;
    const CPxImage grey = plain(randomImage(random, {CM_GRAY, 8}, 9, 5));
    const CPxImage colour = plain(randomImage(random, {CM_RGB, 8}, 9, 5));
    CPxImage palette(CM_INDEX, 4, 9, 5, 5);
    made.emplace_back("grey PNG", encoded(grey, Format::png));
    made.emplace_back("colour PNG", encoded(colour, Format::png));
    made.emplace_back("palette PNG", encoded(palette, Format::png));
    made.emplace_back("grey TIFF", encode({&grey, 1}, Format::tiff, "picture", {.compression = 0}));
    made.emplace_back("float TIFF", encoded(plain(randomImage(random, {CM_RGB, 32}, 5, 4)), Format::tiff));
    const CPxImage pages[] = {grey, colour};
    made.emplace_back("TIFF of two pages", encode(pages, Format::tiff, "picture"));
    made.emplace_back("grey JPEG", encoded(grey, Format::jpeg));
    made.emplace_back("colour JPEG", encoded(colour, Format::jpeg));
    made.emplace_back("colour BMP", encoded(colour, Format::bmp));
    made.emplace_back("palette BMP", encoded(palette, Format::bmp));
    return made;
  }();
  return files;
}

TEST(BrokenFile, cutOffAnywhereIsRefused) {
  for (const auto& [name, bytes] : smallFiles()) {
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      // A block of its own, so that a read past the end is seen.
      const Bytes part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_EQ(codeOfDecoding(part), ExitCode::damaged) << name << " of " << length << " bytes";
    }
    EXPECT_EQ(codeOfDecoding(bytes), 0);
  }
}

TEST(BrokenFile, withAnyByteChangedIsReadOrRefused) {
  for (const auto& [name, bytes] : smallFiles())
    for (std::size_t i = 0; i < bytes.size(); ++i)
      for (const int change : {0x01, 0x80, 0xff}) {
        Bytes changed = bytes;
        changed[i] = static_cast<unsigned char>(changed[i] ^ change);
        const int code = codeOfDecoding(changed);
        ASSERT_TRUE(code == 0 || code == ExitCode::damaged) << name << ", byte " << i << ": " << code;
      }
}

TEST(BrokenFile, thatDeclaresTooManyPixelsIsRefusedWithoutTheMemory) {
  EXPECT_EQ(codeOfDecoding(handmadePng(30000, 20000, 8, kRgb, {}, {{1, 2, 3}})), ExitCode::damaged);
  EXPECT_EQ(codeOfDecoding(handmadePng(0x7fffffff, 0x7fffffff, 16, 6, {}, {{1, 2, 3}})), ExitCode::damaged);
  EXPECT_EQ(codeOfDecoding(handmadePng(0x7fffffff, 1, 8, kGray, {}, {{1, 2, 3}})), ExitCode::damaged);
  Bytes bmp = encoded(CPxImage(CM_RGB, 8, 4, 4), Format::bmp);
  patch(bmp, 18, {0x00, 0x50, 0, 0, 0x00, 0x50, 0, 0});
  EXPECT_EQ(codeOfDecoding(bmp), ExitCode::damaged);
  patch(bmp, 18, {0xff, 0xff, 0xff, 0x7f, 0, 0, 0, 0x80});
  EXPECT_EQ(codeOfDecoding(bmp), ExitCode::damaged);
  Bytes jpeg = encoded(CPxImage(CM_RGB, 8, 4, 4), Format::jpeg);
  const unsigned char frame[] = {0xff, 0xc0};
  const auto at = static_cast<std::size_t>(std::search(jpeg.begin(), jpeg.end(), std::begin(frame), std::end(frame)) -
                                           jpeg.begin());
  patch(jpeg, at + 5, {0xff, 0xdc, 0xff, 0xdc});
  EXPECT_EQ(codeOfDecoding(jpeg), ExitCode::damaged);
  for (const std::uint32_t size : {30000u, 65535u})
    EXPECT_EQ(codeOfDecoding(handmadeTiff(false,
                                          {{256, {size}},
                                           {257, {size}},
                                           {258, {8}},
                                           {259, {1}},
                                           {262, {1}},
                                           {273, {8}},
                                           {277, {1}},
                                           {278, {1}},
                                           {279, {1}}},
                                          {1})),
              ExitCode::damaged);
  EXPECT_EQ(codeOfDecoding(handmadeTiff(false,
                                        {{256, {1}},
                                         {257, {1}},
                                         {258, {8}},
                                         {259, {1}},
                                         {262, {1}},
                                         {277, {1}},
                                         {322, {65520}},
                                         {323, {65520}},
                                         {324, {8}},
                                         {325, {1}}},
                                        {1})),
            ExitCode::damaged)
      << "an enormous tile";
}

TEST(BrokenFile, ofAnotherKindIsNamed) {
  const std::string text = "just some words";
  EXPECT_EQ(codeOfDecoding(Bytes(text.begin(), text.end())), ExitCode::damaged);
  EXPECT_EQ(codeOfDecoding({}), ExitCode::damaged);
}

// Files on disk -------------------------------------------------------------------------------------------------------

TEST(ImageFile, isRecognisedByItsContentNotItsName) {
  const CPxImage image = gray8({{1, 2, 3}});
  const std::string path = temporaryFile("really.tif");
  writeImageFile(path, {&image, 1});
  const std::string mislabelled = temporaryFile("mislabelled.jpg");
  std::filesystem::rename(path, mislabelled);
  const ImageFile file = readImageFile(mislabelled);
  EXPECT_EQ(file.format, Format::tiff);
  EXPECT_PICTURE(file.pages[0], image);
}

TEST(ImageFile, knowsFormatsByTheEndingsOfNames) {
  EXPECT_EQ(formatOfName("a.PNG"), Format::png);
  EXPECT_EQ(formatOfName("a.b.tiff"), Format::tiff);
  EXPECT_EQ(formatOfName("a.TIF"), Format::tiff);
  EXPECT_EQ(formatOfName("a.jpg"), Format::jpeg);
  EXPECT_EQ(formatOfName("a.JPEG"), Format::jpeg);
  EXPECT_EQ(formatOfName("a.bmp"), Format::bmp);
  EXPECT_EQ(formatOfName("png"), std::nullopt);
  EXPECT_EQ(formatOfName("a.gif"), std::nullopt);
}

}  // namespace
}  // namespace rasterkit::tools
