#pragma once
// The colour spaces with AVX-512, there and back, 16 pixels at a time. Each lane sees the operations of the pixel
// formulas in space_kernels.cpp, which includes this; what is left out changes no result, and the reason stands with
// it. Internal linkage throughout.

#include "rasterkit/core/kernel_planes.h"

#include <immintrin.h>
#include <stddef.h>
#include <stdint.h>

namespace rasterkit {
namespace {

constexpr size_t kLanes = 16;  // blocks of planes are whole ones
typedef float RealLanes __attribute__((vector_size(64)));
typedef int32_t IntLanes __attribute__((vector_size(64)));
typedef double DoubleLanes __attribute__((vector_size(64)));
constexpr __mmask16 kAll = 0xFFFF;  // g++ warns of the forms without a mask

// Three samples of 16 pixels.
struct SpaceLanes {
  RealLanes first, second, third;
};
struct ColourLanes {
  RealLanes blue, green, red;  // whole numbers from 0 to 255
};

constexpr IntLanes kPixel = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

// 16 floats of three vectors: 0 to 15 of the first, from 16 of the second, from 32 of the third.
inline __m512 floatsOf(__m512 first, __m512 second, __m512 third, IntLanes places) {
  const auto at = reinterpret_cast<__m512i>(places);
  const __mmask16 ofThird = _mm512_cmpge_epi32_mask(at, _mm512_set1_epi32(32));
  return _mm512_mask_permutexvar_ps(_mm512_permutex2var_ps(first, at, second), ofThird, at, third);
}

// The samples of `count` pixels, at most 16; those of the others are 0.
inline SpaceLanes splitLanes(const float* in, size_t count) {
  __m512 part[3];
  for (size_t k = 0; k < 3; ++k) {
    const size_t samples = count * 3 > k * kLanes ? count * 3 - k * kLanes : 0;
    part[k] = samples >= kLanes ? _mm512_loadu_ps(in + k * kLanes)
                                : _mm512_maskz_loadu_ps(static_cast<__mmask16>((1u << samples) - 1), in + k * kLanes);
  }
  const auto plane = [&](int sample) {
    return reinterpret_cast<RealLanes>(floatsOf(part[0], part[1], part[2], 3 * kPixel + sample));
  };
  return {plane(0), plane(1), plane(2)};
}

// The first `count` pixels.
inline void joinLanes(SpaceLanes space, float* out, size_t count) {
  const auto first = reinterpret_cast<__m512>(space.first), second = reinterpret_cast<__m512>(space.second),
             third = reinterpret_cast<__m512>(space.third);
  for (int k = 0; k < 3; ++k) {
    const IntLanes at = kPixel + k * static_cast<int>(kLanes);
    const __m512 part = floatsOf(first, second, third, at % 3 * 16 + at / 3);
    float* const to = out + static_cast<size_t>(k) * kLanes;
    if (count == kLanes)
      _mm512_storeu_ps(to, part);
    else
      _mm512_mask_storeu_ps(
          to, _mm512_cmplt_epi32_mask(reinterpret_cast<__m512i>(at), _mm512_set1_epi32(static_cast<int>(count) * 3)),
          part);
  }
}

inline ColourLanes loadedLanes(const Planes<uint8_t>& planes, size_t i) {
  const auto lanes = [i](const uint8_t* plane) {
    const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i*>(plane + i));
    return reinterpret_cast<RealLanes>(_mm512_maskz_cvtepi32_ps(kAll, _mm512_maskz_cvtepu8_epi32(kAll, bytes)));
  };
  return {lanes(planes.first), lanes(planes.second), lanes(planes.third)};
}

// What no int can hold becomes the indefinite value, whose low byte is 0, as it does in the formulas.
inline IntLanes truncatedLanes(RealLanes value) {
  return reinterpret_cast<IntLanes>(_mm512_maskz_cvttps_epi32(kAll, reinterpret_cast<__m512>(value)));
}

inline void storeLowBytes(IntLanes value, uint8_t* out) {
  _mm_store_si128(reinterpret_cast<__m128i*>(out), _mm512_maskz_cvtepi32_epi8(kAll, reinterpret_cast<__m512i>(value)));
}

inline RealLanes leastOf(RealLanes a, RealLanes b) {
  return reinterpret_cast<RealLanes>(
      _mm512_maskz_min_ps(kAll, reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b)));
}
inline RealLanes greatestOf(RealLanes a, RealLanes b) {
  return reinterpret_cast<RealLanes>(
      _mm512_maskz_max_ps(kAll, reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b)));
}

