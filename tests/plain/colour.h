#pragma once
/// Slow twins of the colour conversions beyond what the catalogue's steps reach: one function for each conversion, and
/// the formulas of one pixel, branch by branch as they are stated.

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <rasterkit/core/image.h>

namespace rasterkit::plain {

// Numbers ---------------------------------------------------------------------------------------------------------

inline std::int32_t truncate(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value) : INT32_MIN;
}
inline int lowBits(std::int32_t value, int bits) {
  return static_cast<int>(static_cast<std::uint32_t>(value) & ((1u << bits) - 1));
}

// One pixel -------------------------------------------------------------------------------------------------------

struct SpaceTriple {
  float first, second, third;
};
struct ColourTriple {
  int red, green, blue;
  friend bool operator==(const ColourTriple&, const ColourTriple&) = default;
};

inline SpaceTriple hsiOf(ColourTriple p) {
  const float mx = static_cast<float>(std::max(p.red, p.green)), mn = static_cast<float>(std::min(p.red, p.green));
  const float r = static_cast<float>(p.red), g = static_cast<float>(p.green), b = static_cast<float>(p.blue);
  const float intensity = (mx + mn) * 0.0019607844f;
  if (mx == mn) return {0, 0, intensity};
  const float d = mx - mn;
  const float saturation = intensity <= 0.5f ? d / (mx + mn) : d / (510.0f - (mx + mn));
  const float rc = (mx - r) / d, gc = (mx - g) / d, bc = (mx - b) / d;
  float hue = 0;
  if (r == mx) hue = (bc + 6.0f - gc) * 60.0f;
  if (g == mx) hue = (rc + 2.0f - bc) * 60.0f;
  if (b == mx) hue = (gc + 4.0f - rc) * 60.0f;
  if (hue > 360.0f) hue -= 360.0f;
  return {hue, saturation, intensity};
}

inline int valueOf(float m1, float m2, float hue) {
  if (hue > 360.0f)
    hue -= 360.0f;
  else if (hue < 0.0f)
    hue += 360.0f;
  float value;
  if (hue < 60.0f)
    value = (m1 + (m2 - m1) * hue * 0.016666668f) * 255.0f;
  else if (hue < 180.0f)
    value = m2 * 255.0f;
  else if (hue < 240.0f)
    value = (m1 + (m2 - m1) * (240.0f - hue) * 0.016666668f) * 255.0f;
  else
    value = m1 * 255.0f;
  return lowBits(truncate(static_cast<double>(value)), 8);
}

/// Of hue, lightness and saturation.
inline ColourTriple ofHls(float hue, float lightness, float saturation) {
  if (saturation == 0.0f) {
    const int grey = lowBits(truncate(static_cast<double>(lightness * 255.0f)), 8);
    return {grey, grey, grey};
  }
  float m2;
  if (lightness <= 0.5f)
    m2 = lightness * (1.0f + saturation);
  else
    m2 = lightness + saturation - lightness * saturation;
  const float m1 = 2.0f * lightness - m2;
  return {valueOf(m1, m2, hue + 120.0f), valueOf(m1, m2, hue), valueOf(m1, m2, hue - 120.0f)};
}

inline ColourTriple ofHsi(SpaceTriple p) {
  for (float* value : {&p.third, &p.second}) {
    if (*value > 1.0f)
      *value = 0.99f;
    else if (*value < 0.0f)
      *value = 0.0f;
  }
  return ofHls(p.first, p.third, p.second);
}

inline ColourTriple ofHls(SpaceTriple p) { return ofHls(p.first, p.second, p.third); }

inline SpaceTriple hsvOf(ColourTriple p) {
  const double unit = 0.00392156862745098;
  const double r = p.red * unit, g = p.green * unit, b = p.blue * unit;
  const double mn = std::min(r, g), mx = std::max(r, g);
  const float value = static_cast<float>((mx + mn) * 0.5);
  if (r == g && g == b) return {0, 0, value};
  const double saturation = 1 - mn * 3 / (r + g + b);
  const float cosine = static_cast<float>((r - g / 2 - b / 2) / std::sqrt((r - g) * (r - g) + (r - b) * (g - b)));
  return {static_cast<float>(std::acos(static_cast<double>(cosine))), static_cast<float>(saturation), value};
}

