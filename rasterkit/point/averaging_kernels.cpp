#include "rasterkit/point/averaging_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

constexpr size_t kBlock = 512;

// One block of at most kBlock samples. Sum is float, or an integer where it holds every sum: whole numbers below 2^24
// are exact in single precision, so the sum is the same.
template <class S, class Sum>
void averageBlock(const S* const* rows, size_t count, size_t from, S* out, size_t n, float scale) {
  Sum sums[kBlock];
  const S* const first = rows[0] + from;
  for (size_t i = 0; i < n; ++i) sums[i] = Sum(first[i]);
  // Four images at a time, so that the sums pass through memory less often.
  size_t k = 1;
  for (; k + 4 <= count; k += 4) {
    const S *const a = rows[k] + from, *const b = rows[k + 1] + from;
    const S *const c = rows[k + 2] + from, *const d = rows[k + 3] + from;
    for (size_t i = 0; i < n; ++i)
      sums[i] = Sum(Sum(Sum(Sum(sums[i] + Sum(a[i])) + Sum(b[i])) + Sum(c[i])) + Sum(d[i]));
  }
  for (; k < count; ++k) {
    const S* const row = rows[k] + from;
    for (size_t i = 0; i < n; ++i) sums[i] = Sum(sums[i] + Sum(row[i]));
  }
  for (size_t i = 0; i < n; ++i) out[i] = S(static_cast<int32_t>(scale * float(sums[i])));
}

template <class S, class Sum>
void averageRow(const S* const* rows, size_t count, S* out, size_t n, float scale) {
  for (size_t from = 0; from < n; from += kBlock)
    averageBlock<S, Sum>(rows, count, from, out + from, least(kBlock, n - from), scale);
}

template <class S>
void average(const S* const* rows, size_t count, S* out, size_t n, float scale) {
  if (count <= 65535 / S(-1)) return averageRow<S, uint16_t>(rows, count, out, n, scale);
  if (count <= (1 << 24) / S(-1)) return averageRow<S, int32_t>(rows, count, out, n, scale);
  averageRow<S, float>(rows, count, out, n, scale);
}

}  // namespace

const AveragingKernels averagingKernels = {{average<uint8_t>}, {average<uint16_t>}};

}  // namespace rasterkit::RASTERKIT_LEVEL
