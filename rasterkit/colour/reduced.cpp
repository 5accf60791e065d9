// Reduced-bit layouts: one byte a sample, of which fewer bits are used.

#include <rasterkit/colour/colour.h>

#include "rasterkit/colour/conversion.h"
#include "rasterkit/core/numbers.h"

#include <algorithm>
#include <array>
#include <optional>

namespace rasterkit {
namespace {

// How many bits each sample of a pixel uses, B, G, R, A, and of how many samples the layout tells.
struct Layout {
  std::array<int, 4> widths;
  int samples;
};

std::optional<Layout> layoutOf(const CPxImage& image) {
  const int* const own = image.channelBits;
  const int common = image.bitsPerSample;
  const int green = own[1];
  if ((green < 4 || green > 6) && common > 5) return {};
  if (image.colorModel == CM_RGB || green == 6) return Layout{{own[0], own[1], own[2], 0}, 3};
  return Layout{{common, common, common, own[3]}, 4};
}

using Tables = std::array<std::array<std::uint8_t, 256>, 4>;

// Takes the samples that both images have through a table each; value(width, sample) fills them. 0 where a width among
// them is none.
template <class Value>
int lookUpRows(const CPxImage& source, CPxImage& dst, const std::optional<Layout>& layout, Value value) {
  if (!layout) return 0;
  const int from = channelsOf(source), to = channelsOf(dst);
  const Steps steps = {from, to, std::min({from, to, layout->samples})};
  Tables tables;
  for (int c = 0; c < steps.used; ++c) {
    const int width = layout->widths[static_cast<std::size_t>(c)];
    if (width < 1 || width > 8) return 0;
    for (int sample = 0; sample < 256; ++sample)
      tables[static_cast<std::size_t>(c)][static_cast<std::size_t>(sample)] = value(width, sample);
  }
  const auto lookUp = kernels<ColourKernels>().lookUp;
  return eachRow<std::uint8_t, std::uint8_t>(source, dst, [&](auto in, auto out, auto n) {
    lookUp(in, out, steps, reinterpret_cast<const std::uint8_t(*)[256]>(tables.data()), n);
  });
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxColorProcessing::RGBtoRGB2B(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, kColour, dst, kColour)) return 0;
  const int bits = source->bitsPerSample;
  return lookUpRows(*source, *dst, layoutOf(*dst), [=](int width, int sample) {
    return static_cast<std::uint8_t>(sample >> std::max(bits - width, 0));
  });
}

int CPxColorProcessing::RGB2BtoRGB(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, kColour, dst, kColour)) return 0;
  return lookUpRows(*source, *dst, layoutOf(*source), [](int width, int sample) {
    return lowByte(truncated(sample * (1.0 / greatestSample(width)) * 255.0));
  });
}
