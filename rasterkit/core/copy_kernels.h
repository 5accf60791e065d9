#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

struct CopyKernels {
  // Copies bytes past the caches where the processor can; blocks do not overlap. `settle` follows the last of several
  // calls: such stores are not ordered with others.
  void (*streamRow)(uint8_t* to, const uint8_t* from, size_t bytes);
  void (*settle)();
  // The same for rows that lie apart, settled.
  void (*stream)(uint8_t* to, ptrdiff_t toStride, const uint8_t* from, ptrdiff_t fromStride, size_t bytes, size_t rows);
};

RASTERKIT_KERNEL_TABLE(CopyKernels, copyKernels)

}  // namespace rasterkit
