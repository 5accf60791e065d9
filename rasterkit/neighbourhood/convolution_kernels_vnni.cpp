// The sums of four products of bytes.

#include "rasterkit/core/kernel_numbers.h"
#include "rasterkit/neighbourhood/convolution_kernels.h"
#include "rasterkit/neighbourhood/kernel_finish.h"

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"  // g++ 12 finds that in its own intrinsics
#endif
#include <immintrin.h>

namespace rasterkit::vnni {
namespace {

constexpr size_t kVector = 64;  // samples; their quads fill four vectors
constexpr size_t kBlock = 512;

using Quads = uint32_t[kBlock + kMostQuadReach];

inline __mmask64 first(size_t n) { return n < kVector ? (__mmask64{1} << n) - 1 : ~__mmask64{0}; }

// Packing and unpacking work within lanes of 16 bytes. This turns the groups of four samples from one order into the
// other, and back.
inline __m512i acrossLanes(__m512i samples) {
  const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  return _mm512_permutexvar_epi32(order, samples);
}

// The quads of n samples of four rows, in whole vectors.
inline void interleave(const uint8_t* const* rows, size_t at, size_t n, uint32_t* quads) {
  for (size_t i = 0; i < n; i += kVector) {
    const auto row = [&](size_t k) { return acrossLanes(_mm512_maskz_loadu_epi8(first(n - i), rows[k] + at + i)); };
    const __m512i a = row(0), b = row(1), c = row(2), d = row(3);
    const __m512i abLow = _mm512_unpacklo_epi8(a, b), abHigh = _mm512_unpackhi_epi8(a, b),
                  cdLow = _mm512_unpacklo_epi8(c, d), cdHigh = _mm512_unpackhi_epi8(c, d);
    _mm512_store_si512(quads + i, _mm512_unpacklo_epi16(abLow, cdLow));
    _mm512_store_si512(quads + i + 16, _mm512_unpackhi_epi16(abLow, cdLow));
    _mm512_store_si512(quads + i + 32, _mm512_unpacklo_epi16(abHigh, cdHigh));
    _mm512_store_si512(quads + i + 48, _mm512_unpackhi_epi16(abHigh, cdHigh));
  }
}

// Sums of one vector of samples for both rows of results.
struct Sums {
  __m512i of[2][4];

