// A kernel is the list of its taps, the weights that are not 0. What is summed, in which numbers, is decided once a
// call from the greatest size a sum can have:
//
//     at most 32767, 8-bit samples    16-bit integers
//     below 2^22                      single precision, in which such whole numbers are exact
//     any                             32-bit integers that wrap
//
// Float kernels whose weights are small whole multiples of a power of two are whole kernels with another divisor; other
// ones are estimated in single precision and computed in double where the estimate leaves a doubt, or always.

#include <rasterkit/neighbourhood/convolution.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/numbers.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/prefetch.h"
#include "rasterkit/core/window.h"
#include "rasterkit/neighbourhood/convolution_engine.h"
#include "rasterkit/neighbourhood/convolution_kernels.h"
#include "rasterkit/neighbourhood/select_kernels.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace rasterkit {
namespace {

template <class S>
const ConvolutionRows<S>& convolutionRows() {
  const ConvolutionKernels& table = kernels<ConvolutionKernels>();
  if constexpr (std::is_same_v<S, std::uint8_t>)
    return table.bytes;
  else
    return table.words;
}

// The pixels that are computed, and what they are computed from.
struct Area {
  int left, top, right, bottom;  // right and bottom do not belong to it
  Margins around;

  Area(int width, int height, CSize size, bool extended) {
    const int x = size.cx / 2, y = size.cy / 2;
    left = extended ? 0 : x;
    top = extended ? 0 : y;
    right = width - left;
    bottom = height - top;
    around = {.above = y, .below = size.cy - 1 - y};
    // Without extension the leftmost tap of the leftmost pixel is column 0.
    if (extended) around.left = x, around.right = size.cx - 1 - x;
  }
  bool empty() const { return left >= right || top >= bottom; }
};

// A window over an image that stays as it is, whose wide rows are read where they are but for their ends: only those
// have columns beyond the image.
template <class S>
class WideWindow {
 public:
  // Whether so wide an image gains by it.
  static bool suits(View<const S> in, View<S> out, const Area& area) {
    return in.height > 0 && in.first != out.first && area.around.left > 0 && in.samples() >= 4096 &&
           std::max(area.around.left, area.around.right) <= kEnd;
  }

  WideWindow(View<const S> in, View<S> out, Margins around)
      : in_(in),
        left_(part(in, 0, kEnd + around.right), out, {around.above, around.below, around.left, 0}),
        inside_(in, out, {around.above, around.below}),
        right_(part(in, in.width - kEnd - around.left, kEnd + around.left), out,
               {around.above, around.below, 0, around.right}),
        leftMargin_(static_cast<std::size_t>(around.left) * static_cast<std::size_t>(in.channels)),
        end_(static_cast<std::size_t>(kEnd) * static_cast<std::size_t>(in.channels)) {}

  const S* const* rows(int y) {
    leftRows_ = left_.rows(y);
    rightRows_ = right_.rows(y);
    return rows_ = inside_.rows(y);
  }
  std::size_t count() const { return inside_.count(); }
  void row(int) {}

  std::size_t pointAt(std::size_t at, const S** rows) const {
    const std::size_t last = in_.samples() - end_;
    for (std::size_t k = 0; k < count(); ++k)
      rows[k] = at < end_ ? leftRows_[k] + at : at < last ? rows_[k] + (at - leftMargin_) : rightRows_[k] + (at - last);
    return (at < end_ ? end_ : at < last ? last : in_.samples()) - at;
  }

 private:
  static constexpr int kEnd = 64;  // pixels

  static View<const S> part(View<const S> in, int column, int width) {
    in.first += std::ptrdiff_t{column} * in.channels;
    in.width = width;
    return in;
  }

