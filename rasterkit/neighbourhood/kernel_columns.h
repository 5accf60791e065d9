#pragma once
// Sorted columns of 3 x 3 samples, from which the median is picked: what the kernels of the median and of the noise
// filter share.

#include "rasterkit/neighbourhood/kernel_ranks.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// Floats as they are, of which take sees the four of a column that two rows share. Without NaN and -0 that is the total
// order too: what compares equal has the same bits. The bound is there for noise; that there is no NaN is seen by it
// too.
struct PlainOrder {
  alignas(64) int32_t leastBits[kLanes<float>];  // those of -0 are the least
  alignas(64) int32_t mostBits[kLanes<float>];   // of the sums of columns' magnitudes

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

// f(piece, count) for all pieces of n samples. A piece has a pixel more on either side, which is left out.
template <class S, class F>
inline void byPieces(const RowPair<S>& rows, size_t n, size_t step, F f) {
  for (size_t at = 0; at + 2 * step < n; at += kPiece<S>) {
    const S* const in[] = {rows.in[0] + at, rows.in[1] + at, rows.in[2] + at, rows.in[3] + at};
    f(RowPair<S>{in,
                 {rows.out[0] + at, rows.out[1] + at},
                 {rows.nextIn[0] + at, rows.nextIn[1] + at},
                 {rows.nextOut[0] + at, rows.nextOut[1] + at}},
      least(kPiece<S> + 2 * step, n - at));
  }
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
                                   Order& __restrict order, Also also, size_t n) {
  Order seen;
  inVectors<S>(n, fetching, [&](size_t i, size_t lane) {
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
  sortVectors(rows.in[0], rows.in[1], rows.in[2], rows.in[3],
              LaterAndNext<S>{{rows.nextIn[0], rows.nextIn[1]}, rows.out[0], rows.out[1]}, columns, order, also, n);
}

struct Nothing {
  template <class S>
  void take(size_t, S, S, S, S) const {}
};

template <size_t step, class Order, class S>
[[gnu::noinline]] void pickMedians(Columns<Order, S> columns, Later<S> fetching, S* __restrict first,
                                   S* __restrict second, size_t n) {
  inVectors<S>(n, fetching, [&](size_t i, size_t) {
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
    pickMedians<pixel>(columns, Later<S>{rows.nextOut[0], rows.nextOut[1]}, rows.out[0] + pixel, rows.out[1] + pixel,
                       n - 2 * pixel);
  });
  return true;
}

// Whether floats are compared exactly: a program may have told the processor to take denormal numbers for 0.
inline bool areDenormalsCompared() {
  const volatile float least = 0x1p-149F;
  return least > 0;
}

}  // namespace
}  // namespace rasterkit::RASTERKIT_LEVEL
