#include <rasterkit/core/levels.h>
#include <rasterkit/geometry/bitmap.h>
#include <rasterkit/geometry/geometry.h>
#include <rasterkit/geometry/regions.h>
#include <rasterkit/platform/desktop.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

using Bytes = std::vector<unsigned char>;

struct Exported {
  BITMAPINFOHEADER header{};
  Bytes table;
  Bytes rows;
};

Bytes exportedBlock(CPxImage image) {
  BITMAPINFOHEADER* block = nullptr;
  EXPECT_EQ(CPxDIBConvert(&image).ConvertTo(&block), 1);
  if (!block) return {};
  const auto* const first = reinterpret_cast<const unsigned char*>(block);
  Bytes bytes(first, first + block->biSize + block->biClrUsed * 4 + block->biSizeImage);
  EXPECT_EQ(CPxDIBConvert::DeleteBitmapInfoHeaderMem(block), 1);
  return bytes;
}

Exported exported(const CPxImage& image) {
  const Bytes block = exportedBlock(image);
  Exported made;
  if (block.size() < sizeof made.header) {
    ADD_FAILURE() << "no bitmap";
    return made;
  }
  std::memcpy(&made.header, block.data(), sizeof made.header);
  const auto rows = block.begin() + 40 + static_cast<std::ptrdiff_t>(made.header.biClrUsed) * 4;
  made.table.assign(block.begin() + 40, rows);
  made.rows.assign(rows, block.end());
  return made;
}

Bytes entry(const Exported& made, std::size_t index) {
  return Bytes(made.table.begin() + static_cast<std::ptrdiff_t>(4 * index),
               made.table.begin() + static_cast<std::ptrdiff_t>(4 * index + 4));
}

// ConvertTo -----------------------------------------------------------------------------------------------------------

TEST(BitmapExport, writesTheHeaderAndTheBottomRowFirst) {
  const Exported made = exported(rgb8({{1, 2, 3, 4, 5, 6, 7, 8, 9}, {11, 12, 13, 14, 15, 16, 17, 18, 19}}));
  EXPECT_EQ(made.header.biSize, 40u);
  EXPECT_EQ(made.header.biWidth, 3);
  EXPECT_EQ(made.header.biHeight, 2);
  EXPECT_EQ(made.header.biPlanes, 1);
  EXPECT_EQ(made.header.biBitCount, 24);
  EXPECT_EQ(made.header.biCompression, 0u);
  EXPECT_EQ(made.header.biSizeImage, 24u);
  EXPECT_EQ(made.header.biXPelsPerMeter, 0);
  EXPECT_EQ(made.header.biYPelsPerMeter, 0);
  EXPECT_EQ(made.header.biClrUsed, 0u);
  EXPECT_EQ(made.header.biClrImportant, 0u);
  EXPECT_EQ(made.rows, Bytes({11, 12, 13, 14, 15, 16, 17, 18, 19, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0, 0}));
}

TEST(BitmapExport, padsRowsWithZerosWhateverTheImagesPadding) {
  CPxImage image = gray8({{5}});
  std::memset(static_cast<unsigned char*>(image.GetBuffer()) + 1, 0xEE, 3);
  EXPECT_EQ(exported(image).rows, Bytes({5, 0, 0, 0}));
}

TEST(BitmapExport, givesBitmapsTheRampOfTheirBits) {
  const Exported two = exported(picture(CM_BITMAP, 1, {{0, 1}}));
  EXPECT_EQ(two.header.biBitCount, 8);
  EXPECT_EQ(two.header.biClrUsed, 256u);
  EXPECT_EQ(entry(two, 0), Bytes({0, 0, 0, 0}));
  EXPECT_EQ(entry(two, 1), Bytes({255, 255, 255, 0}));
  EXPECT_EQ(Bytes(two.table.begin() + 8, two.table.end()), Bytes(254 * 4));
  EXPECT_EQ(two.rows, Bytes({0, 1, 0, 0}));
  EXPECT_EQ(entry(exported(picture(CM_BITMAP, 4, {{0}})), 14), Bytes({238, 238, 238, 0}));
  EXPECT_EQ(entry(exported(picture(CM_BITMAP, 8, {{0}})), 200), Bytes({200, 200, 200, 0}));
}

