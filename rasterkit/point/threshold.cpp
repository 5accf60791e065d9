#include <rasterkit/point/threshold.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/result_rows.h"
#include "rasterkit/point/threshold_kernels.h"

#include <cstring>
#include <limits>
#include <type_traits>

namespace rasterkit {
namespace {

// One row kernel over the image. outer is the whole number just outside the level, on the rejected side (level - 1 or
// level + 1, which may not fit an int). Floats are compared with it; integers with the level itself, where a sample can
// tell.
template <class S>
int cutRows(View<const S> in, View<S> out, void (*row)(const S*, S*, std::size_t, S), std::int64_t level,
            std::int64_t outer) {
  const auto limit = static_cast<S>(std::is_same_v<S, float> ? outer : level);
  makeRows(in, out, [=](int y, std::size_t first, std::size_t n, S* to) { row(in.row(y) + first, to, n, limit); });
  return 1;
}

// Whether a level is one that samples of S can have; beyond it all samples lie on one side.
template <class S>
bool within(std::int64_t level) {
  return std::is_same_v<S, float> || (level >= 0 && level <= std::numeric_limits<S>::max());
}

template <class S>
int fillRows(View<S> out, int byte) {
  for (int y = 0; y < out.height; ++y) std::memset(out.row(y), byte, out.samples() * sizeof(S));
  return 1;
}

template <class S>
int copyRows(View<const S> in, View<S> out) {
  if (in.first == out.first) return 1;
  for (int y = 0; y < in.height; ++y) std::memcpy(out.row(y), in.row(y), in.samples() * sizeof(S));
  return 1;
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxThresholdProcessing::Threshold(CPxImage& dst, int level) {
  const Operands operands(*this, dst, {1, 1});
  if (!operands) return 0;
  Storage::fillPadding(dst, 0);
  return bySample(operands.source(), dst, [&]<class S>(View<const S> in, View<S> out) {
    if (within<S>(level))
      return cutRows<S>(in, out, kernelsOf<ThresholdKernels, S>().binarise, level, std::int64_t{level} - 1);
    // Below every sample all of them pass, as they pass the level 0.
    if (level < 0) return cutRows<S>(in, out, kernelsOf<ThresholdKernels, S>().binarise, 0, -1);
    return fillRows<S>(out, 0);
  });
}

int CPxThresholdProcessing::Cut(CPxImage& dst, int level, int upper) {
  const Operands operands(*this, dst, {1, 1});
  if (!operands) return 0;
  Storage::fillPadding(dst, upper ? 0 : 0xFF);
  return bySample(operands.source(), dst, [&]<class S>(View<const S> in, View<S> out) {
    if (!within<S>(level))
      return (level < 0) == (upper != 0) ? copyRows<S>(in, out) : fillRows<S>(out, upper ? 0 : 0xFF);
    if (upper) return cutRows<S>(in, out, kernelsOf<ThresholdKernels, S>().keepUpper, level, std::int64_t{level} - 1);
    return cutRows<S>(in, out, kernelsOf<ThresholdKernels, S>().keepLower, level, std::int64_t{level} + 1);
  });
}

int CPxThresholdProcessing::Partial(CPxImage& dst, int) {
  if (GetImage() && Storage::holdsItsPixels(*GetImage())) dst = *GetImage();
  return 0;
}
