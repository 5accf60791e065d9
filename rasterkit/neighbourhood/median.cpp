// The median and noise filters of 3 x 3 samples: three sorted samples a column, then what can be the median of three
// columns (see the kernels).

#include <rasterkit/neighbourhood/filter.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/prefetch.h"
#include "rasterkit/core/window.h"
#include "rasterkit/neighbourhood/median_kernels.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace rasterkit {
namespace {

template <class S>
const MedianRows<S>& medianRows() {
  const MedianKernels& table = kernels<MedianKernels>();
  if constexpr (std::is_same_v<S, std::uint8_t>) return table.bytes;
  if constexpr (std::is_same_v<S, std::uint16_t>) return table.words;
  if constexpr (std::is_same_v<S, float>) return table.reals;
}

// make(rows, out, n) makes n samples of two rows from four: all but the first and last pixel of the n. It gets the
// image in pieces until all but its outermost pixels are done; some may be done twice. The outermost pixels are copied.
template <class S, class Make>
int filterInside(View<const S> in, View<S> out, std::size_t piece, Make make) {
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
  S nothing[MedianRows<S>::most + 2 * 4];
  const int count = in.height > 3 ? 2 : 1;
  Window<S> window(in, out, {.above = 1, .below = 2});
  copy(0, 0, n);
  for (int next = 1; next < in.height - 1; next += count) {
    const int y = std::min(next, in.height - 1 - count);
    const S* const* const rows = window.rows(y);
    for (std::size_t at = 0; at + 2 * step < n; at += piece) {
      const std::size_t width = std::min(piece + 2 * step, n - at);
      for (int ahead = y + count; ahead < std::min(y + 2 * count, in.height - 1); ++ahead) {
        fetchBeginning(in.row(ahead + 1) + at);
        fetchBeginning(out.row(ahead) + at);
      }
      S* const to[] = {out.row(y) + at, count == 2 ? out.row(y + 1) + at : nothing};
      make(std::array{rows[0] + at, rows[1] + at, rows[2] + at, rows[3] + at}.data(), to, width);
    }
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
    // Short enough for reading, picking and writing to take turns before the memory is idle.
    constexpr std::size_t piece = 512 / sizeof(S);
    return filterInside(in, out, piece, [&, median = medianRows<S>().median](auto rows, auto to, std::size_t n) {
      median(rows, to, n, static_cast<std::size_t>(in.channels));
    });
  });
}

int CPxFilter::RemoveRandomNoise(CPxImage& dst, int threshold) {
  const Operands operands(*this, dst, {1, 4});
  if (!operands) return 0;
  return bySample(operands.source(), dst, [threshold]<class S>(View<const S> in, View<S> out) {
    // Long enough for the samples in doubt to fill vectors.
    constexpr std::size_t piece = MedianRows<S>::most;
    return filterInside(in, out, piece, [&, remove = medianRows<S>().removeNoise](auto rows, auto to, std::size_t n) {
      remove(rows, to, n, static_cast<std::size_t>(in.channels), threshold);
    });
  });
}
