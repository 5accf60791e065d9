#include <rasterkit/neighbourhood/filter.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

std::string nameOf(const char* operation, const CPxImage& image) {
  return std::string(operation) + " " + std::to_string(image.bitsPerSample) + " bits, " +
         std::to_string(image.channels) + " channels";
}

BENCH(median) {
  for (const int bits : {8, 16, 32}) {
    for (const COLOR_MODEL model : {CM_GRAY, CM_RGB}) {
      const auto source = image(model, bits), dst = image(model, bits);
      bench.add({.name = nameOf("median", *source),
                 .ours = [=] { CPxFilter(source.get()).Median(*dst); },
                 .peer = PEER([in = mat(*source), out = mat(*dst)] { cv::medianBlur(in, out, 3); }),
                 .copies = static_cast<std::size_t>(source->bufferSize)});
    }
  }
}

// A twentieth of the samples stands out so far.
BENCH(denoise) {
  for (const int bits : {8, 16, 32}) {
    for (const COLOR_MODEL model : {CM_GRAY, CM_RGB}) {
      const auto source = image(model, bits), dst = image(model, bits);
      const int threshold = bits == 16 ? 300 * 257 : 300;
      bench.add({.name = nameOf("denoise", *source),
                 .ours = [=] { CPxFilter(source.get()).RemoveRandomNoise(*dst, threshold); },
                 .peer = [=] { CPxFilter(source.get()).Median(*dst); },
                 .copies = static_cast<std::size_t>(source->bufferSize),
                 .against = "our median"});
    }
  }
}

}  // namespace
}  // namespace rasterkit::bench
