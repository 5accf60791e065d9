#include "rasterkit/neighbourhood/noise_kernels.h"

#include "rasterkit/neighbourhood/kernel_columns.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// 9, which the compiler is not to know where vectors have ports to spare for a product: of nine times a whole number it
// would make a shift and a sum, with which the filter takes a seventh longer.
template <class Sum>
inline Sum nineOf() {
#if defined(__AVX512F__)
  const volatile Sum nine = 9;
#else
  constexpr Sum nine = 9;
#endif
  return nine;
}

// The sums of the columns of two rows from some place on.
template <class S, class Sum>
struct Sums {
  static constexpr size_t lower = kMost<S>, size = 2 * kMost<S>;

  Sum* __restrict sums;
  Sum nine = nineOf<Sum>();

  Sums from(size_t i) const { return {sums + i, nine}; }

  void take(size_t i, S above, S first, S second, S below) const {
    const auto both = static_cast<Sum>(static_cast<Sum>(first) + static_cast<Sum>(second));
    sums[i] = static_cast<Sum>(both + static_cast<Sum>(above));
    sums[lower + i] = static_cast<Sum>(both + static_cast<Sum>(below));
  }

  // Eight times the centre less its neighbours: nine times less all.
  template <size_t step>
  Sum differenceAt(size_t i, S centre) const {
    const auto beside = static_cast<Sum>(sums[i] + sums[i + 2 * step]);
    return static_cast<Sum>(nine * static_cast<Sum>(centre) - static_cast<Sum>(sums[i + step] + beside));
  }
};

// choice(row, i, difference, centre, median): what becomes of sample i of one row or the other.
template <size_t step, size_t lanes, class Order, class S, class Sum, class F>
[[gnu::noinline]] void chooseVectors(const S* __restrict first, const S* __restrict second, Later<S> fetching,
                                     Columns<Order, S> columns, Sums<S, Sum> sums, S* __restrict outFirst,
                                     S* __restrict outSecond, size_t count, F choice) {
  inVectors<lanes, S>(count, fetching, [&](size_t i, size_t) {
    const S upper = first[i + step], lower = second[i + step];
    outFirst[i] = choice(0, i, sums.template differenceAt<step>(i, upper), upper, columns.template medianAt<step>(i));
    outSecond[i] = choice(1, i, sums.template differenceAt<step>(sums.lower + i, lower), lower,
                          columns.template medianAt<step>(columns.lower + i));
  });
}

