#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Rows of n pixels of so many channels, 2 to 4, and rows of one of their planes. The rows do not overlap.
struct PlaneKernels {
  void (*extract8)(const uint8_t* pixels, int channels, int plane, uint8_t* samples, size_t n);
  void (*extract16)(const uint16_t* pixels, int channels, int plane, uint16_t* samples, size_t n);
  void (*extract32)(const uint32_t* pixels, int channels, int plane, uint32_t* samples, size_t n);
  void (*insert8)(const uint8_t* samples, uint8_t* pixels, int channels, int plane, size_t n);
  void (*insert16)(const uint16_t* samples, uint16_t* pixels, int channels, int plane, size_t n);
  void (*insert32)(const uint32_t* samples, uint32_t* pixels, int channels, int plane, size_t n);
};

RASTERKIT_KERNEL_TABLE(PlaneKernels, planeKernels)

}  // namespace rasterkit
