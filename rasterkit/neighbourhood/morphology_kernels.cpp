#include "rasterkit/neighbourhood/morphology_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

// A loop that reads at its index and ahead of it and writes at its index only may be vectorised in place: a vector is
// loaded before it is stored.
#if defined(__clang__)
#define RASTERKIT_READS_AHEAD _Pragma("clang loop vectorize(assume_safety)")
#else
#define RASTERKIT_READS_AHEAD _Pragma("GCC ivdep")
#endif

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

inline uint8_t keyOf(uint8_t sample) { return sample; }
inline uint16_t keyOf(uint16_t sample) { return sample; }
inline int32_t keyOf(float sample) { return totalOrderKey(sample); }

inline void put(uint8_t* out, uint8_t key) { *out = key; }
inline void put(uint16_t* out, uint16_t key) { *out = key; }
inline void put(float* out, int32_t key) { *out = fromTotalOrderKey(key); }

struct Least {
  template <class K>
  static K pick(K a, K b) {
    return least(a, b);
  }
};
struct Greatest {
  template <class K>
  static K pick(K a, K b) {
    return greatest(a, b);
  }
};

template <class Pick, class S>
struct Rows {
  using K = typename RankKey<S>::Type;

  static K pick(K a, K b) { return Pick::pick(a, b); }
  static K pick(K a, K b, K c, K d) { return pick(pick(a, b), pick(c, d)); }

  static void begin(const S* __restrict in, K* __restrict prefix, size_t n) {
    for (size_t i = 0; i < n; ++i) prefix[i] = keyOf(in[i]);
  }

  static void extend(const S* __restrict in, K* __restrict row, K* __restrict prefix, size_t n) {
    for (size_t i = 0; i < n; ++i) {
      const K key = keyOf(in[i]);
      row[i] = key;
      prefix[i] = pick(prefix[i], key);
    }
  }

  static void advance(const S* __restrict in, K* __restrict row, K* __restrict prefix, const K* __restrict suffix,
                      K* __restrict line, size_t n) {
    for (size_t i = 0; i < n; ++i) {
      const K key = keyOf(in[i]);
      const K picked = pick(prefix[i], key);
      row[i] = key;
      prefix[i] = picked;
      line[i] = pick(picked, suffix[i]);
    }
  }

  static void meet(const K* __restrict suffix, const K* __restrict prefix, K* __restrict line, size_t n) {
    for (size_t i = 0; i < n; ++i) line[i] = pick(suffix[i], prefix[i]);
  }

  static void gather(K* __restrict row, const K* __restrict next, size_t n) {
    for (size_t i = 0; i < n; ++i) row[i] = pick(row[i], next[i]);
  }

  static void downThree(const S* __restrict above, const S* __restrict here, const S* __restrict below,
                        K* __restrict line, size_t n) {
    for (size_t i = 0; i < n; ++i) line[i] = pick(pick(keyOf(above[i]), keyOf(here[i])), keyOf(below[i]));
  }

  // line[i] = pick over four keys, so far apart, from i on.
  static void join(K* line, size_t apart, size_t from, size_t to) {
    const K* const second = line + apart;
    const K* const third = second + apart;
    const K* const fourth = third + apart;
    RASTERKIT_READS_AHEAD
    for (size_t i = from; i < to; ++i) line[i] = pick(line[i], second[i], third[i], fourth[i]);
  }

  // out[i] = the pick over the side, from keys that cover so many pixels each; the last two overlap.
  static void finish(const K* __restrict line, size_t covered, size_t side, size_t step, S* __restrict out, size_t n) {
    const K* const second = line + covered * step;
    const K* const third = second + covered * step;
    const K* const last = line + (side - covered) * step;
    if (side <= covered) {
      for (size_t i = 0; i < n; ++i) put(out + i, line[i]);
    } else if (side <= covered * 2) {
      for (size_t i = 0; i < n; ++i) put(out + i, pick(line[i], last[i]));
    } else if (side <= covered * 3) {
      for (size_t i = 0; i < n; ++i) put(out + i, pick(pick(line[i], second[i]), last[i]));
    } else {
      for (size_t i = 0; i < n; ++i) put(out + i, pick(line[i], second[i], third[i], last[i]));
    }
  }

  template <size_t step>
  static void keepUnmasked(const uint8_t* mask, const S* in, S* out, const S* picked, size_t pixels) {
    for (size_t x = 0; x < pixels; ++x)
      for (size_t c = 0; c < step; ++c) out[x * step + c] = mask[x] ? picked[x * step + c] : in[x * step + c];
  }

  static void finishMasked(const Joining<S>& joining, size_t covered, size_t to) {
    constexpr size_t block = 240;  // a multiple of every step
    S picked[block];
    for (size_t i = joining.done; i < to; i += block) {
      const size_t count = least(block, to - i);
      finish(joining.line + i, covered, joining.side, joining.step, picked, count);
      const uint8_t* const mask = joining.mask + i / joining.step;
      const size_t pixels = count / joining.step;
      switch (joining.step) {
        case 1: keepUnmasked<1>(mask, joining.in + i, joining.out + i, picked, pixels); break;
        case 2: keepUnmasked<2>(mask, joining.in + i, joining.out + i, picked, pixels); break;
        case 3: keepUnmasked<3>(mask, joining.in + i, joining.out + i, picked, pixels); break;
        case 4: keepUnmasked<4>(mask, joining.in + i, joining.out + i, picked, pixels); break;
      }
    }
  }

  // How far a step gets with so many keys known: whole vectors, until the last of them are known too.
  static size_t reached(size_t from, size_t known, size_t ahead, bool last) {
    constexpr size_t aligned = 192;  // a multiple of every step and of the samples in the widest vector
    const size_t to = known > ahead ? known - ahead : 0;
    return greatest(from, last ? to : to / aligned * aligned);
  }

  // Windows are joined in fours, in place, until at most four of them cover the side. Each level changes the keys
  // before its own end only, and needs keys that the level before has finished.
  static void across(Joining<S>& joining, size_t known, bool last) {
    const size_t side = joining.side, step = joining.step;
    size_t covered = 1;
    for (size_t* joined = joining.joined; covered * 4 < side; covered *= 4, ++joined) {
      const size_t to = reached(*joined, known, covered * 3 * step, last);
      join(joining.line, covered * step, *joined, to);
      known = *joined = to;
    }
    const size_t from = joining.done, to = reached(from, known, (side - covered) * step, last);
    if (joining.mask)
      finishMasked(joining, covered, to);
    else
      finish(joining.line + from, covered, side, step, joining.out + from, to - from);
    joining.done = to;
  }

  static constexpr ExtremumRows<S> table(K neutral) {
    return {neutral, begin, extend, advance, meet, gather, downThree, across};
  }
};

}  // namespace

const MorphologyKernels morphologyKernels = {
    {Rows<Least, uint8_t>::table(UINT8_MAX), Rows<Least, uint16_t>::table(UINT16_MAX),
     Rows<Least, float>::table(INT32_MAX)},
    {Rows<Greatest, uint8_t>::table(0), Rows<Greatest, uint16_t>::table(0), Rows<Greatest, float>::table(INT32_MIN)},
};

}  // namespace rasterkit::RASTERKIT_LEVEL
