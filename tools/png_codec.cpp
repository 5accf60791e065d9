#include <png.h>

#include <algorithm>
#include <bit>
#include <new>

#include "tools/codecs.h"

namespace rasterkit::tools {
namespace {

// libpng leaves a failed call by a jump, so what runs within guarded() creates nothing that needs a destructor.
struct Message {
  char text[120] = "";
};

void onError(png_structp png, png_const_charp text) {
  auto* const message = static_cast<Message*>(png_get_error_ptr(png));
  std::strncpy(message->text, text, sizeof message->text - 1);
  png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

template <class Body>
bool guarded(png_structp png, const Body& body) {
  if (setjmp(png_jmpbuf(png))) return false;
  body();
  return true;
}

struct Reader {
  Message message;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &message, onError, onWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  Reader() {
    if (!info) throw std::bad_alloc();
  }
  Reader(const Reader&) = delete;
  ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct Writer {
  Message message;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &message, onError, onWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  Writer() {
    if (!info) throw std::bad_alloc();
  }
  Writer(const Writer&) = delete;
  ~Writer() { png_destroy_write_struct(&png, &info); }
};

struct Rest {
  const unsigned char* at;
  std::size_t count;
};

void readBytes(png_structp png, png_bytep out, std::size_t count) {
  auto* const rest = static_cast<Rest*>(png_get_io_ptr(png));
  if (count > rest->count) png_error(png, "it ends too early");
  std::memcpy(out, rest->at, count);
  rest->at += count;
  rest->count -= count;
}

void writeBytes(png_structp png, png_bytep in, std::size_t count) {
  auto* const bytes = static_cast<Bytes*>(png_get_io_ptr(png));
  bool enough = true;
  try {
    bytes->insert(bytes->end(), in, in + count);
  } catch (const std::bad_alloc&) {
    enough = false;
  }
  if (!enough) png_error(png, "there is not enough memory");
}

constexpr bool kLittleEndian = std::endian::native == std::endian::little;

// The least bits that hold every sample of 8-bit grey: readers spread 1, 2 and 4 bits evenly over 0 to 255. Black and
// white, the result of so many operations, takes an eighth of the time and place.
int greyBits(const CPxImage& image) {
  for (const int bits : {1, 2, 4}) {
    bool stepOf[256] = {};
    for (int i = 0; i < 1 << bits; ++i) stepOf[i * 255 / ((1 << bits) - 1)] = true;
    bool fits = true;
    for (int y = 0; fits && y < image.height; ++y)
      fits = std::all_of(rowOf(image, y), rowOf(image, y) + image.width, [&](unsigned char s) { return stepOf[s]; });
    if (fits) return bits;
  }
  return 8;
}

}  // namespace

std::vector<CPxImage> decodePng(const Input& input) {
  Reader reader;
  const png_structp png = reader.png;
  const png_infop info = reader.info;
  const auto check = [&](bool good) {
    if (!good) input.damaged(std::string("is a damaged PNG: ") + reader.message.text);
  };
  Rest rest{input.bytes.data(), input.bytes.size()};
  png_uint_32 width = 0;
  png_uint_32 height = 0;
  int bits = 0;
  int type = 0;
  bool transparent = false;
  check(guarded(png, [&] {
    png_set_read_fn(png, &rest, readBytes);
    png_set_user_limits(png, 0x7fffffff, 0x7fffffff);
    png_read_info(png, info);
    png_get_IHDR(png, info, &width, &height, &bits, &type, nullptr, nullptr, nullptr);
    transparent = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
  }));

  // Palettes keep their indices, but transparency has no place in a palette entry: such files become RGB with alpha.
  const bool palette = type == PNG_COLOR_TYPE_PALETTE && !transparent;
  const bool colour = (type & PNG_COLOR_MASK_COLOR) != 0 && !palette;
  const bool alpha = (type & PNG_COLOR_MASK_ALPHA) != 0 || transparent;
  const COLOR_MODEL model = palette ? CM_INDEX : colour ? (alpha ? CM_RGBA : CM_RGB) : (alpha ? CM_GRAYA : CM_GRAY);
  const int sampleBits = palette ? (bits == 2 ? 4 : bits) : bits == 16 ? 16 : 8;
  Budget(input).claim(width, height, static_cast<unsigned>(CPxImageInfo::GetChannel(model) * (bits == 16 ? 2 : 1)));

  png_colorp colours = nullptr;
  int colourCount = 0;
  if (palette) png_get_PLTE(png, info, &colours, &colourCount);
  std::vector<CPxImage> pages(1);
  CPxImage& image = pages[0];
  image.Create(model, sampleBits, static_cast<int>(width), static_cast<int>(height), colourCount);
  for (int i = 0; i < colourCount; ++i)
    *image.palette.GetPaletteItem(i) = {colours[i].blue, colours[i].green, colours[i].red, 0};

  check(guarded(png, [&] {
    if (palette) png_set_packing(png);
    if (type == PNG_COLOR_TYPE_PALETTE && !palette) png_set_palette_to_rgb(png);
    if (!colour && bits < 8 && !palette) png_set_expand_gray_1_2_4_to_8(png);
    if (transparent) png_set_tRNS_to_alpha(png);
    if (bits == 16 && kLittleEndian) png_set_swap(png);
    if (colour) png_set_bgr(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (png_get_rowbytes(png, info) != rowBytes(image)) png_error(png, "its rows are not what its header says");
    png_read_image(png, reinterpret_cast<png_bytepp>(image.Get2DBuffer()));
    png_read_end(png, nullptr);
  }));
  return pages;
}

Bytes encodePng(const CPxImage& image, const std::string& name, const WriteOptions& options) {
  int type = 0;
  switch (image.colorModel) {
    case CM_GRAY: type = PNG_COLOR_TYPE_GRAY; break;
    case CM_GRAYA: type = PNG_COLOR_TYPE_GRAY_ALPHA; break;
    case CM_INDEX: type = PNG_COLOR_TYPE_PALETTE; break;
    case CM_RGB: type = PNG_COLOR_TYPE_RGB; break;
    case CM_RGBA: type = PNG_COLOR_TYPE_RGB_ALPHA; break;
    default: cannotHold(name, "PNG", image, "grey, RGB and palettes");
  }
  if (image.bitsPerSample > 16) cannotHold(name, "PNG", image, "8-bit and 16-bit samples");
  if (image.bitsPerSample > 8 && type == PNG_COLOR_TYPE_PALETTE) cannotHold(name, "PNG", image, "palettes of 8 bits");
  if (image.bitsPerSample < 8 && type != PNG_COLOR_TYPE_PALETTE)
    cannotHold(name, "PNG", image, "8-bit and 16-bit samples");

  // An index beyond the palette is black, in the file as well.
  const CPxPalette palette = type == PNG_COLOR_TYPE_PALETTE ? completePalette(image) : CPxPalette();
  const int colourCount = palette.GetPaletteNum();
  const int bits = image.bitsPerSample > 8          ? 16
                   : type == PNG_COLOR_TYPE_GRAY    ? greyBits(image)
                   : type != PNG_COLOR_TYPE_PALETTE ? 8
                   : colourCount <= 2               ? 1
                   : colourCount <= 4               ? 2
                   : colourCount <= 16              ? 4
                                                    : 8;
  const bool narrowed = type == PNG_COLOR_TYPE_GRAY && bits < 8;
  png_color colours[256] = {};
  for (int i = 0; i < colourCount; ++i) {
    const tagRGBA& entry = palette.GetPalette()[i];
    colours[i] = {entry.red, entry.green, entry.blue};
  }

  Bytes bytes;
  Bytes row(narrowed ? rowBytes(image) : 0);
  Writer writer;
  const png_structp png = writer.png;
  const bool done = guarded(png, [&] {
    png_set_write_fn(png, &bytes, writeBytes, nullptr);
    png_set_user_limits(png, 0x7fffffff, 0x7fffffff);
    png_set_IHDR(png, writer.info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), bits,
                 type, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (type == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, writer.info, colours, colourCount);
    png_set_compression_level(png, options.compression);
    // The difference to the pixel on the left or above makes photographs small; more filters cost more than they save.
    png_set_filter(png, PNG_FILTER_TYPE_BASE,
                   bits < 8 || type == PNG_COLOR_TYPE_PALETTE ? PNG_FILTER_NONE : PNG_FILTER_SUB | PNG_FILTER_UP);
    png_write_info(png, writer.info);
    if (bits < 8) png_set_packing(png);
    if (bits == 16 && kLittleEndian) png_set_swap(png);
    if (type & PNG_COLOR_MASK_COLOR && type != PNG_COLOR_TYPE_PALETTE) png_set_bgr(png);
    for (int y = 0; y < image.height; ++y) {
      const unsigned char* samples = rowOf(image, y);
      if (narrowed) {
        const int step = 255 / ((1 << bits) - 1);
        for (std::size_t x = 0; x < row.size(); ++x) row[x] = static_cast<unsigned char>(samples[x] / step);
        samples = row.data();
      }
      png_write_row(png, samples);
    }
    png_write_end(png, nullptr);
  });
  if (!done) throw Failure(ExitCode::unwritable, name + ": " + writer.message.text);
  return bytes;
}

}  // namespace rasterkit::tools
