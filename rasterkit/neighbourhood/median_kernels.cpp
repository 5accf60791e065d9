#include "rasterkit/neighbourhood/median_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

#if defined(__AVX512F__)
constexpr size_t kVector = 64;
#else
constexpr size_t kVector = 32;  // or two of 16: longer stretches would not be unrolled
#endif
template <class S>
constexpr size_t kLanes = kVector / sizeof(S);  // samples in a vector
template <class S>
constexpr size_t kLine = 64 / sizeof(S);  // and in a line of the cache

// Ways to compare samples, by keys. take sees the four samples of a column that two rows share; suits tells whether the
// way is right for all it has seen.

struct WholeNumbers {
  template <class S>
  static S keyOf(S sample) {
    return sample;
  }
  template <class S>
  static S sampleOf(S key) {
    return key;
  }
  template <class S>
  void take(size_t, S, S, S, S) {}
  bool suits() const { return true; }
};

struct TotalOrder {
  static int32_t keyOf(float sample) { return totalOrderKey(sample); }
  static float sampleOf(int32_t key) { return fromTotalOrderKey(key); }
  void take(size_t, float, float, float, float) {}
  bool suits() const { return true; }
};

inline int32_t bitsOf(float sample) {
  int32_t bits;
  __builtin_memcpy(&bits, &sample, sizeof bits);
  return bits;
}

// Floats as they are. Without NaN and -0 that is the total order too: what compares equal has the same bits. The bound
// is there for noise; that there is no NaN is seen by it too.
struct PlainOrder {
  int32_t leastBits[kLanes<float>];  // those of -0 are the least
  int32_t mostBits[kLanes<float>];   // of the sums of columns' magnitudes

  PlainOrder() {
    for (int32_t& bits : leastBits) bits = INT32_MAX;
    for (int32_t& bits : mostBits) bits = 0;
  }

  static float keyOf(float sample) { return sample; }
  static float sampleOf(float key) { return key; }

  void take(size_t lane, float above, float first, float second, float below) {
    int32_t& lowest = leastBits[lane];
    int32_t& highest = mostBits[lane];
    lowest = least(lowest, least(least(bitsOf(above), bitsOf(first)), least(bitsOf(second), bitsOf(below))));
    const float sum =
        (__builtin_fabsf(above) + __builtin_fabsf(first)) + (__builtin_fabsf(second) + __builtin_fabsf(below));
    highest = greatest(highest, bitsOf(sum) & INT32_MAX);
  }

  // No magnitude is above this; NaN if there is one.
  float bound() const {
    int32_t most = 0;
    for (const int32_t bits : mostBits) most = greatest(most, bits);
    float sum;
    __builtin_memcpy(&sum, &most, sizeof sum);
    return sum;
  }
  bool suits() const {
    int32_t lowest = 0;
    for (const int32_t bits : leastBits) lowest = least(lowest, bits);
    return lowest != INT32_MIN && bound() == bound();
  }
};

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

template <size_t>
struct Step {};

// f with the step, which is 1 to 4, as a constant: what is looked at around a sample is then found from one pointer,
// where a pointer each would not fit the registers.
template <class F>
inline void byStep(size_t step, F f) {
  switch (step) {
    case 1: return f(Step<1>());
    case 2: return f(Step<2>());
    case 3: return f(Step<3>());
    default: return f(Step<4>());
  }
}

// A row is made in pieces whose sorted columns stay in the nearest cache.
template <class S>
constexpr size_t kPiece = 1024 / sizeof(S);

// f(piece, count) for all pieces of n samples. A piece has a pixel more on either side, which is left out.
template <class S, class F>
inline void byPieces(const RowPair<S>& rows, size_t n, size_t step, F f) {
  for (size_t at = 0; at + 2 * step < n; at += kPiece<S>) {
    const auto from = [at](auto* row) { return row + at; };
    f(RowPair<S>{{from(rows.in[0]), from(rows.in[1]), from(rows.in[2]), from(rows.in[3])},
                 {from(rows.out[0]), from(rows.out[1])},
                 {from(rows.nextIn[0]), from(rows.nextIn[1])},
                 {from(rows.nextOut[0]), from(rows.nextOut[1])}},
      least(kPiece<S> + 2 * step, n - at));
  }
}