  template <class F>
  void each(F f) {
#pragma GCC unroll 2
    for (auto& row : of)
#pragma GCC unroll 4
      for (__m512i& sums : row) sums = f(sums);
  }
};

// f(quads, i, count) for n samples, a vector from i on at a time; the quads stand at its leftmost tap.
template <class F>
inline void eachVector(const QuadTaps& taps, size_t n, F f) {
  alignas(64) Quads quads[kMostQuads];
  for (size_t at = 0; at < n; at += kBlock) {
    const size_t count = least(kBlock, n - at);
    for (size_t k = 0; k < taps.quads; ++k) interleave(taps.rows + 4 * k, at, count + taps.reach, quads[k]);
    for (size_t i = 0; i < count; i += kVector) f(quads, i, at + i, least(kVector, count - i));
  }
}

// Adds the products of one digit of the weights.
inline void addDigit(const QuadTaps& taps, size_t digit, const Quads* quads, size_t at, Sums& sums) {
  const int32_t(*const weights)[2] = taps.weights + digit * taps.count;
#pragma GCC unroll 1
  for (size_t k = 0; k < taps.count; ++k) {
    const uint32_t* const in = quads[taps.taps[k].quad] + taps.taps[k].place + at;
    const __m512i first = _mm512_set1_epi32(weights[k][0]), second = _mm512_set1_epi32(weights[k][1]);
#pragma GCC unroll 4
    for (size_t v = 0; v < 4; ++v) {
      const __m512i quad = _mm512_loadu_si512(in + 16 * v);
      sums.of[0][v] = _mm512_dpbusd_epi32(sums.of[0][v], quad, first);
      sums.of[1][v] = _mm512_dpbusd_epi32(sums.of[1][v], quad, second);
    }
  }
}

// start + the sums of the digits from the highest to the lowest of them, wrapping.
inline Sums sumsOf(const QuadTaps& taps, size_t highest, size_t lowest, int32_t start, const Quads* quads, size_t at) {
  Sums sums;
  sums.each([](__m512i) { return _mm512_setzero_si512(); });
#pragma GCC unroll 1
  for (size_t digit = highest; digit > lowest; --digit) {
    addDigit(taps, digit, quads, at, sums);
    sums.each([](__m512i sum) { return _mm512_slli_epi32(sum, 8); });
  }
  sums.each([more = _mm512_set1_epi32(start)](__m512i sum) { return _mm512_add_epi32(sum, more); });
  addDigit(taps, lowest, quads, at, sums);
  return sums;
}

// Writes n samples, made by `sample` from vectors of 16-bit numbers that the sums are limited to.
template <class F>
inline void write(const __m512i* sums, F sample, uint8_t* out, size_t n) {
  const __m512i bytes =
      _mm512_packus_epi16(sample(_mm512_packs_epi32(sums[0], sums[1])), sample(_mm512_packs_epi32(sums[2], sums[3])));
  _mm512_mask_storeu_epi8(out, first(n), acrossLanes(bytes));
}

// The taps of a kernel of 3 x 3 weights, which stay in registers.
constexpr size_t kFew = 3;

template <class F>
inline void narrowOfFew(const QuadTaps& taps, int32_t start, uint8_t* const* out, size_t n, F sample) {
  __m512i weights[kFew][2];
  size_t places[kFew];
#pragma GCC unroll 3
  for (size_t k = 0; k < kFew; ++k) {
    places[k] = k < taps.count ? taps.taps[k].place : 0;
    weights[k][0] = _mm512_set1_epi32(k < taps.count ? taps.weights[k][0] : 0);
    weights[k][1] = _mm512_set1_epi32(k < taps.count ? taps.weights[k][1] : 0);
  }
  const __m512i first = _mm512_set1_epi32(start);
  eachVector(taps, n, [=](const Quads* quads, size_t i, size_t at, size_t count) {
    Sums sums;
    sums.each([=](__m512i) { return first; });
#pragma GCC unroll 3
    for (size_t k = 0; k < kFew; ++k) {
      const uint32_t* const in = quads[0] + places[k] + i;
#pragma GCC unroll 4
      for (size_t v = 0; v < 4; ++v) {
        const __m512i quad = _mm512_loadu_si512(in + 16 * v);
        sums.of[0][v] = _mm512_dpbusd_epi32(sums.of[0][v], quad, weights[k][0]);
        sums.of[1][v] = _mm512_dpbusd_epi32(sums.of[1][v], quad, weights[k][1]);
      }
    }
    write(sums.of[0], sample, out[0] + at, count);
    write(sums.of[1], sample, out[1] + at, count);
  });
}

// sample(sums) for both rows, of any taps.
template <class F>
inline void narrow(const QuadTaps& taps, int32_t start, uint8_t* const* out, size_t n, F sample) {
  if (taps.digits == 1 && taps.quads == 1 && taps.count <= kFew) return narrowOfFew(taps, start, out, n, sample);
  eachVector(taps, n, [&](const Quads* quads, size_t i, size_t at, size_t count) {
    const Sums sums = sumsOf(taps, taps.digits - 1, 0, start, quads, i);
    write(sums.of[0], sample, out[0] + at, count);
    write(sums.of[1], sample, out[1] + at, count);
  });
}

template <bool divides>
void narrow(const QuadTaps& taps, const NarrowRule& rule, uint8_t* const* out, size_t n) {
  const auto all = [](int number) { return _mm512_set1_epi16(static_cast<int16_t>(number)); };
  const __m512i multiplier = all(rule.multiplier), highest = all(rule.greatest), none = all(0);
  const __m128i shift = _mm_cvtsi32_si128(rule.shift);
  const auto quotient = [=](__m512i size) {
    return divides ? _mm512_srl_epi16(_mm512_mulhi_epu16(size, multiplier), shift) : size;
  };
  if (rule.plain && rule.magnitude)
    return narrow(taps, rule.start, out, n,
                  [=](__m512i sums) { return _mm512_min_epu16(quotient(_mm512_abs_epi16(sums)), highest); });
  if (rule.plain)
    return narrow(taps, rule.start, out, n,
                  [=](__m512i sums) { return _mm512_min_epu16(quotient(_mm512_max_epi16(sums, none)), highest); });

  const __m512i negative = all(rule.negative), flipBelow = all(rule.flipBelow), lowest = all(rule.least),
                offset = all(rule.offset), mostNegative = all(-INT16_MAX);
  narrow(taps, rule.start, out, n, [=](__m512i sums) {
    sums = _mm512_max_epi16(sums, mostNegative);  // so that every sum has an opposite
    const __m512i sign = _mm512_xor_si512(_mm512_srai_epi16(sums, 15), negative);
    __m512i q = _mm512_sub_epi16(_mm512_xor_si512(quotient(_mm512_abs_epi16(sums)), sign), sign);
    q = _mm512_mask_sub_epi16(q, _mm512_cmplt_epi16_mask(q, flipBelow), none, q);
    return _mm512_add_epi16(_mm512_min_epi16(_mm512_max_epi16(q, lowest), highest), offset);
  });
}

void narrow(const QuadTaps& taps, const NarrowRule& rule, uint8_t* const* out, size_t n) {
  if (rule.multiplier != 0)
    narrow<true>(taps, rule, out, n);
  else
    narrow<false>(taps, rule, out, n);
}

template <class Real>
void whole(const QuadTaps& taps, const WholeRule& rule, uint8_t* const* out, size_t n) {
  eachVector(taps, n, [&](const Quads* quads, size_t i, size_t at, size_t count) {
    const Sums some = sumsOf(taps, taps.digits - 1, 0, rule.start, quads, i);
#pragma GCC unroll 2
    for (size_t row = 0; row < 2; ++row) {
      alignas(64) int32_t sums[kVector];
#pragma GCC unroll 4
      for (size_t v = 0; v < 4; ++v) _mm512_store_si512(sums + 16 * v, some.of[row][v]);
      finishWhole<uint8_t, Real>(sums, rule, out[row] + at, count);
    }
  });
}

// A shift to the right rounds down, in steps as at once: only below 0 is that not truncation, and there all becomes 0.
void exact(const QuadTaps& taps, const ExactRule& rule, uint8_t* const* out, size_t n) {
  const __m128i shift = _mm_cvtsi32_si128(rule.shift);
  const size_t top = taps.digits - 1;
  eachVector(taps, n, [&](const Quads* quads, size_t i, size_t at, size_t count) {
    Sums total = sumsOf(taps, rule.pairs == 0 ? top : 1, 0, rule.starts[0], quads, i);
#pragma GCC unroll 1
    for (size_t pair = 1; pair <= rule.pairs; ++pair) {
      const Sums lower = total;
      total = sumsOf(taps, pair == rule.pairs ? top : 2 * pair + 1, 2 * pair, rule.starts[pair], quads, i);
#pragma GCC unroll 2
      for (size_t row = 0; row < 2; ++row)
#pragma GCC unroll 4
        for (size_t v = 0; v < 4; ++v)
          total.of[row][v] = _mm512_add_epi32(total.of[row][v], _mm512_srai_epi32(lower.of[row][v], 16));
    }
    total.each([&](__m512i sum) { return _mm512_sra_epi32(sum, shift); });
    const auto same = [](__m512i sums) { return sums; };  // packing limits them
    write(total.of[0], same, out[0] + at, count);
    write(total.of[1], same, out[1] + at, count);
  });
}

}  // namespace

const QuadKernels quadKernels = {narrow, whole<float>, whole<double>, exact};

}  // namespace rasterkit::vnni
