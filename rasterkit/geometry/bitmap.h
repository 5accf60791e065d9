#pragma once
/// Exchange with device-independent bitmaps, and icons.
///
/// A bitmap block is a header, a colour table or bit-field masks, and the pixel rows, all in one piece: what a bitmap
/// file holds after its first 14 bytes, and what the clipboard calls CF_DIB.

#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

#include <cstddef>

/// Moves the bound image to and from bitmap blocks, and renders it into icons.
class RASTERKIT_API CPxDIBConvert : public CPxImageProcessingBase {
 public:
  CPxDIBConvert() = default;
  explicit CPxDIBConvert(CPxImage* image) : CPxImageProcessingBase(image) {}

  /// Makes a bitmap block of the image: a 40-byte header, uncompressed rows, bottom row first, each padded with zeros
  /// to 4 bytes.
  ///
  ///     model, bits a sample                     bitmap
  ///     CM_BITMAP up to 8                        8 bits, the table a ramp of 2^bits greys, then black
  ///     CM_GRAY up to 16                         8 bits, the table 256 greys; 16-bit samples reduced first
  ///     CM_INDEX up to 8                         8 bits, the image's palette, black where it is shorter than 256
  ///     CM_RGB, CM_RGBA up to 16                 24 or 32 bits; other than 8 bits converted first
  ///     CM_GRAYA                                 32 bits, converted to RGBA
  ///     CM_LOGL, CM_CMYK and the colour spaces   24 bits, converted to RGB
  ///
  /// Where the conversion converts nothing the bitmap is black. No bitmap is made of other models and bits: out stays
  /// as it is then, so callers look at it as well as at the result.
  ///
  /// out      becomes the block, which DeleteBitmapInfoHeaderMem frees.
  /// returns  1, also where no bitmap is made; 0 without an image and for a null out.
  /// cost     one pass and the block; a temporary image where samples are converted.
  int ConvertTo(BITMAPINFOHEADER** out);

  /// Makes the image that a bitmap block holds.
  ///
  ///     1, 4, 8 bits   CM_INDEX of as many bits, with the colour table as its palette; run-length compressed too
  ///     16 bits        CM_RGB: 5-5-5, or the block's masks
  ///     24 bits        CM_RGB
  ///     32 bits        CM_RGBA; colours by the block's masks where it has them, alpha the fourth byte as it stands
  ///
  /// Headers of 12, 40 and 52 to 124 bytes are read, rows in either order. A sample of w bits, fewer than 8, becomes
  /// v * 255 / (2^w - 1), rounded to nearest; of more than 8 bits the top 8 are taken. A mask that is not one run of
  /// set bits brings a message, and the usual masks serve. The image has as many palette entries as the block's table;
  /// those of a 12-byte header stay black. Pixels that run-length data skip or lack are index 0.
  ///
  /// block    any alignment; never read beyond its size in bytes.
  /// returns  1; 0 for a null block or image, one that does not fit its size, anything that cannot be, and where memory
  ///          runs out. The image is then as it was.
  /// cost     one pass. The pixels are read into the image's own memory where it has as many bytes and rows as they
  ///          need, else into new memory that the image takes once it is complete.
  int ConvertFrom(const void* block, std::size_t bytes);
  /// The same, taking the block to be as long as its header says: for blocks that the caller trusts. Run-length data
  /// must tell their length.
  int ConvertFrom(BITMAPINFOHEADER* in);

  /// Renders the image into an icon.
  ///
  /// An image narrower or lower than the icon stands in its centre, unscaled; another is scaled to it. Pixels of the
  /// background colour are transparent. Where ConvertTo makes no bitmap, the icon is background alone.
  ///
  /// icon     the caller's, freed by DestroyIcon.
  /// colour   0x00BBGGRR, the background.
  /// returns  1; 0 without an image or for a size below 1 (icon as it was).
  int ConvertTo(HICON& icon, CSize size, DWORD colour);

  /// Frees a block that ConvertTo made; null is allowed. Returns 1.
  static int DeleteBitmapInfoHeaderMem(BITMAPINFOHEADER* block);
};

namespace rasterkit {

/// The colours of a bitmap block: its table up to 8 bits; else the 256 most frequent colours, reduced to 5 bits of red
/// and blue and 6 of green. White of all bits is not counted; equal counts stand in ascending order of the 16-bit
/// colour. Where a mask is not one run of set bits, after a message: 6 x 6 x 6 colours and 40 greys.
///
/// palette  as it was where the result is 0.
/// returns  1; 0 for a 12-byte header and for a block that ConvertFrom would refuse.
/// cost     one pass and 65,535 counters.
RASTERKIT_API int bitmapPalette(const void* block, std::size_t bytes, CPxPalette& palette);

}  // namespace rasterkit
