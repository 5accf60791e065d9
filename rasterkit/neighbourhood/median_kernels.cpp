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

// Three rows of a block, from a pixel to the left of the samples that are looked at.
template <class S>
struct Around {
  const S* above;
  const S* here;
  const S* below;
  size_t step;
};

// Which samples of a block stand out: all bits set, else 0; and those of which an approximate sum leaves it in doubt. A
// mark has the size of a sample, so that vectors of both have the same length.
template <class S>
struct MarkOf {
  using Type = S;
};
template <>
struct MarkOf<float> {
  using Type = uint32_t;
};
template <class S>
struct Marks {
  using Mark = typename MarkOf<S>::Type;
  static constexpr Mark kYes = static_cast<Mark>(-1);

  Mark noise[kBlock];
  Mark doubtful[kBlock];
};

// noise[i] = whether sample i stands out, from its eight neighbours and itself.
template <class S>
using MarkExactly = void (*)(const S* const* nine, size_t n, int limit, typename MarkOf<S>::Type* noise);

// Marks the doubtful ones of n samples exactly, gathered so that vectors of them are looked at; all where they are
// many.
template <class S>
void settle(const Around<S>& around, size_t n, size_t doubts, int limit, MarkExactly<S> markExactly, Marks<S>& marks) {
  constexpr size_t many = kBlock / 8;
  const size_t step = around.step;
  const S* const nine[] = {around.above, around.above + step, around.above + 2 * step,
                           around.here,  around.here + step,  around.here + 2 * step,
                           around.below, around.below + step, around.below + 2 * step};
  if (doubts > many || doubts == n) return markExactly(nine, n, limit, marks.noise);

  uint16_t places[many + 1];
  size_t count = 0;
  for (size_t i = 0; i < n && count < doubts;) {
    constexpr size_t some = 16 / sizeof(S);
    uint64_t bits[2] = {1, 0};
    const size_t next = least(i + some, n);
    if (next == i + some) __builtin_memcpy(bits, marks.doubtful + i, sizeof bits);
    for (; (bits[0] | bits[1]) != 0 && i < next; ++i) {
      places[count] = static_cast<uint16_t>(i);
      count += marks.doubtful[i] & 1;
    }
    i = next;
  }
  S gathered[9][many];
  const S* const columns[] = {gathered[0], gathered[1], gathered[2], gathered[3], gathered[4],
                              gathered[5], gathered[6], gathered[7], gathered[8]};
  for (size_t k = 0; k < 9; ++k)
    for (size_t j = 0; j < count; ++j) gathered[k][j] = nine[k][places[j]];
  typename Marks<S>::Mark noise[many];
  markExactly(columns, count, limit, noise);
  for (size_t j = 0; j < count; ++j) marks.noise[places[j]] = noise[j];
}

// markNoise marks n samples that differ from the sum of their neighbours, eight times taken, by more than the limit,
// and tells whether there may be any. The difference is 9 x the sample less the sum of all nine.

bool markNoise(const Around<uint8_t>& around, size_t n, int limit, Marks<uint8_t>& marks) {
  const uint8_t* const __restrict above = around.above;
  const uint8_t* const __restrict here = around.here;
  const uint8_t* const __restrict below = around.below;
  const size_t step = around.step;
  int16_t sums[kBlock + 2 * kMostStep];
  for (size_t i = 0; i < n + 2 * step; ++i) sums[i] = static_cast<int16_t>(above[i] + here[i] + below[i]);
  const auto limit16 = static_cast<int16_t>(least(limit, INT16_MAX));
  uint8_t any = 0;
  for (size_t i = 0; i < n; ++i) {
    const auto difference = static_cast<int16_t>(9 * here[i + step] - (sums[i] + sums[i + step] + sums[i + 2 * step]));
    const auto magnitude = static_cast<int16_t>(difference < 0 ? -difference : difference);
    const uint8_t noise = magnitude > limit16 ? marks.kYes : 0;
    marks.noise[i] = noise;
    any |= noise;
  }
  return any != 0;
}

