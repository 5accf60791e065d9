#pragma once

#include "rasterkit/core/kernel_table.h"

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

// Rows of n samples that pick the least, or the greatest, of several. Rows do not overlap unless it is said.
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
  // line[i] = pick over so many rows, 1 to 8
  void (*down)(const S* const* rows, int count, Key* line, size_t n);

  // out[i] = pick over line[i + j * step], j from 0 to side - 1. line has n + (side - 1) * step keys and is used up.
  void (*across)(Key* line, size_t side, size_t step, S* out, size_t n);
  // The same where mask is not 0, else in; one mask byte a pixel of step samples. in and out may be the same row.
  void (*acrossMasked)(Key* line, size_t side, size_t step, const uint8_t* mask, const S* in, S* out, size_t n);
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
