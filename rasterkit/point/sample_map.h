#pragma once
// The row kernel that replaces each sample by its entry in a table of one for every sample.

#include "rasterkit/core/kernels.h"
#include "rasterkit/point/tone_kernels.h"

namespace rasterkit {

template <class S>
auto mapKernel() {
#if RASTERKIT_HAS_VBMI
  if constexpr (sizeof(S) == 1)
    if (servesBytePermutes()) return vbmi::toneBytes.map;
#endif
  return kernelsOf<ToneKernels, S>().map;
}

}  // namespace rasterkit
