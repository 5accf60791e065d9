#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "tests/plain/rectangles.h"
#include "tests/plain/twins.h"

// Regions move pixels, so the twins look at bytes, one pixel at a time, and ask of each place of the image whether the
// rectangle means it.

namespace rasterkit::plain {
namespace {

using catalogue::Call;
using test::pixelBytes;
using test::sampleAt;
using test::setSample;

unsigned char* pixel(CPxImage& image, int x, int y) {
  return static_cast<unsigned char*>(image.GetBuffer()) + std::ptrdiff_t{image.bytesPerLine} * y +
         std::ptrdiff_t{pixelBytes(image)} * x;
}

bool supported(const CPxImage& image) { return image.IsCreated() && image.bitsPerSample <= 32; }

int crop(Call& c) {
  CPxImage& image = c.dst();
  const CRect rect = normalised(c.rectangle());
  if (!supported(image) || liesOutside(rect, image)) return 0;
  const int left = std::max(rect.left, 0), top = std::max(rect.top, 0);
  CPxImage part(image.colorModel, image.bitsPerSample, std::min(rect.right, image.width - 1) - left + 1,
                std::min(rect.bottom, image.height - 1) - top + 1);
  part.palette = image.palette;
  for (int y = 0; y < part.height; ++y)
    for (int x = 0; x < part.width; ++x)
      std::memcpy(pixel(part, x, y), pixel(image, left + x, top + y), std::size_t(pixelBytes(part)));
  image = part;
  return 1;
}

// f(x, y, partnerX, partnerY) for the places that the rectangle means and an image of the given size has, laid at the
// rectangle's corner.
template <class F>
int eachPlace(const CPxImage& image, CRect rect, int width, int height, F f) {
  const CRect given = rect;
  if (!intersected(rect, image)) return 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const std::int64_t px = std::int64_t{x} - given.left, py = std::int64_t{y} - given.top;
      if (contains(rect, x, y) && px < width && py < height) f(x, y, int(px), int(py));
    }
  }
  return 1;
}

int copyTo(Call& c) {
  CPxImage &image = c.source(), &dst = c.dst();
  if (!supported(image) || !supported(dst) || pixelBytes(image) != pixelBytes(dst)) return 0;
  return eachPlace(image, c.rectangle(), dst.width, dst.height, [&](int x, int y, int px, int py) {
    std::memcpy(pixel(dst, px, py), pixel(image, x, y), std::size_t(pixelBytes(dst)));
  });
}

int paste(Call& c, CPxImage* mask) {
  CPxImage &image = c.dst(), &other = c.image("other");
  if (!supported(image) || !supported(other) || pixelBytes(image) != pixelBytes(other)) return 0;
  if (mask && !mask->IsCreated()) return 0;
  return eachPlace(image, c.rectangle(), other.width, other.height, [&](int x, int y, int px, int py) {
    if (mask && (px >= mask->width || py >= mask->height)) return;
    if (!mask || static_cast<unsigned char*>(mask->GetBuffer())[std::ptrdiff_t{mask->bytesPerLine} * py + px])
      std::memcpy(pixel(image, x, y), pixel(other, px, py), std::size_t(pixelBytes(image)));
  });
}

void setPixel(Call& c, int x, int y) {
  static const char* const names[] = {"value", "second", "third", "fourth"};
  CPxImage& image = c.dst();
  for (int i = 0; i < image.channels; ++i) {
    double value = c.real(c.has(names[i]) ? names[i] : "value");
    if (image.bitsPerSample <= 16) {
      const double most = image.bitsPerSample <= 8 ? 255 : 65535;
      value = !(value > 0) ? 0 : value > most ? most : std::floor(value);
    }
    setSample(image, x, y, i, value);
  }
}

int fill(Call& c) {
  CPxImage& image = c.dst();
  const CRect rect = normalised(c.rectangle());
  if (!supported(image) || liesOutside(rect, image)) return 0;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      if (contains(rect, x, y)) setPixel(c, x, y);
  return 1;
}

int fillMasked(Call& c) {
  CPxImage &image = c.dst(), &mask = c.image("mask");
  if (!supported(image) || !mask.IsCreated()) return 0;
  for (int y = 0; y < std::min(image.height, mask.height); ++y)
    for (int x = 0; x < std::min(image.width, mask.width); ++x)
      if (static_cast<unsigned char*>(mask.GetBuffer())[std::ptrdiff_t{mask.bytesPerLine} * y + x]) setPixel(c, x, y);
  return 1;
}

}  // namespace

Twins regionTwins() {
  return {{"crop", crop},
          {"copyto", copyTo},
          {"paste", [](Call& c) { return paste(c, nullptr); }},
          {"pastemasked", [](Call& c) { return paste(c, &c.image("mask")); }},
          {"fill", fill},
          {"fillmasked", fillMasked}};
}

}  // namespace rasterkit::plain
