#include "rasterkit/analysis/peaks_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

void meanOfFive(const int32_t* in, int32_t* out, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    uint32_t sum = 0;
    for (size_t k = 0; k < 5; ++k) sum += static_cast<uint32_t>(in[i + k]);
    out[i] = static_cast<int32_t>(sum) / 5;
  }
}

// The quotient of integers below 2^31 is either whole or at least 1 / span away from the next whole number outward:
// half a unit more in the dividend, against the rounding of the reciprocal, does not reach it.
void meanOfSpan(const uint32_t* sums, int32_t span, int32_t* out, size_t n) {
  const double reciprocal = 1.0 / span;
  const uint32_t* const ends = sums + span;
  for (size_t i = 0; i < n; ++i) {
    const auto sum = static_cast<int32_t>(ends[i] - sums[i]);
    out[i] = truncated((sum + (sum < 0 ? -0.5 : 0.5)) * reciprocal);
  }
}

}  // namespace

const PeaksKernels peaksKernels = {meanOfFive, meanOfSpan};

}  // namespace rasterkit::RASTERKIT_LEVEL
