#pragma once
/// Which places of an image a rectangle means, for twins that ask of each place.

#include <rasterkit/core/image.h>
#include <rasterkit/platform/framework.h>

#include <algorithm>
#include <utility>

namespace rasterkit::plain {

inline CRect wholeOf(const CPxImage& image) { return CRect(0, 0, image.width - 1, image.height - 1); }

inline bool meansWhole(const CRect& r) { return r.left == -1 && r.top == -1 && r.right == -1 && r.bottom == -1; }

inline bool contains(const CRect& r, int x, int y) {
  return r.left <= x && x <= r.right && r.top <= y && y <= r.bottom;
}

/// The rule of rectangles with right and bottom: edges in either order, and none wholly outside the image.
inline CRect normalised(CRect r) {
  if (r.left > r.right) std::swap(r.left, r.right);
  if (r.top > r.bottom) std::swap(r.top, r.bottom);
  return r;
}
inline bool liesOutside(const CRect& r, const CPxImage& image) {
  return r.left > image.width - 1 || r.right < 0 || r.top > image.height - 1 || r.bottom < 0;
}

/// The framework's intersection with (0, 0, width - 1, height - 1): false where it is empty.
inline bool intersected(CRect& r, const CPxImage& image) {
  if (r.left >= r.right || r.top >= r.bottom || image.width <= 1 || image.height <= 1) return false;
  r = CRect(std::max(r.left, 0), std::max(r.top, 0), std::min(r.right, image.width - 1),
            std::min(r.bottom, image.height - 1));
  return r.left < r.right && r.top < r.bottom;
}

}  // namespace rasterkit::plain
