// Extrema over a square, rows first and then columns, at a cost that does not grow with its side.
//
// Down the columns: running extrema by blocks of `side` rows (van Herk 1992; Gil and Werman 1993). A window of side
// rows is the end of one block and the beginning of the next: the extremum of the rows up to the newest one (`prefix`)
// meets that of a block's rows from the oldest on (`suffix`). Each row of the block being read takes the place of the
// suffix that was needed last, so one block of rows is all that is kept, and the rows of the image itself may already
// have been overwritten.
//
// Across the rows: windows of 1, 4, 16 ... samples, each the extremum of four of the one before; at most four of the
// last overlap to the whole side. Rows are short enough for the cache, so a few more steps for a larger side do not
// show.
//
// Beyond the image edge samples are repeated. They are in the window already, so it may as well end at the edge: rows
// outside are left out, samples outside lose against every other.

#include <rasterkit/neighbourhood/morphology.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/neighbourhood/morphology_kernels.h"

#include <algorithm>
#include <type_traits>
#include <vector>

namespace rasterkit {
namespace {

using Extremum = ExtremumTables MorphologyKernels::*;
constexpr Extremum kLeast = &MorphologyKernels::least;
constexpr Extremum kGreatest = &MorphologyKernels::greatest;

template <class S>
const ExtremumRows<S>& extremumRows(Extremum extremum) {
  const ExtremumTables& table = kernels<MorphologyKernels>().*extremum;
  if constexpr (std::is_same_v<S, std::uint8_t>) return table.bytes;
  if constexpr (std::is_same_v<S, std::uint16_t>) return table.words;
  if constexpr (std::is_same_v<S, float>) return table.reals;
}

// The extrema down the columns over the rows around y, for y = 0, 1, 2 ... Rows up to y may have been overwritten.
template <class S>
class ColumnExtrema {
 public:
  using Key = typename RankKey<S>::Type;

  // reach: rows on either side, less than the image's height.
  ColumnExtrema(const ExtremumRows<S>& rows, View<const S> in, int reach)
      : rows_(rows),
        in_(in),
        n_(in.samples()),
        // Rows that lie a multiple of 4096 bytes apart would share their places in the cache.
        stride_((n_ + 127) / 64 * 64),
        reach_(reach),
        side_(2 * std::int64_t{reach} + 1),
        prefix_(n_),
        block_(stride_ * static_cast<std::size_t>(std::min<std::int64_t>(side_, in.height) - 1)) {}

  void next(int y, Key* line) {
    const std::int64_t oldest = std::int64_t{y} - reach_;
    const std::int64_t newest = std::min<std::int64_t>(std::int64_t{y} + reach_, in_.height - 1);
    const bool prefixOnly = oldest <= 0 || oldest % side_ == 0;
    while (read_ < newest) readRow();
    if (read_ == newest && !prefixOnly && newest % side_ != 0) {
      ++read_;
      return rows_.advance(in_.row(static_cast<int>(newest)), row(newest), prefix_.data(), row(oldest), line, n_);
    }
    if (read_ == newest) readRow();
    if (prefixOnly) {
      std::copy_n(prefix_.data(), n_, line);
    } else if (oldest / side_ == newest / side_) {  // both in the image's last block, which is not complete
      if (!finished_) finishBlock(newest);
      finished_ = true;
      std::copy_n(row(oldest), n_, line);
    } else {
      rows_.meet(row(oldest), prefix_.data(), line, n_);
    }
  }

 private:
  void readRow() {
    const std::int64_t y = read_++;
    const S* const in = in_.row(static_cast<int>(y));
    if (y % side_ != 0) return rows_.extend(in, row(y), prefix_.data(), n_);
    if (y > 0) finishBlock(y - 1);
    rows_.begin(in, prefix_.data(), n_);
  }

