#include <rasterkit/geometry/geometry.h>

#include <cstring>
#include <memory>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

struct Kind {
  COLOR_MODEL model;
  int bits;
  const char* name;
};
constexpr Kind kGrey8 = {CM_GRAY, 8, "8-bit"}, kGrey16 = {CM_GRAY, 16, "16-bit"}, kRgb8 = {CM_RGB, 8, "RGB"},
               kRgb16 = {CM_RGB, 16, "RGB 16-bit"};

std::string named(const char* operation, const Kind& kind, double factor) {
  char text[64];
  std::snprintf(text, sizeof text, "%s %s x %.1f", operation, kind.name, factor);
  return text;
}

int scaled(int length, double factor) { return static_cast<int>(length * factor + 0.5); }

Image sized(const Kind& kind, int width, int height) {
  return std::make_shared<CPxImage>(kind.model, kind.bits, width, height);
}

BENCH(resize_nearest) {
  for (const Kind& kind : {kGrey8, kGrey16, kRgb8})
    for (const double factor : {0.5, 0.7, 2.0}) {
      const auto source = image(kind.model, kind.bits);
      const int width = scaled(source->width, factor), height = scaled(source->height, factor);
      const auto dst = sized(kind, width, height);
      bench.add({.name = named("resize nearest", kind, factor),
                 .ours =
                     [=] {
                       CPxGeometryProcessing(source.get())
                           .Resize(width, height, *dst, CPxGeometryProcessing::INTERPOLATION_NEAREST);
                     },
                 .peer = PEER([in = mat(*source), out = mat(*dst)]() mutable {
                   cv::resize(in, out, out.size(), 0, 0, cv::INTER_NEAREST);
                 })});
      const auto byFactor = sized(kind, width, height);
      bench.add({.name = named("resize by factor", kind, factor),
                 .ours = [=] { CPxGeometryProcessing(source.get()).Resize(static_cast<float>(factor), *byFactor); },
                 .peer = PEER([in = mat(*source), out = mat(*byFactor)]() mutable {
                   cv::resize(in, out, out.size(), 0, 0, cv::INTER_NEAREST);
                 })});
    }
}

BENCH(resize_bilinear) {
  for (const Kind& kind : {kGrey8, kGrey16, kRgb8, kRgb16})
    for (const double factor : {0.5, 0.7, 1.6, 2.0}) {
      const auto source = image(kind.model, kind.bits);
      const int width = scaled(source->width, factor), height = scaled(source->height, factor);
      const auto dst = sized(kind, width, height);
      bench.add({.name = named("resize bilinear", kind, factor),
                 .ours =
                     [=] {
                       CPxGeometryProcessing(source.get())
                           .Resize(width, height, *dst, CPxGeometryProcessing::INTERPOLATION_BILINEAR);
                     },
                 .peer = PEER([in = mat(*source), out = mat(*dst)]() mutable {
                   cv::resize(in, out, out.size(), 0, 0, cv::INTER_LINEAR);
                 })});
    }
}

BENCH(flip) {
  constexpr const char* names[] = {"vertical", "horizontal", "both"};
  for (const Kind& kind : {kGrey8, kRgb8})
    for (int flag = 0; flag < 3; ++flag) {
      const auto ours = image(kind.model, kind.bits), theirs = image(kind.model, kind.bits);
      bench.add(
          {.name = std::string("flip ") + names[flag] + " " + kind.name,
           .ours = [=] { CPxGeometryProcessing(ours.get()).Flip(static_cast<CPxGeometryProcessing::FLIP_FLAG>(flag)); },
           .peer =
               PEER([theirs, flag, both = mat(*theirs)]() mutable { cv::flip(both, both, flag == 2 ? -1 : flag); })});
    }
}

BENCH(shift) {
  for (const Kind& kind : {kGrey8, kRgb8}) {
    const auto ours = image(kind.model, kind.bits), theirs = image(kind.model, kind.bits);
    bench.add({.name = std::string("shift ") + kind.name,
               .ours = [=] { CPxGeometryProcessing(ours.get()).Shift(CPoint(17, 9)); },
               .peer = PEER([theirs, all = mat(*theirs)]() mutable {
                 const cv::Mat kept = all.clone();
                 all.setTo(cv::Scalar(0, 0, 0));
                 kept(cv::Rect(0, 0, kept.cols - 17, kept.rows - 9))
                     .copyTo(all(cv::Rect(17, 9, kept.cols - 17, kept.rows - 9)));
               }),
               .against = "clone, set and copy"});
  }
}

}  // namespace
}  // namespace rasterkit::bench
