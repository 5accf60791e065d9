#include "rasterkit/point/threshold_kernels.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

inline bool reaches(uint8_t sample, uint8_t level) { return sample >= level; }
inline bool reaches(uint16_t sample, uint16_t level) { return sample >= level; }
inline bool reaches(float sample, float level) { return sample > level; }

template <class S>
struct Bits;
template <>
struct Bits<uint8_t> {
  using Type = uint8_t;
};
template <>
struct Bits<uint16_t> {
  using Type = uint16_t;
};
template <>
struct Bits<float> {
  using Type = uint32_t;
};

template <class S>
void binarise(const S* in, S* out, size_t n, S level) {
  for (size_t i = 0; i < n; ++i) out[i] = reaches(in[i], level) ? S(255) : S(0);
}

template <class S>
void keepUpper(const S* in, S* out, size_t n, S level) {
  for (size_t i = 0; i < n; ++i) out[i] = reaches(in[i], level) ? in[i] : S(0);
}

// In terms of bits, since all bits set is a NaN among floats.
template <class S>
void keepLower(const S* in, S* out, size_t n, S level) {
  using B = typename Bits<S>::Type;
  for (size_t i = 0; i < n; ++i) {
    B bits;
    __builtin_memcpy(&bits, in + i, sizeof bits);
    bits = reaches(level, in[i]) ? bits : B(~B(0));
    __builtin_memcpy(out + i, &bits, sizeof bits);
  }
}

template <class S>
constexpr ThresholdRows<S> rows = {binarise<S>, keepUpper<S>, keepLower<S>};

}  // namespace

const ThresholdKernels thresholdKernels = {rows<uint8_t>, rows<uint16_t>, rows<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
