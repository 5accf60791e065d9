#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Rows of n samples, corrected in place. Where a sample or a divisor is 0, the sample stays; the low byte of a result,
// limited to the greatest sample, is stored.
template <class S>
struct ShadingRows {
  // s = blank * s / level; level from 1 to the greatest sample.
  void (*scale)(S* samples, const S* blank, size_t n, int32_t level);
  // s = level * s / blank, levels[i] that of sample i, from 0 to 255; for bytes.
  void (*divide)(S* samples, const S* blank, size_t n, const float* levels);
  // s = levels[i] / (blank * s), levels from 0 to the greatest sample; where live[i] is 0 the sample stays, else it has
  // all bits set.
  void (*reverse)(S* samples, const S* blank, size_t n, const float* levels, const S* live);
  // The same for levels down to the least integer.
  void (*reverseAny)(S* samples, const S* blank, size_t n, const int32_t* levels, const S* live);
};

struct ShadingKernels {
  ShadingRows<uint8_t> bytes;
  ShadingRows<uint16_t> words;
};

RASTERKIT_KERNEL_TABLE(ShadingKernels, shadingKernels)

}  // namespace rasterkit
