#include "rasterkit/core/plane_kernels.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// The channel count is a constant in the loops so that the compiler can turn the stride into permutes.
template <int channels, class S>
void extractRow(const S* pixels, int plane, S* samples, size_t n) {
  const S* const __restrict in = pixels + plane;
  S* const __restrict out = samples;
  for (size_t i = 0; i < n; ++i) out[i] = in[i * channels];
}

template <class S>
void extract(const S* pixels, int channels, int plane, S* samples, size_t n) {
  switch (channels) {
    case 2: return extractRow<2>(pixels, plane, samples, n);
    case 3: return extractRow<3>(pixels, plane, samples, n);
    case 4: return extractRow<4>(pixels, plane, samples, n);
  }
}

// One sample of pixels that fill a word W: the word is rewritten whole, which the compiler vectorises.
template <class W, class S>
void insertIntoWords(const S* samples, S* pixels, int plane, size_t n) {
  const int shift = plane * int(sizeof(S)) * 8;
  const W keep = W(~(W(S(~S(0))) << shift));
  const S* const __restrict in = samples;
  unsigned char* const __restrict out = reinterpret_cast<unsigned char*>(pixels);
  for (size_t i = 0; i < n; ++i) {
    W word;
    __builtin_memcpy(&word, out + i * sizeof(W), sizeof word);
    word = W((word & keep) | W(W(in[i]) << shift));
    __builtin_memcpy(out + i * sizeof(W), &word, sizeof word);
  }
}

template <class S>
void insertStrided(const S* samples, S* pixels, int channels, int plane, size_t n) {
  for (size_t i = 0; i < n; ++i) pixels[i * size_t(channels) + size_t(plane)] = samples[i];
}

// Pixels of three samples, a vector of samples at a time: each third of the pixels takes its samples from the vector by
// one shuffle and one blend.
template <class S>
struct Lanes {
  static constexpr int count = 16 / int(sizeof(S));
  typedef S Vector __attribute__((vector_size(16)));
};

template <class V, class S>
inline void blendInto(S* place, V keep, V samples) {
  V old;
  __builtin_memcpy(&old, place, sizeof old);
  const V blended = (old & keep) | (samples & ~keep);
  __builtin_memcpy(place, &blended, sizeof blended);
}

template <class S>
void insertIntoThrees(const S* samples, S* pixels, int plane, size_t n) {
  using V = typename Lanes<S>::Vector;
  constexpr int lanes = Lanes<S>::count;
  V keep[3];
  for (int i = 0; i < 3 * lanes; ++i) keep[i / lanes][i % lanes] = S(i % 3 == plane ? 0 : S(~S(0)));
  size_t i = 0;
  for (; i + lanes <= n; i += lanes) {
    V in;
    __builtin_memcpy(&in, samples + i, sizeof in);
    S* const out = pixels + 3 * i;
    if constexpr (lanes == 16) {
      blendInto<V>(out, keep[0], __builtin_shufflevector(in, in, 0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5));
      blendInto<V>(out + 16, keep[1],
                   __builtin_shufflevector(in, in, 5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10));
      blendInto<V>(out + 32, keep[2],
                   __builtin_shufflevector(in, in, 10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15));
    } else {
      blendInto<V>(out, keep[0], __builtin_shufflevector(in, in, 0, 0, 0, 1, 1, 1, 2, 2));
      blendInto<V>(out + 8, keep[1], __builtin_shufflevector(in, in, 2, 3, 3, 3, 4, 4, 4, 5));
      blendInto<V>(out + 16, keep[2], __builtin_shufflevector(in, in, 5, 5, 6, 6, 6, 7, 7, 7));
    }
  }
  insertStrided(samples + i, pixels + 3 * i, 3, plane, n - i);
}

template <class S>
struct Words;  // the unsigned integers that hold 2 and 4 samples
template <>
struct Words<uint8_t> {
  using Two = uint16_t;
  using Four = uint32_t;
};
template <>
struct Words<uint16_t> {
  using Two = uint32_t;
  using Four = uint64_t;
};

template <class S>
void insert(const S* samples, S* pixels, int channels, int plane, size_t n) {
  switch (channels) {
    case 2: return insertIntoWords<typename Words<S>::Two>(samples, pixels, plane, n);
    case 3: return insertIntoThrees(samples, pixels, plane, n);
    case 4: return insertIntoWords<typename Words<S>::Four>(samples, pixels, plane, n);
  }
}

// Four bytes a sample: the memory is the limit.
void insertReals(const uint32_t* samples, uint32_t* pixels, int channels, int plane, size_t n) {
  insertStrided(samples, pixels, channels, plane, n);
}

}  // namespace

const PlaneKernels planeKernels = {extract<uint8_t>, extract<uint16_t>, extract<uint32_t>,
                                   insert<uint8_t>,  insert<uint16_t>,  insertReals};

}  // namespace rasterkit::RASTERKIT_LEVEL
