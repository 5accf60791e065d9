#include <algorithm>
#include <cstdlib>

#include "tools/codecs.h"

namespace rasterkit::tools {
namespace {

constexpr std::size_t kFileHeader = 14;
constexpr std::size_t kHeader = 40;

std::uint32_t read32(const unsigned char* at) { return at[0] | at[1] << 8 | at[2] << 16 | std::uint32_t{at[3]} << 24; }
int read16(const unsigned char* at) { return at[0] | at[1] << 8; }

void write32(unsigned char* at, std::size_t number) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<unsigned char>(number >> 8 * i);
}
void write16(unsigned char* at, int number) {
  for (int i = 0; i < 2; ++i) at[i] = static_cast<unsigned char>(number >> 8 * i);
}

std::size_t paddedRow(std::uint64_t width, int bits) {
  return static_cast<std::size_t>((width * static_cast<unsigned>(bits) + 31) / 32 * 4);
}

}  // namespace

// Uncompressed rows of 1, 4, 8, 24 and 32 bits.
std::vector<CPxImage> decodeBmp(const Input& input) {
  const unsigned char* const file = input.bytes.data();
  const std::size_t size = input.bytes.size();
  if (size < kFileHeader + kHeader) input.damaged("is a damaged BMP: it ends too early");
  const unsigned char* const header = file + kFileHeader;
  const std::size_t headerSize = read32(header);
  const auto width = static_cast<std::int32_t>(read32(header + 4));
  const auto signedHeight = static_cast<std::int32_t>(read32(header + 8));
  const std::int64_t height = std::abs(std::int64_t{signedHeight});
  const int bits = read16(header + 14);
  if (headerSize < kHeader || headerSize > size - kFileHeader || width < 0)
    input.damaged("is a damaged BMP: its header makes no sense");
  if (read32(header + 16) != 0 || (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32))
    input.damaged("is a BMP of a kind that is not read: " + std::to_string(bits) + " bits a pixel, compression " +
                  std::to_string(read32(header + 16)));

  const COLOR_MODEL model = bits <= 8 ? CM_INDEX : bits == 24 ? CM_RGB : CM_RGBA;
  Budget(input).claim(static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height),
                      static_cast<unsigned>(CPxImageInfo::GetChannel(model)));
  const std::size_t most = bits <= 8 ? std::size_t{1} << bits : 0;
  const std::size_t colours = bits > 8 || read32(header + 32) == 0 ? most : read32(header + 32);
  const std::size_t rowSize = paddedRow(static_cast<std::uint64_t>(width), bits);
  const std::size_t table = kFileHeader + headerSize;
  const std::size_t start = read32(file + 10);
  if (colours > most || colours * 4 > size - table || start < table || start > size ||
      rowSize * static_cast<std::uint64_t>(height) > size - start)
    input.damaged("is a damaged BMP: it ends too early");

  std::vector<CPxImage> pages(1);
  CPxImage& image = pages[0];
  image.Create(model, std::min(bits, 8), width, static_cast<int>(height), static_cast<int>(colours));
  for (std::size_t i = 0; i < colours; ++i) {
    const unsigned char* const entry = file + table + 4 * i;
    *image.palette.GetPaletteItem(static_cast<int>(i)) = {entry[0], entry[1], entry[2], 0};
  }
  for (int y = 0; y < image.height; ++y) {
    const int stored = signedHeight > 0 ? image.height - 1 - y : y;
    const unsigned char* const row = file + start + static_cast<std::size_t>(stored) * rowSize;
    if (bits < 8)
      unpackBits(row, rowOf(image, y), width, bits, 1);
    else
      std::memcpy(rowOf(image, y), row, rowBytes(image));
  }
  // Bitmaps have no grey of their own.
  CPxPalette greys(256);
  greys.SetGrayPalette();
  if (bits == 8 && colours == 256 && std::memcmp(greys.GetPalette(), image.palette.GetPalette(), 4 * colours) == 0) {
    image.colorModel = CM_GRAY;
    image.palette = CPxPalette();
  }
  return pages;
}

Bytes encodeBmp(const CPxImage& image, const std::string& name, const WriteOptions&) {
  constexpr const char* holds = "8-bit grey, RGB, RGB with alpha and palettes";
  const COLOR_MODEL model = image.colorModel;
  if ((image.bitsPerSample != 8 && model != CM_INDEX) || image.bitsPerSample > 8 ||
      (model != CM_GRAY && model != CM_INDEX && model != CM_RGB && model != CM_RGBA))
    cannotHold(name, "BMP", image, holds);

  CPxPalette palette;
  if (model == CM_INDEX) palette = completePalette(image);
  if (model == CM_GRAY) palette = CPxPalette(256), palette.SetGrayPalette();
  const auto colours = static_cast<std::size_t>(palette.GetPaletteNum());
  const int bits = 8 * image.channels;
  const std::size_t rowSize = paddedRow(static_cast<std::uint64_t>(image.width), bits);
  const std::size_t start = kFileHeader + kHeader + 4 * colours;
  Bytes bytes(start + rowSize * static_cast<std::size_t>(image.height));
  unsigned char* const file = bytes.data();
  unsigned char* const header = file + kFileHeader;
  file[0] = 'B', file[1] = 'M';
  write32(file + 2, bytes.size());
  write32(file + 10, start);
  write32(header, kHeader);
  write32(header + 4, static_cast<std::size_t>(image.width));
  write32(header + 8, static_cast<std::size_t>(image.height));
  write16(header + 12, 1);
  write16(header + 14, bits);
  write32(header + 20, bytes.size() - start);
  write32(header + 32, colours);
  for (std::size_t i = 0; i < colours; ++i) {
    const tagRGBA& entry = palette.GetPalette()[i];
    unsigned char* const to = header + kHeader + 4 * i;
    to[0] = entry.blue, to[1] = entry.green, to[2] = entry.red;
  }
  for (int y = 0; y < image.height; ++y)
    std::memcpy(file + start + static_cast<std::size_t>(image.height - 1 - y) * rowSize, rowOf(image, y),
                rowBytes(image));
  return bytes;
}

}  // namespace rasterkit::tools