TEST(BitmapExport, givesGreysTheWholeRampAndCutsThemTo8Bits) {
  for (const int bits : {1, 5, 8}) {
    const Exported made = exported(picture(CM_GRAY, bits, {{1}}));
    EXPECT_EQ(entry(made, 7), Bytes({7, 7, 7, 0}));
    EXPECT_EQ(made.rows[0], 1);
  }
  EXPECT_EQ(exported(gray16({{0x1234, 0xFFFF}})).rows, Bytes({0x12, 0xFF, 0, 0}));
  EXPECT_EQ(exported(picture(CM_GRAY, 12, {{0x123}})).rows, Bytes({0x12, 0, 0, 0}));
}

TEST(BitmapExport, writesThePaletteOfIndices) {
  CPxImage image = picture(CM_INDEX, 4, {{1, 0}});
  image.palette = CPxPalette(2);
  *image.palette.GetPaletteItem(1) = {1, 2, 3, 4};
  const Exported made = exported(image);
  EXPECT_EQ(made.header.biBitCount, 8);
  EXPECT_EQ(entry(made, 1), Bytes({1, 2, 3, 4}));
  EXPECT_EQ(entry(made, 2), Bytes({0, 0, 0, 0}));
  EXPECT_EQ(made.rows, Bytes({1, 0, 0, 0}));
  image.palette = CPxPalette(300);
  EXPECT_EQ(exported(image).table.size(), 1024u);
}

TEST(BitmapExport, writesColoursIn24And32Bits) {
  EXPECT_EQ(exported(picture(CM_RGBA, 8, {{1, 2, 3, 4}})).rows, Bytes({1, 2, 3, 4}));
  EXPECT_EQ(exported(picture(CM_RGBA, 8, {{1, 2, 3, 4}})).header.biBitCount, 32);
  EXPECT_EQ(exported(picture(CM_RGB, 16, {{0x1200, 0x34FF, 0xFFFF}})).rows, Bytes({0x12, 0x34, 0xFF, 0}));
  // The conversion from 16 bits writes no alpha.
  EXPECT_EQ(exported(picture(CM_RGBA, 16, {{0x1200, 0x34FF, 0xFFFF, 0xFFFF}})).rows, Bytes({0x12, 0x34, 0xFF, 0}));
  // From 9 bits on, samples are shifted.
  EXPECT_EQ(exported(picture(CM_RGB, 12, {{0x123, 0x0FF, 0xFFF}})).rows, Bytes({0x12, 0x0F, 0xFF, 0}));
  EXPECT_EQ(exported(picture(CM_RGBA, 9, {{0x1FF, 0x101, 2, 0x1FF}})).rows, Bytes({0xFF, 0x80, 1, 0}));
  EXPECT_EQ(exported(picture(CM_RGBA, 15, {{0x7FFF, 0x4000, 0x80, 0}})).rows, Bytes({0xFF, 0x80, 1, 0}));
}

TEST(BitmapExport, expandsReducedLayoutsAndBlackensThoseThatAreNotAccepted) {
  CPxImage reduced = picture(CM_RGB, 6, {{15, 31, 31}});
  const int layout[] = {5, 6, 5};
  reduced.SetBitsPerSampleEx(layout);
  EXPECT_EQ(exported(reduced).rows, Bytes({123, 125, 255, 0}));
  EXPECT_EQ(exported(picture(CM_RGB, 7, {{15, 31, 31}})).rows, Bytes({0, 0, 0, 0}));

  reduced = picture(CM_RGBA, 5, {{15, 31, 0, 1}});
  const int withAlpha[] = {5, 5, 5, 1};
  reduced.SetBitsPerSampleEx(withAlpha);
  EXPECT_EQ(exported(reduced).rows, Bytes({123, 255, 0, 255}));
  EXPECT_EQ(exported(picture(CM_RGBA, 7, {{15, 31, 31, 1}})).rows, Bytes({0, 0, 0, 0}));
}

