#include "rasterkit/neighbourhood/median_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

inline uint8_t keyOf(uint8_t sample) { return sample; }
inline uint16_t keyOf(uint16_t sample) { return sample; }
inline int32_t keyOf(float sample) { return totalOrderKey(sample); }

inline uint8_t sampleOf(uint8_t key) { return key; }
inline uint16_t sampleOf(uint16_t key) { return key; }
inline float sampleOf(int32_t key) { return fromTotalOrderKey(key); }

// The three samples of a column, sorted.
template <class K>
struct Column {
  K low, middle, high;
};

// Puts one more between two that are sorted.
template <class K>
inline Column<K> insert(K lower, K upper, K key) {
  const K between = greatest(lower, key);
  return {least(lower, key), least(between, upper), greatest(between, upper)};
}

template <class K>
inline K median(K a, K b, K c) {
  return greatest(least(a, b), least(greatest(a, b), c));
}

// Of the lows only the greatest can have four samples on either side, of the highs only the least, of the middles only
// their median; the median of these three is that of all nine.
template <class K>
inline K median(const Column<K>& a, const Column<K>& b, const Column<K>& c) {
  return median(greatest(greatest(a.low, b.low), c.low), median(a.middle, b.middle, c.middle),
                least(least(a.high, b.high), c.high));
}

// Samples in the widest vector. Where a row leaves less than that, the last vector is done over from further left.
constexpr size_t kVector = 64;

// f(from, to) for 0 to n in whole vectors, in blocks of at most so many samples; blocks may overlap.
template <class F>
void eachBlock(size_t n, size_t block, F f) {
  if (n < kVector) return f(0, n);
  const size_t whole = n / kVector * kVector;
  for (size_t i = 0; i < whole; i += block) f(i, least(i + block, whole));
  if (whole < n) f(n - kVector, n);
}

// Rows begin a pixel to the left of what is written.
template <class S>
void medianOfRows(const S* __restrict above, const S* __restrict here, const S* __restrict below, S* __restrict out,
                  size_t step, size_t from, size_t to) {
  using K = decltype(keyOf(S()));
  for (size_t i = from; i < to; ++i) {
    Column<K> columns[3];
    for (size_t j = 0, at = i; j < 3; ++j, at += step) {
      const K a = keyOf(here[at]), b = keyOf(below[at]);
      columns[j] = insert(least(a, b), greatest(a, b), keyOf(above[at]));
    }
    out[i] = sampleOf(median(columns[0], columns[1], columns[2]));
  }
}

// Two rows at once share the comparison of the two rows in the middle of all four.
template <class S>
void mediansOfRows(const S* __restrict above, const S* __restrict first, const S* __restrict second,
                   const S* __restrict below, S* __restrict outFirst, S* __restrict outSecond, size_t step, size_t from,
                   size_t to) {
  using K = decltype(keyOf(S()));
  for (size_t i = from; i < to; ++i) {
    Column<K> upper[3], lower[3];
    for (size_t j = 0, at = i; j < 3; ++j, at += step) {
      const K a = keyOf(first[at]), b = keyOf(second[at]);
      upper[j] = insert(least(a, b), greatest(a, b), keyOf(above[at]));
      lower[j] = insert(least(a, b), greatest(a, b), keyOf(below[at]));
    }
    outFirst[i] = sampleOf(median(upper[0], upper[1], upper[2]));
    outSecond[i] = sampleOf(median(lower[0], lower[1], lower[2]));
  }
}

template <class S>
void medianRow(const S* const* rows, S* const* out, size_t n, size_t step) {
  eachBlock(n - 2 * step, n,
            [=](size_t from, size_t to) { medianOfRows(rows[0], rows[1], rows[2], out[0] + step, step, from, to); });
}

template <class S>
void medianTwoRows(const S* const* rows, S* const* out, size_t n, size_t step) {
  eachBlock(n - 2 * step, n, [=](size_t from, size_t to) {
    mediansOfRows(rows[0], rows[1], rows[2], rows[3], out[0] + step, out[1] + step, step, from, to);
  });
}

