#include "rasterkit/neighbourhood/convolution_kernels.h"

#include "rasterkit/core/kernel_numbers.h"
#include "rasterkit/neighbourhood/kernel_finish.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// Sums of a block of samples stay in the nearest cache while taps are added, a few at a time.
constexpr size_t kBlock = 1024;
constexpr size_t kTapsAtOnce = 9;

template <class T>
constexpr bool isSingle = false;
template <>
constexpr bool isSingle<float> = true;

// Products and sums that wrap where they are whole.
inline int16_t plusProduct(int16_t sum, int16_t sample, int16_t weight) {
  const auto product = static_cast<uint16_t>(static_cast<uint32_t>(sample) * static_cast<uint32_t>(weight));
  return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint16_t>(sum) + product));
}
template <class S>
inline int32_t plusProduct(int32_t sum, S sample, int32_t weight) {
  return wrappedSum(sum, wrappedProduct(sample, weight));
}
inline float plusProduct(float sum, float sample, float weight) { return sum + sample * weight; }
inline double plusProduct(double sum, float sample, double weight) {
  return sum + static_cast<double>(sample) * weight;
}

// sums[i] = start, or itself, and the products of `count` taps. Doubles are added in the order of the taps; floats are
// exact or estimates, and their products are added up among themselves first, which rounds estimates less.
template <size_t count, bool first, class T, class Sum>
void addTaps(const T* const* in, const Sum* weights, size_t at, Sum start, Sum* sums, size_t n) {
  const T* tap[count];
  Sum weight[count];
  for (size_t k = 0; k < count; ++k) tap[k] = in[k] + at, weight[k] = weights[k];
  Sum* const __restrict out = sums;
  for (size_t i = 0; i < n; ++i) {
    if constexpr (isSingle<Sum>) {
      Sum sum = tap[0][i] * weight[0];
#pragma GCC unroll 9
      for (size_t k = 1; k < count; ++k) sum = plusProduct(sum, tap[k][i], weight[k]);
      out[i] = (first ? start : out[i]) + sum;
    } else {
      Sum sum = first ? start : out[i];
#pragma GCC unroll 9
      for (size_t k = 0; k < count; ++k) sum = plusProduct(sum, tap[k][i], weight[k]);
      out[i] = sum;
    }
  }
}

template <bool first, class T, class Sum>
void addGroup(size_t count, const T* const* in, const Sum* weights, size_t at, Sum start, Sum* sums, size_t n) {
  switch (count) {
    case 1: return addTaps<1, first>(in, weights, at, start, sums, n);
    case 2: return addTaps<2, first>(in, weights, at, start, sums, n);
    case 3: return addTaps<3, first>(in, weights, at, start, sums, n);
    case 4: return addTaps<4, first>(in, weights, at, start, sums, n);
    case 5: return addTaps<5, first>(in, weights, at, start, sums, n);
    case 6: return addTaps<6, first>(in, weights, at, start, sums, n);
    case 7: return addTaps<7, first>(in, weights, at, start, sums, n);
    case 8: return addTaps<8, first>(in, weights, at, start, sums, n);
    case 9: return addTaps<9, first>(in, weights, at, start, sums, n);
  }
}

// The sums of n samples from `at` on.
template <class T, class Sum>
void sumTaps(const Taps<T, Sum>& taps, Sum start, size_t at, Sum* sums, size_t n) {
  size_t done = least(taps.count, kTapsAtOnce);
  if (done == 0)
    for (size_t i = 0; i < n; ++i) sums[i] = start;
  addGroup<true>(done, taps.in, taps.weights, at, start, sums, n);
  while (done < taps.count) {
    const size_t count = least(taps.count - done, kTapsAtOnce);
    addGroup<false>(count, taps.in + done, taps.weights + done, at, start, sums, n);
    done += count;
  }
}

// f(sums, at, count) for blocks of n samples.
template <class T, class Sum, class F>
void eachBlock(const Taps<T, Sum>& taps, Sum start, size_t n, F f) {
  alignas(64) Sum sums[kBlock];
  for (size_t at = 0; at < n; at += kBlock) {
    const size_t count = least(kBlock, n - at);
    sumTaps(taps, start, at, sums, count);
    f(sums, at, count);
  }
}

template <class T, class F>
void eachBlock(const FactoredTaps<T>& taps, T start, size_t n, F f) {
  alignas(64) T columns[kBlock + kMostReach];
  alignas(64) T sums[kBlock];
  const T* in[kMostAcross + 1];
  T weights[kMostAcross + 1];
  for (size_t k = 0; k < taps.count; ++k) in[k] = columns + taps.places[k], weights[k] = taps.across[k];
  for (size_t at = 0; at < n; at += kBlock) {
    const size_t count = least(kBlock, n - at);
    sumTaps(taps.down, T(0), at, columns, count + taps.reach);
    Taps<T, T> across = {in, weights, taps.count};
    if (taps.centre) {
      in[across.count] = taps.centre + at, weights[across.count] = taps.centreWeight;
      ++across.count;
    }
    sumTaps(across, start, 0, sums, count);
    f(sums, at, count);
  }
}

