#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

struct CopyKernels {
  // Copies rows of so many bytes that do not overlap, past the caches where the processor can.
  void (*stream)(uint8_t* to, ptrdiff_t toStride, const uint8_t* from, ptrdiff_t fromStride, size_t bytes, size_t rows);
};

RASTERKIT_KERNEL_TABLE(CopyKernels, copyKernels)

}  // namespace rasterkit
