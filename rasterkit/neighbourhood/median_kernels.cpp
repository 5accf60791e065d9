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

// f(from, to) for 0 to n in whole vectors, which may overlap.
template <class F>
inline void inVectors(size_t n, F f) {
  if (n < kVector) return f(0, n);
  const size_t whole = n / kVector * kVector;
  f(0, whole);
  if (whole < n) f(n - kVector, n);
}

// Samples that are looked at for a part of a row.
template <class S>
constexpr size_t kMost = MedianRows<S>::most + 2 * 4;

// The sorted columns of three rows.
template <class S>
struct Columns {
  using K = decltype(keyOf(S()));

  alignas(64) K low[kMost<S>];
  alignas(64) K middle[kMost<S>];
  alignas(64) K high[kMost<S>];

  void put(size_t i, const Column<K>& column) {
    low[i] = column.low;
    middle[i] = column.middle;
    high[i] = column.high;
  }

  S medianAt(size_t i, size_t step) const {
    const size_t j = i + step, k = j + step;
    return sampleOf(
        median(Column<K>{low[i], middle[i], high[i]}, {low[j], middle[j], high[j]}, {low[k], middle[k], high[k]}));
  }
};

// Of two rows at once, which share the comparison of the two rows in the middle of all four.
template <class S>
struct ColumnsOfTwo {
  Columns<S> upper, lower;
};

// also.take(i, above, first, second, below) sees the samples of each column while they are there.
template <class S, class Also>
inline void sortColumns(const S* __restrict above, const S* __restrict first, const S* __restrict second,
                        const S* __restrict below, ColumnsOfTwo<S>& __restrict columns, Also& __restrict also,
                        size_t from, size_t to) {
  for (size_t i = from; i < to; ++i) {
    const auto a = keyOf(first[i]), b = keyOf(second[i]);
    const auto lesser = least(a, b), greater = greatest(a, b);
    columns.upper.put(i, insert(lesser, greater, keyOf(above[i])));
    columns.lower.put(i, insert(lesser, greater, keyOf(below[i])));
    also.take(i, above[i], first[i], second[i], below[i]);
  }
}

template <class S, class Also>
inline void sortColumns(const S* const* rows, size_t n, ColumnsOfTwo<S>& columns, Also& also) {
  inVectors(n,
            [&](size_t from, size_t to) { sortColumns(rows[0], rows[1], rows[2], rows[3], columns, also, from, to); });
}

struct Nothing {
  template <class S>
  void take(size_t, S, S, S, S) {}
};

template <class S>
void pickMedians(const ColumnsOfTwo<S>& columns, S* __restrict first, S* __restrict second, size_t step, size_t from,
                 size_t to) {
  for (size_t i = from; i < to; ++i) {
    first[i] = columns.upper.medianAt(i, step);
    second[i] = columns.lower.medianAt(i, step);
  }
}

template <class S>
void medianRows(const S* const* rows, S* const* out, size_t n, size_t step) {
  ColumnsOfTwo<S> columns;
  Nothing nothing;
  sortColumns(rows, n, columns, nothing);
  inVectors(n - 2 * step,
            [&](size_t from, size_t to) { pickMedians(columns, out[0] + step, out[1] + step, step, from, to); });
}

// Eight times a sample less its neighbours, in two parts: what its own column gives, and the sum of another column.
template <class S, class Sum>
struct Differences {
  alignas(64) Sum own[kMost<S>];
  alignas(64) Sum side[kMost<S>];

  void put(size_t i, Sum centre, Sum column) {
    own[i] = static_cast<Sum>(9 * centre - column);
    side[i] = column;
  }

  Sum magnitudeAt(size_t i, size_t step) const {
    const auto difference = static_cast<Sum>(own[i + step] - static_cast<Sum>(side[i] + side[i + 2 * step]));
    return static_cast<Sum>(difference < 0 ? -difference : difference);
  }
};

template <class S, class Sum>
struct DifferencesOfTwo {
  Differences<S, Sum> upper, lower;

