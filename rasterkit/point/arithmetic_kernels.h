#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Rows of n samples, changed in place. The constants' results are whole numbers from 0 to 255 in every sample type.
template <class S>
struct ArithmeticRows {
  void (*add)(S* row, size_t n, int32_t k);          // min(s + k, 255), low byte
  void (*subtract)(S* row, size_t n, int32_t k);     // max(s - k, 0), low byte
  void (*multiply)(S* row, size_t n, int32_t k);     // s * k within 0 and 255
  void (*addReal)(S* row, size_t n, float k);        // the same in single precision, truncated
  void (*subtractReal)(S* row, size_t n, float k);   //
  void (*multiplyReal)(S* row, size_t n, float k);   // s * k + 0.5 within 0 and 255, truncated
  void (*divide)(S* row, const S* other, size_t n);  // s / (o + 1); of floats s * (o / 255)
};

struct ArithmeticKernels {
  ArithmeticRows<uint8_t> bytes;
  ArithmeticRows<uint16_t> words;
  ArithmeticRows<float> reals;
  void (*unite)(uint8_t* row, const uint8_t* other, size_t n);  // s | o, byte for byte
};

RASTERKIT_KERNEL_TABLE(ArithmeticKernels, arithmeticKernels)

#if RASTERKIT_HAS_VBMI
namespace vbmi {
extern void (*const divideByOneMore)(uint8_t* row, const uint8_t* other, size_t n);
}
#endif

}  // namespace rasterkit
