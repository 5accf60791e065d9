// When memory runs out: std::bad_alloc at most, nothing lost, images that are empty or whole, and objects that serve
// on.

#include <rasterkit/rasterkit.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <new>
#include <utility>
#include <vector>

#include "catalogue/catalogue.h"
#include "catalogue/recipe.h"
#include "tests/memory/failing_allocations.h"
#include "tests/support/bitmap_blocks.h"
#include "tests/sweep/by_operation.h"
#include "tests/sweep/draw.h"

namespace rasterkit::test {
namespace {

using namespace catalogue;
using Which = FailingAllocations::Which;

// Empty, or described by its members and readable throughout.
testing::AssertionResult emptyOrWhole(const CPxImage& image) {
  if (!image.IsCreated()) {
    if (image.width || image.height || image.bufferSize || image.channelBits || image.GetBuffer())
      return testing::AssertionFailure() << "an empty image describes pixels";
    return testing::AssertionSuccess();
  }
  if (image.channels != CPxImageInfo::GetChannel(image.colorModel) || !image.channelBits ||
      image.bufferSize != image.bytesPerLine * image.height)
    return testing::AssertionFailure() << "the members do not fit each other";
  const auto* const block = static_cast<const unsigned char*>(image.GetBuffer());
  for (int y = 0; y < image.height && image.bytesPerLine > 0; ++y)
    if (image.Get2DBuffer()[y] != block + std::ptrdiff_t{y} * image.bytesPerLine)
      return testing::AssertionFailure() << "row " << y << " is not in the block";
  const CPxImage copy = image;
  return identical(copy, image);
}

// Runs the action once for each allocation that it makes (of many, the first 48 and a spread of the rest), which then
// fails: alone, and with all after it. The action
// may be stopped by std::bad_alloc; check(stopped) follows. Nothing that the action has made may be left when reset has
// run.
template <class Action, class Check, class Reset>
void whereverMemoryEnds(const Action& action, const Check& check, const Reset& reset) {
  action();  // what is made once and stays
  reset();
  const long count = allocationsOf(action);
  reset();
  constexpr long kEach = 48;
  for (const Which which : {Which::one, Which::allFromThere}) {
    for (long n = 0; n < count; n += n < kEach ? 1 : std::max(count / kEach, 1L)) {
      SCOPED_TRACE("allocation " + std::to_string(n) + " of " + std::to_string(count) + " fails");
      const long before = liveBlocks();
      bool stopped = false;
      {
        const FailingAllocations failing(n, which);
        try {
          action();
        } catch (const std::bad_alloc&) {
          stopped = true;
        }
        EXPECT_TRUE(failing.failed());
      }
      check(stopped);
      reset();
      EXPECT_EQ(liveBlocks(), before) << "blocks";
      if (testing::Test::HasFailure()) return;
    }
  }
}

class WithoutMemory : public testing::TestWithParam<std::string> {};

TEST_P(WithoutMemory, theOperationLeavesImagesWholeAndLosesNothing) {
  const Operation& operation = *find(GetParam());
  Random random(7);
  for (const PixelType type : sweep::typesFor(operation)) {
    const sweep::Draw draw = sweep::drawn(random, operation, randomImage(random, type, 9, 6));
    SCOPED_TRACE(describe(operation, draw));

    // The images of the call are made before memory runs out. dst: of another shape, or of the result's.
    const CPxImage other = gray8({{1, 2}});
    for (const CPxImage& before : {other, outcome(operation, draw, operation.run, other).dst}) {
      const sweep::Outcome expected = outcome(operation, draw, operation.run, before);
      CPxImage source = draw.source, dst = before, mask = draw.mask;
      auto images = draw.images;
      auto series = draw.series;
      Call call(operation, source, dst);
      for (const auto& [name, value] : draw.arguments) call.set(name, value);
      for (auto& [name, image] : images) call.set(name, &image);
      if (draw.masked) call.mask = &mask;
      if (operation.readsSeries) {
        call.series.push_back(&source);
        for (CPxImage& image : series) call.series.push_back(&image);
      }
      const auto reset = [&] {
        call.report = std::string();
        dst = before;
      };
      reset();
      int flag = 0;
      whereverMemoryEnds([&] { flag = call.run(); },
                         [&](bool stopped) {
                           EXPECT_TRUE(emptyOrWhole(dst));
                           EXPECT_TRUE(identical(source, draw.source));
                           if (stopped) {
                             reset();
                             flag = call.run();
                           }
                           EXPECT_EQ(flag, expected.flag);
                           EXPECT_TRUE(identical(dst, expected.dst));
                           EXPECT_EQ(call.report, expected.report);
                         },
                         reset);
      if (HasFailure()) return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, WithoutMemory, testing::ValuesIn(operationNames()), testName);

// The action makes what it needs and gives it back.
template <class Action>
void losesNothing(const Action& action) {
  whereverMemoryEnds(
      action, [](bool) {}, [] {});
}

TEST(WithoutMemoryImage, isEmptyOrWhole) {
  const CPxImage picture = rgb8({{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}});
  CPxImage image;
  const auto keepsShape = [&](bool stopped) {
    EXPECT_TRUE(emptyOrWhole(image));
    EXPECT_EQ(image.IsCreated() == 0, stopped);
  };
  const auto remove = [&] { image.Remove(); };
  whereverMemoryEnds([&] { image.Create(CM_INDEX, 8, 4, 3, 16); }, keepsShape, remove);
  whereverMemoryEnds([&] { image = picture; }, keepsShape, remove);
  losesNothing([&] { const CPxImage copy = picture; });
  losesNothing([] {
    CPxPalette palette(16), other;
    other = palette;
    CPxImageArray array;
    for (int i = 0; i < 5; ++i) array.Add(nullptr);
  });
}

TEST(WithoutMemoryTable, isEmptyAndCanBeMadeAgain) {
  CPxImage image = gray8({{1, 2, 3}, {4, 5, 6}});
  losesNothing([&] {
    CPxContrastProcessing contrast(&image);
    contrast.CreateVectorTable(256);
    CPxContrastProcessing copy = contrast;
    copy = contrast;
    copy.Contrast(CRect(-1, -1, -1, -1));
    contrast.AutoContrast();
    CPxGammaProcessing gamma(&image);
    gamma.CreateVectorTable(256);
    gamma.Gamma(CRect(-1, -1, -1, -1));
  });

  setMessageHandler([](void*, const char*, const char*, unsigned int) { return 1; });
  CPxContrastProcessing first(&image), second(&image), copy;
  first.CreateVectorTable(256);
  second.CreateVectorTable(16);
  const auto contrasts = [](CPxContrastProcessing& processing) { return processing.Contrast(CRect(-1, -1, -1, -1)); };
  whereverMemoryEnds([&] { copy = first; }, [&](bool stopped) { EXPECT_EQ(contrasts(copy), stopped ? 0 : 1); },
                     [&] { copy = second; });
  setMessageHandler(nullptr);

  CPxImage pixels = picture(CM_RGBA, 8, {{1, 2, 3, 4}});
  CPxPointProcessing counts(&pixels);
  whereverMemoryEnds([&] { counts.CalLookupTable(); },
                     [&](bool stopped) {
                       EXPECT_EQ(counts.GetLookupTableCount(), stopped ? 0 : 4);
                       counts.CalLookupTable();
                       EXPECT_EQ(counts.GetLookupTableCount(), 4);
                     },
                     [&] { counts.RemoveAll(); });
  counts.CalLookupTable();
  CPxPointProcessing copied;
  whereverMemoryEnds([&] { copied = counts; },
                     [&](bool stopped) { EXPECT_EQ(copied.GetLookupTableCount(), stopped ? 0 : 4); },
                     [&] { copied.RemoveAll(); });
  losesNothing([&] { const CPxPointProcessing made = counts; });
}

TEST(WorkingMemory, ofATableIsGivenBackBeforeTheNextIsMade) {
  CPxContrastProcessing contrast;
  const long before = heldBytes();
  contrast.CreateVectorTable(65536);
  EXPECT_EQ(bytesFor([&] { contrast.CreateVectorTable(65536); }), 0);
  contrast.CreateVectorTable(0);
  EXPECT_EQ(heldBytes(), before);
}

TEST(WithoutMemoryHistogram, isEmptyAndCanBeMadeAgain) {
  const CPxImage image = gray8({{1, 2, 3, 200}, {4, 5, 6, 201}});
  const CPxImage wide = gray16({{1, 2, 3, 60000}}), colour = rgb8({{1, 2, 3, 4, 5, 6}});
  const CPxImage large(CM_GRAY, 8, 1024, 512);  // counted in pairs
  CPxHistogram histogram;
  whereverMemoryEnds([&] { histogram.Create(image, 0); },
                     [&](bool stopped) {
                       EXPECT_EQ(histogram.GetBinCount(), stopped ? 0 : 256);
                       EXPECT_EQ(histogram.IsCreated(), stopped ? 0 : 1);
                     },
                     [&] { histogram.Remove(); });
  const std::string path = (std::filesystem::temp_directory_path() / "rasterkit_without_memory.txt").string();
  losesNothing([&] {
    CPxHistogram made(image, 0);
    made.SetHistogram(wide, 0);
    made.SetHistogram(colour, 1);
    made.SetHistogram(large, 0);
    CPxHistogram copy = made;
    copy = made;
    made.CreateBuffer(HIST_DIFF2);
    CPxHistogramProcessing peaks(&made);
    peaks.Smooth(2, HIST_SMOOTHED, 1, 0, -1);
    peaks.FindMaximaMinima();
    CPxHistogramProcessing copied = peaks;
    copied = peaks;
    peaks.SaveHistogram(path.c_str(), HIST_RAW);
  });
  std::filesystem::remove(path);
}

TEST(WithoutMemoryHough, losesNothing) {
  CPxImage image = gray8({{0, 0, 0, 0, 0}, {9, 9, 9, 9, 9}, {0, 0, 0, 0, 0}});
  losesNothing([&] {
    CPxHoughTransform hough(&image);
    hough.Direct();
    CPxHoughImage accumulator = hough.GetHoughImage();
    accumulator = hough.GetHoughImage();
    CPxImage lines(CM_GRAY, 8, 5, 3);
    hough.Inverse(lines, accumulator);
    hough.GetDisplayImage(lines);
    hough.DetectLine(lines);
    CPxHoughTransform copy = hough;
    copy = hough;
  });
  CPxHoughImage accumulator;
  whereverMemoryEnds([&] { accumulator.Create(7, 5); },
                     [&](bool stopped) {
                       EXPECT_EQ(accumulator.IsCreated(), stopped ? 0 : 1);
                       EXPECT_EQ(accumulator.GetRhoCount(), stopped ? 0 : 7);
                     },
                     [&] { accumulator.Remove(); });
}

TEST(WithoutMemoryBitmap, isExchangedWhollyOrNot) {
  CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}});
  CPxImage grey = grayFloat({{1, 2}, {3, 4}});
  losesNothing([&] {
    for (CPxImage* const each : {&image, &grey}) {
      BITMAPINFOHEADER* block = nullptr;
      CPxDIBConvert convert(each);
      try {
        convert.ConvertTo(&block);
      } catch (...) {
        EXPECT_EQ(block, nullptr);
        throw;
      }
      CPxDIBConvert::DeleteBitmapInfoHeaderMem(block);
    }
  });
  losesNothing([&] {
    HICON icon = nullptr;
    CPxDIBConvert convert(&image);
    try {
      convert.ConvertTo(icon, CSize(8, 8), 0x102030);
      CSize size;
      iconPixels(icon, size);
    } catch (...) {
      DestroyIcon(icon);
      throw;
    }
    DestroyIcon(icon);
  });

