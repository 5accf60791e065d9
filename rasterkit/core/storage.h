#pragma once
/// What the library does with an image's memory beyond the public contract.

#include <rasterkit/core/image.h>

#include <cstdint>

namespace rasterkit {

/// The bytes that hold one sample of so many bits.
constexpr int sampleBytes(int bits) { return bits <= 8 ? 1 : bits <= 16 ? 2 : 4; }

struct Storage {
  enum class Samples { zero, any };

  /// CPxImage::Create, optionally without clearing a block that is reused: for operations that write every sample.
  static void create(CPxImage& image, COLOR_MODEL model, int bits, int width, int height, int paletteCount,
                     Samples samples);

  /// Whether create would keep the image's block for such an image: then it takes no memory but the palette's.
  static bool keepsBlock(const CPxImage& image, COLOR_MODEL model, int bits, int width, int height);

  /// Gives image the model, sizes, palette and channel bits of source, which must hold its pixels; the samples and
  /// padding are whatever they are. image may be source.
  static void takeShape(CPxImage& image, const CPxImage& source);

  /// Makes an image, which must hold its pixels, the part of itself from (left, top) on, within the block that it has:
  /// memory is neither taken nor given back. Channel bits are as in a new image, padding is 0.
  static void keepPart(CPxImage& image, int left, int top, int width, int height);
  /// The bytes of the block.
  static int blockSize(const CPxImage& image) { return image.blockSize_; }

  /// Whether the image is created, has at most 4 channels and no fewer than 0 bits, and its rows lie aligned within the
  /// block it owns. The members are public, so a caller may have written anything into them; operations treat an image
  /// that fails this as not created.
  static bool holdsItsPixels(const CPxImage& image);

  /// Whether a row has room for width pixels of so many channels.
  static bool rowsHold(const CPxImage& image, int channels);

  /// Sets every padding byte between the pixels of a row and the start of the next.
  static void fillPadding(CPxImage& image, unsigned char value);
  /// The padding of source, which has image's shape.
  static void copyPadding(CPxImage& image, const CPxImage& source);

 private:
  static bool hasBlock(const CPxImage& image, std::int64_t bytes, int height);
  static void allocate(CPxImage& image, std::int64_t bytesPerLine, int height, Samples samples);
};

}  // namespace rasterkit
