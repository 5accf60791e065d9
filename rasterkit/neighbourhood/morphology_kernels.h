#pragma once

#include "rasterkit/core/kernel_table.h"
#include "rasterkit/neighbourhood/row_pair.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Integers in the order of the samples: the samples themselves, or the totalOrder keys of floats.
template <class S>
struct RankKey {
  using Type = S;
};
template <>
struct RankKey<float> {
  using Type = int32_t;
};

// One row's way from keys to samples: windows of `side` pixels across the line, joined as far as the line is known.
template <class S>
struct Joining {
  using Key = typename RankKey<S>::Type;

  Key* line;    // n + (side - 1) * step keys; used up
  size_t side;  // pixels
  size_t step;  // samples a pixel
  S* out;       // n samples

  size_t joined[16] = {};  // keys at the beginning of the line that cover 4, 16, 64 ... pixels
  size_t done = 0;         // samples written
};

// Rows of n samples that pick the least, or the greatest, of several. Rows do not overlap.
template <class S>
struct ExtremumRows {
  using Key = typename RankKey<S>::Type;

  // The key that every other one wins against.
  Key neutral;

  // prefix = in
  void (*begin)(const S* in, Key* prefix, size_t n);
  // row = in, prefix = pick(prefix, in)
  void (*extend)(const S* in, Key* row, Key* prefix, size_t n);
  // The same, and line = pick(suffix, prefix) in one go.
  void (*advance)(const S* in, Key* row, Key* prefix, const Key* suffix, Key* line, size_t n);
  // line = pick(suffix, prefix)
  void (*meet)(const Key* suffix, const Key* prefix, Key* line, size_t n);
  // row = pick(row, next)
  void (*gather)(Key* row, const Key* next, size_t n);
  // out[i] = pick over line[i + j * step], j from 0 to side - 1, as far as the first `known` keys of the line allow.
  // last: there are no more of them.
  // known is a multiple of step.
  void (*across)(Joining<S>& joining, size_t known, bool last);

  // Two rows of n samples, of squares that reach 1 to kMostReach pixels each way: rows.in are twice that and two.
  static constexpr int kMostReach = 4;
  void (*squares[kMostReach])(const RowPair<S>& rows, size_t n, size_t step);
};

struct ExtremumTables {
  ExtremumRows<uint8_t> bytes;
  ExtremumRows<uint16_t> words;
  ExtremumRows<float> reals;
};

struct MorphologyKernels {
  ExtremumTables least;
  ExtremumTables greatest;
};

RASTERKIT_KERNEL_TABLE(MorphologyKernels, morphologyKernels)

}  // namespace rasterkit
