#include <rasterkit/analysis/shading.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

BENCH(shading) {
  struct Kind {
    COLOR_MODEL model;
    int bits;
    const char* name;
  };
  for (const auto& [model, bits, name] :
       {Kind{CM_GRAY, 8, "8-bit"}, Kind{CM_RGB, 8, "8-bit, 3 channels"}, Kind{CM_RGBA, 8, "8-bit, 4 channels"},
        Kind{CM_GRAY, 16, "16-bit"}, Kind{CM_RGB, 16, "16-bit, 3 channels"}}) {
    // Corrected in place again and again; no sample becomes 0 in the peer's operands alone.
    const Image target = image(model, bits), blank = image(model, bits);
    const auto shading = std::make_shared<CIMPShadingCorrect>();
    shading->SetBlankImage(blank.get());
    const bool divides = !(model == CM_GRAY);
    bench.add({.name = std::string("shading ") + name,
               .ours =
                   [=] {
                     shading->SetImage(target.get());
                     shading->ShadingCorrect();
                   },
               .peer = PEER([=, keep = blank, in = mat(*target), by = mat(*blank)]() mutable {
                 if (divides)
                   cv::divide(in, by, in, 100.0);
                 else
                   cv::multiply(in, by, in, 0.01);
               }),
               .copies = static_cast<std::size_t>(target->bufferSize),
               .against = divides ? "scaled divide" : "scaled multiply"});
  }
}

}  // namespace
}  // namespace rasterkit::bench
