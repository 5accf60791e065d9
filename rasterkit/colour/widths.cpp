// Copies of samples and changes of their width.

#include <rasterkit/colour/colour.h>

#include "rasterkit/colour/conversion.h"
#include "rasterkit/core/copy_kernels.h"
#include "rasterkit/core/copy_rows.h"

#include <algorithm>
#include <array>
#include <vector>

namespace rasterkit {
namespace {

// B, G and R between colour images; alpha is never carried over.
Steps colourSteps(const CPxImage& source, const CPxImage& dst) { return {channelsOf(source), channelsOf(dst), 3}; }

// Grey, and alpha where both have it.
Steps greySteps(int from, int to) { return {from, to, std::min(from, to)}; }

// eachRow where the conversion costs less than its memory. A large image whose every sample is written is made in
// pieces that are then written past the caches, so that its lines need not be fetched first.
template <class In, class Out, class Row>
int eachSampleRow(const CPxImage& source, CPxImage& dst, Steps steps, Row row) {
  if (steps.used != steps.out || static_cast<std::size_t>(dst.bufferSize) < kKeptByCaches)
    return eachRow<In, Out>(source, dst, row);
  const CopyKernels& copy = kernels<CopyKernels>();
  alignas(64) std::array<Out, kBlock * 4> piece;
  const auto in = static_cast<std::size_t>(steps.in), out = static_cast<std::size_t>(steps.out);
  eachRow<In, Out>(source, dst, [&](auto from, auto to, auto n) {
    inBlocks(n, [&](std::size_t first, std::size_t count) {
      row(from + first * in, piece.data(), count);
      copy.streamRow(reinterpret_cast<std::uint8_t*>(to + first * out),
                     reinterpret_cast<const std::uint8_t*>(piece.data()), count * out * sizeof(Out));
    });
  });
  copy.settle();
  return 1;
}

int moveColour(const CPxImage& source, CPxImage& dst) {
  const auto move = kernels<ColourKernels>().move;
  const Steps steps = colourSteps(source, dst);
  return eachSampleRow<std::uint8_t, std::uint8_t>(source, dst, steps,
                                                   [=](auto in, auto out, auto n) { move(in, out, steps, n); });
}

int widenRows(const CPxImage& source, CPxImage& dst, Steps steps) {
  const auto widen = kernels<ColourKernels>().widen;
  const int shift = dst.bitsPerSample - 8;
  return eachSampleRow<std::uint8_t, std::uint16_t>(
      source, dst, steps, [=](auto in, auto out, auto n) { widen(in, out, steps, shift, n); });
}

int narrowRows(const CPxImage& source, CPxImage& dst, Steps steps) {
  const auto narrow = kernels<ColourKernels>().narrow;
  const int shift = source.bitsPerSample - 8;
  return eachSampleRow<std::uint16_t, std::uint8_t>(
      source, dst, steps, [=](auto in, auto out, auto n) { narrow(in, out, steps, shift, n); });
}

// The bytes that begin each row of an image of any kind as one sample a pixel.
int widenBytes(const CPxImage& source, CPxImage& dst) {
  const auto widen = kernels<ColourKernels>().widen;
  const int shift = dst.bitsPerSample - 8;
  const Steps steps = {1, channelsOf(dst), 1};
  std::vector<std::uint8_t> kept(&source == &dst ? static_cast<std::size_t>(source.width) : 0);
  return eachRow<std::uint8_t, std::uint16_t>(source, dst, [&](auto in, auto out, auto n) {
    if (!kept.empty()) in = std::copy_n(in, n, kept.data()) - n;
    widen(in, out, steps, shift, n);
  });
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxColorProcessing::RGBtoRGBA(const CPxImage* source, CPxImage* dst) {
  return convertible(source, {PXISRGB}, dst, {PXISRGBA}) ? moveColour(*source, *dst) : 0;
}

int CPxColorProcessing::RGBAtoRGB(const CPxImage* source, CPxImage* dst) {
  return convertible(source, {PXISRGBA}, dst, {PXISRGB}) ? moveColour(*source, *dst) : 0;
}

int CPxColorProcessing::RGBtoRGB16(const CPxImage* source, CPxImage* dst) {
  return convertible(source, kColour, dst, kColour16) ? widenRows(*source, *dst, colourSteps(*source, *dst)) : 0;
}

int CPxColorProcessing::RGB16toRGB(const CPxImage* source, CPxImage* dst) {
  return convertible(source, kColour16, dst, kColour) ? narrowRows(*source, *dst, colourSteps(*source, *dst)) : 0;
}

int CPxColorProcessing::GraytoGray16(const CPxImage* source, CPxImage* dst) {
  if (convertible(source, {PXISGRAYA}, dst, kGrey16)) return widenRows(*source, *dst, greySteps(2, channelsOf(*dst)));
  if (!PXCOMPARE_SIZE(source, dst) || PXISGRAY(source) || sampleClass(source->bitsPerSample) == SampleClass::none ||
      !Storage::holdsItsPixels(*source) || !Storage::rowsHold(*source, 1) || !isOneOf(dst, kGrey16))
    return 0;
  return PXISGRAYA(source) ? 0 : widenBytes(*source, *dst);
}

int CPxColorProcessing::Gray16toGray(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, kGrey16, dst, kGrey)) return 0;
  return narrowRows(*source, *dst, greySteps(channelsOf(*source), channelsOf(*dst)));
}
