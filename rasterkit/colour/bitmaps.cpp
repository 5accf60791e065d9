// Bitmaps, thresholds and palettes.

#include <rasterkit/colour/colour.h>

#include "rasterkit/colour/conversion.h"
#include "rasterkit/colour/grey_weights.h"
#include "rasterkit/core/numbers.h"

#include <algorithm>
#include <array>
#include <limits>

namespace rasterkit {
namespace {

// A level that a sample of S can have, and what a sample that reaches it becomes: no sample reaches a level above them
// all, every one reaches a level below them all.
template <class S>
struct Level {
  explicit Level(int threshold)
      : level(static_cast<S>(std::clamp<int>(threshold, 0, std::numeric_limits<S>::max()))),
        set(threshold <= std::numeric_limits<S>::max()) {}
  S level;
  std::uint8_t set;
};

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxColorProcessing::RGBtoBitmap(const CPxImage* source, CPxImage* dst, int threshold) {
  if (!convertible(source, kColour, dst, kBitmap)) return 0;
  const auto& table = kernels<ColourKernels>();
  const GreyWeights weights = greyWeights(0.212671F, 0.71516F, 0.072169F, 8);
  const Level<std::uint8_t> reached(threshold);
  const int channels = channelsOf(*source);
  return eachRow<std::uint8_t, std::uint8_t>(*source, *dst, [&](auto in, auto out, auto n) {
    std::array<std::uint8_t, kBlock> grey;
    inBlocks(n, [&](std::size_t first, std::size_t count) {
      table.weigh8(in + first * static_cast<std::size_t>(channels), channels, grey.data(), weights, count);
      table.reach8(grey.data(), out + first, {1, 1, 1}, reached.level, reached.set, count);
    });
  });
}

int CPxColorProcessing::GraytoBitmap(const CPxImage* source, CPxImage* dst, int threshold) {
  if (!convertible(source, kGrey, dst, kBitmap)) return 0;
  const auto reach = kernels<ColourKernels>().reach8;
  const Level<std::uint8_t> reached(threshold);
  const Steps steps = {channelsOf(*source), 1, 1};
  return eachRow<std::uint8_t, std::uint8_t>(
      *source, *dst, [=](auto in, auto out, auto n) { reach(in, out, steps, reached.level, reached.set, n); });
}

int CPxColorProcessing::Gray16toBitmap(const CPxImage* source, CPxImage* dst, int threshold) {
  if (!convertible(source, kGrey16, dst, kBitmap)) return 0;
  const auto reach = kernels<ColourKernels>().reach16;
  const Level<std::uint16_t> reached(threshold);
  const Steps steps = {channelsOf(*source), 1, 1};
  return eachRow<std::uint16_t, std::uint8_t>(
      *source, *dst, [=](auto in, auto out, auto n) { reach(in, out, steps, reached.level, reached.set, n); });
}

int CPxColorProcessing::BitmaptoRGB(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, kBitmap, dst, kColour)) return 0;
  const auto& table = kernels<ColourKernels>();
  const int channels = channelsOf(*dst);
  return eachRow<std::uint8_t, std::uint8_t>(*source, *dst, [&](auto in, auto out, auto n) {
    std::array<std::uint8_t, kBlock> white;
    inBlocks(n, [&](std::size_t first, std::size_t count) {
      table.whiten8(in + first, white.data(), {1, 1, 1}, 255, count);
      table.spread(white.data(), out + first * static_cast<std::size_t>(channels), channels, count);
    });
  });
}

int CPxColorProcessing::BitmaptoGray(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, kBitmap, dst, kGrey)) return 0;
  const auto whiten = kernels<ColourKernels>().whiten8;
  const Steps steps = {1, channelsOf(*dst), 1};
  return eachRow<std::uint8_t, std::uint8_t>(*source, *dst,
                                             [=](auto in, auto out, auto n) { whiten(in, out, steps, 255, n); });
}

int CPxColorProcessing::BitmaptoGray16(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, kBitmap, dst, kGrey16)) return 0;
  const auto whiten = kernels<ColourKernels>().whiten16;
  const Steps steps = {1, channelsOf(*dst), 1};
  const std::uint16_t white = lowWord(greatestSample(dst->bitsPerSample));
  return eachRow<std::uint8_t, std::uint16_t>(*source, *dst,
                                              [=](auto in, auto out, auto n) { whiten(in, out, steps, white, n); });
}

int CPxColorProcessing::RGBtoIndex(const CPxImage*, CPxImage*) { return 0; }

int CPxColorProcessing::IndextoRGB(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, {PXISINDEX}, dst, kColour)) return 0;
  std::array<std::uint32_t, 256> colours = {};
  for (int i = 0; i < std::min(source->palette.GetPaletteNum(), 256); ++i) {
    const tagRGBA& entry = *source->palette.GetPaletteItem(i);
    colours[static_cast<std::size_t>(i)] =
        entry.blue | std::uint32_t{entry.green} << 8 | std::uint32_t{entry.red} << 16;
  }
  const auto paint = kernels<ColourKernels>().paint;
  const int channels = channelsOf(*dst);
  return eachRow<std::uint8_t, std::uint8_t>(
      *source, *dst, [&](auto in, auto out, auto n) { paint(in, out, channels, colours.data(), n); });
}
