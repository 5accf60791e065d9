#include <rasterkit/analysis/shading.h>

#include "rasterkit/analysis/shading_kernels.h"
#include "rasterkit/core/kernels.h"
#include "rasterkit/core/numbers.h"
#include "rasterkit/core/operands.h"

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

namespace rasterkit {
namespace {

using Levels = std::array<std::int32_t, 4>;

// Levels, and which samples are corrected, for a run of interleaved pixels.
template <class S>
struct Pattern {
  static constexpr std::size_t kPixels = 256;

  Pattern(const Levels& level, std::size_t channels) : samples(kPixels * channels) {
    for (std::size_t i = 0; i < samples; ++i) {
      const std::size_t k = i % channels;
      levels[i] = static_cast<float>(level[k]);
      wholeLevels[i] = static_cast<S>(level[k]);
      live[i] = k < 3 ? static_cast<S>(~0) : S(0);
    }
  }

  std::size_t samples;
  float levels[kPixels * 4];
  S wholeLevels[kPixels * 4];
  S live[kPixels * 4];
};

// s = blank * s / level.
template <class S>
auto scaleFor(std::int32_t level) {
#if RASTERKIT_HAS_VBMI
  if constexpr (sizeof(S) == 2)
    if (vbmi::kLeastLevel <= level && level <= vbmi::kGreatestLevel && servesBytePermutes()) return vbmi::scaleWords;
#endif
  return kernelsOf<ShadingKernels, S>().scale;
}

// s = level * s / blank.
void divide(std::uint8_t* samples, const std::uint8_t* blank, std::size_t n, const Pattern<std::uint8_t>& pattern) {
#if RASTERKIT_HAS_VBMI
  if (servesBytePermutes()) return vbmi::divideBytes(samples, blank, n, pattern.wholeLevels);
#endif
  kernels<ShadingKernels>().bytes.divide(samples, blank, n, pattern.levels);
}

// f(samples, blank, n, pattern) for runs that begin with a pixel.
template <class S, class F>
void eachRun(View<S> out, View<const S> blank, const Levels& level, F f) {
  const Pattern<S> pattern(level, static_cast<std::size_t>(out.channels));
  for (int y = 0; y < out.height; ++y)
    for (std::size_t i = 0; i < out.samples(); i += pattern.samples)
      f(out.row(y) + i, blank.row(y) + i, std::min(pattern.samples, out.samples() - i), pattern);
}

template <class S>
void correct(View<S> out, View<const S> blank, const Levels& level) {
  const ShadingRows<S>& rows = kernelsOf<ShadingKernels, S>();
  if (out.channels == 1) {
    const auto scale = scaleFor<S>(level[0]);
    for (int y = 0; y < out.height && level[0] != 0; ++y) scale(out.row(y), blank.row(y), out.samples(), level[0]);
    return;
  }
  if constexpr (sizeof(S) == 1)
    if (out.channels == 3) return eachRun(out, blank, level, divide);
  eachRun(out, blank, level, [&](S* samples, const S* by, std::size_t n, const Pattern<S>& pattern) {
    rows.reverse(samples, by, n, pattern.levels, pattern.live);
  });
}

// The same one sample at a time, for levels below 0: those of float blanks that became others, or whose pixels of four
// bytes serve an 8-bit image of four channels as they are; and of blanks without pixels, whose mean is NaN, that became
// others.
template <class S>
void correctPlainly(View<S> out, View<const S> blank, const Levels& level) {
  for (int y = 0; y < out.height; ++y) {
    for (std::size_t i = 0; i < out.samples(); ++i) {
      const auto k = i % static_cast<std::size_t>(out.channels);
      S& sample = out.row(y)[i];
      const std::int32_t by = blank.row(y)[i], product = wrappedProduct(by, sample);
      std::int32_t dividend = level[k], divisor = product;
      if (out.channels == 1)
        dividend = product, divisor = level[k];
      else if (out.channels == 3 && sizeof(S) == 1)
        dividend = wrappedProduct(level[k], sample), divisor = by;
      if (k == 3 || sample == 0 || divisor == 0) continue;
      const std::int64_t quotient = std::int64_t{dividend} / divisor;
      sample = static_cast<S>(std::min<std::int64_t>(quotient, std::numeric_limits<S>::max()) & 0xFF);
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

  Levels level = {};
  for (std::size_t k = 0; k < 4; ++k)
    level[k] = std::min(truncated(mean_[k] + 0.5), image->bitsPerSample <= 8 ? 255 : 65535);
  const bool isPlain = std::any_of(level.begin(), level.begin() + std::min(channels, 3), [](int m) { return m < 0; });
  return byWholeSampleType(image->bitsPerSample, [&]<class S>() {
    const auto out = viewOf<S>(*image, channels);
    const auto blank = viewOf<S>(static_cast<const CPxImage&>(blank_), channels);
    isPlain ? correctPlainly(out, blank, level) : correct(out, blank, level);
    return 1;
  });
}
