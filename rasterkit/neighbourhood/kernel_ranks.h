#pragma once
// Ways to compare samples, and rows worked on by whole vectors: what kernels that pick samples by rank share.

// For no processor in particular g++ loads a sorted sample anew for each of its uses; for these it keeps them, and the
// noise filter takes 6 % less time.
#if defined(__AVX512F__) && !defined(__clang__)
#pragma GCC target("tune=icelake-server")
#endif

#include "rasterkit/core/kernel_numbers.h"
#include "rasterkit/neighbourhood/row_pair.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// Samples are compared by their keys. An order is shown, by take, what it asks to see on the way, and suits tells
// afterwards whether it was right for that.

struct WholeNumbers {
  template <class S>
  static S keyOf(S sample) {
    return sample;
  }
  template <class S>
  static S sampleOf(S key) {
    return key;
  }
  template <class... Seen>
  void take(size_t, Seen...) {}
  bool suits() const { return true; }
};

struct TotalOrder {
  static int32_t keyOf(float sample) { return totalOrderKey(sample); }
  static float sampleOf(int32_t key) { return fromTotalOrderKey(key); }
  template <class... Seen>
  void take(size_t, Seen...) {}
  bool suits() const { return true; }
};

inline int32_t bitsOf(float sample) {
  int32_t bits;
  __builtin_memcpy(&bits, &sample, sizeof bits);
  return bits;
}

#if defined(__AVX512F__)
constexpr size_t kVector = 64;
#else
constexpr size_t kVector = 32;  // or two of 16: longer stretches would not be unrolled
#endif
template <class S>
constexpr size_t kLanes = kVector / sizeof(S);  // samples in a vector
template <class S>
constexpr size_t kLine = 64 / sizeof(S);  // and in a line of the cache

// A row is made in pieces: what is kept of their columns stays in the nearest cache.
template <class S>
constexpr size_t kPiece = 1024 / sizeof(S);

// Lines of two rows that are wanted later, fetched into the second cache.
template <class S>
struct Later {
  const S *first, *second;

  void fetch(size_t i) const {
    __builtin_prefetch(first + i, 0, 2);
    __builtin_prefetch(second + i, 0, 2);
  }
};

// And of one row.
template <class S>
struct LaterRow {
  const S* row;

  void fetch(size_t i) const { __builtin_prefetch(row + i, 0, 2); }
};

// And of two rows that are written next, fetched into the first. Stores leave in the order they were made: behind one
// that waits for its line, the sorted columns would not be there to be picked from.
template <class S>
struct LaterAndNext {
  Later<S> later;
  const S *first, *second;

  void fetch(size_t i) const {
    later.fetch(i);
    __builtin_prefetch(first + i, 1, 3);
    __builtin_prefetch(second + i, 1, 3);
  }
};

// each(i, lane) for i from 0 to n in whole vectors, the last of which is done over from further left if need be; what
// does not fill one is done singly. Lines are fetched as their places are met: many at once would hold up everything
// else. There is one loop, since a second one's end is one more that the processor does not expect.
template <class S, class F, template <class> class Fetching>
[[gnu::always_inline]] inline void inVectors(size_t n, Fetching<S> fetching, F each) {
  if (n < kLanes<S>) {
    for (size_t i = 0; i < n; ++i) each(i, 0);
    return;
  }
  for (size_t at = 0, last = n - kLanes<S>;; at = least(at + kLanes<S>, last)) {
    for (size_t i = 0; i < kLanes<S>; i += kLine<S>) fetching.fetch(at + i);
    for (size_t lane = 0; lane < kLanes<S>; ++lane) each(at + lane, lane);
    if (at == last) return;
  }
}

}  // namespace
}  // namespace rasterkit::RASTERKIT_LEVEL
