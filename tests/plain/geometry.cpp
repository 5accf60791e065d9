#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "tests/plain/twins.h"

namespace rasterkit::plain {
namespace {

using catalogue::Call;
using test::pixelBytes;
using test::sampleAt;
using test::setSample;

unsigned char* pixel(const CPxImage& image, int x, int y) {
  auto* const first = static_cast<unsigned char*>(const_cast<CPxImage&>(image).GetBuffer());
  return first + std::ptrdiff_t{image.bytesPerLine} * y + std::ptrdiff_t{pixelBytes(image)} * x;
}

void copyPixel(const CPxImage& from, int x, int y, CPxImage& to, int toX, int toY) {
  std::memcpy(pixel(to, toX, toY), pixel(from, x, y), static_cast<std::size_t>(pixelBytes(from)));
}

int truncated(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : INT_MIN;
}
int wrapped(std::int64_t value) { return static_cast<int>(static_cast<std::uint32_t>(value)); }

CPxImage likeOf(const CPxImage& source, int width, int height) {
  CPxImage image(source.colorModel, source.bitsPerSample, width, height);
  image.SetBitsPerSampleEx(source.channelBits);
  image.palette = source.palette;
  return image;
}

bool hasPixels(const CPxImage& image) { return image.IsCreated() && image.width > 0 && image.height > 0; }

int resize(Call& c) {
  const CPxImage& source = c.source();
  const int width = c.integer("width"), height = c.integer("height");
  if (!hasPixels(source) || width < 1 || height < 1) return 0;
  int mode = c.integer("mode");
  if (source.colorModel == CM_INDEX) mode = 2;

  CPxImage out = likeOf(source, width, height);
  const double sx = static_cast<double>(source.width) / width, sy = static_cast<double>(source.height) / height;
  const int lastX = source.width - 1, lastY = source.height - 1;
  int flag = 0;
  for (int y = 0; y < height && source.bitsPerSample <= 32; ++y)
    for (int x = 0; x < width; ++x) {
      if (mode == 2) {
        copyPixel(source, std::min(truncated(x * sx + 0.5), lastX), std::min(truncated(y * sy + 0.5), lastY), out, x,
                  y);
        flag = 1;
      }
      if (mode != 1 || source.bitsPerSample > 16) continue;
      const double fx = x * sx, fy = y * sy;
      const int x0 = truncated(std::floor(fx)), y0 = truncated(std::floor(fy));
      const int x1 = x0 + 1 > lastX ? x0 : x0 + 1, y1 = y0 + 1 > lastY ? y0 : y0 + 1;
      const double dx = fx - x0, dy = fy - y0;
      for (int k = 0; k < source.channels; ++k) {
        const auto across = [&](int row) {
          return truncated(sampleAt(source, x0, row, k) * (1 - dx) + sampleAt(source, x1, row, k) * dx);
        };
        setSample(out, x, y, k, truncated(across(y0) * (1 - dy) + across(y1) * dy));
      }
    }
  c.dst() = out;
  return flag;
}

int scale(Call& c) {
  const CPxImage& source = c.source();
  const double factor = c.single("factor");
  if (!hasPixels(source) || !(factor > 0) || std::isinf(factor)) return 0;
  const int width = truncated(source.width * factor + 0.5), height = truncated(source.height * factor + 0.5);
  if (width < 1 || height < 1) return 0;
  CPxImage out = likeOf(source, width, height);
  const double r = 1 / factor;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      copyPixel(source, std::min(truncated(x * r), source.width - 1), std::min(truncated(y * r), source.height - 1),
                out, x, y);
  c.dst() = out;
  return 1;
}

int magnify(Call& c) {
  const CPxImage& source = c.source();
  const double factor = c.single("factor");
  if (!hasPixels(source) || !(factor > 0) || std::isinf(factor)) return 0;
  const CPoint origin = c.point("origin");
  const double r = static_cast<float>(1 / factor);
  const auto place = [&](int i, int from, int count) {
    const int moved = truncated(wrapped(std::int64_t{i} + from) * r);
    return std::clamp(wrapped(std::int64_t{moved} - truncated(from * r)), 0, count - 1);
  };
  for (int y = 0; y < c.dst().height; ++y)
    for (int x = 0; x < c.dst().width; ++x)
      copyPixel(source, place(x, origin.x, source.width), place(y, origin.y, source.height), c.dst(), x, y);
  return 1;
}

int flip(Call& c) {
  CPxImage& image = c.dst();
  const int bits = image.bitsPerSample, direction = c.integer("direction");
  if (!image.IsCreated() || bits < 1 || (bits > 8 && bits != 16 && bits != 32)) return 0;
  const CPxImage old = image;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) {
      const bool mirrored = direction == 1 || direction == 2, upended = direction == 0 || direction == 2;
      copyPixel(old, mirrored ? image.width - 1 - x : x, upended ? image.height - 1 - y : y, image, x, y);
    }
  return 1;
}

int shift(Call& c) {
  CPxImage& image = c.dst();
  if (!image.IsCreated() || image.bitsPerSample > 32) return 0;
  const CPxImage old = image;
  const CPoint offset = c.point("offset");
  const auto stays = [](int length, int by) { return length - std::abs(std::int64_t{by}) >= 2; };
  const bool pasted = stays(image.width, offset.x) && stays(image.height, offset.y);
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) {
      const std::int64_t fromX = std::int64_t{x} - offset.x, fromY = std::int64_t{y} - offset.y;
      const bool inside = fromX >= 0 && fromX < image.width && fromY >= 0 && fromY < image.height;
      if (pasted && inside)
        copyPixel(old, static_cast<int>(fromX), static_cast<int>(fromY), image, x, y);
      else
        for (int k = 0; k < image.channels; ++k) setSample(image, x, y, k, c.integer("back"));
    }
  return pasted;
}

}  // namespace

Twins geometryTwins() {
  return {{"resize", resize}, {"scale", scale}, {"magnify", magnify}, {"flip", flip}, {"shift", shift}};
}

}  // namespace rasterkit::plain
