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
#include "rasterkit/core/prefetch.h"
#include "rasterkit/core/window.h"
#include "rasterkit/neighbourhood/morphology_kernels.h"

#include <algorithm>
#include <new>
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

// Where the widest vectors lie within a line of the cache: stores across two lines take twice as long.
template <class T>
struct InLines {
  using value_type = T;

  InLines() = default;
  template <class U>
  InLines(const InLines<U>&) {}
  T* allocate(std::size_t n) { return static_cast<T*>(::operator new(n * sizeof(T), kLine)); }
  void deallocate(T* block, std::size_t) { ::operator delete(block, kLine); }
  bool operator==(const InLines&) const { return true; }

  static constexpr std::align_val_t kLine{64};
};
template <class T>
using Line = std::vector<T, InLines<T>>;

// The extrema down the columns over the rows around y, for y = 0, 1, 2 ... Rows before y may have been overwritten.
template <class S>
class ColumnExtrema {
 public:
  using Key = typename RankKey<S>::Type;

  // reach: rows on either side, less than the image's height.
  ColumnExtrema(const ExtremumRows<S>& rows, View<const S> in, View<S>, int reach)
      : rows_(rows),
        in_(in),
        // Rows that lie a multiple of 4096 bytes apart would share their places in the cache.
        stride_((in.samples() + 127) / 64 * 64),
        reach_(reach),
        side_(2 * std::int64_t{reach} + 1),
        prefix_(in.samples()),
        block_(stride_ * static_cast<std::size_t>(std::min<std::int64_t>(side_, in.height) - 1)) {}

  // Makes ready for fill around y.
  void moveTo(int y) {
    const std::int64_t oldest = std::int64_t{y} - reach_;
    const std::int64_t newest = std::min<std::int64_t>(std::int64_t{y} + reach_, in_.height - 1);
    while (read_ < newest) {
      readRow(read_++);
      read(0, in_.samples());
    }
    newRow_ = nullptr;
    if (read_ == newest) readRow(read_++);
    // A window that begins above the image or with a block is the prefix alone.
    suffix_ = oldest <= 0 || oldest % side_ == 0 ? nullptr : row(oldest);
    suffixOnly_ = suffix_ && oldest / side_ == newest / side_;
    if (!suffixOnly_ || finished_) return;
    finished_ = true;
    finishBlock(newest);  // the image's last one, which is not complete
  }

  // line = the extrema of n columns from `at` on. Each column once after moveTo.
  void fill(std::size_t at, std::size_t n, Key* line) {
    if (newRow_ && !begins_ && suffix_)
      return rows_.advance(newRow_ + at, place_ + at, &prefix_[at], suffix_ + at, line, n);
    read(at, n);
    if (suffixOnly_)
      std::copy_n(suffix_ + at, n, line);
    else if (suffix_)
      rows_.meet(suffix_ + at, &prefix_[at], line, n);
    else
      std::copy_n(&prefix_[at], n, line);
  }

 private:
  void readRow(std::int64_t y) {
    newRow_ = in_.row(static_cast<int>(y));
    begins_ = y % side_ == 0;
    if (!begins_)
      place_ = row(y);
    else if (y > 0)
      finishBlock(y - 1);
  }

  void read(std::size_t at, std::size_t n) {
    if (!newRow_) return;
    if (begins_)
      rows_.begin(newRow_ + at, &prefix_[at], n);
    else
      rows_.extend(newRow_ + at, place_ + at, &prefix_[at], n);
  }

  // Makes the rows of the block that ends with y extrema from each of them to the end.
  void finishBlock(std::int64_t y) {
    for (; y % side_ > 1; --y) rows_.gather(row(y - 1), row(y), in_.samples());
  }

  // The place of row y of the image. The first row of a block has none: whatever begins there is a whole prefix.
  Key* row(std::int64_t y) { return block_.data() + stride_ * static_cast<std::size_t>(y % side_ - 1); }

  const ExtremumRows<S>& rows_;
  const View<const S> in_;
  const std::size_t stride_;
  const int reach_;
  const std::int64_t side_;
  Line<Key> prefix_;
  Line<Key> block_;
  std::int64_t read_ = 0;        // rows of the image
  const S* newRow_ = nullptr;    // the one that is read now, if any
  bool begins_ = false;          // whether it begins a block
  Key* place_ = nullptr;         // where it is kept otherwise
  const Key* suffix_ = nullptr;  // of the block before the newest row's, if the window begins there
  bool suffixOnly_ = false;      // the window ends with the image, in the block it begins in
  bool finished_ = false;        // the last block
};

// The same over three rows, which is less work without prefixes and suffixes.
template <class S>
class ThreeRows {
 public:
  using Key = typename RankKey<S>::Type;

  ThreeRows(const ExtremumRows<S>& rows, View<const S> in, View<S> out, int)
      : rows_(rows), window_(in, out, {.above = 1, .below = 1}) {}

  void moveTo(int y) { around_ = window_.rows(y); }
  void fill(std::size_t at, std::size_t n, Key* line) {
    rows_.downThree(around_[0] + at, around_[1] + at, around_[2] + at, line, n);
  }

 private:
  const ExtremumRows<S>& rows_;
  Window<S> window_;
  const S* const* around_ = nullptr;
};

