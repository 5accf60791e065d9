#include "tests/sweep/promises.h"

#include <algorithm>

#include "tests/plain/twins.h"

namespace rasterkit::sweep {
namespace {

using namespace catalogue;
using test::Random;

// "" where the outcomes are the same, else how they differ.
std::string difference(const Outcome& actual, const Outcome& expected, const char* when) {
  if (actual.flag != expected.flag)
    return std::string(when) + ": gives " + std::to_string(actual.flag) + ", expected " + std::to_string(expected.flag);
  if (const auto same = test::identical(actual.dst, expected.dst); !same)
    return std::string(when) + ": dst: " + same.message();
  if (actual.report != expected.report)
    return std::string(when) + ": reports " + actual.report + "\nexpected " + expected.report;
  return "";
}

// "" where a call left what it reads as it was.
std::string changes(const Draw& draw, const Outcome& after) {
  if (!test::identical(after.source, draw.source)) return "the source changed";
  if (!test::identical(after.mask, draw.mask)) return "the area of interest changed";
  for (const auto& [name, image] : draw.images)
    if (!test::identical(after.images.at(name), image)) return name + " changed";
  for (std::size_t i = 0; i < draw.series.size(); ++i)
    if (!test::identical(after.series[i], draw.series[i])) return "an image of the series changed";
  return "";
}

// The part of an image from (left, top).
CPxImage part(const CPxImage& image, int left, int top, int width, int height) {
  CPxImage out(image.colorModel, image.bitsPerSample, width, height);
  out.palette = image.palette;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < image.channels; ++c) test::copySample(out, x, y, c, image, left + x, top + y, c);
  return out;
}

}  // namespace

std::string breaksTwin(const Operation& operation, const Draw& draw, const CPxImage& before) {
  const plain::Twin* const twin = plain::find(operation.name);
  if (!twin) return "has no slow twin";
  const Outcome actual = outcome(operation, draw, operation.run, before);
  if (const std::string changed = changes(draw, actual); !changed.empty()) return changed;
  return difference(actual, outcome(operation, draw, *twin, before), "against the slow twin");
}

std::string breaksSharing(const Operation& operation, const Draw& draw, const CPxImage& before) {
  const Where where = operation.result.where;
  if (!draw.source.IsCreated()) return "";  // nothing is touched
  auto shared = [&](const Draw& with, Alias alias, const char* when) -> std::string {
    const Outcome separate = outcome(operation, with, operation.run, before);
    Outcome same = outcome(operation, with, operation.run, before, alias);
    // An untouched destination keeps what it held: the source, or the area of interest, where they are one.
    if ((alias == Alias::dstIsSource || alias == Alias::dstIsMask) && !separate.succeeded &&
        operation.result.refusal != Refusal::copies)
      same.dst = separate.dst;
    return difference(same, separate, when);
  };

  std::string broken;
  if (where != Where::intoPrepared && where != Where::data)
    broken = shared(draw, Alias::dstIsSource, "dst is the source");
  if (broken.empty() && draw.masked && where == Where::intoDestination)
    broken = shared(draw, Alias::dstIsMask, "dst is the area of interest");
  if (broken.empty() && draw.masked && draw.source.channels == 1 && draw.source.bitsPerSample <= 8) {
    Draw equal = draw;
    equal.mask = draw.source;
    broken = shared(equal, Alias::maskIsSource, "the area of interest is the source");
  }
  if (broken.empty() && !draw.images.empty()) {
    Draw equal = draw;
    for (auto& [name, image] : equal.images) image = draw.source;
    broken = shared(equal, Alias::imageIsSource, "a second image is the source");
    if (broken.empty() && where == Where::inPlace)
      broken = shared(equal, Alias::imageIsDst, "a second image is the target");
  }
  return broken;
}

std::string breaksTiling(const Operation& operation, const Draw& draw, Random& random) {
  const Where where = operation.result.where;
  const CPxImage& source = draw.source;
  if (operation.reach.extent == Reach::whole || (where != Where::intoDestination && where != Where::inPlace)) return "";
  if (source.width < 2 || source.height < 2 || !operation.refusal(source).empty()) return "";
  for (const Parameter& parameter : operation.parameters)
    if (parameter.kind == Kind::rectangle || parameter.kind == Kind::point) return "";
  for (const auto& [name, image] : draw.images)
    if (image.width != source.width || image.height != source.height) return "";

  CPxImage unused;
  Call call(operation, const_cast<CPxImage&>(source), unused);
  for (const auto& [name, value] : draw.arguments) call.set(name, value);
  const int reach = operation.reach.distance ? operation.reach.distance(call) : 0;
  const int left = random.between(0, source.width - 1), top = random.between(0, source.height - 1);
  const int right = random.between(left, source.width - 1), bottom = random.between(top, source.height - 1);
  const int x0 = left - std::min(reach, left), y0 = top - std::min(reach, top);
  const int x1 = right + std::min(reach, source.width - 1 - right),
            y1 = bottom + std::min(reach, source.height - 1 - bottom);

  Draw tile = draw;
  auto cut = [&](CPxImage& image) { image = part(image, x0, y0, x1 - x0 + 1, y1 - y0 + 1); };
  cut(tile.source);
  for (auto& [name, image] : tile.images) cut(image);
  for (CPxImage& image : tile.series) cut(image);
  if (tile.masked) cut(tile.mask);
  const Outcome whole = outcome(operation, draw, operation.run, CPxImage());
  const Outcome result = outcome(operation, tile, operation.run, CPxImage());
  // Where the flags differ (a quotient that overflows only elsewhere), there is nothing to compare.
  if (result.flag != whole.flag) return "";
  const auto same = test::samePicture(part(result.dst, left - x0, top - y0, right - left + 1, bottom - top + 1),
                                      part(whole.dst, left, top, right - left + 1, bottom - top + 1));
  if (same) return "";
  return "tile " + std::to_string(left) + "," + std::to_string(top) + " to " + std::to_string(right) + "," +
         std::to_string(bottom) + " with reach " + std::to_string(reach) + ": " + same.message();
}

}  // namespace rasterkit::sweep