  BitmapMaker maker{.width = 5, .height = 3, .bits = 8};
  maker.colours.resize(256, 0x102030);
  maker.data.resize(24, 7);
  const auto block = maker.block();
  CPxImage imported;
  whereverMemoryEnds([&] { CPxDIBConvert(&imported).ConvertFrom(block.data(), block.size()); },
                     [&](bool) { EXPECT_TRUE(emptyOrWhole(imported)); }, [&] { imported.Remove(); });
  losesNothing([&] {
    CPxPalette palette;
    bitmapPalette(block.data(), block.size(), palette);
  });
}

// Whichever allocation fails, the image is what it was or all that the block holds.
TEST(WithoutMemoryBitmap, isReadIntoAnImageWhollyOrNot) {
  const std::vector<std::uint8_t> data(80, 7);
  const BitmapMaker colours{.width = 5, .height = 4, .data = data};
  const BitmapMaker indices{
      .width = 5, .height = 4, .bits = 8, .colours = std::vector<std::uint32_t>(256, 0x102030), .data = data};
  const BitmapMaker strange{
      .width = 5, .height = 4, .bits = 32, .compression = 3, .masks = {5, 5, 5}, .data = data};  // with a message
  const auto image = [](COLOR_MODEL model, int width, int height, int paletteCount = 0) {
    CPxImage made(model, 8, width, height, paletteCount);
    made.channelBits[0] = 3;
    made.palette.SetGrayPalette();
    std::memset(made.GetBuffer(), 1, static_cast<std::size_t>(made.bufferSize));
    return made;
  };
  const struct {
    const char* name;
    BitmapMaker block;
    std::function<CPxImage()> image;
  } cases[] = {
      {"another shape", colours, [&] { return image(CM_RGB, 9, 9); }},
      {"the same shape", colours, [&] { return image(CM_RGB, 5, 4); }},
      {"as many bytes and rows", colours, [&] { return image(CM_GRAY, 16, 4); }},
      {"as many bytes in fewer rows", colours, [&] { return image(CM_GRAY, 32, 2); }},
      {"the same shape in a larger block", colours,
       [&] {
         CPxImage larger = image(CM_RGB, 8, 4);
         CPxMiscProcessing(&larger).Crop(CRect(0, 0, 4, 3));
         larger.channelBits[0] = 3;
         return larger;
       }},
      {"as many colours", indices, [&] { return image(CM_INDEX, 5, 4, 256); }},
      {"fewer colours", indices, [&] { return image(CM_INDEX, 5, 4, 2); }},
      {"colours and another shape", indices, [&] { return image(CM_INDEX, 5, 7, 2); }},
      {"strange masks", strange, [&] { return image(CM_RGBA, 5, 4); }},
      {"strange masks and another shape", strange, [&] { return image(CM_GRAY, 5, 4); }},
  };
  setMessageHandler([](void*, const char*, const char*, unsigned int) { return 1; });
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    const auto block = each.block.block();
    const CPxImage before = each.image();
    CPxImage expected, bound = each.image();
    ASSERT_EQ(CPxDIBConvert(&expected).ConvertFrom(block.data(), block.size()), 1);
    int flag = 0;
    whereverMemoryEnds([&] { flag = CPxDIBConvert(&bound).ConvertFrom(block.data(), block.size()); },
                       [&](bool stopped) {
                         EXPECT_FALSE(stopped);
                         EXPECT_TRUE(identical(bound, flag ? expected : before));
                       },
                       [&] { bound = each.image(); });
  }
  setMessageHandler(nullptr);
}

