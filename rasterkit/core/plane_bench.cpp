#include <rasterkit/core/processing_base.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

BENCH(plane) {
  for (const COLOR_MODEL model : {CM_GRAYA, CM_RGB, CM_RGBA}) {
    for (const int bits : {8, 16, 32}) {
      const auto pixels = image(model, bits), plane = image(CM_GRAY, bits);
      const std::string kind = std::to_string(pixels->channels) + " channels of " + std::to_string(bits) + " bits";
      bench.add({.name = "get plane, " + kind,
                 .ours = [=] { CPxImageProcessingBase(pixels.get()).GetPlane(1, *plane); },
                 .peer = PEER([in = mat(*pixels), out = mat(*plane)]() mutable { cv::extractChannel(in, out, 1); }),
                 .copies = static_cast<std::size_t>(plane->bufferSize)});
      bench.add({.name = "set plane, " + kind,
                 .ours = [=] { CPxImageProcessingBase(pixels.get()).SetPlane(1, *plane); },
                 .peer = PEER([in = mat(*plane), out = mat(*pixels)]() mutable { cv::insertChannel(in, out, 1); }),
                 .copies = static_cast<std::size_t>(plane->bufferSize)});
    }
  }
}

}  // namespace
}  // namespace rasterkit::bench