void markExactly(const uint16_t* const* nine, size_t n, int limit, uint16_t* __restrict noise) {
  const uint16_t *const a = nine[0], *const b = nine[1], *const c = nine[2], *const d = nine[3], *const e = nine[4],
                        *const f = nine[5], *const g = nine[6], *const h = nine[7], *const k = nine[8];
  for (size_t i = 0; i < n; ++i) {
    const int difference = 8 * e[i] - (a[i] + b[i] + c[i] + d[i] + f[i] + g[i] + h[i] + k[i]);
    noise[i] = (difference < 0 ? -difference : difference) > limit ? UINT16_MAX : 0;
  }
}

// In 16 bits, of samples without their low bits, so that the sums reach 8 x 4095. What is left out is 8 times the low
// bits of a sample less those of its neighbours.
template <int lowBits>
bool markNoise(const Around<uint16_t>& around, size_t n, int limit, Marks<uint16_t>& marks) {
  const uint16_t* const __restrict above = around.above;
  const uint16_t* const __restrict here = around.here;
  const uint16_t* const __restrict below = around.below;
  const size_t step = around.step;
  int16_t sums[kBlock + 2 * kMostStep];
  for (size_t i = 0; i < n + 2 * step; ++i)
    sums[i] = static_cast<int16_t>((above[i] >> lowBits) + (here[i] >> lowBits) + (below[i] >> lowBits));
  constexpr int leftOut = 8 * ((1 << lowBits) - 1);
  // Above `surely` it is noise, not above `hardly` it is not.
  const auto surely = static_cast<int16_t>(least((limit + leftOut) >> lowBits, INT16_MAX));
  const auto hardly = static_cast<int16_t>(least((limit - leftOut) >> lowBits, INT16_MAX));
  uint16_t any = 0, doubts = 0;
  for (size_t i = 0; i < n; ++i) {
    const auto difference =
        static_cast<int16_t>(9 * (here[i + step] >> lowBits) - (sums[i] + sums[i + step] + sums[i + 2 * step]));
    const auto magnitude = static_cast<int16_t>(difference < 0 ? -difference : difference);
    const uint16_t noise = magnitude > surely ? marks.kYes : 0;
    const uint16_t perhaps = magnitude > hardly ? marks.kYes : 0;
    marks.noise[i] = noise;
    marks.doubtful[i] = noise ^ perhaps;
    any |= perhaps;
    doubts += (noise ^ perhaps) & 1;
  }
  if (doubts > 0) settle(around, n, doubts, limit, markExactly, marks);
  return any != 0;
}

bool markNoise(const Around<uint16_t>& around, size_t n, int limit, Marks<uint16_t>& marks) {
  limit = least(limit, 8 * UINT16_MAX);
  uint16_t bits = 0;
  for (size_t i = 0; i < n + 2 * around.step; ++i) bits |= around.above[i] | around.here[i] | around.below[i];
  return bits < 4096 ? markNoise<0>(around, n, limit, marks) : markNoise<4>(around, n, limit, marks);
}

