#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// out[i] = scale * (rows[0][i] + rows[1][i] + ...), truncated: sums in single precision, in this order. out is none of
// the rows.
template <class S>
struct AveragingRows {
  void (*average)(const S* const* rows, size_t count, S* out, size_t n, float scale);
};

struct AveragingKernels {
  AveragingRows<uint8_t> bytes;
  AveragingRows<uint16_t> words;
};

RASTERKIT_KERNEL_TABLE(AveragingKernels, averagingKernels)

}  // namespace rasterkit
