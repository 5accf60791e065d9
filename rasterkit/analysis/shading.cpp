#include <rasterkit/analysis/shading.h>

#include "rasterkit/analysis/shading_kernels.h"
#include "rasterkit/core/kernels.h"
#include "rasterkit/core/numbers.h"
#include "rasterkit/core/operands.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace rasterkit {
namespace {

template <class S>
const ShadingRows<S>& shadingRows() {
  if constexpr (std::is_same_v<S, std::uint8_t>) return kernels<ShadingKernels>().bytes;
  if constexpr (std::is_same_v<S, std::uint16_t>) return kernels<ShadingKernels>().words;
}

// Levels and live flags for a run of interleaved pixels.
template <class S>
struct Pattern {
  static constexpr std::size_t kPixels = 256;

  Pattern(const std::array<std::int32_t, 4>& level, std::size_t channels_) : channels(channels_) {
    for (std::size_t i = 0; i < kPixels * channels; ++i) {
      const std::size_t k = i % channels;
      wide[i] = level[k];
      levels[i] = static_cast<float>(level[k]);
      live[i] = k < 3 ? static_cast<S>(~0) : S(0);
      isWide = isWide || level[k] < 0;  // of a blank image of another type
    }
  }

  std::size_t channels;
  bool isWide = false;
  std::int32_t wide[kPixels * 4];
  float levels[kPixels * 4];
  S live[kPixels * 4];
};

template <class S>
void correct(View<S> out, View<const S> blank, const std::array<std::int32_t, 4>& level) {
  const ShadingRows<S>& rows = shadingRows<S>();
  if (out.channels == 1) {
    for (int y = 0; y < out.height && level[0] != 0; ++y) rows.scale(out.row(y), blank.row(y), out.samples(), level[0]);
    return;
  }
  const Pattern<S> pattern(level, static_cast<std::size_t>(out.channels));
  const std::size_t run = Pattern<S>::kPixels * pattern.channels;
  for (int y = 0; y < out.height; ++y) {
    for (std::size_t i = 0; i < out.samples(); i += run) {
      S* const samples = out.row(y) + i;
      const S* const by = blank.row(y) + i;
      const std::size_t n = std::min(run, out.samples() - i);
      if (rows.divide && out.channels == 3)
        rows.divide(samples, by, n, pattern.levels);
      else if (pattern.isWide)
        rows.reverseAny(samples, by, n, pattern.wide, pattern.live);
      else
        rows.reverse(samples, by, n, pattern.levels, pattern.live);
    }
  }
}

// Adds the whole-number samples of each channel, in 64 bits.
template <class S>
std::array<std::int64_t, 4> sums(View<const S> in) {
  std::array<std::int64_t, 4> sum = {};
  for (int y = 0; y < in.height; ++y) {
    const S* sample = in.row(y);
    for (int x = 0; x < in.width; ++x)
      for (int k = 0; k < in.channels; ++k) sum[static_cast<std::size_t>(k)] += *sample++;
  }
  return sum;
}

bool holds(const CPxImage& image) {
  return Storage::holdsItsPixels(image) && Storage::rowsHold(image, CPxImageInfo::GetChannel(image.colorModel));
}

std::int64_t pixelBytes(const CPxImage& image) {
  return std::int64_t{CPxImageInfo::GetChannel(image.colorModel)} * sampleBytes(image.bitsPerSample);
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

CIMPShadingCorrect::~CIMPShadingCorrect() = default;

void CIMPShadingCorrect::SetBlankImage(const CPxImage* blank) {
  if (!blank) return;
  blank_ = *blank;
  GetMean(&blank_);
}

int CIMPShadingCorrect::GetMean(CPxImage*) {
  if (!holds(blank_)) return 0;
  const int channels = CPxImageInfo::GetChannel(blank_.colorModel);
  const double count = static_cast<double>(std::int64_t{blank_.width} * blank_.height);
  bySampleType(blank_.bitsPerSample, [&]<class S>() {
    const auto in = viewOf<S>(static_cast<const CPxImage&>(blank_), channels);
    if constexpr (std::is_same_v<S, float>) {
      for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x)
          for (int k = 0; k < channels; ++k) mean_[k] += in.row(y)[x * channels + k];
      for (int k = 0; k < channels; ++k) mean_[k] = static_cast<float>(mean_[k] / count);
    } else {
      const auto sum = sums(in);
      for (int k = 0; k < channels; ++k)
        mean_[k] = static_cast<float>(static_cast<double>(sum[static_cast<std::size_t>(k)]) / count);
    }
    return 1;
  });
  return 1;
}

int CIMPShadingCorrect::ShadingCorrect() {
  CPxImage* const image = GetImage();
  if (!image || !holds(*image) || !holds(blank_)) return 0;
  if (image->width != blank_.width || image->height != blank_.height) return 0;
  const int channels = CPxImageInfo::GetChannel(image->colorModel);
  if (image->bitsPerSample > 16 || channels == 0 || channels == 2) return 1;
  if (pixelBytes(*image) != pixelBytes(blank_)) return 0;

  std::array<std::int32_t, 4> level = {};
  for (std::size_t k = 0; k < 4; ++k)
    level[k] = std::min(truncated(mean_[k] + 0.5), image->bitsPerSample <= 8 ? 255 : 65535);
  const CPxImage& blank = blank_;
  if (image->bitsPerSample <= 8)
    correct(viewOf<std::uint8_t>(*image, channels), viewOf<std::uint8_t>(blank, channels), level);
  else
    correct(viewOf<std::uint16_t>(*image, channels), viewOf<std::uint16_t>(blank, channels), level);
  return 1;
}