// The lower or the upper half of the lanes.
inline DoubleLanes doublesOf(const RealLanes& lanes, int half) {
  __m256 part;
  __builtin_memcpy(&part, reinterpret_cast<const unsigned char*>(&lanes) + half * sizeof part, sizeof part);
  return reinterpret_cast<DoubleLanes>(_mm512_maskz_cvtps_pd(0xFF, part));
}
inline void storeHalf(DoubleLanes value, RealLanes& lanes, int half) {
  const __m256 part = _mm512_maskz_cvtpd_ps(0xFF, reinterpret_cast<__m512d>(value));
  __builtin_memcpy(reinterpret_cast<unsigned char*>(&lanes) + half * sizeof part, &part, sizeof part);
}

inline RealLanes fused(RealLanes a, RealLanes b, RealLanes c) {
  return reinterpret_cast<RealLanes>(
      _mm512_fmadd_ps(reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b), reinterpret_cast<__m512>(c)));
}

// number / divisor of whole numbers, the divisor from 1 to 510, rounded once, without the slow division: a reciprocal
// of 14 bits becomes one of 24, and the remainder of a first guess, which a fused product has exactly, puts the guess
// right. (A test compares the quotients of all colours.)
inline RealLanes quotientOf(RealLanes number, RealLanes divisor) {
  const auto rough = reinterpret_cast<RealLanes>(_mm512_maskz_rcp14_ps(kAll, reinterpret_cast<__m512>(divisor)));
  const RealLanes reciprocal = fused(fused(-divisor, rough, RealLanes{} + 1.0F), rough, rough);
  const RealLanes guess = number * reciprocal;
  return fused(fused(-guess, divisor, number), reciprocal, guess);
}

// There -----------------------------------------------------------------------------------------------------------

inline SpaceLanes hsiLanes(ColourLanes colour) {
  const RealLanes most = greatestOf(colour.red, colour.green), fewest = leastOf(colour.red, colour.green);
  const RealLanes sum = most + fewest, difference = most - fewest, intensity = sum * 0.0019607844F;
  const RealLanes saturation = quotientOf(difference, intensity <= 0.5F ? sum : 510.0F - sum);
  const RealLanes toBlue = quotientOf(most - colour.blue, difference);
  const auto isGreen = colour.green == most;
  RealLanes hue = (isGreen ? 3.0F - toBlue : toBlue + 6.0F - 1.0F) * 60.0F;
  hue = colour.blue == most ? (isGreen ? RealLanes{} + 180.0F : RealLanes{} + 300.0F) : hue;
  hue = hue > 360.0F ? hue - 360.0F : hue;
  const auto grey = most == fewest;
  return {grey ? RealLanes{} : hue, grey ? RealLanes{} : saturation, intensity};
}

inline SpaceLanes hlsLanes(ColourLanes colour) {
  const RealLanes most = greatestOf(greatestOf(colour.red, colour.green), colour.blue),
                  fewest = leastOf(leastOf(colour.red, colour.green), colour.blue);
  const RealLanes sum = most + fewest, difference = most - fewest, lightness = sum * 0.0019607844F;
  const RealLanes saturation = quotientOf(difference, lightness <= 0.5F ? sum : 510.0F - sum);
  RealLanes across = colour.red - colour.green, start = RealLanes{} + 240.0F;
  across = colour.green == most ? colour.blue - colour.red : across;
  start = colour.green == most ? RealLanes{} + 120.0F : start;
  across = colour.red == most ? colour.green - colour.blue : across;
  start = colour.red == most ? RealLanes{} + 360.0F : start;
  RealLanes hue = quotientOf(across * 60.0F, difference) + start;
  hue = hue > 360.0F ? hue - 360.0F : hue;
  const auto grey = most == fewest;
  return {grey ? RealLanes{} : hue, grey ? most * 0.003921569F : lightness, grey ? RealLanes{} : saturation};
}