TEST(BitmapExport, convertsGreyWithAlphaAndTheOtherModels) {
  EXPECT_EQ(exported(picture(CM_GRAYA, 8, {{100, 7}})).rows, Bytes({100, 100, 100, 7}));
  EXPECT_EQ(exported(picture(CM_GRAYA, 16, {{0x1234, 0xABCD}})).rows, Bytes({0x12, 0x12, 0x12, 0xAB}));
  EXPECT_EQ(exported(picture(CM_GRAYA, 32, {{100, 7}})).rows, Bytes({0, 0, 0, 0}));
  EXPECT_EQ(exported(picture(CM_CMYK, 8, {{10, 20, 30, 40}})).rows, Bytes({185, 195, 205, 0}));
  EXPECT_EQ(exported(picture(CM_CMYK, 16, {{10, 20, 30, 40}})).rows, Bytes({0, 0, 0, 0}));
  // A green of half the brightness; a red whose samples are the low bytes of -1.9, 0.2 and -0.5 truncated.
  EXPECT_EQ(exported(picture(CM_HSI, 32, {{120, 1, 0.25}})).rows, Bytes({0, 127, 0, 0}));
  EXPECT_EQ(exported(picture(CM_HLS, 32, {{120, 0.25, 1}})).rows, Bytes({0, 127, 0, 0}));
  EXPECT_EQ(exported(picture(CM_YCbCr, 32, {{0.5, 0, 1}})).rows, Bytes({0, 0, 255, 0}));
  // Nothing converts these, so they are black.
  for (const COLOR_MODEL model : {CM_LOGL, CM_HSV, CM_XYZ, CM_YUV, CM_YIQ, CM_LUV, CM_Lab, CM_LOGLUV}) {
    const Exported made = exported(picture(model, 32, {{0.5, 0.5, 0.5}}));
    EXPECT_EQ(made.header.biBitCount, 24);
    EXPECT_EQ(made.rows, Bytes(made.rows.size()));
  }
}

TEST(BitmapExport, makesNothingOfOtherImagesAndSucceeds) {
  const auto makesNothing = [](CPxImage image) {
    BITMAPINFOHEADER* block = nullptr;
    EXPECT_EQ(CPxDIBConvert(&image).ConvertTo(&block), 1);
    EXPECT_EQ(block, nullptr);
  };
  makesNothing(grayFloat({{1}}));
  makesNothing(picture(CM_BITMAP, 9, {{1}}));
  makesNothing(picture(CM_INDEX, 16, {{1}}));
  makesNothing(picture(CM_RGB, 17, {{1, 2, 3}}));
  makesNothing(picture(CM_RGBA, 32, {{1, 2, 3, 4}}));
  for (const int model : {5, 9, 23, -1}) {
    CPxImage image = gray8({{1}});
    image.colorModel = static_cast<COLOR_MODEL>(model);
    makesNothing(image);
  }
}

TEST(BitmapExport, refusesAMissingImageAndANullOut) {
  CPxImage image = gray8({{1}}), empty;
  BITMAPINFOHEADER* block = nullptr;
  EXPECT_EQ(CPxDIBConvert().ConvertTo(&block), 0);
  EXPECT_EQ(CPxDIBConvert(&empty).ConvertTo(&block), 0);
  EXPECT_EQ(CPxDIBConvert(&image).ConvertTo(static_cast<BITMAPINFOHEADER**>(nullptr)), 0);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(CPxDIBConvert::DeleteBitmapInfoHeaderMem(nullptr), 1);
}

TEST(BitmapExport, isReadBackByTheImport) {
  Random random(3);
  for (const COLOR_MODEL model : {CM_RGB, CM_RGBA, CM_INDEX})
    for (int width = 0; width < 9; ++width) {
      const CPxImage image = randomImage(random, {model, 8}, width, 3);
      Bytes block = exportedBlock(image);
      CPxImage back = gray8({{1}});
      EXPECT_EQ(CPxDIBConvert(&back).ConvertFrom(reinterpret_cast<BITMAPINFOHEADER*>(block.data())), width > 0);
      EXPECT_PICTURE(back, width > 0 ? image : gray8({{1}}));
    }
}

