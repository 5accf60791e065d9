#pragma once
/// What the formats share. One codec a file; image_file.cpp puts them together.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <utility>

#include "tools/failure.h"
#include "tools/image_file.h"

namespace rasterkit::tools {

/// A file to be decoded.
struct Input {
  std::span<const unsigned char> bytes;
  const std::string& name;

  [[noreturn]] void damaged(const std::string& what) const { throw Failure(ExitCode::damaged, name + ": " + what); }
};

/// The memory that the pages of one file may take together.
class Budget {
 public:
  explicit Budget(const Input& input) : input_(input) {}
  /// Throws Failure where an image of that size cannot be in the file. Sizes of 0 are refused too. perByte: how many
  /// bytes of samples one byte of the file can stand for at most.
  void claim(std::uint64_t width, std::uint64_t height, std::uint64_t bytesPerPixel, std::uint64_t perByte = 2100);

 private:
  const Input& input_;
  std::uint64_t claimed_ = 0;
};

/// Exchanges the first and third sample of each pixel: files have red first, images blue.
template <class S>
void swapRedAndBlue(S* row, int width, int channels) {
  for (std::size_t i = 0, n = static_cast<std::size_t>(width) * static_cast<std::size_t>(channels); i < n;
       i += static_cast<std::size_t>(channels))
    std::swap(row[i], row[i + 2]);
}

/// Samples of 1, 2 or 4 bits, the highest bits first, times a factor.
void unpackBits(const unsigned char* in, unsigned char* out, int count, int bits, int factor);

/// The other way round, without a factor.
void packBits(const unsigned char* in, unsigned char* out, int count, int bits);

/// A row of an image.
inline unsigned char* rowOf(CPxImage& image, int y) { return static_cast<unsigned char*>(image.Get2DBuffer()[y]); }
inline const unsigned char* rowOf(const CPxImage& image, int y) {
  return static_cast<const unsigned char*>(image.Get2DBuffer()[y]);
}
inline int sampleBytes(const CPxImage& image) {
  return image.bitsPerSample <= 8 ? 1 : image.bitsPerSample <= 16 ? 2 : 4;
}
inline std::size_t rowBytes(const CPxImage& image) {
  return static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.channels * sampleBytes(image));
}

/// The image's palette with as many entries as its pixels use, at most 256: an index beyond the palette is black.
CPxPalette completePalette(const CPxImage& image);

/// Turns an image upright: orientation as in Exif and TIFF, 1 to 8; anything else is 1, upright already.
void turnUpright(CPxImage& image, int orientation);

/// How the camera was held, 1 to 8, from the Exif data that an APP1 segment of a JPEG holds; 1 where it holds none.
int exifOrientation(std::span<const unsigned char> segment);

/// Throws the Failure for an image that a format cannot hold.
[[noreturn]] void cannotHold(const std::string& name, const char* format, const CPxImage& image, const char* holds);

std::vector<CPxImage> decodePng(const Input& input);
std::vector<CPxImage> decodeTiff(const Input& input);
std::vector<CPxImage> decodeJpeg(const Input& input);
std::vector<CPxImage> decodeBmp(const Input& input);

Bytes encodePng(const CPxImage& image, const std::string& name, const WriteOptions& options);
Bytes encodeTiff(std::span<const CPxImage> pages, const std::string& name, const WriteOptions& options);
Bytes encodeJpeg(const CPxImage& image, const std::string& name, const WriteOptions& options);
Bytes encodeBmp(const CPxImage& image, const std::string& name, const WriteOptions& options);

}  // namespace rasterkit::tools
