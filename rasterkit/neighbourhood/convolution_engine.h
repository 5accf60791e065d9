#pragma once
// What the fixed filters use of the convolution engine.

#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

#include <climits>

namespace rasterkit {

// A kernel of whole weights and what becomes of its sums:
//
//     q = (sum + start) / divisor, toward zero; r = q + offset; magnitude and r < 0: r = offset - q
//     sample = limited(r, 0, most), or the greatest sample of the type where that is less
struct WholeKernel {
  const int* weights;
  CSize size;
  int divisor = 1;
  int offset = 0;
  bool magnitude = false;
  int start = 0;
  int most = INT_MAX;
};

enum class Border {
  kept,      // pixels whose neighbours lie outside keep the source's samples
  cleared,   // they become 0
  extended,  // edge samples are repeated outward
};

// Convolves 8-bit and 16-bit images; every processed sample of a float image becomes -1.
int convolve(CPxImageProcessingBase& self, const WholeKernel& kernel, CPxImage& dst, Border border);

}  // namespace rasterkit
