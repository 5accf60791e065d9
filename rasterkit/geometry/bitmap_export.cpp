// ConvertTo, icons and the clipboard: an image becomes a bitmap block.

#include "rasterkit/geometry/bitmap_export.h"

#include <rasterkit/colour/colour.h>
#include <rasterkit/geometry/bitmap.h>
#include <rasterkit/geometry/regions.h>

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/view.h"
#include "rasterkit/platform/desktop_seam.h"

#include <algorithm>
#include <cstring>

namespace rasterkit {
namespace {

static_assert(sizeof(BITMAPINFOHEADER) == 40);

CPxPalette greyRamp(int count) {
  CPxPalette ramp(count);
  ramp.SetGrayPalette();
  return ramp;
}

// The block of an image of 8-bit samples; 8 bits a pixel have 256 colours, black where the palette is shorter.
MadeBitmap blockOf(const CPxImage& image, const CPxPalette& palette = CPxPalette()) {
  const int channels = CPxImageInfo::GetChannel(image.colorModel);
  const auto rows = viewOf<unsigned char>(image, channels);
  const std::size_t stride = (rows.samples() + 3) / 4 * 4;
  const std::size_t colours = channels == 1 ? 256 : 0;

  BITMAPINFOHEADER header{};
  header.biSize = sizeof header;
  header.biWidth = image.width;
  header.biHeight = image.height;
  header.biPlanes = 1;
  header.biBitCount = static_cast<WORD>(channels * 8);
  header.biSizeImage = static_cast<DWORD>(stride * static_cast<std::size_t>(rows.height));
  header.biClrUsed = static_cast<DWORD>(colours);

  MadeBitmap made;
  made.bytes = sizeof header + colours * sizeof(tagRGBA) + header.biSizeImage;
  made.block.reset(new unsigned char[made.bytes]);
  unsigned char* to = made.block.get();
  std::memcpy(to, &header, sizeof header);
  to += sizeof header;

  const std::size_t known = std::min(colours, static_cast<std::size_t>(palette.GetPaletteNum()));
  if (known > 0) std::memcpy(to, palette.GetPalette(), known * sizeof(tagRGBA));
  std::memset(to + known * sizeof(tagRGBA), 0, (colours - known) * sizeof(tagRGBA));
  to += colours * sizeof(tagRGBA);

  if (rows.height == 0) return made;
  const auto step = static_cast<std::ptrdiff_t>(stride);
  copyRows(to + step * (rows.height - 1), -step, rows.row(0), rows.stride, rows.samples(), rows.height);
  for (int y = 0; y < rows.height && stride > rows.samples(); ++y, to += stride)
    std::memset(to + rows.samples(), 0, stride - rows.samples());
  return made;
}

// The block of the image in another model with 8-bit samples: black where the conversion refuses the image.
MadeBitmap blockAs(COLOR_MODEL model, const CPxImage& image, int (*convert)(const CPxImage*, CPxImage*),
                   const CPxPalette& palette = CPxPalette()) {
  CPxImage converted(model, 8, image.width, image.height);
  convert(&image, &converted);
  return blockOf(converted, palette);
}

}  // namespace

bool canBeExported(const CPxImage* image) {
  return image && Storage::holdsItsPixels(*image) &&
         Storage::rowsHold(*image, CPxImageInfo::GetChannel(image->colorModel));
}

MadeBitmap bitmapOf(const CPxImage& image) {
  const int bits = image.bitsPerSample;
  const COLOR_MODEL model = image.colorModel;
  switch (model) {
    case CM_BITMAP: return bits <= 8 ? blockOf(image, greyRamp(1 << bits)) : MadeBitmap();
    case CM_INDEX: return bits <= 8 ? blockOf(image, image.palette) : MadeBitmap();
    case CM_GRAY:
      if (bits <= 8) return blockOf(image, greyRamp(256));
      return bits <= 16 ? blockAs(CM_GRAY, image, CPxColorProcessing::Gray16toGray, greyRamp(256)) : MadeBitmap();
    case CM_RGB:
    case CM_RGBA:
      if (bits < 8) return blockAs(model, image, CPxColorProcessing::RGB2BtoRGB);
      if (bits == 8) return blockOf(image);
      return bits <= 16 ? blockAs(model, image, CPxColorProcessing::RGB16toRGB) : MadeBitmap();
    case CM_GRAYA: return blockAs(CM_RGBA, image, CPxColorProcessing::ConverttoRGBA);
    default:  // the other models that exist
      return CPxImageInfo::GetChannel(model) > 0 ? blockAs(CM_RGB, image, CPxColorProcessing::ConverttoRGB)
                                                 : MadeBitmap();
  }
}

}  // namespace rasterkit

using namespace rasterkit;

int CPxDIBConvert::ConvertTo(BITMAPINFOHEADER** out) {
  if (!out || !canBeExported(GetImage())) return 0;
  MadeBitmap made = bitmapOf(*GetImage());
  if (made.block) *out = reinterpret_cast<BITMAPINFOHEADER*>(made.block.release());
  return 1;
}

int CPxDIBConvert::DeleteBitmapInfoHeaderMem(BITMAPINFOHEADER* block) {
  delete[] reinterpret_cast<unsigned char*>(block);
  return 1;
}

int CPxDIBConvert::ConvertTo(HICON& icon, CSize size, DWORD colour) {
  if (!canBeExported(GetImage()) || size.cx < 1 || size.cy < 1) return 0;
  icon = makeIcon(bitmapOf(*GetImage()).header(), size, colour);
  return 1;
}

int CPxMiscProcessing::CopyToClipboard(HWND owner) {
  if (!canBeExported(GetImage())) return 0;
  const MadeBitmap made = bitmapOf(*GetImage());
  placeOnClipboard(owner, made.block.get(), made.bytes);
  return 1;
}
