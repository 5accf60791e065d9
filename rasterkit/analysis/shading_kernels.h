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
  // s = levels[i] * s / blank, for bytes.
  void (*divide)(S* samples, const S* blank, size_t n, const float* levels);
  // s = levels[i] / (blank * s); where live[i] is 0 the sample stays, else it has all bits set.
  void (*reverse)(S* samples, const S* blank, size_t n, const float* levels, const S* live);
};

struct ShadingKernels {
  ShadingRows<uint8_t> bytes;
  ShadingRows<uint16_t> words;
};

RASTERKIT_KERNEL_TABLE(ShadingKernels, shadingKernels)

#if RASTERKIT_HAS_VBMI
namespace vbmi {
// As ShadingRows<uint8_t>::divide, of levels that bytes hold.
extern void (*const divideBytes)(uint8_t* samples, const uint8_t* blank, size_t n, const uint8_t* levels);
// ShadingRows<uint16_t>::scale, of levels between these.
constexpr int32_t kLeastLevel = 897, kGreatestLevel = 65536 - 896;
extern void (*const scaleWords)(uint16_t* samples, const uint16_t* blank, size_t n, int32_t level);
}  // namespace vbmi
#endif

}  // namespace rasterkit
