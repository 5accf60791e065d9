#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Rows of n samples; in and out may be the same row. Levels of integers are inclusive, those of floats exclusive.
template <class S>
struct ThresholdRows {
  void (*binarise)(const S* in, S* out, size_t n, S level);   // 255 from the level up, else 0
  void (*keepUpper)(const S* in, S* out, size_t n, S level);  // the sample from the level up, else 0
  void (*keepLower)(const S* in, S* out, size_t n, S level);  // the sample down from the level, else all bits set
};

struct ThresholdKernels {
  ThresholdRows<uint8_t> bytes;
  ThresholdRows<uint16_t> words;
  ThresholdRows<float> reals;
};

RASTERKIT_KERNEL_TABLE(ThresholdKernels, thresholdKernels)

}  // namespace rasterkit
