// Inversion and replacement of a colour, in place.

#include <rasterkit/colour/colour.h>

#include "rasterkit/colour/conversion.h"
#include "rasterkit/core/numbers.h"

#include <algorithm>
#include <array>
#include <type_traits>

namespace rasterkit {
namespace {

// The models whose samples the two operations process, and as what.
enum class Content { none, whole, real, palette };

Content contentOf(const CPxImage& image) {
  const SampleClass samples = sampleClass(image.bitsPerSample);
  const bool real = samples == SampleClass::real;
  switch (image.colorModel) {
    case CM_INDEX: return Content::palette;
    case CM_BITMAP:
    case CM_GRAY:
    case CM_GRAYA:
    case CM_RGB:
    case CM_RGBA:
    case CM_CMYK: return samples == SampleClass::byte || samples == SampleClass::word ? Content::whole : Content::none;
    case CM_LOGL: return real ? Content::real : Content::none;
    default: return image.colorModel >= CM_HSI && image.colorModel <= CM_LOGLUV && real ? Content::real : Content::none;
  }
}

// The image where it is created and its rows hold its pixels, else null.
CPxImage* usable(CPxImage* image) {
  return image && Storage::holdsItsPixels(*image) && Storage::rowsHold(*image, channelsOf(*image)) ? image : nullptr;
}

// row(S*, pixels) for every row.
template <class S, class Row>
void eachRowOf(CPxImage& image, Row row) {
  const View<S> rows = viewOf<S>(image, channelsOf(image));
  for (int y = 0; y < rows.height; ++y) row(rows.row(y), static_cast<std::size_t>(rows.width));
}

template <class S>
void invertRows(CPxImage& image, int selection) {
  const auto& table = kernels<ColourKernels>();
  const int channels = channelsOf(image), channel = selection - 1;
  const int most = greatestSample(image.bitsPerSample);
  eachRowOf<S>(image, [&](S* row, std::size_t n) {
    const std::size_t samples = n * static_cast<std::size_t>(channels);
    if constexpr (std::is_same_v<S, std::uint8_t>)
      selection == 0 ? table.invert8(row, most, samples) : table.invertOne8(row, channels, channel, most, n);
    if constexpr (std::is_same_v<S, std::uint16_t>)
      selection == 0 ? table.invert16(row, most, samples) : table.invertOne16(row, channels, channel, most, n);
    if constexpr (std::is_same_v<S, float>)
      selection == 0 ? table.invertReal(row, samples) : table.invertOneReal(row, channels, channel, n);
  });
}

template <class S>
void replaceRows(CPxImage& image, const tagPXG4& from, const tagPXG4& to) {
  const auto& table = kernels<ColourKernels>();
  const int channels = channelsOf(image);
  std::array<S, 4> find, write;
  std::ranges::copy(from.sample, find.begin());
  std::ranges::copy(to.sample, write.begin());
  eachRowOf<S>(image, [&](S* row, std::size_t n) {
    if constexpr (std::is_same_v<S, std::uint8_t>) table.replace8(row, channels, find.data(), write.data(), n);
    if constexpr (std::is_same_v<S, std::uint16_t>) table.replace16(row, channels, find.data(), write.data(), n);
    if constexpr (std::is_same_v<S, float>) table.replaceReal(row, find.data(), write.data(), n);
  });
}

// f for each entry; 0, which tells the caller that no pixel changed.
template <class F>
int eachEntry(CPxPalette& palette, F f) {
  for (int i = 0; i < palette.GetPaletteNum(); ++i) f(*palette.GetPaletteItem(i));
  return 0;
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxColorProcessing::Invert(int selection) {
  CPxImage* const image = usable(GetImage());
  if (!image) return 0;
  const Content content = contentOf(*image);
  if (content == Content::none) return 0;
  if (content == Content::palette)
    return eachEntry(image->palette, [](tagRGBA& entry) {
      entry.blue = static_cast<unsigned char>(255 - entry.blue);
      entry.green = static_cast<unsigned char>(255 - entry.green);
      entry.red = static_cast<unsigned char>(255 - entry.red);
    });

  const int channels = channelsOf(*image);
  if (channels == 1) selection = 0;
  if (selection < 0 || selection > channels) return 0;
  bySampleType(image->bitsPerSample, [&]<class S>() {
    invertRows<S>(*image, selection);
    return 1;
  });
  return image->colorModel == CM_GRAYA && selection == 2 ? 0 : 1;
}

int CPxColorProcessing::ReplaceColor(tagPXG4 find, tagPXG4 write) {
  CPxImage* const image = usable(GetImage());
  if (!image) return 0;
  const Content content = contentOf(*image);
  if (content == Content::none || image->colorModel == CM_LOGL) return 0;
  if (content == Content::palette)
    return eachEntry(image->palette, [&](tagRGBA& entry) {
      if (entry.red != find.sample[0] || entry.green != find.sample[1] || entry.blue != find.sample[2]) return;
      entry.red = write.sample[0];
      entry.green = write.sample[1];
      entry.blue = write.sample[2];
    });

  return bySampleType(image->bitsPerSample, [&]<class S>() {
    replaceRows<S>(*image, find, write);
    return 1;
  });
}
