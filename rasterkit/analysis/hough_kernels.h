#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// How points of one angle become cells.
struct VoteAngle {
  double sine;
  double cosine;
  double scale;   // cells a pixel
  double half;    // the cell of distance 0
  int32_t cells;  // votes outside go to the cell behind the last
};

struct HoughKernels {
  // cell[trunc((y * sine + x * cosine) * scale + half)] += weight, for n points.
  void (*vote)(const double* x, const double* y, const uint32_t* weight, size_t n, const VoteAngle& angle,
               uint32_t* cell);
  uint32_t (*greatest)(const uint32_t* counters, size_t n);
  uint32_t (*least)(const uint32_t* counters, size_t n);
  uint64_t (*sum)(const uint32_t* counters, size_t n);
  // out[i] = trunc(counters[i] / greatest * 255), its low byte.
  void (*display)(const uint32_t* counters, double greatest, uint8_t* out, size_t n);
};

RASTERKIT_KERNEL_TABLE(HoughKernels, houghKernels)

}  // namespace rasterkit