  const View<const S> in_;
  Window<S> left_, inside_, right_;
  std::size_t leftMargin_, end_;
  const S* const* leftRows_ = nullptr;
  const S* const* rows_ = nullptr;
  const S* const* rightRows_ = nullptr;
};

// Points at the leftmost taps of sample `at` of n in the rows of a window; they serve for so many samples.
template <class S>
std::size_t pointAt(const WideWindow<S>& window, const S* const*, std::size_t at, std::size_t, const S** taps) {
  return window.pointAt(at, taps);
}
template <class S, class T>
std::size_t pointAt(const Window<S, T>& window, const T* const* rows, std::size_t at, std::size_t n, const T** taps) {
  for (std::size_t k = 0; k < window.count(); ++k) taps[k] = rows[k] + at;
  return n - at;
}

// row(rows, out, n) for pieces of the rows of the area, `together` rows at a time, rows standing at the leftmost tap of
// the first sample. Other pixels become those of the source, or 0.
template <int together = 1, class S, class AnyWindow, class Row>
void eachRow(View<const S> in, View<S> out, View<const std::uint8_t> mask, const Area& area, bool clears,
             AnyWindow& window, Row row) {
  using T = std::remove_cvref_t<decltype(**window.rows(0))>;
  const auto channels = static_cast<std::size_t>(in.channels);
  const auto width = static_cast<std::size_t>(area.right - area.left);
  const std::size_t first = static_cast<std::size_t>(area.left) * channels, n = width * channels;
  const SelectRow<S> select = kernelsOf<SelectKernels, S>();
  // Lines for what the mask selects of, and for rows beyond the area.
  std::vector<S> lines(mask.first || together > 1 ? n * together : 0);
  std::vector<const T*> piece(window.count());

  const auto keep = [clears](const S* from, S* to, std::size_t count) {
    if (clears)
      std::fill_n(to, count, S(0));
    else if (from != to)
      std::copy_n(from, count, to);
  };
  for (int y = 0; y < area.top; ++y) {
    if (clears) window.row(y);  // which it keeps, where in is out
    keep(in.row(y), out.row(y), in.samples());
  }
  for (int y = area.top; y < area.bottom; y += together) {
    const T* const* const rows = window.rows(y);
    const int count = std::min(together, area.bottom - y);
    S* to[together];
    for (int i = 0; i < together; ++i) {
      to[i] = lines.data() + n * static_cast<std::size_t>(i);
      if (i >= count) continue;
      const S* const from = in.row(y + i);
      S* const whole = out.row(y + i);
      keep(from, whole, mask.first ? in.samples() : first);
      keep(from + first + n, whole + first + n, in.samples() - first - n);
      if (!mask.first) to[i] = whole + first;
    }
    constexpr std::size_t most = 4096 / sizeof(T);
    for (std::size_t at = 0, samples; at < n; at += samples) {
      samples = std::min(most, pointAt(window, rows, at, n, piece.data()));
      // Of bytes the beginning alone: more would hold up the lines that are worked on (blur, 3 channels: 10 ms, not 7).
      const std::size_t fetched = sizeof(S) == 1 ? 1 : samples * sizeof(S);
      for (int i = together; i < 2 * together; ++i) {
        const std::int64_t next = std::int64_t{y} + area.around.below + i;
        if (next < in.height) fetchAhead(in.row(static_cast<int>(next)) + first + at, fetched);
        if (y + i < in.height) fetchAhead(out.row(y + i) + first + at, fetched);
      }
      S* pieces[together];
      for (int i = 0; i < together; ++i) pieces[i] = to[i] + at;
      row(piece.data(), pieces, samples);
    }
    for (int i = 0; mask.first && i < count; ++i)
      select(to[i], mask.row(y + i) + area.left, channels, out.row(y + i) + first, width);
  }
  for (int y = area.bottom; y < in.height; ++y) keep(in.row(y), out.row(y), in.samples());
}

// The weights that are not 0, as numbers of type W, with the places they are read from.
template <class T, class W>
class TapList {
 public:
  template <class Weight>
  TapList(const Weight* weights, CSize size, int channels) {
    for (int j = 0; j < size.cy; ++j)
      for (int i = 0; i < size.cx; ++i)
        if (const Weight weight = weights[std::ptrdiff_t{j} * size.cx + i]; weight != 0) {
          rows_.push_back(j);
          columns_.push_back(std::ptrdiff_t{i} * channels);
          weights_.push_back(static_cast<W>(weight));
        }
    in_.resize(weights_.size());
  }

  // With the rows around a row of the image.
  Taps<T, W> at(const T* const* rows) {
    for (std::size_t k = 0; k < in_.size(); ++k) in_[k] = rows[rows_[k]] + columns_[k];
    return {in_.data(), weights_.data(), weights_.size()};
  }