constexpr size_t kBlock = 512;
constexpr size_t kMostStep = 4;

// Four rows of a block, from a pixel to the left of the samples that are looked at.
template <class S>
struct Around {
  const S* above;
  const S* first;
  const S* second;
  const S* below;
  size_t step;
};

// Sums down the columns of three rows, for the two rows in the middle.
template <class Sum>
struct ColumnSums {
  Sum upper[kBlock + 2 * kMostStep];
  Sum lower[kBlock + 2 * kMostStep];
};

template <class S, class Sum>
inline void addColumns(const Around<S>& around, size_t n, ColumnSums<Sum>& sums) {
  const S* const __restrict above = around.above;
  const S* const __restrict first = around.first;
  const S* const __restrict second = around.second;
  const S* const __restrict below = around.below;
  for (size_t i = 0; i < n + 2 * around.step; ++i) {
    const auto both = static_cast<Sum>(static_cast<Sum>(first[i]) + static_cast<Sum>(second[i]));
    sums.upper[i] = static_cast<Sum>(both + above[i]);
    sums.lower[i] = static_cast<Sum>(both + below[i]);
  }
}

// 8 times the difference of a sample from the mean of its neighbours: 9 x the sample less the sum of all nine.
template <class Sum>
inline Sum magnitudeOf(Sum centre, const Sum* columns, size_t step) {
  const auto all = static_cast<Sum>(columns[0] + columns[step] + columns[2 * step]);
  const auto difference = static_cast<Sum>(9 * centre - all);
  return static_cast<Sum>(difference < 0 ? -difference : difference);
}

// choose(median, row, i, sums): what becomes of sample i of one row or the other, as a key.
template <class S, class Sum, class F>
inline void denoise(const Around<S>& around, const ColumnSums<Sum>& sums, S* __restrict outFirst,
                    S* __restrict outSecond, size_t n, F choose) {
  using K = decltype(keyOf(S()));
  const S* const __restrict above = around.above;
  const S* const __restrict first = around.first;
  const S* const __restrict second = around.second;
  const S* const __restrict below = around.below;
  const size_t step = around.step;
  for (size_t i = 0; i < n; ++i) {
    Column<K> upper[3], lower[3];
    for (size_t j = 0, at = i; j < 3; ++j, at += step) {
      const K a = keyOf(first[at]), b = keyOf(second[at]);
      upper[j] = insert(least(a, b), greatest(a, b), keyOf(above[at]));
      lower[j] = insert(least(a, b), greatest(a, b), keyOf(below[at]));
    }
    const S here = first[i + step], there = second[i + step];
    outFirst[i] = choose(0, i, magnitudeOf(static_cast<Sum>(here), sums.upper + i, step), here,
                         sampleOf(median(upper[0], upper[1], upper[2])));
    outSecond[i] = choose(1, i, magnitudeOf(static_cast<Sum>(there), sums.lower + i, step), there,
                          sampleOf(median(lower[0], lower[1], lower[2])));
  }
}

// denoiseBlock(around, outFirst, outSecond, n, threshold): two rows of a block of n samples; threshold is 0 or more.

// Whole numbers that hold 8 times the greatest sample.
template <class S>
struct SumOf;
template <>
struct SumOf<uint8_t> {
  using Type = int16_t;
};
template <>
struct SumOf<uint16_t> {
  using Type = int32_t;
};

template <class S>
void denoiseBlock(const Around<S>& around, S* outFirst, S* outSecond, size_t n, int threshold) {
  using Sum = typename SumOf<S>::Type;
  ColumnSums<Sum> sums;
  addColumns(around, n, sums);
  const auto limit = static_cast<Sum>(least(threshold, 8 * static_cast<S>(-1)));
  denoise(around, sums, outFirst, outSecond, n,
          [=](int, size_t, Sum magnitude, S centre, S middle) { return magnitude > limit ? middle : centre; });
}

