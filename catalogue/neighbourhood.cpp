#include <rasterkit/neighbourhood/edge_detection.h>
#include <rasterkit/neighbourhood/filter.h>

#include <algorithm>

#include "catalogue/catalogue.h"

namespace rasterkit::catalogue {
namespace {

Parameter border() {
  return choice("border", {{"keep", CPxConvolution::CONV_KEEP_BORDER}, {"extend", CPxConvolution::CONV_EXTEND_BORDER}},
                CPxConvolution::CONV_EXTEND_BORDER)
      .help(
          "keep: pixels whose neighbours lie outside stay; extend: they are computed with the edge samples repeated "
          "outward");
}

int halfKernel(const Call& c) { return std::max(c.kernel().width, c.kernel().height) / 2; }

CPxConvolution::CONVOLUTION_FLAG flagOf(const Call& c) {
  return static_cast<CPxConvolution::CONVOLUTION_FLAG>(c.integer("border"));
}

template <class Number>
using Method = int (CPxConvolution::*)(Number*, CSize, CPxImage&, Number, Number, CPxConvolution::CONVOLUTION_FLAG);

// The parameters of the forms with whole and with single-precision numbers, and their values.
template <class Number>
struct Numbers;
template <>
struct Numbers<int> {
  static constexpr const char* weights = "whole weights, row by row; what follows a decimal point is cut off";
  static Parameter divisor() {
    return integer("divisor", 1).usually(1, 64).help("what the sum is divided by; 0 is refused");
  }
  static Parameter offset() { return integer("offset", 0); }
  static std::vector<int> of(const Kernel& kernel) { return kernel.whole(); }
  static int of(const Call& c, const char* name) { return c.integer(name); }
};
template <>
struct Numbers<float> {
  static constexpr const char* weights = "the weights, row by row, in single precision";
  static Parameter divisor() { return real("divisor", 1).usually(0.5, 16).help("what the sum is divided by"); }
  static Parameter offset() { return real("offset", 0); }
  static std::vector<float> of(const Kernel& kernel) { return kernel.single(); }
  static float of(const Call& c, const char* name) { return c.single(name); }
};

template <class Number>
Operation convolution(std::string name, std::string method, std::string summary, std::string formula,
                      std::string example, Method<Number> run) {
  using With = Numbers<Number>;
  return {
      .name = std::move(name),
      .method = "CPxConvolution::" + method,
      .summary = std::move(summary),
      .accepts = {.mask = MaskUse::honoured},
      .parameters = {kernel("kernel").help(With::weights), With::divisor(),
                     With::offset().usually(-128, 128).unit("sample values").help("is added to the quotient"),
                     border()},
      .run =
          [run](Call& c) {
            auto weights = With::of(c.kernel());
            auto convolution = c.on<CPxConvolution>();
            return (convolution.*run)(weights.data(), CSize(c.kernel().width, c.kernel().height), c.dst(),
                                      With::of(c, "divisor"), With::of(c, "offset"), flagOf(c));
          },
      .reach = Reach::by(halfKernel),
      .formula = std::move(formula),
      .example = std::move(example),
  };
}

Parameter direction(int diagonal, int horizontal, int vertical, const char* diagonalEdges) {
  return choice("edges", {{"diagonal", diagonal}, {"horizontal", horizontal}, {"vertical", vertical}}, vertical)
      .help(std::string("which edges to find; diagonal ones are those from ") + diagonalEdges);
}

constexpr const char* kSum = "sum of weight[i, j] src[x - cx / 2 + i, y - cy / 2 + j], edge samples repeated";

}  // namespace

std::vector<Operation> neighbourhoodOperations() {
  const std::string sum = kSum;
  return {
      convolution<int>("convolve", "Convolve", "a weighted sum over a rectangle of neighbours, in whole numbers",
                       "dst = limit(s / divisor + offset, 0, 255 or 65535), s = " + sum,
                       "convolve kernel=3x3:1,2,1,2,4,2,1,2,1 divisor=16", &CPxConvolution::Convolve),
      convolution<float>("convolve-real", "Convolve",
                         "a weighted sum over a rectangle of neighbours, in double precision",
                         "dst = limit(s / divisor + offset, 0, 255 or 65535), truncated; s = " + sum,
                         "convolve-real kernel=3x1:0.25,0.5,0.25", &CPxConvolution::Convolve),
      convolution<int>(
          "convolve-abs", "ConvolveABS", "the size of a weighted sum, in whole numbers",
          "q = s / divisor; dst = limit(q + offset < 0 ? offset - q : q + offset, 0, 255 or 65535), s = " + sum,
          "convolve-abs kernel=3x1:-1,0,1", &CPxConvolution::ConvolveABS),
      convolution<float>("convolve-abs-real", "ConvolveABS", "the size of a weighted sum, in double precision",
                         "q = s / divisor; dst = limit(q + offset < 0 ? offset - q : q + offset, 0, 255 or 65535), "
                         "truncated; s = " +
                             sum,
                         "convolve-abs-real kernel=3x1:-0.5,0,0.5", &CPxConvolution::ConvolveABS),
      {
          .name = "prewitt",
          .method = "CPxEdgeDetection::Prewitt",
          .summary = "edges, as the size of the difference between the sides of a pixel",
          .accepts = {.mask = MaskUse::honoured},
          .result = {.refusal = Refusal::varies},  // untouched for unknown edges
          .parameters = {direction(CPxEdgeDetection::PREWITT_DIAGONAL, CPxEdgeDetection::PREWITT_HORIZONTAL,
                                   CPxEdgeDetection::PREWITT_VERTICAL, "upper left to lower right")},
          .run =
              [](Call& c) {
                return c.on<CPxEdgeDetection>().Prewitt(
                    c.dst(), static_cast<CPxEdgeDetection::PREWITT_FLAG>(c.integer("edges")));
              },
          .reach = Reach::of(1),
          .formula =
              "dst = limit(|s|, 0, 255 or 65535), s = sum of weight src over 3 x 3: vertical -1 0 1 in each row; "
              "horizontal 1 1 1, 0 0 0, -1 -1 -1; diagonal 0 1 2, -1 0 1, -2 -1 0",
          .example = "prewitt edges=vertical",
      },
      {
          .name = "sobel",
          .method = "CPxEdgeDetection::Sobel3",
          .summary = "edges, with twice the weight in the middle",
          .accepts = {.mask = MaskUse::honoured},
          .result = {.refusal = Refusal::varies},  // untouched for unknown edges
          .parameters = {direction(CPxEdgeDetection::SOBEL_DIAGONAL, CPxEdgeDetection::SOBEL_HORIZONTAL,
                                   CPxEdgeDetection::SOBEL_VERTICAL, "lower left to upper right")},
          .run =
              [](Call& c) {
                return c.on<CPxEdgeDetection>().Sobel3(c.dst(),
                                                       static_cast<CPxEdgeDetection::SOBEL_FLAG>(c.integer("edges")));
              },
          .reach = Reach::of(1),
          .formula =
              "dst = limit(|s|, 0, 255 or 65535), s = sum of weight src over 3 x 3: vertical -1 0 1, -2 0 2, -1 0 1; "
              "horizontal 1 2 1, 0 0 0, -1 -2 -1; diagonal half of -2 -2 0, -2 0 2, 0 2 2",
          .example = "sobel edges=horizontal",
      },
      {
          .name = "laplacian",
          .method = "CPxEdgeDetection::Laplacian3",
          .summary = "how far a sample stands out from its eight neighbours",
          .parameters = {},
          .run = [](Call& c) { return c.on<CPxEdgeDetection>().Laplacian3(c.dst()); },
          .reach = Reach::of(1),
          .formula = "dst = limit((8 src - sum of the eight neighbours) / 8, 0, 255), truncated; 0 along the edges",
          .example = "laplacian",
      },
      {
          .name = "blur",
          .method = "CPxFilter::Blur",
          .summary = "smooths a little",
          .accepts = {.mask = MaskUse::honoured},
          .parameters = {},
          .run = [](Call& c) { return c.on<CPxFilter>().Blur(c.dst()); },
          .reach = Reach::of(1),
          .formula = "dst = 0.75 src + 0.03125 (sum of the eight neighbours), truncated; edge samples repeated",
          .example = "blur",
      },
      {
          .name = "sharpen",
          .method = "CPxFilter::Sharpen",
          .summary = "enhances what stands out from its neighbours",
          .parameters = {},
          .run = [](Call& c) { return c.on<CPxFilter>().Sharpen(c.dst()); },
          .reach = Reach::of(1),
          .formula =
              "dst = limit(1.8 src - 0.1 (sum of the eight neighbours), 0, 255 or 65535), truncated; the weights in "
              "single precision, edge samples repeated",
          .example = "sharpen",
      },
  };
}

}  // namespace rasterkit::catalogue