  // Makes the rows of the block that ends with y extrema from each of them to the end.
  void finishBlock(std::int64_t y) {
    for (; y % side_ > 1; --y) rows_.gather(row(y - 1), row(y), n_);
  }

  // The place of row y of the image. The first row of a block has none: whatever begins there is a whole prefix.
  Key* row(std::int64_t y) { return block_.data() + stride_ * static_cast<std::size_t>(y % side_ - 1); }

  const ExtremumRows<S>& rows_;
  const View<const S> in_;
  const std::size_t n_;
  const std::size_t stride_;
  const int reach_;
  const std::int64_t side_;
  std::int64_t read_ = 0;  // rows of the image
  bool finished_ = false;
  std::vector<Key> prefix_;
  std::vector<Key> block_;
};

// in and out may be the same image.
template <class S>
int pickSquare(const ExtremumRows<S>& rows, View<const S> in, View<S> out, int size, View<const std::uint8_t> mask) {
  using Key = typename RankKey<S>::Type;
  if (in.height == 0) return 1;

  // A window that reaches from the first to the last row or column grows no further.
  const int reachDown = std::min(size, in.height - 1);
  const int reachAcross = std::min(size, in.width - 1);
  const std::size_t n = in.samples();
  const auto step = static_cast<std::size_t>(in.channels);
  const std::size_t side = 2 * static_cast<std::size_t>(reachAcross) + 1;
  const std::size_t margin = static_cast<std::size_t>(reachAcross) * step;

  ColumnExtrema<S> columns(rows, in, reachDown);
  std::vector<Key> line(n + 2 * margin);
  for (int y = 0; y < in.height; ++y) {
    std::fill_n(line.data(), margin, rows.neutral);
    std::fill_n(line.data() + margin + n, margin, rows.neutral);
    columns.next(y, line.data() + margin);
    if (mask.first)
      rows.acrossMasked(line.data(), side, step, mask.row(y), in.row(y), out.row(y), n);
    else
      rows.across(line.data(), side, step, out.row(y), n);
  }
  return 1;
}

int pickOnce(CPxImageProcessingBase& self, CPxImage& dst, int size, Extremum extremum) {
  if (size < 0) return 0;
  Operands operands(self, dst, {1, 4}, AreaOfInterest::honoured);
  if (!operands) return 0;
  if (size == 0) return operands.copySamples(), 1;
  return bySample(operands.source(), dst, [&]<class S>(View<const S> in, View<S> out) {
    return pickSquare(extremumRows<S>(extremum), in, out, size, operands.mask());
  });
}

// One extremum into dst and the other one there in place.
int pickTwice(CPxImageProcessingBase& self, CPxImage& dst, int size, Extremum first, Extremum second) {
  const CPxImage* const source = self.GetImage();
  int channels;
  if (size < 0 || !source || !Storage::holdsItsPixels(*source) || !accepts(*source, {1, 4}, channels) ||
      sampleClass(source->bitsPerSample) == SampleClass::none)
    return 0;
  Operands operands(self, dst, {1, 4});
  if (size == 0) return operands.copySamples(), 1;
  return bySample(*source, dst, [&]<class S>(View<const S> in, View<S> out) {
    pickSquare(extremumRows<S>(first), in, out, size, {});
    return pickSquare(extremumRows<S>(second), {out.first, out.width, out.height, out.channels, out.stride}, out, size,
                      {});
  });
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxMorphologicProcessing::Erode(CPxImage& dst, int size) { return pickOnce(*this, dst, size, kLeast); }
int CPxMorphologicProcessing::Dilate(CPxImage& dst, int size) { return pickOnce(*this, dst, size, kGreatest); }
int CPxMorphologicProcessing::Open(CPxImage& dst, int size) { return pickTwice(*this, dst, size, kLeast, kGreatest); }
int CPxMorphologicProcessing::Close(CPxImage& dst, int size) { return pickTwice(*this, dst, size, kGreatest, kLeast); }
