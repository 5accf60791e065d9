#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Rows of n samples, each replaced by its entry in a table of one for every sample: 256 or 65536.
template <class S>
struct ToneRows {
  void (*map)(S* row, size_t n, const S* table);
};

struct ToneKernels {
  ToneRows<uint8_t> bytes;
  ToneRows<uint16_t> words;
};

RASTERKIT_KERNEL_TABLE(ToneKernels, toneKernels)

#if RASTERKIT_HAS_VBMI
namespace vbmi {
extern const ToneRows<uint8_t> toneBytes;
}
#endif

}  // namespace rasterkit
