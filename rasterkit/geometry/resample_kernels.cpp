#include "rasterkit/geometry/resample_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

template <size_t bytes>
void pick(const uint8_t* in, const int32_t* columns, uint8_t* out, size_t n) {
  for (size_t i = 0; i < n; ++i) __builtin_memcpy(out + i * bytes, in + static_cast<size_t>(columns[i]) * bytes, bytes);
}

void exchange(uint8_t* a, uint8_t* b, size_t n) {
  uint8_t* const __restrict first = a;
  uint8_t* const __restrict second = b;
  for (size_t i = 0; i < n; ++i) {
    const uint8_t kept = first[i];
    first[i] = second[i];
    second[i] = kept;
  }
}

template <class S>
inline S blended(S a, S b, double keep, double share) {
  return static_cast<S>(truncated(a * keep + b * share));
}

template <class S>
void across(const S* a, const S* b, const double* keep, const double* share, S* out, size_t n) {
  const S* const __restrict first = a;
  const S* const __restrict second = b;
  S* const __restrict to = out;
  for (size_t i = 0; i < n; ++i) to[i] = blended(first[i], second[i], keep[i], share[i]);
}

template <class S>
void down(const S* a, const S* b, double keep, double share, S* out, size_t n) {
  const S* const __restrict first = a;
  const S* const __restrict second = b;
  S* const __restrict to = out;
  for (size_t i = 0; i < n; ++i) to[i] = blended(first[i], second[i], keep, share);
}

// The high half of a signed difference times an unsigned weight, in 16-bit steps.
inline uint8_t weighed(uint8_t a, uint8_t b, uint16_t weight) {
  const auto difference = static_cast<int16_t>(b - a);
  const auto high = static_cast<uint16_t>(static_cast<uint32_t>(static_cast<uint16_t>(difference)) * weight >> 16);
  const auto borrowed = static_cast<uint16_t>(static_cast<uint16_t>(difference >> 15) & weight);
  return static_cast<uint8_t>(static_cast<uint16_t>(a + high) - borrowed);
}

inline uint16_t weighed(uint16_t a, uint16_t b, uint16_t weight) {
  return static_cast<uint16_t>((a * (uint32_t{65536} - weight) + b * uint32_t{weight}) >> 16);
}

template <class S>
void acrossWhole(const S* a, const S* b, const uint16_t* weight, S* out, size_t n) {
  const S* const __restrict first = a;
  const S* const __restrict second = b;
  const uint16_t* const __restrict weights = weight;
  S* const __restrict to = out;
  for (size_t i = 0; i < n; ++i) to[i] = weighed(first[i], second[i], weights[i]);
}

template <class S>
void downWhole(const S* a, const S* b, uint16_t weight, S* out, size_t n) {
  const S* const __restrict first = a;
  const S* const __restrict second = b;
  S* const __restrict to = out;
  for (size_t i = 0; i < n; ++i) to[i] = weighed(first[i], second[i], weight);
}

// Of the two weights around a share d, one stands for it unless some product q * d, q from 1 to 255, comes closer to a
// whole number than the weight's error times q. Shares that are whole 65536ths are not asked for here. `slack` covers
// what the shares lost when they were cut to 32 bits.
void weigh(const uint32_t* share, uint16_t* weight, uint8_t* stands, size_t n) {
  constexpr uint32_t slack = 512;
  constexpr size_t many = 64;
  for (size_t start = 0; start < n; start += many) {
    const size_t count = least(many, n - start);
    uint32_t d[many] = {}, product[many] = {}, low[many], high[many];
    __builtin_memcpy(d, share + start, count * sizeof *d);
    for (size_t i = 0; i < many; ++i) low[i] = high[i] = 1;
    for (uint32_t q = 1; q <= 255; ++q) {
      for (size_t i = 0; i < many; ++i) {
        product[i] += d[i];
        const uint32_t below = (d[i] & 0xFFFF) * q, above = (65536 - (d[i] & 0xFFFF)) * q;
        low[i] &= (product[i] > below + slack) & (product[i] < 0u - slack);
        high[i] &= product[i] < 0u - slack - above;
      }
    }
    for (size_t i = 0; i < count; ++i) {
      const uint32_t whole = d[i] >> 16;
      const bool upper = !low[i] && high[i];  // never where whole is 65535: d[i] + above is then 2^32
      weight[start + i] = static_cast<uint16_t>(whole + upper);
      stands[start + i] = static_cast<uint8_t>(low[i] || upper);
    }
  }
}

template <class S>
constexpr BlendRows<S> rows = {across<S>, down<S>, acrossWhole<S>, downWhole<S>};

}  // namespace

const ResampleKernels resampleKernels = {
    {nullptr, pick<1>, pick<2>, pick<3>, pick<4>, nullptr, pick<6>, nullptr, pick<8>, nullptr, nullptr, nullptr,
     pick<12>, nullptr, nullptr, nullptr, pick<16>},
    exchange,
    rows<uint8_t>,
    rows<uint16_t>,
    weigh};

}  // namespace rasterkit::RASTERKIT_LEVEL