inline SpaceTriple hlsOf(ColourTriple p) {
  int index = 0, mx = p.red, mn = p.red;
  if (p.green > mx) mx = p.green, index = 1;
  if (p.green < mn) mn = p.green;
  if (p.blue > mx) mx = p.blue, index = 2;
  if (p.blue < mn) mn = p.blue;
  const float most = static_cast<float>(mx), fewest = static_cast<float>(mn);
  if (mx == mn) return {0, most * 0.003921569f, 0};
  const float r = static_cast<float>(p.red), g = static_cast<float>(p.green), b = static_cast<float>(p.blue);
  const float lightness = (most + fewest) * 0.0019607844f;
  const float saturation =
      lightness <= 0.5f ? (most - fewest) / (most + fewest) : (most - fewest) / (510.0f - most - fewest);
  float hue;
  if (index == 0)
    hue = (g - b) * 60.0f / (most - fewest) + 360.0f;
  else if (index == 1)
    hue = (b - r) * 60.0f / (most - fewest) + 120.0f;
  else
    hue = (r - g) * 60.0f / (most - fewest) + 240.0f;
  if (hue > 360.0f) hue -= 360.0f;
  return {hue, lightness, saturation};
}

inline SpaceTriple ycbcrOf(ColourTriple p) {
  const double unit = 0.00392156862745098;
  const double r = p.red * unit, g = p.green * unit, b = p.blue * unit;
  return {static_cast<float>(0.299 * r + 0.587 * g + 0.114 * b),
          static_cast<float>(0.5 * b - (0.16874 * r + 0.33126 * g)),
          static_cast<float>(0.5 * r - 0.41869 * g - 0.08131 * b)};
}

inline ColourTriple ofYcbcr(SpaceTriple p) {
  auto negated = [](double value) {
    return lowBits(static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(truncate(value))), 8);
  };
  const double y = static_cast<double>(p.first), cb = static_cast<double>(p.second), cr = static_cast<double>(p.third);
  return {negated(y + 1.402 * cr), negated(y - 0.34414 * cb - 0.71414 * cr), negated(y + 1.772 * cb)};
}

/// Limited above, not below.
inline int weightedGrey(ColourTriple p, float red, float green, float blue, int bits) {
  const double sum =
      p.red * static_cast<double>(red) + p.green * static_cast<double>(green) + p.blue * static_cast<double>(blue);
  return lowBits(std::min(truncate(sum * (1 << (bits - 8)) + 0.5), (1 << bits) - 1), bits <= 8 ? 8 : 16);
}

// Images ----------------------------------------------------------------------------------------------------------

// The conversions by their names: checks, then pixel after pixel. The result as theirs.
int rgbToRgba(const CPxImage& source, CPxImage& dst);
int rgbaToRgb(const CPxImage& source, CPxImage& dst);
int rgbToRgb16(const CPxImage& source, CPxImage& dst);
int rgb16ToRgb(const CPxImage& source, CPxImage& dst);
int grayToGray16(const CPxImage& source, CPxImage& dst);
int gray16ToGray(const CPxImage& source, CPxImage& dst);
int rgbToRgb2b(const CPxImage& source, CPxImage& dst);
int rgb2bToRgb(const CPxImage& source, CPxImage& dst);
int rgbToBitmap(const CPxImage& source, CPxImage& dst, int threshold);
int grayToBitmap(const CPxImage& source, CPxImage& dst, int threshold);
int gray16ToBitmap(const CPxImage& source, CPxImage& dst, int threshold);
int bitmapToRgb(const CPxImage& source, CPxImage& dst);
int bitmapToGray(const CPxImage& source, CPxImage& dst);
int bitmapToGray16(const CPxImage& source, CPxImage& dst);
int indexToRgb(const CPxImage& source, CPxImage& dst);
int rgbToGray(const CPxImage& source, CPxImage& dst, float red, float green, float blue);
int rgbToGray16(const CPxImage& source, CPxImage& dst, float red, float green, float blue);
int grayToRgb(const CPxImage& source, CPxImage& dst, float red, float green, float blue);
int gray16ToRgb(const CPxImage& source, CPxImage& dst, float red, float green, float blue);
int rgbToCmyk(const CPxImage& source, CPxImage& dst);
int cmykToRgb(const CPxImage& source, CPxImage& dst);
int rgbToHsi(const CPxImage& source, CPxImage& dst);
int hsiToRgb(const CPxImage& source, CPxImage& dst);
int rgbToHsv(const CPxImage& source, CPxImage& dst);
int rgbToHls(const CPxImage& source, CPxImage& dst);
int hlsToRgb(const CPxImage& source, CPxImage& dst);
int rgbToYcbcr(const CPxImage& source, CPxImage& dst);
int ycbcrToRgb(const CPxImage& source, CPxImage& dst);
/// To RGB or RGBA, whichever the destination is.
int convertToColour(const CPxImage& source, CPxImage& dst);

int hsiAdjust(CPxImage& image, float hue, float saturation, float intensity);
int invert(CPxImage& image, int selection);
int replaceColor(CPxImage& image, tagPXG4 find, tagPXG4 write);

}  // namespace rasterkit::plain