// Of floats the eight differences are added in double, one at a time, and the total is truncated to a whole number each
// time. The magnitude of the least integer, to which NaN truncates, is above every limit.
template <int32_t (*truncate)(double)>
void mark(const float* const* nine, size_t n, int limit, uint32_t* __restrict noise) {
  const float *const a = nine[0], *const b = nine[1], *const c = nine[2], *const d = nine[3], *const e = nine[4],
                     *const f = nine[5], *const g = nine[6], *const h = nine[7], *const k = nine[8];
  for (size_t i = 0; i < n; ++i) {
    const double centre = e[i];
    int32_t total = truncate(centre - static_cast<double>(a[i]));
    total = truncate(total + (centre - static_cast<double>(b[i])));
    total = truncate(total + (centre - static_cast<double>(c[i])));
    total = truncate(total + (centre - static_cast<double>(d[i])));
    total = truncate(total + (centre - static_cast<double>(f[i])));
    total = truncate(total + (centre - static_cast<double>(g[i])));
    total = truncate(total + (centre - static_cast<double>(h[i])));
    total = truncate(total + (centre - static_cast<double>(k[i])));
    const uint32_t magnitude = total < 0 ? 0 - static_cast<uint32_t>(total) : static_cast<uint32_t>(total);
    noise[i] = magnitude > static_cast<uint32_t>(limit) ? UINT32_MAX : 0;
  }
}

inline int32_t magnitudeBits(float value) {
  int32_t bits;
  __builtin_memcpy(&bits, &value, sizeof bits);
  return bits & INT32_MAX;
}

// What the four rows hold: the greatest magnitude, and whether all of it is whole numbers.
struct Extent {
  float most;
  bool whole;
};

inline Extent extentOf(const Around<float>& around, size_t n) {
  const float *const above = around.above, *const first = around.first, *const second = around.second,
                     *const below = around.below;
  int32_t bits = 0;
  uint32_t broken = 0;
  for (size_t i = 0; i < n + 2 * around.step; ++i) {
    const int32_t upper = greatest(magnitudeBits(above[i]), magnitudeBits(first[i]));
    const int32_t lower = greatest(magnitudeBits(second[i]), magnitudeBits(below[i]));
    bits = greatest(bits, greatest(upper, lower));
    broken |= (__builtin_truncf(above[i]) != above[i]) | (__builtin_truncf(first[i]) != first[i]) |
              (__builtin_truncf(second[i]) != second[i]) | (__builtin_truncf(below[i]) != below[i]);
  }
  return {fromTotalOrderKey(bits), broken == 0};
}

// Puts back the samples of a row that are no noise after all: of those in doubt, gathered so that vectors of them are
// looked at.
void putBack(const float* above, const float* here, const float* below, size_t step, const uint32_t* inDoubt,
             float* out, size_t n, int limit) {
  uint8_t doubts[kBlock + 8] = {};
  uint32_t any = 0;
  for (size_t i = 0; i < n; ++i) {
    doubts[i] = static_cast<uint8_t>(inDoubt[i] & 1);
    any |= inDoubt[i];
  }
  if (!any) return;
  const float* const nine[] = {above, above + step, above + 2 * step, here, here + step, here + 2 * step,
                               below, below + step, below + 2 * step};
  uint16_t places[kBlock + 8];
  size_t count = 0;
  for (size_t i = 0; i < n; i += 8) {
    uint64_t some;
    __builtin_memcpy(&some, doubts + i, sizeof some);
    for (size_t j = i; some != 0; ++j, some >>= 8) {
      places[count] = static_cast<uint16_t>(j);
      count += some & 1;
    }
  }
  float gathered[9][kBlock];
  const float* const columns[] = {gathered[0], gathered[1], gathered[2], gathered[3], gathered[4],
                                  gathered[5], gathered[6], gathered[7], gathered[8]};
  for (size_t k = 0; k < 9; ++k)
    for (size_t j = 0; j < count; ++j) gathered[k][j] = nine[k][places[j]];
  uint32_t noise[kBlock];
  mark<truncatedWithin>(columns, count, limit, noise);
  for (size_t j = 0; j < count; ++j)
    if (!noise[j]) out[places[j]] = gathered[4][j];
}