// Of floats the eight differences are added in double, one at a time, and the total is truncated to a whole number each
// time. The magnitude of the least integer, to which NaN truncates, is above every limit.
template <int32_t (*truncate)(double)>
void markExactly(const float* const* nine, size_t n, int limit, uint32_t* __restrict noise) {
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

// A sum in single precision tells most samples apart: each of the eight truncations takes less than 1, and each of at
// most 12 roundings less than 18 x 2^-24 of the greatest magnitude.
bool markNoise(const Around<float>& around, size_t n, int limit, Marks<float>& marks) {
  const float* const __restrict above = around.above;
  const float* const __restrict here = around.here;
  const float* const __restrict below = around.below;
  const size_t step = around.step;
  int32_t bits = 0;
  float sums[kBlock + 2 * kMostStep];
  for (size_t i = 0; i < n + 2 * step; ++i) {
    sums[i] = above[i] + here[i] + below[i];
    bits = greatest(greatest(bits, magnitudeBits(above[i])), greatest(magnitudeBits(here[i]), magnitudeBits(below[i])));
  }
  const float most = fromTotalOrderKey(bits);

  constexpr int mostMagnitude = 1 << 22;
  if (!(most < mostMagnitude)) {  // NaN too
    settle(around, n, n, limit, markExactly<truncated>, marks);
    return true;
  }

  limit = least(limit, 16 * mostMagnitude);
  const float margin = 9 + most * 0x1p-16F;
  const float surely = static_cast<float>(limit) + margin, hardly = static_cast<float>(limit) - margin;
  uint32_t any = 0, doubts = 0;
  for (size_t i = 0; i < n; ++i) {
    const float magnitude = __builtin_fabsf(9 * here[i + step] - (sums[i] + sums[i + step] + sums[i + 2 * step]));
    const uint32_t noise = magnitude > surely ? marks.kYes : 0;
    const uint32_t perhaps = magnitude > hardly ? marks.kYes : 0;
    marks.noise[i] = noise;
    marks.doubtful[i] = noise ^ perhaps;
    any |= perhaps;
    doubts += (noise ^ perhaps) & 1;
  }
  if (doubts > 0) settle(around, n, doubts, limit, markExactly<truncatedWithin>, marks);
  return any != 0;
}

template <class S, class M>
void keepOthers(const S* __restrict centre, const S* __restrict medians, const M* __restrict noise, S* __restrict out,
                size_t n) {
  for (size_t i = 0; i < n; ++i) out[i] = noise[i] ? medians[i] : centre[i];
}

template <class S>
void removeNoise(const S* const* rows, S* const* out, size_t n, size_t step, int threshold) {
  if (threshold < 0) return medianRow(rows, out, n, step);
  Marks<S> marks;
  S medians[kBlock];
  eachBlock(n - 2 * step, kBlock, [&](size_t from, size_t to) {
    const S *const above = rows[0] + from, *const here = rows[1] + from, *const below = rows[2] + from;
    const size_t count = to - from;
    S* const to_ = out[0] + step + from;
    if (markNoise(Around<S>{above, here, below, step}, count, threshold, marks)) {
      medianOfRows(above, here, below, medians, step, 0, count);
      keepOthers(here + step, medians, marks.noise, to_, count);
    } else {
      __builtin_memcpy(to_, here + step, count * sizeof(S));
    }
  });
}

template <class S>
void removeNoiseOfTwoRows(const S* const* rows, S* const* out, size_t n, size_t step, int threshold) {
  if (threshold < 0) return medianTwoRows(rows, out, n, step);
  Marks<S> marks[2];
  S medians[2][kBlock];
  eachBlock(n - 2 * step, kBlock, [&](size_t from, size_t to) {
    const S* const in[] = {rows[0] + from, rows[1] + from, rows[2] + from, rows[3] + from};
    const size_t count = to - from;
    const bool first = markNoise(Around<S>{in[0], in[1], in[2], step}, count, threshold, marks[0]);
    const bool second = markNoise(Around<S>{in[1], in[2], in[3], step}, count, threshold, marks[1]);
    const bool any = first || second;
    if (any) mediansOfRows(in[0], in[1], in[2], in[3], medians[0], medians[1], step, 0, count);
    for (size_t j = 0; j < 2; ++j) {
      S* const to_ = out[j] + step + from;
      if (any)
        keepOthers(in[j + 1] + step, medians[j], marks[j].noise, to_, count);
      else
        __builtin_memcpy(to_, in[j + 1] + step, count * sizeof(S));
    }
  });
}

template <class S>
constexpr MedianRows<S> table = {medianRow<S>, medianTwoRows<S>, removeNoise<S>, removeNoiseOfTwoRows<S>};

}  // namespace

const MedianKernels medianKernels = {table<uint8_t>, table<uint16_t>, table<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
