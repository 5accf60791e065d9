#pragma once

#include "rasterkit/core/kernel_table.h"
#include "rasterkit/neighbourhood/row_pair.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// The medians of 3 x 3 samples for all but the first and last pixel of rows of n samples, which are left as they are;
// step samples are a pixel, and there are more than two pixels.
template <class S>
using MedianRows = void (*)(const RowPair<S>& rows, size_t n, size_t step);

struct MedianKernels {
  MedianRows<uint8_t> bytes;
  MedianRows<uint16_t> words;
  MedianRows<float> reals;
};

RASTERKIT_KERNEL_TABLE(MedianKernels, medianKernels)

}  // namespace rasterkit
