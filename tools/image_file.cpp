#include "tools/image_file.h"

#include <algorithm>
#include <cctype>
#include <new>

#include "catalogue/describe.h"
#include "tools/codecs.h"
#include "tools/paths.h"
#include "tools/system.h"

namespace rasterkit::tools {
namespace {

bool startsWith(std::span<const unsigned char> bytes, std::string_view start) {
  return bytes.size() >= start.size() && std::memcmp(bytes.data(), start.data(), start.size()) == 0;
}

using namespace std::string_view_literals;

std::optional<Format> formatOfContent(std::span<const unsigned char> bytes) {
  if (startsWith(bytes, "\x89PNG\r\n\x1a\n"sv)) return Format::png;
  for (const auto start : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv})
    if (startsWith(bytes, start)) return Format::tiff;
  if (startsWith(bytes, "\xff\xd8\xff"sv)) return Format::jpeg;
  if (startsWith(bytes, "BM"sv)) return Format::bmp;
  return {};
}

CPxImage blackAndWhite(const CPxImage& bitmap) {
  CPxImage grey(CM_GRAY, 8, bitmap.width, bitmap.height);
  for (int y = 0; y < bitmap.height; ++y)
    std::transform(rowOf(bitmap, y), rowOf(bitmap, y) + bitmap.width, rowOf(grey, y),
                   [](unsigned char set) { return static_cast<unsigned char>(set ? 255 : 0); });
  return grey;
}

}  // namespace

const char* formatName(Format format) {
  switch (format) {
    case Format::png: return "PNG";
    case Format::tiff: return "TIFF";
    case Format::jpeg: return "JPEG";
    case Format::bmp: return "BMP";
  }
  return "";
}

std::optional<Format> formatOfName(const std::filesystem::path& path) {
  std::string ending = textOf(path.extension());
  std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (ending == ".png") return Format::png;
  if (ending == ".tif" || ending == ".tiff") return Format::tiff;
  if (ending == ".jpg" || ending == ".jpeg") return Format::jpeg;
  if (ending == ".bmp") return Format::bmp;
  return {};
}

ImageFile decode(std::span<const unsigned char> bytes, const std::string& name) {
  const Input input{bytes, name};
  if (bytes.empty()) input.damaged("is empty");
  const auto format = formatOfContent(bytes);
  if (!format) input.damaged("is no PNG, TIFF, JPEG or BMP image");
  try {
    switch (*format) {
      case Format::png: return {*format, decodePng(input)};
      case Format::tiff: return {*format, decodeTiff(input)};
      case Format::jpeg: return {*format, decodeJpeg(input)};
      case Format::bmp: return {*format, decodeBmp(input)};
    }
  } catch (const std::bad_alloc&) {
    throw Failure(ExitCode::unexpected, name + ": there is not enough memory for this image");
  }
  return {};
}

Bytes encode(std::span<const CPxImage> pages, Format format, const std::string& name, const WriteOptions& options) {
  if (pages.empty()) throw Failure(ExitCode::unwritable, name + ": there is no image to write");
  for (const CPxImage& page : pages)
    if (!page.IsCreated() || page.width < 1 || page.height < 1)
      throw Failure(ExitCode::unwritable, name + ": the image has no pixels, so it makes no file");
  if (pages.size() > 1 && format != Format::tiff)
    throw Failure(ExitCode::unwritable, name + ": a " + formatName(format) + " holds one image, here are " +
                                            std::to_string(pages.size()) + "; write a .tif");
  // A bitmap image holds 0 or anything else: black and white.
  if (std::ranges::any_of(pages, PXISBITMAP, [](const CPxImage& page) { return &page; })) {
    std::vector<CPxImage> greys(pages.begin(), pages.end());
    for (CPxImage& page : greys)
      if (PXISBITMAP(&page)) page = blackAndWhite(page);
    return encode(greys, format, name, options);
  }
  switch (format) {
    case Format::png: return encodePng(pages[0], name, options);
    case Format::tiff: return encodeTiff(pages, name, options);
    case Format::jpeg: return encodeJpeg(pages[0], name, options);
    case Format::bmp: return encodeBmp(pages[0], name, options);
  }
  return {};
}

ImageFile readImageFile(const std::filesystem::path& path) {
  const auto bytes = readFile(path);
  return decode(bytes, textOf(path));
}

void writeImageFile(const std::filesystem::path& path, std::span<const CPxImage> pages, const WriteOptions& options) {
  const auto format = formatOfName(path);
  if (!format)
    throw Failure(ExitCode::unwritable, textOf(path) + ": the name must end in " + kEndings + " to say what to write");
  replaceFile(path, encode(pages, *format, textOf(path), options));
}

