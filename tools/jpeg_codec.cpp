// jpeglib.h relies on the two before it.
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

#include <csetjmp>
#include <cstdlib>

#include "tools/codecs.h"

namespace rasterkit::tools {
namespace {

// libjpeg leaves a failed call by a jump, so what runs within guarded() creates nothing that needs a destructor.
struct Errors {
  jpeg_error_mgr manager;
  jmp_buf leave;
  char text[JMSG_LENGTH_MAX] = "";
};

// A file that small holds no more scans than this; each one passes over the whole image.
constexpr int kMostScans = 500;

void onError(j_common_ptr jpeg) {
  auto* const errors = reinterpret_cast<Errors*>(jpeg->err);
  if (!errors->text[0]) errors->manager.format_message(jpeg, errors->text);
  std::longjmp(errors->leave, 1);
}

// Where libjpeg would go on with invented pixels, the file is damaged.
void onMessage(j_common_ptr jpeg, int level) {
  if (level >= 0) return;
  switch (jpeg->err->msg_code) {
    case JWRN_JPEG_EOF:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
    case JWRN_MUST_RESYNC:
    case JWRN_BOGUS_PROGRESSION: onError(jpeg); break;
    default: break;
  }
}

void onProgress(j_common_ptr jpeg) {
  auto* const errors = reinterpret_cast<Errors*>(jpeg->err);
  if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number <= kMostScans) return;
  std::strncpy(errors->text, "it has too many scans", sizeof errors->text - 1);
  onError(jpeg);
}

template <class Body>
bool guarded(Errors& errors, const Body& body) {
  if (setjmp(errors.leave)) return false;
  body();
  return true;
}

void prepare(Errors& errors) {
  jpeg_std_error(&errors.manager);
  errors.manager.error_exit = onError;
  errors.manager.emit_message = onMessage;
  errors.manager.output_message = [](j_common_ptr) {};
}

struct Reader {
  Errors errors;
  jpeg_decompress_struct jpeg{};
  jpeg_progress_mgr progress{};
  Reader() { prepare(errors), jpeg.err = &errors.manager; }
  Reader(const Reader&) = delete;
  ~Reader() { jpeg_destroy_decompress(&jpeg); }
};

struct Writer {
  Errors errors;
  jpeg_compress_struct jpeg{};
  unsigned char* bytes = nullptr;
  unsigned long count = 0;
  Writer() { prepare(errors), jpeg.err = &errors.manager; }
  Writer(const Writer&) = delete;
  ~Writer() {
    jpeg_destroy_compress(&jpeg);
    std::free(bytes);
  }
};

// How the camera was held.
int orientation(const jpeg_decompress_struct& jpeg) {
  for (jpeg_saved_marker_ptr marker = jpeg.marker_list; marker; marker = marker->next)
    if (const int held = exifOrientation({marker->data, marker->data_length}); held != 1) return held;
  return 1;
}

}  // namespace