// Where the colours cannot be counted the halftone palette serves, as long as there is memory for it.
TEST(WithoutMemoryPalette, isTheHalftonePaletteOrNone) {
  const auto block = BitmapMaker{.width = 1, .height = 1, .bits = 24, .data = {8, 4, 16, 0}}.block();
  CPxPalette palette;
  int halftones = 0;
  const auto make = [&] { bitmapPalette(block.data(), block.size(), palette); };
  const auto check = [&](bool stopped) {
    ASSERT_EQ(palette.GetPaletteNum(), stopped ? 0 : 256);
    if (stopped) return;
    EXPECT_EQ(palette.GetPaletteItem(1)->blue, 51);
    EXPECT_EQ(palette.GetPaletteItem(215)->red, 255);
    ++halftones;
  };
  whereverMemoryEnds(make, check, [&] { palette = CPxPalette(); });
  EXPECT_GT(halftones, 0);
  make();
  EXPECT_EQ(palette.GetPaletteItem(0)->blue, 8);
}

TEST(WithoutMemoryClipboard, keepsItsBlockOrTakesTheNewOne) {
  CPxImage first = gray8({{1, 2}, {3, 4}}), second = rgb8({{1, 2, 3}});
  ASSERT_EQ(CPxMiscProcessing(&first).CopyToClipboard(nullptr), 1);
  const auto one = clipboardBlock();
  ASSERT_EQ(CPxMiscProcessing(&second).CopyToClipboard(nullptr), 1);
  const auto other = clipboardBlock();
  whereverMemoryEnds([&] { CPxMiscProcessing(&first).CopyToClipboard(nullptr), clipboardBlock(); },
                     [&](bool) {
                       const auto now = clipboardBlock();
                       EXPECT_TRUE(now == one || now == other || now.empty());
                     },
                     [&] {
                       ASSERT_EQ(CPxMiscProcessing(&second).CopyToClipboard(nullptr), 1);
                       ASSERT_EQ(clipboardBlock(), other);
                     });
}

