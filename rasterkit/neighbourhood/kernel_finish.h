#pragma once
// From sums to samples, for the kernel files of convolution. Like kernel_numbers.h it has internal linkage throughout.

#include "rasterkit/core/kernel_numbers.h"
#include "rasterkit/neighbourhood/convolution_kernels.h"

namespace rasterkit {
namespace {

template <class S>
inline S sampleOf(int32_t quotient, int32_t offset, int32_t flipBelow, int32_t highest) {
  const int32_t r = wrappedSum(quotient, offset);
  const int32_t flipped = r < flipBelow ? wrappedDifference(offset, quotient) : r;
  return static_cast<S>(limited(flipped, 0, highest));
}

// The quotient toward zero of a whole number in a floating type, by the inverse of the divisor: half a unit further
// from zero than the sum, the product is at least half an inverse away from the whole numbers on either side of the
// quotient. Its two roundings move it by less, as long as quotient x divisor, the sum, is below 2^22 in a float; in a
// double any 32-bit sum will do.
inline int32_t quotientOf(float sum, float inverse) {
  return static_cast<int32_t>((sum + __builtin_copysignf(0.5F, sum)) * inverse);
}
inline int32_t quotientOf(double sum, double inverse) {
  return truncated((sum + __builtin_copysign(0.5, sum)) * inverse);
}

template <class S, class Real, class Sum>
void finishWhole(const Sum* in, const WholeRule& rule, S* result, size_t n) {
  const Sum* const __restrict sums = in;
  S* const __restrict out = result;
  const auto inverse = static_cast<Real>(rule.inverse);
  const int32_t offset = rule.offset, flipBelow = rule.flipBelow, highest = rule.greatest;
  for (size_t i = 0; i < n; ++i)
    out[i] = sampleOf<S>(quotientOf(static_cast<Real>(sums[i]), inverse), offset, flipBelow, highest);
}

}  // namespace
}  // namespace rasterkit
