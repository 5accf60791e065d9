#pragma once

#include "rasterkit/colour/colour_kernels.h"

namespace rasterkit {

// The grey of so many bits a sample with these weights.
GreyWeights greyWeights(float red, float green, float blue, int bits);

}  // namespace rasterkit