  void take(size_t i, S above, S first, S second, S below) {
    const auto a = static_cast<Sum>(first), b = static_cast<Sum>(second), both = static_cast<Sum>(a + b);
    upper.put(i, a, static_cast<Sum>(both + above));
    lower.put(i, b, static_cast<Sum>(both + below));
  }
};

// choose(row, i, magnitude, centre, median): what becomes of sample i of one row or the other.
template <class S, class Sum, class F>
inline void denoise(const S* __restrict first, const S* __restrict second, const ColumnsOfTwo<S>& columns,
                    const DifferencesOfTwo<S, Sum>& differences, S* __restrict outFirst, S* __restrict outSecond,
                    size_t step, size_t from, size_t to, F choose) {
  for (size_t i = from; i < to; ++i) {
    outFirst[i] =
        choose(0, i, differences.upper.magnitudeAt(i, step), first[i + step], columns.upper.medianAt(i, step));
    outSecond[i] =
        choose(1, i, differences.lower.magnitudeAt(i, step), second[i + step], columns.lower.medianAt(i, step));
  }
}

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
void removeNoise(const S* const* rows, S* const* out, size_t n, size_t step, int threshold) {
  using Sum = typename SumOf<S>::Type;
  if (threshold < 0) return medianRows(rows, out, n, step);
  ColumnsOfTwo<S> columns;
  DifferencesOfTwo<S, Sum> differences;
  sortColumns(rows, n, columns, differences);
  const auto limit = static_cast<Sum>(least(threshold, 8 * static_cast<S>(-1)));
  inVectors(n - 2 * step, [&](size_t from, size_t to) {
    denoise(rows[1], rows[2], columns, differences, out[0] + step, out[1] + step, step, from, to,
            [=](int, size_t, Sum magnitude, S centre, S middle) { return magnitude > limit ? middle : centre; });
  });
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

// The differences, and bits of a float that bounds every magnitude: the greatest sum of a column's magnitudes.
struct BoundedDifferences {
  DifferencesOfTwo<float, float>& differences;
  int32_t most = 0;

  void take(size_t i, float above, float first, float second, float below) {
    differences.take(i, above, first, second, below);
    const float sum =
        (__builtin_fabsf(above) + __builtin_fabsf(first)) + (__builtin_fabsf(second) + __builtin_fabsf(below));
    int32_t bits;
    __builtin_memcpy(&bits, &sum, sizeof bits);
    most = greatest(most, bits & INT32_MAX);
  }
};

// Whether the four rows hold whole numbers only; magnitudes are below 2^22. Gives up with the first vector that has
// another.
inline bool areWhole(const float* const* rows, size_t n) {
  constexpr float shift = 0x1.8p23F;
  for (size_t i = 0; i < n; i += kVector) {
    uint32_t broken = 0;
    for (int k = 0; k < 4; ++k) {
      const float* const row = rows[k];
      for (size_t j = i; j < least(n, i + kVector); ++j) broken |= (row[j] + shift) - shift != row[j] ? 1u : 0u;
    }
    if (broken) return false;
  }
  return true;
}

// The places of the bytes that are 1, of bytes that are 1 or 0: first by eights, then one by one, so that no branch
// depends on them. After the last byte there are zeros up to a whole eight, and there is room for one place more.
size_t placesOf(const uint8_t* ones, size_t n, uint16_t* places) {
  uint16_t eights[kMost<float> / 8 + 2];
  size_t some = 0, count = 0;
  for (size_t i = 0; i < n; i += 8) {
    uint64_t eight;
    __builtin_memcpy(&eight, ones + i, sizeof eight);
    eights[some] = static_cast<uint16_t>(i);
    some += eight != 0;
  }
  for (size_t k = 0; k < some; ++k)
    for (size_t i = eights[k], end = i + 8; i < end; ++i) {
      places[count] = static_cast<uint16_t>(i);
      count += ones[i];
    }
  return count;
}

// Puts back the samples of a row that are no noise after all: of those in doubt, gathered into whole vectors.
void putBack(const float* const* rows, size_t step, const uint8_t* doubts, float* out, size_t n, int limit) {
  constexpr size_t batch = 8;
  uint16_t places[kMost<float> + batch];
  const size_t count = placesOf(doubts, n, places);
  for (size_t i = count; i < count + batch; ++i) places[i] = 0;
  for (size_t at = 0; at < count; at += batch) {
    float nine[9][batch], medians[batch];
    for (size_t j = 0; j < batch; ++j) {
      const size_t left = places[at + j], here = left + step, right = here + step;
      for (size_t k = 0; k < 3; ++k) {
        nine[3 * k][j] = rows[k][left];
        nine[3 * k + 1][j] = rows[k][here];
        nine[3 * k + 2][j] = rows[k][right];
      }
      medians[j] = out[left];
    }
    const float* const columns[] = {nine[0], nine[1], nine[2], nine[3], nine[4], nine[5], nine[6], nine[7], nine[8]};
    uint32_t noise[batch];
    mark<truncatedWithin>(columns, batch, limit, noise);
    for (size_t j = 0; j < batch; ++j) medians[j] = noise[j] ? medians[j] : nine[4][j];
    for (size_t j = 0; j < least(batch, count - at); ++j) out[places[at + j]] = medians[j];
  }
}

// A sum in single precision tells most samples apart: each of the eight truncations takes less than 1, each of at most
// 12 roundings less than 18 x 2^-24 of the greatest magnitude, and each of the two limits' roundings less than
// 16 x 2^-24 of it: less than 2^-16 in all. Sums of whole numbers below 2^20 are exact, and nothing is truncated.
template <>
void removeNoise(const float* const* rows, float* const* out, size_t n, size_t step, int threshold) {
  if (threshold < 0) return medianRows(rows, out, n, step);
  ColumnsOfTwo<float> columns;
  DifferencesOfTwo<float, float> differences;
  BoundedDifferences bounded{differences};
  sortColumns(rows, n, columns, bounded);
  const float bound = fromTotalOrderKey(bounded.most);
  const size_t count = n - 2 * step;
  constexpr int mostMagnitude = 1 << 22;
  if (!(bound < mostMagnitude)) {  // NaN too
    medianRows(rows, out, n, step);
    for (size_t row = 0; row < 2; ++row) {
      const float *const a = rows[row], *const b = rows[row + 1], *const c = rows[row + 2];
      const float* const nine[] = {a, a + step, a + 2 * step, b, b + step, b + 2 * step, c, c + step, c + 2 * step};
      uint32_t noise[kMost<float>];
      mark<truncated>(nine, count, threshold, noise);
      for (size_t i = step; i < n - step; ++i) out[row][i] = noise[i - step] ? out[row][i] : b[i];
    }
    return;
  }
  const bool exact = bound < 1 << 20 && areWhole(rows, n);
  const int limit = least(threshold, 16 * mostMagnitude);
  const float margin = exact ? 0 : 9 + bound * 0x1p-16F;
  const float surely = static_cast<float>(limit) + margin, hardly = static_cast<float>(limit) - margin;
  uint8_t doubts[2][kMost<float>];
  __builtin_memset(doubts[0] + count, 0, 8);
  __builtin_memset(doubts[1] + count, 0, 8);
  inVectors(count, [&](size_t from, size_t to) {
    denoise(rows[1], rows[2], columns, differences, out[0] + step, out[1] + step, step, from, to,
            [=, &doubts](int row, size_t i, float magnitude, float centre, float middle) {
              const uint8_t noise = magnitude > surely ? 1 : 0, perhaps = magnitude > hardly ? 1 : 0;
              doubts[row][i] = noise ^ perhaps;
              return perhaps ? middle : centre;
            });
  });
  if (exact) return;
  putBack(rows, step, doubts[0], out[0] + step, count, limit);
  putBack(rows + 1, step, doubts[1], out[1] + step, count, limit);
}

template <class S>
constexpr MedianRows<S> table = {medianRows<S>, removeNoise<S>};

}  // namespace

const MedianKernels medianKernels = {table<uint8_t>, table<uint16_t>, table<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
