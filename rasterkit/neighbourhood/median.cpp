// The median and noise filters of 3 x 3 samples: three sorted samples a column, then what can be the median of three
// columns (see the kernels).

#include <rasterkit/neighbourhood/filter.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/window.h"
#include "rasterkit/neighbourhood/median_kernels.h"
#include "rasterkit/neighbourhood/noise_kernels.h"

#include <algorithm>
#include <vector>

namespace rasterkit {
namespace {

// make(rows, n) makes all but the outermost pixels of two rows of n samples. Those pixels, and the first and last row,
// are copied. An image has its last row made twice if the others come in pairs without it.
template <class S, class Make>
int filterInside(View<const S> in, View<S> out, Make make) {
  const std::size_t n = in.samples();
  const auto step = static_cast<std::size_t>(in.channels);
  const auto copy = [&](int y, std::size_t from, std::size_t count) {
    if (in.first != out.first) std::copy_n(in.row(y) + from, count, out.row(y) + from);
  };
  if (in.width < 3 || in.height < 3) {
    for (int y = 0; y < in.height; ++y) copy(y, 0, n);
    return 1;
  }

  // An image of three rows has one to be made; the other one is nothing.
  const int count = in.height > 3 ? 2 : 1;
  std::vector<S> nothing(count == 1 ? n : 0);
  Window<S> window(in, out, {.above = 1, .below = 2});
  copy(0, 0, n);
  for (int next = 1; next < in.height - 1; next += count) {
    const int y = std::min(next, in.height - 1 - count);
    const int nextIn = std::min(y + count + 1, in.height - 2), nextOut = std::min(y + count, in.height - 2);
    make(RowPair<S>{.in = window.rows(y),
                    .out = {out.row(y), count == 2 ? out.row(y + 1) : nothing.data()},
                    .nextIn = {in.row(nextIn), in.row(nextIn + 1)},
                    .nextOut = {out.row(nextOut), out.row(nextOut + 1)}},
         n);
    for (int i = y; i < y + count; ++i) {
      copy(i, 0, step);
      copy(i, n - step, step);
    }
  }
  copy(in.height - 1, 0, n);
  return 1;
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxFilter::Median(CPxImage& dst) {
  const Operands operands(*this, dst, {1, 4});
  if (!operands) return 0;
  return bySample(operands.source(), dst, []<class S>(View<const S> in, View<S> out) {
    return filterInside(in, out, [&, median = kernelsOf<MedianKernels, S>()](const RowPair<S>& rows, std::size_t n) {
      median(rows, n, static_cast<std::size_t>(in.channels));
    });
  });
}

int CPxFilter::RemoveRandomNoise(CPxImage& dst, int threshold) {
  if (threshold < 0) return Median(dst);  // which every sample is replaced by
  const Operands operands(*this, dst, {1, 4});
  if (!operands) return 0;
  return bySample(operands.source(), dst, [threshold]<class S>(View<const S> in, View<S> out) {
    return filterInside(in, out, [&, remove = kernelsOf<NoiseKernels, S>()](const RowPair<S>& rows, std::size_t n) {
      remove(rows, n, static_cast<std::size_t>(in.channels), threshold);
    });
  });
}
