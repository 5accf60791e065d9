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

// choice.of(seen, row, lane, difference, centre, median) is what becomes of a sample of one row or the other; what it
// notes on the way is added to seen.
template <size_t step, class Order, class S, class Sum, class Choice>
[[gnu::noinline]] void chooseVectors(const S* __restrict first, const S* __restrict second, Later<S> fetching,
                                     Columns<Order, S> columns, Sums<S, Sum> sums, S* __restrict outFirst,
                                     S* __restrict outSecond, size_t n, Choice choice,
                                     typename Choice::Seen& __restrict seen) {
  typename Choice::Seen noted = seen;  // of a fresh one g++ makes no vectors
  inVectors<S>(n, fetching, [&](size_t i, size_t lane) {
    const S upper = first[i + step], lower = second[i + step];
    outFirst[i] = choice.of(noted, 0, lane, sums.template differenceAt<step>(i, upper), upper,
                            columns.template medianAt<step>(i));
    outSecond[i] = choice.of(noted, 1, lane, sums.template differenceAt<step>(sums.lower + i, lower), lower,
                             columns.template medianAt<step>(columns.lower + i));
  });
  seen = noted;
}

template <class Order, class S, class Sum, class Choice>
inline typename Choice::Seen choose(const RowPair<S>& rows, size_t n, size_t step, Columns<Order, S> columns,
                                    Sums<S, Sum> sums, Choice choice) {
  typename Choice::Seen seen;
  byStep(step, [&]<size_t pixel>(Step<pixel>) {
    chooseVectors<pixel>(rows.in[1], rows.in[2], Later<S>{rows.nextOut[0], rows.nextOut[1]}, columns, sums,
                         rows.out[0] + pixel, rows.out[1] + pixel, n - 2 * pixel, choice, seen);
  });
  return seen;
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

// Neither below -limit nor above limit: moved to the least numbers of the type, one comparison tells both. It is a
// signed one, which processors without AVX-512 have.
template <class S>
struct Exceeding {
  using Sum = typename SumOf<S>::Type;
  using Signed = typename SumOf<S>::Signed;
  struct Seen {};
  static constexpr auto half = static_cast<Sum>(static_cast<Sum>(-1) / 2 + 1);

  Sum shift, most;

  explicit Exceeding(Sum limit) : shift(static_cast<Sum>(limit + half)), most(static_cast<Sum>(2 * limit + half)) {}

  S of(Seen&, int, size_t, Sum difference, S centre, S median) const {
    return static_cast<Signed>(difference + shift) <= static_cast<Signed>(most) ? centre : median;
  }
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
  choose(rows, n, step, columns, sums, Exceeding<S>(static_cast<Sum>(least(threshold, 8 * static_cast<S>(-1)))));
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

// There is a vector at least. Most rows that are not are known by their beginning.
inline bool areAllWhole(const float* const* four, size_t n) {
  return areWhole(four[1], kLanes<float>) && areWhole(four[0], n) && areWhole(four[1], n) && areWhole(four[2], n) &&
         areWhole(four[3], n);
}

// Which samples of a piece of two rows are in doubt: in the word of the row and of the lane that worked on the sample,
// a bit for each vector, the last one's the lowest.
struct Doubts {
  alignas(64) uint32_t words[2 * kLanes<float>] = {};  // row after row
  static_assert(kPiece<float> / kLanes<float> <= 32, "a bit for each vector");

  void add(int row, size_t lane, bool doubt) {
    uint32_t& word = words[static_cast<size_t>(row) * kLanes<float> + lane];
    word = 2 * word + (doubt ? 1 : 0);
  }
  // Bits are counted by two, four and eight, in all words at once.
  size_t count() const {
    uint32_t total = 0;
    for (const uint32_t word : words) {
      const uint32_t twos = word - (word >> 1 & 0x55555555);
      const uint32_t fours = (twos & 0x33333333) + (twos >> 2 & 0x33333333);
      total += ((fours + (fours >> 4)) & 0x0F0F0F0F) * 0x01010101 >> 24;
    }
    return total;
  }

  static constexpr size_t pairs = kLanes<float>;  // of words
  uint64_t pairAt(size_t pair) const { return words[2 * pair] | static_cast<uint64_t>(words[2 * pair + 1]) << 32; }
};

// Samples in doubt, gathered from all pieces of two rows into whole vectors, of which several are worked on at a time.
class Doubtful {
 public:
  Doubtful(const RowPair<float>& rows, size_t step, int limit) : rows_(rows), step_(step), limit_(limit) {}
  ~Doubtful() { judge(); }
  Doubtful(const Doubtful&) = delete;
  Doubtful& operator=(const Doubtful&) = delete;

  // What a total's magnitude must exceed to be noise.
  int limit() const { return limit_; }

  // Those of a piece that begins at some place of the rows; besides a pixel on either side it has count samples, a
  // vector at least. They have their medians so far.
  void add(size_t at, size_t count, const Doubts& doubts) {
    // Words by two, of one row; those that have a bit first, since they are few.
    uint8_t pairs[Doubts::pairs];
    size_t some = 0;
    for (size_t k = 0; k < Doubts::pairs; ++k) {
      pairs[some] = static_cast<uint8_t>(k);
      some += doubts.pairAt(k) != 0;
    }
    // The last vector ends with the piece.
    const size_t last = count - kLanes<float>, lastBegan = (count - 1) / kLanes<float> * kLanes<float>;
    for (size_t k = 0; k < some; ++k) {
      const size_t row = 2 * pairs[k] / kLanes<float>, lane = 2 * pairs[k] % kLanes<float>;
      for (uint64_t pair = doubts.pairAt(pairs[k]); pair != 0; pair &= pair - 1) {
        const auto bit = static_cast<size_t>(__builtin_ctzll(pair));
        gather(row, at + least(lastBegan - bit % 32 * kLanes<float>, last) + lane + bit / 32);
      }
    }
  }

 private:
  static constexpr size_t kRoom = 64, kDoubles = 8;  // in a vector
  static_assert(kRoom % kDoubles == 0);

  // left: the place in three rows where the sample's neighbours begin.
  void gather(size_t row, size_t left) {
    const size_t here = left + step_, right = here + step_;
    for (size_t k = 0; k < 3; ++k) {
      const float* const in = rows_.in[row + k];
      nine_[3 * k][gathered_] = in[left];
      nine_[3 * k + 1][gathered_] = in[here];
      nine_[3 * k + 2][gathered_] = in[right];
    }
    places_[gathered_] = rows_.out[row] + here;
    if (++gathered_ == kRoom) judge();
  }

  // Puts back those that are no noise after all. What the last vector has besides is old or 0.
  void judge() {
    const float* const columns[] = {nine_[0], nine_[1], nine_[2], nine_[3], nine_[4],
                                    nine_[5], nine_[6], nine_[7], nine_[8]};
    uint32_t noise[kRoom];
    mark<truncatedWithin>(columns, (gathered_ + kDoubles - 1) / kDoubles * kDoubles, limit_, noise);
    for (size_t i = 0; i < gathered_; ++i) {
      // As bits: a branch would be expected wrongly every other time.
      const auto median = static_cast<uint32_t>(bitsOf(*places_[i]));
      const auto centre = static_cast<uint32_t>(bitsOf(nine_[4][i]));
      const uint32_t settled = (median & noise[i]) | (centre & ~noise[i]);
      __builtin_memcpy(places_[i], &settled, sizeof settled);
    }
    gathered_ = 0;
  }

  const RowPair<float>& rows_;
  const size_t step_;
  const int limit_;
  float nine_[9][kRoom] = {};
  float* places_[kRoom];
  size_t gathered_ = 0;
};

// A piece of two rows, which begins at some place of them and has n samples. Its columns are summed; no magnitude is
// above the bound.
struct FloatPiece {
  const RowPair<float>& rows;
  size_t at, n, step;
  Sums<float, float> sums;
  float bound;
};

// Judges every sample.
template <int32_t (*truncate)(double)>
void judgeAll(const FloatPiece& piece, int limit) {
  const auto& [rows, at, n, step, sums, bound] = piece;
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
// come near it, less than 32 x 2^-24: with those of doubles 2^-16 of it in all. A sixteenth is for the rounding of
// limits that are small.
struct TellingApart {
  using Seen = Doubts;

  float low, high;  // between them magnitudes are in doubt

  TellingApart(int limit, float bound) {
    const double middle = limit + 1, margin = 7.0625 + bound * 0x1p-16;
    low = static_cast<float>(middle - margin);
    high = static_cast<float>(middle + margin);
  }
  // Sums of whole numbers below 2^20 are exact, and nothing is truncated; a limit that is rounded is beyond them.
  explicit TellingApart(int limit) : low(static_cast<float>(limit)), high(low) {}

  float of(Doubts& doubts, int row, size_t lane, float difference, float centre, float median) const {
    const float magnitude = __builtin_fabsf(difference);
    doubts.add(row, lane, magnitude > low && magnitude < high);
    return magnitude > low ? median : centre;
  }
};

template <class Order>
void tellApart(const FloatPiece& piece, Columns<Order, float> columns, Doubtful& doubtful) {
  const auto& [rows, at, n, step, sums, bound] = piece;
  const size_t count = n - 2 * step;
  const int limit = doubtful.limit();
  if (count < kLanes<float>) return judgeAll<truncatedWithin>(piece, limit);
  const bool exact = bound < 1 << 20 && areAllWhole(rows.in, n);
  const Doubts doubts = choose(rows, n, step, columns, sums, exact ? TellingApart(limit) : TellingApart(limit, bound));
  if (exact) return;
  // Gathering so many would take longer.
  if (doubts.count() > count / 2) return judgeAll<truncatedWithin>(piece, limit);
  doubtful.add(at, count, doubts);
}

void tellApartInTotalOrder(const FloatPiece& piece, Doubtful& doubtful) {
  alignas(64) int32_t keys[Columns<TotalOrder, float>::size];
  const Columns<TotalOrder, float> columns{keys};
  TotalOrder order;
  sortColumns(piece.rows, piece.n, columns, order, Nothing());
  tellApart(piece, columns, doubtful);
}

constexpr int kMostMagnitude = 1 << 22, kMostLimit = 16 * kMostMagnitude;

void denoise(const RowPair<float>& rows, size_t at, size_t n, size_t step, int threshold, bool plain,
             Doubtful& doubtful) {
  alignas(64) float keys[Columns<PlainOrder, float>::size], room[Sums<float, float>::size];
  const Columns<PlainOrder, float> columns{keys};
  const Sums<float, float> sums{room};
  PlainOrder order;
  sortColumns(rows, n, columns, order, sums);  // in vain but for the sums if the order does not suit
  const FloatPiece piece{rows, at, n, step, sums, order.bound()};
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
  Doubtful doubtful(rows, step, least(threshold, kMostLimit));
  const bool plain = areDenormalsCompared();
  byPieces(rows, n, step, [&](const RowPair<float>& piece, size_t count) {
    denoise(piece, static_cast<size_t>(piece.out[0] - rows.out[0]), count, step, threshold, plain, doubtful);
  });
}

}  // namespace

const NoiseKernels noiseKernels = {removeNoise<uint8_t>, removeNoise<uint16_t>, removeNoise<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
