#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Two rows blended, for n samples: a and b may be the same row, out is neither. A share is b's part, from 0 up to 1;
// keep is 1 - share.
template <class S>
struct BlendRows {
  // out[i] = trunc(a[i] * keep + b[i] * share), each operation rounded in double precision
  void (*across)(const S* a, const S* b, const double* keep, const double* share, S* out, size_t n);
  void (*down)(const S* a, const S* b, double keep, double share, S* out, size_t n);
  // out[i] = floor(a[i] + (b[i] - a[i]) * weight / 65536)
  void (*acrossWhole)(const S* a, const S* b, const uint16_t* weight, S* out, size_t n);
  void (*downWhole)(const S* a, const S* b, uint16_t weight, S* out, size_t n);
};

struct ResampleKernels {
  // out pixel i = in pixel columns[i], for n pixels; by bytes a pixel, null where no pixel has so many. The rows do not
  // overlap.
  void (*pick[17])(const uint8_t* in, const int32_t* columns, uint8_t* out, size_t n);
  // Exchanges two rows of n bytes that do not overlap.
  void (*exchange)(uint8_t* a, uint8_t* b, size_t n);
  BlendRows<uint8_t> bytes;
  BlendRows<uint16_t> words;
  // For n shares of 2^32: a weight of 65536 that stands for the share wherever whole numbers from -255 to 255 are
  // multiplied by it and rounded down, and whether there is one.
  void (*weigh)(const uint32_t* share, uint16_t* weight, uint8_t* stands, size_t n);
};

RASTERKIT_KERNEL_TABLE(ResampleKernels, resampleKernels)

// A row made of bytes of another: byte j of output block k is byte places[64 * k + j], 0 to 127, from in + starts[k].
// Blocks are `step` bytes apart, the last has `last` bytes.
struct PermuteKernels {
  void (*permute)(const uint8_t* in, const int32_t* starts, const uint8_t* places, uint8_t* out, size_t blocks,
                  size_t step, size_t last);
};

#if RASTERKIT_HAS_VBMI
namespace vbmi {
extern const PermuteKernels permuteKernels;
}
#endif

}  // namespace rasterkit