// 16 bits -------------------------------------------------------------------------------------------------------------

template <bool divides>
void finishNarrow(const int16_t* in, const NarrowRule& rule, uint8_t* result, size_t n) {
  const int16_t* const __restrict sums = in;
  uint8_t* const __restrict out = result;
  const uint16_t multiplier = rule.multiplier, shift = rule.shift;
  const int16_t negative = rule.negative, flipBelow = rule.flipBelow;
  const int16_t lowest = rule.least, highest = rule.greatest, offset = rule.offset;
  for (size_t i = 0; i < n; ++i) {
    int16_t q = sums[i];
    if (divides) {
      const auto sign = static_cast<int16_t>(q >> 15);
      const auto size = static_cast<uint16_t>((q ^ sign) - sign);
      const auto high = static_cast<uint16_t>(static_cast<uint32_t>(size) * multiplier >> 16);
      const auto back = static_cast<int16_t>(sign ^ negative);
      q = static_cast<int16_t>((static_cast<int16_t>(high >> shift) ^ back) - back);
    } else {
      q = static_cast<int16_t>((q ^ negative) - negative);
    }
    q = q < flipBelow ? static_cast<int16_t>(-q) : q;
    q = q < lowest ? lowest : q;
    q = q > highest ? highest : q;
    out[i] = static_cast<uint8_t>(q + offset);
  }
}

template <bool divides, bool magnitude>
void finishPlain(const int16_t* in, const NarrowRule& rule, uint8_t* result, size_t n) {
  const int16_t* const __restrict sums = in;
  uint8_t* const __restrict out = result;
  const uint16_t multiplier = rule.multiplier, shift = rule.shift, highest = static_cast<uint16_t>(rule.greatest);
  for (size_t i = 0; i < n; ++i) {
    const int16_t sum = sums[i];
    const auto opposite = static_cast<int16_t>(-sum);
    auto q = static_cast<uint16_t>(greatest(sum, magnitude ? opposite : int16_t(0)));
    if (divides) {
      q = static_cast<uint16_t>(static_cast<uint32_t>(q) * multiplier >> 16);
      q = static_cast<uint16_t>(q >> shift);
    }
    out[i] = static_cast<uint8_t>(least(q, highest));
  }
}

void finish(const int16_t* sums, const NarrowRule& rule, uint8_t* out, size_t n) {
  const bool divides = rule.multiplier != 0;
  if (!rule.plain) return divides ? finishNarrow<true>(sums, rule, out, n) : finishNarrow<false>(sums, rule, out, n);
  if (rule.magnitude)
    return divides ? finishPlain<true, true>(sums, rule, out, n) : finishPlain<false, true>(sums, rule, out, n);
  return divides ? finishPlain<true, false>(sums, rule, out, n) : finishPlain<false, false>(sums, rule, out, n);
}

template <class AnyTaps>
void narrow(const AnyTaps& taps, const NarrowRule& rule, uint8_t* out, size_t n) {
  eachBlock(taps, static_cast<int16_t>(rule.start), n,
            [&](const int16_t* sums, size_t at, size_t count) { finish(sums, rule, out + at, count); });
}

// Whole numbers -------------------------------------------------------------------------------------------------------

template <class S>
void toSingle(const S* samples, float* result, size_t n) {
  const S* const __restrict in = samples;
  float* const __restrict out = result;
  for (size_t i = 0; i < n; ++i) out[i] = in[i];
}

void toWord(const uint8_t* samples, int16_t* result, size_t n) {
  const uint8_t* const __restrict in = samples;
  int16_t* const __restrict out = result;
  for (size_t i = 0; i < n; ++i) out[i] = in[i];
}

template <class S, class AnyTaps>
void single(const AnyTaps& taps, const WholeRule& rule, S* out, size_t n) {
  eachBlock(taps, static_cast<float>(rule.start), n,
            [&](const float* sums, size_t at, size_t count) { finishWhole<S, float>(sums, rule, out + at, count); });
}

template <class S>
void whole(const Taps<S, int32_t>& taps, const WholeRule& rule, S* out, size_t n) {
  eachBlock(taps, rule.start, n,
            [&](const int32_t* sums, size_t at, size_t count) { finishWhole<S, double>(sums, rule, out + at, count); });
}

template <class S>
void sums(const Taps<S, int32_t>& taps, int32_t* out, size_t n) {
  for (size_t at = 0; at < n; at += kBlock) sumTaps(taps, int32_t{0}, at, out + at, least(kBlock, n - at));
}

// Floating point ------------------------------------------------------------------------------------------------------

