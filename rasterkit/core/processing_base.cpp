#include <rasterkit/core/processing_base.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/plane_kernels.h"
#include "rasterkit/core/result_rows.h"

#include <vector>

namespace rasterkit {
namespace {

template <class S>
auto extractRow() {
  if constexpr (sizeof(S) == 1) return kernels<PlaneKernels>().extract8;
  if constexpr (sizeof(S) == 2) return kernels<PlaneKernels>().extract16;
  if constexpr (sizeof(S) == 4) return kernels<PlaneKernels>().extract32;
}

template <class S>
auto insertRow() {
  if constexpr (sizeof(S) == 1) return kernels<PlaneKernels>().insert8;
  if constexpr (sizeof(S) == 2) return kernels<PlaneKernels>().insert16;
  if constexpr (sizeof(S) == 4) return kernels<PlaneKernels>().insert32;
}

// f.template operator()<S>() with unsigned integers of the sample's size: planes are moved, not calculated with.
template <class F>
void bySampleSize(int bits, F f) {
  switch (sampleClass(bits)) {
    case SampleClass::byte: return f.template operator()<std::uint8_t>();
    case SampleClass::word: return f.template operator()<std::uint16_t>();
    case SampleClass::real: return f.template operator()<std::uint32_t>();
    case SampleClass::none: return;
  }
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

unsigned char** CPxImageProcessingBase::GetAOIImage() const {
  return areaOfInterest_ ? reinterpret_cast<unsigned char**>(areaOfInterest_->Get2DBuffer()) : nullptr;
}

int CPxImageProcessingBase::GetPlane(int plane, CPxImage& out) {
  if (!image_ || !Storage::holdsItsPixels(*image_)) return 0;
  const int channels = CPxImageInfo::GetChannel(image_->colorModel);
  if (channels == 1 || channels < plane || !Storage::rowsHold(*image_, channels)) return 0;

  CPxImage kept;  // the source, where out is about to replace it
  if (&out == image_) kept = std::move(*image_);
  const CPxImage& source = &out == image_ ? kept : *image_;

  const bool copies = plane >= 0 && plane < channels && sampleClass(source.bitsPerSample) != SampleClass::none;
  Storage::create(out, CM_GRAY, source.bitsPerSample, source.width, source.height, 0,
                  copies ? Storage::Samples::any : Storage::Samples::zero);
  if (!copies) return 1;

  bySampleSize(source.bitsPerSample, [&]<class S>() {
    const auto in = viewOf<S>(source, channels);
    const auto to = viewOf<S>(out, 1);
    const auto extract = extractRow<S>();
    makeRows(in, to, [=](int y, std::size_t first, std::size_t n, S* samples) {
      extract(in.row(y) + first * static_cast<std::size_t>(channels), channels, plane, samples, n);
    });
  });
  Storage::fillPadding(out, 0);
  return 1;
}

int CPxImageProcessingBase::SetPlane(int plane, CPxImage& in) {
  if (!image_ || !Storage::holdsItsPixels(*image_) || !Storage::holdsItsPixels(in)) return 0;
  if (in.width != image_->width || in.height != image_->height) return 0;
  const int channels = CPxImageInfo::GetChannel(image_->colorModel);
  if (channels == 1 || channels < plane || !Storage::rowsHold(*image_, channels)) return 0;
  if (plane < 0 || plane >= channels || sampleClass(image_->bitsPerSample) == SampleClass::none) return 1;

  const int bytes = sampleBytes(image_->bitsPerSample);
  if (std::int64_t{in.channels} * sampleBytes(in.bitsPerSample) < bytes ||
      std::int64_t{in.width} * bytes > in.bytesPerLine)
    return 0;

  bySampleSize(image_->bitsPerSample, [&]<class S>() {
    const auto from = viewOf<S>(static_cast<const CPxImage&>(in), 1);
    const auto to = viewOf<S>(*image_, channels);
    const auto insert = insertRow<S>();
    const auto n = static_cast<std::size_t>(to.width);
    std::vector<S> kept(&in == image_ ? n : 0);  // the samples of a row that is about to change
    for (int y = 0; y < to.height; ++y) {
      const S* samples = from.row(y);
      if (&in == image_) {
        kept.assign(samples, samples + n);
        samples = kept.data();
      }
      insert(samples, to.row(y), channels, plane, n);
    }
  });
  return 1;
}
