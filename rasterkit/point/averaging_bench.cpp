#include <rasterkit/point/averaging.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

BENCH(average) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB}) {
    std::vector<Image> images;
    const auto series = std::make_shared<CPxImageArray>();
    for (int i = 0; i < 8; ++i) {
      images.push_back(image(model, 8));
      series->Add(images.back().get());
    }
    const auto dst = image(model, 8), peers = image(model, 8);
    Case one{.name = std::string("average 8 ") + (model == CM_GRAY ? "grey" : "RGB") + " 8-bit",
             .ours = [images, series, dst] { CPxAveraging(series.get()).AveragingAverage(*dst); },
             .copies = static_cast<std::size_t>(dst->bufferSize) * 4,
             .against = "accumulate and convert"};
#ifdef RASTERKIT_OPENCV
    one.peer = [images, peers, out = mat(*peers), sum = cv::Mat()]() mutable {
      sum.create(out.size(), CV_MAKETYPE(CV_32F, out.channels()));
      sum.setTo(0);
      for (const Image& each : images) cv::accumulate(mat(*each), sum);
      sum.convertTo(out, CV_8U, 1.0 / 8);
    };
#endif
    bench.add(std::move(one));
  }
}

}  // namespace
}  // namespace rasterkit::bench