template <class S, bool byInverse>
void finishReal(const double* in, const RealRule& rule, S* result, size_t n) {
  const double* const __restrict sums = in;
  S* const __restrict out = result;
  const double divisor = byInverse ? 1 / rule.divisor : rule.divisor, offset = rule.offset, highest = rule.greatest;
  const bool magnitude = rule.magnitude;
  for (size_t i = 0; i < n; ++i) {
    const double q = byInverse ? sums[i] * divisor : sums[i] / divisor;
    double r = q + offset;
    const double flipped = offset - q;
    r = magnitude && r < 0 ? flipped : r;
    r = r > 0 ? r : 0;  // NaN too
    out[i] = static_cast<S>(static_cast<int32_t>(r > highest ? highest : r));
  }
}

template <class S>
void finishReal(const double* sums, const RealRule& rule, S* out, size_t n) {
  if (rule.byInverse)
    finishReal<S, true>(sums, rule, out, n);
  else
    finishReal<S, false>(sums, rule, out, n);
}

template <class S>
void real(const Taps<float, double>& taps, const RealRule& rule, S* out, size_t n) {
  eachBlock(taps, 0.0, n,
            [&](const double* sums, size_t at, size_t count) { finishReal(sums, rule, out + at, count); });
}

// One estimate that is in doubt has its group of so many samples computed.
constexpr size_t kGroup = 16;

template <class S, bool magnitude>
void finishEstimate(const float* in, const EstimateRule& rule, S* result, uint8_t* doubts, size_t n) {
  const float* const __restrict sums = in;
  S* const __restrict out = result;
  uint8_t* const __restrict doubt = doubts;
  const float inverse = rule.inverse, offset = rule.offset, lowest = 0.5F, highest = rule.greatest + 0.5F;
  const float nearBelow = 1 - rule.error, nearAbove = rule.error;
  for (size_t i = 0; i < n; ++i) {
    const float q = sums[i] * inverse;
    float r = q + offset;
    if (magnitude) r = r < 0 ? offset - q : r;
    // 0 and what lies below it are one sample value, as are the greatest and what lies above: nothing is in doubt half
    // a unit outside.
    r = r > lowest ? r : lowest;
    r = r < highest ? r : highest;
    const auto sample = static_cast<int32_t>(r);
    const float above = r - static_cast<float>(sample);
    out[i] = static_cast<S>(sample);
    doubt[i] = static_cast<uint8_t>((above <= nearAbove) | (above >= nearBelow));
  }
}

inline bool anyOf(const uint8_t* doubt) {
  uint64_t words[kGroup / 8];
  __builtin_memcpy(words, doubt, sizeof words);
  return (words[0] | words[1]) != 0;
}

template <class S>
void estimated(const Taps<float, float>& estimate, const EstimateRule& estimateRule, const Taps<float, double>& taps,
               const RealRule& rule, S* result, size_t n) {
  static_assert(kGroup == 16 && kBlock % kGroup == 0);
  eachBlock(estimate, 0.0F, n, [&](const float* sums, size_t at, size_t count) {
    S* const out = result + at;
    alignas(64) uint8_t doubt[kBlock];
    if (estimateRule.magnitude)
      finishEstimate<S, true>(sums, estimateRule, out, doubt, count);
    else
      finishEstimate<S, false>(sums, estimateRule, out, doubt, count);
    for (size_t i = count; i % kGroup != 0; ++i) doubt[i] = 0;

    size_t groups = 0;
    for (size_t from = 0; from < count; from += kGroup) groups += anyOf(doubt + from);
    if (groups == 0) return;
    // Where doubts abound, as in flat areas, all samples of the block are computed at once.
    alignas(64) double exact[kBlock];
    if (groups > kBlock / kGroup / 4) {
      sumTaps(taps, 0.0, at, exact, count);
      return finishReal(exact, rule, out, count);
    }
    for (size_t from = 0; from < count; from += kGroup) {
      if (!anyOf(doubt + from)) continue;
      const size_t group = least(kGroup, count - from);
      sumTaps(taps, 0.0, at + from, exact, group);
      finishReal(exact, rule, out + from, group);
    }
  });
}

// The rest ------------------------------------------------------------------------------------------------------------

void laplacian(const float* const* rows, size_t step, float* result, size_t n) {
  const float *const above = rows[0], *const here = rows[1], *const below = rows[2];
  float* const __restrict out = result;
  for (size_t i = 0; i < n; ++i) {
    double neighbours = above[i];
    neighbours += above[i + step];
    neighbours += above[i + 2 * step];
    neighbours += here[i];
    neighbours += here[i + 2 * step];
    neighbours += below[i];
    neighbours += below[i + step];
    neighbours += below[i + 2 * step];
    double v = (8 * static_cast<double>(here[i + step]) - neighbours) * 0.125;
    v = v > 0 ? v : 0;  // NaN too
    out[i] = static_cast<float>(static_cast<int32_t>(v > 255 ? 255 : v));
  }
}

template <class S>
constexpr ConvolutionRows<S> rows = {toSingle<S>, single<S>, single<S>, whole<S>, sums<S>, real<S>, estimated<S>};

}  // namespace

const ConvolutionKernels convolutionKernels = {rows<uint8_t>, rows<uint16_t>, toWord, narrow, narrow, laplacian};

}  // namespace rasterkit::RASTERKIT_LEVEL
