#include "tests/plain/colour.h"

#include <array>
#include <functional>

#include "tests/plain/twins.h"

namespace rasterkit::plain {
namespace {

using catalogue::Call;
using test::sampleAt;
using test::setSample;

// Checks ----------------------------------------------------------------------------------------------------------

enum class Width { bytes, words, reals };

bool is(const CPxImage& image, COLOR_MODEL model, Width width) {
  const int bits = image.bitsPerSample;
  const bool fits = width == Width::bytes   ? bits <= 8
                    : width == Width::words ? bits > 8 && bits <= 16
                                            : bits > 16 && bits <= 32;
  return image.IsCreated() && image.colorModel == model && fits;
}
bool sameSize(const CPxImage& a, const CPxImage& b) {
  return a.IsCreated() && b.IsCreated() && a.width == b.width && a.height == b.height;
}
bool isColour(const CPxImage& image, Width width = Width::bytes) {
  return is(image, CM_RGB, width) || is(image, CM_RGBA, width);
}
bool isGray(const CPxImage& image, Width width = Width::bytes) {
  return is(image, CM_GRAY, width) || is(image, CM_GRAYA, width);
}

// Pixels ----------------------------------------------------------------------------------------------------------

using Samples = std::array<double, 4>;

Samples pixelAt(const CPxImage& image, int x, int y) {
  Samples samples = {};
  for (int c = 0; c < image.channels; ++c) samples[std::size_t(c)] = sampleAt(image, x, y, c);
  return samples;
}

// f(source pixel, dst pixel as it stands) gives the new dst pixel, where the checks hold.
int eachPixel(bool fits, const CPxImage& source, CPxImage& dst,
              const std::function<void(const Samples&, Samples&)>& f) {
  if (!fits || !sameSize(source, dst)) return 0;
  for (int y = 0; y < dst.height; ++y) {
    for (int x = 0; x < dst.width; ++x) {
      Samples out = pixelAt(dst, x, y);
      f(pixelAt(source, x, y), out);
      for (int c = 0; c < dst.channels; ++c) setSample(dst, x, y, c, out[std::size_t(c)]);
    }
  }
  return 1;
}

ColourTriple colourOf(const Samples& s) { return {int(s[2]), int(s[1]), int(s[0])}; }
void setColour(Samples& s, ColourTriple p) { s[0] = p.blue, s[1] = p.green, s[2] = p.red; }

// The first samples of each pixel, one by one.
int eachSample(bool fits, const CPxImage& source, CPxImage& dst, int count, const std::function<double(int)>& f) {
  return eachPixel(fits, source, dst, [&](const Samples& in, Samples& out) {
    for (int c = 0; c < count; ++c) out[std::size_t(c)] = f(int(in[std::size_t(c)]));
  });
}

int bothChannels(const CPxImage& a, const CPxImage& b) { return std::min(a.channels, b.channels); }

// The widths of a reduced layout, and of how many samples it tells; 0 samples where it is none.
struct Layout {
  int samples = 0;
  int widths[4] = {};
};
Layout layoutOf(const CPxImage& image) {
  const bool alpha = image.colorModel == CM_RGBA;
  const int* own = image.channelBits;
  const int common = image.bitsPerSample;
  switch (own[1]) {
    case 6: return {3, {own[0], own[1], own[2]}};
    default:
      if (common > 5) return {};
      [[fallthrough]];
    case 4:
    case 5:
      if (alpha) return {4, {common, common, common, own[3]}};
      return {3, {own[0], own[1], own[2]}};
  }
}

int throughLayout(const CPxImage& source, CPxImage& dst, const CPxImage& reduced,
                  const std::function<int(int, int)>& value) {
  if (!isColour(source) || !isColour(dst)) return 0;
  const Layout layout = layoutOf(reduced);
  const int used = std::min(layout.samples, bothChannels(source, dst));
  if (used == 0) return 0;
  for (int c = 0; c < used; ++c)
    if (layout.widths[c] < 1 || layout.widths[c] > 8) return 0;
  return eachPixel(true, source, dst, [&](const Samples& in, Samples& out) {
    for (int c = 0; c < used; ++c) out[std::size_t(c)] = value(layout.widths[c], int(in[std::size_t(c)]));
  });
}

int toSpace(const CPxImage& source, CPxImage& dst, COLOR_MODEL model, SpaceTriple (*of)(ColourTriple)) {
  return eachPixel(isColour(source) && is(dst, model, Width::reals), source, dst, [&](const Samples& in, Samples& out) {
    const SpaceTriple p = of(colourOf(in));
    out = {double(p.first), double(p.second), double(p.third)};
  });
}

int fromSpace(const CPxImage& source, CPxImage& dst, COLOR_MODEL model, ColourTriple (*of)(SpaceTriple)) {
  return eachPixel(is(source, model, Width::reals) && isColour(dst), source, dst, [&](const Samples& in, Samples& out) {
    setColour(out, of({float(in[0]), float(in[1]), float(in[2])}));
  });
}

}  // namespace

// Conversions -----------------------------------------------------------------------------------------------------

int rgbToRgba(const CPxImage& source, CPxImage& dst) {
  return eachSample(is(source, CM_RGB, Width::bytes) && is(dst, CM_RGBA, Width::bytes), source, dst, 3,
                    [](int s) { return s; });
}
int rgbaToRgb(const CPxImage& source, CPxImage& dst) {
  return eachSample(is(source, CM_RGBA, Width::bytes) && is(dst, CM_RGB, Width::bytes), source, dst, 3,
                    [](int s) { return s; });
}
int rgbToRgb16(const CPxImage& source, CPxImage& dst) {
  return eachSample(isColour(source) && isColour(dst, Width::words), source, dst, 3,
                    [&](int s) { return s << (dst.bitsPerSample - 8); });
}
int rgb16ToRgb(const CPxImage& source, CPxImage& dst) {
  return eachSample(isColour(source, Width::words) && isColour(dst), source, dst, 3,
                    [&](int s) { return lowBits(s >> (source.bitsPerSample - 8), 8); });
}

int grayToGray16(const CPxImage& source, CPxImage& dst) {
  if (!isGray(dst, Width::words) || !sameSize(source, dst) || source.bitsPerSample > 32) return 0;
  const int shift = dst.bitsPerSample - 8;
  if (is(source, CM_GRAYA, Width::bytes))
    return eachSample(true, source, dst, bothChannels(source, dst), [=](int s) { return s << shift; });
  if (is(source, CM_GRAY, Width::bytes)) return 0;
  const CPxImage before = source;
  for (int y = 0; y < dst.height; ++y)
    for (int x = 0; x < dst.width; ++x)
      setSample(dst, x, y, 0, static_cast<const unsigned char*>(before.Get2DBuffer()[y])[x] << shift);
  return 1;
}
int gray16ToGray(const CPxImage& source, CPxImage& dst) {
  return eachSample(isGray(source, Width::words) && isGray(dst), source, dst, bothChannels(source, dst),
                    [&](int s) { return lowBits(s >> (source.bitsPerSample - 8), 8); });
}

int rgbToRgb2b(const CPxImage& source, CPxImage& dst) {
  return throughLayout(source, dst, dst,
                       [&](int width, int s) { return s >> std::max(source.bitsPerSample - width, 0); });
}
int rgb2bToRgb(const CPxImage& source, CPxImage& dst) {
  return throughLayout(source, dst, source,
                       [](int width, int s) { return lowBits(truncate(s * (1.0 / ((1 << width) - 1)) * 255.0), 8); });
}

int rgbToBitmap(const CPxImage& source, CPxImage& dst, int threshold) {
  return eachPixel(isColour(source) && is(dst, CM_BITMAP, Width::bytes), source, dst,
                   [=](const Samples& in, Samples& out) {
                     out[0] = weightedGrey(colourOf(in), 0.212671f, 0.71516f, 0.072169f, 8) >= threshold;
                   });
}
int grayToBitmap(const CPxImage& source, CPxImage& dst, int threshold) {
  return eachSample(isGray(source) && is(dst, CM_BITMAP, Width::bytes), source, dst, 1,
                    [=](int s) { return s >= threshold; });
}
int gray16ToBitmap(const CPxImage& source, CPxImage& dst, int threshold) {
  return eachSample(isGray(source, Width::words) && is(dst, CM_BITMAP, Width::bytes), source, dst, 1,
                    [=](int s) { return s >= threshold; });
}
int bitmapToRgb(const CPxImage& source, CPxImage& dst) {
  return eachPixel(is(source, CM_BITMAP, Width::bytes) && isColour(dst), source, dst,
                   [](const Samples& in, Samples& out) { out[0] = out[1] = out[2] = in[0] != 0 ? 255 : 0; });
}
int bitmapToGray(const CPxImage& source, CPxImage& dst) {
  return eachSample(is(source, CM_BITMAP, Width::bytes) && isGray(dst), source, dst, 1,
                    [](int s) { return s ? 255 : 0; });
}
int bitmapToGray16(const CPxImage& source, CPxImage& dst) {
  return eachSample(is(source, CM_BITMAP, Width::bytes) && isGray(dst, Width::words), source, dst, 1,
                    [&](int s) { return s ? (1 << dst.bitsPerSample) - 1 : 0; });
}

int indexToRgb(const CPxImage& source, CPxImage& dst) {
  return eachPixel(is(source, CM_INDEX, Width::bytes) && isColour(dst), source, dst,
                   [&](const Samples& in, Samples& out) {
                     const tagRGBA* entry = source.palette.GetPaletteItem(int(in[0]));
                     setColour(out, entry ? ColourTriple{entry->red, entry->green, entry->blue} : ColourTriple{});
                   });
}

int rgbToGray(const CPxImage& source, CPxImage& dst, float red, float green, float blue) {
  return eachPixel(isColour(source) && isGray(dst), source, dst, [&](const Samples& in, Samples& out) {
    out[0] = weightedGrey(colourOf(in), red, green, blue, 8);
    if (source.channels == 4) out[1] = in[3];
  });
}
int rgbToGray16(const CPxImage& source, CPxImage& dst, float red, float green, float blue) {
  return eachPixel(isColour(source) && isGray(dst, Width::words), source, dst, [&](const Samples& in, Samples& out) {
    out[0] = weightedGrey(colourOf(in), red, green, blue, dst.bitsPerSample);
    if (source.channels == 4) out[1] = int(in[3]) << (dst.bitsPerSample - 8);
  });
}

namespace {

void setTints(Samples& out, double n, float red, float green, float blue) {
  auto tint = [n](float weight) { return lowBits(truncate(static_cast<double>(weight) * n + 0.5), 8); };
  setColour(out, {tint(red), tint(green), tint(blue)});
}

}  // namespace

int grayToRgb(const CPxImage& source, CPxImage& dst, float red, float green, float blue) {
  return eachPixel(isGray(source) && isColour(dst), source, dst, [&](const Samples& in, Samples& out) {
    setTints(out, in[0] * (1.0 / ((1 << source.bitsPerSample) - 1)) * 255.0, red, green, blue);
    if (source.channels == 2) out[3] = in[1];
  });
}
int gray16ToRgb(const CPxImage& source, CPxImage& dst, float red, float green, float blue) {
  const int shift = source.bitsPerSample - 8;
  return eachPixel(isGray(source, Width::words) && isColour(dst), source, dst, [&](const Samples& in, Samples& out) {
    setTints(out, int(in[0]) >> shift, red, green, blue);
    if (source.channels == 2) out[3] = lowBits(int(in[1]) >> shift, 8);
  });
}

int rgbToCmyk(const CPxImage& source, CPxImage& dst) {
  return eachPixel(isColour(source) && is(dst, CM_CMYK, Width::bytes), source, dst,
                   [](const Samples& in, Samples& out) {
                     const double cyan = 255 - in[2], magenta = 255 - in[1], yellow = 255 - in[0];
                     const double black = std::min({cyan, magenta, yellow});
                     out = {cyan - black, magenta - black, yellow - black, black};
                   });
}
int cmykToRgb(const CPxImage& source, CPxImage& dst) {
  return eachPixel(is(source, CM_CMYK, Width::bytes) && isColour(dst), source, dst,
                   [](const Samples& in, Samples& out) {
                     auto rest = [&](int c) { return lowBits(255 - int(in[3]) - int(in[std::size_t(c)]), 8); };
                     setColour(out, {rest(0), rest(1), rest(2)});
                   });
}

int rgbToHsi(const CPxImage& source, CPxImage& dst) { return toSpace(source, dst, CM_HSI, hsiOf); }
int hsiToRgb(const CPxImage& source, CPxImage& dst) { return fromSpace(source, dst, CM_HSI, ofHsi); }
int rgbToHsv(const CPxImage& source, CPxImage& dst) { return toSpace(source, dst, CM_HSV, hsvOf); }
int rgbToHls(const CPxImage& source, CPxImage& dst) { return toSpace(source, dst, CM_HLS, hlsOf); }
int hlsToRgb(const CPxImage& source, CPxImage& dst) { return fromSpace(source, dst, CM_HLS, ofHls); }
int rgbToYcbcr(const CPxImage& source, CPxImage& dst) { return toSpace(source, dst, CM_YCbCr, ycbcrOf); }
int ycbcrToRgb(const CPxImage& source, CPxImage& dst) { return fromSpace(source, dst, CM_YCbCr, ofYcbcr); }

int convertToColour(const CPxImage& source, CPxImage& dst) {
  if (!source.IsCreated() || !isColour(dst)) return 0;
  const int bits = source.bitsPerSample;
  const bool alpha = dst.colorModel == CM_RGBA;
  auto assigned = [&] {
    dst = source;
    return 0;
  };
  switch (source.colorModel) {
    case CM_BITMAP: return bitmapToRgb(source, dst);
    case CM_GRAY:
    case CM_GRAYA: return bits <= 8 ? grayToRgb(source, dst, 1, 1, 1) : gray16ToRgb(source, dst, 1, 1, 1);
    case CM_INDEX: return indexToRgb(source, dst);
    case CM_RGB:
      if (bits < 8) return rgb2bToRgb(source, dst);
      if (bits == 8) return alpha ? rgbToRgba(source, dst) : assigned();
      return rgb16ToRgb(source, dst);
    case CM_RGBA:
      if (bits < 8) return rgb2bToRgb(source, dst);
      if (!alpha) return rgbaToRgb(source, dst);
      return bits == 8 ? assigned() : rgb16ToRgb(source, dst);
    case CM_CMYK: return cmykToRgb(source, dst);
    case CM_HSI: return hsiToRgb(source, dst);
    case CM_HLS: return hlsToRgb(source, dst);
    case CM_YCbCr: return ycbcrToRgb(source, dst);
    default: return 0;
  }
}

// In place --------------------------------------------------------------------------------------------------------

int hsiAdjust(CPxImage& image, float hue, float saturation, float intensity) {
  eachPixel(isColour(image), image, image, [=](const Samples& in, Samples& out) {
    SpaceTriple p = hsiOf(colourOf(in));
    p = {p.first + hue, p.second + saturation, p.third + intensity};
    setColour(out, ofHsi(p));
  });
  return 0;
}

namespace {

// 8 or 16 bits in models of whole numbers, floats in the others.
bool holdsItsKind(const CPxImage& image) {
  switch (image.colorModel) {
    case CM_BITMAP:
    case CM_GRAY:
    case CM_GRAYA:
    case CM_RGB:
    case CM_RGBA:
    case CM_CMYK: return image.bitsPerSample <= 16;
    default: return image.bitsPerSample > 16 && image.bitsPerSample <= 32;
  }
}

}  // namespace

int invert(CPxImage& image, int selection) {
  if (!image.IsCreated()) return 0;
  if (image.colorModel == CM_INDEX) {
    for (int i = 0; i < image.palette.GetPaletteNum(); ++i) {
      tagRGBA& entry = *image.palette.GetPaletteItem(i);
      entry = {static_cast<unsigned char>(255 - entry.blue), static_cast<unsigned char>(255 - entry.green),
               static_cast<unsigned char>(255 - entry.red), entry.reserved};
    }
    return 0;
  }
  if (!holdsItsKind(image)) return 0;
  if (image.channels == 1) selection = 0;
  if (selection < 0 || selection > image.channels) return 0;
  const int bits = image.bitsPerSample;
  eachPixel(true, image, image, [&](const Samples& in, Samples& out) {
    for (int c = 0; c < image.channels; ++c) {
      if (selection != 0 && selection - 1 != c) continue;
      const double s = in[std::size_t(c)];
      out[std::size_t(c)] = bits > 16 ? 1.0 - s : lowBits((1 << bits) - 1 - int(s), bits <= 8 ? 8 : 16);
    }
  });
  return image.colorModel == CM_GRAYA && selection == 2 ? 0 : 1;
}

int replaceColor(CPxImage& image, tagPXG4 find, tagPXG4 write) {
  if (!image.IsCreated()) return 0;
  if (image.colorModel == CM_INDEX) {
    for (int i = 0; i < image.palette.GetPaletteNum(); ++i) {
      tagRGBA& entry = *image.palette.GetPaletteItem(i);
      if (entry.red == find.sample[0] && entry.green == find.sample[1] && entry.blue == find.sample[2])
        entry = {write.sample[2], write.sample[1], write.sample[0], entry.reserved};
    }
    return 0;
  }
  if (!holdsItsKind(image) || image.colorModel == CM_LOGL) return 0;
  return eachPixel(true, image, image, [&](const Samples& in, Samples& out) {
    bool equal = true;
    for (int c = 0; c < image.channels; ++c) equal = equal && in[std::size_t(c)] == find.sample[c];
    for (int c = 0; c < image.channels && equal; ++c) out[std::size_t(c)] = write.sample[c];
  });
}

// Steps of the catalogue ------------------------------------------------------------------------------------------

namespace {

int copyAll(const CPxImage& source, CPxImage& dst) {
  dst = source;
  return 1;
}

// A step that no library conversion serves: the samples of images of more than 8 bits, grey for every colour.
int copyWords(const CPxImage& source, CPxImage& dst) {
  if (source.colorModel == dst.colorModel) return copyAll(source, dst);
  return eachPixel(true, source, dst, [&](const Samples& in, Samples& out) {
    const bool colour = source.channels >= 3;
    for (std::size_t c = 0; c < (dst.channels >= 3 ? 3u : 1u); ++c) out[c] = in[colour ? c : 0];
    if (source.channels % 2 == 0 && dst.channels % 2 == 0)
      out[std::size_t(dst.channels - 1)] = in[std::size_t(source.channels - 1)];
  });
}

// The source as 8-bit RGB; as RGBA, opaque to begin with, where dst has alpha. Empty where nothing leads there.
CPxImage asColour(const CPxImage& source, const CPxImage& dst) {
  if (isColour(source) && source.bitsPerSample == 8) return source;
  const bool alpha = dst.channels % 2 == 0 && dst.colorModel != CM_CMYK;
  CPxImage colour(alpha ? CM_RGBA : CM_RGB, 8, source.width, source.height);
  for (int y = 0; alpha && y < colour.height; ++y)
    for (int x = 0; x < colour.width; ++x) setSample(colour, x, y, 3, 255);
  const bool deepAlpha = is(source, CM_RGBA, Width::words);
  return (deepAlpha ? rgb16ToRgb(source, colour) : convertToColour(source, colour)) ? colour : CPxImage();
}

int toColour(Call& c) {
  if (is(c.source(), CM_RGBA, Width::words)) return rgb16ToRgb(c.source(), c.dst());
  return convertToColour(c.source(), c.dst());
}

int toGray(Call& c) {
  if (is(c.source(), CM_BITMAP, Width::bytes)) return bitmapToGray(c.source(), c.dst());
  if (isGray(c.source(), Width::words)) return gray16ToGray(c.source(), c.dst());
  return rgbToGray(asColour(c.source(), c.dst()), c.dst(), c.single("red"), c.single("green"), c.single("blue"));
}

int toGray16(Call& c) {
  if (is(c.source(), CM_BITMAP, Width::bytes)) return bitmapToGray16(c.source(), c.dst());
  if (is(c.source(), CM_GRAYA, Width::bytes)) return grayToGray16(c.source(), c.dst());
  if (isGray(c.source(), Width::words)) return copyWords(c.source(), c.dst());
  return rgbToGray16(asColour(c.source(), c.dst()), c.dst(), c.single("red"), c.single("green"), c.single("blue"));
}

int toRgb16(Call& c) {
  if (isGray(c.source(), Width::words) || isColour(c.source(), Width::words)) return copyWords(c.source(), c.dst());
  return rgbToRgb16(asColour(c.source(), c.dst()), c.dst());
}

int toBitmap(Call& c) {
  const bool words = isGray(c.source(), Width::words);
  const int level = c.has("level") ? c.integer("level") : words ? 1 << (c.source().bitsPerSample - 1) : 128;
  if (is(c.source(), CM_BITMAP, Width::bytes)) return copyAll(c.source(), c.dst());
  if (isGray(c.source())) return grayToBitmap(c.source(), c.dst(), level);
  if (words) return gray16ToBitmap(c.source(), c.dst(), level);
  return rgbToBitmap(asColour(c.source(), c.dst()), c.dst(), level);
}

int toReduced(Call& c) { return rgbToRgb2b(asColour(c.source(), c.dst()), c.dst()); }

Twin toModel(COLOR_MODEL model, Width width, int (*convert)(const CPxImage&, CPxImage&)) {
  return [=](Call& c) {
    if (is(c.source(), model, width)) return copyAll(c.source(), c.dst());
    return convert(asColour(c.source(), c.dst()), c.dst());
  };
}

unsigned char byteOf(const Call& c, const std::string& name, int channel) {
  const std::string own = name + (channel > 0 ? std::to_string(channel + 1) : "");
  return static_cast<unsigned char>(c.integer(c.has(own) ? own : name));
}

int replaceStep(Call& c) {
  tagPXG4 find, write;
  for (int k = 0; k < 4; ++k) find.sample[k] = byteOf(c, "find", k), write.sample[k] = byteOf(c, "write", k);
  return replaceColor(c.dst(), find, write);
}

}  // namespace

Twins colourTwins() {
  return {
      {"rgb", toColour},
      {"rgba", toColour},
      {"gray", toGray},
      {"graya", toGray},
      {"gray16", toGray16},
      {"graya16", toGray16},
      {"rgb16", toRgb16},
      {"rgba16", toRgb16},
      {"bitmap", toBitmap},
      {"reduce", toReduced},
      {"cmyk", toModel(CM_CMYK, Width::bytes, rgbToCmyk)},
      {"hsi", toModel(CM_HSI, Width::reals, rgbToHsi)},
      {"hsv", toModel(CM_HSV, Width::reals, rgbToHsv)},
      {"hls", toModel(CM_HLS, Width::reals, rgbToHls)},
      {"ycbcr", toModel(CM_YCbCr, Width::reals, rgbToYcbcr)},
      {"hsiadjust",
       [](Call& c) { return hsiAdjust(c.dst(), c.single("hue"), c.single("saturation"), c.single("intensity")); }},
      {"invert", [](Call& c) { return invert(c.dst(), c.integer("channel")); }},
      {"replace", replaceStep},
  };
}

}  // namespace rasterkit::plain