std::vector<CPxImage> decodeJpeg(const Input& input) {
  Reader reader;
  jpeg_decompress_struct& jpeg = reader.jpeg;
  const auto check = [&](bool good) {
    if (!good) input.damaged(std::string("is a damaged or unusual JPEG: ") + reader.errors.text);
  };
  check(guarded(reader.errors, [&] {
    jpeg_create_decompress(&jpeg);
    reader.progress.progress_monitor = onProgress;
    jpeg.progress = &reader.progress;
    jpeg_save_markers(&jpeg, JPEG_APP0 + 1, 0xffff);
    jpeg_mem_src(&jpeg, input.bytes.data(), static_cast<unsigned long>(input.bytes.size()));
    jpeg_read_header(&jpeg, TRUE);
  }));

  COLOR_MODEL model = CM_RGB;
  switch (jpeg.jpeg_color_space) {
    case JCS_GRAYSCALE: model = CM_GRAY, jpeg.out_color_space = JCS_GRAYSCALE; break;
    case JCS_YCbCr:
    case JCS_RGB: jpeg.out_color_space = JCS_EXT_BGR; break;
    case JCS_CMYK:
    case JCS_YCCK: model = CM_CMYK, jpeg.out_color_space = JCS_CMYK; break;
    default: input.damaged("is a JPEG of an unknown colour space");
  }
  Budget(input).claim(jpeg.image_width, jpeg.image_height, static_cast<unsigned>(CPxImageInfo::GetChannel(model)));
  std::vector<CPxImage> pages(1);
  CPxImage& image = pages[0];
  const int held = orientation(jpeg);
  image.Create(model, 8, static_cast<int>(jpeg.image_width), static_cast<int>(jpeg.image_height));
  check(guarded(reader.errors, [&] {
    jpeg.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&jpeg);
    while (jpeg.output_scanline < jpeg.output_height) {
      auto* const rows = reinterpret_cast<JSAMPARRAY>(image.Get2DBuffer());
      jpeg_read_scanlines(&jpeg, rows + jpeg.output_scanline, jpeg.output_height - jpeg.output_scanline);
    }
    jpeg_finish_decompress(&jpeg);
  }));

  // Files that say who wrote them hold how much light passes, not how much ink there is.
  if (model == CM_CMYK && jpeg.saw_Adobe_marker)
    for (int y = 0; y < image.height; ++y)
      for (unsigned char *s = rowOf(image, y), *end = s + rowBytes(image); s < end; ++s)
        *s = static_cast<unsigned char>(255 - *s);
  turnUpright(image, held);
  return pages;
}

Bytes encodeJpeg(const CPxImage& image, const std::string& name, const WriteOptions& options) {
  constexpr const char* holds = "8-bit grey, RGB and CMYK";
  if (image.bitsPerSample != 8) cannotHold(name, "JPEG", image, holds);
  J_COLOR_SPACE space = JCS_GRAYSCALE;
  switch (image.colorModel) {
    case CM_GRAY: break;
    case CM_RGB: space = JCS_EXT_BGR; break;
    case CM_CMYK: space = JCS_CMYK; break;
    default: cannotHold(name, "JPEG", image, holds);
  }
  if (image.width > JPEG_MAX_DIMENSION || image.height > JPEG_MAX_DIMENSION)
    throw Failure(ExitCode::unwritable, name + ": a JPEG has at most " + std::to_string(JPEG_MAX_DIMENSION) +
                                            " columns and rows; write a .tif or .png");

  Writer writer;
  jpeg_compress_struct& jpeg = writer.jpeg;
  Bytes row(rowBytes(image));
  const bool done = guarded(writer.errors, [&] {
    jpeg_create_compress(&jpeg);
    jpeg_mem_dest(&jpeg, &writer.bytes, &writer.count);
    jpeg.image_width = static_cast<JDIMENSION>(image.width);
    jpeg.image_height = static_cast<JDIMENSION>(image.height);
    jpeg.input_components = image.channels;
    jpeg.in_color_space = space;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, options.quality, TRUE);
    // Colour at full resolution: edges that an operation drew stay where they are.
    for (int i = 0; i < jpeg.num_components; ++i) jpeg.comp_info[i].h_samp_factor = jpeg.comp_info[i].v_samp_factor = 1;
    if (space == JCS_CMYK) jpeg.write_Adobe_marker = TRUE;
    jpeg_start_compress(&jpeg, TRUE);
    for (int y = 0; y < image.height; ++y) {
      const unsigned char* const samples = rowOf(image, y);
      const auto light = static_cast<unsigned char>(space == JCS_CMYK ? 255 : 0);
      for (std::size_t i = 0; i < row.size(); ++i) row[i] = samples[i] ^ light;
      JSAMPROW line = row.data();
      jpeg_write_scanlines(&jpeg, &line, 1);
    }
    jpeg_finish_compress(&jpeg);
  });
  if (!done) throw Failure(ExitCode::unwritable, name + ": " + writer.errors.text);
  return Bytes(writer.bytes, writer.bytes + writer.count);
}

}  // namespace rasterkit::tools
