#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

struct RegionKernels {
  // Copies those of n pixels of so many bytes whose mask byte is not 0. bytes is 1, 2, 3, 4, 6, 8, 12 or 16, and both
  // rows are aligned to the greatest power of two, 4 at most, that divides it. in and row do not overlap.
  void (*choose)(uint8_t* row, const uint8_t* in, const uint8_t* mask, size_t n, size_t bytes);
};

RASTERKIT_KERNEL_TABLE(RegionKernels, regionKernels)

}  // namespace rasterkit
