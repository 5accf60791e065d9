#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstdlib>
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

// The least or greatest sample of the square around each pixel: of each row of the square first, then of those down.
// Samples repeated beyond the edge are those of the edge, which the square holds already: it is cut there.
CPxImage extrema(const CPxImage& image, int size, bool greatest) {
  auto pick = [&](double a, double b) { return (greatest ? ranksBelow(a, b) : ranksBelow(b, a)) ? b : a; };
  CPxImage across = image, square = image;
  eachSample(image, [&](int x, int y, int c) {
    double picked = sampleAt(image, x, y, c);
    const int left = x - std::min(size, x), right = x + std::min(size, image.width - 1 - x);
    for (int u = left; u <= right; ++u) picked = pick(picked, sampleAt(image, u, y, c));
    setSample(across, x, y, c, picked);
  });
  eachSample(image, [&](int x, int y, int c) {
    double picked = sampleAt(across, x, y, c);
    const int top = y - std::min(size, y), bottom = y + std::min(size, image.height - 1 - y);
    for (int v = top; v <= bottom; ++v) picked = pick(picked, sampleAt(across, x, v, c));
    setSample(square, x, y, c, picked);
  });
  return square;
}

int once(Call& c, bool greatest) {
  const CPxImage& source = c.source();
  if (!source.IsCreated()) return 0;
  c.dst() = source;
  if (!supported(source)) return 0;
  const CPxImage picked = extrema(source, c.integer("size"), greatest);
  eachSample(source, [&](int x, int y, int channel) {
    if (c.mask && sampleAt(*c.mask, x, y) == 0) return;
    setSample(c.dst(), x, y, channel, sampleAt(picked, x, y, channel));
  });
  return 1;
}

int twice(Call& c, bool greatestFirst) {
  const CPxImage& source = c.source();
  if (!source.IsCreated() || !supported(source)) return 0;
  const int size = c.integer("size");
  c.dst() = extrema(extrema(source, size, greatestFirst), size, !greatestFirst);
  return 1;
}

// f(x, y, channel) where all neighbours are within the image.
template <class F>
int inside(Call& c, F f) {
  const CPxImage& source = c.source();
  if (!source.IsCreated()) return 0;
  c.dst() = source;
  if (!supported(source)) return 0;
  for (int y = 1; y < source.height - 1; ++y)
    for (int x = 1; x < source.width - 1; ++x)
      for (int channel = 0; channel < source.channels; ++channel) f(source, x, y, channel);
  return 1;
}

double medianOf(const CPxImage& image, int x, int y, int c) {
  std::vector<double> samples;
  for (int v = y - 1; v <= y + 1; ++v)
    for (int u = x - 1; u <= x + 1; ++u) samples.push_back(sampleAt(image, u, v, c));
  std::ranges::sort(samples, ranksBelow);
  return samples[4];
}

// Eight times the sample less its neighbours. Of floats each difference is added in double and the total truncated.
std::int64_t laplacian(const CPxImage& image, int x, int y, int c) {
  const double centre = sampleAt(image, x, y, c);
  std::int64_t total = 0;
  for (int v = y - 1; v <= y + 1; ++v) {
    for (int u = x - 1; u <= x + 1; ++u) {
      if (u == x && v == y) continue;
      const double sum = static_cast<double>(total) + (centre - sampleAt(image, u, v, c));
      total = sum > -2147483649.0 && sum < 2147483648.0 ? static_cast<std::int64_t>(sum) : -2147483648LL;
    }
  }
  return total;
}

int median(Call& c) {
  return inside(c, [&](const CPxImage& source, int x, int y, int channel) {
    setSample(c.dst(), x, y, channel, medianOf(source, x, y, channel));
  });
}

int removeNoise(Call& c) {
  return inside(c, [&](const CPxImage& source, int x, int y, int channel) {
    if (std::abs(laplacian(source, x, y, channel)) > c.integer("threshold"))
      setSample(c.dst(), x, y, channel, medianOf(source, x, y, channel));
  });
}

}  // namespace

Twins rankTwins() {
  return {
      {"erode", [](Call& c) { return once(c, false); }},
      {"dilate", [](Call& c) { return once(c, true); }},
      {"open", [](Call& c) { return twice(c, false); }},
      {"close", [](Call& c) { return twice(c, true); }},
      {"median", median},
      {"denoise", removeNoise},
  };
}

}  // namespace rasterkit::plain