TEST(WithoutMemoryShading, losesNothing) {
  CPxImage image = rgb8({{10, 20, 30, 40, 50, 60}});
  const CPxImage blank = rgb8({{100, 100, 100, 90, 90, 90}});
  losesNothing([&] {
    CIMPShadingCorrect shading(&image);
    shading.SetBlankImage(&blank);
    CIMPShadingCorrect copy = shading;
    copy = shading;
    shading.ShadingCorrect();
  });
}

TEST(WithoutMemoryHost, losesNothing) {
  const std::string path(100, 'p');
  losesNothing([&] {
    CHostProfileManager host;
    host.SetDefaultInfo();
    host.SetUIPath(path.c_str());
    host.SetFileName(path.c_str());
    host.SetCaption(path.c_str());
    char text[260];
    host.GetUIPath(text);
    host.GetFileName(text);
    const CString caption = host.GetCaption();
    CPxImage image = gray8({{1}});
    setMessageHandler([](void*, const char*, const char*, unsigned int) { return 1; });
    CPxContrastProcessing(&image).Contrast(CRect(-1, -1, -1, -1));  // without a table: the message
    setMessageHandler(nullptr);
  });
}

TEST(WithoutMemoryRecipe, losesNothing) {
  losesNothing([] {
    const Recipe recipe = parseRecipe("gray median threshold level=128 erode size=1 \"mask=my area\"");
    format(recipe);
    NamedImages images;
    images.emplace("my area", gray8({{1, 0}, {1, 1}}));
    CPxImage image = rgb8({{1, 2, 3, 4, 5, 6}, {7, 8, 9, 10, 11, 12}});
    RecipeRunner(recipe, images).run(image, "picture");
  });
}

