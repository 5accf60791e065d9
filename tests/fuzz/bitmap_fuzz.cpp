// Foreign bytes as a bitmap block. The seeds are written by rasterkit_bitmap_seeds:
//
//     rasterkit_bitmap_seeds corpus && bitmap_fuzz corpus -max_len=4096

#include <rasterkit/geometry/bitmap.h>
#include <rasterkit/platform/desktop.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/support/picture.h"

namespace rasterkit::fuzz {
namespace {

using test::identical;
using test::samePicture;

void expect(bool kept, const char* promise) {
  if (kept) return;
  std::fprintf(stderr, "broken: %s\n", promise);
  std::abort();
}

std::int32_t number(const std::uint8_t* at) {
  std::int32_t value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

// Run-length data may rightly ask for gigabytes: slow, and nothing new.
bool asksForMuchMemory(const std::uint8_t* data, std::size_t size) {
  if (size < 40 || (data[16] != 1 && data[16] != 2)) return false;
  const std::int64_t width = number(data + 4), height = number(data + 8);
  return height > 0 && width > (1 << 12) / height;
}

// What an image exports is read back with the same pixels.
void expectRoundTrip(CPxImage& image) {
  BITMAPINFOHEADER* block = nullptr;
  expect(CPxDIBConvert(&image).ConvertTo(&block) == 1 && block, "an imported image is exported");
  CPxImage back;
  const std::size_t bytes = 40 + std::size_t{block->biClrUsed} * 4 + block->biSizeImage;
  expect(CPxDIBConvert(&back).ConvertFrom(block, bytes) == 1, "an exported block is imported");
  back.bitsPerSample = image.bitsPerSample;  // indices of 1 and 4 bits leave as 8
  expect(bool(samePicture(back, image)), "the pixels are the same");
  CPxDIBConvert::DeleteBitmapInfoHeaderMem(block);
}

void run(const std::uint8_t* data, std::size_t size) {
  static const CPxImage before = test::gray8({{1, 2, 3}, {4, 5, 6}});
  CPxImage image = before;
  const int flag = CPxDIBConvert(&image).ConvertFrom(data, size);
  expect(flag == 0 || flag == 1, "the result is 0 or 1");
  if (flag == 0) {
    expect(bool(identical(image, before)), "a refused block leaves the image");
  } else {
    const bool core = data[0] == 12, compressed = !core && (data[16] == 1 || data[16] == 2);
    expect(compressed || static_cast<std::size_t>(image.bufferSize) <= 8 * size,
           "no more memory than the block has pixels");
    if (image.bufferSize < 1 << 12) expectRoundTrip(image);
  }
  // Counting colours is slow: now and then. Bytes of 0 are frequent.
  if (size == 0 || data[size - 1] % 64 != 1) return;
  CPxPalette palette;
  const bool core = size >= 4 && number(data) == 12;
  expect(bitmapPalette(data, size, palette) == (flag && !core), "a palette of what is imported, and of nothing else");
}

}  // namespace
}  // namespace rasterkit::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  rasterkit::setMessageHandler([](void*, const char*, const char*, unsigned int) { return 1; });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (!rasterkit::fuzz::asksForMuchMemory(data, size)) rasterkit::fuzz::run(data, size);
  return 0;
}
