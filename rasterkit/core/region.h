#pragma once
// Which pixels a rectangle means. Operations read rectangles by three rules, which differ at the edges; each has a name
// here, and none of the arithmetic can overflow, whatever the four numbers are.

#include <rasterkit/core/image.h>
#include <rasterkit/platform/framework.h>

#include "rasterkit/core/view.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

namespace rasterkit {

// A rectangle of pixels that lies within an image.
struct Region {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

// The rectangle that means the whole image where an operation knows one.
inline bool meansWhole(const CRect& rect) { return rect == CRect(-1, -1, -1, -1); }

inline Region wholeRegion(const CPxImage& image) { return {0, 0, image.width, image.height}; }

// First rule: right and bottom belong to the rectangle, and its edges may be given in either order. None where it lies
// wholly outside the image.
inline std::optional<Region> inclusiveRegion(CRect rect, const CPxImage& image) {
  if (rect.left > rect.right) std::swap(rect.left, rect.right);
  if (rect.top > rect.bottom) std::swap(rect.top, rect.bottom);
  const int lastColumn = image.width - 1, lastRow = image.height - 1;
  if (rect.left > lastColumn || rect.right < 0 || rect.top > lastRow || rect.bottom < 0) return {};
  const int left = std::max(rect.left, 0), top = std::max(rect.top, 0);
  return Region{left, top, std::min(rect.right, lastColumn) - left + 1, std::min(rect.bottom, lastRow) - top + 1};
}

// Second rule, the framework's: the rectangle, taken as it is, is intersected with (0, 0, width - 1, height - 1) as if
// right and bottom lay outside both; only then are the intersection's right and bottom taken in. So a rectangle of one
// column or row, one that starts in the last column or row, and one with left > right is none.
inline std::optional<Region> frameworkRegion(const CRect& rect, const CPxImage& image) {
  const int left = std::max(rect.left, 0), top = std::max(rect.top, 0);
  const int right = std::min(rect.right, image.width - 1), bottom = std::min(rect.bottom, image.height - 1);
  if (rect.left >= rect.right || rect.top >= rect.bottom || left >= right || top >= bottom) return {};
  return Region{left, top, right - left + 1, bottom - top + 1};
}

// Third rule: the framework's, with the whole-image rectangle.
inline std::optional<Region> frameworkOrWholeRegion(const CRect& rect, const CPxImage& image) {
  return meansWhole(rect) ? wholeRegion(image) : frameworkRegion(rect, image);
}

// The rows of the region alone.
template <class S>
View<S> within(View<S> rows, const Region& region) {
  return {rows.row(region.top) + std::ptrdiff_t{region.left} * rows.channels, region.width,
          region.width == 0 ? 0 : region.height, rows.channels, rows.stride};
}

// Where a partner image covers a region.
struct Overlap {
  Region region;  // in the image
  int x = 0;      // the partner's pixel on the region's first one
  int y = 0;
};

// The part of the region that a partner of this size has too, its pixel (0, 0) laid at (left, top), which lies to the
// left of and above the region's first pixel or on it. Empty where they do not meet.
inline Overlap overlap(Region region, int left, int top, int width, int height) {
  const std::int64_t x = std::int64_t{region.left} - left, y = std::int64_t{region.top} - top;
  if (x >= width || y >= height) return {};
  region.width = static_cast<int>(std::min<std::int64_t>(region.width, width - x));
  region.height = static_cast<int>(std::min<std::int64_t>(region.height, height - y));
  return {region, static_cast<int>(x), static_cast<int>(y)};
}

}  // namespace rasterkit
