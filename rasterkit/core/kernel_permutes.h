#pragma once
// Interleaved bytes as planes and back by byte permutes over 128 entries, 64 pixels at a time: about three times as
// fast as the loops of kernel_planes.h, which includes this where the processor has them. Internal linkage throughout.

#include <immintrin.h>
#include <stddef.h>
#include <stdint.h>

namespace rasterkit {
namespace {

// Makes a vector of bytes of three others: place(i) is 0 to 63 for a byte of the first, from 64 for one of the second,
// from 128 for one of the third.
struct BytesOfThree {
  template <class Place>
  constexpr explicit BytesOfThree(Place place) : places{}, ofThird(0) {
    for (int i = 0; i < 64; ++i) {
      places[i] = static_cast<uint8_t>(place(i) & 127);
      if (place(i) >= 128) ofThird |= __mmask64{1} << i;
    }
  }
  __m512i operator()(__m512i first, __m512i second, __m512i third) const {
    const __m512i at = _mm512_load_si512(places);
    return _mm512_mask_permutexvar_epi8(_mm512_permutex2var_epi8(first, at, second), ofThird, at, third);
  }

  alignas(64) uint8_t places[64];
  __mmask64 ofThird;
};

inline __mmask64 firstBytes(size_t n) { return n >= 64 ? ~__mmask64{0} : (__mmask64{1} << n) - 1; }

// A vector of a row that ends after `left` bytes; what lies beyond is 0.
inline __m512i loadedBytes(const uint8_t* from, size_t left) {
  return left >= 64 ? _mm512_loadu_si512(from) : _mm512_maskz_loadu_epi8(firstBytes(left), from);
}
inline void storeBytes(uint8_t* to, __m512i bytes, size_t left) {
  if (left >= 64)
    _mm512_storeu_si512(to, bytes);
  else
    _mm512_mask_storeu_epi8(to, firstBytes(left), bytes);
}
// Where vector k of a row begins, and how much is left there; nothing lies beyond the row.
inline size_t leftAt(size_t bytes, size_t k) { return bytes > 64 * k ? bytes - 64 * k : 0; }

// The planes have room for a multiple of 64 bytes, aligned to 64.
inline void splitThrees(const uint8_t* in, uint8_t* first, uint8_t* second, uint8_t* third, size_t n) {
  static constexpr BytesOfThree firsts([](int i) { return 3 * i; }), seconds([](int i) { return 3 * i + 1; }),
      thirds([](int i) { return 3 * i + 2; });
  for (size_t i = 0; i < n; i += 64) {
    const uint8_t* const from = in + 3 * i;
    const size_t bytes = 3 * (n - i);
    const __m512i a = loadedBytes(from, bytes), b = loadedBytes(from + 64, leftAt(bytes, 1)),
                  c = loadedBytes(from + 128, leftAt(bytes, 2));
    _mm512_store_si512(first + i, firsts(a, b, c));
    _mm512_store_si512(second + i, seconds(a, b, c));
    _mm512_store_si512(third + i, thirds(a, b, c));
  }
}

// The first three bytes of each four.
inline void splitFours(const uint8_t* in, uint8_t* first, uint8_t* second, uint8_t* third, size_t n) {
  uint8_t* const planes[] = {first, second, third};
  static constexpr BytesOfThree bytesOf[] = {BytesOfThree([](int i) { return 4 * i % 128; }),
                                             BytesOfThree([](int i) { return 4 * i % 128 + 1; }),
                                             BytesOfThree([](int i) { return 4 * i % 128 + 2; })};
  for (size_t i = 0; i < n; i += 64) {
    const uint8_t* const from = in + 4 * i;
    const size_t bytes = 4 * (n - i);
    const __m512i a = loadedBytes(from, bytes), b = loadedBytes(from + 64, leftAt(bytes, 1)),
                  c = loadedBytes(from + 128, leftAt(bytes, 2)), d = loadedBytes(from + 192, leftAt(bytes, 3));
    for (int plane = 0; plane < 3; ++plane) {
      const __m512i at = _mm512_load_si512(bytesOf[plane].places);
      const __m512i low = _mm512_permutex2var_epi8(a, at, b), high = _mm512_permutex2var_epi8(c, at, d);
      _mm512_store_si512(planes[plane] + i, _mm512_mask_blend_epi64(0xF0, low, high));
    }
  }
}

inline void joinThrees(const uint8_t* first, const uint8_t* second, const uint8_t* third, uint8_t* out, size_t n) {
  static constexpr BytesOfThree parts[] = {BytesOfThree([](int i) { return i % 3 * 64 + i / 3; }),
                                           BytesOfThree([](int i) { return (i + 64) % 3 * 64 + (i + 64) / 3; }),
                                           BytesOfThree([](int i) { return (i + 128) % 3 * 64 + (i + 128) / 3; })};
  for (size_t i = 0; i < n; i += 64) {
    const __m512i a = loadedBytes(first + i, n - i), b = loadedBytes(second + i, n - i),
                  c = loadedBytes(third + i, n - i);
    const size_t bytes = 3 * (n - i);
    for (size_t k = 0; k < 3; ++k) storeBytes(out + 3 * i + 64 * k, parts[k](a, b, c), leftAt(bytes, k));
  }
}

// Into the first three bytes of each four; the fourth stays.
inline void joinFours(const uint8_t* first, const uint8_t* second, const uint8_t* third, uint8_t* out, size_t n) {
  constexpr __mmask64 threeOfFour = 0x7777777777777777;
  static constexpr BytesOfThree parts[] = {BytesOfThree([](int i) { return i % 4 * 64 % 192 + i / 4; }),
                                           BytesOfThree([](int i) { return i % 4 * 64 % 192 + i / 4 + 16; }),
                                           BytesOfThree([](int i) { return i % 4 * 64 % 192 + i / 4 + 32; }),
                                           BytesOfThree([](int i) { return i % 4 * 64 % 192 + i / 4 + 48; })};
  for (size_t i = 0; i < n; i += 64) {
    const __m512i a = loadedBytes(first + i, n - i), b = loadedBytes(second + i, n - i),
                  c = loadedBytes(third + i, n - i);
    const size_t bytes = 4 * (n - i);
    for (size_t k = 0; k < 4; ++k)
      _mm512_mask_storeu_epi8(out + 4 * i + 64 * k, threeOfFour & firstBytes(leftAt(bytes, k)), parts[k](a, b, c));
  }
}

// Threes into the first three bytes of each four, 16 pixels at a time: straight from one to the other.
inline void threesToFours(const uint8_t* in, uint8_t* out, size_t n) {
  static constexpr BytesOfThree spread([](int i) { return i / 4 * 3 + i % 4; });
  constexpr __mmask64 threeOfFour = 0x7777777777777777;
  const __m512i at = _mm512_load_si512(spread.places);
  size_t i = 0;
  // A whole vector reads 16 bytes more than it needs.
  for (; i + 22 <= n; i += 16) {
    const __m512i old = _mm512_loadu_si512(out + 4 * i), pixels = _mm512_loadu_si512(in + 3 * i);
    _mm512_storeu_si512(out + 4 * i, _mm512_mask_permutexvar_epi8(old, threeOfFour, at, pixels));
  }
  for (; i < n; i += 16) {
    const __m512i pixels = loadedBytes(in + 3 * i, 3 * (n - i));
    _mm512_mask_storeu_epi8(out + 4 * i, threeOfFour & firstBytes(4 * (n - i)),
                            _mm512_maskz_permutexvar_epi8(threeOfFour, at, pixels));
  }
}

}  // namespace
}  // namespace rasterkit
