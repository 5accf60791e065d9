#include <rasterkit/point/threshold.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

struct Kind {
  int bits;
  const char* name;
  int level;
};
constexpr Kind kKinds[] = {{8, "8-bit", 128}, {16, "16-bit", 32768}, {32, "float", 128}};

BENCH(threshold) {
  for (const auto& [bits, name, level] : kKinds) {
    const auto source = image(CM_GRAY, bits), dst = image(CM_GRAY, bits);
    bench.add({.name = std::string("threshold ") + name,
               .ours = [=, level = level] { CPxThresholdProcessing(source.get()).Threshold(*dst, level); },
               .peer = PEER([in = mat(*source), out = mat(*dst), level = level]() mutable {
                 cv::threshold(in, out, level - 1, 255, cv::THRESH_BINARY);
               }),
               .copies = static_cast<std::size_t>(source->bufferSize)});
  }
}

BENCH(cut) {
  for (const auto& [bits, name, level] : kKinds) {
    const auto source = image(CM_GRAY, bits), dst = image(CM_GRAY, bits);
    for (const int upper : {1, 0}) {
      bench.add({.name = std::string(upper ? "cut upper " : "cut lower ") + name,
                 .ours = [=, level = level] { CPxThresholdProcessing(source.get()).Cut(*dst, level, upper); },
                 .peer = PEER([in = mat(*source), out = mat(*dst), level = level]() mutable {
                   cv::threshold(in, out, level - 1, 255, cv::THRESH_TOZERO);
                 }),
                 .copies = static_cast<std::size_t>(source->bufferSize),
                 .against = upper ? "" : "threshold to zero"});
    }
  }
}

}  // namespace
}  // namespace rasterkit::bench
