#include "rasterkit/point/arithmetic_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

#if defined(__AVX512F__)
#include <immintrin.h>
#endif

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

template <class S>
constexpr int32_t most = S(-1);

// The 32-bit sums, differences and products of samples and these constants do not wrap.
template <class S>
constexpr bool sumsFit(int32_t k) {
  return k <= INT32_MAX - most<S>;
}
template <class S>
constexpr bool differencesFit(int32_t k) {
  return k >= most<S> - INT32_MAX;
}
template <class S>
constexpr bool productsFit(int32_t k) {
  return k >= -(INT32_MAX / most<S>)&&k <= INT32_MAX / most<S>;
}

// Where nothing wraps, limiting the sample before the sum is the same as limiting the sum, and it keeps to the sample's
// own width.
template <class S>
void add(S* row, size_t n, int32_t k) {
  if (sumsFit<S>(k)) {
    const S high = k > 255 ? S(0) : k < 255 - most<S> ? S(most<S>) : S(255 - k);
    const S addend = k > 255 ? S(255) : S(k);
    for (size_t i = 0; i < n; ++i) row[i] = S((least(row[i], high) + addend) & 0xFF);
  } else {
    for (size_t i = 0; i < n; ++i) row[i] = lowByte(least(wrappedSum(row[i], k), 255));
  }
}

template <class S>
void subtract(S* row, size_t n, int32_t k) {
  if (differencesFit<S>(k)) {
    const S low = k > most<S> ? S(most<S>) : k < 0 ? S(0) : S(k);
    const S subtrahend = k > most<S> ? S(most<S>) : S(k);
    for (size_t i = 0; i < n; ++i) row[i] = S((greatest(row[i], low) - subtrahend) & 0xFF);
  } else {
    for (size_t i = 0; i < n; ++i) row[i] = lowByte(greatest(wrappedDifference(row[i], k), 0));
  }
}

// A sample of 255 or more, and a constant of 255 or more, make every product but 0 white; so 16 bits hold it.
template <class S>
void multiply(S* row, size_t n, int32_t k) {
  if (productsFit<S>(k)) {
    const auto factor = uint16_t(limited(k, 0, 255));
    for (size_t i = 0; i < n; ++i) {
      const auto product = uint16_t(least<uint16_t>(row[i], 255) * factor);
      row[i] = S(least<uint16_t>(product, 255));
    }
  } else {
    for (size_t i = 0; i < n; ++i) row[i] = S(limited(wrappedProduct(row[i], k), 0, 255));
  }
}

template <>
void add(float* row, size_t n, int32_t k) {
  const auto addend = float(k);
  for (size_t i = 0; i < n; ++i) row[i] = float(least(truncated(row[i] + addend), 255) & 0xFF);
}

template <>
void subtract(float* row, size_t n, int32_t k) {
  const auto subtrahend = float(k);
  for (size_t i = 0; i < n; ++i) row[i] = float(greatest(truncated(row[i] - subtrahend), 0) & 0xFF);
}

template <>
void multiply(float* row, size_t n, int32_t k) {
  const auto factor = float(k);
  for (size_t i = 0; i < n; ++i) row[i] = float(limited(truncated(row[i] * factor), 0, 255));
}

// Toward zero, the low byte: 0 for NaN and for what 32 bits cannot hold.
inline int32_t lowByteOf(float value) {
  return static_cast<int32_t>(value >= -2147483648.0F && value < 2147483648.0F ? value : 0.0F) & 0xFF;
}

template <class S>
void addReal(S* row, size_t n, float k) {
  for (size_t i = 0; i < n; ++i) {
    const float sum = float(row[i]) + k;
    row[i] = S(lowByteOf(sum > 255.0F ? 255.0F : sum));
  }
}

template <class S>
void subtractReal(S* row, size_t n, float k) {
  for (size_t i = 0; i < n; ++i) {
    const float difference = float(row[i]) - k;
    row[i] = S(lowByteOf(difference < 0.0F ? 0.0F : difference));
  }
}

// For p from 0 to 255, p + 0.5 truncated is half of 2p truncated plus 1, truncated; 2p is exact in single precision, so
// there is no need of a wider sum. NaN becomes 0.
template <class S>
void multiplyReal(S* row, size_t n, float k) {
  for (size_t i = 0; i < n; ++i) {
    float product = float(row[i]) * k;
    product = product > 0.0F ? product : 0.0F;
    product = product < 255.0F ? product : 255.0F;
    row[i] = S((static_cast<int32_t>(product + product) + 1) >> 1);
  }
}

// Quotients of whole numbers below 2^24 are exact when truncated from single precision.
template <class S>
void divide(S* row, const S* other, size_t n) {
  for (size_t i = 0; i < n; ++i) row[i] = S(static_cast<int32_t>(float(row[i]) / float(other[i] + 1)));
}

template <>
void divide(float* row, const float* other, size_t n) {
  for (size_t i = 0; i < n; ++i)
    row[i] = settledNaN(float(double(row[i]) * (double(other[i]) * 0.00392156862745098)), row[i], other[i]);
}

#if defined(__AVX512F__)
// Bytes by an approximate reciprocal, wrong by less than 1 part in 2^14: (s + 0.5) / d is at least 0.5 / d away from
// every whole number, and the error, less than 256 / d / 2^14, does not reach it.
template <>
void divide(uint8_t* row, const uint8_t* other, size_t n) {
  constexpr __mmask16 all = 0xFFFF;  // g++ 12 takes the operand that forms without a mask ignore for a fault
  const auto wide = [](const uint8_t* from) {
    return _mm512_maskz_cvtepi32_ps(
        all, _mm512_maskz_cvtepu8_epi32(all, _mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
  };
  const __m512 half = _mm512_set1_ps(0.5F), one = _mm512_set1_ps(1.0F);
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m512 reciprocal = _mm512_maskz_rcp14_ps(all, _mm512_add_ps(wide(other + i), one));
    const __m512 quotient = _mm512_mul_ps(_mm512_add_ps(wide(row + i), half), reciprocal);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(row + i),
                     _mm512_maskz_cvtepi32_epi8(all, _mm512_maskz_cvttps_epi32(all, quotient)));
  }
  for (; i < n; ++i) row[i] = uint8_t(row[i] / (other[i] + 1));
}
#endif

void unite(uint8_t* row, const uint8_t* other, size_t n) {
  for (size_t i = 0; i < n; ++i) row[i] |= other[i];
}

template <class S>
constexpr ArithmeticRows<S> rows = {add<S>,          subtract<S>,     multiply<S>, addReal<S>,
                                    subtractReal<S>, multiplyReal<S>, divide<S>};

}  // namespace

const ArithmeticKernels arithmeticKernels = {rows<uint8_t>, rows<uint16_t>, rows<float>, unite};

}  // namespace rasterkit::RASTERKIT_LEVEL
