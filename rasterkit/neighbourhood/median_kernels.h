#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// From three rows the middle one, or from four the two in the middle: all but the first and last of n samples' pixels,
// which are left as they are. There are step samples a pixel, and at least three pixels. What is written is none of the
// rows that are read.
template <class S>
struct MedianRows {
  // The medians of 3 x 3 samples.
  void (*median)(const S* const* rows, S* const* out, size_t n, size_t step);
  void (*medianOfTwo)(const S* const* rows, S* const* out, size_t n, size_t step);
  // The same where a sample stands out from its eight neighbours by more than the threshold, else the sample.
  void (*removeNoise)(const S* const* rows, S* const* out, size_t n, size_t step, int threshold);
  void (*removeNoiseOfTwo)(const S* const* rows, S* const* out, size_t n, size_t step, int threshold);
};

struct MedianKernels {
  MedianRows<uint8_t> bytes;
  MedianRows<uint16_t> words;
  MedianRows<float> reals;
};

RASTERKIT_KERNEL_TABLE(MedianKernels, medianKernels)

}  // namespace rasterkit
