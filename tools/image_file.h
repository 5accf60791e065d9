#pragma once
/// Images in files, each pixel type as a colour model of its own and without loss.
///
///     PNG    grey, grey with alpha, RGB, RGB with alpha, of 8 or 16 bits; palettes. Narrower grey becomes 8-bit grey,
///            palettes with transparency RGB with alpha, a transparent colour an alpha channel.
///     TIFF   the same and CMYK, of 8, 16 bits or float, in any number of pages; colour spaces of 3 floats keep their
///     model. JPEG   grey, RGB, CMYK, of 8 bits. BMP    palettes, RGB, RGB with alpha, of 8 bits; grey is written as a
///     grey palette.
///
/// The content of a file says what it is, not its name. Every function throws Failure.
///
/// memory   what a file declares is believed only as far as its own size allows: an image takes at most 64 MiB and
/// about
///          2000 times the file's bytes, and never more than 2 GiB.

#include <rasterkit/core/image.h>

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace rasterkit::tools {

enum class Format { png, tiff, jpeg, bmp };
/// "PNG"
const char* formatName(Format format);
/// By the ending of a name; empty for any other.
std::optional<Format> formatOfName(const std::filesystem::path& path);
/// The endings that formatOfName knows, as listed in messages.
inline constexpr const char* kEndings = ".png, .tif, .jpg or .bmp";

struct ImageFile {
  Format format = Format::png;
  std::vector<CPxImage> pages;  ///< one or more
};

using Bytes = std::vector<unsigned char>;

struct WriteOptions {
  int quality = 92;     ///< JPEG: 1 to 100
  int compression = 3;  ///< PNG and TIFF: 0, none, to 9, smallest
};

/// name is what messages call the file.
ImageFile decode(std::span<const unsigned char> bytes, const std::string& name);
Bytes encode(std::span<const CPxImage> pages, Format format, const std::string& name, const WriteOptions& options = {});

ImageFile readImageFile(const std::filesystem::path& path);
/// The format is that of the path's ending. The file is complete or not touched at all, also where it was one of the
/// images' own files.
void writeImageFile(const std::filesystem::path& path, std::span<const CPxImage> pages,
                    const WriteOptions& options = {});

}  // namespace rasterkit::tools
