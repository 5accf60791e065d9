#include "rasterkit/core/kernel_byte_table.h"
#include "rasterkit/point/tone_kernels.h"

namespace rasterkit::vbmi {
namespace {

void map(uint8_t* row, size_t n, const uint8_t* table) {
  const ByteTable entries(table);
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
