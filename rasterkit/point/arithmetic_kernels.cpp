#include "rasterkit/point/arithmetic_kernels.h"

#include "rasterkit/core/kernel_numbers.h"
#include "rasterkit/core/kernel_width.h"

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

// Whether 32 bits hold every sum and difference of a sample and this constant, truncated: then the whole number is
// limited, which is quicker.
template <class S>
constexpr bool realSumsFit(float k) {
  return sizeof(S) < sizeof(float) && k > -2.0e9F && k < 2.0e9F;
}

template <class S>
void addReal(S* row, size_t n, float k) {
  if (realSumsFit<S>(k)) {
    for (size_t i = 0; i < n; ++i) row[i] = S(least(static_cast<int32_t>(float(row[i]) + k), 255) & 0xFF);
  } else {
    for (size_t i = 0; i < n; ++i) {
      const float sum = float(row[i]) + k;
      row[i] = S(lowByteOf(sum > 255.0F ? 255.0F : sum));
    }
  }
}

template <class S>
void subtractReal(S* row, size_t n, float k) {
  if (realSumsFit<S>(k)) {
    for (size_t i = 0; i < n; ++i) row[i] = S(greatest(static_cast<int32_t>(float(row[i]) - k), 0) & 0xFF);
  } else {
    for (size_t i = 0; i < n; ++i) {
      const float difference = float(row[i]) - k;
      row[i] = S(lowByteOf(difference < 0.0F ? 0.0F : difference));
    }
  }
}

// A product plus 0.5 in double precision truncates as the product plus the float below 0.5 does in single precision
// (all floats up to 300 were tried; 0.5 itself would make 1 of the float below it). NaN becomes 0. No factor above 256
// makes more of a whole sample than 256 does.
template <class S>
void multiplyReal(S* row, size_t n, float k) {
  constexpr float nearlyHalf = 0x1.fffffep-2F;
  if (sizeof(S) < sizeof(float)) {
    const float factor = k > 0.0F ? least(k, 256.0F) : 0.0F;
    for (size_t i = 0; i < n; ++i) row[i] = S(least(static_cast<int32_t>(float(row[i]) * factor + nearlyHalf), 255));
  } else {
    for (size_t i = 0; i < n; ++i) {
      const float product = float(row[i]) * k;
      const float limited = product > 0.0F ? least(product, 255.0F) : 0.0F;
      row[i] = S(static_cast<int32_t>(limited + nearlyHalf));
    }
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

RASTERKIT_MOVES_MEMORY void unite(uint8_t* row, const uint8_t* other, size_t n) {
  for (size_t i = 0; i < n; ++i) row[i] |= other[i];
}

template <class S>
constexpr ArithmeticRows<S> rows = {add<S>,          subtract<S>,     multiply<S>, addReal<S>,
                                    subtractReal<S>, multiplyReal<S>, divide<S>};

}  // namespace

const ArithmeticKernels arithmeticKernels = {rows<uint8_t>, rows<uint16_t>, rows<float>, unite};

}  // namespace rasterkit::RASTERKIT_LEVEL
