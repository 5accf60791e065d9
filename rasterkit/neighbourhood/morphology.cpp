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
// Small squares go another way: two rows at a time, each picked from all its rows at once (see the kernels).
//
// Beyond the image edge samples are repeated. They are in the window already, so it may as well end at the edge: rows
// outside are left out, or the edge's are looked at again, and samples outside lose against every other.

#include <rasterkit/neighbourhood/morphology.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/prefetch.h"
#include "rasterkit/core/window.h"
#include "rasterkit/neighbourhood/morphology_kernels.h"
#include "rasterkit/neighbourhood/select_kernels.h"

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>
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

// How far apart rows of n are kept: rows a multiple of 4096 bytes apart would share their places in the cache.
std::size_t apart(std::size_t n) { return (n + 127) / 64 * 64; }

// Row y, or the last one: for what is asked for ahead of its use.
template <class S>
const S* rowOrLast(View<S> image, std::int64_t y) {
  return image.row(static_cast<int>(std::min<std::int64_t>(y, image.height - 1)));
}

// Where rows are written: in the image, or aside where a mask selects of them. Row y may be asked for again until row
// y + 2 is, and one row below the image may be.
template <class S>
class Output {
 public:
  Output(View<const S> in, View<S> out, View<const std::uint8_t> mask = {})
      : in_(in),
        out_(out),
        mask_(mask),
        select_(kernelsOf<SelectKernels, S>()),
        aside_(mask.first       ? 2 * in.samples()
               : in.height == 1 ? in.samples()
                                : 0) {}

  S* row(int y) {
    if (mask_.first) return aside_.data() + (y % 2 == 0 ? 0 : in_.samples());
    return y < out_.height ? out_.row(y) : aside_.data();
  }
  void finish(int y) {
    if (!mask_.first) return;
    if (in_.first != out_.first) std::copy_n(in_.row(y), in_.samples(), out_.row(y));
    select_(row(y), mask_.row(y), static_cast<std::size_t>(in_.channels), out_.row(y),
            static_cast<std::size_t>(in_.width));
  }
  const S* next(std::int64_t y) const { return rowOrLast(out_, y); }

 private:
  const View<const S> in_;
  const View<S> out_;
  const View<const std::uint8_t> mask_;
  const SelectRow<S> select_;
  std::vector<S> aside_;
};

// The extrema down the columns over the rows around y, for y = 0, 1, 2 ... Rows before y may have been overwritten.
template <class S>
class ColumnExtrema {
 public:
  using Key = typename RankKey<S>::Type;

  // reach: rows on either side, less than the image's height.
  ColumnExtrema(const ExtremumRows<S>& rows, View<const S> in, int reach)
      : rows_(rows),
        in_(in),
        stride_(apart(in.samples())),
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

// Extrema over a square of any size, row by row from the top; in and out may be the same image.
template <class S>
class SquareExtrema {
 public:
  // size: how far the square reaches.
  SquareExtrema(const ExtremumRows<S>& rows, View<const S> in, Output<S> out, int size)
      : rows_(rows),
        in_(in),
        out_(std::move(out)),
        // A window that reaches from the first to the last row or column grows no further.
        down_(std::min(size, in.height - 1)),
        side_(2 * static_cast<std::size_t>(std::min(size, in.width - 1)) + 1),
        step_(static_cast<std::size_t>(in.channels)),
        margin_(side_ / 2 * step_),
        columns_(rows, in, down_),
        line_(in.samples() + 2 * margin_) {}

  // Writes row y, for y = 0, 1, 2 ... Rows up to y + size must be there to be read.
  void pick(int y) {
    // A part of a row goes all the way while it is in the nearest cache: 768 bytes, a whole number of pixels. Of longer
    // parts so many lines would be asked for at once that everything else waits for them.
    constexpr std::size_t part = 768 / sizeof(S);
    const std::size_t n = in_.samples();
    Joining<S> joining{.line = line_.data(), .side = side_, .step = step_, .out = out_.row(y)};
    std::fill_n(line_.data(), margin_, rows_.neutral);
    std::fill_n(line_.data() + margin_ + n, margin_, rows_.neutral);
    columns_.moveTo(y);
    for (std::size_t at = 0; at < n; at += part) {
      const std::size_t count = std::min(part, n - at);
      if (y + down_ + 1 < in_.height) fetchAhead(in_.row(y + down_ + 1) + at, count * sizeof(S));
      columns_.fill(at, count, line_.data() + margin_ + at);
      if (y + 1 < in_.height) fetchAhead(out_.next(y + 1) + at, count * sizeof(S));
      const bool last = at + count == n;
      rows_.across(joining, margin_ + at + count + (last ? margin_ : 0), last);
    }
    out_.finish(y);
  }

