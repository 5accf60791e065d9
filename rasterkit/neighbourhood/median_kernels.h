#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// The two middle rows of four: all but the first and last of n samples' pixels, which are left as they are. There are
// step samples a pixel, more of them than two pixels have, and at most so many besides the first and last pixel; they
// may begin within a pixel. What is written is none of the rows that are read.
template <class S>
struct MedianRows {
  static constexpr size_t most = 512;

  // The medians of 3 x 3 samples.
  void (*median)(const S* const* rows, S* const* out, size_t n, size_t step);
  // The same where a sample stands out from its eight neighbours by more than the threshold, else the sample.
  void (*removeNoise)(const S* const* rows, S* const* out, size_t n, size_t step, int threshold);
};

struct MedianKernels {
  MedianRows<uint8_t> bytes;
  MedianRows<uint16_t> words;
  MedianRows<float> reals;
};

RASTERKIT_KERNEL_TABLE(MedianKernels, medianKernels)

}  // namespace rasterkit
