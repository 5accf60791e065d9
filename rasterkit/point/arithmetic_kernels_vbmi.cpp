#include "rasterkit/core/kernel_byte_table.h"
#include "rasterkit/point/arithmetic_kernels.h"

namespace rasterkit::vbmi {
namespace {

// The low and high bytes of 65536 / (o + 1), rounded up, for every byte o: at most 255 / 256 more than exact. So s
// times one of them is less than 65536 / (o + 1) above the exact product, which no more reaches the next whole
// quotient. 65536 itself, the entry of 0, is 0.
struct Reciprocals {
  uint8_t low[256], high[256];
};
constexpr Reciprocals reciprocals = [] {
  Reciprocals all{};
  for (int o = 0; o < 256; ++o) {
    const int reciprocal = (65536 + o) / (o + 1);
    all.low[o] = uint8_t(reciprocal & 0xFF);
    all.high[o] = uint8_t(reciprocal >> 8 & 0xFF);
  }
  return all;
}();

void divide(uint8_t* row, const uint8_t* other, size_t n) {
  const ByteTable lowBytes(reciprocals.low), highBytes(reciprocals.high);
  const auto quotients = [&](__m512i s, __m512i o) {
    const __m512i low = lowBytes(o), high = highBytes(o), zero = _mm512_setzero_si512();
    const __m512i first = _mm512_mulhi_epu16(_mm512_unpacklo_epi8(s, zero), _mm512_unpacklo_epi8(low, high));
    const __m512i second = _mm512_mulhi_epu16(_mm512_unpackhi_epi8(s, zero), _mm512_unpackhi_epi8(low, high));
    return _mm512_mask_mov_epi8(_mm512_packus_epi16(first, second), _mm512_testn_epi8_mask(o, o), s);
  };
  size_t i = 0;
  for (; i + 64 <= n; i += 64)
    _mm512_storeu_si512(row + i, quotients(_mm512_loadu_si512(row + i), _mm512_loadu_si512(other + i)));
  if (i < n) {
    const __mmask64 left = (__mmask64{1} << (n - i)) - 1;
    const __m512i s = _mm512_maskz_loadu_epi8(left, row + i), o = _mm512_maskz_loadu_epi8(left, other + i);
    _mm512_mask_storeu_epi8(row + i, left, quotients(s, o));
  }
}

}  // namespace

void (*const divideByOneMore)(uint8_t* row, const uint8_t* other, size_t n) = divide;

}  // namespace rasterkit::vbmi
