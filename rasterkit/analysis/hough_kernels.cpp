#include "rasterkit/analysis/hough_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// In blocks: the cells of many points at once, then one vote after the other.
void vote(const double* x, const double* y, const uint32_t* weight, size_t n, const VoteAngle& angle, uint32_t* cell) {
  constexpr size_t kBlock = 512;
  int32_t cells[kBlock];
  const double sine = angle.sine, cosine = angle.cosine, scale = angle.scale, half = angle.half, end = angle.cells;
  for (; n > 0;) {
    const size_t block = least(n, kBlock);
    for (size_t i = 0; i < block; ++i) {
      // Outside, NaN included, it is the end; so every value is one that an integer holds.
      const double p = (y[i] * sine + x[i] * cosine) * scale + half;
      const double from = p >= 0 ? p : end;
      cells[i] = static_cast<int32_t>(from < end ? from : end);
    }
    for (size_t i = 0; i < block; ++i) cell[cells[i]] += weight[i];
    x += block;
    y += block;
    weight += block;
    n -= block;
  }
}

uint32_t greatestOf(const uint32_t* counters, size_t n) {
  uint32_t result = 0;
  for (size_t i = 0; i < n; ++i) result = greatest(result, counters[i]);
  return result;
}

uint32_t leastOf(const uint32_t* counters, size_t n) {
  uint32_t result = 0x7FFFFFFF;
  for (size_t i = 0; i < n; ++i) result = least(result, counters[i]);
  return result;
}

uint64_t sumOf(const uint32_t* counters, size_t n) {
  uint64_t result = 0;
  for (size_t i = 0; i < n; ++i) result += counters[i];
  return result;
}

void display(const uint32_t* counters, double greatest, uint8_t* out, size_t n) {
  for (size_t i = 0; i < n; ++i) out[i] = lowByte(truncated(counters[i] / greatest * 255));
}

}  // namespace

const HoughKernels houghKernels = {vote, greatestOf, leastOf, sumOf, display};

}  // namespace rasterkit::RASTERKIT_LEVEL