 private:
  std::vector<int> rows_;
  std::vector<std::ptrdiff_t> columns_;
  std::vector<W> weights_;
  std::vector<const T*> in_;
};

// Whole kernels -------------------------------------------------------------------------------------------------------

constexpr std::int64_t kMostNarrow = 32767;
constexpr std::int64_t kMostSingle = (std::int64_t{1} << 22) - 1;

std::int64_t sizeOf(int number) { return std::abs(std::int64_t{number}); }

// The greatest size that a sum of samples of S can have.
template <class S>
std::int64_t greatestSum(const WholeKernel& kernel) {
  const std::int64_t count = std::int64_t{kernel.size.cx} * kernel.size.cy;
  std::int64_t total = 0;
  for (std::int64_t k = 0; k < count; ++k) total += sizeOf(kernel.weights[k]);
  // Far beyond what any form tells apart.
  return std::min<std::int64_t>(total, INT64_MAX / 131072) * std::numeric_limits<S>::max() + sizeOf(kernel.start);
}

// Division of sums up to 32767 (Granlund and Montgomery 1994): with l = ceil(log2 d) and m = floor(2^(15 + l) / d) + 1,
// sum * m >> (15 + l) is the quotient for every sum below 2^15; m is below 2^16 as d is above 1.
NarrowRule narrowRule(const WholeKernel& kernel) {
  const auto divisor = static_cast<std::uint32_t>(sizeOf(kernel.divisor));
  NarrowRule rule{};
  if (divisor > 1) {
    std::uint32_t log = 1;
    while (1U << log < divisor) ++log;
    rule.multiplier = static_cast<std::uint16_t>((1U << (15 + log)) / divisor + 1);
    rule.shift = static_cast<std::uint16_t>(log - 1);
  }
  rule.plain = kernel.offset == 0 && kernel.divisor > 0;
  rule.magnitude = kernel.magnitude;
  rule.negative = kernel.divisor < 0 ? -1 : 0;
  rule.start = kernel.start;
  // Quotients are limited before the offset is added, so that nothing leaves 16 bits: to -offset and most - offset. Of
  // an offset beyond all quotients only the end of the range is left that they are on.
  const int most = std::min(kernel.most, 255);
  const int offset = std::clamp<int>(kernel.offset, -32767, 32767 + 255);
  rule.flipBelow = static_cast<std::int16_t>(kernel.magnitude ? std::clamp(-offset, -32768, 32767) : -32768);
  rule.least = static_cast<std::int16_t>(std::clamp(-offset, -32767, 32767));
  rule.greatest = static_cast<std::int16_t>(std::clamp(most - offset, -32767, 32767));
  rule.offset = static_cast<std::int16_t>(static_cast<std::uint16_t>(offset & 0xFFFF));
  return rule;
}

WholeRule wholeRule(const WholeKernel& kernel, int greatest) {
  return {.inverse = 1.0 / kernel.divisor,
          .offset = kernel.offset,
          .flipBelow = kernel.magnitude ? 0 : INT_MIN,
          .greatest = std::min(kernel.most, greatest),
          .start = kernel.start};
}

// The weights as a column times a row, and something more in the centre, where that takes fewer products: smoothing
// and difference kernels mostly do. Whole sums are exact whichever way they are added up.
struct Factors {
  std::vector<int> down, across;  // down.size() x across.size() weights
  int centre = 0;
};

std::optional<Factors> factors(const WholeKernel& kernel, int channels) {
  const int cx = kernel.size.cx, cy = kernel.size.cy;
  if (cx < 3 || cy < 3 || cx > static_cast<int>(kMostAcross) || (cx - 1) * channels > static_cast<int>(kMostReach))
    return {};
  const auto weight = [&](int i, int j) { return kernel.weights[std::ptrdiff_t{j} * cx + i]; };
  const int centreX = cx / 2, centreY = cy / 2;
  // Any row but the centre's, with a weight outside the centre's column, tells the row up to a factor.
  for (int j0 = 0; j0 < cy; ++j0) {
    int i0 = 0;
    while (i0 < cx && (i0 == centreX || weight(i0, j0) == 0)) ++i0;
    if (j0 == centreY || i0 == cx) continue;
    Factors found;
    int divisor = 0;
    for (int i = 0; i < cx; ++i) divisor = std::gcd(divisor, weight(i, j0));
    for (int i = 0; i < cx; ++i) found.across.push_back(weight(i, j0) / divisor);
    for (int j = 0; j < cy; ++j) found.down.push_back(weight(i0, j) / found.across[static_cast<std::size_t>(i0)]);
    const auto product = [&](int i, int j) {
      return std::int64_t{found.down[static_cast<std::size_t>(j)]} * found.across[static_cast<std::size_t>(i)];
    };
    for (int j = 0; j < cy; ++j)
      for (int i = 0; i < cx; ++i)
        if ((i != centreX || j != centreY) && product(i, j) != weight(i, j)) return {};
    found.centre = static_cast<int>(weight(centreX, centreY) - product(centreX, centreY));

    const auto taps = [](const int* first, std::ptrdiff_t count) {
      return count - std::count(first, first + count, 0);
    };
    const std::ptrdiff_t factored = taps(found.down.data(), cy) + taps(found.across.data(), cx) + (found.centre != 0);
    if (factored + 1 >= taps(kernel.weights, std::ptrdiff_t{cx} * cy)) return {};
    return found;
  }
  return {};
}

// The greatest size of a sum and of all its parts.
template <class S>
std::int64_t greatestSum(const WholeKernel& kernel, const Factors& by) {
  const auto total = [](const std::vector<int>& weights) {
    return std::accumulate(weights.begin(), weights.end(), std::int64_t{0},
                           [](std::int64_t sum, int weight) { return sum + sizeOf(weight); });
  };
  return (total(by.down) * total(by.across) + sizeOf(by.centre)) * std::numeric_limits<S>::max() + sizeOf(kernel.start);
}

template <class T>
class FactoredList {
 public:
  FactoredList(const Factors& by, int channels)
      : down_(by.down.data(), CSize(1, static_cast<int>(by.down.size())), channels),
        reach_((by.across.size() - 1) * static_cast<std::size_t>(channels)),
        centreRow_(by.down.size() / 2),
        centreColumn_(by.across.size() / 2 * static_cast<std::size_t>(channels)),
        centre_(static_cast<T>(by.centre)) {
    for (std::size_t i = 0; i < by.across.size(); ++i) {
      if (by.across[i] == 0) continue;
      places_.push_back(i * static_cast<std::size_t>(channels));
      across_.push_back(static_cast<T>(by.across[i]));
    }
  }

