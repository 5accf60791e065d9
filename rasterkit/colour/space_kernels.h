#pragma once
// Row kernels of the colour spaces, and the same for one pixel.

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// The three samples of a pixel in a space, in the order of its name.
struct SpacePixel {
  float sample[3];
};

struct ColourPixel {
  uint8_t blue;
  uint8_t green;
  uint8_t red;
};

// Rows of n pixels that do not overlap; colour pixels have 3 or 4 samples.
struct SpaceKernels {
  using ToSpace = void (*)(const uint8_t* in, int channels, float* out, size_t n);
  using FromSpace = void (*)(const float* in, uint8_t* out, int channels, size_t n);

  ToSpace toHsi;
  ToSpace toHsv;
  ToSpace toHls;
  ToSpace toYcbcr;
  FromSpace fromHsi;
  FromSpace fromHls;
  FromSpace fromYcbcr;

  // There and back, with something added between.
  void (*adjustHsi)(uint8_t* pixels, int channels, SpacePixel added, size_t n);

  SpacePixel (*hsiOf)(ColourPixel);
  SpacePixel (*hsvOf)(ColourPixel);
  ColourPixel (*ofHsi)(float hue, float saturation, float intensity);

  double (*arcCosine)(double);  // of -1 to 1
};

RASTERKIT_PERMUTING_KERNEL_TABLE(SpaceKernels, spaceKernels)

}  // namespace rasterkit
