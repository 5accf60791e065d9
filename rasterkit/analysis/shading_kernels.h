#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Rows of n samples, corrected in place. Where a sample or a divisor is 0, the sample stays; the low byte of a result,
// limited to the greatest sample, is stored.
struct ShadingKernels {
  // s = blank * s / level; level from 1 to the greatest sample.
  void (*scaleBytes)(uint8_t* samples, const uint8_t* blank, size_t n, int32_t level);
  void (*scaleWords)(uint16_t* samples, const uint16_t* blank, size_t n, int32_t level);
  // s = level * s / blank, levels[i] that of sample i, below 256.
  void (*divideBytes)(uint8_t* samples, const uint8_t* blank, size_t n, const int32_t* levels);
  // s = levels[i] / (blank * s) where live[i] has all bits set; where it is 0, the sample stays. The first form is for
  // levels below 2^24.
  void (*reverseBytes)(uint8_t* samples, const uint8_t* blank, size_t n, const int32_t* levels, const uint16_t* live);
  void (*reverseBytesWide)(uint8_t* samples, const uint8_t* blank, size_t n, const int32_t* levels,
                           const uint16_t* live);
  void (*reverseWords)(uint16_t* samples, const uint16_t* blank, size_t n, const int32_t* levels, const uint16_t* live);
};

RASTERKIT_KERNEL_TABLE(ShadingKernels, shadingKernels)

}  // namespace rasterkit
