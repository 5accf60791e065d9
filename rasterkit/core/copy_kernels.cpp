#include "rasterkit/core/copy_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

void streamRow(uint8_t* to, const uint8_t* from, size_t n) {
#if defined(__SSE2__)
  const size_t head = least((size_t{0} - reinterpret_cast<uintptr_t>(to)) & 63, n);
  __builtin_memcpy(to, from, head);
  to += head, from += head, n -= head;
  for (; n >= 64; to += 64, from += 64, n -= 64)
    for (size_t i = 0; i < 64; i += 16)
      _mm_stream_si128(reinterpret_cast<__m128i*>(to + i), _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i)));
#endif
  __builtin_memcpy(to, from, n);
}

void settle() {
#if defined(__SSE2__)
  _mm_sfence();
#endif
}

void stream(uint8_t* to, ptrdiff_t toStride, const uint8_t* from, ptrdiff_t fromStride, size_t bytes, size_t rows) {
  for (size_t y = 0; y < rows; ++y) {
    const auto row = static_cast<ptrdiff_t>(y);
    streamRow(to + toStride * row, from + fromStride * row, bytes);
  }
  settle();
}

}  // namespace

const CopyKernels copyKernels = {streamRow, settle, stream};

}  // namespace rasterkit::RASTERKIT_LEVEL