// Extrema over a square, row by row from the top; in and out may be the same image.
template <class S, class Columns>
class SquareExtrema {
 public:
  // down, across: how far the square reaches, less than the image's height and width.
  SquareExtrema(const ExtremumRows<S>& rows, View<const S> in, View<S> out, int down, int across,
                View<const std::uint8_t> mask)
      : rows_(rows),
        in_(in),
        out_(out),
        mask_(mask),
        down_(down),
        side_(2 * static_cast<std::size_t>(across) + 1),
        step_(static_cast<std::size_t>(in.channels)),
        margin_(static_cast<std::size_t>(across) * step_),
        columns_(rows, in, out, down),
        line_(in.samples() + 2 * margin_) {}

  // Writes row y, for y = 0, 1, 2 ... Rows up to y + down must be there to be read.
  void pick(int y) {
    // A part of a row goes all the way while it is in the nearest cache: 768 bytes, a whole number of pixels. Of longer
    // parts so many lines would be asked for at once that everything else waits for them.
    constexpr std::size_t part = 768 / sizeof(S);
    const std::size_t n = in_.samples();
    Joining<S> joining{.line = line_.data(),
                       .side = side_,
                       .step = step_,
                       .out = out_.row(y),
                       .in = in_.row(y),
                       .mask = mask_.first ? mask_.row(y) : nullptr};
    std::fill_n(line_.data(), margin_, rows_.neutral);
    std::fill_n(line_.data() + margin_ + n, margin_, rows_.neutral);
    columns_.moveTo(y);
    for (std::size_t at = 0; at < n; at += part) {
      const std::size_t count = std::min(part, n - at);
      if (y + down_ + 1 < in_.height) fetchAhead(in_.row(y + down_ + 1) + at, count * sizeof(S));
      columns_.fill(at, count, line_.data() + margin_ + at);
      if (y + 1 < in_.height) fetchAhead(out_.row(y + 1) + at, count * sizeof(S));
      const bool last = at + count == n;
      rows_.across(joining, margin_ + at + count + (last ? margin_ : 0), last);
    }
  }

 private:
  const ExtremumRows<S>& rows_;
  const View<const S> in_;
  const View<S> out_;
  const View<const std::uint8_t> mask_;
  const int down_;
  const std::size_t side_;
  const std::size_t step_;
  const std::size_t margin_;
  Columns columns_;
  Line<typename RankKey<S>::Type> line_;
};

template <class Extrema>
void pickAll(Extrema extrema, int height) {
  for (int y = 0; y < height; ++y) extrema.pick(y);
}

// f.template operator()<Columns>(down, across) with what suits the size; 1 without pixels. A window that reaches from
// the first to the last row or column grows no further.
template <class S, class F>
int bySize(View<const S> in, int size, F f) {
  if (in.height == 0) return 1;
  const int down = std::min(size, in.height - 1), across = std::min(size, in.width - 1);
  if (down == 1)
    f.template operator()<ThreeRows<S>>(down, across);
  else
    f.template operator()<ColumnExtrema<S>>(down, across);
  return 1;
}

int pickOnce(CPxImageProcessingBase& self, CPxImage& dst, int size, Extremum extremum) {
  if (size < 0) return 0;
  Operands operands(self, dst, {1, 4}, AreaOfInterest::honoured);
  if (!operands) return 0;
  if (size == 0) return operands.copySamples(), 1;
  return bySample(operands.source(), dst, [&]<class S>(View<const S> in, View<S> out) {
    return bySize(in, size, [&]<class Columns>(int down, int across) {
      pickAll(SquareExtrema<S, Columns>(extremumRows<S>(extremum), in, out, down, across, operands.mask()), in.height);
    });
  });
}

// One extremum into dst and the other one there, in place.
int pickTwice(CPxImageProcessingBase& self, CPxImage& dst, int size, Extremum first, Extremum second) {
  const CPxImage* const source = self.GetImage();
  int channels;
  if (size < 0 || !source || !Storage::holdsItsPixels(*source) || !accepts(*source, {1, 4}, channels) ||
      sampleClass(source->bitsPerSample) == SampleClass::none)
    return 0;
  Operands operands(self, dst, {1, 4});
  if (size == 0) return operands.copySamples(), 1;
  return bySample(*source, dst, [&]<class S>(View<const S> in, View<S> out) {
    return bySize(in, size, [&]<class Columns>(int down, int across) {
      const View<const S> between{out.first, out.width, out.height, out.channels, out.stride};
      const auto begin = [&] { return SquareExtrema<S, Columns>(extremumRows<S>(first), in, out, down, across, {}); };
      const auto end = [&] {
        return SquareExtrema<S, Columns>(extremumRows<S>(second), between, out, down, across, {});
      };
      // The second goes on as soon as it has the rows it needs, while they are in the cache, unless so many rows are
      // kept for both that it shows in the memory used.
      constexpr std::int64_t little = 1 << 20;
      if ((2 * std::int64_t{down} + 2) * in.stride <= little) {
        auto one = begin(), other = end();
        for (std::int64_t y = 0; y < std::int64_t{in.height} + down; ++y) {
          if (y < in.height) one.pick(static_cast<int>(y));
          if (y >= down) other.pick(static_cast<int>(y - down));
        }
      } else {
        pickAll(begin(), in.height);
        pickAll(end(), in.height);
      }
    });
  });
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxMorphologicProcessing::Erode(CPxImage& dst, int size) { return pickOnce(*this, dst, size, kLeast); }
int CPxMorphologicProcessing::Dilate(CPxImage& dst, int size) { return pickOnce(*this, dst, size, kGreatest); }
int CPxMorphologicProcessing::Open(CPxImage& dst, int size) { return pickTwice(*this, dst, size, kLeast, kGreatest); }
int CPxMorphologicProcessing::Close(CPxImage& dst, int size) { return pickTwice(*this, dst, size, kGreatest, kLeast); }