// Whether every lane is from 0 (not -0) to most: bits of such floats are in the order of their values.
inline bool withinLanes(RealLanes value, float most) {
  uint32_t bits;
  __builtin_memcpy(&bits, &most, sizeof bits);
  return _mm512_cmple_epu32_mask(reinterpret_cast<__m512i>(value), _mm512_set1_epi32(static_cast<int>(bits))) == kAll;
}

// The two differences in double precision, and 0 for the first sample.
inline SpaceLanes ycbcrDifferences(ColourLanes colour) {
  constexpr double kUnit = 0.00392156862745098;
  SpaceLanes space = {};
  for (int half = 0; half < 2; ++half) {
    const DoubleLanes red = doublesOf(colour.red, half) * kUnit, green = doublesOf(colour.green, half) * kUnit,
                      blue = doublesOf(colour.blue, half) * kUnit;
    storeHalf(0.5 * blue - (0.16874 * red + 0.33126 * green), space.second, half);
    storeHalf(0.5 * red - 0.41869 * green - 0.08131 * blue, space.third, half);
  }
  return space;
}

// Numerators are whole numbers below 2^24, so each sample is a true quotient rounded once, and that is what the double
// precision form gives, too, after its far smaller errors (a test compares all colours). Where a difference is 0, greys
// among them, that form gives its own error instead, and so it is asked.
inline SpaceLanes ycbcrLanes(ColourLanes colour) {
  const RealLanes red = colour.red, green = colour.green, blue = colour.blue;
  const auto over = [](RealLanes number, float divisor) {
    const RealLanes guess = number * (1 / divisor);
    return fused(fused(-guess, RealLanes{} + divisor, number), RealLanes{} + 1 / divisor, guess);
  };
  SpaceLanes space = {over(299.0F * red + 587.0F * green + 114.0F * blue, 255000.0F),
                      over(50000.0F * blue - 16874.0F * red - 33126.0F * green, 25500000.0F),
                      over(50000.0F * red - 41869.0F * green - 8131.0F * blue, 25500000.0F)};
  const auto isZero = (space.second == 0.0F) | (space.third == 0.0F);
  if (_mm512_test_epi32_mask(reinterpret_cast<__m512i>(isZero), reinterpret_cast<__m512i>(isZero)) == 0) return space;
  const SpaceLanes differences = ycbcrDifferences(colour);
  space.second = isZero ? differences.second : space.second;
  space.third = isZero ? differences.third : space.third;
  return space;
}

// Back ------------------------------------------------------------------------------------------------------------

// What a colour is made of besides its hue.
struct Extremes {
  RealLanes m1, m2, difference;
};
inline Extremes extremesOf(RealLanes lightness, RealLanes saturation) {
  const RealLanes m2 =
      lightness <= 0.5F ? lightness * (1.0F + saturation) : lightness + saturation - lightness * saturation;
  const RealLanes m1 = 2.0F * lightness - m2;
  return {m1, m2, m2 - m1};
}
inline RealLanes slopeOf(const Extremes& extremes, RealLanes distance) {
  return extremes.m1 + extremes.difference * distance * 0.016666668F;
}

// Any hue.
inline IntLanes valueLanes(const Extremes& extremes, RealLanes hue) {
  hue = hue > 360.0F ? hue - 360.0F : hue;
  hue = hue < 0.0F ? hue + 360.0F : hue;
  const RealLanes slope = slopeOf(extremes, hue < 60.0F ? hue : 240.0F - hue);
  RealLanes value = hue < 240.0F ? slope : extremes.m1;
  value = hue < 180.0F ? extremes.m2 : value;
  value = hue < 60.0F ? slope : value;
  return truncatedLanes(value * 255.0F);
}

