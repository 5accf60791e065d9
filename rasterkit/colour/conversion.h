#pragma once
// What all conversions do first with their two images, and the rows they then work on.

#include <rasterkit/core/image.h>

#include "rasterkit/colour/colour_kernels.h"
#include "rasterkit/core/dispatch.h"
#include "rasterkit/core/kernel_planes.h"
#include "rasterkit/core/kernels.h"

#include <initializer_list>

namespace rasterkit {

// Whether the image has one of the kinds, and rows that hold its model's channels.
using Predicate = int (*)(const CPxImage*);
bool isOneOf(const CPxImage* image, std::initializer_list<Predicate> kinds);

// Whether both images are created and of one size, and have one of the kinds each.
bool convertible(const CPxImage* source, std::initializer_list<Predicate> from, const CPxImage* dst,
                 std::initializer_list<Predicate> to);

inline constexpr std::initializer_list<Predicate> kBitmap = {PXISBITMAP};
inline constexpr std::initializer_list<Predicate> kGrey = {PXISGRAY, PXISGRAYA};
inline constexpr std::initializer_list<Predicate> kGrey16 = {PXISGRAY16, PXISGRAYA16};
inline constexpr std::initializer_list<Predicate> kColour = {PXISRGB, PXISRGBA};
inline constexpr std::initializer_list<Predicate> kColour16 = {PXISRGB16, PXISRGBA16};

// The channels that an image's model has.
inline int channelsOf(const CPxImage& image) { return CPxImageInfo::GetChannel(image.colorModel); }

// row(const In*, Out*, pixels) for every row; 1.
template <class In, class Out, class Row>
int eachRow(const CPxImage& source, CPxImage& dst, Row row) {
  const View<const In> in = viewOf<In>(source, channelsOf(source));
  const View<Out> out = viewOf<Out>(dst, channelsOf(dst));
  const auto n = static_cast<std::size_t>(in.width);
  for (int y = 0; y < in.height; ++y) row(in.row(y), out.row(y), n);
  return 1;
}

}  // namespace rasterkit
