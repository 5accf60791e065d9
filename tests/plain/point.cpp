#include <cstring>

#include "tests/plain/twins.h"

namespace rasterkit::plain {
namespace {

using catalogue::Call;
using test::sampleAt;
using test::setSample;

// The block is filled with a byte, row padding included; then the samples that pass are kept, or become white.
int cut(Call& c, int fill, const std::function<bool(double)>& passes, bool white) {
  const CPxImage& source = c.source();
  if (!source.IsCreated()) return 0;
  c.dst() = source;
  if (source.channels != 1 || source.bitsPerSample > 32) return 0;
  if (c.dst().bufferSize > 0) std::memset(c.dst().GetBuffer(), fill, static_cast<std::size_t>(c.dst().bufferSize));
  for (int y = 0; y < source.height; ++y)
    for (int x = 0; x < source.width; ++x)
      if (passes(sampleAt(source, x, y))) setSample(c.dst(), x, y, 0, white ? 255 : sampleAt(source, x, y));
  return 1;
}

// The level moved outward by a step; floats are compared with its single-precision value.
double outside(const Call& c, int step) {
  const double moved = static_cast<double>(c.integer("level")) + step;
  return c.source().bitsPerSample > 16 ? static_cast<double>(static_cast<float>(moved)) : moved;
}

int threshold(Call& c) {
  return cut(
      c, 0, [&](double sample) { return sample > outside(c, -1); }, true);
}

int cutOneSide(Call& c) {
  if (c.integer("keep"))
    return cut(
        c, 0, [&](double sample) { return sample > outside(c, -1); }, false);
  return cut(
      c, 0xFF, [&](double sample) { return sample < outside(c, +1); }, false);
}

}  // namespace

Twins pointTwins() { return {{"threshold", threshold}, {"cut", cutOneSide}}; }

}  // namespace rasterkit::plain
