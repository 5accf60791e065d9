#pragma once
// What the header of a bitmap block says, checked against the block.

#include <rasterkit/core/image.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace rasterkit {

struct BitmapBlock {
  // None where the block does not fit its size, or cannot be.
  static std::optional<BitmapBlock> read(const void* block, std::size_t bytes);
  // The size that the header asks for; none where the header cannot be, or does not say.
  static std::optional<std::size_t> sizeOf(const void* block);

  enum Compression : std::uint32_t { none = 0, runs8 = 1, runs4 = 2, fields = 3 };

  bool compressed() const { return compression == runs8 || compression == runs4; }
  // Whether pixels pack their samples in one number.
  bool packed() const { return bits == 16 || bits == 32; }
  // The stored row that is the image's row y.
  const std::uint8_t* row(int y) const {
    return rows + static_cast<std::size_t>(topDown ? y : height - 1 - y) * stride;
  }

  bool core = false;  // a header of 12 bytes
  int width = 0;
  int height = 0;
  bool topDown = false;
  int bits = 0;
  std::uint32_t compression = none;
  int colours = 0;                       // entries of the colour table, up to 8 bits a pixel
  const std::uint8_t* table = nullptr;   // four bytes an entry; nothing to be read from after a core header
  std::array<std::uint32_t, 3> masks{};  // blue, green, red: of 16 and 32 bits
  std::size_t stride = 0;                // bytes from row to row
  const std::uint8_t* rows = nullptr;    // rows, or run-length data
  std::size_t rowBytes = 0;              // of all of them
};

// Pixel x of a row of 16 or 32 bits a pixel.
inline std::uint32_t packedPixel(const std::uint8_t* row, std::size_t x, int bits) {
  const std::uint8_t* const at = row + x * static_cast<std::size_t>(bits / 8);
  const std::uint32_t low = std::uint32_t{at[0]} | std::uint32_t{at[1]} << 8;
  return bits == 16 ? low : low | std::uint32_t{at[2]} << 16 | std::uint32_t{at[3]} << 24;
}

// One sample of a pixel that packs several.
class BitField {
 public:
  // Whether the mask is one run of set bits.
  static bool fits(std::uint32_t mask);
  explicit BitField(std::uint32_t mask);

  // The sample in 8 bits.
  std::uint8_t operator()(std::uint32_t pixel) const { return samples_[(pixel & mask_) >> shift_]; }

 private:
  std::uint32_t mask_;
  int shift_;  // to the lowest of its top 8 bits
  std::array<std::uint8_t, 256> samples_{};
};

// The usual masks of 16 or 32 bits: blue, green, red.
std::array<std::uint32_t, 3> usualMasks(int bits);

// The colour table; as many black entries after a core header.
CPxPalette colourTable(const BitmapBlock& block);

// Whether all three masks are fields; a message says so where they are not.
bool masksFit(const std::array<std::uint32_t, 3>& masks);

}  // namespace rasterkit
