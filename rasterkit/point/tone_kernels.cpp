#include "rasterkit/point/tone_kernels.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

template <class S>
void mapEach(S* row, size_t n, const S* table) {
  const S* const __restrict entries = table;
  S* const __restrict samples = row;
  for (size_t i = 0; i < n; ++i) samples[i] = entries[samples[i]];
}

#if defined(__AVX2__)

// A half of a table of bytes as eight tables of 16, for byte shuffles, which look at an index's low four bits and give
// 0 where its highest is set. Shuffling x - 16 k through table k for every k gives something for each k up to x / 16;
// tables that hold the difference from the one before make the sum of all that the entry of x.
struct HalfTable {
  explicit HalfTable(const uint8_t* entries) {
    __m256i before = _mm256_setzero_si256();
    for (int k = 0; k < 8; ++k) {
      const __m256i these = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(entries) + k));
      differences[k] = _mm256_xor_si256(these, before);
      before = these;
    }
  }

  // The entries of samples below 128; anything for others.
  __m256i operator()(__m256i samples) const {
    const __m256i step = _mm256_set1_epi8(16);
    __m256i entries = _mm256_shuffle_epi8(differences[0], samples);
    for (int k = 1; k < 8; ++k) {
      samples = _mm256_sub_epi8(samples, step);
      entries = _mm256_xor_si256(entries, _mm256_shuffle_epi8(differences[k], samples));
    }
    return entries;
  }

  __m256i differences[8];
};

void mapBytes(uint8_t* row, size_t n, const uint8_t* table) {
  const HalfTable lower(table), upper(table + 128);
  const __m256i highest = _mm256_set1_epi8(-128);
  size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    auto* const at = reinterpret_cast<__m256i*>(row + i);
    const __m256i samples = _mm256_loadu_si256(at);
    const __m256i entries = _mm256_blendv_epi8(lower(samples), upper(_mm256_xor_si256(samples, highest)), samples);
    _mm256_storeu_si256(at, entries);
  }
  mapEach(row + i, n - i, table);
}

#else

void mapBytes(uint8_t* row, size_t n, const uint8_t* table) { mapEach(row, n, table); }

#endif

}  // namespace

const ToneKernels toneKernels = {{mapBytes}, {mapEach<uint16_t>}};

}  // namespace rasterkit::RASTERKIT_LEVEL
