#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "catalogue/describe.h"
#include "tools/codecs.h"

namespace rasterkit::tools {
namespace {

// libtiff reports through one function for the whole program; each thread keeps its own first message, on one line.
thread_local std::string firstError;

void onError(const char*, const char* format, va_list arguments) {
  if (!firstError.empty()) return;
  char text[200];
  std::vsnprintf(text, sizeof text, format, arguments);
  for (const char c : std::string_view(text)) {
    const bool blank = c == ' ' || c == '\n';
    if (!blank || !firstError.ends_with(' ')) firstError += blank ? ' ' : c;
  }
}

void hearErrors() {
  static const bool once = (TIFFSetErrorHandler(onError), TIFFSetWarningHandler(nullptr), true);
  static_cast<void>(once);
  firstError.clear();
}

// A file in memory, read or written.
struct File {
  std::span<const unsigned char> in;
  Bytes out;
  std::uint64_t at = 0;
};

tmsize_t readBytes(thandle_t handle, void* to, tmsize_t count) {
  auto& file = *static_cast<File*>(handle);
  const std::span<const unsigned char> bytes = file.in.empty() ? std::span<const unsigned char>(file.out) : file.in;
  const std::uint64_t left = file.at < bytes.size() ? bytes.size() - file.at : 0;
  const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(left, static_cast<std::uint64_t>(count)));
  if (n) std::memcpy(to, bytes.data() + file.at, n);
  file.at += n;
  return static_cast<tmsize_t>(n);
}

tmsize_t writeBytes(thandle_t handle, void* from, tmsize_t count) {
  auto& file = *static_cast<File*>(handle);
  const auto n = static_cast<std::size_t>(count);
  try {
    if (file.at + n > file.out.size()) file.out.resize(file.at + n);
  } catch (const std::bad_alloc&) {
    return -1;
  }
  std::memcpy(file.out.data() + file.at, from, n);
  file.at += n;
  return count;
}

toff_t seek(thandle_t handle, toff_t offset, int whence) {
  auto& file = *static_cast<File*>(handle);
  const std::uint64_t size = std::max(file.in.size(), file.out.size());
  file.at = offset + (whence == SEEK_CUR ? file.at : whence == SEEK_END ? size : 0);
  return file.at;
}

int closeFile(thandle_t) { return 0; }

toff_t sizeOf(thandle_t handle) {
  const auto& file = *static_cast<File*>(handle);
  return std::max(file.in.size(), file.out.size());
}

struct Tiff {
  TIFF* tiff;
  Tiff(File& file, const char* name, const char* mode)
      : tiff(TIFFClientOpen(name, mode, &file, readBytes, writeBytes, seek, closeFile, sizeOf, nullptr, nullptr)) {}
  Tiff(const Tiff&) = delete;
  ~Tiff() { close(); }
  void close() {
    if (tiff) TIFFClose(tiff);
    tiff = nullptr;
  }
};

// Models that TIFF has no name for stand in the description.
constexpr std::string_view kModelMark = "rasterkit colour model: ";
constexpr COLOR_MODEL kMarkedModels[] = {CM_LOGL, CM_HSI, CM_HSV, CM_HLS,   CM_XYZ,   CM_YUV,
                                         CM_YIQ,  CM_LUV, CM_Lab, CM_YCbCr, CM_LOGLUV};

bool isMarked(COLOR_MODEL model) { return std::ranges::find(kMarkedModels, model) != std::end(kMarkedModels); }

// Reading -------------------------------------------------------------------------------------------------------------

template <class Number>
Number field(TIFF* tiff, ttag_t tag) {
  Number number = 0;
  TIFFGetFieldDefaulted(tiff, tag, &number);
  return number;
}

struct Page {
  const Input& input;
  TIFF* tiff;
  std::uint32_t width = field<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
  std::uint32_t height = field<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
  int samples = field<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
  int bits = field<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
  int sampleFormat = field<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT);
  int photometric = field<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC);
  int compression = field<std::uint16_t>(tiff, TIFFTAG_COMPRESSION);
  bool separate = field<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE && samples > 1;
  CPxImage image = {};

  [[noreturn]] void damaged() const { input.damaged("is a damaged TIFF: " + firstError); }
  [[noreturn]] void unusual(const std::string& what) const { input.damaged("is a TIFF of " + what); }
  void check(bool good) const {
    if (!good) damaged();
  }

  COLOR_MODEL model() const {
    const char* description = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &description) && description &&
        std::string_view(description).starts_with(kModelMark)) {
      const std::string_view name = std::string_view(description).substr(kModelMark.size());
      for (const COLOR_MODEL marked : kMarkedModels)
        if (catalogue::modelName(marked) == name && CPxImageInfo::GetChannel(marked) == samples) return marked;
    }
    if (photometric == PHOTOMETRIC_PALETTE && samples == 1) return CM_INDEX;
    if (photometric == PHOTOMETRIC_SEPARATED) {
      if (samples != 4 || field<std::uint16_t>(tiff, TIFFTAG_INKSET) != INKSET_CMYK)
        unusual("inks other than cyan, magenta, yellow and black, which is not read");
      return CM_CMYK;
    }
    constexpr COLOR_MODEL models[] = {CM_GRAY, CM_GRAYA, CM_RGB, CM_RGBA};
    if (samples < 1 || samples > 4) unusual(std::to_string(samples) + " samples a pixel; 1 to 4 are read");
    return models[samples - 1];
  }

  void create(Budget& budget) {
    const bool isFloat = sampleFormat == SAMPLEFORMAT_IEEEFP;
    const bool isWhole = sampleFormat == SAMPLEFORMAT_UINT || sampleFormat == SAMPLEFORMAT_VOID;
    const bool isNarrow = isWhole && samples == 1 && (bits == 1 || bits == 2 || bits == 4);
    if (!(isFloat ? bits == 32 : isNarrow || (isWhole && (bits == 8 || bits == 16))))
      unusual(std::to_string(bits) +
              (isFloat   ? "-bit float"
               : isWhole ? "-bit"
                         : "-bit signed or complex") +
              " samples; 8 and 16 bits without sign and 32-bit float are read");
    if (photometric == PHOTOMETRIC_PALETTE && bits > 8) unusual("palettes of more than 8 bits, which is not read");
    if (photometric == PHOTOMETRIC_MINISWHITE && isFloat) unusual("float samples with white as 0, which is not read");
    const COLOR_MODEL colours = model();
    claim(budget, width, height);
    // 2-bit palettes are kept in 4 bits, narrow grey is spread to 8.
    const int depth = !isNarrow ? bits : colours == CM_INDEX ? (bits == 1 ? 1 : 4) : 8;
    image.Create(colours, depth, static_cast<int>(width), static_cast<int>(height),
                 colours == CM_INDEX ? 1 << bits : 0);
    if (colours == CM_INDEX) readPalette();
  }

  void claim(Budget& budget, std::uint64_t columns, std::uint64_t rows) const {
    // These can put much more into a byte than the others.
    const bool dense = compression == COMPRESSION_CCITTRLE || compression == COMPRESSION_CCITTFAX3 ||
                       compression == COMPRESSION_CCITTFAX4 || compression == COMPRESSION_JPEG ||
                       compression == COMPRESSION_LZMA || compression == COMPRESSION_ZSTD ||
                       compression == COMPRESSION_WEBP;
    budget.claim(columns, rows, static_cast<unsigned>(samples * (bits + 7) / 8), dense ? 1 << 18 : 2100);
  }

  void readPalette() {
    std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    check(TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) == 1);
    const int count = image.palette.GetPaletteNum();
    // Entries have 16 bits; some writers put 8-bit values in them.
    int shift = 0;
    for (int i = 0; i < count; ++i)
      if (red[i] > 255 || green[i] > 255 || blue[i] > 255) shift = 8;
    for (int i = 0; i < count; ++i)
      *image.palette.GetPaletteItem(i) = {static_cast<unsigned char>(blue[i] >> shift),
                                          static_cast<unsigned char>(green[i] >> shift),
                                          static_cast<unsigned char>(red[i] >> shift), 0};
  }

  // Channel of the image for sample number `plane` of the file.
  int channel(int plane) const {
    const bool redFirst = image.colorModel == CM_RGB || image.colorModel == CM_RGBA;
    return redFirst && plane < 3 ? 2 - plane : plane;
  }

  // Puts `count` pixels of the file's row y into the image, from column x on.
  void store(const unsigned char* row, int x, int y, int count, int plane) {
    const auto sample = static_cast<std::size_t>(sampleBytes(image));
    const auto channels = static_cast<std::size_t>(image.channels);
    unsigned char* const out = rowOf(image, y) + static_cast<std::size_t>(x) * channels * sample;
    if (bits < 8) {
      unpackBits(row, out, count, bits, image.colorModel == CM_INDEX ? 1 : 255 / ((1 << bits) - 1));
    } else if (separate) {
      const std::size_t to = static_cast<std::size_t>(channel(plane)) * sample;
      for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        std::memcpy(out + i * channels * sample + to, row + i * sample, sample);
    } else {
      std::memcpy(out, row, static_cast<std::size_t>(count) * channels * sample);
      if (channel(0) == 0) return;
      if (sample == 1) swapRedAndBlue(out, count, image.channels);
      if (sample == 2) swapRedAndBlue(reinterpret_cast<std::uint16_t*>(out), count, image.channels);
      if (sample == 4) swapRedAndBlue(reinterpret_cast<float*>(out), count, image.channels);
    }
  }

  std::size_t packedBytes(std::uint64_t columns) const {
    return static_cast<std::size_t>((columns * static_cast<unsigned>(bits * (separate ? 1 : samples)) + 7) / 8);
  }

  void readStrips() {
    Bytes row(packedBytes(width));
    check(TIFFScanlineSize64(tiff) == row.size());
    for (int plane = 0; plane < (separate ? samples : 1); ++plane)
      for (int y = 0; y < image.height; ++y) {
        check(TIFFReadScanline(tiff, row.data(), static_cast<std::uint32_t>(y), static_cast<std::uint16_t>(plane)) ==
              1);
        store(row.data(), 0, y, image.width, plane);
      }
  }

  void readTiles(Budget& budget) {
    const auto columns = field<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH);
    const auto rows = field<std::uint32_t>(tiff, TIFFTAG_TILELENGTH);
    claim(budget, columns, rows);
    const std::size_t rowSize = packedBytes(columns);
    Bytes tile(rowSize * rows);
    check(TIFFTileSize64(tiff) == tile.size());
    for (int plane = 0; plane < (separate ? samples : 1); ++plane)
      for (std::uint32_t y = 0; y < height; y += rows)
        for (std::uint32_t x = 0; x < width; x += columns) {
          check(TIFFReadTile(tiff, tile.data(), x, y, 0, static_cast<std::uint16_t>(plane)) >= 0);
          for (std::uint32_t i = 0; i < std::min(rows, height - y); ++i)
            store(tile.data() + i * rowSize, static_cast<int>(x), static_cast<int>(y + i),
                  static_cast<int>(std::min(columns, width - x)), plane);
        }
  }

  // What only libtiff's own conversion can read: brightness with colour at lower resolution.
  void readConverted(Budget& budget) {
    budget.claim(width, height, 4, 1 << 18);
    budget.claim(width, height, 3, 1 << 18);
    std::vector<std::uint32_t> raster(static_cast<std::size_t>(width) * height);
    check(TIFFReadRGBAImageOriented(tiff, width, height, raster.data(), ORIENTATION_TOPLEFT, 1) == 1);
    image.Create(CM_RGB, 8, static_cast<int>(width), static_cast<int>(height));
    const std::uint32_t* in = raster.data();
    for (int y = 0; y < image.height; ++y)
      for (unsigned char *out = rowOf(image, y), *end = out + rowBytes(image); out < end; out += 3, ++in) {
        out[0] = static_cast<unsigned char>(TIFFGetB(*in));
        out[1] = static_cast<unsigned char>(TIFFGetG(*in));
        out[2] = static_cast<unsigned char>(TIFFGetR(*in));
      }
  }

  void read(Budget& budget) {
    if (photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG) {
      TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
      photometric = PHOTOMETRIC_RGB;
    }
    if (photometric == PHOTOMETRIC_YCBCR) return readConverted(budget);
    if (photometric > PHOTOMETRIC_SEPARATED) unusual("a colour space that is not read");
    create(budget);
    TIFFIsTiled(tiff) ? readTiles(budget) : readStrips();
    if (photometric == PHOTOMETRIC_MINISWHITE)
      for (int y = 0; y < image.height; ++y)
        for (unsigned char *s = rowOf(image, y), *end = s + rowBytes(image); s < end; ++s)
          *s = static_cast<unsigned char>(~*s);
    turnUpright(image, field<std::uint16_t>(tiff, TIFFTAG_ORIENTATION));
  }
};