// A sum in single precision tells most samples apart: each of the eight truncations takes less than 1, and each of at
// most 12 roundings less than 18 x 2^-24 of the greatest magnitude. Sums of whole numbers below 2^20 are exact, and
// nothing is truncated.
template <>
void denoiseBlock(const Around<float>& around, float* outFirst, float* outSecond, size_t n, int threshold) {
  const Extent extent = extentOf(around, n);
  const size_t step = around.step;
  constexpr int mostMagnitude = 1 << 22;
  if (!(extent.most < mostMagnitude)) {  // NaN too
    const float* const rows[] = {around.above, around.first, around.second, around.below};
    float* const out[] = {outFirst, outSecond};
    mediansOfRows(rows[0], rows[1], rows[2], rows[3], outFirst, outSecond, step, 0, n);
    for (size_t row = 0; row < 2; ++row) {
      const float *const a = rows[row], *const b = rows[row + 1], *const c = rows[row + 2];
      const float* const nine[] = {a, a + step, a + 2 * step, b, b + step, b + 2 * step, c, c + step, c + 2 * step};
      uint32_t noise[kBlock];
      mark<truncated>(nine, n, threshold, noise);
      for (size_t i = 0; i < n; ++i) out[row][i] = noise[i] ? out[row][i] : b[i + step];
    }
    return;
  }

  ColumnSums<float> sums;
  addColumns(around, n, sums);
  const int limit = least(threshold, 16 * mostMagnitude);
  const float margin = extent.whole && extent.most < 1 << 20 ? 0 : 9 + extent.most * 0x1p-16F;
  const float surely = static_cast<float>(limit) + margin, hardly = static_cast<float>(limit) - margin;
  uint32_t doubts[2][kBlock];
  denoise(around, sums, outFirst, outSecond, n,
          [=, &doubts](int row, size_t i, float magnitude, float centre, float middle) {
            const uint32_t noise = magnitude > surely ? 1 : 0, perhaps = magnitude > hardly ? 1 : 0;
            doubts[row][i] = noise ^ perhaps;
            return perhaps ? middle : centre;
          });
  putBack(around.above, around.first, around.second, step, doubts[0], outFirst, n, limit);
  putBack(around.first, around.second, around.below, step, doubts[1], outSecond, n, limit);
}

template <class S>
void removeNoiseOfTwoRows(const S* const* rows, S* const* out, size_t n, size_t step, int threshold) {
  if (threshold < 0) return medianTwoRows(rows, out, n, step);
  eachBlock(n - 2 * step, kBlock, [=](size_t from, size_t to) {
    denoiseBlock<S>({rows[0] + from, rows[1] + from, rows[2] + from, rows[3] + from, step}, out[0] + step + from,
                    out[1] + step + from, to - from, threshold);
  });
}

// Images of three rows have one to be made.
template <class S>
void removeNoise(const S* const* rows, S* const* out, size_t n, size_t step, int threshold) {
  if (threshold < 0) return medianRow(rows, out, n, step);
  eachBlock(n - 2 * step, kBlock, [=](size_t from, size_t to) {
    S second[kBlock];
    denoiseBlock<S>({rows[0] + from, rows[1] + from, rows[2] + from, rows[2] + from, step}, out[0] + step + from,
                    second, to - from, threshold);
  });
}

template <class S>
constexpr MedianRows<S> table = {medianRow<S>, medianTwoRows<S>, removeNoise<S>, removeNoiseOfTwoRows<S>};

}  // namespace

const MedianKernels medianKernels = {table<uint8_t>, table<uint16_t>, table<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