 private:
  const ExtremumRows<S>& rows_;
  const View<const S> in_;
  Output<S> out_;
  const int down_;
  const std::size_t side_;
  const std::size_t step_;
  const std::size_t margin_;
  ColumnExtrema<S> columns_;
  Line<typename RankKey<S>::Type> line_;
};

template <class Extrema>
void pickAll(Extrema extrema, int height) {
  for (int y = 0; y < height; ++y) extrema.pick(y);
}

// The rows around y and y + 1 of an image.
template <class S>
class ImageRows {
 public:
  ImageRows(View<const S> in, View<S> out, int size) : in_(in), window_(in, out, {.above = size, .below = size + 1}) {}

  // y must not go back.
  const S* const* around(int y) { return window_.rows(y); }
  // A row that will be asked for, or the last one.
  const S* next(std::int64_t y) const { return rowOrLast(in_, y); }

 private:
  const View<const S> in_;
  Window<S> window_;
};

// Extrema over squares that reach 1 to kMostReach pixels, two rows at a time.
template <class S, class Rows>
class SmallSquares {
 public:
  SmallSquares(const ExtremumRows<S>& rows, View<const S> in, int size, Rows from)
      : pick_(rows.squares[size - 1]),
        n_(in.samples()),
        step_(static_cast<std::size_t>(in.channels)),
        size_(size),
        from_(std::move(from)) {}

  // Makes rows y and y + 1; the next two are those that will be written then. y must not go back.
  void pick(int y, S* first, S* second, const S* nextFirst, const S* nextSecond) {
    const std::int64_t next = std::int64_t{y} + size_ + 2;
    pick_(RowPair<S>{.in = from_.around(y),
                     .out = {first, second},
                     .nextIn = {from_.next(next), from_.next(next + 1)},
                     .nextOut = {nextFirst, nextSecond}},
          n_, step_);
  }

 private:
  void (*pick_)(const RowPair<S>& rows, std::size_t n, std::size_t step);
  std::size_t n_;
  std::size_t step_;
  int size_;
  Rows from_;
};

// The rows around y and y + 1 of what is picked from an image, made as they are asked for; no others are kept.
template <class S>
class PickedRows {
 public:
  PickedRows(const ExtremumRows<S>& rows, View<const S> in, View<S> out, int size)
      : squares_(rows, in, size, ImageRows<S>(in, out, size)),
        size_(size),
        height_(in.height),
        stride_(apart(in.samples())),
        around_(2 * static_cast<std::size_t>(size) + 2),
        ring_(stride_ * around_.size()) {}

  const S* const* around(int y) {
    const int needed = static_cast<int>(std::min<std::int64_t>(std::int64_t{y} + size_ + 2, height_));
    for (; made_ < needed; made_ += 2) {
      made_ = std::max(0, std::min(made_, needed - 2));  // the last one is made twice if it comes alone
      squares_.pick(made_, row(made_), row(made_ + 1), ring_.data(), ring_.data());
    }
    for (std::size_t i = 0; i < around_.size(); ++i)
      around_[i] = row(std::clamp(y - size_ + static_cast<int>(i), 0, height_ - 1));
    return around_.data();
  }
  const S* next(std::int64_t) const { return ring_.data(); }

 private:
  S* row(int y) { return ring_.data() + stride_ * (static_cast<std::size_t>(y) % around_.size()); }