// Lines of two rows that are wanted later, fetched into the second cache.
template <class S>
struct Later {
  const S *first, *second;

  void fetch(size_t i) const {
    __builtin_prefetch(first + i, 0, 2);
    __builtin_prefetch(second + i, 0, 2);
  }
};

// And of two rows that are written next, fetched into the first. Stores leave in the order they were made: behind one
// that waits for its line, the sorted columns would not be there to be picked from.
template <class S>
struct LaterAndNext {
  Later<S> later;
  const S *first, *second;

  void fetch(size_t i) const {
    later.fetch(i);
    __builtin_prefetch(first + i, 1, 3);
    __builtin_prefetch(second + i, 1, 3);
  }
};

// each(i, lane) for i from 0 to count, which is a multiple of the lanes or less than them. Lines are fetched as their
// places are met: many at once would hold up everything else.
template <size_t lanes, class S, class F, template <class> class Fetching>
[[gnu::always_inline]] inline void inVectors(size_t count, Fetching<S> fetching, F each) {
  size_t at = 0;
  for (; at + lanes <= count; at += lanes) {
    for (size_t i = 0; i < lanes; i += kLine<S>) fetching.fetch(at + i);
    for (size_t lane = 0; lane < lanes; ++lane) each(at + lane, lane);
  }
  for (; at < count; ++at) each(at, 0);
}

// f(from, count) for 0 to n in whole vectors, the last of which is done over from further left if need be.
template <size_t lanes, class F>
inline void overlapping(size_t n, F f) {
  if (n < lanes) return f(0, n);
  const size_t whole = n / lanes * lanes;
  f(0, whole);
  if (whole < n) f(n - lanes, lanes);
}

// Room for the samples that are looked at for a piece: whole lines.
template <class S>
constexpr size_t kMost = kPiece<S> + kLine<S>;

// The sorted columns of two rows from some place on: of both rows the low, the middle and the high keys, so far after
// one another. They are found from one pointer; loops would keep a pointer each, and there are not so many registers.
template <class Order, class S>
struct Columns {
  using K = decltype(Order::keyOf(S()));
  static constexpr size_t low = 0, middle = kMost<S>, high = 2 * kMost<S>, lower = 3 * kMost<S>, size = 6 * kMost<S>;

  K* __restrict keys;

  Columns from(size_t i) const { return {keys + i}; }
  void put(size_t i, const Column<K>& column) const {
    keys[low + i] = column.low;
    keys[middle + i] = column.middle;
    keys[high + i] = column.high;
  }
  Column<K> at(size_t i) const { return {keys[low + i], keys[middle + i], keys[high + i]}; }

  template <size_t step>
  S medianAt(size_t i) const {
    return Order::sampleOf(median(at(i), at(i + step), at(i + 2 * step)));
  }
};

// Both rows share the comparison of the two samples in the middle of all four. order.take(above, first, second, below)
// and also.take(i, the same) see the samples of each column while they are there.
template <class Order, class S, class Also>
[[gnu::noinline]] void sortVectors(const S* __restrict above, const S* __restrict first, const S* __restrict second,
                                   const S* __restrict below, LaterAndNext<S> fetching, Columns<Order, S> columns,
                                   Order& __restrict order, Also also, size_t count) {
  Order seen = order;
  inVectors<kLanes<S>, S>(count, fetching, [&](size_t i, size_t lane) {
    const auto a = Order::keyOf(first[i]), b = Order::keyOf(second[i]);
    const auto lesser = least(a, b), greater = greatest(a, b);
    columns.put(i, insert(lesser, greater, Order::keyOf(above[i])));
    columns.put(columns.lower + i, insert(lesser, greater, Order::keyOf(below[i])));
    seen.take(lane, above[i], first[i], second[i], below[i]);
    also.take(i, above[i], first[i], second[i], below[i]);
  });
  order = seen;
}

