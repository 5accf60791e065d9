#include <rasterkit/analysis/hough.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

BENCH(hough) {
  for (const double share : {0.002, 0.02, 0.1}) {
    const Image source = sparseImage(share);
    const auto transform = std::make_shared<CPxHoughTransform>();
    char name[64];
    std::snprintf(name, sizeof name, "line voting, %.1f %% set", 100 * share);
    bench.add({.name = name,
               .ours =
                   [=] {
                     transform->SetImage(source.get());
                     transform->Direct();
                   },
               .peer = PEER([=, in = mat(*source)] {
                 // A threshold that nothing reaches: the votes
                 // alone.
                 std::vector<cv::Vec2f> lines;
                 cv::HoughLines(in, lines, 1, CV_PI / 360, 1 << 30);
               })});
  }
  const Image source = sparseImage(0.02);
  const auto transform = std::make_shared<CPxHoughTransform>(source.get());
  transform->Direct();
  const CPxHoughImage& votes = transform->GetHoughImage();
  const std::size_t bytes = sizeof(DWORD) * static_cast<std::size_t>(votes.GetRhoCount()) * 360;
  const auto result = std::make_shared<double>();
  const auto add = [&](const char* name, double (*f)(const CPxHoughImage&)) {
    bench.add({.name = name, .ours = [=] { *result = f(transform->GetHoughImage()); }, .copies = bytes});
  };
  add("accumulator GetMax", [](const CPxHoughImage& v) { return static_cast<double>(v.GetMax()); });
  add("accumulator GetMin", [](const CPxHoughImage& v) { return static_cast<double>(v.GetMin()); });
  add("accumulator GetMean", [](const CPxHoughImage& v) { return v.GetMean(); });
  const auto out = std::make_shared<CPxImage>();
  bench.add({.name = "accumulator as an image",
             .ours = [=, keep = source] { transform->GetDisplayImage(*out); },
             .copies = bytes});
  bench.add({.name = "lines", .ours = [=, keep = source] { transform->DetectLine(*out); }});
}

}  // namespace
}  // namespace rasterkit::bench
