#include "rasterkit/neighbourhood/morphology_kernels.h"

#include "rasterkit/neighbourhood/kernel_ranks.h"

// A loop that reads at its index and ahead of it and writes at its index only may be vectorised in place: a vector is
// loaded before it is stored.
#if defined(__clang__)
#define RASTERKIT_READS_AHEAD _Pragma("clang loop vectorize(assume_safety)")
#else
#define RASTERKIT_READS_AHEAD _Pragma("GCC ivdep")
#endif

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

struct Least {
  template <class K>
  static K pick(K a, K b) {
    return least(a, b);
  }
};
struct Greatest {
  template <class K>
  static K pick(K a, K b) {
    return greatest(a, b);
  }
};

// Squares of any size -------------------------------------------------------------------------------------------------

template <class Pick, class Order, class S>
struct Rows {
  using K = typename RankKey<S>::Type;

  static K pick(K a, K b) { return Pick::pick(a, b); }
  static K pick(K a, K b, K c, K d) { return pick(pick(a, b), pick(c, d)); }

  static void begin(const S* __restrict in, K* __restrict prefix, size_t n) {
    for (size_t i = 0; i < n; ++i) prefix[i] = Order::keyOf(in[i]);
  }

  static void extend(const S* __restrict in, K* __restrict row, K* __restrict prefix, size_t n) {
    for (size_t i = 0; i < n; ++i) {
      const K key = Order::keyOf(in[i]);
      row[i] = key;
      prefix[i] = pick(prefix[i], key);
    }
  }

  static void advance(const S* __restrict in, K* __restrict row, K* __restrict prefix, const K* __restrict suffix,
                      K* __restrict line, size_t n) {
    for (size_t i = 0; i < n; ++i) {
      const K key = Order::keyOf(in[i]);
      const K picked = pick(prefix[i], key);
      row[i] = key;
      prefix[i] = picked;
      line[i] = pick(picked, suffix[i]);
    }
  }

  static void meet(const K* __restrict suffix, const K* __restrict prefix, K* __restrict line, size_t n) {
    for (size_t i = 0; i < n; ++i) line[i] = pick(suffix[i], prefix[i]);
  }

  static void gather(K* __restrict row, const K* __restrict next, size_t n) {
    for (size_t i = 0; i < n; ++i) row[i] = pick(row[i], next[i]);
  }

  // line[i] = pick over four keys, so far apart, from i on.
  static void join(K* line, size_t apart, size_t from, size_t to) {
    const K* const second = line + apart;
    const K* const third = second + apart;
    const K* const fourth = third + apart;
    RASTERKIT_READS_AHEAD
    for (size_t i = from; i < to; ++i) line[i] = pick(line[i], second[i], third[i], fourth[i]);
  }

  // out[i] = the pick over the side, from keys that cover so many pixels each; the last two overlap.
  static void finish(const K* __restrict line, size_t covered, size_t side, size_t step, S* __restrict out, size_t n) {
    const K* const second = line + covered * step;
    const K* const third = second + covered * step;
    const K* const last = line + (side - covered) * step;
    if (side <= covered * 2) {
      for (size_t i = 0; i < n; ++i) out[i] = Order::sampleOf(pick(line[i], last[i]));
    } else if (side <= covered * 3) {
      for (size_t i = 0; i < n; ++i) out[i] = Order::sampleOf(pick(pick(line[i], second[i]), last[i]));
    } else {
      for (size_t i = 0; i < n; ++i) out[i] = Order::sampleOf(pick(line[i], second[i], third[i], last[i]));
    }
  }

  // How far a step gets with so many keys known: whole vectors, until the last of them are known too.
  static size_t reached(size_t from, size_t known, size_t ahead, bool last) {
    constexpr size_t aligned = 192;  // a multiple of every step and of the samples in the widest vector
    const size_t to = known > ahead ? known - ahead : 0;
    return greatest(from, last ? to : to / aligned * aligned);
  }

  // Windows are joined in fours, in place, until at most four of them cover the side. Each level changes the keys
  // before its own end only, and needs keys that the level before has finished.
  static void across(Joining<S>& joining, size_t known, bool last) {
    const size_t side = joining.side, step = joining.step;
    size_t covered = 1;
    for (size_t* joined = joining.joined; covered * 4 < side; covered *= 4, ++joined) {
      const size_t to = reached(*joined, known, covered * 3 * step, last);
      join(joining.line, covered * step, *joined, to);
      known = *joined = to;
    }
    const size_t from = joining.done, to = reached(from, known, (side - covered) * step, last);
    finish(joining.line + from, covered, side, step, joining.out + from, to - from);
    joining.done = to;
  }
};

// Squares that reach 1 to 4 pixels ------------------------------------------------------------------------------------

// The bits of floats as they are, which are in order but for those with a sign. The least of several has it if any of
// them has it, the greatest if all have: only then the keys' pick is another one. The neutral keys lose against all
// others as bits too.
struct Bits {
  alignas(64) int32_t seen[kLanes<float>] = {};  // what was picked, or-ed

  static int32_t keyOf(float sample) { return bitsOf(sample); }
  static float sampleOf(int32_t bits) {
    float sample;
    __builtin_memcpy(&sample, &bits, sizeof sample);
    return sample;
  }
  void take(size_t lane, int32_t upper, int32_t lower) { seen[lane] |= upper | lower; }
  bool suits() const {
    int32_t any = 0;
    for (const int32_t bits : seen) any |= bits;
    return any >= 0;
  }
};