  FactoredTaps<T> at(const T* const* rows) {
    return {.down = down_.at(rows),
            .places = places_.data(),
            .across = across_.data(),
            .count = across_.size(),
            .reach = reach_,
            .centre = centre_ == 0 ? nullptr : rows[centreRow_] + centreColumn_,
            .centreWeight = centre_};
  }

 private:
  TapList<T, T> down_;
  std::vector<std::size_t> places_;
  std::vector<T> across_;
  std::size_t reach_, centreRow_, centreColumn_;
  T centre_;
};

// Whether -2147483648 / -1 comes up at a pixel that is processed.
template <class S>
bool quotientOverflows(const WholeKernel& kernel, View<const S> in, View<S> out, View<const std::uint8_t> mask,
                       const Area& area) {
  const auto rows = convolutionRows<S>();
  const auto n = static_cast<std::size_t>(area.right - area.left) * static_cast<std::size_t>(in.channels);
  Window<S> window(in, out, area.around);
  TapList<S, std::int32_t> taps(kernel.weights, kernel.size, in.channels);
  std::vector<std::int32_t> sums(n);
  for (int y = area.top; y < area.bottom; ++y) {
    rows.sums(taps.at(window.rows(y)), sums.data(), n);
    for (std::size_t i = 0; i < n; ++i)
      if (sums[i] == INT_MIN &&
          (!mask.first || mask.row(y)[static_cast<std::size_t>(area.left) + i / static_cast<std::size_t>(in.channels)]))
        return true;
  }
  return false;
}

// Rows in fours -------------------------------------------------------------------------------------------------------

const QuadKernels* quadKernels() {
#if RASTERKIT_HAS_VNNI
  if (servesByteProducts()) return &vnni::quadKernels;
#endif
  return nullptr;
}

// Taps of two rows of results, that of row y and that of the next one, in rows y - above to y + below + 1.
class QuadList {
 public:
  static bool takes(CSize size, int channels) {
    return size.cy <= static_cast<int>(4 * kMostQuads) - 1 &&
           size.cx - 1 <= static_cast<int>(kMostQuadReach) / channels;
  }

