#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace rasterkit {

// Copies between blocks that do not overlap, in pieces that the C library moves with vector instructions. From about
// 2 KB on it takes the processor's string instruction, which on Zen 4 is several times as slow where source and
// destination lie alike in their pages, as rows do.
inline void copyBytes(void* to, const void* from, std::size_t n) {
  constexpr std::size_t piece = 1024;
  auto* out = static_cast<unsigned char*>(to);
  const auto* in = static_cast<const unsigned char*>(from);
  for (; n > piece; n -= piece, in += piece, out += piece) std::memcpy(out, in, piece);
  if (n > 0) std::memcpy(out, in, n);
}

// What is more than caches keep: it is written past them.
constexpr std::size_t kKeptByCaches = std::size_t{8} << 20;

// Copies rows of so many bytes; a stride is the distance in bytes from one row to the next to be copied. Rows that
// together exceed what caches keep are written past them, as the C library does with one block of that size. Sources in
// ascending order are the faster ones: processors fetch ahead of an ascending reader only.
void copyRows(unsigned char* to, std::ptrdiff_t toStride, const unsigned char* from, std::ptrdiff_t fromStride,
              std::size_t bytes, int rows);
// As copyRows, past the caches in any case.
void streamRows(unsigned char* to, std::ptrdiff_t toStride, const unsigned char* from, std::ptrdiff_t fromStride,
                std::size_t bytes, int rows);

}  // namespace rasterkit