// Two rows share all but the outermost of the rows they are picked from. They are made in pieces, whose extrema down
// the columns stay in the nearest cache.
template <class Pick, class Order, class S, size_t reach>
struct Squares {
  using K = typename RankKey<S>::Type;

  static constexpr size_t side = 2 * reach + 1;
  static constexpr size_t room = kLine<S>;  // beside a piece: whole vectors
  static_assert(4 * reach <= room, "the margin of four channels");

  // Over rows first to last.
  template <size_t first, size_t last>
  static K down(const S* const* in, size_t i) {
    const K key = Order::keyOf(in[first][i]);
    if constexpr (first == last)
      return key;
    else
      return Pick::pick(key, down<first + 1, last>(in, i));
  }

  [[gnu::noinline]] static void pickDown(const S* const* rows, size_t at, Later<S> fetching, Order& __restrict order,
                                         K* __restrict upper, K* __restrict lower, size_t n) {
    const S* in[side + 1];  // here they are known not to be changed by what is stored
    for (size_t k = 0; k <= side; ++k) in[k] = rows[k] + at;
    Order seen;
    inVectors<S>(n, fetching, [&](size_t i, size_t lane) {
      const K shared = down<1, side - 1>(in, i);
      upper[i] = Pick::pick(shared, Order::keyOf(in[0][i]));
      lower[i] = Pick::pick(shared, Order::keyOf(in[side][i]));
      seen.take(lane, upper[i], lower[i]);
    });
    order = seen;
  }

  // Over so many keys, a step apart.
  template <size_t count>
  static K across(const K* line, size_t step) {
    if constexpr (count == 1)
      return *line;
    else
      return Pick::pick(*line, across<count - 1>(line + step, step));
  }

  [[gnu::noinline]] static void pickAcross(const K* __restrict line, size_t step, LaterRow<S> fetching,
                                           S* __restrict out, size_t n) {
    inVectors<S>(n, fetching, [&](size_t i, size_t) { out[i] = Order::sampleOf(across<side>(line + i, step)); });
  }

  // Makes samples `at` to `to` of rows of n, if the order suits.
  static bool tryPiece(const RowPair<S>& rows, size_t at, size_t to, size_t n, size_t step, K neutral) {
    // A piece begins at line[room].
    alignas(64) K lines[2][kPiece<S> + 3 * room];
    K* const upper = lines[0] + room;
    K* const lower = lines[1] + room;
    const size_t margin = reach * step, before = at == 0 ? 0 : room, end = least(to + room, n);
    for (size_t i = 1; i <= margin; ++i) {
      if (at == 0) *(upper - i) = *(lower - i) = neutral;
      if (end == n) upper[n - at + i - 1] = lower[n - at + i - 1] = neutral;
    }
    Order order;
    const size_t first = at - before;
    pickDown(rows.in, first, {rows.nextIn[0] + first, rows.nextIn[1] + first}, order, upper - before, lower - before,
             end - first);
    if (!order.suits()) return false;
    pickAcross(upper - margin, step, {rows.nextOut[0] + at}, rows.out[0] + at, to - at);
    pickAcross(lower - margin, step, {rows.nextOut[1] + at}, rows.out[1] + at, to - at);
    return true;
  }
};

template <class Pick, class Order, class S, size_t reach, typename RankKey<S>::Type neutral>
void squareRows(const RowPair<S>& rows, size_t n, size_t step) {
  bool asBits = sizeof(S) == sizeof(float);  // until they do not suit
  for (size_t at = 0, to; at < n; at = to) {
    to = n - at < kPiece<S> + kLanes<S> ? n : at + kPiece<S>;
    if constexpr (sizeof(S) == sizeof(float))
      asBits = asBits && Squares<Pick, Bits, S, reach>::tryPiece(rows, at, to, n, step, neutral);
    if (!asBits) Squares<Pick, Order, S, reach>::tryPiece(rows, at, to, n, step, neutral);
  }
}

template <class Pick, class Order, class S, typename RankKey<S>::Type neutral>
constexpr ExtremumRows<S> rowsOf = {neutral,
                                    Rows<Pick, Order, S>::begin,
                                    Rows<Pick, Order, S>::extend,
                                    Rows<Pick, Order, S>::advance,
                                    Rows<Pick, Order, S>::meet,
                                    Rows<Pick, Order, S>::gather,
                                    Rows<Pick, Order, S>::across,
                                    {squareRows<Pick, Order, S, 1, neutral>, squareRows<Pick, Order, S, 2, neutral>,
                                     squareRows<Pick, Order, S, 3, neutral>, squareRows<Pick, Order, S, 4, neutral>}};

}  // namespace

const MorphologyKernels morphologyKernels = {
    {rowsOf<Least, WholeNumbers, uint8_t, UINT8_MAX>, rowsOf<Least, WholeNumbers, uint16_t, UINT16_MAX>,
     rowsOf<Least, TotalOrder, float, INT32_MAX>},
    {rowsOf<Greatest, WholeNumbers, uint8_t, 0>, rowsOf<Greatest, WholeNumbers, uint16_t, 0>,
     rowsOf<Greatest, TotalOrder, float, INT32_MIN>},
};

}  // namespace rasterkit::RASTERKIT_LEVEL
