#pragma once
// Named conversions and comparisons for row kernels. Kernel files are compiled once for each processor level, so
// everything here has internal linkage and nothing but these two headers is included: a function that the linker merges
// might end up in its widest form on an older processor.

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {
namespace {

constexpr int32_t kIndefinite = -2147483647 - 1;

// Toward zero; the 32-bit integer indefinite value for NaN and for what a 32-bit integer cannot hold.
[[maybe_unused]] inline int32_t truncated(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : kIndefinite;
}
[[maybe_unused]] inline int32_t truncated(float value) {
  return value >= -2147483648.0F && value < 2147483648.0F ? static_cast<int32_t>(value) : kIndefinite;
}

// Toward zero, of what a 32-bit integer is known to hold.
[[maybe_unused]] inline int32_t truncatedWithin(double value) { return static_cast<int32_t>(value); }

// Sums, differences and products that wrap in 32 bits.
[[maybe_unused]] constexpr int32_t wrappedSum(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
[[maybe_unused]] constexpr int32_t wrappedDifference(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
[[maybe_unused]] constexpr int32_t wrappedProduct(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

[[maybe_unused]] constexpr uint8_t lowByte(int32_t value) {
  return static_cast<uint8_t>(static_cast<uint32_t>(value) & 0xFF);
}
[[maybe_unused]] constexpr uint16_t lowWord(int32_t value) {
  return static_cast<uint16_t>(static_cast<uint32_t>(value) & 0xFFFF);
}

template <class T>
constexpr T least(T a, T b) {
  return b < a ? b : a;
}
template <class T>
constexpr T greatest(T a, T b) {
  return a < b ? b : a;
}
template <class T>
constexpr T limited(T value, T low, T high) {
  return value < low ? low : high < value ? high : value;
}

// The bits of a float as an integer whose order is IEEE 754 totalOrder: -NaN, -infinity ... -0, +0 ... infinity, NaN.
[[maybe_unused]] inline int32_t totalOrderKey(float value) {
  int32_t bits;
  __builtin_memcpy(&bits, &value, sizeof bits);
  return bits ^ ((bits >> 31) & 0x7FFFFFFF);
}
[[maybe_unused]] inline float fromTotalOrderKey(int32_t key) {
  const int32_t bits = key ^ ((key >> 31) & 0x7FFFFFFF);
  float value;
  __builtin_memcpy(&value, &bits, sizeof value);
  return value;
}

// Processors differ in which NaN they give for an operation; here it is the first operand's, else the second's, else
// the one that x86 gives for infinity times 0, each made quiet.
[[maybe_unused]] inline float settledNaN(float result, float first, float second) {
  uint32_t a, b, bits;
  __builtin_memcpy(&a, &first, sizeof a);
  __builtin_memcpy(&b, &second, sizeof b);
  __builtin_memcpy(&bits, &result, sizeof bits);
  const uint32_t nan = (first != first ? a : second != second ? b : 0xFFC00000u) | 0x00400000u;
  bits = result != result ? nan : bits;
  __builtin_memcpy(&result, &bits, sizeof result);
  return result;
}

// Ranks: < for integers, totalOrder for floats, so that NaN and -0 have one place each.
template <class S>
constexpr bool ranksBelow(S a, S b) {
  return a < b;
}
template <>
[[maybe_unused]] inline bool ranksBelow(float a, float b) {
  return totalOrderKey(a) < totalOrderKey(b);
}

}  // namespace
}  // namespace rasterkit
