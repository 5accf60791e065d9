#include <rasterkit/point/averaging.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/region.h"
#include "rasterkit/point/averaging_kernels.h"

#include <cstring>
#include <vector>

namespace rasterkit {
namespace {

// Whether an image can be added to the first of its series.
bool fits(const CPxImage* image, const CPxImage& first, int channels) {
  return image && Storage::holdsItsPixels(*image) && Storage::rowsHold(*image, channels) &&
         image->width == first.width && image->height == first.height &&
         CPxImageInfo::GetChannel(image->colorModel) == channels &&
         sampleClass(image->bitsPerSample) == sampleClass(first.bitsPerSample);
}

// Means everywhere but in the last row and column, which are zero.
template <class S>
void average(const std::vector<View<const S>>& images, View<S> out, float scale) {
  const auto kernel = kernelsOf<AveragingKernels, S>().average;
  const auto last = static_cast<std::size_t>(out.channels);
  std::vector<const S*> rows(images.size());
  for (int y = 0; y < out.height - 1; ++y) {
    for (std::size_t i = 0; i < images.size(); ++i) rows[i] = images[i].row(y);
    kernel(rows.data(), rows.size(), out.row(y), out.samples() - last, scale);
    std::memset(out.row(y) + out.samples() - last, 0, last * sizeof(S));
  }
  if (out.height > 0) std::memset(out.row(out.height - 1), 0, out.samples() * sizeof(S));
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxAveraging::Averaging(CPxImage& dst, int mode) { return mode == 0 ? AveragingAverage(dst) : 0; }

int CPxAveraging::AveragingAverage(CPxImage& dst) {
  const CPxImageArray* const series = GetImageArray();
  if (!series || series->count <= 0) return 0;
  const CPxImage* const first = series->GetAt(0);
  if (!first || !Storage::holdsItsPixels(*first)) return 0;

  const int channels = CPxImageInfo::GetChannel(first->colorModel);
  const bool averaged = (channels == 1 || channels == 3 || channels == 4) && first->bitsPerSample <= 16;
  bool together = series->count > 1 && averaged;
  bool dstIsOne = first == &dst;
  for (int i = 0; together && i < series->count; ++i) {
    together = fits(series->GetAt(i), *first, channels);
    dstIsOne = dstIsOne || series->GetAt(i) == &dst;
  }
  if (!together) {
    dst = *first;
    return series->count == 1;
  }

  CPxImage own;
  CPxImage& out = dstIsOne ? own : dst;
  Storage::takeShape(out, *first);
  Storage::copyPadding(out, *first);
  const float scale = 1.0F / static_cast<float>(series->count);
  byWholeSampleType(first->bitsPerSample, [&]<class S>() {
    std::vector<View<const S>> images;
    for (int i = 0; i < series->count; ++i)
      images.push_back(viewOf<S>(static_cast<const CPxImage&>(*series->GetAt(i)), channels));
    average<S>(images, viewOf<S>(out, channels), scale);
    return 1;
  });
  if (dstIsOne) dst = std::move(own);
  return 1;
}

int CPxAveraging::AveragingAccumulation(CPxImage&) { return 0; }
int CPxAveraging::AveragingMinMax(CPxImage&) { return 0; }
