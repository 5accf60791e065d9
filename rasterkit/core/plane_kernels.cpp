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

template <int channels, class S>
void insertRow(const S* samples, S* pixels, int plane, size_t n) {
  const S* const __restrict in = samples;
  S* const __restrict out = pixels + plane;
  for (size_t i = 0; i < n; ++i) out[i * channels] = in[i];
}

template <class S>
void insert(const S* samples, S* pixels, int channels, int plane, size_t n) {
  switch (channels) {
    case 2: return insertRow<2>(samples, pixels, plane, n);
    case 3: return insertRow<3>(samples, pixels, plane, n);
    case 4: return insertRow<4>(samples, pixels, plane, n);
  }
}

}  // namespace

const PlaneKernels planeKernels = {extract<uint8_t>, extract<uint16_t>, extract<uint32_t>,
                                   insert<uint8_t>,  insert<uint16_t>,  insert<uint32_t>};

}  // namespace rasterkit::RASTERKIT_LEVEL
