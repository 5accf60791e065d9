#include <rasterkit/neighbourhood/filter.h>

#include "rasterkit/neighbourhood/convolution_engine.h"

using namespace rasterkit;

namespace {

// 0.03125 and 0.75 are 1 / 32 and 24 / 32.
constexpr int kBlur[] = {1, 1, 1, 1, 24, 1, 1, 1, 1};

// The single-precision weights are 0.1 and 1.8 with errors: 1.8f c - 0.1f N = (18 c - N) / 10 - e, where e is
// 0.0000000477 c + 0.0000000015 N. That is exact in double precision (products of 24-bit weights that are multiples of
// 2^-27). e is above 0 unless all samples are 0, and below 0.004 for 16-bit samples; (18 c - N) / 10 is a multiple of
// 0.1. So e only takes a whole number to the one below, as does subtracting 1 from the numerator.
constexpr int kSharpen[] = {-1, -1, -1, -1, 18, -1, -1, -1, -1};

}  // namespace

int CPxFilter::Blur(CPxImage& dst) {
  return convolve(*this, {.weights = kBlur, .size = CSize(3, 3), .divisor = 32}, dst, Border::extended);
}

int CPxFilter::Sharpen(CPxImage& dst) {
  CPxImageProcessingBase everywhere(GetImage());
  return convolve(everywhere, {.weights = kSharpen, .size = CSize(3, 3), .divisor = 10, .start = -1}, dst,
                  Border::extended);
}
