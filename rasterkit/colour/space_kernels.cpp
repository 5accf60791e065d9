#include "rasterkit/colour/space_kernels.h"

#include "rasterkit/core/kernel_numbers.h"
#include "rasterkit/core/kernel_planes.h"

#if defined(__AVX512DQ__)
#include "rasterkit/colour/kernel_lanes.h"
#endif

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// Pixel formulas. Branches are written as choices between values that are computed anyway, so that loops over them
// vectorise; a quotient by 0 among them is never chosen.

// The extremes leave blue out, so one of red and green is the greatest and the other the least: of the distances from
// the greatest, over the difference, theirs are 0 and 1, and only blue's needs a quotient.
inline SpacePixel hsiOf(ColourPixel pixel) {
  const int red = pixel.red, green = pixel.green, blue = pixel.blue;
  const int most = greatest(red, green), fewest = least(red, green);
  const float sum = static_cast<float>(most + fewest), difference = static_cast<float>(most - fewest);
  const float intensity = sum * 0.0019607844F;
  const float saturation = difference / (intensity <= 0.5F ? sum : 510.0F - sum);
  const float toBlue = static_cast<float>(most - blue) / difference;
  const bool isGreen = green == most;
  float hue = (isGreen ? 3.0F - toBlue : toBlue + 6.0F - 1.0F) * 60.0F;
  hue = blue == most ? (isGreen ? 180.0F : 300.0F) : hue;
  hue = hue > 360.0F ? hue - 360.0F : hue;
  const bool grey = most == fewest;
  return {{grey ? 0.0F : hue, grey ? 0.0F : saturation, intensity}};
}

[[maybe_unused]] inline SpacePixel hlsOf(ColourPixel pixel) {
  const int red = pixel.red, green = pixel.green, blue = pixel.blue;
  const int most = greatest(greatest(red, green), blue), fewest = least(least(red, green), blue);
  const float sum = static_cast<float>(most + fewest), difference = static_cast<float>(most - fewest);
  const float lightness = sum * 0.0019607844F;
  const float saturation = difference / (lightness <= 0.5F ? sum : 510.0F - sum);
  float across = static_cast<float>(red - green), start = 240.0F;
  across = green == most ? static_cast<float>(blue - red) : across;
  start = green == most ? 120.0F : start;
  across = red == most ? static_cast<float>(green - blue) : across;
  start = red == most ? 360.0F : start;
  float hue = across * 60.0F / difference + start;
  hue = hue > 360.0F ? hue - 360.0F : hue;
  const bool grey = most == fewest;
  return {{grey ? 0.0F : hue, grey ? static_cast<float>(most) * 0.003921569F : lightness, grey ? 0.0F : saturation}};
}

// The arc cosine of -1 to 1. For a cosine of at most 1/2 it is pi/2 less the arc sine; for a greater one twice the arc
// sine of the sine of half the angle. The polynomial interpolates (asin(s) - s) / s^3, as a function of s^2, at the
// Chebyshev nodes of 0 to 1/4; its error is below 2^-57 of the arc sine. Only sums, products and a square root: the
// same bytes on every platform.
inline double arcCosine(double cosine) {
  constexpr double kPi = 0x1.921fb54442d18p+1;
  const double size = __builtin_fabs(cosine);
  const bool far = size > 0.5;
  const double square = far ? (1.0 - size) * 0.5 : size * size;
  const double sine = far ? __builtin_sqrt(square) : size;
  double p = 0x1.d72b2bc8155f8p-6;
  p = p * square - 0x1.e6aaa8a0a04ccp-7;
  p = p * square + 0x1.1d189408314eep-6;
  p = p * square + 0x1.65a9c4dfcf8b2p-8;
  p = p * square + 0x1.52420b04b37bep-7;
  p = p * square + 0x1.782651caa6547p-7;
  p = p * square + 0x1.c9cf07674736ap-7;
  p = p * square + 0x1.1c4d35cf95421p-6;
  p = p * square + 0x1.6e8bb1c8209a2p-6;
  p = p * square + 0x1.f1c71c1db0623p-6;
  p = p * square + 0x1.6db6db6e31f13p-5;
  p = p * square + 0x1.3333333332ecap-4;
  p = p * square + 0x1.5555555555556p-3;
  const double angle = sine + sine * (square * p);
  const double turned = cosine < 0.0 ? -angle : angle;
  return far ? (cosine < 0.0 ? kPi : 0.0) + 2.0 * turned : kPi * 0.5 - turned;
}