template <class Order, class S, class Also>
inline void sortColumns(const RowPair<S>& rows, size_t n, Columns<Order, S> columns, Order& order, Also also) {
  overlapping<kLanes<S>>(n, [&](size_t from, size_t count) {
    sortVectors(rows.in[0] + from, rows.in[1] + from, rows.in[2] + from, rows.in[3] + from,
                LaterAndNext<S>{{rows.nextIn[0] + from, rows.nextIn[1] + from}, rows.out[0] + from, rows.out[1] + from},
                columns.from(from), order, also.from(from), count);
  });
}

struct Nothing {
  Nothing from(size_t) const { return {}; }
  template <class S>
  void take(size_t, S, S, S, S) const {}
};

template <size_t step, class Order, class S>
[[gnu::noinline]] void pickMedians(Columns<Order, S> columns, Later<S> fetching, S* __restrict first,
                                   S* __restrict second, size_t count) {
  inVectors<kLanes<S>, S>(count, fetching, [&](size_t i, size_t) {
    first[i] = columns.template medianAt<step>(i);
    second[i] = columns.template medianAt<step>(columns.lower + i);
  });
}

// Of a piece. Whether the order suits the samples; nothing is made otherwise.
template <class Order, class S>
bool tryMedians(const RowPair<S>& rows, size_t n, size_t step) {
  alignas(64) typename Columns<Order, S>::K keys[Columns<Order, S>::size];
  const Columns<Order, S> columns{keys};
  Order order;
  sortColumns(rows, n, columns, order, Nothing());
  if (!order.suits()) return false;
  byStep(step, [&]<size_t pixel>(Step<pixel>) {
    overlapping<kLanes<S>>(n - 2 * pixel, [&](size_t from, size_t count) {
      pickMedians<pixel>(columns.from(from), Later<S>{rows.nextOut[0] + from, rows.nextOut[1] + from},
                         rows.out[0] + pixel + from, rows.out[1] + pixel + from, count);
    });
  });
  return true;
}

template <class S>
void medianRows(const RowPair<S>& rows, size_t n, size_t step) {
  byPieces(rows, n, step, [=](const RowPair<S>& piece, size_t count) { tryMedians<WholeNumbers>(piece, count, step); });
}

// Whether floats are compared exactly: a program may have told the processor to take denormal numbers for 0.
bool areDenormalsCompared() {
  const volatile float least = 0x1p-149F;
  return least > 0;
}

template <>
void medianRows(const RowPair<float>& rows, size_t n, size_t step) {
  const bool plain = areDenormalsCompared();
  byPieces(rows, n, step, [=](const RowPair<float>& piece, size_t count) {
    if (!plain || !tryMedians<PlainOrder>(piece, count, step)) tryMedians<TotalOrder>(piece, count, step);
  });
}

// Eight times a sample less its neighbours, of two rows from some place on, in two parts: what its own column gives,
// and the sum of another column.
template <class S, class Sum>
struct Differences {
  static constexpr size_t own = 0, side = kMost<S>, lower = 2 * kMost<S>, size = 4 * kMost<S>;

  Sum* __restrict sums;

  Differences from(size_t i) const { return {sums + i}; }

  // rest: the column without its centre.
  void put(size_t i, Sum centre, Sum rest, Sum column) const {
    sums[own + i] = static_cast<Sum>(8 * centre - rest);
    sums[side + i] = column;
  }

  void take(size_t i, S above, S first, S second, S below) const {
    const auto a = static_cast<Sum>(first), b = static_cast<Sum>(second), both = static_cast<Sum>(a + b);
    put(i, a, static_cast<Sum>(b + above), static_cast<Sum>(both + above));
    put(lower + i, b, static_cast<Sum>(a + below), static_cast<Sum>(both + below));
  }

