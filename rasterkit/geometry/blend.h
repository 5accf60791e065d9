#pragma once
// Bilinear resampling, one direction at a time.
//
// A blended sample is trunc(a * (1 - d) + b * d), each operation rounded in double precision, where d is the second
// sample's share. Whole numbers give the same sample, faster, where this can be proved:
//
//   - Nothing is rounded where d is a multiple of 2^-45 and the samples are bytes: all values are multiples of 2^-45
//     below 2^8 and fit the 53 bits of a double. The share of a position from 128 up is such a multiple, since the
//     double it is the fraction of is one. The sample is then a + floor((b - a) * d).
//   - That floor is the same for a weight w of 65536ths in place of d, for every difference from -255 to 255, unless a
//     fraction with a denominator up to 255 lies between the two (Farey). For about one share in fifty it does, for
//     both weights around d.
//   - Where d is a whole number of 65536ths, words are blended exactly too.
//
// Everything else is calculated in double precision as written.

#include "rasterkit/geometry/columns.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace rasterkit {

// For each output position, the source positions that it lies between and the second one's share.
struct Axis {
  Axis(int from, int to);

  std::vector<std::int32_t> first;
  std::vector<std::int32_t> second;
  std::vector<double> share;
};

// The weights that stand for shares when samples of S are blended.
template <class S>
struct Weights {
  explicit Weights(const std::vector<double>& share);

  std::vector<std::uint16_t> weight;
  std::vector<std::uint8_t> stands;  // whether weight does
  std::size_t rounded = 0;           // from here on no share is rounded
};

// Resamples rows of so many channels.
template <class S>
class Across {
 public:
  Across(const Axis& axis, int width, int channels);

  // The resampled row: `room`, which has place for it, or the row itself where nothing changes.
  const S* operator()(const S* row, S* room);

 private:
  Columns first_;
  std::optional<Columns> second_;  // none where no position lies between two
  std::vector<S> a_, b_;

  // One entry a sample. The samples before `rounded_`, and the exceptions after it, take the shares.
  std::vector<std::uint16_t> weight_;
  std::vector<double> share_, keep_;
  std::size_t rounded_ = 0;
  std::vector<std::size_t> exceptions_;
};

// Resamples columns: one output row between two rows.
template <class S>
class Down {
 public:
  explicit Down(const std::vector<double>& share) : share_(share), weights_(share) {}

  void operator()(const S* a, const S* b, std::size_t y, S* out, std::size_t n) const;

 private:
  const std::vector<double>& share_;
  Weights<S> weights_;
};

}  // namespace rasterkit
