#include <rasterkit/neighbourhood/morphology.h>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

using Method = int (CPxMorphologicProcessing::*)(CPxImage&, int);

#ifdef RASTERKIT_OPENCV
// The same square and the same border.
std::function<void()> peer(CPxImage& source, CPxImage& dst, int operation, int size) {
  return [in = mat(source), out = mat(dst), operation, square = cv::Mat::ones(2 * size + 1, 2 * size + 1, CV_8U)] {
    cv::morphologyEx(in, out, operation, square, cv::Point(-1, -1), 1, cv::BORDER_REPLICATE);
  };
}
#endif

void add(Bench& bench, int bits, const char* name, Method method, [[maybe_unused]] int operation,
         std::initializer_list<int> sizes) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB}) {
    const auto source = image(model, bits), dst = image(model, bits);
    for (const int size : sizes)
      bench.add({.name = std::string(name) + " " + std::to_string(bits) + " bits, " + std::to_string(source->channels) +
                         " channels, size " + std::to_string(size),
                 .ours = [=] { (CPxMorphologicProcessing(source.get()).*method)(*dst, size); },
                 .peer = PEER(peer(*source, *dst, operation, size)),
                 .copies = static_cast<std::size_t>(source->bufferSize)});
  }
}

#ifdef RASTERKIT_OPENCV
constexpr int kErode = cv::MORPH_ERODE, kDilate = cv::MORPH_DILATE, kOpen = cv::MORPH_OPEN, kClose = cv::MORPH_CLOSE;
#else
constexpr int kErode = 0, kDilate = 0, kOpen = 0, kClose = 0;
#endif

template <int bits>
void erode(Bench& bench) {
  add(bench, bits, "erode", &CPxMorphologicProcessing::Erode, kErode, {1, 3, 7, 15, 63});
}
template <int bits>
void dilate(Bench& bench) {
  add(bench, bits, "dilate", &CPxMorphologicProcessing::Dilate, kDilate, {1, 3, 7, 15, 63});
}
template <int bits>
void openAndClose(Bench& bench) {
  add(bench, bits, "open", &CPxMorphologicProcessing::Open, kOpen, {1, 3, 7});
  add(bench, bits, "close", &CPxMorphologicProcessing::Close, kClose, {1, 3, 7});
}

BENCH(erode8) { erode<8>(bench); }
BENCH(erode16) { erode<16>(bench); }
BENCH(erodeFloat) { erode<32>(bench); }
BENCH(dilate8) { dilate<8>(bench); }
BENCH(dilate16) { dilate<16>(bench); }
BENCH(dilateFloat) { dilate<32>(bench); }
BENCH(openClose8) { openAndClose<8>(bench); }
BENCH(openClose16) { openAndClose<16>(bench); }
BENCH(openCloseFloat) { openAndClose<32>(bench); }

}  // namespace
}  // namespace rasterkit::bench