// What the formats share ----------------------------------------------------------------------------------------------

void Budget::claim(std::uint64_t width, std::uint64_t height, std::uint64_t bytesPerPixel, std::uint64_t perByte) {
  if (width < 1 || height < 1) input_.damaged("declares an image without pixels");
  const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  constexpr std::uint64_t most = 0x7fffffff;
  if (width > most / bytesPerPixel || height > most / (width * bytesPerPixel + 3))
    input_.damaged("declares " + size + ", more than the 2 GiB that an image can have");
  claimed_ += width * height * bytesPerPixel;
  constexpr std::uint64_t always = std::uint64_t{64} << 20;
  if (claimed_ > always + perByte * input_.bytes.size())
    input_.damaged("declares " + size + ", too many for a file of " + std::to_string(input_.bytes.size()) + " bytes");
}

void unpackBits(const unsigned char* in, unsigned char* out, int count, int bits, int factor) {
  const int mask = (1 << bits) - 1;
  const int perByte = 8 / bits;
  for (int x = 0; x < count; ++x)
    out[x] = static_cast<unsigned char>((in[x / perByte] >> (8 - bits * (x % perByte + 1)) & mask) * factor);
}

void packBits(const unsigned char* in, unsigned char* out, int count, int bits) {
  const int perByte = 8 / bits;
  for (int x = 0; x < count; x += perByte) {
    int byte = 0;
    for (int i = 0; i < perByte; ++i) byte = byte << bits | (x + i < count ? in[x + i] : 0);
    *out++ = static_cast<unsigned char>(byte);
  }
}

CPxPalette completePalette(const CPxImage& image) {
  int count = image.palette.GetPaletteNum();
  for (int y = 0; y < image.height && count < 256; ++y) {
    const unsigned char* const row = rowOf(image, y);
    count = std::max(count, *std::max_element(row, row + image.width) + 1);
  }
  CPxPalette palette(std::min(count, 256));
  std::copy_n(image.palette.GetPalette(), std::min(palette.GetPaletteNum(), image.palette.GetPaletteNum()),
              palette.GetPalette());
  return palette;
}

int exifOrientation(std::span<const unsigned char> segment) {
  if (segment.size() < 14 || !startsWith(segment, "Exif\0"sv)) return 1;
  const auto tiff = segment.subspan(6);
  const bool bigEndian = tiff[0] == 'M';
  const auto number = [&](std::size_t at, int bytes) {
    std::size_t value = 0;
    for (int i = 0; i < bytes && at + static_cast<std::size_t>(i) < tiff.size(); ++i)
      value |= std::size_t{tiff[at + static_cast<std::size_t>(i)]} << 8 * (bigEndian ? bytes - 1 - i : i);
    return value;
  };
  // The first directory.
  const std::size_t directory = number(4, 4);
  for (std::size_t i = 0, count = number(directory, 2); i < count && directory + 2 + 12 * (i + 1) <= tiff.size(); ++i)
    if (number(directory + 2 + 12 * i, 2) == 0x112) return static_cast<int>(number(directory + 10 + 12 * i, 2));
  return 1;
}

void turnUpright(CPxImage& image, int orientation) {
  if (orientation < 2 || orientation > 8) return;
  const bool columnsLeftward = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const bool rowsUpward = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  const bool exchanged = orientation >= 5;
  CPxImage upright(image.colorModel, image.bitsPerSample, exchanged ? image.height : image.width,
                   exchanged ? image.width : image.height);
  upright.palette = image.palette;
  const auto pixel = static_cast<std::size_t>(image.channels * sampleBytes(image));
  for (int y = 0; y < upright.height; ++y) {
    unsigned char* const out = rowOf(upright, y);
    for (int x = 0; x < upright.width; ++x) {
      int fromX = exchanged ? y : x;
      int fromY = exchanged ? x : y;
      if (columnsLeftward) fromX = image.width - 1 - fromX;
      if (rowsUpward) fromY = image.height - 1 - fromY;
      std::memcpy(out + static_cast<std::size_t>(x) * pixel,
                  rowOf(image, fromY) + static_cast<std::size_t>(fromX) * pixel, pixel);
    }
  }
  image = std::move(upright);
}

void cannotHold(const std::string& name, const char* format, const CPxImage& image, const char* holds) {
  throw Failure(ExitCode::unwritable, name + ": a " + format + " holds " + holds + ", not " +
                                          catalogue::modelName(image.colorModel) + " of " +
                                          catalogue::sampleName(image) + " samples; write a .tif or convert it first");
}

}  // namespace rasterkit::tools
