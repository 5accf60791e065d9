#include <algorithm>
#include <compare>
#include <cstdint>
#include <vector>

#include "tests/plain/twins.h"

namespace rasterkit::plain {
namespace {

using catalogue::Call;
using test::sampleAt;
using test::setSample;

bool supported(const CPxImage& image) {
  return image.channels >= 1 && image.channels <= 4 && image.bitsPerSample <= 32;
}

// The order of floats with -0, infinities and NaN; among whole numbers it is the ordinary one.
bool ranksBelow(double a, double b) { return std::strong_order(a, b) < 0; }

// f(x, y, channel) for all samples.
template <class F>
void eachSample(const CPxImage& image, F f) {
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      for (int c = 0; c < image.channels; ++c) f(x, y, c);
}

// Samples repeated beyond the edge are those of the edge, which the square holds already: it is cut there.
double extremum(const CPxImage& image, int x, int y, int c, int size, bool greatest) {
  const int left = std::max(x - std::min(size, x), 0), top = std::max(y - std::min(size, y), 0);
  const int right = x + std::min(size, image.width - 1 - x), bottom = y + std::min(size, image.height - 1 - y);
  double picked = sampleAt(image, x, y, c);
  for (int v = top; v <= bottom; ++v) {
    for (int u = left; u <= right; ++u) {
      const double sample = sampleAt(image, u, v, c);
      if (greatest ? ranksBelow(picked, sample) : ranksBelow(sample, picked)) picked = sample;
    }
  }
  return picked;
}

int once(Call& c, bool greatest) {
  const CPxImage& source = c.source();
  if (!source.IsCreated()) return 0;
  c.dst() = source;
  if (!supported(source)) return 0;
  eachSample(source, [&](int x, int y, int channel) {
    if (c.mask && sampleAt(*c.mask, x, y) == 0) return;
    setSample(c.dst(), x, y, channel, extremum(source, x, y, channel, c.integer("size"), greatest));
  });
  return 1;
}

int twice(Call& c, bool greatestFirst) {
  const CPxImage& source = c.source();
  if (!source.IsCreated() || !supported(source)) return 0;
  CPxImage between = source;
  eachSample(source, [&](int x, int y, int channel) {
    setSample(between, x, y, channel, extremum(source, x, y, channel, c.integer("size"), greatestFirst));
  });
  c.dst() = source;
  eachSample(source, [&](int x, int y, int channel) {
    setSample(c.dst(), x, y, channel, extremum(between, x, y, channel, c.integer("size"), !greatestFirst));
  });
  return 1;
}

}  // namespace

Twins rankTwins() {
  return {
      {"erode", [](Call& c) { return once(c, false); }},
      {"dilate", [](Call& c) { return once(c, true); }},
      {"open", [](Call& c) { return twice(c, false); }},
      {"close", [](Call& c) { return twice(c, true); }},
  };
}

}  // namespace rasterkit::plain
