#include <rasterkit/geometry/regions.h>

#include "rasterkit/core/operands.h"
#include "rasterkit/core/region.h"

#include <cstring>

// Pixels are moved here, never calculated with: a pixel is so many bytes, whatever its type.

namespace rasterkit {
namespace {

using Bytes = View<unsigned char>;

bool movable(const CPxImage& image) {
  int channels = 0;
  return Storage::holdsItsPixels(image) && accepts(image, {1, 4}, channels) &&
         sampleClass(image.bitsPerSample) != SampleClass::none;
}

int pixelBytes(const CPxImage& image) { return image.channels * sampleBytes(image.bitsPerSample); }

bool samePixelBytes(const CPxImage& a, const CPxImage& b) {
  return movable(a) && movable(b) && pixelBytes(a) == pixelBytes(b);
}

unsigned char* pixelAt(CPxImage& image, int x, int y) {
  const auto rows = viewOf<unsigned char>(image, pixelBytes(image));
  return rows.row(y) + std::ptrdiff_t{x} * rows.channels;
}

// Copies the pixels at (fromX, fromY) and so on to (toX, toY). from and to may be one image: rows are taken in the
// order in which none is overwritten before it is read.
void copyPixels(CPxImage& from, int fromX, int fromY, CPxImage& to, int toX, int toY, int width, int height) {
  const auto bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(pixelBytes(from));
  const bool upward = toY > fromY;
  for (int i = 0; i < height; ++i) {
    const int y = upward ? height - 1 - i : i;
    std::memmove(pixelAt(to, toX, toY + y), pixelAt(from, fromX, fromY + y), bytes);
  }
}

// The image itself, or a copy of it where it is about to change.
class Unchanged {
 public:
  Unchanged(CPxImage& image, const CPxImage& changing) : image_(&image) {
    if (&image == &changing) image_ = &copy_.emplace(image);
  }
  CPxImage& operator*() { return *image_; }

 private:
  CPxImage* image_;
  std::optional<CPxImage> copy_;
};

// A mask is bytes, one a column, whatever its type.
bool readableAsMask(const CPxImage& mask) { return Storage::holdsItsPixels(mask) && mask.width <= mask.bytesPerLine; }

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxMiscProcessing::Crop(CRect rect) {
  CPxImage* const image = GetImage();
  if (!image || !movable(*image) || image->channels != CPxImageInfo::GetChannel(image->colorModel)) return 0;
  const auto region = inclusiveRegion(rect, *image);
  if (!region) return 0;

  CPxImage part;
  Storage::create(part, image->colorModel, image->bitsPerSample, region->width, region->height, 0,
                  Storage::Samples::any);
  Storage::fillPadding(part, 0);
  copyPixels(*image, region->left, region->top, part, 0, 0, part.width, part.width == 0 ? 0 : part.height);
  part.palette = image->palette;
  *image = std::move(part);
  return 1;
}

int CPxMiscProcessing::CopyTo(CPxImage& dst, CRect rect) {
  CPxImage* const image = GetImage();
  if (!image || !samePixelBytes(*image, dst)) return 0;
  const auto region = frameworkRegion(rect, *image);
  if (!region) return 0;
  const auto [part, x, y] = overlap(*region, rect.left, rect.top, dst.width, dst.height);
  copyPixels(*image, part.left, part.top, dst, x, y, part.width, part.height);
  return 1;
}

int CPxMiscProcessing::PasteFrom(CPxImage& src, CRect rect) {
  CPxImage* const image = GetImage();
  if (!image || !samePixelBytes(*image, src)) return 0;
  const auto region = frameworkRegion(rect, *image);
  if (!region) return 0;
  const auto [part, x, y] = overlap(*region, rect.left, rect.top, src.width, src.height);
  copyPixels(src, x, y, *image, part.left, part.top, part.width, part.height);
  return 1;
}

int CPxMiscProcessing::PasteFrom(CPxImage& src, CRect rect, CPxImage& mask) {
  CPxImage* const image = GetImage();
  if (!image || !samePixelBytes(*image, src) || !readableAsMask(mask)) return 0;
  const auto region = frameworkRegion(rect, *image);
  if (!region) return 0;
  const auto [part, x, y] =
      overlap(*region, rect.left, rect.top, std::min(src.width, mask.width), std::min(src.height, mask.height));
  Unchanged from(src, *image), selects(mask, *image);
  const auto bytes = static_cast<std::size_t>(pixelBytes(*image));
  for (int i = 0; i < part.height; ++i) {
    const unsigned char* const in = pixelAt(*from, x, y + i);
    const unsigned char* const selected = viewOf<unsigned char>(*selects, 1).row(y + i) + x;
    unsigned char* const out = pixelAt(*image, part.left, part.top + i);
    for (std::size_t at = 0; at < static_cast<std::size_t>(part.width); ++at)
      if (selected[at]) std::memcpy(out + at * bytes, in + at * bytes, bytes);
  }
  return 1;
}

int CPxMiscProcessing::PasteFromClipboard(HWND) { return 1; }

int CPxDrawing::fill(const void* value, std::size_t bytes, const CRect& rect) {
  CPxImage* const image = GetImage();
  if (!image || !movable(*image)) return 0;
  const auto region = inclusiveRegion(rect, *image);
  if (!region) return 0;

  // Values that lie wholly within a row's pixels.
  const auto left = static_cast<std::size_t>(region->left);
  const std::size_t room = viewOf<unsigned char>(*image, pixelBytes(*image)).samples() / bytes;
  const std::size_t end = std::min(left + static_cast<std::size_t>(region->width), room);
  if (end <= left || region->height == 0) return 1;
  const std::size_t length = (end - left) * bytes;

  // The first row by doubling what is there, the others from it.
  const Bytes rows = viewOf<unsigned char>(*image, 1);
  unsigned char* const first = rows.row(region->top) + left * bytes;
  std::memcpy(first, value, bytes);
  for (std::size_t done = bytes; done < length; done *= 2)
    std::memcpy(first + done, first, std::min(done, length - done));
  for (int y = 1; y < region->height; ++y) std::memcpy(first + rows.stride * y, first, length);
  return 1;
}

int CPxDrawing::fill(const void* value, std::size_t bytes, CPxImage& mask) {
  CPxImage* const image = GetImage();
  if (!image || !movable(*image) || !readableAsMask(mask)) return 0;
  Unchanged selects(mask, *image);
  const Bytes rows = viewOf<unsigned char>(*image, pixelBytes(*image));
  const Bytes selected = viewOf<unsigned char>(*selects, 1);
  const std::size_t count = std::min(
      {static_cast<std::size_t>(selected.width), static_cast<std::size_t>(rows.width), rows.samples() / bytes});
  for (int y = 0; y < std::min(rows.height, selected.height); ++y)
    for (std::size_t x = 0; x < count; ++x)
      if (selected.row(y)[x]) std::memcpy(rows.row(y) + x * bytes, value, bytes);
  return 1;
}