// libtiff takes a directory that is cut off before its last number, the place of the next page, for the last one.
bool directoryIsWhole(TIFF* tiff, std::span<const unsigned char> file) {
  const bool big = TIFFIsBigTIFF(tiff) != 0;
  const std::uint64_t at = TIFFCurrentDirOffset(tiff);
  const std::size_t countBytes = big ? 8 : 2;
  if (at > file.size() || file.size() - at < countBytes) return false;
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < countBytes; ++i)
    count = count << 8 | file[at + (TIFFIsBigEndian(tiff) ? i : countBytes - 1 - i)];
  return count <= 0xffff && file.size() - at - countBytes >= count * (big ? 20 : 12) + (big ? 8 : 4);
}

// Writing -------------------------------------------------------------------------------------------------------------

void writePage(TIFF* tiff, const CPxImage& image, const std::string& name, const WriteOptions& options) {
  if (image.bitsPerSample > 32 || (image.bitsPerSample < 8 && image.colorModel != CM_INDEX))
    throw Failure(ExitCode::unwritable, name + ": a TIFF holds 8-bit, 16-bit and float samples, not " +
                                            std::to_string(image.bitsPerSample) + "-bit ones; convert the image first");
  int bits = 8 * sampleBytes(image);
  const COLOR_MODEL model = image.colorModel;
  if (model == CM_INDEX) {
    if (bits != 8) cannotHold(name, "TIFF", image, "palettes of 8 bits");
    const CPxPalette palette = completePalette(image);
    if (palette.GetPaletteNum() <= 16) bits = palette.GetPaletteNum() <= 2 ? 1 : 4;
    std::array<std::uint16_t, 256> red{}, green{}, blue{};
    for (std::size_t i = 0; i < static_cast<std::size_t>(palette.GetPaletteNum()); ++i) {
      const tagRGBA& entry = palette.GetPalette()[i];
      red[i] = static_cast<std::uint16_t>(entry.red * 257);
      green[i] = static_cast<std::uint16_t>(entry.green * 257);
      blue[i] = static_cast<std::uint16_t>(entry.blue * 257);
    }
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
  }
  const bool redFirst = model == CM_RGB || model == CM_RGBA;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, image.channels);
  TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, bits == 32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
               model == CM_INDEX  ? PHOTOMETRIC_PALETTE
               : model == CM_CMYK ? PHOTOMETRIC_SEPARATED
               : redFirst         ? PHOTOMETRIC_RGB
                                  : PHOTOMETRIC_MINISBLACK);
  if (model == CM_GRAYA || model == CM_RGBA) {
    const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
  } else if (isMarked(model) && image.channels == 3) {
    const std::uint16_t unspecified[2] = {EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNSPECIFIED};
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 2, unspecified);
  }
  if (isMarked(model))
    TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, (std::string(kModelMark) + catalogue::modelName(model)).c_str());
  if (options.compression > 0 && TIFFIsCODECConfigured(COMPRESSION_ADOBE_DEFLATE)) {
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, options.compression);
    if (model != CM_INDEX)
      TIFFSetField(tiff, TIFFTAG_PREDICTOR, bits == 32 ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
  }
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));

  Bytes row(rowBytes(image));
  bool good = true;
  for (int y = 0; good && y < image.height; ++y) {
    // A copy: libtiff's predictor changes what it is given.
    std::memcpy(row.data(), rowOf(image, y), row.size());
    if (redFirst && bits == 8) swapRedAndBlue(row.data(), image.width, image.channels);
    if (redFirst && bits == 16)
      swapRedAndBlue(reinterpret_cast<std::uint16_t*>(row.data()), image.width, image.channels);
    if (redFirst && bits == 32) swapRedAndBlue(reinterpret_cast<float*>(row.data()), image.width, image.channels);
    if (bits < 8) {
      Bytes packed((row.size() * static_cast<std::size_t>(bits) + 7) / 8);
      packBits(row.data(), packed.data(), image.width, bits);
      std::copy(packed.begin(), packed.end(), row.begin());
    }
    good = TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0) == 1;
  }
  if (!good || TIFFWriteDirectory(tiff) != 1) throw Failure(ExitCode::unwritable, name + ": " + firstError);
}

}  // namespace