// Of wide images, whose few rows are large.
TEST(WorkingMemory, morphologyKeepsTwiceTheSizeAndTwoRowsAndTwoForTheMask) {
  using Method = int (CPxMorphologicProcessing::*)(CPxImage&, int);
  CPxImage source(CM_RGBA, 32, 20000, 16), mask(CM_GRAY, 8, 20000, 16), dst = source;
  for (const Method method : {&CPxMorphologicProcessing::Erode, &CPxMorphologicProcessing::Open})
    for (CPxImage* const into : {&dst, &source})
      for (CPxImage* const area : {static_cast<CPxImage*>(nullptr), &mask})
        for (const int size : {1, 2, 3, 4, 5, 7}) {
          CPxMorphologicProcessing morphology(&source);
          morphology.SetAOIImage(area);
          const long bytes = bytesFor([&] { EXPECT_EQ((morphology.*method)(*into, size), 1); });
          EXPECT_LT(bytes, (2 * size + 2 + (area ? 2 : 0)) * (source.bytesPerLine + 1024L))
              << "size " << size << (into == &source ? ", in place" : "") << (area ? ", with a mask" : "");
        }
}

TEST(WorkingMemory, noneOfManyColumnsWithoutRowsOrManyRowsWithoutColumns) {
  using Geometry = CPxGeometryProcessing;
  CPxImage some = gray8({{1, 2}, {3, 4}});
  for (const auto& [width, height] : {std::pair(10000000, 0), std::pair(0, 10000000)}) {
    CPxImage image(CM_GRAY, 8, width, height);
    Geometry geometry(&image);
    EXPECT_EQ(bytesFor([&] {
                for (const auto flag : {Geometry::FLIP_VERTICAL, Geometry::FLIP_HORIZONTAL, Geometry::FLIP_BOTH})
                  EXPECT_EQ(geometry.Flip(flag), 1);
                EXPECT_EQ(geometry.Shift(CPoint(1, 1)), 0);
                EXPECT_EQ(Geometry(&some).ResizeEx(2, CPoint(0, 0), image), 1);
              }),
              0);
    EXPECT_TRUE(identical(image, CPxImage(CM_GRAY, 8, width, height)));

    for (const int bits : {8, 16}) {
      const CPxImage pixels(CM_GRAYA, bits, width, height);
      EXPECT_LT(bytesFor([&] { CPxHistogram(pixels, 1); }), 4 << 20) << bits << " bits";  // its counters
    }
  }
}