  // In digits of base 256, at least and at most so many; weights that need more wrap.
  template <class Weight>
  QuadList(const Weight* weights, CSize size, int channels, std::size_t leastDigits, std::size_t mostDigits)
      : rows_((static_cast<std::size_t>(size.cy) + 4) / 4 * 4),
        reach_(static_cast<std::size_t>(size.cx - 1) * static_cast<std::size_t>(channels)),
        count_(static_cast<std::size_t>(size.cy) + 1) {
    std::vector<std::int64_t> left(weights, weights + std::ptrdiff_t{size.cx} * size.cy);
    const auto weight = [&](int i, int j) -> std::int64_t& {
      return left[static_cast<std::size_t>(j) * static_cast<std::size_t>(size.cx) + static_cast<std::size_t>(i)];
    };
    for (int top = 0; top <= size.cy; top += 4)
      for (int i = 0; i < size.cx; ++i) {
        bool any = false;
        for (int j = std::max(0, top - 1); j < std::min(top + 4, size.cy); ++j) any |= weight(i, j) != 0;
        if (any) taps_.push_back({static_cast<std::size_t>(top / 4), static_cast<std::size_t>(i * channels)});
      }
    do {
      std::vector<std::uint8_t> digits;
      for (std::int64_t& rest : left) {
        digits.push_back(static_cast<std::uint8_t>(rest & 255));
        rest = (rest + 128) >> 8;  // the digit is from -128 to 127
      }
      for (const QuadTap& tap : taps_) {
        auto& pair = weights_.emplace_back();
        for (int row = 0; row < 2; ++row) {
          std::uint32_t quad = 0;
          for (int k = 0; k < 4; ++k) {
            const std::int64_t j = static_cast<std::int64_t>(tap.quad) * 4 + k - row;
            if (j < 0 || j >= size.cy) continue;
            const std::size_t place = static_cast<std::size_t>(j) * static_cast<std::size_t>(size.cx) +
                                      tap.place / static_cast<std::size_t>(channels);
            quad |= std::uint32_t{digits[place]} << 8 * k;
          }
          pair[static_cast<std::size_t>(row)] = static_cast<std::int32_t>(quad);
        }
      }
      ++digits_;
    } while (digits_ < leastDigits ||
             (digits_ < mostDigits && std::any_of(left.begin(), left.end(), [](auto rest) { return rest != 0; })));
  }

  // With the rows around a row of the image.
  QuadTaps at(const std::uint8_t* const* rows) {
    for (std::size_t k = 0; k < rows_.size(); ++k) rows_[k] = rows[std::min(k, count_ - 1)];
    return {.rows = rows_.data(),
            .quads = rows_.size() / 4,
            .reach = reach_,
            .taps = taps_.data(),
            .count = taps_.size(),
            .weights = reinterpret_cast<const std::int32_t(*)[2]>(weights_.data()),
            .digits = digits_};
  }

 private:
  std::vector<const std::uint8_t*> rows_;
  std::size_t reach_, count_;
  std::vector<QuadTap> taps_;
  std::vector<std::array<std::int32_t, 2>> weights_;
  std::size_t digits_ = 0;
};

template <class Rule>
void convolveQuads(void (*kernel)(const QuadTaps&, const Rule&, std::uint8_t* const*, std::size_t), QuadList&& taps,
                   const Rule& rule, View<const std::uint8_t> in, View<std::uint8_t> out, View<const std::uint8_t> mask,
                   const Area& area, bool clears) {
  Margins around = area.around;
  ++around.below;
  const auto convolve = [&](auto window) {
    eachRow<2>(in, out, mask, area, clears, window,
               [&](auto rows, std::uint8_t* const* to, std::size_t n) { kernel(taps.at(rows), rule, to, n); });
  };
  if (WideWindow<std::uint8_t>::suits(in, out, area))
    convolve(WideWindow<std::uint8_t>(in, out, around));
  else
    convolve(Window<std::uint8_t>(in, out, around));
}

// Whether the sums and the quotients of a kernel may be calculated in 16 bits, sums beyond being limited to 16 bits:
// their quotients are beyond the limits of the samples too, on the same side.
bool fitsNarrow(const WholeKernel& kernel, std::int64_t greatest) {
  // With an offset near the ends of an int the addition might wrap.
  if (greatest <= kMostNarrow) return sizeOf(kernel.divisor) <= kMostNarrow && sizeOf(kernel.offset) <= INT_MAX / 2;
  return greatest <= INT_MAX && sizeOf(kernel.divisor) * (sizeOf(kernel.offset) + 256) <= kMostNarrow;
}

// False where nothing is written since a quotient overflows.
template <class S>
bool convolveRows(const WholeKernel& kernel, View<const S> in, View<S> out, View<const std::uint8_t> mask,
                  const Area& area, bool clears) {
  const std::int64_t greatest = greatestSum<S>(kernel);
  const auto rule = wholeRule(kernel, std::numeric_limits<S>::max());
  const ConvolutionRows<S>& rows = convolutionRows<S>();
  const auto byFactors = greatest <= kMostSingle ? factors(kernel, in.channels) : std::nullopt;

  if constexpr (std::is_same_v<S, std::uint8_t>) {
    const QuadKernels* const quads = quadKernels();
    const bool overflows = kernel.divisor == -1 && greatest > INT_MAX;
    if (quads && !overflows && QuadList::takes(kernel.size, in.channels)) {
      QuadList taps(kernel.weights, kernel.size, in.channels, 1, 4);
      if (fitsNarrow(kernel, greatest))
        convolveQuads(quads->narrow, std::move(taps), narrowRule(kernel), in, out, mask, area, clears);
      else
        convolveQuads(greatest <= kMostSingle ? quads->single : quads->whole, std::move(taps), rule, in, out, mask,
                      area, clears);
      return true;
    }
    if (greatest <= kMostNarrow && fitsNarrow(kernel, greatest)) {
      const ConvolutionKernels& table = kernels<ConvolutionKernels>();
      const NarrowRule narrow = narrowRule(kernel);
      Window<S, std::int16_t> window(in, area.around, table.toWord);
      if (byFactors) {  // parts of sums may wrap in 16 bits, the sums are those that fit
        FactoredList<std::int16_t> taps(*byFactors, in.channels);
        eachRow(in, out, mask, area, clears, window, [&](auto around, S* const* to, std::size_t n) {
          table.narrowFactored(taps.at(around), narrow, *to, n);
        });
      } else {
        TapList<std::int16_t, std::int16_t> taps(kernel.weights, kernel.size, in.channels);
        eachRow(in, out, mask, area, clears, window,
                [&](auto around, S* const* to, std::size_t n) { table.narrow(taps.at(around), narrow, *to, n); });
      }
      return true;
    }
  }
  if (greatest <= kMostSingle) {
    Window<S, float> window(in, area.around, rows.toSingle);
    if (byFactors && greatestSum<S>(kernel, *byFactors) <= kMostSingle) {
      FactoredList<float> taps(*byFactors, in.channels);
      eachRow(in, out, mask, area, clears, window,
              [&](auto around, S* const* to, std::size_t n) { rows.singleFactored(taps.at(around), rule, *to, n); });
      return true;
    }
    TapList<float, float> taps(kernel.weights, kernel.size, in.channels);
    eachRow(in, out, mask, area, clears, window,
            [&](auto around, S* const* to, std::size_t n) { rows.single(taps.at(around), rule, *to, n); });
    return true;
  }
  if (kernel.divisor == -1 && greatest > INT_MAX && quotientOverflows(kernel, in, out, mask, area)) return false;
  Window<S> window(in, out, area.around);
  TapList<S, std::int32_t> taps(kernel.weights, kernel.size, in.channels);
  eachRow(in, out, mask, area, clears, window,
          [&](auto around, S* const* to, std::size_t n) { rows.whole(taps.at(around), rule, *to, n); });
  return true;
}

// Float kernels -------------------------------------------------------------------------------------------------------

struct RealKernel {
  const float* weights;
  CSize size;
  float divisor;
  float offset;
  bool magnitude;

