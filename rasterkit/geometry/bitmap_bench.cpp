#include <rasterkit/geometry/bitmap.h>

#include <cstring>
#include <memory>
#include <vector>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

std::vector<unsigned char> blockOf(CPxImage& image) {
  BITMAPINFOHEADER* block = nullptr;
  CPxDIBConvert(&image).ConvertTo(&block);
  const auto* const first = reinterpret_cast<const unsigned char*>(block);
  std::vector<unsigned char> bytes(first, first + block->biSize + block->biClrUsed * 4 + block->biSizeImage);
  CPxDIBConvert::DeleteBitmapInfoHeaderMem(block);
  return bytes;
}

// The peers copy as many bytes: into a fresh block that is then freed, as the export's is, or into the same memory.
BENCH(bitmap) {
  for (const COLOR_MODEL model : {CM_INDEX, CM_RGB}) {
    const std::string kind = model == CM_RGB ? " 24 bits" : " 8 bits";
    const auto source = image(model, 8);
    bench.add({.name = "bitmap export" + kind,
               .ours =
                   [=] {
                     BITMAPINFOHEADER* block = nullptr;
                     CPxDIBConvert(source.get()).ConvertTo(&block);
                     CPxDIBConvert::DeleteBitmapInfoHeaderMem(block);
                   },
               .peer =
                   [=] {
                     const auto bytes = static_cast<std::size_t>(source->bufferSize);
                     auto* const block = new unsigned char[bytes];
                     std::memcpy(block, source->GetBuffer(), bytes);
                     asm volatile("" : : "r"(block) : "memory");
                     delete[] block;
                   },
               .against = "memcpy into a new block"});
    const auto block = std::make_shared<std::vector<unsigned char>>(blockOf(*source));
    const auto read = image(model, 8), copied = image(model, 8);
    bench.add({.name = "bitmap import" + kind,
               .ours = [=] { CPxDIBConvert(read.get()).ConvertFrom(block->data(), block->size()); },
               .peer =
                   [=] {
                     std::memcpy(copied->GetBuffer(),
                                 block->data() + block->size() - static_cast<std::size_t>(copied->bufferSize),
                                 static_cast<std::size_t>(copied->bufferSize));
                   },
               .against = "memcpy"});
  }
}

}  // namespace
}  // namespace rasterkit::bench
