#include "rasterkit/analysis/shading_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// Quotients of whole numbers in floating point are exact once truncated, where neither is larger than the significand
// holds: the next whole number is further away than the rounding reaches. The same with a reciprocal, where half a unit
// is added to the dividend: a quotient that rounding could carry over is limited anyway.

void scaleBytes(uint8_t* samples, const uint8_t* blank, size_t n, int32_t level) {
  const float reciprocal = 1.0F / static_cast<float>(level);
  for (size_t i = 0; i < n; ++i) {
    const float quotient = (static_cast<float>(blank[i] * samples[i]) + 0.5F) * reciprocal;
    samples[i] = lowByte(truncated(least(quotient, 255.0F)));
  }
}

void scaleWords(uint16_t* samples, const uint16_t* blank, size_t n, int32_t level) {
  const double reciprocal = 1.0 / level;
  for (size_t i = 0; i < n; ++i) {
    const int32_t product = wrappedProduct(blank[i], samples[i]);
    const double quotient = (product + (product < 0 ? -0.5 : 0.5)) * reciprocal;
    samples[i] = lowByte(truncated(least(quotient, 65535.0)));
  }
}

void divideBytes(uint8_t* samples, const uint8_t* blank, size_t n, const int32_t* levels) {
  for (size_t i = 0; i < n; ++i) {
    const float quotient = static_cast<float>(levels[i] * samples[i]) / static_cast<float>(blank[i]);
    const uint8_t corrected = lowByte(truncated(least(quotient, 255.0F)));
    samples[i] = blank[i] ? corrected : samples[i];
  }
}

template <class S, class Real, int32_t kGreatest>
void reverse(S* samples, const S* blank, size_t n, const int32_t* levels, const uint16_t* live) {
  for (size_t i = 0; i < n; ++i) {
    const int32_t divisor = wrappedProduct(blank[i] & live[i], samples[i]);
    const Real quotient = static_cast<Real>(levels[i]) / static_cast<Real>(divisor ? divisor : 1);
    const S corrected = lowByte(least(truncated(quotient), kGreatest));
    samples[i] = divisor ? corrected : samples[i];
  }
}

}  // namespace

const ShadingKernels shadingKernels = {scaleBytes,
                                       scaleWords,
                                       divideBytes,
                                       reverse<uint8_t, float, 255>,
                                       reverse<uint8_t, double, 255>,
                                       reverse<uint16_t, double, 65535>};

}  // namespace rasterkit::RASTERKIT_LEVEL