std::vector<CPxImage> decodeTiff(const Input& input) {
  hearErrors();
  File file{.in = input.bytes};
  // m: not through a map of the file into memory.
  const Tiff tiff(file, input.name.c_str(), "rm");
  if (!tiff.tiff) input.damaged("is a damaged TIFF: " + firstError);
  Budget budget(input);
  std::vector<CPxImage> pages;
  for (;;) {
    Page page{input, tiff.tiff};
    if (!directoryIsWhole(tiff.tiff, input.bytes)) input.damaged("is a damaged TIFF: it ends too early");
    page.read(budget);
    pages.push_back(std::move(page.image));
    if (TIFFLastDirectory(tiff.tiff)) return pages;
    if (!TIFFReadDirectory(tiff.tiff)) page.damaged();
  }
}

Bytes encodeTiff(std::span<const CPxImage> pages, const std::string& name, const WriteOptions& options) {
  hearErrors();
  std::uint64_t total = 0;
  for (const CPxImage& page : pages) total += static_cast<std::uint64_t>(page.bufferSize);
  File file{};
  // Offsets of 64 bits only where they may be needed: not every reader knows them.
  Tiff tiff(file, name.c_str(), total > 0xf0000000U ? "w8" : "w");
  if (!tiff.tiff) throw Failure(ExitCode::unwritable, name + ": " + firstError);
  for (const CPxImage& page : pages) writePage(tiff.tiff, page, name, options);
  tiff.close();
  return std::move(file.out);
}

}  // namespace rasterkit::tools
