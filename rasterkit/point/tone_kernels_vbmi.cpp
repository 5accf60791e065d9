// The byte permutes over 128 entries: two of them are a whole table.

#include "rasterkit/point/tone_kernels.h"

#include <immintrin.h>

namespace rasterkit::vbmi {
namespace {

void map(uint8_t* row, size_t n, const uint8_t* table) {
  const __m512i t0 = _mm512_loadu_si512(table), t1 = _mm512_loadu_si512(table + 64);
  const __m512i t2 = _mm512_loadu_si512(table + 128), t3 = _mm512_loadu_si512(table + 192);
  // The highest bit of a sample says which half of the table it means; the permutes look at the other seven.
  const auto entries = [&](__m512i samples) {
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(samples), _mm512_permutex2var_epi8(t0, samples, t1),
                                  _mm512_permutex2var_epi8(t2, samples, t3));
  };
  size_t i = 0;
  for (; i + 64 <= n; i += 64) _mm512_storeu_si512(row + i, entries(_mm512_loadu_si512(row + i)));
  if (i < n) {
    const __mmask64 left = (__mmask64{1} << (n - i)) - 1;
    _mm512_mask_storeu_epi8(row + i, left, entries(_mm512_maskz_loadu_epi8(left, row + i)));
  }
}

}  // namespace

const ToneRows<uint8_t> toneBytes = {map};

}  // namespace rasterkit::vbmi
