#pragma once
/// Bitmap blocks put together field by field: right ones, and ones that lie.

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace rasterkit::test {

struct BitmapMaker {
  std::uint32_t headerBytes = 40;  ///< 12 gives the core header
  std::int32_t width = 1;
  std::int32_t height = 1;
  std::uint16_t planes = 1;
  std::uint16_t bits = 24;
  std::uint32_t compression = 0;
  std::uint32_t sizeImage = 0;
  std::uint32_t coloursUsed = 0;
  std::vector<std::uint32_t> masks;    ///< red, green, blue, alpha: in a later header, else after it
  std::vector<std::uint32_t> colours;  ///< 0xAARRGGBB; three bytes each after a core header
  std::vector<std::uint8_t> data;      ///< rows or run-length data as they stand

  std::vector<std::uint8_t> block() const {
    std::vector<std::uint8_t> bytes;
    const auto put = [&](std::uint32_t value, int count) {
      for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> 8 * i));
    };
    const bool core = headerBytes == 12;
    const int side = core ? 2 : 4;
    put(headerBytes, 4);
    put(static_cast<std::uint32_t>(width), side);
    put(static_cast<std::uint32_t>(height), side);
    put(planes, 2);
    put(bits, 2);
    if (!core) {
      for (const std::uint32_t field : {compression, sizeImage, 2835u, 2835u, coloursUsed, 0u}) put(field, 4);
      for (const std::uint32_t mask : masks) put(mask, 4);
      if (bytes.size() < headerBytes && headerBytes <= 256) bytes.resize(headerBytes);
    }
    for (const std::uint32_t colour : colours) put(colour, core ? 3 : 4);
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
  }
};

}  // namespace rasterkit::test
