#include <rasterkit/analysis/peaks.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

BENCH(smooth) {
  for (const int half : {2, 50, 5000}) {
    const auto histogram = std::make_shared<CPxHistogram>(*image(CM_GRAY, 16), 0);
    bench.add({.name = "smooth 65536 bins, ten passes, half-width " + std::to_string(half),
               .ours = [=] { CPxHistogramProcessing(histogram.get()).Smooth(10, HIST_SMOOTHED, half, -1, -1); }});
  }
}

BENCH(peaks) {
  for (const int bits : {8, 16}) {
    const auto counts = std::make_shared<CPxHistogram>(*image(CM_GRAY, bits), 0);
    // Noise on top of the image's own: neighbouring bins differ by a tenth.
    for (int i = 0; i < counts->GetBinCount(); ++i) {
      const int count = counts->GetValue(i, HIST_RAW);
      counts->SetValue(i, count + static_cast<int>(static_cast<unsigned>(i) * 2654435761U % (count / 10U + 1)),
                       HIST_RAW);
    }
    bench.add({.name = "peaks of a noisy " + std::to_string(counts->GetBinCount()) + "-bin histogram", .ours = [=] {
                 CPxHistogram histogram(*counts);
                 CPxHistogramProcessing(&histogram).FindMaximaMinima();
               }});
  }
}

}  // namespace
}  // namespace rasterkit::bench
