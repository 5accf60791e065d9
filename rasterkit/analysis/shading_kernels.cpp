#include "rasterkit/analysis/shading_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// The least number of bits b with 2^b >= level.
int bitsUpTo(int32_t level) {
  int bits = 0;
  while ((1 << bits) < level) ++bits;
  return bits;
}

// Division by a constant as a product and shifts: Granlund, Montgomery 1994. Of 16-bit dividends the multiplier has 17
// bits, the highest of which is added apart.
void scaleBytes(uint8_t* samples, const uint8_t* blank, size_t n, int32_t level) {
  const int bits = bitsUpTo(level);
  const auto multiplier = static_cast<uint16_t>(0x10000 * ((1 << bits) - level) / level + 1);
  const int first = least(bits, 1), second = greatest(bits - 1, 0);
  for (size_t i = 0; i < n; ++i) {
    const auto product = static_cast<uint16_t>(blank[i] * samples[i]);
    const auto high = static_cast<uint16_t>(static_cast<uint32_t>(product) * multiplier >> 16);
    const auto rest = static_cast<uint16_t>(static_cast<uint16_t>(product - high) >> first);
    const auto quotient = static_cast<uint16_t>(static_cast<uint16_t>(high + rest) >> second);
    samples[i] = static_cast<uint8_t>(least<uint16_t>(quotient, 255));
  }
}

// The true quotient is whole, or at least 1 / level away from the next whole number outward. A reciprocal that is too
// large by 2^-50 of itself moves it outward by less than that, and by more than the roundings take back.
void scaleWords(uint16_t* samples, const uint16_t* blank, size_t n, int32_t level) {
  const double reciprocal = (1 + 0x1p-50) / level;
  for (size_t i = 0; i < n; ++i) {
    const int32_t quotient = truncatedWithin(wrappedProduct(blank[i], samples[i]) * reciprocal);
    samples[i] = static_cast<uint16_t>(least(quotient, 65535) & 0xFF);
  }
}

// Quotients of whole numbers below 2^24 are exact in single precision once truncated: the next whole number is further
// away than the rounding reaches.
void divideBytes(uint8_t* samples, const uint8_t* blank, size_t n, const float* levels) {
  for (size_t i = 0; i < n; ++i) {
    const float quotient = levels[i] * static_cast<float>(samples[i]) / static_cast<float>(blank[i] ? blank[i] : 1);
    const auto corrected = static_cast<uint8_t>(static_cast<int32_t>(least(quotient, 255.0F)));
    samples[i] = blank[i] ? corrected : samples[i];
  }
}

inline uint16_t highWord(uint16_t a, uint16_t b) { return static_cast<uint16_t>(static_cast<uint32_t>(a) * b >> 16); }

// Whether every divisor is 0 or beyond every level, as are those of most images of words.
bool areZeroOrBeyond(const uint16_t* samples, const uint16_t* blank, size_t n, const uint16_t* live) {
  uint16_t lowest = 1;
  for (size_t i = 0; i < n; ++i) {
    const auto low = static_cast<uint16_t>(static_cast<uint32_t>(blank[i]) * samples[i]);
    const auto beyond = static_cast<uint16_t>(highWord(blank[i], samples[i]) | ~live[i]);
    lowest = least(lowest, low == 0 ? uint16_t{1} : beyond);
  }
  return lowest != 0;
}

// A larger divisor, rounded or not, gives 0; so does a product that wraps, whose magnitude is 131071 at least.
template <class S>
void reverse(S* samples, const S* blank, size_t n, const float* levels, const S* live) {
  for (size_t i = 0; i < n; ++i) {
    const int32_t divisor = wrappedProduct(blank[i] & live[i], samples[i]);
    const auto quotient = static_cast<int32_t>(levels[i] / static_cast<float>(divisor ? divisor : 1));
    samples[i] = divisor ? static_cast<S>(quotient & 0xFF) : samples[i];
  }
}

// The same of words.
void reverseWords(uint16_t* samples, const uint16_t* blank, size_t n, const float* levels, const uint16_t* live) {
  constexpr size_t kRun = 64;
  for (size_t from = 0; from < n; from += kRun) {
    const size_t end = least(n, from + kRun);
    if (areZeroOrBeyond(samples + from, blank + from, end - from, live + from)) {
      for (size_t i = from; i < end; ++i)
        samples[i] = blank[i] ? static_cast<uint16_t>(samples[i] & ~live[i]) : samples[i];
    } else {
      reverse(samples + from, blank + from, end - from, levels + from, live + from);
    }
  }
}

}  // namespace

const ShadingKernels shadingKernels = {{scaleBytes, divideBytes, reverse<uint8_t>},
                                       {scaleWords, nullptr, reverseWords}};

}  // namespace rasterkit::RASTERKIT_LEVEL