// Hues of 0 to 360, and finite extremes. From 180 to 240 a sample goes down as it went up to 60, and is m1 beyond. So
// the distance from where it is m1 is the less of hue and 240 - hue, both exact, and where that is not above 0 it is 0,
// at which the slope is m1 itself. Such a hue, turned by 120 degrees, leaves 0 to 360 on one side only: above, for red,
// hue - 360 is the distance, and above 240 degrees no other is greater; below, for blue, the sample is m1, as it is
// where the distance is below 0. And where the saturation is 0, m1 and m2 are the lightness, so there is no grey to be
// chosen.
inline void usualLanes(RealLanes hue, const Extremes& extremes, Planes<uint8_t>& colour, size_t i) {
  const RealLanes none = {};
  const IntLanes greatest = truncatedLanes(extremes.m2 * 255.0F);
  const auto onSlope = [&](RealLanes distance) {
    return truncatedLanes(slopeOf(extremes, greatestOf(distance, none)) * 255.0F);
  };
  const RealLanes forRed = hue + 120.0F, forBlue = hue - 120.0F;
  const IntLanes red = onSlope(greatestOf(240.0F - forRed, forRed - 360.0F)),
                 green = onSlope(leastOf(hue, 240.0F - hue)), blue = onSlope(leastOf(forBlue, 240.0F - forBlue));
  storeLowBytes(((forRed >= 180.0F) & (forRed < 420.0F)) ? red : greatest, colour.third + i);
  storeLowBytes(((hue >= 60.0F) & (hue < 180.0F)) ? greatest : green, colour.second + i);
  storeLowBytes(((forBlue >= 60.0F) & (forBlue < 180.0F)) ? greatest : blue, colour.first + i);
}

inline void colourLanes(RealLanes hue, RealLanes lightness, RealLanes saturation, Planes<uint8_t>& colour, size_t i) {
  const Extremes extremes = extremesOf(lightness, saturation);
  constexpr float finite = 2;  // a lightness and a saturation up to this keep all that is made of them finite
  if (withinLanes(hue, 360.0F) && withinLanes(lightness, finite) && withinLanes(saturation, finite))
    return usualLanes(hue, extremes, colour, i);
  const IntLanes grey = truncatedLanes(lightness * 255.0F);
  const auto isGrey = saturation == 0.0F;
  const auto value = [&](RealLanes turned) { return isGrey ? grey : valueLanes(extremes, turned); };
  storeLowBytes(value(hue + 120.0F), colour.third + i);
  storeLowBytes(value(hue), colour.second + i);
  storeLowBytes(value(hue - 120.0F), colour.first + i);
}

inline void fromHls(SpaceLanes hls, Planes<uint8_t>& colour, size_t i) {
  colourLanes(hls.first, hls.second, hls.third, colour, i);
}

inline void fromHsi(SpaceLanes hsi, Planes<uint8_t>& colour, size_t i) {
  const auto withinUnit = [](RealLanes value) {
    value = value > 1.0F ? RealLanes{} + 0.99F : value;
    return value < 0.0F ? RealLanes{} : value;
  };
  colourLanes(hsi.first, withinUnit(hsi.third), withinUnit(hsi.second), colour, i);
}

inline void fromYcbcr(SpaceLanes ycbcr, Planes<uint8_t>& colour, size_t i) {
  __m256i negated[3][2];
  for (int half = 0; half < 2; ++half) {
    const DoubleLanes y = doublesOf(ycbcr.first, half), cb = doublesOf(ycbcr.second, half),
                      cr = doublesOf(ycbcr.third, half);
    const DoubleLanes values[] = {y + 1.772 * cb, y - 0.34414 * cb - 0.71414 * cr, y + 1.402 * cr};
    for (int c = 0; c < 3; ++c)
      negated[c][half] = _mm256_sub_epi32(_mm256_setzero_si256(),
                                          _mm512_maskz_cvttpd_epi32(0xFF, reinterpret_cast<__m512d>(values[c])));
  }
  uint8_t* const planes[] = {colour.first, colour.second, colour.third};
  for (int c = 0; c < 3; ++c) {
    const __m512i both = _mm512_maskz_inserti64x4(0xFF, _mm512_castsi256_si512(negated[c][0]), negated[c][1], 1);
    storeLowBytes(reinterpret_cast<IntLanes>(both), planes[c] + i);
  }
}

}  // namespace
}  // namespace rasterkit