  template <size_t step>
  Sum at(size_t i) const {
    return static_cast<Sum>(sums[own + i + step] - static_cast<Sum>(sums[side + i] + sums[side + i + 2 * step]));
  }
};

// choice(row, i, difference, centre, median): what becomes of sample i of one row or the other.
template <size_t step, size_t lanes, class Order, class S, class Sum, class F>
[[gnu::noinline]] void chooseVectors(const S* __restrict first, const S* __restrict second, Later<S> fetching,
                                     Columns<Order, S> columns, Differences<S, Sum> differences, S* __restrict outFirst,
                                     S* __restrict outSecond, size_t count, F choice) {
  inVectors<lanes, S>(count, fetching, [&](size_t i, size_t) {
    outFirst[i] = choice(0, i, differences.template at<step>(i), first[i + step], columns.template medianAt<step>(i));
    outSecond[i] = choice(1, i, differences.template at<step>(differences.lower + i), second[i + step],
                          columns.template medianAt<step>(columns.lower + i));
  });
}

// choiceFrom(from): such a choice whose i begins there.
template <size_t lanes, class Order, class S, class Sum, class F>
inline void choose(const RowPair<S>& rows, size_t n, size_t step, Columns<Order, S> columns,
                   Differences<S, Sum> differences, F choiceFrom) {
  byStep(step, [&]<size_t pixel>(Step<pixel>) {
    overlapping<lanes>(n - 2 * pixel, [&](size_t from, size_t count) {
      chooseVectors<pixel, lanes>(rows.in[1] + from, rows.in[2] + from,
                                  Later<S>{rows.nextOut[0] + from, rows.nextOut[1] + from}, columns.from(from),
                                  differences.from(from), rows.out[0] + pixel + from, rows.out[1] + pixel + from, count,
                                  choiceFrom(from));
    });
  });
}

// Whole numbers that hold 16 times the greatest sample. Differences wrap in them.
template <class S>
struct SumOf;
template <>
struct SumOf<uint8_t> {
  using Type = uint16_t;
  using Signed = int16_t;
};
template <>
struct SumOf<uint16_t> {
  using Type = uint32_t;
  using Signed = int32_t;
};

