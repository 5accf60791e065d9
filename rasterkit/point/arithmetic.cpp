#include <rasterkit/point/arithmetic.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/region.h"
#include "rasterkit/point/arithmetic_kernels.h"
#include "rasterkit/point/sample_map.h"

#include <climits>
#include <numeric>
#include <type_traits>

namespace rasterkit {
namespace {

int modelChannels(const CPxImage& image) { return CPxImageInfo::GetChannel(image.colorModel); }

bool usable(const CPxImage* image) {
  return image && Storage::holdsItsPixels(*image) && Storage::rowsHold(*image, modelChannels(*image));
}

// Whether samples are changed at all: alpha of grey never, floats in so many channels.
bool isProcessed(const CPxImage& image, int realChannels) {
  const int channels = modelChannels(image);
  switch (sampleClass(image.bitsPerSample)) {
    case SampleClass::none: return false;
    case SampleClass::real:
      if (channels > realChannels) return false;
      break;
    default: break;
  }
  return channels == 1 || channels == 3 || channels == 4;
}

// The row kernel, with its constant, over the rectangle.
template <class Kernel, class Constant>
int changeByConstant(CPxImage* image, const CRect& rect, Constant k, Kernel kernel) {
  if (!usable(image)) return 0;
  const auto region =
      meansWhole(rect) ? inclusiveRegion(CRect(0, 0, INT_MAX, INT_MAX), *image) : inclusiveRegion(rect, *image);
  if (!region) return 0;
  if (!isProcessed(*image, 1)) return 1;
  return bySample(*image, modelChannels(*image), [&]<class S>(View<S> rows) {
    View<S> part = within(rows, *region);
    joinRows(part);
    const auto change = kernelsOf<ArithmeticKernels, S>().*kernel.template operator()<S>();
    if constexpr (std::is_same_v<S, std::uint8_t> && std::is_same_v<Constant, float>) {
      // Rather than calculating with floats, the results of all bytes are looked up.
      std::uint8_t results[256];
      std::iota(results, results + 256, std::uint8_t{0});
      change(results, 256, k);
      const auto map = mapKernel<S>();
      for (int y = 0; y < part.height; ++y) map(part.row(y), part.samples(), results);
      return 1;
    }
    for (int y = 0; y < part.height; ++y) change(part.row(y), part.samples(), k);
    return 1;
  });
}

// f(rows, other's rows) where the rectangle means the image and the other image lies upon it. f gives 1.
template <class F>
int combine(CPxImage* image, CPxImage& other, const CRect& rect, int realChannels, F f) {
  if (!usable(image) || !Storage::holdsItsPixels(other)) return 0;
  const auto region = frameworkOrWholeRegion(rect, *image);
  if (!region) return 0;
  if (!isProcessed(*image, realChannels)) return 1;
  const int channels = modelChannels(*image);
  if (other.channels * sampleBytes(other.bitsPerSample) != channels * sampleBytes(image->bitsPerSample) ||
      !Storage::rowsHold(other, other.channels))
    return 0;

  const bool whole = meansWhole(rect);
  const Overlap on = overlap(*region, whole ? 0 : rect.left, whole ? 0 : rect.top, other.width, other.height);
  // A shifted image of itself is read as it was.
  std::optional<CPxImage> kept;
  if (&other == image && (on.x != on.region.left || on.y != on.region.top)) kept.emplace(other);
  const CPxImage& from = kept ? *kept : other;
  return bySample(*image, channels, [&]<class S>(View<S> rows) {
    View<S> changed = within(rows, on.region);
    View<const S> read = within(viewOf<S>(from, channels), {on.x, on.y, on.region.width, on.region.height});
    joinRows(changed, read);
    for (int row = 0; row < changed.height; ++row) f(changed.row(row), read.row(row), changed.samples());
    return 1;
  });
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxArithmeticProcessing::ADD(int k, CRect rect) {
  return changeByConstant(GetImage(), rect, k, []<class S>() { return &ArithmeticRows<S>::add; });
}
int CPxArithmeticProcessing::ADD(float k, CRect rect) {
  return changeByConstant(GetImage(), rect, k, []<class S>() { return &ArithmeticRows<S>::addReal; });
}
int CPxArithmeticProcessing::SUB(int k, CRect rect) {
  return changeByConstant(GetImage(), rect, k, []<class S>() { return &ArithmeticRows<S>::subtract; });
}
int CPxArithmeticProcessing::SUB(float k, CRect rect) {
  return changeByConstant(GetImage(), rect, k, []<class S>() { return &ArithmeticRows<S>::subtractReal; });
}
int CPxArithmeticProcessing::MUL(int k, CRect rect) {
  return changeByConstant(GetImage(), rect, k, []<class S>() { return &ArithmeticRows<S>::multiply; });
}
int CPxArithmeticProcessing::MUL(float k, CRect rect) {
  return changeByConstant(GetImage(), rect, k, []<class S>() { return &ArithmeticRows<S>::multiplyReal; });
}

int CPxArithmeticProcessing::DIV(CPxImage& other, CRect rect) {
  return combine(GetImage(), other, rect, 4, []<class S>(S* row, const S* by, std::size_t n) {
#if RASTERKIT_HAS_VBMI
    if constexpr (sizeof(S) == 1)
      if (servesBytePermutes()) return vbmi::divideByOneMore(row, by, n);
#endif
    kernelsOf<ArithmeticKernels, S>().divide(row, by, n);
  });
}

int CPxArithmeticProcessing::OR(CPxImage& other, CRect rect) {
  return combine(GetImage(), other, rect, 0, []<class S>(S* row, const S* with, std::size_t n) {
    kernels<ArithmeticKernels>().unite(reinterpret_cast<std::uint8_t*>(row),
                                       reinterpret_cast<const std::uint8_t*>(with), n * sizeof(S));
  });
}

int CPxArithmeticProcessing::AND(CPxImage&, CRect) { return 1; }
int CPxArithmeticProcessing::NOT(CPxImage&, CRect) { return 1; }
int CPxArithmeticProcessing::XOR(CPxImage&, CRect) { return 1; }
int CPxArithmeticProcessing::DIV(int, CRect) { return 1; }
int CPxArithmeticProcessing::DIV(float, CRect) { return 1; }