  std::size_t count() const { return static_cast<std::size_t>(size.cx) * static_cast<std::size_t>(size.cy); }
};

// A float kernel as a whole one, where the results are the same.
struct Rewritten {
  std::vector<int> weights;
  WholeKernel kernel;
};

// Weights and divisor as whole multiples of one power of two. All sums are then exact in double precision, and a
// quotient that is no whole number is at least 1 / divisor away from one: the roundings of quotient and offset, below
// 2^-28 here, never reach it. Negative results are 0 whichever way they are truncated, so a whole offset may be added
// to the sum beforehand; with `magnitude` only 0 may.
template <class S>
std::optional<Rewritten> asWholeKernel(const RealKernel& kernel) {
  const double offset = kernel.offset;
  if (offset != std::trunc(offset) || (kernel.magnitude && offset != 0) || !(std::abs(offset) <= 1 << 22)) return {};
  for (int log = 0; log <= 24; ++log) {
    const double unit = std::ldexp(1.0, log);
    const auto isWhole = [unit](double number) { return number * unit == std::trunc(number * unit); };
    if (!isWhole(kernel.divisor) || !std::all_of(kernel.weights, kernel.weights + kernel.count(), isWhole)) continue;

    const double divisor = kernel.divisor * unit, start = offset * divisor;
    double greatest = std::abs(start);
    for (std::size_t k = 0; k < kernel.count(); ++k)
      greatest += std::abs(kernel.weights[k] * unit) * std::numeric_limits<S>::max();
    if (!(greatest <= kMostSingle) || divisor == 0 || !(std::abs(divisor) <= kMostSingle)) return {};
    Rewritten whole;
    for (std::size_t k = 0; k < kernel.count(); ++k) whole.weights.push_back(truncated(kernel.weights[k] * unit));
    whole.kernel = {.weights = whole.weights.data(),
                    .size = kernel.size,
                    .divisor = truncated(divisor),
                    .magnitude = kernel.magnitude,
                    .start = truncated(start)};
    return whole;
  }
  return {};
}

// Weights over the divisor, and the offset, as whole multiples of one power of two, so few that double precision holds
// every sum: it is exact then, and so is one of whole numbers.
struct ExactKernel {
  std::vector<std::int64_t> weights;
  std::vector<std::int32_t> starts;  // the offset, 16 bits at a time, what is left last
  int shift;
};

std::optional<ExactKernel> asExactKernel(const RealKernel& kernel) {
  constexpr std::size_t mostTaps = 250;  // so that two digits' sums stay below 2^31
  int exponent;
  if (kernel.magnitude || kernel.count() > mostTaps || std::abs(std::frexp(kernel.divisor, &exponent)) != 0.5F)
    return {};
  double greatest = std::abs(static_cast<double>(kernel.offset));
  const auto quotient = [&](std::size_t k) { return kernel.weights[k] / static_cast<double>(kernel.divisor); };
  for (std::size_t k = 0; k < kernel.count(); ++k) greatest += std::abs(quotient(k)) * 255;
  const auto isWhole = [](double number) { return number == std::trunc(number); };
  for (int log = 0; std::ldexp(greatest, log) < std::ldexp(1.0, 53); ++log) {
    const auto scaled = [log](double number) { return std::ldexp(number, log); };
    bool whole = isWhole(scaled(kernel.offset));
    for (std::size_t k = 0; whole && k < kernel.count(); ++k) whole = isWhole(scaled(quotient(k)));
    if (!whole) continue;

    const int pairs = log / 16;
    if (std::ldexp(greatest, log - 16 * pairs) > std::ldexp(1.0, 30)) return {};
    ExactKernel exact{.weights = {}, .starts = {}, .shift = log % 16};
    for (std::size_t k = 0; k < kernel.count(); ++k)
      exact.weights.push_back(static_cast<std::int64_t>(scaled(quotient(k))));
    auto start = static_cast<std::int64_t>(scaled(kernel.offset));
    for (int pair = 0; pair < pairs; ++pair, start >>= 16) exact.starts.push_back(static_cast<int>(start & 0xFFFF));
    exact.starts.push_back(static_cast<int>(start));
    return exact;
  }
  return {};
}

RealRule realRule(const RealKernel& kernel, int greatest) {
  int exponent;
  const bool isPower = std::isfinite(kernel.divisor) && std::abs(std::frexp(kernel.divisor, &exponent)) == 0.5F;
  return {.divisor = kernel.divisor,
          .offset = kernel.offset,
          .byInverse = isPower,
          .magnitude = kernel.magnitude,
          .greatest = static_cast<double>(greatest)};
}

// The estimate's rule, where it leaves a doubt about few samples only. The kernels add products in groups of nine: each
// of them goes through at most 9 + count / 9 + 1 additions, each of which, as the product, rounds by at most 2^-24 of
// what it gives; and so do the inverse, the quotient and the addition of the offset. The double-precision result's own
// roundings are 2^29 times smaller: the factor 1.05 covers them and all products of errors.
std::optional<EstimateRule> estimateRule(const RealKernel& kernel, int greatest) {
  const double divisor = std::abs(kernel.divisor), offset = std::abs(kernel.offset);
  // A sign that is in doubt would make a jump of twice the offset.
  if (!(divisor > 1e-30 && divisor < 1e30 && offset < 1e30) || (kernel.magnitude && kernel.offset > 0)) return {};
  double most = 0;
  for (std::size_t k = 0; k < kernel.count(); ++k) most += std::abs(static_cast<double>(kernel.weights[k])) * greatest;
  if (!(most < 1e30)) return {};
  const double additions = 9 + static_cast<double>(kernel.count()) / 9 + 1;
  const double quotient = most / divisor;
  const double roundings = (additions + 1) * quotient + 2 * quotient + (quotient + offset);
  const double error = 1.05 * std::ldexp(roundings + 1, -24);
  if (!(error < 1.0 / 128)) return {};
  return EstimateRule{.inverse = 1 / kernel.divisor,
                      .offset = kernel.offset,
                      .error = static_cast<float>(error),
                      .greatest = static_cast<float>(greatest),
                      .magnitude = kernel.magnitude};
}

template <class S>
bool convolveRows(const RealKernel& kernel, View<const S> in, View<S> out, View<const std::uint8_t> mask,
                  const Area& area, bool clears) {
  if (const auto whole = asWholeKernel<S>(kernel)) return convolveRows(whole->kernel, in, out, mask, area, clears);
  if constexpr (std::is_same_v<S, std::uint8_t>) {
    const QuadKernels* const quads = quadKernels();
    if (quads && QuadList::takes(kernel.size, in.channels))
      if (const auto exact = asExactKernel(kernel)) {
        const std::size_t pairs = exact->starts.size() - 1;
        QuadList taps(exact->weights.data(), kernel.size, in.channels, 2 * pairs + 1, 8);
        const ExactRule rule{.starts = exact->starts.data(), .pairs = pairs, .shift = exact->shift};
        convolveQuads(quads->exact, std::move(taps), rule, in, out, mask, area, clears);
        return true;
      }
  }

  const ConvolutionRows<S>& rows = convolutionRows<S>();
  const int greatest = std::numeric_limits<S>::max();
  const RealRule rule = realRule(kernel, greatest);
  Window<S, float> window(in, area.around, rows.toSingle);
  TapList<float, double> taps(kernel.weights, kernel.size, in.channels);
  if (const auto estimate = estimateRule(kernel, greatest)) {
    TapList<float, float> estimated(kernel.weights, kernel.size, in.channels);
    eachRow(in, out, mask, area, clears, window, [&](auto around, S* const* to, std::size_t n) {
      rows.estimated(estimated.at(around), *estimate, taps.at(around), rule, *to, n);
    });
  } else {
    eachRow(in, out, mask, area, clears, window,
            [&](auto around, S* const* to, std::size_t n) { rows.real(taps.at(around), rule, *to, n); });
  }
  return true;
}

// Float samples are limited to 0 from below and then to -1 from above.
void limitRows(View<const float> in, View<float> out, View<const std::uint8_t> mask, const Area& area, bool clears) {
  Window<float> rows(in, {}, Margins{});  // nothing is read
  eachRow(in, out, mask, area, clears, rows, [](auto, float* const* to, std::size_t n) { std::fill_n(*to, n, -1.0F); });
}

template <class Kernel>
int convolveWith(CPxImageProcessingBase& self, const Kernel& kernel, CPxImage& dst, Border border) {
  Operands operands(self, dst, {1, 4}, AreaOfInterest::honoured);
  if (!operands) return 0;
  if (!kernel.weights || kernel.size.cx < 1 || kernel.size.cy < 1) return operands.refuse();
  if constexpr (std::is_same_v<Kernel, WholeKernel>)
    if (kernel.divisor == 0) return operands.refuse();

  const int done = bySample(operands.source(), dst, [&]<class S>(View<const S> in, View<S> out) {
    Area area(in.width, in.height, kernel.size, border == Border::extended);
    if (area.empty()) area.top = area.bottom = area.left = area.right = 0;
    const bool clears = border == Border::cleared;
    if constexpr (std::is_same_v<S, float>)
      return limitRows(in, out, operands.mask(), area, clears), 1;
    else
      return int{convolveRows(kernel, in, out, operands.mask(), area, clears)};
  });
  return done ? 1 : operands.refuse();
}

Border borderOf(CPxConvolution::CONVOLUTION_FLAG flag) {
  return flag == CPxConvolution::CONV_EXTEND_BORDER ? Border::extended : Border::kept;
}

}  // namespace

