#include "rasterkit/point/tone_kernels.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

template <class S>
void map(S* row, size_t n, const S* table) {
  for (size_t i = 0; i < n; ++i) row[i] = table[row[i]];
}

}  // namespace

const ToneKernels toneKernels = {{map<uint8_t>}, {map<uint16_t>}};

}  // namespace rasterkit::RASTERKIT_LEVEL
