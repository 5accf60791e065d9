// A bitmap file is a header of 14 bytes before a bitmap block, which the library reads and makes.

#include <rasterkit/geometry/bitmap.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "tools/codecs.h"

namespace rasterkit::tools {
namespace {

constexpr std::size_t kFileHeader = 14;
constexpr std::size_t kCoreHeader = 12;
constexpr std::size_t kHeader = 40;
constexpr unsigned kBitFields = 3;

std::uint32_t read(const unsigned char* at, int bytes) {
  std::uint32_t number = 0;
  for (int i = 0; i < bytes; ++i) number |= std::uint32_t{at[i]} << 8 * i;
  return number;
}

void write(unsigned char* at, std::size_t number, int bytes) {
  for (int i = 0; i < bytes; ++i) at[i] = static_cast<unsigned char>(number >> 8 * i);
}

// The bitmap block of a file: its rows moved to where the table ends, and a header of 12 bytes, whose colours the
// library does not take, turned into one of 40.
Bytes blockOf(const Input& input) {
  const unsigned char* const header = input.bytes.data() + kFileHeader;
  const std::size_t size = input.bytes.size() - kFileHeader;
  const std::size_t headerSize = read(header, 4);
  const bool core = headerSize == kCoreHeader;
  if (headerSize > size || (!core && headerSize < kHeader))
    input.damaged("is a damaged BMP: its header makes no sense");
  const std::uint32_t bits = read(header + (core ? 10 : 14), 2);
  const std::uint32_t compression = core ? 0 : read(header + 16, 4);
  const std::uint32_t used = core ? 0 : read(header + 32, 4);
  const std::size_t most = bits <= 8 ? std::size_t{1} << bits : 0;
  const std::size_t colours = compression == kBitFields ? 0 : bits <= 8 && used == 0 ? most : used;
  const std::size_t masks = headerSize == kHeader && compression == kBitFields ? 12 : 0;
  const std::size_t entry = core ? 3 : 4;
  if (colours > 256 || headerSize + masks + colours * entry > size)
    input.damaged("is a damaged BMP: it ends too early");

  Bytes block(header, header + headerSize + masks);
  if (core) {
    block.assign(kHeader, 0);
    write(block.data(), kHeader, 4);
    write(block.data() + 4, read(header + 4, 2), 4);
    write(block.data() + 8, read(header + 6, 2), 4);
    write(block.data() + 12, 1, 2);
    write(block.data() + 14, bits, 2);
  }
  const unsigned char* table = header + headerSize + masks;
  for (std::size_t i = 0; i < colours; ++i, table += entry) {
    block.insert(block.end(), table, table + 3);
    block.push_back(0);
  }
  const std::size_t start = read(input.bytes.data() + 10, 4);
  if (start > input.bytes.size()) input.damaged("is a damaged BMP: it ends too early");
  const auto end = static_cast<std::size_t>(table - input.bytes.data());
  block.insert(block.end(), input.bytes.begin() + static_cast<std::ptrdiff_t>(std::max(start, end)), input.bytes.end());
  return block;
}

// Bitmaps have no grey of their own: it is a palette that holds 0 to 255.
bool hasGreyPalette(const CPxImage& image) {
  CPxPalette greys(256);
  greys.SetGrayPalette();
  return image.colorModel == CM_INDEX && image.palette.GetPaletteNum() == 256 &&
         std::memcmp(greys.GetPalette(), image.palette.GetPalette(), 256 * sizeof(tagRGBA)) == 0;
}

// Most writers of 32 bits leave the fourth byte 0; an image of which nothing can be seen is not meant.
bool isInvisible(const CPxImage& image) {
  if (image.colorModel != CM_RGBA) return false;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      if (rowOf(image, y)[4 * x + 3] != 0) return false;
  return true;
}

CPxImage withoutAlpha(const CPxImage& image) {
  CPxImage rgb(CM_RGB, 8, image.width, image.height);
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x) std::copy_n(rowOf(image, y) + 4 * x, 3, rowOf(rgb, y) + 3 * x);
  return rgb;
}

}  // namespace

std::vector<CPxImage> decodeBmp(const Input& input) {
  if (input.bytes.size() < kFileHeader + kCoreHeader) input.damaged("is a damaged BMP: it ends too early");
  const Bytes block = blockOf(input);
  const auto width = static_cast<std::int32_t>(read(block.data() + 4, 4));
  const auto height = static_cast<std::int32_t>(read(block.data() + 8, 4));
  const std::uint32_t bits = read(block.data() + 14, 2);
  Budget(input).claim(static_cast<std::uint64_t>(std::max(width, 0)),
                      static_cast<std::uint64_t>(std::abs(std::int64_t{height})),
                      bits <= 8    ? 1
                      : bits <= 24 ? 3
                                   : 4);
  std::vector<CPxImage> pages(1);
  CPxImage& image = pages[0];
  CPxDIBConvert convert(&image);
  if (convert.ConvertFrom(block.data(), block.size()) != 1)
    input.damaged("is a damaged BMP, or of a kind that is not read: " + std::to_string(bits) +
                  " bits a pixel, compression " + std::to_string(read(block.data() + 16, 4)));
  if (hasGreyPalette(image)) {
    image.colorModel = CM_GRAY;
    image.palette = CPxPalette();
  }
  if (isInvisible(image)) image = withoutAlpha(image);
  return pages;
}

Bytes encodeBmp(const CPxImage& image, const std::string& name, const WriteOptions&) {
  const COLOR_MODEL model = image.colorModel;
  if ((image.bitsPerSample != 8 && model != CM_INDEX) || image.bitsPerSample > 8 ||
      (model != CM_GRAY && model != CM_INDEX && model != CM_RGB && model != CM_RGBA))
    cannotHold(name, "BMP", image, "8-bit grey, RGB, RGB with alpha and palettes");

  BITMAPINFOHEADER* made = nullptr;
  CPxImage source = image;
  CPxDIBConvert(&source).ConvertTo(&made);
  const std::unique_ptr<BITMAPINFOHEADER, int (*)(BITMAPINFOHEADER*)> block(made,
                                                                            CPxDIBConvert::DeleteBitmapInfoHeaderMem);
  if (!block) cannotHold(name, "BMP", image, "8-bit grey, RGB, RGB with alpha and palettes");
  const std::size_t table = kHeader + 4 * std::size_t{block->biClrUsed};
  const std::size_t size = table + block->biSizeImage;
  Bytes file(kFileHeader);
  file[0] = 'B', file[1] = 'M';
  write(file.data() + 2, kFileHeader + size, 4);
  write(file.data() + 10, kFileHeader + table, 4);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(block.get());
  file.insert(file.end(), bytes, bytes + size);
  return file;
}

}  // namespace rasterkit::tools