// The extremes leave blue out.
inline SpacePixel hsvOf(ColourPixel pixel) {
  constexpr double kUnit = 0.00392156862745098;
  const double red = pixel.red * kUnit, green = pixel.green * kUnit, blue = pixel.blue * kUnit;
  const double most = greatest(red, green), fewest = least(red, green);
  const double saturation = 1.0 - fewest * 3.0 / (red + green + blue);
  const double length = __builtin_sqrt((red - green) * (red - green) + (red - blue) * (green - blue));
  const float cosine = static_cast<float>((red - green / 2.0 - blue / 2.0) / length);
  const float hue = static_cast<float>(arcCosine(static_cast<double>(cosine)));
  const bool grey = pixel.red == pixel.green && pixel.green == pixel.blue;
  return {{grey ? 0.0F : hue, grey ? 0.0F : static_cast<float>(saturation), static_cast<float>((most + fewest) * 0.5)}};
}

[[maybe_unused]] inline SpacePixel ycbcrOf(ColourPixel pixel) {
  constexpr double kUnit = 0.00392156862745098;
  const double red = pixel.red * kUnit, green = pixel.green * kUnit, blue = pixel.blue * kUnit;
  return {{static_cast<float>(0.299 * red + 0.587 * green + 0.114 * blue),
           static_cast<float>(0.5 * blue - (0.16874 * red + 0.33126 * green)),
           static_cast<float>(0.5 * red - 0.41869 * green - 0.08131 * blue)}};
}

// lowByte(truncated(value)), one comparison shorter: the low byte of what an int cannot hold, and of its least value,
// is 0.
inline uint8_t truncatedByte(float value) {
  const float held = __builtin_fabsf(value) < 2147483648.0F ? value : 0.0F;
  return lowByte(static_cast<int32_t>(held));
}

// A sample between m1 and m2 by its hue.
inline uint8_t valueOf(float m1, float m2, float hue) {
  hue = hue > 360.0F ? hue - 360.0F : hue;
  hue = hue < 0.0F ? hue + 360.0F : hue;  // never the hue of the line above
  const float slope = m1 + (m2 - m1) * (hue < 60.0F ? hue : 240.0F - hue) * 0.016666668F;
  float value = m1;
  value = hue < 240.0F ? slope : value;
  value = hue < 180.0F ? m2 : value;
  value = hue < 60.0F ? slope : value;
  return truncatedByte(value * 255.0F);
}

// Hue, lightness and saturation to a colour.
inline ColourPixel ofHls(float hue, float lightness, float saturation) {
  const float m2 =
      lightness <= 0.5F ? lightness * (1.0F + saturation) : lightness + saturation - lightness * saturation;
  const float m1 = 2.0F * lightness - m2;
  const uint8_t grey = truncatedByte(lightness * 255.0F);
  const bool isGrey = saturation == 0.0F;
  const uint8_t red = valueOf(m1, m2, hue + 120.0F), green = valueOf(m1, m2, hue), blue = valueOf(m1, m2, hue - 120.0F);
  return {isGrey ? grey : blue, isGrey ? grey : green, isGrey ? grey : red};
}

inline float withinUnit(float value) {
  value = value > 1.0F ? 0.99F : value;
  return value < 0.0F ? 0.0F : value;
}

inline ColourPixel ofHsi(float hue, float saturation, float intensity) {
  return ofHls(hue, withinUnit(intensity), withinUnit(saturation));
}

