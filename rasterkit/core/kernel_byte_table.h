#pragma once
// A table of 256 bytes that is looked up 64 bytes at a time, for kernels with the byte permutes over 128 entries: two
// of them are a whole table. Like core/kernel_numbers.h it has internal linkage throughout.

#include <immintrin.h>
#include <stdint.h>

namespace rasterkit {
namespace {

class ByteTable {
 public:
  explicit ByteTable(const uint8_t* entries)
      : parts_{_mm512_loadu_si512(entries), _mm512_loadu_si512(entries + 64), _mm512_loadu_si512(entries + 128),
               _mm512_loadu_si512(entries + 192)} {}

  // The highest bit of an index says which half of the table it means; the permutes look at the other seven.
  __m512i operator()(__m512i index) const {
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), _mm512_permutex2var_epi8(parts_[0], index, parts_[1]),
                                  _mm512_permutex2var_epi8(parts_[2], index, parts_[3]));
  }

 private:
  __m512i parts_[4];
};

}  // namespace
}  // namespace rasterkit
