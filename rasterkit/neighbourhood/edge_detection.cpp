#include <rasterkit/neighbourhood/edge_detection.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/window.h"
#include "rasterkit/neighbourhood/convolution_engine.h"
#include "rasterkit/neighbourhood/convolution_kernels.h"

#include <algorithm>
#include <type_traits>

namespace rasterkit {
namespace {

struct EdgeKernel {
  int weights[9];
  int divisor;
};

// Diagonal, horizontal, vertical; the two diagonals differ on purpose.
constexpr EdgeKernel kPrewitt[] = {
    {{0, 1, 2, -1, 0, 1, -2, -1, 0}, 1}, {{1, 1, 1, 0, 0, 0, -1, -1, -1}, 1}, {{-1, 0, 1, -1, 0, 1, -1, 0, 1}, 1}};
constexpr EdgeKernel kSobel[] = {
    {{-2, -2, 0, -2, 0, 2, 0, 2, 2}, 2}, {{1, 2, 1, 0, 0, 0, -1, -2, -1}, 1}, {{-1, 0, 1, -2, 0, 2, -1, 0, 1}, 1}};

int edges(CPxImageProcessingBase& self, CPxImage& dst, const EdgeKernel (&kernels)[3], int flag) {
  if (flag < 0 || flag > 2) return 0;
  const EdgeKernel& kernel = kernels[flag];
  return convolve(self, {.weights = kernel.weights, .size = CSize(3, 3), .divisor = kernel.divisor, .magnitude = true},
                  dst, Border::extended);
}

constexpr int kLaplacian[] = {-1, -1, -1, -1, 8, -1, -1, -1, -1};

int laplacianRows(View<const float> in, View<float> out) {
  const auto row = kernels<ConvolutionKernels>().laplacian;
  const auto step = static_cast<std::size_t>(in.channels);
  const std::size_t n = in.samples();
  Window<float> window(in, out, {.above = 1, .below = 1});
  for (int y = 0; y < in.height; ++y) {
    float* const to = out.row(y);
    if (y == 0 || y == in.height - 1 || in.width < 3) {
      // The window keeps the first row before it is cleared.
      if (y == 0) window.row(0);
      std::fill_n(to, n, 0.0F);
      continue;
    }
    const float* const* const rows = window.rows(y);
    std::fill_n(to, step, 0.0F);
    row(rows, step, to + step, n - 2 * step);
    std::fill_n(to + n - step, step, 0.0F);
  }
  return 1;
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxEdgeDetection::Prewitt(CPxImage& dst, PREWITT_FLAG flag) { return edges(*this, dst, kPrewitt, flag); }
int CPxEdgeDetection::Sobel3(CPxImage& dst, SOBEL_FLAG flag) { return edges(*this, dst, kSobel, flag); }

int CPxEdgeDetection::Laplacian3(CPxImage& dst) {
  if (GetImage() && sampleClass(GetImage()->bitsPerSample) != SampleClass::real) {
    CPxImageProcessingBase everywhere(GetImage());
    return convolve(everywhere, {.weights = kLaplacian, .size = CSize(3, 3), .divisor = 8, .most = 255}, dst,
                    Border::cleared);
  }
  const Operands operands(*this, dst, {1, 4});
  if (!operands) return 0;
  return laplacianRows(viewOf<float>(operands.source(), operands.channels()), viewOf<float>(dst, operands.channels()));
}

int CPxEdgeDetection::FeiChen(CPxImage&) { return 0; }
int CPxEdgeDetection::Laplacian3Minus(CPxImage&) { return 0; }
int CPxEdgeDetection::Laplacian3Prewitt(CPxImage&) { return 0; }
int CPxEdgeDetection::Laplacian3_4(CPxImage&) { return 0; }
int CPxEdgeDetection::Laplacian5(CPxImage&) { return 0; }
int CPxEdgeDetection::Laplacian9(CPxImage&) { return 0; }
int CPxEdgeDetection::MedianSquare2x2(CPxImage&) { return 0; }
int CPxEdgeDetection::PixelDifference(CPxImage&) { return 0; }
int CPxEdgeDetection::Roberts2(CPxImage&) { return 0; }
int CPxEdgeDetection::SeperatedPixelDifference(CPxImage&) { return 0; }
int CPxEdgeDetection::ShadowMask(CPxImage&) { return 0; }
