#pragma once
// Bitmap blocks of images.

#include <rasterkit/core/image.h>
#include <rasterkit/platform/framework.h>

#include <cstddef>
#include <memory>

namespace rasterkit {

struct MadeBitmap {
  std::unique_ptr<unsigned char[]> block;  // null where no bitmap is made of such an image
  std::size_t bytes = 0;

  const BITMAPINFOHEADER* header() const { return reinterpret_cast<const BITMAPINFOHEADER*>(block.get()); }
};

// Whether the image has what CPxDIBConvert::ConvertTo reads.
bool canBeExported(const CPxImage* image);

// What CPxDIBConvert::ConvertTo makes.
MadeBitmap bitmapOf(const CPxImage& image);

}  // namespace rasterkit