// Of tall images, of which even one copy would be too much.
TEST(WorkingMemory, filtersKeepWhatTheyLookAtButNoImage) {
  int weights[49];
  float fractions[49];
  for (int i = 0; i < 49; ++i) {
    weights[i] = i % 7 - 3;
    fractions[i] = static_cast<float>(i % 5) * 0.11F - 0.2F;
  }
  constexpr auto flag = CPxConvolution::CONV_EXTEND_BORDER;
  const struct {
    const char* name;
    std::function<int(CPxImage*, CPxImage&)> run;
  } filters[] = {
      {"Median", [](CPxImage* source, CPxImage& dst) { return CPxFilter(source).Median(dst); }},
      {"RemoveRandomNoise",
       [](CPxImage* source, CPxImage& dst) { return CPxFilter(source).RemoveRandomNoise(dst, 9); }},
      {"Blur", [](CPxImage* source, CPxImage& dst) { return CPxFilter(source).Blur(dst); }},
      {"Sharpen", [](CPxImage* source, CPxImage& dst) { return CPxFilter(source).Sharpen(dst); }},
      {"Prewitt",
       [](CPxImage* source, CPxImage& dst) {
         return CPxEdgeDetection(source).Prewitt(dst, CPxEdgeDetection::PREWITT_DIAGONAL);
       }},
      {"Sobel3", [](CPxImage* source,
                    CPxImage& dst) { return CPxEdgeDetection(source).Sobel3(dst, CPxEdgeDetection::SOBEL_DIAGONAL); }},
      {"Laplacian3", [](CPxImage* source, CPxImage& dst) { return CPxEdgeDetection(source).Laplacian3(dst); }},
      {"Convolve",
       [&](CPxImage* source, CPxImage& dst) {
         return CPxConvolution(source).Convolve(weights, CSize(7, 7), dst, 9, 1, flag);
       }},
      {"Convolve of fractions",
       [&](CPxImage* source, CPxImage& dst) {
         return CPxConvolution(source).Convolve(fractions, CSize(7, 7), dst, 1.5F, 1, flag);
       }},
  };
  for (const int bits : {8, 16, 32}) {
    CPxImage source(CM_GRAY, bits, 1000, 600), dst = source;
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
    EXPECT_GE(bytesFor([&] { const CPxImage copy = source; }), source.bufferSize);  // an image would be seen
#endif
    for (const auto& filter : filters)
      for (CPxImage* const into : {&dst, &source}) {
        const long bytes = bytesFor([&] { EXPECT_EQ(filter.run(&source, *into), 1); });
        EXPECT_LT(bytes, 160 * 1024) << filter.name << ", " << bits << " bits" << (into == &source ? ", in place" : "");
      }
  }
}

}  // namespace
}  // namespace rasterkit::test
