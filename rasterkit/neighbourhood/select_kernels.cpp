#include "rasterkit/neighbourhood/select_kernels.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

template <class S>
void select(const S* __restrict in, const uint8_t* __restrict mask, size_t channels, S* __restrict out, size_t pixels) {
  if (channels == 1) {
    for (size_t x = 0; x < pixels; ++x) out[x] = mask[x] ? in[x] : out[x];
    return;
  }
  for (size_t x = 0; x < pixels; ++x)
    if (mask[x])
      for (size_t c = 0; c < channels; ++c) out[x * channels + c] = in[x * channels + c];
}

}  // namespace

const SelectKernels selectKernels = {select<uint8_t>, select<uint16_t>, select<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
