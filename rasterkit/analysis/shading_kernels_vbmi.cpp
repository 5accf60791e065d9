// The byte permutes over 128 entries: two of them look up a byte of the reciprocal of every divisor.

#include "rasterkit/analysis/shading_kernels.h"
#include "rasterkit/core/kernel_byte_table.h"

namespace rasterkit::vbmi {
namespace {

// The low and the high byte of trunc(65536 / divisor); of 65535 for 1. For 0, whose sample stays, it is 0.
struct Reciprocals {
  uint8_t low[256] = {}, high[256] = {};
  constexpr Reciprocals() {
    for (int divisor = 1; divisor < 256; ++divisor) {
      const int reciprocal = divisor == 1 ? 65535 : 65536 / divisor;
      low[divisor] = uint8_t(reciprocal & 0xFF);
      high[divisor] = uint8_t(reciprocal >> 8);
    }
  }
};
constexpr Reciprocals kReciprocals;

// Of 16-bit samples, levels and divisors. The product with the reciprocal is never above the quotient, and below it by
// less than 2: by less than 1 for the reciprocal's truncation, and by less than 1 for its own. So it is the quotient or
// 1 less, which the rest tells.
inline __m512i quotients(__m512i sample, __m512i level, __m512i divisor, __m512i reciprocal) {
  const __m512i dividend = _mm512_mullo_epi16(sample, level);
  const __m512i estimate = _mm512_mulhi_epu16(dividend, reciprocal);
  const __m512i rest = _mm512_sub_epi16(dividend, _mm512_mullo_epi16(estimate, divisor));
  const __m512i quotient =
      _mm512_mask_add_epi16(estimate, _mm512_cmpge_epu16_mask(rest, divisor), estimate, _mm512_set1_epi16(1));
  return _mm512_min_epu16(quotient, _mm512_set1_epi16(255));
}

void divide(uint8_t* samples, const uint8_t* blank, size_t n, const uint8_t* levels) {
  const ByteTable low(kReciprocals.low), high(kReciprocals.high);
  const __m512i zero = _mm512_setzero_si512();
  for (size_t i = 0; i < n; i += 64) {
    const __mmask64 there = n - i < 64 ? (__mmask64{1} << (n - i)) - 1 : ~__mmask64{0};
    const __m512i s = _mm512_maskz_loadu_epi8(there, samples + i), m = _mm512_maskz_loadu_epi8(there, levels + i);
    const __m512i b = _mm512_maskz_loadu_epi8(there, blank + i);
    const __m512i rl = low(b), rh = high(b);
    const __m512i first = quotients(_mm512_unpacklo_epi8(s, zero), _mm512_unpacklo_epi8(m, zero),
                                    _mm512_unpacklo_epi8(b, zero), _mm512_unpacklo_epi8(rl, rh));
    const __m512i second = quotients(_mm512_unpackhi_epi8(s, zero), _mm512_unpackhi_epi8(m, zero),
                                     _mm512_unpackhi_epi8(b, zero), _mm512_unpackhi_epi8(rl, rh));
    // Where the divisor is 0 nothing is stored.
    _mm512_mask_storeu_epi8(samples + i, _mm512_test_epi8_mask(b, b), _mm512_packus_epi16(first, second));
  }
}

}  // namespace

void (*const divideBytes)(uint8_t*, const uint8_t*, size_t, const uint8_t*) = divide;

}  // namespace rasterkit::vbmi
