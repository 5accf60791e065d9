#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Means over spans of bins, truncated toward zero; sums wrap in 32 bits.
struct PeaksKernels {
  // out[i] = (in[i] + ... + in[i + 4]) / 5, i below n. in and out do not overlap.
  void (*meanOfFive)(const int32_t* in, int32_t* out, size_t n);
  // out[i] = (sums[i + span] - sums[i]) / span, i below n: sums[i] is the sum of the first i elements.
  void (*meanOfSpan)(const uint32_t* sums, int32_t span, int32_t* out, size_t n);
};

RASTERKIT_KERNEL_TABLE(PeaksKernels, peaksKernels)

}  // namespace rasterkit
