#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include "tests/plain/twins.h"

namespace rasterkit::plain {
namespace {

using catalogue::Call;
using catalogue::Kernel;
using test::sampleAt;
using test::setSample;

int wrapped(std::int64_t value) { return static_cast<int>(static_cast<std::uint32_t>(value)); }

double greatestSample(const CPxImage& image) { return image.bitsPerSample <= 8 ? 255 : 65535; }
bool isReal(const CPxImage& image) { return image.bitsPerSample > 16; }
bool supported(const CPxImage& image) {
  return image.channels >= 1 && image.channels <= 4 && image.bitsPerSample <= 32;
}

// A sample, or that of the nearest edge.
double nearest(const CPxImage& image, std::int64_t x, std::int64_t y, int channel) {
  return sampleAt(image, static_cast<int>(std::clamp<std::int64_t>(x, 0, image.width - 1)),
                  static_cast<int>(std::clamp<std::int64_t>(y, 0, image.height - 1)), channel);
}

// f(sample, weight) for the taps of a kernel at a pixel, row by row.
template <class Weight, class F>
void eachTap(const CPxImage& image, int x, int y, int channel, CSize size, const std::vector<Weight>& weights, F f) {
  for (int j = 0; j < size.cy; ++j)
    for (int i = 0; i < size.cx; ++i)
      f(nearest(image, x - size.cx / 2 + i, y - size.cy / 2 + j, channel),
        weights[static_cast<std::size_t>(j) * static_cast<std::size_t>(size.cx) + static_cast<std::size_t>(i)]);
}

// A rule gives the sample of a place, or nothing where the operation fails.
using Rule = std::function<std::optional<double>(int x, int y, int channel)>;

int convolved(Call& c, CSize size, bool extends, bool masked, const Rule& rule) {
  const CPxImage& source = c.source();
  if (!source.IsCreated()) return 0;
  c.dst() = source;
  if (!supported(source)) return 0;
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x) {
      const bool border =
          x < size.cx / 2 || x >= source.width - size.cx / 2 || y < size.cy / 2 || y >= source.height - size.cy / 2;
      if ((border && !extends) || (masked && c.mask && sampleAt(*c.mask, x, y) == 0)) continue;
      for (int channel = 0; channel < source.channels; ++channel) {
        const auto sample = isReal(source) ? -1.0 : rule(x, y, channel);
        if (!sample) {
          c.dst() = source;
          return 0;
        }
        setSample(c.dst(), x, y, channel, *sample);
      }
    }
  }
  return 1;
}

int whole(Call& c, CSize size, const std::vector<int>& weights, int divisor, int offset, bool magnitude,
          bool extends = true) {
  const CPxImage& source = c.source();
  if (divisor == 0) {
    if (source.IsCreated()) c.dst() = source;
    return 0;
  }
  return convolved(c, size, extends, true, [&](int x, int y, int channel) -> std::optional<double> {
    int sum = 0;
    eachTap(source, x, y, channel, size, weights, [&](double sample, int weight) {
      sum = wrapped(sum + std::int64_t{wrapped(static_cast<std::int64_t>(sample) * weight)});
    });
    if (sum == INT_MIN && divisor == -1) return {};
    const int quotient = sum / divisor;
    int r = wrapped(std::int64_t{quotient} + offset);
    if (magnitude && r < 0) r = wrapped(std::int64_t{offset} - quotient);
    return std::clamp<double>(r, 0, greatestSample(source));
  });
}

int real(Call& c, CSize size, const std::vector<float>& weights, float divisor, float offset, bool magnitude,
         bool extends = true, bool masked = true) {
  const CPxImage& source = c.source();
  return convolved(c, size, extends, masked, [&](int x, int y, int channel) {
    double sum = 0;
    eachTap(source, x, y, channel, size, weights,
            [&](double sample, float weight) { sum += sample * static_cast<double>(weight); });
    const double quotient = sum / static_cast<double>(divisor);
    double r = quotient + static_cast<double>(offset);
    if (magnitude && r < 0) r = static_cast<double>(offset) - quotient;
    if (std::isnan(r) || r < 0) r = 0;
    return std::trunc(std::min(r, greatestSample(source)));
  });
}

int wholeFromCall(Call& c, bool magnitude) {
  const Kernel& kernel = c.kernel();
  return whole(c, CSize(kernel.width, kernel.height), kernel.whole(), c.integer("divisor"), c.integer("offset"),
               magnitude, c.integer("border") == 2);
}

int realFromCall(Call& c, bool magnitude) {
  const Kernel& kernel = c.kernel();
  return real(c, CSize(kernel.width, kernel.height), kernel.single(), c.single("divisor"), c.single("offset"),
              magnitude, c.integer("border") == 2);
}

struct EdgeKernel {
  std::vector<int> weights;
  int divisor;
};

int edges(Call& c, const std::vector<EdgeKernel>& kernels) {
  const int direction = c.integer("edges");
  if (direction < 0 || direction > 2) return 0;
  const auto& [weights, divisor] = kernels[static_cast<std::size_t>(direction)];
  return whole(c, CSize(3, 3), weights, divisor, 0, true);
}

int prewitt(Call& c) {
  return edges(
      c,
      {{{0, 1, 2, -1, 0, 1, -2, -1, 0}, 1}, {{1, 1, 1, 0, 0, 0, -1, -1, -1}, 1}, {{-1, 0, 1, -1, 0, 1, -1, 0, 1}, 1}});
}
int sobel(Call& c) {
  return edges(
      c,
      {{{-2, -2, 0, -2, 0, 2, 0, 2, 2}, 2}, {{1, 2, 1, 0, 0, 0, -1, -2, -1}, 1}, {{-1, 0, 1, -2, 0, 2, -1, 0, 1}, 1}});
}

int laplacian(Call& c) {
  const CPxImage& source = c.source();
  if (!source.IsCreated()) return 0;
  c.dst() = source;
  if (!supported(source)) return 0;
  for (int y = 0; y < source.height; ++y) {
    for (int x = 0; x < source.width; ++x) {
      for (int channel = 0; channel < source.channels; ++channel) {
        double result = 0;
        if (x > 0 && x < source.width - 1 && y > 0 && y < source.height - 1) {
          double neighbours = 0;
          for (int j = -1; j <= 1; ++j)
            for (int i = -1; i <= 1; ++i)
              if (i != 0 || j != 0) neighbours += sampleAt(source, x + i, y + j, channel);
          result = (8 * sampleAt(source, x, y, channel) - neighbours) / 8;
          result = result > 0 ? std::trunc(std::min(result, 255.0)) : 0;
        }
        setSample(c.dst(), x, y, channel, result);
      }
    }
  }
  return 1;
}

int threeByThree(Call& c, float around, float centre, bool masked) {
  std::vector<float> weights(9, around);
  weights[4] = centre;
  return real(c, CSize(3, 3), weights, 1, 0, false, true, masked);
}

}  // namespace

Twins neighbourhoodTwins() {
  return {
      {"convolve", [](Call& c) { return wholeFromCall(c, false); }},
      {"convolve-real", [](Call& c) { return realFromCall(c, false); }},
      {"convolve-abs", [](Call& c) { return wholeFromCall(c, true); }},
      {"convolve-abs-real", [](Call& c) { return realFromCall(c, true); }},
      {"prewitt", prewitt},
      {"sobel", sobel},
      {"laplacian", laplacian},
      {"blur", [](Call& c) { return threeByThree(c, 0.03125F, 0.75F, true); }},
      {"sharpen", [](Call& c) { return threeByThree(c, -0.1F, 1.8F, false); }},
  };
}

}  // namespace rasterkit::plain
