// Flip and Shift: the image in place.

#include <rasterkit/geometry/geometry.h>

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/dispatch.h"
#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/region.h"
#include "rasterkit/geometry/columns.h"
#include "rasterkit/geometry/resample_kernels.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace rasterkit {
namespace {

using Rows = View<unsigned char>;

void exchangeRows(Rows rows, std::size_t bytes) {
  const auto exchange = kernels<ResampleKernels>().exchange;
  for (int top = 0, bottom = rows.height - 1; top < bottom; ++top, --bottom)
    exchange(rows.row(top), rows.row(bottom), bytes);
}

Columns mirrored(int width, int pixelBytes) {
  std::vector<std::int32_t> index(static_cast<std::size_t>(width));
  for (int x = 0; x < width; ++x) index[static_cast<std::size_t>(x)] = width - 1 - x;
  return Columns(std::move(index), width, pixelBytes);
}

void mirrorRows(Rows rows, std::size_t bytes, const Columns& mirror) {
  std::vector<unsigned char> kept(bytes);
  for (int y = 0; y < rows.height; ++y) {
    copyBytes(kept.data(), rows.row(y), bytes);
    mirror.pick(kept.data(), rows.row(y));
  }
}

void turnRows(Rows rows, std::size_t bytes, const Columns& mirror) {
  std::vector<unsigned char> kept(bytes);
  int top = 0, bottom = rows.height - 1;
  for (; top < bottom; ++top, --bottom) {
    copyBytes(kept.data(), rows.row(top), bytes);
    mirror.pick(rows.row(bottom), rows.row(top));
    mirror.pick(kept.data(), rows.row(bottom));
  }
  if (top == bottom) {
    copyBytes(kept.data(), rows.row(top), bytes);
    mirror.pick(kept.data(), rows.row(top));
  }
}

// What stays in the image is pasted through the framework's rule for rectangles: it refuses one column or row.
std::optional<Region> remaining(const CPxImage& image, CPoint offset) {
  const auto moved = [](int place, int by) {
    return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{place} + by, INT_MIN, INT_MAX));
  };
  return frameworkRegion(CRect(offset.x, offset.y, moved(image.width - 1, offset.x), moved(image.height - 1, offset.y)),
                         image);
}

template <class S>
int shift(View<S> image, CPoint offset, std::optional<Region> region, const unsigned char* backColor) {
  if (image.height == 0) return 0;  // columns without rows are no work, however many
  const Region to = region.value_or(Region());
  const auto pixel = static_cast<std::size_t>(image.channels);
  std::vector<S> back(image.samples());
  for (std::size_t i = 0; i < back.size(); ++i) back[i] = backColor[i % pixel];
  const auto at = [&](int x, int y) { return image.row(y) + static_cast<std::size_t>(x) * pixel; };
  const auto bytes = [&](int pixels) { return static_cast<std::size_t>(pixels) * pixel * sizeof(S); };

  const auto fillRow = [&](int y) {
    if (y < to.top || y >= to.top + to.height) {
      copyBytes(at(0, y), back.data(), bytes(image.width));
      return;
    }
    std::memmove(at(to.left, y), at(to.left - offset.x, y - offset.y), bytes(to.width));
    std::memcpy(at(0, y), back.data(), bytes(to.left));
    const int end = to.left + to.width;
    std::memcpy(at(end, y), back.data(), bytes(image.width - end));
  };
  // A row is overwritten only after it has moved on.
  if (offset.y > 0)
    for (int y = image.height; y-- > 0;) fillRow(y);
  else
    for (int y = 0; y < image.height; ++y) fillRow(y);
  return region.has_value();
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

void CPxGeometryProcessing::SetBackColor(unsigned char value) { backColor_[0] = value; }
void CPxGeometryProcessing::SetBackColor(tagPXG2 value) { std::copy_n(value.sample, 2, backColor_); }
void CPxGeometryProcessing::SetBackColor(tagPXG3 value) { std::copy_n(value.sample, 3, backColor_); }
void CPxGeometryProcessing::SetBackColor(tagPXG4 value) { std::copy_n(value.sample, 4, backColor_); }

int CPxGeometryProcessing::Flip(FLIP_FLAG flag) {
  int channels = 0;
  CPxImage* const image = GetImage();
  if (!image || !Storage::holdsItsPixels(*image) || !accepts(*image, {1, 4}, channels)) return 0;
  const int bits = image->bitsPerSample;
  if (!((bits >= 1 && bits <= 8) || bits == 16 || bits == 32)) return 0;

  const Rows rows = viewOf<unsigned char>(*image, channels);
  if (rows.height == 0) return 1;  // columns without rows are no work, however many
  const int pixelBytes = channels * sampleBytes(bits);
  const std::size_t bytes = static_cast<std::size_t>(image->width) * static_cast<std::size_t>(pixelBytes);
  switch (flag) {
    case FLIP_VERTICAL: exchangeRows(rows, bytes); break;
    case FLIP_HORIZONTAL: mirrorRows(rows, bytes, mirrored(image->width, pixelBytes)); break;
    case FLIP_BOTH: turnRows(rows, bytes, mirrored(image->width, pixelBytes)); break;
  }
  return 1;
}

int CPxGeometryProcessing::Shift(CPoint offset) {
  CPxImage* const image = GetImage();
  if (!image || !Storage::holdsItsPixels(*image)) return 0;
  int channels = 0;
  if (CPxImageInfo::GetChannel(image->colorModel) == 0) return offset.x;
  if (!accepts(*image, {1, 4, Channels::ofModel}, channels)) return 0;
  return bySample(*image, channels,
                  [&]<class S>(View<S> rows) { return shift(rows, offset, remaining(*image, offset), backColor_); });
}
