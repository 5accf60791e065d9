#include <rasterkit/analysis/histogram.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

void add(Bench& bench, const std::string& name, const Image& source, int channel) {
  const int bins = source->bitsPerSample <= 8 ? 256 : 65536;
  const auto histogram = std::make_shared<CPxHistogram>(bins);
  bench.add({.name = "histogram " + name,
             .ours =
                 [=] {
                   histogram->Create(bins);
                   histogram->SetHistogram(*source, channel);
                 },
             .peer = PEER([=, in = mat(*source)] {
               cv::Mat counts;
               const float range[] = {0, static_cast<float>(bins)};
               const float* ranges[] = {range};
               cv::calcHist(&in, 1, &channel, cv::Mat(), counts, 1, &bins, ranges);
             })});
}

BENCH(histogram) {
  add(bench, "8-bit", image(CM_GRAY, 8), 0);
  add(bench, "8-bit, 3 channels", image(CM_RGB, 8), 1);
  add(bench, "8-bit, flat", flatImage(CM_GRAY, 8, 100), 0);
  add(bench, "16-bit", image(CM_GRAY, 16), 0);
  add(bench, "16-bit, flat", flatImage(CM_GRAY, 16, 30000), 0);
}

}  // namespace
}  // namespace rasterkit::bench
