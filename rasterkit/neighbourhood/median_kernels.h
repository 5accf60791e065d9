#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Where two rows are made from four, and where the next two will be: lines of those are asked for along the way, since
// a whole row asked for at once would hold up everything else. What is written is none of the rows that are read.
template <class S>
struct RowPair {
  const S* in[4];
  S* out[2];
  const S* nextIn[2];
  const S* nextOut[2];
};

// All but the first and last pixel of rows of n samples, which are left as they are; step samples are a pixel, and
// there are more than two pixels.
template <class S>
struct MedianRows {
  // The medians of 3 x 3 samples.
  void (*median)(const RowPair<S>& rows, size_t n, size_t step);
  // The same where a sample stands out from its eight neighbours by more than the threshold, else the sample.
  void (*removeNoise)(const RowPair<S>& rows, size_t n, size_t step, int threshold);
};

struct MedianKernels {
  MedianRows<uint8_t> bytes;
  MedianRows<uint16_t> words;
  MedianRows<float> reals;
};

RASTERKIT_KERNEL_TABLE(MedianKernels, medianKernels)

}  // namespace rasterkit
