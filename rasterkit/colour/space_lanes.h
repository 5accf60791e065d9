#pragma once
// The ways back from the colour spaces with AVX-512, 16 pixels at a time. Each lane sees the operations of the pixel
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

// The samples of `count` pixels, at most 16; those of the others are 0.
inline SpaceLanes splitLanes(const float* in, size_t count) {
  __m512 part[3];
  for (size_t k = 0; k < 3; ++k) {
    const size_t samples = count * 3 > k * kLanes ? count * 3 - k * kLanes : 0;
    part[k] = samples >= kLanes ? _mm512_loadu_ps(in + k * kLanes)
                                : _mm512_maskz_loadu_ps(static_cast<__mmask16>((1u << samples) - 1), in + k * kLanes);
  }
  const IntLanes pixel = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  const auto plane = [&](int sample) {
    const auto at = reinterpret_cast<__m512i>(3 * pixel + sample);
    const __mmask16 ofThird = _mm512_cmpge_epi32_mask(at, _mm512_set1_epi32(32));
    const __m512 firstTwo = _mm512_permutex2var_ps(part[0], at, part[1]);
    return reinterpret_cast<RealLanes>(_mm512_mask_permutexvar_ps(firstTwo, ofThird, at, part[2]));
  };
  return {plane(0), plane(1), plane(2)};
}

inline SpaceLanes loadedLanes(const Planes<float>& planes, size_t i) {
  const auto lanes = [i](const float* plane) { return reinterpret_cast<RealLanes>(_mm512_load_ps(plane + i)); };
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

// Whether every lane is from 0 (not -0) to most: bits of such floats are in the order of their values.
inline bool withinLanes(RealLanes value, float most) {
  uint32_t bits;
  __builtin_memcpy(&bits, &most, sizeof bits);
  return _mm512_cmple_epu32_mask(reinterpret_cast<__m512i>(value), _mm512_set1_epi32(static_cast<int>(bits))) == kAll;
}

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
  storeLowBytes((forRed >= 180.0F) & (forRed < 420.0F) ? red : greatest, colour.third + i);
  storeLowBytes((hue >= 60.0F) & (hue < 180.0F) ? greatest : green, colour.second + i);
  storeLowBytes((forBlue >= 60.0F) & (forBlue < 180.0F) ? greatest : blue, colour.first + i);
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
    const auto doubles = [half](const RealLanes& lanes) {
      __m256 part;
      __builtin_memcpy(&part, reinterpret_cast<const unsigned char*>(&lanes) + half * sizeof part, sizeof part);
      return reinterpret_cast<DoubleLanes>(_mm512_maskz_cvtps_pd(0xFF, part));
    };
    const DoubleLanes y = doubles(ycbcr.first), cb = doubles(ycbcr.second), cr = doubles(ycbcr.third);
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
