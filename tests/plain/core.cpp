#include <algorithm>

#include "tests/plain/twins.h"

namespace rasterkit::plain {
namespace {

using catalogue::Call;
using test::copySample;

int bytesOf(const CPxImage& image) { return image.bitsPerSample <= 8 ? 1 : image.bitsPerSample <= 16 ? 2 : 4; }

int getPlane(Call& c) {
  const CPxImage& source = c.source();
  const int plane = c.integer("plane");
  if (!source.IsCreated() || source.channels <= 1 || source.channels < plane) return 0;
  CPxImage out(CM_GRAY, source.bitsPerSample, source.width, source.height);
  if (plane >= 0 && plane < source.channels && source.bitsPerSample <= 32)
    for (int y = 0; y < source.height; ++y)
      for (int x = 0; x < source.width; ++x) copySample(out, x, y, 0, source, x, y, plane);
  c.dst() = out;
  return 1;
}

int setPlane(Call& c) {
  CPxImage& image = c.dst();
  const int plane = c.integer("plane");
  const CPxImage& other = c.image("other");
  if (!image.IsCreated() || !other.IsCreated() || other.width != image.width || other.height != image.height) return 0;
  if (image.channels <= 1 || image.channels < plane) return 0;
  if (plane < 0 || plane >= image.channels || image.bitsPerSample > 32) return 1;
  if (other.channels * bytesOf(other) < bytesOf(image)) return 0;
  // The rows of other as one channel of the image's sample type.
  CPxImage samples(CM_GRAY, image.bitsPerSample, image.width, image.height);
  for (int y = 0; y < image.height; ++y) {
    const auto* const from =
        static_cast<const unsigned char*>(other.GetBuffer()) + std::ptrdiff_t{other.bytesPerLine} * y;
    auto* const to = static_cast<unsigned char*>(samples.GetBuffer()) + std::ptrdiff_t{samples.bytesPerLine} * y;
    std::copy_n(from, image.width * bytesOf(image), to);
    for (int x = 0; x < image.width; ++x) copySample(image, x, y, plane, samples, x, y, 0);
  }
  return 1;
}

}  // namespace

Twins coreTwins() { return {{"plane", getPlane}, {"setplane", setPlane}}; }

}  // namespace rasterkit::plain