// Beyond 8 MB rows are written past the caches.
TEST(BitmapExport, largeImagesAreReadBackAtEveryLevel) {
  Random random(4);
  const CPxImage image = randomImage(random, {CM_RGB, 8}, 2003, 1401);
  for (const char* const level : {"baseline", "v2", "v3", "v4", "best"}) {
    if (!useLevel(level)) continue;
    Bytes block = exportedBlock(image);
    for (const bool topDown : {false, true}) {
      CPxImage expected = image;
      if (topDown) {
        reinterpret_cast<BITMAPINFOHEADER*>(block.data())->biHeight = -1401;
        CPxGeometryProcessing(&expected).Flip(CPxGeometryProcessing::FLIP_VERTICAL);
      }
      CPxImage back;
      EXPECT_EQ(CPxDIBConvert(&back).ConvertFrom(block.data(), block.size()), 1);
      EXPECT_PICTURE(back, expected);
    }
    EXPECT_EQ(Bytes(block.begin() + 40 + 6009, block.begin() + 40 + 6012), Bytes(3)) << "row padding";
  }
  useLevel("best");
}

// Icons ---------------------------------------------------------------------------------------------------------------

// The icon's pixels: blue, green, red, alpha.
Bytes iconOf(CPxImage image, CSize size, DWORD colour) {
  HICON icon = nullptr;
  EXPECT_EQ(CPxDIBConvert(&image).ConvertTo(icon, size, colour), 1);
  CSize actual;
  const Bytes pixels = iconPixels(icon, actual);
  EXPECT_EQ(actual, size);
  EXPECT_TRUE(DestroyIcon(icon));
  return pixels;
}

Bytes repeated(const Bytes& pixel, int count) {
  Bytes pixels;
  for (int i = 0; i < count; ++i) pixels.insert(pixels.end(), pixel.begin(), pixel.end());
  return pixels;
}

TEST(Icon, showsASmallerImageInItsCentreUnscaled) {
  Bytes expected(5 * 4 * 4);
  // 2 x 1 in 5 x 4: at (1, 1).
  const Bytes shown = {10, 20, 30, 255, 40, 50, 60, 255};
  std::copy(shown.begin(), shown.end(), expected.begin() + (1 * 5 + 1) * 4);
  EXPECT_EQ(iconOf(rgb8({{10, 20, 30, 40, 50, 60}}), CSize(5, 4), 0x0000FF00), expected);
}

TEST(Icon, cropsAnImageThatIsSmallerInOneDirectionOnly) {
  const CPxImage wide = gray8({{10, 20, 30, 40, 50}});
  Bytes expected(3 * 3 * 4);
  const Bytes shown = {20, 20, 20, 255, 30, 30, 30, 255, 40, 40, 40, 255};
  std::copy(shown.begin(), shown.end(), expected.begin() + 3 * 4);
  EXPECT_EQ(iconOf(wide, CSize(3, 3), 0xFF), expected);
}

TEST(Icon, masksTheBackgroundColour) {
  // 0x00BBGGRR, the high byte ignored.
  EXPECT_EQ(iconOf(rgb8({{0x11, 0x22, 0x33, 1, 2, 3}}), CSize(2, 1), 0xFF112233u), Bytes({0, 0, 0, 0, 1, 2, 3, 255}));
}

TEST(Icon, scalesALargerImage) {
  EXPECT_EQ(iconOf(CPxImage(CM_GRAY, 8, 9, 7), CSize(3, 2), 0x00FFFFFF), repeated({0, 0, 0, 255}, 6));
}

TEST(Icon, isBackgroundAloneWhereNoBitmapIsMade) {
  EXPECT_EQ(iconOf(grayFloat({{1, 2}, {3, 4}}), CSize(2, 2), 0x00123456), Bytes(16));
}

TEST(Icon, refusesAMissingImageAndASizeBelowOne) {
  CPxImage image = gray8({{1}}), empty;
  int something = 0;
  const HICON before = reinterpret_cast<HICON>(&something);
  HICON icon = before;
  EXPECT_EQ(CPxDIBConvert().ConvertTo(icon, CSize(2, 2), 0), 0);
  EXPECT_EQ(CPxDIBConvert(&empty).ConvertTo(icon, CSize(2, 2), 0), 0);
  EXPECT_EQ(CPxDIBConvert(&image).ConvertTo(icon, CSize(0, 2), 0), 0);
  EXPECT_EQ(CPxDIBConvert(&image).ConvertTo(icon, CSize(2, -1), 0), 0);
  EXPECT_EQ(icon, before);
}