  SmallSquares<S, ImageRows<S>> squares_;
  int size_;
  int height_;
  std::size_t stride_;
  std::vector<const S*> around_;
  Line<S> ring_;
  int made_ = 0;  // rows
};

template <class Squares, class S>
void pickPairs(Squares squares, Output<S> out, int height) {
  for (int next = 0; next < height; next += 2) {
    const int y = std::max(0, std::min(next, height - 2));
    squares.pick(y, out.row(y), out.row(y + 1), out.next(std::int64_t{y} + 2), out.next(std::int64_t{y} + 3));
    for (int made = y; made < std::min(y + 2, height); ++made) out.finish(made);
  }
}

// One extremum, over a square of any size but 0.
template <class S>
void pickSquares(const ExtremumRows<S>& rows, View<const S> in, View<S> out, int size,
                 View<const std::uint8_t> mask = {}) {
  Output<S> output(in, out, mask);
  if (size <= rows.kMostReach)
    pickPairs(SmallSquares(rows, in, size, ImageRows<S>(in, out, size)), std::move(output), in.height);
  else
    pickAll(SquareExtrema<S>(rows, in, std::move(output), size), in.height);
}

// And then the other extremum of that.
template <class S>
void pickSquaresTwice(const ExtremumRows<S>& one, const ExtremumRows<S>& other, View<const S> in, View<S> out,
                      int size) {
  const View<const S> between{out.first, out.width, out.height, out.channels, out.stride};
  const int down = std::min(size, in.height - 1);
  const bool small = size <= one.kMostReach;
  // The second goes on as soon as it has the rows it needs, while they are in the cache, unless so many rows are kept
  // for both that it shows in the memory used. The first of small squares keeps none but in place.
  constexpr std::int64_t little = 1 << 20;
  if ((!small || in.first == out.first) && (2 * std::int64_t{down} + 2) * in.stride > little) {
    pickSquares(one, in, out, size);
    pickSquares(other, between, out, size);
  } else if (small) {
    pickPairs(SmallSquares(other, in, size, PickedRows<S>(one, in, out, size)), Output<S>(in, out), in.height);
  } else {
    SquareExtrema<S> ahead(one, in, Output<S>(in, out), size), behind(other, between, Output<S>(between, out), size);
    for (std::int64_t y = 0; y < std::int64_t{in.height} + down; ++y) {
      if (y < in.height) ahead.pick(static_cast<int>(y));
      if (y >= down) behind.pick(static_cast<int>(y - down));
    }
  }
}

int pickOnce(CPxImageProcessingBase& self, CPxImage& dst, int size, Extremum extremum) {
  if (size < 0) return 0;
  Operands operands(self, dst, {1, 4}, AreaOfInterest::honoured);
  if (!operands) return 0;
  if (size == 0) return operands.copySamples(), 1;
  return bySample(operands.source(), dst, [&]<class S>(View<const S> in, View<S> out) {
    if (in.height > 0) pickSquares(extremumRows<S>(extremum), in, out, size, operands.mask());
    return 1;
  });
}

// One extremum and then the other one of that.
int pickTwice(CPxImageProcessingBase& self, CPxImage& dst, int size, Extremum first, Extremum second) {
  const CPxImage* const source = self.GetImage();
  int channels;
  if (size < 0 || !source || !Storage::holdsItsPixels(*source) || !accepts(*source, {1, 4}, channels) ||
      sampleClass(source->bitsPerSample) == SampleClass::none)
    return 0;
  Operands operands(self, dst, {1, 4});
  if (size == 0) return operands.copySamples(), 1;
  return bySample(*source, dst, [&]<class S>(View<const S> in, View<S> out) {
    if (in.height > 0) pickSquaresTwice(extremumRows<S>(first), extremumRows<S>(second), in, out, size);
    return 1;
  });
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxMorphologicProcessing::Erode(CPxImage& dst, int size) { return pickOnce(*this, dst, size, kLeast); }
int CPxMorphologicProcessing::Dilate(CPxImage& dst, int size) { return pickOnce(*this, dst, size, kGreatest); }
int CPxMorphologicProcessing::Open(CPxImage& dst, int size) { return pickTwice(*this, dst, size, kLeast, kGreatest); }
int CPxMorphologicProcessing::Close(CPxImage& dst, int size) { return pickTwice(*this, dst, size, kGreatest, kLeast); }