[[maybe_unused]] inline ColourPixel ofYcbcr(float first, float second, float third) {
  const double y = static_cast<double>(first), cb = static_cast<double>(second), cr = static_cast<double>(third);
  const auto negated = [](double value) { return lowByte(wrappedDifference(0, truncated(value))); };
  return {negated(y + 1.772 * cb), negated(y - 0.34414 * cb - 0.71414 * cr), negated(y + 1.402 * cr)};
}

// Rows -----------------------------------------------------------------------------------------------------------

using Bytes = Planes<uint8_t>;
using Reals = Planes<float>;

template <SpacePixel (*of)(ColourPixel)>
inline void toSpace(const Bytes& colour, Reals& space, size_t n) {
  const uint8_t* const __restrict blue = colour.first;
  const uint8_t* const __restrict green = colour.second;
  const uint8_t* const __restrict red = colour.third;
  float* const __restrict first = space.first;
  float* const __restrict second = space.second;
  float* const __restrict third = space.third;
  for (size_t i = 0; i < n; ++i) {
    const SpacePixel pixel = of({blue[i], green[i], red[i]});
    first[i] = pixel.sample[0];
    second[i] = pixel.sample[1];
    third[i] = pixel.sample[2];
  }
}

template <SpacePixel (*of)(ColourPixel), int channels>
void pixelsToSpace(const uint8_t* in, float* out, size_t n) {
  inBlocks(n, [&](size_t first, size_t count) {
    Bytes colour;
    Reals space;
    split<channels>(in + first * channels, colour, count);
    toSpace<of>(colour, space, count);
    join<3>(space, out + first * 3, count);
  });
}

template <SpacePixel (*of)(ColourPixel)>
void toSpaceRow(const uint8_t* in, int channels, float* out, size_t n) {
  channels == 3 ? pixelsToSpace<of, 3>(in, out, n) : pixelsToSpace<of, 4>(in, out, n);
}

// Blocks: there and back, and both with something added between.

#if defined(__AVX512DQ__)

template <SpaceLanes (*to)(ColourLanes), int channels>
void lanesToSpace(const uint8_t* in, float* out, size_t n) {
  inBlocks(n, [&](size_t first, size_t count) {
    Bytes colour;
    split<channels>(in + first * channels, colour, count);
    float* const pixels = out + first * 3;
    size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) joinLanes(to(loadedLanes(colour, i)), pixels + i * 3, kLanes);
    if (i < count) joinLanes(to(loadedLanes(colour, i)), pixels + i * 3, count - i);
  });
}

template <SpaceLanes (*to)(ColourLanes)>
void lanesToSpaceRow(const uint8_t* in, int channels, float* out, size_t n) {
  channels == 3 ? lanesToSpace<to, 3>(in, out, n) : lanesToSpace<to, 4>(in, out, n);
}

constexpr auto toHsi = lanesToSpaceRow<hsiLanes>, toHls = lanesToSpaceRow<hlsLanes>,
               toYcbcr = lanesToSpaceRow<ycbcrLanes>;

using From = void (*)(SpaceLanes, Bytes&, size_t);

template <From from>
inline void backFromSpace(const float* pixels, Bytes& colour, size_t n) {
  size_t i = 0;
  for (; i + kLanes <= n; i += kLanes) from(splitLanes(pixels + i * 3, kLanes), colour, i);
  if (i < n) from(splitLanes(pixels + i * 3, n - i), colour, i);
}

inline void adjust(Bytes& colour, SpacePixel added, size_t n) {
  SpaceLanes hsi[kBlock / kLanes];
  for (size_t i = 0; i < n; i += kLanes) hsi[i / kLanes] = hsiLanes(loadedLanes(colour, i));
  for (size_t i = 0; i < n; i += kLanes) {
    const SpaceLanes& old = hsi[i / kLanes];
    fromHsi({old.first + added.sample[0], old.second + added.sample[1], old.third + added.sample[2]}, colour, i);
  }
}

