// Foreign bytes as an image file of any format. The seeds are written by rasterkit_images_seeds:
//
//     rasterkit_images_seeds corpus && images_fuzz corpus -max_len=4096

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "tests/support/picture.h"
#include "tools/failure.h"
#include "tools/image_file.h"

namespace rasterkit::fuzz {
namespace {

using namespace tools;

void expect(bool kept, const std::string& promise) {
  if (kept) return;
  std::fprintf(stderr, "broken: %s\n", promise.c_str());
  std::abort();
}

// The checksums of PNG chunks, made right: no fuzzer guesses them, and behind wrong ones nothing is read.
void mendChecksums(Bytes& file) {
  const auto number = [&](std::size_t at) {
    return std::uint32_t{file[at]} << 24 | std::uint32_t{file[at + 1]} << 16 | std::uint32_t{file[at + 2]} << 8 |
           std::uint32_t{file[at + 3]};
  };
  for (std::size_t at = 8; at + 12 <= file.size();) {
    const std::size_t length = number(at);
    if (length > file.size() - at - 12) return;
    const std::size_t end = at + 8 + length;
    std::uint32_t crc = 0xffffffff;
    for (std::size_t i = at + 4; i < end; ++i) {
      crc ^= file[i];
      for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xedb88320u : 0u);
    }
    crc = ~crc;
    for (std::size_t i = 0; i < 4; ++i) file[end + i] = static_cast<unsigned char>(crc >> (24 - 8 * i));
    at = end + 4;
  }
}

void expectOneLine(const Failure& failure) {
  const std::string_view what = failure.what();
  expect(!what.empty() && what.find('\n') == std::string_view::npos, "a refusal is one line");
}

// What was read is written, or refused, and read again without loss.
void expectRoundTrip(const ImageFile& image) {
  if (image.format == Format::jpeg) return;
  ImageFile back;
  Bytes file;
  try {
    file = encode(image.pages, image.format, "again");
  } catch (const Failure& failure) {
    return expectOneLine(failure);
  }
  try {
    back = decode(file, "again");
  } catch (const Failure& failure) {
    expect(false, std::string("what is written can be read: ") + failure.what());
  }
  expect(back.pages.size() == image.pages.size(), "as many pages as were written");
  for (std::size_t i = 0; i < image.pages.size(); ++i) {
    // Narrow indices may leave as 8 bits.
    if (image.pages[i].colorModel == CM_INDEX) back.pages[i].bitsPerSample = image.pages[i].bitsPerSample;
    const auto same = test::samePicture(back.pages[i], image.pages[i]);
    expect(bool(same), std::string("what is written is read as the same: ") + same.message());
  }
}

void run(const Bytes& file) {
  ImageFile image;
  try {
    image = decode(file, "file");
  } catch (const Failure& failure) {
    return expectOneLine(failure);
  }
  expect(!image.pages.empty(), "a file that is read has a page");
  std::size_t bytes = 0;
  for (const CPxImage& page : image.pages) {
    expect(page.IsCreated() && page.width > 0 && page.height > 0, "a page has pixels");
    bytes += static_cast<std::size_t>(page.bufferSize);
  }
  if (bytes < 1 << 14) expectRoundTrip(image);
}

}  // namespace
}  // namespace rasterkit::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  rasterkit::tools::Bytes file(bytes, bytes + count);
  if (count % 4 != 0 && count > 8 && file[1] == 'P') rasterkit::fuzz::mendChecksums(file);
  rasterkit::fuzz::run(file);
  return 0;
}
