// Images at the greatest size that the container's 32-bit fields describe, and the refusal of anything beyond. Wants
// 8 GB of memory, so it is a program of its own.

#include <rasterkit/rasterkit.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <new>

#include "catalogue/catalogue.h"
#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

using namespace catalogue;

// Cheap, and different from row to row and from column to column.
void paint(CPxImage& image) {
  for (int y = 0; y < image.height; ++y) {
    auto* const row = static_cast<unsigned char*>(image.Get2DBuffer()[y]);
    const unsigned start = static_cast<unsigned>(y) * 7919u;
    for (int x = 0; x < image.bytesPerLine; ++x)
      row[x] = static_cast<unsigned char>((start + static_cast<unsigned>(x) * 31u) >> 3);
  }
}

CPxImage corner(const CPxImage& image, int width, int height) {
  CPxImage part(image.colorModel, image.bitsPerSample, width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < image.channels; ++c)
        copySample(part, x, y, c, image, image.width - width + x, image.height - height + y, c);
  return part;
}

// Every operation that speaks of no places, with its defaults or usual arguments.
bool canBeCompared(const Operation& operation, const CPxImage& image) {
  const Where where = operation.result.where;
  return operation.refusal(image).empty() && operation.reach.extent == Reach::pixels && !operation.readsSeries &&
         (where == Where::intoDestination || where == Where::inPlace) &&
         std::ranges::none_of(operation.parameters, [](const Parameter& parameter) {
           return parameter.kind == Kind::point || parameter.kind == Kind::image || parameter.kind == Kind::text;
         });
}

void setUsual(Call& call) {
  for (const Parameter& parameter : call.operation().parameters) {
    if (!parameter.required()) continue;
    const double usual = std::min(parameter.usualLeast + 2, parameter.usualMost);
    switch (parameter.kind) {
      case Kind::integer: call.set(parameter.name, static_cast<int>(usual)); break;
      case Kind::real: call.set(parameter.name, usual); break;
      case Kind::choice: call.set(parameter.name, parameter.choices.front().number); break;
      case Kind::rectangle: call.set(parameter.name, CRect(-1, -1, -1, -1)); break;
      case Kind::kernel: call.set(parameter.name, Kernel{3, 3, {1, 2, 1, 0, 4, 0, -1, 2, -1}}); break;
      case Kind::point:
      case Kind::image:
      case Kind::text: break;
    }
  }
}

// The far corner of the result is what the operation makes of the far corner.
void expectTheFarCornerRight(CPxImage& image) {
  CPxImage dst;
  for (const Operation& operation : operations()) {
    if (!canBeCompared(operation, image)) continue;
    SCOPED_TRACE(operation.name);
    const bool inPlace = operation.result.where == Where::inPlace;
    if (inPlace && !dst.IsCreated()) dst = image;
    Call call(operation, image, dst);
    setUsual(call);
    const int reach = operation.reach.distance ? operation.reach.distance(call) : 0;
    const int width = std::min(20, image.width), height = std::min(20, image.height);
    CPxImage tile = corner(image, std::min(width + reach, image.width), std::min(height + reach, image.height));
    CPxImage tileDst;
    Call onTile(operation, tile, tileDst);
    setUsual(onTile);
    const int flag = call.run();
    EXPECT_EQ(onTile.run(), flag);
    EXPECT_PICTURE(corner(dst, width, height), corner(tileDst, width, height));
  }
}

TEST(BigImage, isProcessedToItsLastByte) {
  CPxImage image(CM_GRAY, 8, 46336, 46336);
  ASSERT_GT(image.bufferSize, INT_MAX - (1 << 20));
  paint(image);
  expectTheFarCornerRight(image);
}

TEST(BigImage, ofOneRowIsProcessedToItsLastByte) {
  CPxImage image(CM_GRAY, 8, INT_MAX - 3, 1);
  ASSERT_EQ(image.bufferSize, INT_MAX - 3);
  paint(image);
  CPxImage dst;
  EXPECT_EQ(CPxThresholdProcessing(&image).Threshold(dst, 100), 1);
  for (int x = image.width - 40; x < image.width; ++x)
    EXPECT_EQ(sampleAt(dst, x, 0), sampleAt(image, x, 0) >= 100 ? 255 : 0);
  EXPECT_EQ(CPxMorphologicProcessing(&image).Dilate(dst, 1), 1);
  EXPECT_EQ(sampleAt(dst, image.width - 1, 0),
            std::max(sampleAt(image, image.width - 1, 0), sampleAt(image, image.width - 2, 0)));
  CPxHistogram histogram(image, 0);
  double counted = 0;
  for (int value = 0; value < 256; ++value) counted += histogram.GetValue(value, HIST_RAW);
  EXPECT_EQ(counted, image.width);
}

TEST(BigImage, ofColoursIsProcessedToItsLastByte) {
  CPxImage image(CM_RGBA, 16, 16384, 16383);
  ASSERT_GT(image.bufferSize, INT_MAX - (1 << 20));
  paint(image);
  expectTheFarCornerRight(image);
}

TEST(BigImage, leavesAsABitmap) {
  CPxImage image(CM_RGB, 8, 26750, 26750);
  ASSERT_GT(image.bufferSize, 2146000000);
  paint(image);
  BITMAPINFOHEADER* block = nullptr;
  ASSERT_EQ(CPxDIBConvert(&image).ConvertTo(&block), 1);
  ASSERT_NE(block, nullptr);
  const std::size_t bytes = 40 + std::size_t{block->biClrUsed} * 4 + block->biSizeImage;
  CPxImage back;
  EXPECT_EQ(CPxDIBConvert(&back).ConvertFrom(block, bytes), 1);
  CPxDIBConvert::DeleteBitmapInfoHeaderMem(block);
  EXPECT_PICTURE(corner(back, 30, 30), corner(image, 30, 30));
}

// An image whose block would have 2^31 bytes or more cannot say how many.
TEST(BigImage, beyondTheFieldThatHoldsItsSizeIsRefused) {
  for (const auto& [model, bits, width, height] : {std::tuple(CM_GRAY, 8, 46341, 46344),
                                                   {CM_GRAY, 8, INT_MAX, 1},
                                                   {CM_RGBA, 32, 134217728, 1},
                                                   {CM_RGB, 16, 20000, 17896},
                                                   {CM_GRAY, 8, 4, 536870912},
                                                   {CM_RGBA, 32, INT_MAX, INT_MAX}}) {
    CPxImage image(CM_GRAY, 8, 2, 2);
    EXPECT_THROW(image.Create(model, bits, width, height), std::bad_alloc) << width << " x " << height;
    EXPECT_FALSE(image.IsCreated());
    EXPECT_EQ(image.bufferSize, 0);
  }
}

TEST(BigImage, thatAnOperationCannotMakeIsRefused) {
  CPxImage image(CM_GRAY, 8, 30000, 30000);
  paint(image);
  CPxImage dst;
  EXPECT_THROW(CPxGeometryProcessing(&image).Resize(2.0F, dst), std::bad_alloc);
  EXPECT_FALSE(dst.IsCreated());
}

}  // namespace
}  // namespace rasterkit::test
