#pragma once
// The neighbourhood of each row of an image, its edge samples repeated outward, so that no kernel ever meets a border.

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/view.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

namespace rasterkit {

// How far a neighbourhood reaches from its pixel: rows above and below, pixels to the left and right.
struct Margins {
  int above = 0;
  int below = 0;
  int left = 0;
  int right = 0;
};

// Repeats the edge pixels of a row: row is its first pixel, with room for `left` pixels before it and `right` after it.
template <class S>
void repeatSides(S* row, int width, int channels, int left, int right) {
  const std::ptrdiff_t step = channels;
  const S* const last = row + step * (width - 1);
  for (std::ptrdiff_t x = 1; x <= left; ++x) std::copy_n(row, step, row - x * step);
  for (std::ptrdiff_t x = 1; x <= right; ++x) std::copy_n(last, step, row + (width - 1 + x) * step);
}

// Rows above and below y, each with its columns to the left and right.
//
// Where rows need columns beyond the image, or are about to be overwritten (out is the image that is read), every
// source row is copied once into a ring of at most above + below + 1 rows and never more than the image has. Else the
// image's own rows are handed out, and nothing is copied.
//
//     Window<S> window(in, out, {.above = 1, .below = 1, .left = 1, .right = 1});
//     for (int y = 0; y < in.height; ++y) kernel(window.rows(y), out.row(y), in.samples());
//
// The kernel may write row y of the image itself: the window has kept what later rows need. A window may keep its rows
// in a type T that the kernel calculates in; `convert` then makes n samples of T from those of the image.
template <class S, class T = S>
class Window {
 public:
  using Convert = void (*)(const S* in, T* out, std::size_t n);

  Window(View<const S> in, View<S> out, Margins around) requires std::is_same_v<S, T>
      : Window(
            in, around, [](const S* from, T* to, std::size_t n) { copyBytes(to, from, n * sizeof(S)); },
            in.first == out.first || around.left > 0 || around.right > 0) {}
  Window(View<const S> in, Margins around, Convert convert) : Window(in, around, convert, true) {}

  // Rows y - above to y + below, top to bottom, those outside the image being its first and last; each pointer stands
  // at column -left. y must not go back.
  const T* const* rows(int y) {
    const std::int64_t top = std::int64_t{y} - around_.above;
    for (std::size_t i = 0; i < pointers_.size(); ++i)
      pointers_[i] =
          row(static_cast<int>(std::clamp<std::int64_t>(top + static_cast<std::int64_t>(i), 0, in_.height - 1)));
    return pointers_.data();
  }
  std::size_t count() const { return pointers_.size(); }

  // One row of the image, from column -left. Rows may be asked for again while no row further than above + below
  // beyond them has been.
  const T* row(int y) {
    if constexpr (std::is_same_v<S, T>)
      if (!keeps_) return in_.row(y);
    while (next_ <= y) keep(next_++);
    return slot(y);
  }

 private:
  Window(View<const S> in, Margins around, Convert convert, bool keeps)
      : in_(in),
        around_(around),
        convert_(convert),
        slots_(std::min<std::int64_t>(std::int64_t{around.above} + around.below + 1, in.height)),
        pointers_(in.height > 0 ? static_cast<std::size_t>(std::int64_t{around.above} + around.below + 1) : 0),
        keeps_(keeps && in.height > 0) {
    if (!keeps_) return;
    const auto columns = static_cast<std::size_t>(std::int64_t{around.left} + in.width + around.right);
    rowSize_ = columns * static_cast<std::size_t>(in.channels);
    ring_ = std::make_unique_for_overwrite<T[]>(rowSize_ * static_cast<std::size_t>(slots_));
  }

  T* slot(int y) { return ring_.get() + rowSize_ * static_cast<std::size_t>(y % slots_); }

  void keep(int y) {
    T* const first = slot(y) + std::ptrdiff_t{around_.left} * in_.channels;
    convert_(in_.row(y), first, in_.samples());
    repeatSides(first, in_.width, in_.channels, around_.left, around_.right);
  }

  View<const S> in_;
  Margins around_;
  Convert convert_;
  std::int64_t slots_;
  std::vector<const T*> pointers_;
  bool keeps_;
  std::size_t rowSize_ = 0;
  std::unique_ptr<T[]> ring_;
  int next_ = 0;
};

}  // namespace rasterkit
