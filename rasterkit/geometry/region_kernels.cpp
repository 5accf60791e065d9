#include "rasterkit/geometry/region_kernels.h"

#include "rasterkit/core/kernel_numbers.h"
#include "rasterkit/core/kernel_width.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

constexpr size_t kBlock = 256;

// All bits where the mask is not 0.
template <class Lane>
inline Lane allOf(uint8_t mask) {
  return Lane(-int(mask != 0));
}

// By bits rather than by a branch: processors without masked vectors take several samples at a time too.
template <class Lane>
inline Lane chosen(Lane from, Lane kept, Lane mask) {
  return Lane((from & mask) | (kept & ~mask));
}

// A pixel is so many lanes. The mask is widened to one lane for each of the pixel's.
template <class Lane, size_t lanes>
RASTERKIT_MOVES_MEMORY void choose(uint8_t* bytes, const uint8_t* fromBytes, const uint8_t* mask, size_t n) {
  Lane* __restrict row = reinterpret_cast<Lane*>(bytes);
  const Lane* __restrict in = reinterpret_cast<const Lane*>(fromBytes);
  if constexpr (lanes == 1) {
    for (size_t i = 0; i < n; ++i) row[i] = chosen(in[i], row[i], allOf<Lane>(mask[i]));
  } else {
    Lane wide[kBlock * lanes];
    while (n > 0) {
      const size_t m = least(n, kBlock);
      for (size_t i = 0; i < m; ++i)
        for (size_t lane = 0; lane < lanes; ++lane) wide[i * lanes + lane] = allOf<Lane>(mask[i]);
      for (size_t i = 0; i < m * lanes; ++i) row[i] = chosen(in[i], row[i], wide[i]);
      row += m * lanes;
      in += m * lanes;
      mask += m;
      n -= m;
    }
  }
}

void chooseBySize(uint8_t* row, const uint8_t* in, const uint8_t* mask, size_t n, size_t bytes) {
  switch (bytes) {
    case 1: return choose<uint8_t, 1>(row, in, mask, n);
    case 2: return choose<uint16_t, 1>(row, in, mask, n);
    case 3: return choose<uint8_t, 3>(row, in, mask, n);
    case 4: return choose<uint32_t, 1>(row, in, mask, n);
    case 6: return choose<uint16_t, 3>(row, in, mask, n);
    case 8: return choose<uint32_t, 2>(row, in, mask, n);
    case 12: return choose<uint32_t, 3>(row, in, mask, n);
    case 16: return choose<uint32_t, 4>(row, in, mask, n);
  }
}

}  // namespace

const RegionKernels regionKernels = {chooseBySize};

}  // namespace rasterkit::RASTERKIT_LEVEL
