#include <rasterkit/neighbourhood/edge_detection.h>
#include <rasterkit/neighbourhood/filter.h>

#include "bench/harness.h"

#include <cmath>

namespace rasterkit::bench {
namespace {

constexpr auto kExtend = CPxConvolution::CONV_EXTEND_BORDER;

std::string label(const char* name, const CPxImage& image) {
  return std::string(name) + " " + std::to_string(image.bitsPerSample) + " bits, " + std::to_string(image.channels) +
         (image.channels == 1 ? " channel" : " channels");
}

#ifdef RASTERKIT_OPENCV
template <class Weight>
std::function<void()> filter(CPxImage& source, CPxImage& dst, CSize size, std::vector<Weight> weights, double divisor) {
  cv::Mat kernel(size.cy, size.cx, CV_32F);
  for (std::size_t i = 0; i < weights.size(); ++i)
    kernel.ptr<float>()[i] = static_cast<float>(static_cast<double>(weights[i]) / divisor);
  return [in = mat(source), out = mat(dst), kernel] {
    cv::filter2D(in, out, -1, kernel, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
  };
}

std::function<void()> sobel(CPxImage& source, CPxImage& dst, bool vertical) {
  return [in = mat(source), out = mat(dst), vertical, wide = cv::Mat()]() mutable {
    cv::Sobel(in, wide, in.depth() == CV_8U ? CV_16S : CV_32F, vertical, !vertical, 3, 1, 0, cv::BORDER_REPLICATE);
    cv::convertScaleAbs(wide, out);
  };
}
#endif

template <class Weight>
void convolve(Bench& bench, const char* name, COLOR_MODEL model, int bits, CSize size, std::vector<Weight> weights,
              Weight divisor) {
  const auto source = image(model, bits), dst = image(model, bits);
  bench.add({.name = label(name, *source),
             .ours =
                 [=]() mutable {
                   CPxConvolution(source.get()).Convolve(weights.data(), size, *dst, divisor, Weight{}, kExtend);
                 },
             .peer = PEER(filter(*source, *dst, size, weights, static_cast<double>(divisor))),
             .copies = static_cast<std::size_t>(source->bufferSize)});
}

// Weights without any order, from -most to most.
std::vector<int> odd(int count, int most) {
  std::vector<int> weights;
  for (int i = 0; i < count; ++i) weights.push_back((i * 7919 + 104729) % (2 * most + 1) - most);
  return weights;
}

std::vector<float> gaussian(int side) {
  std::vector<float> weights;
  const double middle = (side - 1) / 2.0, width = side / 5.0;
  double sum = 0;
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) {
      const double weight =
          std::exp(-((x - middle) * (x - middle) + (y - middle) * (y - middle)) / (2 * width * width));
      weights.push_back(static_cast<float>(weight));
      sum += weight;
    }
  for (float& weight : weights) weight = static_cast<float>(weight / sum);
  return weights;
}

BENCH(edges) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB})
    for (const int bits : {8, 16}) {
      const auto source = image(model, bits), dst = image(model, bits);
      const auto copies = static_cast<std::size_t>(source->bufferSize);
      using Edges = CPxEdgeDetection;
      for (const bool vertical : {true, false}) {
        bench.add(
            {.name = label(vertical ? "sobel vertical" : "sobel horizontal", *source),
             .ours =
                 [=] { Edges(source.get()).Sobel3(*dst, vertical ? Edges::SOBEL_VERTICAL : Edges::SOBEL_HORIZONTAL); },
             .peer = PEER(sobel(*source, *dst, vertical)),
             .copies = copies,
             .against = "Sobel, convertScaleAbs"});
        bench.add(
            {.name = label(vertical ? "prewitt vertical" : "prewitt horizontal", *source),
             .ours =
                 [=] {
                   Edges(source.get()).Prewitt(*dst, vertical ? Edges::PREWITT_VERTICAL : Edges::PREWITT_HORIZONTAL);
                 },
             .peer = PEER(sobel(*source, *dst, vertical)),
             .copies = copies,
             .against = "Sobel, convertScaleAbs"});
      }
      bench.add(
          {.name = label("laplacian", *source),
           .ours = [=] { Edges(source.get()).Laplacian3(*dst); },
           .peer = PEER(filter(*source, *dst, CSize(3, 3), std::vector<int>{-1, -1, -1, -1, 8, -1, -1, -1, -1}, 8)),
           .copies = copies});
    }
}