// choiceFrom(from): such a choice whose i begins there.
template <size_t lanes, class Order, class S, class Sum, class F>
inline void choose(const RowPair<S>& rows, size_t n, size_t step, Columns<Order, S> columns, Sums<S, Sum> sums,
                   F choiceFrom) {
  byStep(step, [&]<size_t pixel>(Step<pixel>) {
    overlapping<lanes>(n - 2 * pixel, [&](size_t from, size_t count) {
      chooseVectors<pixel, lanes>(rows.in[1] + from, rows.in[2] + from,
                                  Later<S>{rows.nextOut[0] + from, rows.nextOut[1] + from}, columns.from(from),
                                  sums.from(from), rows.out[0] + pixel + from, rows.out[1] + pixel + from, count,
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
  alignas(64) Sum room[Sums<S, Sum>::size];
  const Columns<WholeNumbers, S> columns{keys};
  const Sums<S, Sum> sums{room};
  WholeNumbers order;
  sortColumns(rows, n, columns, order, sums);
  // Neither below -limit nor above limit: moved to the least numbers of the type, one comparison tells both. It is a
  // signed one, which processors without AVX-512 have.
  using Signed = typename SumOf<S>::Signed;
  constexpr auto half = static_cast<Sum>(static_cast<Sum>(-1) / 2 + 1);
  const auto limit = static_cast<Sum>(least(threshold, 8 * static_cast<S>(-1)));
  const auto shift = static_cast<Sum>(limit + half), most = static_cast<Sum>(2 * limit + half);
  choose<kLanes<S>>(rows, n, step, columns, sums, [=](size_t) {
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
// those in each, of which there is hardly ever more than one. There are no more bytes than samples in a piece, and
// after the last of them zeros up to a whole eight.
size_t placesOf(const uint8_t* ones, size_t n, uint16_t* places) {
  uint16_t eights[kPiece<float> / 8];
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

  // What a total's magnitude must exceed to be noise.
  int limit() const { return limit_; }

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

// A piece of two rows of n samples, whose columns are summed; no magnitude is above the bound.
struct FloatPiece {
  const RowPair<float>& rows;
  size_t n, step;
  Sums<float, float> sums;
  float bound;
};

// Judges every sample.
template <int32_t (*truncate)(double)>
void judgeAll(const FloatPiece& piece, int limit) {
  const auto& [rows, n, step, sums, bound] = piece;
  tryMedians<TotalOrder>(rows, n, step);
  for (size_t row = 0; row < 2; ++row) {
    const float *const a = rows.in[row], *const b = rows.in[row + 1], *const c = rows.in[row + 2];
    const float* const nine[] = {a, a + step, a + 2 * step, b, b + step, b + 2 * step, c, c + step, c + 2 * step};
    uint32_t noise[kMost<float>];
    mark<truncate>(nine, n - 2 * step, limit, noise);
    for (size_t i = step; i < n - step; ++i) rows.out[row][i] = noise[i - step] ? rows.out[row][i] : b[i];
  }
}

// A sum in single precision tells most samples apart. Each of eight truncations takes less than 1, toward 0; of those
// before a positive total at most seven went up, as the last one did not. So the total lies less than 8 below and less
// than 7 above the sum: it exceeds the limit where the sum does by 8, and, being whole, does not where the sum is 6
// below. Each of at most 12 roundings takes less than 18 x 2^-24 of the greatest magnitude, and the limit's, where sums
// come near it, less than 32 x 2^-24: with those of doubles 2^-16 of it in all. A sixteenth is for the margin's own
// rounding. Sums of whole numbers below 2^20 are exact, and nothing is truncated; a limit that is rounded is beyond
// them.
template <class Order>
void tellApart(const FloatPiece& piece, Columns<Order, float> columns, Doubtful& doubtful) {
  const auto& [rows, n, step, sums, bound] = piece;
  const size_t count = n - 2 * step;
  const bool exact = bound < 1 << 20 && areAllWhole(rows.in, n);
  const float middleOfDoubt = static_cast<float>(doubtful.limit() + 1);
  const float margin = exact ? 0.5F : 7.0625F + bound * 0x1p-16F;
  uint8_t doubts[2][kMost<float>];
  for (uint8_t* const some : doubts) __builtin_memset(some + count, 0, 8);
  choose<kLanes<uint8_t>>(rows, n, step, columns, sums, [=, &doubts](size_t from) {
    return [=, first = doubts[0] + from, second = doubts[1] + from](int row, size_t i, float difference, float centre,
                                                                    float middle) {
      const float beyond = __builtin_fabsf(difference) - middleOfDoubt;
      (row == 0 ? first : second)[i] = __builtin_fabsf(beyond) < margin ? 1 : 0;
      return beyond > -margin ? middle : centre;
    };
  });
  if (exact) return;
  uint16_t places[2][kMost<float>];
  const size_t some[] = {placesOf(doubts[0], count, places[0]), placesOf(doubts[1], count, places[1])};
  // Gathering so many would take longer.
  if (some[0] + some[1] > count / 2) return judgeAll<truncatedWithin>(piece, doubtful.limit());
  for (size_t row = 0; row < 2; ++row)
    for (size_t i = 0; i < some[row]; ++i)
      doubtful.add(rows.in + row, step, places[row][i], rows.out[row] + step + places[row][i]);
}

void tellApartInTotalOrder(const FloatPiece& piece, Doubtful& doubtful) {
  alignas(64) int32_t keys[Columns<TotalOrder, float>::size];
  const Columns<TotalOrder, float> columns{keys};
  TotalOrder order;
  sortColumns(piece.rows, piece.n, columns, order, Nothing());
  tellApart(piece, columns, doubtful);
}

constexpr int kMostMagnitude = 1 << 22, kMostLimit = 16 * kMostMagnitude;

void denoise(const RowPair<float>& rows, size_t n, size_t step, int threshold, bool plain, Doubtful& doubtful) {
  alignas(64) float keys[Columns<PlainOrder, float>::size], room[Sums<float, float>::size];
  const Columns<PlainOrder, float> columns{keys};
  const Sums<float, float> sums{room};
  PlainOrder order;
  sortColumns(rows, n, columns, order, sums);  // in vain but for the sums if the order does not suit
  const FloatPiece piece{rows, n, step, sums, order.bound()};
  if (!(piece.bound < kMostMagnitude))  // NaN too
    judgeAll<truncated>(piece, threshold);
  else if (plain && order.suits())
    tellApart(piece, columns, doubtful);
  else
    tellApartInTotalOrder(piece, doubtful);
}

template <class S>
void removeNoise(const RowPair<S>& rows, size_t n, size_t step, int threshold) {
  byPieces(rows, n, step, [=](const RowPair<S>& piece, size_t count) { denoise(piece, count, step, threshold); });
}
template <>
void removeNoise(const RowPair<float>& rows, size_t n, size_t step, int threshold) {
  Doubtful doubtful(least(threshold, kMostLimit));
  const bool plain = areDenormalsCompared();
  byPieces(rows, n, step,
           [&](const RowPair<float>& piece, size_t count) { denoise(piece, count, step, threshold, plain, doubtful); });
}

}  // namespace

const NoiseKernels noiseKernels = {removeNoise<uint8_t>, removeNoise<uint16_t>, removeNoise<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
