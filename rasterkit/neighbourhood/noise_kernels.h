#pragma once

#include "rasterkit/core/kernel_table.h"
#include "rasterkit/neighbourhood/row_pair.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// As MedianRows, but only where a sample stands out from its eight neighbours by more than the threshold, which is not
// negative; else the sample.
template <class S>
using NoiseRows = void (*)(const RowPair<S>& rows, size_t n, size_t step, int threshold);

struct NoiseKernels {
  NoiseRows<uint8_t> bytes;
  NoiseRows<uint16_t> words;
  NoiseRows<float> reals;
};

RASTERKIT_KERNEL_TABLE(NoiseKernels, noiseKernels)

}  // namespace rasterkit
