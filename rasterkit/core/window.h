#pragma once
// The neighbourhood of each row of an image, its edge samples repeated outward, so that no kernel ever meets a border.

#include "rasterkit/core/view.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
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
// The kernel may write row y of the image itself: the window has kept what later rows need.
template <class S>
class Window {
 public:
  Window(View<const S> in, View<S> out, Margins around)
      : in_(in),
        around_(around),
        slots_(std::min<std::int64_t>(std::int64_t{around.above} + around.below + 1, in.height)),
        pointers_(in.height > 0 ? static_cast<std::size_t>(std::int64_t{around.above} + around.below + 1) : 0) {
    keeps_ = in.height > 0 && (in.first == out.first || around.left > 0 || around.right > 0);
    if (!keeps_) return;
    const auto columns = static_cast<std::size_t>(std::int64_t{around.left} + in.width + around.right);
    rowSize_ = columns * static_cast<std::size_t>(in.channels);
    ring_ = std::make_unique_for_overwrite<S[]>(rowSize_ * static_cast<std::size_t>(slots_));
  }

  // Rows y - above to y + below, top to bottom, those outside the image being its first and last; each pointer stands
  // at column -left. y must not go back.
  const S* const* rows(int y) {
    const std::int64_t top = std::int64_t{y} - around_.above;
    for (std::size_t i = 0; i < pointers_.size(); ++i)
      pointers_[i] =
          row(static_cast<int>(std::clamp<std::int64_t>(top + static_cast<std::int64_t>(i), 0, in_.height - 1)));
    return pointers_.data();
  }
  std::size_t count() const { return pointers_.size(); }

  // One row of the image, from column -left. Rows may be asked for again while no row further than above + below
  // beyond them has been.
  const S* row(int y) {
    if (!keeps_) return in_.row(y);
    while (next_ <= y) keep(next_++);
    return slot(y);
  }

 private:
  S* slot(int y) { return ring_.get() + rowSize_ * static_cast<std::size_t>(y % slots_); }

  void keep(int y) {
    S* const first = slot(y) + std::ptrdiff_t{around_.left} * in_.channels;
    std::copy_n(in_.row(y), in_.samples(), first);
    repeatSides(first, in_.width, in_.channels, around_.left, around_.right);
  }

  View<const S> in_;
  Margins around_;
  std::int64_t slots_;
  std::vector<const S*> pointers_;
  bool keeps_ = false;
  std::size_t rowSize_ = 0;
  std::unique_ptr<S[]> ring_;
  int next_ = 0;
};

}  // namespace rasterkit
