#pragma once
/// Benches that stand beside the code they measure. A bench makes its images once and gives one case for each number:
///
///     BENCH(threshold) {
///       const auto source = image(CM_GRAY, 8), dst = image(CM_GRAY, 8);
///       bench.add({.name = "threshold 8-bit",
///                  .ours = [=] { CPxThresholdProcessing(source.get()).Threshold(*dst, 128); },
///                  .peer = PEER([in = mat(*source), out = mat(*dst)] { cv::threshold(in, out, 127, 255,
///                  cv::THRESH_BINARY); }), .copies = source->bufferSize});
///     }
///
/// All cases of a run are measured in turns, so that ours, the peer's and memcpy see the same machine. The peer is
/// OpenCV on one thread; where it is not installed, PEER(...) is nothing.

#include <rasterkit/core/image.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#ifdef RASTERKIT_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#define PEER(...) __VA_ARGS__
#else
#define PEER(...) nullptr
#endif

namespace rasterkit::bench {

struct Case {
  std::string name;
  std::function<void()> ours;
  std::function<void()> peer = nullptr;
  std::size_t copies = 0;    ///< bytes of the memcpy to compare with; 0: none
  std::string against = "";  ///< what the peer is, where it is not the same operation of OpenCV
};

class Bench {
 public:
  void add(Case measured) { cases.push_back(std::move(measured)); }
  std::vector<Case> cases;
};

using Image = std::shared_ptr<CPxImage>;

/// An image of the usual bench size, 4096 x 3072 unless the command line says otherwise, of smooth shapes and noise;
/// the same in every run.
Image image(COLOR_MODEL model, int bits);
/// The same of one value everywhere.
Image flatImage(COLOR_MODEL model, int bits, double value);
/// Zeros but for this share of pixels, which are white.
Image sparseImage(double share);

int benchWidth();
int benchHeight();

#ifdef RASTERKIT_OPENCV
/// The image's own pixels as a matrix.
cv::Mat mat(CPxImage& image);
#endif

struct Registration {
  Registration(const char* name, void (*fill)(Bench&));
};

#define BENCH(name)                                                                     \
  static void bench_##name(::rasterkit::bench::Bench& bench);                           \
  static const ::rasterkit::bench::Registration registered_##name(#name, bench_##name); \
  static void bench_##name(::rasterkit::bench::Bench& bench)

}  // namespace rasterkit::bench
