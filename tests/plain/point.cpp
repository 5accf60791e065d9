#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "tests/plain/rectangles.h"
#include "tests/plain/twins.h"

namespace rasterkit::plain {
namespace {

using catalogue::Call;
using test::pixelBytes;
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

// Arithmetic ----------------------------------------------------------------------------------------------------------

int wrapped(std::int64_t value) { return static_cast<int>(static_cast<std::uint32_t>(value)); }
// Toward zero, as a 32-bit conversion does it.
int truncated(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : INT_MIN;
}
int lowByte(int value) { return static_cast<int>(static_cast<std::uint32_t>(value) % 256); }

// Every sample inside the rectangle, right and bottom with it, becomes f(sample).
int change(CPxImage& image, const CRect& r, const std::function<double(double)>& f) {
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      for (int i = 0; contains(r, x, y) && i < image.channels; ++i)
        setSample(image, x, y, i, f(sampleAt(image, x, y, i)));
  return 1;
}

int changeByConstant(Call& c, const std::function<double(double)>& f) {
  CPxImage& image = c.dst();
  if (!image.IsCreated()) return 0;
  const CRect r = meansWhole(c.rectangle()) ? wholeOf(image) : normalised(c.rectangle());
  if (liesOutside(r, image)) return 0;
  if (image.channels == 2 || image.bitsPerSample > 32 || (image.bitsPerSample > 16 && image.channels != 1)) return 1;
  return change(image, r, f);
}

double single(double value) { return static_cast<double>(static_cast<float>(value)); }

// The sum, difference or product with a whole constant: in 32 bits, or in single precision and truncated.
template <class Exact>
int withWhole(const Call& c, double sample, Exact exact) {
  const int k = c.integer("value");
  if (const_cast<Call&>(c).dst().bitsPerSample <= 16) return wrapped(exact(static_cast<std::int64_t>(sample), k));
  return truncated(static_cast<double>(exact(static_cast<float>(sample), static_cast<float>(k))));
}

int addWhole(Call& c) {
  return changeByConstant(c, [&](double s) {
    const int t = withWhole(c, s, [](auto a, auto b) { return a + b; });
    return lowByte(t > 255 ? 255 : t);
  });
}
int addReal(Call& c) {
  return changeByConstant(c, [&](double s) {
    const float t = static_cast<float>(s) + c.single("value");
    return lowByte(truncated(t > 255.0F ? 255.0 : static_cast<double>(t)));
  });
}
int subtractWhole(Call& c) {
  return changeByConstant(c, [&](double s) {
    const int t = withWhole(c, s, [](auto a, auto b) { return a - b; });
    return lowByte(t < 0 ? 0 : t);
  });
}
int subtractReal(Call& c) {
  return changeByConstant(c, [&](double s) {
    const float t = static_cast<float>(s) - c.single("value");
    return lowByte(truncated(t < 0.0F ? 0.0 : static_cast<double>(t)));
  });
}
int multiplyWhole(Call& c) {
  return changeByConstant(c, [&](double s) {
    const double t = withWhole(c, s, [](auto a, auto b) { return a * b; }) + 0.5;
    return truncated(t > 255.0 ? 255.0 : t < 0.0 ? 0.0 : t);
  });
}
int multiplyReal(Call& c) {
  return changeByConstant(c, [&](double s) {
    const double t = static_cast<double>(static_cast<float>(s) * c.single("value")) + 0.5;
    return lowByte(truncated(t > 255.0 ? 255.0 : t < 0.0 ? 0.0 : t));
  });
}

// f(sample, other's sample) over the framework's rectangle, the other image's corner on the rectangle's.
int combine(Call& c, bool reals, const std::function<double(double, double)>& f) {
  CPxImage& image = c.dst();
  const CPxImage& other = c.image("other");
  CRect r = c.rectangle();
  if (!image.IsCreated() || !other.IsCreated()) return 0;
  int left = r.left, top = r.top;
  if (meansWhole(r)) {
    left = top = 0;
    r = wholeOf(image);
  } else if (!intersected(r, image)) {
    return 0;
  }
  if (image.channels == 2 || image.bitsPerSample > (reals ? 32 : 16)) return 1;
  if (pixelBytes(image) != pixelBytes(other)) return 0;
  // The other image's bytes as the image's type.
  CPxImage read(image.colorModel, image.bitsPerSample, other.width, other.height);
  if (read.bufferSize > 0) std::memcpy(read.GetBuffer(), other.GetBuffer(), static_cast<std::size_t>(read.bufferSize));
  for (int y = r.top; y <= r.bottom && std::int64_t{y} - top < read.height; ++y)
    for (int x = r.left; x <= r.right && std::int64_t{x} - left < read.width; ++x)
      for (int i = 0; i < image.channels; ++i)
        setSample(image, x, y, i, f(sampleAt(image, x, y, i), sampleAt(read, x - left, y - top, i)));
  return 1;
}

int divide(Call& c) {
  const bool reals = c.source().bitsPerSample > 16;
  return combine(c, true, [&](double s, double o) {
    if (!reals) return static_cast<double>(static_cast<int>(s) / (static_cast<int>(o) + 1));
    const double product = s * (o * 0.00392156862745098);
    if (std::isnan(product)) return std::isnan(s) ? s : std::isnan(o) ? o : std::copysign(NAN, -1.0);
    return static_cast<double>(single(product));
  });
}
int unite(Call& c) {
  return combine(c, false, [](double s, double o) { return static_cast<int>(s) | static_cast<int>(o); });
}

// Tone ----------------------------------------------------------------------------------------------------------------

int brightness(Call& c) {
  CPxImage& image = c.dst();
  if (!image.IsCreated() || image.width == 0 || image.height == 0) return 0;
  if (image.channels == 2 || image.bitsPerSample > 32 || (image.bitsPerSample > 16 && image.channels != 1)) return 1;
  const int value = c.integer("value");
  // The least int cannot be negated in 32 bits: it stays itself, and subtracting it wraps.
  const int by = value > 0 ? value : wrapped(-std::int64_t{value});
  return change(image, wholeOf(image), [&](double s) {
    const float amount = static_cast<float>(by), sample = static_cast<float>(s);
    int t = 0;
    if (image.bitsPerSample > 16)
      t = truncated(static_cast<double>(value > 0 ? sample + amount : sample - amount));
    else
      t = wrapped(static_cast<std::int64_t>(s) + (value > 0 ? std::int64_t{by} : -std::int64_t{by}));
    return lowByte(value > 0 ? std::min(t, 255) : std::max(t, 0));
  });
}

// raw(i) for a sample of i, before it is limited to the table.
int remap(Call& c, const std::function<double(double)>& raw) {
  CPxImage& image = c.dst();
  if (!image.IsCreated()) return 0;
  const bool whole = meansWhole(c.rectangle());
  const CRect r = whole ? wholeOf(image) : normalised(c.rectangle());
  if (!whole && liesOutside(r, image)) return 0;
  if (image.channels == 2 || image.bitsPerSample > 16) return 1;
  const int entries = c.has("entries") ? c.integer("entries") : image.bitsPerSample <= 8 ? 256 : 65536;
  return change(image, r, [&](double s) {
    if (s >= entries) return s;
    const int entry = std::clamp(truncated(raw(s)), 0, entries - 1);
    return static_cast<double>(image.bitsPerSample <= 8 ? entry % 256 : entry % 65536);
  });
}

int contrast(Call& c) {
  return remap(c, [&](double i) { return i * static_cast<double>(c.single("coefficient")) + 0.5; });
}
int gamma(Call& c) {
  return remap(c, [&](double i) { return std::pow(i, static_cast<double>(c.single("coefficient"))); });
}

int counts(Call& c) {
  const CPxImage& image = c.source();
  const bool counted = image.IsCreated() && image.bitsPerSample <= 16;
  std::string report = "{\"channels\":[";
  for (int i = 0; counted && i < image.channels; ++i) {
    std::map<int, int> found;
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) ++found[static_cast<int>(sampleAt(image, x, y, i))];
    std::string list;
    for (const auto& [value, count] : found)
      if (value < 1 << image.bitsPerSample)
        list += (list.empty() ? "[" : ",[") + std::to_string(value) + "," + std::to_string(count) + "]";
    report += (i ? ",[" : "[") + list + "]";
  }
  c.report = report + "]}";
  return counted;
}

int average(Call& c) {
  const CPxImage& first = *c.series.at(0);
  if (!first.IsCreated()) return 0;
  c.dst() = first;
  if (c.series.size() == 1) return 1;
  if (first.channels == 2 || first.bitsPerSample > 16) return 0;
  const float scale = 1.0F / static_cast<float>(c.series.size());
  for (int y = 0; y < first.height; ++y) {
    for (int x = 0; x < first.width; ++x) {
      for (int i = 0; i < first.channels; ++i) {
        float sum = 0;
        for (const CPxImage* const image : c.series) sum += static_cast<float>(sampleAt(*image, x, y, i));
        const bool edge = x == first.width - 1 || y == first.height - 1;
        setSample(c.dst(), x, y, i, edge ? 0 : static_cast<int>(scale * sum));
      }
    }
  }
  return 1;
}

}  // namespace

Twins pointTwins() {
  return {{"threshold", threshold},
          {"cut", cutOneSide},
          {"add", addWhole},
          {"add-real", addReal},
          {"sub", subtractWhole},
          {"sub-real", subtractReal},
          {"mul", multiplyWhole},
          {"mul-real", multiplyReal},
          {"div", divide},
          {"or", unite},
          {"brightness", brightness},
          {"contrast", contrast},
          {"gamma", gamma},
          {"counts", counts},
          {"average", average}};
}

}  // namespace rasterkit::plain