TEST(Icon, outlivesTheNextOne) {
  CPxImage image = gray8({{7}});
  HICON first = nullptr, second = nullptr;
  EXPECT_EQ(CPxDIBConvert(&image).ConvertTo(first, CSize(1, 1), 0), 1);
  setSample(image, 0, 0, 0, 9);
  EXPECT_EQ(CPxDIBConvert(&image).ConvertTo(second, CSize(1, 1), 0), 1);
  CSize size;
  EXPECT_EQ(iconPixels(first, size), Bytes({7, 7, 7, 255}));
  EXPECT_EQ(iconPixels(second, size), Bytes({9, 9, 9, 255}));
  DestroyIcon(first);
  DestroyIcon(second);
}

// Clipboard -----------------------------------------------------------------------------------------------------------

TEST(Clipboard, holdsTheExportedBlock) {
  for (const CPxImage& image : {rgb8({{1, 2, 3}, {4, 5, 6}}), gray8({{1, 2, 3}}), picture(CM_GRAYA, 8, {{9, 8}})}) {
    CPxImage source = image;
    EXPECT_EQ(CPxMiscProcessing(&source).CopyToClipboard(nullptr), 1);
    Bytes block = clipboardBlock();
    const Bytes expected = exportedBlock(image);
    // The system may round the memory up.
    ASSERT_GE(block.size(), expected.size());
    block.resize(expected.size());
    EXPECT_EQ(block, expected);
  }
}

CPxImage shared() {
  Random random(8);
  return randomImage(random, {CM_RGB, 8}, 33, 9);
}

// Run by the next test, in a process of its own.
TEST(Clipboard, DISABLED_holdsWhatAnotherProcessPlaced) {
  Bytes block = clipboardBlock();
  const Bytes expected = exportedBlock(shared());
  ASSERT_GE(block.size(), expected.size());
  block.resize(expected.size());
  EXPECT_EQ(block, expected);
}

TEST(Clipboard, isReadByAnotherProcess) {
  if (!RASTERKIT_SHARED_CLIPBOARD) GTEST_SKIP() << "this desktop's clipboard is the process's own";
  CPxImage image = shared();
  EXPECT_EQ(CPxMiscProcessing(&image).CopyToClipboard(nullptr), 1);
  const std::string reader = testing::internal::GetArgvs()[0] +
                             " --gtest_also_run_disabled_tests --gtest_filter=Clipboard.DISABLED_* --gtest_brief=1";
  EXPECT_EQ(std::system(reader.c_str()), 0);
}

TEST(Clipboard, isEmptiedWhereNoBitmapIsMade) {
  CPxImage grey = gray8({{1}}), real = grayFloat({{1}});
  EXPECT_EQ(CPxMiscProcessing(&grey).CopyToClipboard(nullptr), 1);
  EXPECT_EQ(CPxMiscProcessing(&real).CopyToClipboard(nullptr), 1);
  EXPECT_TRUE(clipboardBlock().empty());
}

TEST(Clipboard, staysWithoutAnImage) {
  CPxImage grey = gray8({{1}}), empty;
  EXPECT_EQ(CPxMiscProcessing(&grey).CopyToClipboard(nullptr), 1);
  const Bytes before = clipboardBlock();
  EXPECT_FALSE(before.empty());
  EXPECT_EQ(CPxMiscProcessing(&empty).CopyToClipboard(nullptr), 0);
  EXPECT_EQ(CPxMiscProcessing().CopyToClipboard(nullptr), 0);
  EXPECT_EQ(CPxMiscProcessing(&grey).PasteFromClipboard(nullptr), 1);
  EXPECT_EQ(clipboardBlock(), before);
  EXPECT_PICTURE(grey, gray8({{1}}));
}

}  // namespace
}  // namespace rasterkit::test
