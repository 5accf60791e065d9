#include "rasterkit/point/averaging_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

constexpr size_t kBlock = 512;

// Adds several images at a time, in their order, so that the sums pass through memory less often.
template <size_t images, class S, class Sum>
void add(const S* const* rows, size_t from, Sum* sums, size_t n) {
  const S* in[images];
  for (size_t k = 0; k < images; ++k) in[k] = rows[k] + from;
  for (size_t i = 0; i < n; ++i) {
    Sum sum = sums[i];
    for (size_t k = 0; k < images; ++k) sum = Sum(sum + Sum(in[k][i]));
    sums[i] = sum;
  }
}

// One block of at most kBlock samples. Sum is float, or an integer where it holds every sum: whole numbers below 2^24
// are exact in single precision, so the sum is the same.
template <class S, class Sum>
void averageBlock(const S* const* rows, size_t count, size_t from, S* out, size_t n, float scale) {
  Sum sums[kBlock] = {};
  size_t k = 0;
  for (; k + 4 <= count; k += 4) add<4>(rows + k, from, sums, n);
  for (; k < count; ++k) add<1>(rows + k, from, sums, n);
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