BENCH(blurAndSharpen) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB})
    for (const int bits : {8, 16}) {
      const auto source = image(model, bits), dst = image(model, bits);
      const auto copies = static_cast<std::size_t>(source->bufferSize);
      bench.add({.name = label("blur", *source),
                 .ours = [=] { CPxFilter(source.get()).Blur(*dst); },
                 .peer = PEER(filter(*source, *dst, CSize(3, 3), std::vector<int>{1, 1, 1, 1, 24, 1, 1, 1, 1}, 32)),
                 .copies = copies});
      bench.add(
          {.name = label("sharpen", *source),
           .ours = [=] { CPxFilter(source.get()).Sharpen(*dst); },
           .peer = PEER(filter(*source, *dst, CSize(3, 3), std::vector<int>{-1, -1, -1, -1, 18, -1, -1, -1, -1}, 10)),
           .copies = copies});
    }
}

BENCH(convolveWhole) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB}) {
    convolve(bench, "convolve 3 x 3, weights to 127, / 7,", model, 8, CSize(3, 3), odd(9, 127), 7);
    convolve(bench, "convolve 3 x 3, weights to 127, / 16,", model, 16, CSize(3, 3), odd(9, 127), 16);
    convolve(bench, "convolve 3 x 3, weights to 70000, / 1000,", model, 8, CSize(3, 3), odd(9, 70000), 1000);
    convolve(bench, "convolve 5 x 5, weights to 127, / 25,", model, 8, CSize(5, 5), odd(25, 127), 25);
    convolve(bench, "convolve 7 x 7, weights to 127, / 49,", model, 8, CSize(7, 7), odd(49, 127), 49);
    convolve(bench, "convolve 5 x 5, weights to 4, / 25,", model, 8, CSize(5, 5), odd(25, 4), 25);
  }
}

BENCH(convolveReal) {
  for (const int side : {3, 5, 7, 9, 11, 15})
    convolve(bench, ("convolve float " + std::to_string(side) + " x " + std::to_string(side) + ",").c_str(), CM_GRAY, 8,
             CSize(side, side), gaussian(side), 1.0F);
  convolve(bench, "convolve float 3 x 3,", CM_RGB, 8, CSize(3, 3), gaussian(3), 1.0F);
  convolve(bench, "convolve float 3 x 3,", CM_GRAY, 16, CSize(3, 3), gaussian(3), 1.0F);
  convolve(bench, "convolve float 7 x 7, divisor 3,", CM_GRAY, 8, CSize(7, 7), gaussian(7), 3.0F);

  // The worst for estimates: every sum is next to a whole number.
  const auto source = flatImage(CM_GRAY, 8, 200), dst = image(CM_GRAY, 8);
  for (const int side : {3, 7}) {
    std::vector<float> weights = gaussian(side);
    bench.add(
        {.name = "convolve float " + std::to_string(side) + " x " + std::to_string(side) + ", flat image",
         .ours =
             [=]() mutable {
               CPxConvolution(source.get()).Convolve(weights.data(), CSize(side, side), *dst, 1.0F, 0.0F, kExtend);
             },
         .peer = PEER(filter(*source, *dst, CSize(side, side), weights, 1)),
         .copies = static_cast<std::size_t>(source->bufferSize)});
  }
}

}  // namespace
}  // namespace rasterkit::bench
