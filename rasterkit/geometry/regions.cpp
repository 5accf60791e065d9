#include <rasterkit/geometry/regions.h>

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/region.h"
#include "rasterkit/geometry/region_kernels.h"

#include <cstring>
#include <functional>

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

Bytes bytesOf(CPxImage& image) { return viewOf<unsigned char>(image, pixelBytes(image)); }

// Copies a part of one image to a place in another that has room for it. Within one image rows are taken in the order
// in which none is overwritten before it is read.
void copyPart(CPxImage& source, const Region& part, CPxImage& dst, int left, int top) {
  const Bytes from = within(bytesOf(source), part);
  const Bytes to = within(bytesOf(dst), {left, top, part.width, part.height});
  if (&source != &dst) return copyRows(to.first, to.stride, from.first, from.stride, to.samples(), to.height);
  const bool upward = std::greater<>()(to.first, from.first);
  for (int i = 0; i < to.height; ++i) {
    const int y = upward ? to.height - 1 - i : i;
    std::memmove(to.row(y), from.row(y), to.samples());
  }
}

// Fills bytes by doubling what is there already: whole values, of which there is at least one.
void repeat(const void* value, std::size_t size, unsigned char* out, std::size_t bytes) {
  std::memcpy(out, value, size);
  for (std::size_t done = size; done < bytes; done *= 2) std::memcpy(out + done, out, std::min(done, bytes - done));
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

  // Most of an image stays in its block: fresh memory costs more than the copy. A small part of it must not hold the
  // whole block.
  const auto bytes = std::int64_t{region->width} * region->height * pixelBytes(*image);
  if (region->width > 0 && region->height > 0 && 2 * bytes > Storage::blockSize(*image)) {
    Storage::keepPart(*image, region->left, region->top, region->width, region->height);
    return 1;
  }
  CPxImage part;
  Storage::create(part, image->colorModel, image->bitsPerSample, region->width, region->height, 0,
                  Storage::Samples::any);
  Storage::fillPadding(part, 0);
  copyPart(*image, *region, part, 0, 0);
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
  copyPart(*image, part, dst, x, y);
  return 1;
}

int CPxMiscProcessing::PasteFrom(CPxImage& src, CRect rect) {
  CPxImage* const image = GetImage();
  if (!image || !samePixelBytes(*image, src)) return 0;
  const auto region = frameworkRegion(rect, *image);
  if (!region) return 0;
  const auto [part, x, y] = overlap(*region, rect.left, rect.top, src.width, src.height);
  copyPart(src, {x, y, part.width, part.height}, *image, part.left, part.top);
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
  const auto choose = kernels<RegionKernels>().choose;
  Bytes mine = within(bytesOf(*image), part);
  Bytes theirs = within(bytesOf(*from), {x, y, part.width, part.height});
  Bytes selected = within(viewOf<unsigned char>(*selects, 1), {x, y, part.width, part.height});
  joinRows(mine, theirs, selected);
  for (int i = 0; i < mine.height; ++i)
    choose(mine.row(i), theirs.row(i), selected.row(i), selected.samples(), static_cast<std::size_t>(mine.channels));
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
  const std::size_t room = bytesOf(*image).samples() / bytes;
  const std::size_t end = std::min(left + static_cast<std::size_t>(region->width), room);
  if (end <= left || region->height == 0) return 1;
  const std::size_t length = (end - left) * bytes;

  // The first row from the value, the others from the first.
  const Bytes rows = viewOf<unsigned char>(*image, 1);
  unsigned char* const first = rows.row(region->top) + left * bytes;
  repeat(value, bytes, first, length);
  for (int y = 1; y < region->height; ++y) std::memcpy(first + rows.stride * y, first, length);
  return 1;
}

int CPxDrawing::fill(const void* value, std::size_t bytes, CPxImage& mask) {
  CPxImage* const image = GetImage();
  if (!image || !movable(*image) || !readableAsMask(mask)) return 0;
  Unchanged selects(mask, *image);
  Bytes selected = viewOf<unsigned char>(*selects, 1), rows = bytesOf(*image);
  const int room = static_cast<int>(rows.samples() / bytes);
  rows.width = selected.width = std::min({selected.width, rows.width, room});
  rows.height = selected.height = std::min(selected.height, rows.height);
  rows.channels = static_cast<int>(bytes);
  joinRows(rows, selected);

  // A stretch of pixels of the value, to be chosen from as from another image.
  alignas(64) unsigned char values[8192];
  const std::size_t stretch = sizeof values / bytes, width = selected.samples();
  repeat(value, bytes, values, stretch * bytes);
  const auto choose = kernels<RegionKernels>().choose;
  for (int y = 0; y < rows.height; ++y)
    for (std::size_t x = 0; x < width; x += stretch)
      choose(rows.row(y) + x * bytes, values, selected.row(y) + x, std::min(width - x, stretch), bytes);
  return 1;
}
