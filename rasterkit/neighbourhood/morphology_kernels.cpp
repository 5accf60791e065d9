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

  template <int... index>
  static void downRows(const S* const* rows, K* __restrict line, size_t n) {
    const S* const in[] = {rows[index]...};
    for (size_t i = 0; i < n; ++i) {
      K key = keyOf(in[0][i]);
      ((key = pick(key, keyOf(in[index][i]))), ...);
      line[i] = key;
    }
  }

  static void down(const S* const* rows, int count, K* line, size_t n) {
    switch (count) {
      case 1: return downRows<0>(rows, line, n);
      case 2: return downRows<0, 1>(rows, line, n);
      case 3: return downRows<0, 1, 2>(rows, line, n);
      case 4: return downRows<0, 1, 2, 3>(rows, line, n);
      case 5: return downRows<0, 1, 2, 3, 4>(rows, line, n);
      case 6: return downRows<0, 1, 2, 3, 4, 5>(rows, line, n);
      case 7: return downRows<0, 1, 2, 3, 4, 5, 6>(rows, line, n);
    }
  }

  // Joins windows in fours, in place, until at most four of them cover the side; gives the keys that each then covers.
  static size_t join(K* line, size_t side, size_t step, size_t n) {
    const size_t length = n + (side - 1) * step;
    size_t covered = 1;
    for (; covered * 4 < side; covered *= 4) {
      const K* const second = line + covered * step;
      const K* const third = second + covered * step;
      const K* const fourth = third + covered * step;
      const size_t joined = length - (covered * 4 - 1) * step;
      RASTERKIT_READS_AHEAD
      for (size_t i = 0; i < joined; ++i) line[i] = pick(line[i], second[i], third[i], fourth[i]);
    }
    return covered;
  }

  // out[i] = the pick over the side, from windows that cover so many keys each; the last two overlap.
  template <class T>
  static void finish(const K* __restrict line, size_t covered, size_t side, size_t step, T* __restrict out, size_t n) {
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

  static void across(K* line, size_t side, size_t step, S* out, size_t n) {
    const size_t covered = join(line, side, step, n);
    finish(line, covered, side, step, out, n);
  }

  static void acrossMasked(K* line, size_t side, size_t step, const uint8_t* mask, const S* in, S* out, size_t n) {
    constexpr size_t block = 256;  // samples
    const size_t covered = join(line, side, step, n);
    S picked[block];
    const size_t pixels = block / step;
    for (size_t i = 0; i < n; i += pixels * step, mask += pixels) {
      const size_t count = least(pixels * step, n - i);
      finish(line + i, covered, side, step, picked, count);
      for (size_t j = 0; j < count; ++j) out[i + j] = mask[j / step] ? picked[j] : in[i + j];
    }
  }

  static constexpr ExtremumRows<S> table(K neutral) {
    return {neutral, begin, extend, advance, meet, gather, down, across, acrossMasked};
  }
};

}  // namespace

const MorphologyKernels morphologyKernels = {
    {Rows<Least, uint8_t>::table(UINT8_MAX), Rows<Least, uint16_t>::table(UINT16_MAX),
     Rows<Least, float>::table(INT32_MAX)},
    {Rows<Greatest, uint8_t>::table(0), Rows<Greatest, uint16_t>::table(0), Rows<Greatest, float>::table(INT32_MIN)},
};

}  // namespace rasterkit::RASTERKIT_LEVEL
