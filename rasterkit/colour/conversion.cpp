#include "rasterkit/colour/conversion.h"

#include <algorithm>

namespace rasterkit {

bool isOneOf(const CPxImage* image, std::initializer_list<Predicate> kinds) {
  return image && Storage::holdsItsPixels(*image) && Storage::rowsHold(*image, channelsOf(*image)) &&
         std::ranges::any_of(kinds, [&](Predicate is) { return is(image) != 0; });
}

bool convertible(const CPxImage* source, std::initializer_list<Predicate> from, const CPxImage* dst,
                 std::initializer_list<Predicate> to) {
  return PXCOMPARE_SIZE(source, dst) && isOneOf(source, from) && isOneOf(dst, to);
}

}  // namespace rasterkit
