// The byte permutes over 128 entries.

#include "rasterkit/geometry/resample_kernels.h"

#include <immintrin.h>

namespace rasterkit::vbmi {
namespace {

void permute(const uint8_t* in, const int32_t* starts, const uint8_t* places, uint8_t* out, size_t blocks, size_t step,
             size_t last) {
  const auto block = [&](size_t k) {
    const uint8_t* const from = in + starts[k];
    return _mm512_permutex2var_epi8(_mm512_loadu_si512(from), _mm512_loadu_si512(places + k * 64),
                                    _mm512_loadu_si512(from + 64));
  };
  // A whole store reaches beyond its block, into the next one; the last two blocks might leave the row.
  size_t k = 0;
  for (; k + 2 < blocks; ++k) _mm512_storeu_si512(out + k * step, block(k));
  for (; k < blocks; ++k) {
    const size_t bytes = k + 1 < blocks ? step : last;
    const __mmask64 stored = bytes == 64 ? ~__mmask64{0} : (__mmask64{1} << bytes) - 1;
    _mm512_mask_storeu_epi8(out + k * step, stored, block(k));
  }
}

}  // namespace

const PermuteKernels permuteKernels = {permute};

}  // namespace rasterkit::vbmi
