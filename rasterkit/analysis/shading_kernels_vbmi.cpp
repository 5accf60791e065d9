// Bytes: the permutes over 128 entries, two of which look up a byte of the reciprocal of every divisor. Words: whole
// quotients from single precision, 32 samples at a time.

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

// Truncated estimates, with their signs, of the 32-bit dividends whose halves are given. The conversions are masked, as
// g++ 12 finds an uninitialised value in the plain ones.
inline __m512i estimates(__m512i dividends, __m512 reciprocal) {
  return _mm512_maskz_cvttps_epi32(0xFFFF, _mm512_maskz_cvtepi32_ps(0xFFFF, dividends) * reciprocal);
}

// The reciprocal is too small by 2^-22 of itself, which is more than three roundings of 2^-24 can add. So an estimate
// is nearer to 0 than the quotient, by at most 7 * 2^-24 of it: by less than 896 / level, as a dividend is 2^31 at
// most. So it is the quotient, truncated, or the number before, and its rest is below level + 896: 16 bits hold it.
void scale(uint16_t* samples, const uint16_t* blank, size_t n, int32_t level) {
  const __m512 reciprocal = _mm512_set1_ps(static_cast<float>((1 - 0x1p-22) / level));
  const __m512i divisor = _mm512_set1_epi16(static_cast<int16_t>(level)), lowWords = _mm512_set1_epi32(0xFFFF);
  const __m512i zero = _mm512_setzero_si512(), lowBytes = _mm512_set1_epi16(0xFF);
  for (size_t i = 0; i < n; i += 32) {
    const __mmask32 there = n - i < 32 ? (__mmask32{1} << (n - i)) - 1 : ~__mmask32{0};
    const __m512i s = _mm512_maskz_loadu_epi16(there, samples + i), b = _mm512_maskz_loadu_epi16(there, blank + i);
    const __m512i low = _mm512_mullo_epi16(s, b), high = _mm512_mulhi_epu16(s, b);
    const __mmask32 below0 = _mm512_movepi16_mask(high);
    const __m512i first = estimates(_mm512_unpacklo_epi16(low, high), reciprocal);
    const __m512i second = estimates(_mm512_unpackhi_epi16(low, high), reciprocal);
    const __m512i estimate = _mm512_packus_epi32(_mm512_and_si512(first, lowWords), _mm512_and_si512(second, lowWords));
    const __m512i rest = _mm512_sub_epi16(low, _mm512_mullo_epi16(estimate, divisor));
    const __m512i size = _mm512_mask_sub_epi16(rest, below0, zero, rest);
    const __m512i outward = _mm512_mask_blend_epi16(below0, _mm512_set1_epi16(1), _mm512_set1_epi16(-1));
    const __m512i quotient = _mm512_mask_add_epi16(estimate, _mm512_cmpge_epu16_mask(size, divisor), estimate, outward);
    // From 2^16 on, where the high half reaches the level, it is limited to 65535; below 0 it is not.
    const __mmask32 limited = _mm512_cmpge_epu16_mask(high, divisor) & ~below0;
    _mm512_mask_storeu_epi16(samples + i, there,
                             _mm512_mask_mov_epi16(_mm512_and_si512(quotient, lowBytes), limited, lowBytes));
  }
}

}  // namespace

void (*const divideBytes)(uint8_t*, const uint8_t*, size_t, const uint8_t*) = divide;
void (*const scaleWords)(uint16_t*, const uint16_t*, size_t, int32_t) = scale;

}  // namespace rasterkit::vbmi