int convolve(CPxImageProcessingBase& self, const WholeKernel& kernel, CPxImage& dst, Border border) {
  return convolveWith(self, kernel, dst, border);
}

}  // namespace rasterkit

using namespace rasterkit;

int CPxConvolution::Convolve(int* kernel, CSize size, CPxImage& dst, int divisor, int offset, CONVOLUTION_FLAG flag) {
  return convolveWith(*this, WholeKernel{.weights = kernel, .size = size, .divisor = divisor, .offset = offset}, dst,
                      borderOf(flag));
}

int CPxConvolution::ConvolveABS(int* kernel, CSize size, CPxImage& dst, int divisor, int offset,
                                CONVOLUTION_FLAG flag) {
  return convolveWith(
      *this, WholeKernel{.weights = kernel, .size = size, .divisor = divisor, .offset = offset, .magnitude = true}, dst,
      borderOf(flag));
}

int CPxConvolution::Convolve(float* kernel, CSize size, CPxImage& dst, float divisor, float offset,
                             CONVOLUTION_FLAG flag) {
  return convolveWith(*this, RealKernel{kernel, size, divisor, offset, false}, dst, borderOf(flag));
}

int CPxConvolution::ConvolveABS(float* kernel, CSize size, CPxImage& dst, float divisor, float offset,
                                CONVOLUTION_FLAG flag) {
  return convolveWith(*this, RealKernel{kernel, size, divisor, offset, true}, dst, borderOf(flag));
}
