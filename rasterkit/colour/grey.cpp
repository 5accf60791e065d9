// Grey with weights.

#include <rasterkit/colour/colour.h>

#include "rasterkit/colour/conversion.h"
#include "rasterkit/colour/grey_weights.h"
#include "rasterkit/core/numbers.h"

#include <array>

namespace rasterkit {

GreyWeights greyWeights(float red, float green, float blue, int bits) {
  GreyWeights weights = {{blue, green, red}, true, {}, {}, bits - 8, greatestSample(bits)};
  for (int c = 0; c < 3; ++c) {
    const double scaled = weights.weight[c] * 0x1p30;
    weights.whole = weights.whole && scaled >= 0 && scaled <= 0x1p30 && scaled == truncated(scaled);
    if (!weights.whole) break;
    weights.high[c] = truncated(scaled) >> 15;
    weights.low[c] = truncated(scaled) & 0x7FFF;
  }
  return weights;
}

namespace {

// One grey of S a pixel, into every channels-th sample of out.
template <class S, class Weigh>
void weighRow(Weigh weigh, const std::uint8_t* in, int inChannels, S* out, int channels, const GreyWeights& weights,
              std::size_t n) {
  if (channels == 1) return weigh(in, inChannels, out, weights, n);
  std::array<S, kBlock> grey;
  inBlocks(n, [&](std::size_t first, std::size_t count) {
    weigh(in + first * static_cast<std::size_t>(inChannels), inChannels, grey.data(), weights, count);
    for (std::size_t i = 0; i < count; ++i) out[(first + i) * static_cast<std::size_t>(channels)] = grey[i];
  });
}

// What each 8-bit value of so many bits becomes with a weight.
void fillTints(std::uint8_t* table, float weight, int bits) {
  const double inverse = 1.0 / greatestSample(bits);
  for (int grey = 0; grey < 256; ++grey)
    table[grey] = lowByte(truncated(double{weight} * (grey * inverse * 255.0) + 0.5));
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxColorProcessing::RGBtoGray(const CPxImage* source, CPxImage* dst, float red, float green, float blue) {
  if (!convertible(source, kColour, dst, kGrey)) return 0;
  const auto& table = kernels<ColourKernels>();
  const GreyWeights weights = greyWeights(red, green, blue, 8);
  const int from = channelsOf(*source), to = channelsOf(*dst);
  return eachRow<std::uint8_t, std::uint8_t>(*source, *dst, [&](auto in, auto out, auto n) {
    weighRow(table.weigh8, in, from, out, to, weights, n);
    if (from == 4 && to == 2) table.move(in + 3, out + 1, {4, 2, 1}, n);
  });
}

int CPxColorProcessing::RGBtoGray16(const CPxImage* source, CPxImage* dst, float red, float green, float blue) {
  if (!convertible(source, kColour, dst, kGrey16)) return 0;
  const auto& table = kernels<ColourKernels>();
  const GreyWeights weights = greyWeights(red, green, blue, dst->bitsPerSample);
  const int from = channelsOf(*source), to = channelsOf(*dst);
  return eachRow<std::uint8_t, std::uint16_t>(*source, *dst, [&](auto in, auto out, auto n) {
    weighRow(table.weigh16, in, from, out, to, weights, n);
    if (from == 4 && to == 2) table.widen(in + 3, out + 1, {4, 2, 1}, weights.shift, n);
  });
}

int CPxColorProcessing::GraytoRGB(const CPxImage* source, CPxImage* dst, float red, float green, float blue) {
  if (!convertible(source, kGrey, dst, kColour)) return 0;
  std::array<std::array<std::uint8_t, 256>, 3> tints;
  fillTints(tints[0].data(), blue, source->bitsPerSample);
  fillTints(tints[1].data(), green, source->bitsPerSample);
  fillTints(tints[2].data(), red, source->bitsPerSample);
  std::array<std::uint32_t, 256> colours;
  bool plain = true;
  for (std::uint32_t i = 0; i < 256; ++i) {
    colours[i] = tints[0][i] | std::uint32_t{tints[1][i]} << 8 | std::uint32_t{tints[2][i]} << 16;
    plain = plain && colours[i] == i * 0x010101;
  }
  const auto& table = kernels<ColourKernels>();
  const int from = channelsOf(*source), to = channelsOf(*dst);
  return eachRow<std::uint8_t, std::uint8_t>(*source, *dst, [&](auto in, auto out, auto n) {
    if (plain && from == 1) return table.spread(in, out, to, n);
    std::array<std::uint8_t, kBlock> grey;
    inBlocks(n, [&](std::size_t first, std::size_t count) {
      const std::uint8_t* greys = in + first * static_cast<std::size_t>(from);
      std::uint8_t* const pixels = out + first * static_cast<std::size_t>(to);
      if (from == 2) {
        table.move(greys, grey.data(), {2, 1, 1}, count);
        greys = grey.data();
      }
      plain ? table.spread(greys, pixels, to, count) : table.paint(greys, pixels, to, colours.data(), count);
    });
    if (from == 2 && to == 4) table.move(in + 1, out + 3, {2, 4, 1}, n);
  });
}

int CPxColorProcessing::Gray16toRGB(const CPxImage* source, CPxImage* dst, float red, float green, float blue) {
  if (!convertible(source, kGrey16, dst, kColour)) return 0;
  const auto& table = kernels<ColourKernels>();
  const double weights[] = {blue, green, red};
  const bool plain = red == 1 && green == 1 && blue == 1;
  const int shift = source->bitsPerSample - 8;
  const int from = channelsOf(*source), to = channelsOf(*dst);
  return eachRow<std::uint16_t, std::uint8_t>(*source, *dst, [&](auto in, auto out, auto n) {
    std::array<std::uint8_t, kBlock> grey;
    inBlocks(n, [&](std::size_t first, std::size_t count) {
      const std::uint16_t* const greys = in + first * static_cast<std::size_t>(from);
      std::uint8_t* const pixels = out + first * static_cast<std::size_t>(to);
      if (!plain) return table.tint(greys, from, pixels, to, shift, weights, count);
      table.narrow(greys, grey.data(), {from, 1, 1}, shift, count);
      table.spread(grey.data(), pixels, to, count);
    });
    if (from == 2 && to == 4) table.narrow(in + 1, out + 3, {2, 4, 1}, shift, n);
  });
}