// Of a piece; the threshold is not negative.
template <class S>
void denoise(const RowPair<S>& rows, size_t n, size_t step, int threshold) {
  using Sum = typename SumOf<S>::Type;
  alignas(64) S keys[Columns<WholeNumbers, S>::size];
  alignas(64) Sum sums[Differences<S, Sum>::size];
  const Columns<WholeNumbers, S> columns{keys};
  const Differences<S, Sum> differences{sums};
  WholeNumbers order;
  sortColumns(rows, n, columns, order, differences);
  // Neither below -limit nor above limit: moved to the least numbers of the type, one comparison tells both. It is a
  // signed one, which processors without AVX-512 have.
  using Signed = typename SumOf<S>::Signed;
  constexpr auto half = static_cast<Sum>(static_cast<Sum>(-1) / 2 + 1);
  const auto limit = static_cast<Sum>(least(threshold, 8 * static_cast<S>(-1)));
  const auto shift = static_cast<Sum>(limit + half), most = static_cast<Sum>(2 * limit + half);
  choose<kLanes<S>>(rows, n, step, columns, differences, [=](size_t) {
    return [=](int, size_t, Sum difference, S centre, S middle) {
      return static_cast<Signed>(difference + shift) <= static_cast<Signed>(most) ? centre : middle;
    };
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

// Whether all are whole numbers; magnitudes are below 2^22.
inline bool areWhole(const float* row, size_t n) {
  constexpr float shift = 0x1.8p23F;
  uint32_t broken = 0;
  for (size_t i = 0; i < n; ++i) broken |= (row[i] + shift) - shift != row[i] ? 1u : 0u;
  return !broken;
}

// Most rows without are known by their beginning.
inline bool areAllWhole(const float* const* four, size_t n) {
  return areWhole(four[1], least(n, kLanes<float>)) && areWhole(four[0], n) && areWhole(four[1], n) &&
         areWhole(four[2], n) && areWhole(four[3], n);
}

// The place in memory of the lowest byte that is not 0.
inline size_t lowestByte(uint64_t eight) {
  const auto byte = static_cast<size_t>(__builtin_ctzll(eight)) / 8;
  return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? 7 - byte : byte;
}

// The places of the bytes that are 1, of bytes that are 1 or 0: the eights that have any, whatever they have, and then
// those in each, of which there is hardly ever more than one. After the last byte there are zeros up to a whole eight.
size_t placesOf(const uint8_t* ones, size_t n, uint16_t* places) {
  uint16_t eights[kMost<float> / 8 + 1];
  size_t some = 0, count = 0;
  for (size_t i = 0; i < n; i += 8) {
    uint64_t eight;
    __builtin_memcpy(&eight, ones + i, sizeof eight);
    eights[some] = static_cast<uint16_t>(i);
    some += eight != 0;
  }
  for (size_t k = 0; k < some; ++k) {
    uint64_t eight;
    __builtin_memcpy(&eight, ones + eights[k], sizeof eight);
    for (; eight != 0; eight &= eight - 1) places[count++] = static_cast<uint16_t>(eights[k] + lowestByte(eight));
  }
  return count;
}

// Samples in doubt, gathered from all pieces of two rows into whole vectors, of which several are worked on at a time.
class Doubtful {
 public:
  explicit Doubtful(int limit) : limit_(limit) {}
  ~Doubtful() { settle(); }

  // left: the place in three rows where the sample's neighbours begin; its median is in its place.
  void add(const float* const* rows, size_t step, size_t left, float* median) {
    const size_t here = left + step, right = here + step;
    for (size_t k = 0; k < 3; ++k) {
      nine_[3 * k][count_] = rows[k][left];
      nine_[3 * k + 1][count_] = rows[k][here];
      nine_[3 * k + 2][count_] = rows[k][right];
    }
    places_[count_] = median;
    if (++count_ == room) settle();
  }

 private:
  static constexpr size_t vector = 8, room = 8 * vector;

  // Puts back those that are no noise after all.
  void settle() {
    const size_t whole = (count_ + vector - 1) / vector * vector;
    for (float* const some : nine_)
      for (size_t i = count_; i < whole; ++i) some[i] = 0;
    const float* const columns[] = {nine_[0], nine_[1], nine_[2], nine_[3], nine_[4],
                                    nine_[5], nine_[6], nine_[7], nine_[8]};
    uint32_t noise[room];
    mark<truncatedWithin>(columns, whole, limit_, noise);
    for (size_t i = 0; i < count_; ++i) *places_[i] = noise[i] ? *places_[i] : nine_[4][i];
    count_ = 0;
  }

  float nine_[9][room];
  float* places_[room];
  size_t count_ = 0;
  const int limit_;
};

constexpr int kMostMagnitude = 1 << 22, kMostLimit = 16 * kMostMagnitude;

// Judges every sample.
template <int32_t (*truncate)(double)>
void judgeAll(const RowPair<float>& rows, size_t n, size_t step, int limit) {
  tryMedians<TotalOrder>(rows, n, step);
  for (size_t row = 0; row < 2; ++row) {
    const float *const a = rows.in[row], *const b = rows.in[row + 1], *const c = rows.in[row + 2];
    const float* const nine[] = {a, a + step, a + 2 * step, b, b + step, b + 2 * step, c, c + step, c + 2 * step};
    uint32_t noise[kMost<float>];
    mark<truncate>(nine, n - 2 * step, limit, noise);
    for (size_t i = step; i < n - step; ++i) rows.out[row][i] = noise[i - step] ? rows.out[row][i] : b[i];
  }
}

// A sum in single precision tells most samples apart: each of the eight truncations takes less than 1, each of at most
// 12 roundings less than 18 x 2^-24 of the greatest magnitude, and the limit's, where sums come near it, less than
// 32 x 2^-24 of it: less than 8 and 2^-16 of it in all. The ninth is for the margin's own rounding. Sums of whole
// numbers below 2^20 are exact, and nothing is truncated; a limit that is rounded is beyond them.
template <class Order>
void tellApart(const RowPair<float>& rows, size_t n, size_t step, int limit, Doubtful& doubtful,
               Columns<Order, float> columns, Differences<float, float> differences, float bound) {
  const size_t count = n - 2 * step;
  const bool exact = bound < 1 << 20 && areAllWhole(rows.in, n);
  const float margin = exact ? 0 : 9 + bound * 0x1p-16F;
  uint8_t doubts[2][kMost<float>];
  for (uint8_t* const some : doubts) __builtin_memset(some + count, 0, 8);
  choose<kLanes<uint8_t>>(rows, n, step, columns, differences, [=, &doubts](size_t from) {
    return [=, first = doubts[0] + from, second = doubts[1] + from](int row, size_t i, float difference, float centre,
                                                                    float middle) {
      const float beyond = __builtin_fabsf(difference) - static_cast<float>(limit);
      (row == 0 ? first : second)[i] = __builtin_fabsf(beyond) < margin ? 1 : 0;
      return beyond > -margin ? middle : centre;
    };
  });
  if (exact) return;
  uint16_t places[2][kMost<float>];
  const size_t some[] = {placesOf(doubts[0], count, places[0]), placesOf(doubts[1], count, places[1])};
  // Gathering so many would take longer.
  if (some[0] + some[1] > count / 2) return judgeAll<truncatedWithin>(rows, n, step, limit);
  for (size_t row = 0; row < 2; ++row)
    for (size_t i = 0; i < some[row]; ++i)
      doubtful.add(rows.in + row, step, places[row][i], rows.out[row] + step + places[row][i]);
}

void tellApartInTotalOrder(const RowPair<float>& rows, size_t n, size_t step, int limit, Doubtful& doubtful,
                           Differences<float, float> differences, float bound) {
  alignas(64) int32_t keys[Columns<TotalOrder, float>::size];
  const Columns<TotalOrder, float> columns{keys};
  TotalOrder order;
  sortColumns(rows, n, columns, order, Nothing());
  tellApart(rows, n, step, limit, doubtful, columns, differences, bound);
}

void denoise(const RowPair<float>& rows, size_t n, size_t step, int threshold, bool plain, Doubtful& doubtful) {
  alignas(64) float keys[Columns<PlainOrder, float>::size], sums[Differences<float, float>::size];
  const Columns<PlainOrder, float> columns{keys};
  const Differences<float, float> differences{sums};
  PlainOrder order;
  sortColumns(rows, n, columns, order, differences);  // in vain but for the differences if the order does not suit
  const float bound = order.bound();
  if (!(bound < kMostMagnitude)) return judgeAll<truncated>(rows, n, step, threshold);  // NaN too
  const int limit = least(threshold, kMostLimit);
  if (plain && order.suits())
    tellApart(rows, n, step, limit, doubtful, columns, differences, bound);
  else
    tellApartInTotalOrder(rows, n, step, limit, doubtful, differences, bound);
}

template <class S>
void removeNoise(const RowPair<S>& rows, size_t n, size_t step, int threshold) {
  if (threshold < 0) return medianRows(rows, n, step);
  byPieces(rows, n, step, [=](const RowPair<S>& piece, size_t count) { denoise(piece, count, step, threshold); });
}
template <>
void removeNoise(const RowPair<float>& rows, size_t n, size_t step, int threshold) {
  if (threshold < 0) return medianRows(rows, n, step);
  Doubtful doubtful(least(threshold, kMostLimit));
  const bool plain = areDenormalsCompared();
  byPieces(rows, n, step,
           [&](const RowPair<float>& piece, size_t count) { denoise(piece, count, step, threshold, plain, doubtful); });
}

template <class S>
constexpr MedianRows<S> table = {medianRows<S>, removeNoise<S>};

}  // namespace

const MedianKernels medianKernels = {table<uint8_t>, table<uint16_t>, table<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