#else

constexpr auto toHsi = toSpaceRow<hsiOf>, toHls = toSpaceRow<hlsOf>, toYcbcr = toSpaceRow<ycbcrOf>;

template <ColourPixel (*of)(float, float, float)>
inline void fromSpace(const float* firsts, const float* seconds, const float* thirds, Bytes& colour, size_t n) {
  const float* const __restrict first = firsts;
  const float* const __restrict second = seconds;
  const float* const __restrict third = thirds;
  uint8_t* const __restrict blue = colour.first;
  uint8_t* const __restrict green = colour.second;
  uint8_t* const __restrict red = colour.third;
  for (size_t i = 0; i < n; ++i) {
    const ColourPixel pixel = of(first[i], second[i], third[i]);
    blue[i] = pixel.blue;
    green[i] = pixel.green;
    red[i] = pixel.red;
  }
}

// The limits in loops of their own: with them the other one does not vectorise.
inline void fromHsi(Reals& space, Bytes& colour, size_t n) {
  for (size_t i = 0; i < n; ++i) space.second[i] = withinUnit(space.second[i]);
  for (size_t i = 0; i < n; ++i) space.third[i] = withinUnit(space.third[i]);
  fromSpace<ofHls>(space.first, space.third, space.second, colour, n);
}
inline void fromHls(Reals& space, Bytes& colour, size_t n) {
  fromSpace<ofHls>(space.first, space.second, space.third, colour, n);
}
inline void fromYcbcr(Reals& space, Bytes& colour, size_t n) {
  fromSpace<ofYcbcr>(space.first, space.second, space.third, colour, n);
}

using From = void (*)(Reals&, Bytes&, size_t);

template <From from>
inline void backFromSpace(const float* pixels, Bytes& colour, size_t n) {
  Reals space;
  split<3>(pixels, space, n);
  from(space, colour, n);
}

inline void adjust(Bytes& colour, SpacePixel added, size_t n) {
  Reals space;
  toSpace<hsiOf>(colour, space, n);
  for (size_t i = 0; i < n; ++i) {
    space.first[i] += added.sample[0];
    space.second[i] += added.sample[1];
    space.third[i] += added.sample[2];
  }
  fromHsi(space, colour, n);
}

#endif

template <From from, int channels>
void pixelsFromSpace(const float* in, uint8_t* out, size_t n) {
  inBlocks(n, [&](size_t first, size_t count) {
    Bytes colour;
    backFromSpace<from>(in + first * 3, colour, count);
    join<channels>(colour, out + first * channels, count);
  });
}

template <From from>
void fromSpaceRow(const float* in, uint8_t* out, int channels, size_t n) {
  channels == 3 ? pixelsFromSpace<from, 3>(in, out, n) : pixelsFromSpace<from, 4>(in, out, n);
}

template <int channels>
void adjustPixels(uint8_t* pixels, SpacePixel added, size_t n) {
  inBlocks(n, [&](size_t first, size_t count) {
    Bytes colour;
    split<channels>(pixels + first * channels, colour, count);
    adjust(colour, added, count);
    join<channels>(colour, pixels + first * channels, count);
  });
}

void adjustHsi(uint8_t* pixels, int channels, SpacePixel added, size_t n) {
  channels == 3 ? adjustPixels<3>(pixels, added, n) : adjustPixels<4>(pixels, added, n);
}

}  // namespace

const SpaceKernels spaceKernels = {toHsi,
                                   toSpaceRow<hsvOf>,
                                   toHls,
                                   toYcbcr,
                                   fromSpaceRow<fromHsi>,
                                   fromSpaceRow<fromHls>,
                                   fromSpaceRow<fromYcbcr>,
                                   adjustHsi,
                                   hsiOf,
                                   hsvOf,
                                   ofHsi,
                                   arcCosine};

}  // namespace rasterkit::RASTERKIT_LEVEL
