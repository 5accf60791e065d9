#include <rasterkit/point/lookup_tables.h>
#include <rasterkit/point/tone.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

const CRect kAll(-1, -1, -1, -1);

struct Type {
  COLOR_MODEL model;
  int bits;
  const char* name;
};

BENCH(tables) {
  for (const auto& [model, bits, type] :
       {Type{CM_GRAY, 8, " grey 8-bit"}, Type{CM_RGB, 8, " RGB 8-bit"}, Type{CM_GRAY, 16, " grey 16-bit"}}) {
    const auto target = image(model, bits), peers = image(model, bits);
    // A steep curve and back would do the same work: every entry is read whatever it holds.
    const auto contrast = std::make_shared<CPxContrastProcessing>(target.get());
    contrast->SetCoefficient(1);
    contrast->CreateVectorTable(1 << bits);
    Case one{.name = std::string("contrast") + type,
             .ours = [target, contrast] { contrast->Contrast(kAll); },
             .copies = static_cast<std::size_t>(target->bufferSize)};
#ifdef RASTERKIT_OPENCV
    if (bits == 8) {
      cv::Mat table(1, 256, CV_8U);
      for (int i = 0; i < 256; ++i) table.at<unsigned char>(i) = static_cast<unsigned char>(i);
      one.peer = [peers, table, m = mat(*peers)]() mutable { cv::LUT(m, table, m); };
    }
#endif
    bench.add(std::move(one));
  }
}

BENCH(counts) {
  auto counting = [&](const std::string& name, const Image& source) {
    const auto points = std::make_shared<CPxPointProcessing>(source.get());
    bench.add({.name = name,
               .ours = [source, points] { points->CalLookupTable(); },
               .peer = PEER([source, m = mat(*source), counts = std::vector<cv::Mat>(4)]() mutable {
                 const float range[] = {0, m.depth() == CV_8U ? 256.0F : 65536.0F};
                 const float* ranges[] = {range};
                 const int bins[] = {m.depth() == CV_8U ? 256 : 65536};
                 for (int channel = 0; channel < m.channels(); ++channel)
                   cv::calcHist(&m, 1, &channel, cv::Mat(), counts[static_cast<std::size_t>(channel)], 1, bins, ranges);
               }),
               .copies = static_cast<std::size_t>(source->bufferSize)});
  };
  counting("counts grey 8-bit", image(CM_GRAY, 8));
  counting("counts flat grey 8-bit", flatImage(CM_GRAY, 8, 77));
  counting("counts RGB 8-bit", image(CM_RGB, 8));
  counting("counts grey 16-bit", image(CM_GRAY, 16));
}

}  // namespace
}  // namespace rasterkit::bench
