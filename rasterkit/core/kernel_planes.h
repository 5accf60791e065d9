#pragma once
// Interleaved pixels as planes and back, for row kernels that must tell channels apart: they work on blocks of pixels
// whose planes stay on the stack. Like kernel_numbers.h it has internal linkage throughout.

#include <stddef.h>
#include <stdint.h>

#if defined(__AVX512VBMI__)
#include "rasterkit/core/kernel_permutes.h"
#endif

namespace rasterkit {
namespace {

constexpr size_t kBlock = 512;  // pixels

// A block of three planes.
template <class S>
struct Planes {
  alignas(64) S first[kBlock];
  alignas(64) S second[kBlock];
  alignas(64) S third[kBlock];
};

// The first three samples of pixels of so many.
template <int channels, class S>
inline void split(const S* pixels, Planes<S>& planes, size_t n) {
#if defined(__AVX512VBMI__)
  if constexpr (sizeof(S) == 1)
    return (channels == 3 ? splitThrees : splitFours)(pixels, planes.first, planes.second, planes.third, n);
#endif
  const S* const __restrict in = pixels;
  S* const __restrict first = planes.first;
  S* const __restrict second = planes.second;
  S* const __restrict third = planes.third;
  for (size_t i = 0; i < n; ++i) {
    first[i] = in[i * channels];
    second[i] = in[i * channels + 1];
    third[i] = in[i * channels + 2];
  }
}

// Four bytes as they stand in memory.
inline uint32_t wordOf(uint8_t first, uint8_t second, uint8_t third, uint8_t fourth) {
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  return uint32_t{first} << 24 | uint32_t{second} << 16 | uint32_t{third} << 8 | fourth;
#else
  return first | uint32_t{second} << 8 | uint32_t{third} << 16 | uint32_t{fourth} << 24;
#endif
}
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr uint32_t kFourth = 0x000000FF;
#else
constexpr uint32_t kFourth = 0xFF000000;
#endif

// All three samples of pixels of three, or the first three of four: the fourth stays.
template <int channels, class S>
inline void join(const S* firsts, const S* seconds, const S* thirds, S* pixels, size_t n) {
#if defined(__AVX512VBMI__)
  if constexpr (sizeof(S) == 1) return (channels == 3 ? joinThrees : joinFours)(firsts, seconds, thirds, pixels, n);
#endif
  const S* const __restrict first = firsts;
  const S* const __restrict second = seconds;
  const S* const __restrict third = thirds;
  S* const __restrict out = pixels;
  if constexpr (channels == 4 && sizeof(S) == 1) {
    // As words: the compiler cannot vectorise stores with gaps.
    for (size_t i = 0; i < n; ++i) {
      uint32_t word;
      __builtin_memcpy(&word, out + i * 4, 4);
      word = (word & kFourth) | wordOf(first[i], second[i], third[i], 0);
      __builtin_memcpy(out + i * 4, &word, 4);
    }
  } else {
    for (size_t i = 0; i < n; ++i) {
      out[i * channels] = first[i];
      out[i * channels + 1] = second[i];
      out[i * channels + 2] = third[i];
    }
  }
}
template <int channels, class S>
inline void join(const Planes<S>& planes, S* pixels, size_t n) {
  join<channels>(planes.first, planes.second, planes.third, pixels, n);
}

// f(first, count) for n pixels, a block at a time.
template <class F>
inline void inBlocks(size_t n, F f) {
  for (size_t first = 0; first < n; first += kBlock) f(first, n - first < kBlock ? n - first : kBlock);
}

}  // namespace
}  // namespace rasterkit
