#pragma once
/// Cutting out, copying, pasting and filling rectangles.

#include <rasterkit/core/pixels.h>
#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

#include <concepts>
#include <cstddef>

namespace rasterkit {

template <class T, class... Types>
concept OneOf = (std::same_as<T, Types> || ...);

/// The pixel values: 1 to 4 samples of 8 bits, 16 bits or float.
template <class T>
concept PixelValue = OneOf<T, unsigned char, tagPXG2, tagPXG3, tagPXG4, unsigned short, tagPXGW2, tagPXGW3, tagPXGW4,
                           float, tagPXGF2, tagPXGF3, tagPXGF4>;

}  // namespace rasterkit

/// Cuts rectangles out of the bound image and copies them between images.
///
/// pixels   1 to 4 channels of 8-bit, 16-bit or float samples. A second image needs a pixel of as many bytes, not the
///          same type; only the part that it has is copied. It may be the bound image itself. The area of interest is
///          not looked at.
/// returns  1; 0 for a rectangle that is refused (each method says which), other channel counts, beyond 32 bits a
///          sample, or a second image that is not created or has a pixel of another size. Nothing is written then.
/// cost     one pass over the rectangle.
class RASTERKIT_API CPxMiscProcessing : public CPxImageProcessingBase {
 public:
  CPxMiscProcessing() = default;
  explicit CPxMiscProcessing(CPxImage* image) : CPxImageProcessingBase(image) {}

  /// Makes the image the part of itself inside the rectangle.
  ///
  /// rect     right and bottom belong to it; edges in either order; cut at the image's edges. Refused where it lies
  ///          wholly outside.
  ///          The model, bits and palette stay; channel bits and padding are those of a new image.
  int Crop(CRect rect);

  /// Copies the rectangle to the top left corner of another image.
  ///
  ///     dst[x - rect.left, y - rect.top] = image[x, y]   for (x, y) of rect inside the image
  ///
  /// rect     right and bottom belong to it, but one column, one row, left > right, top > bottom and a rectangle that
  ///          starts in the image's last column or row are refused, as is one outside the image.
  /// dst      must be created; keeps its shape and the pixels outside.
  int CopyTo(CPxImage& dst, CRect rect);

  /// Copies another image into the rectangle.
  ///
  ///     image[x, y] = src[x - rect.left, y - rect.top]   for (x, y) of rect inside the image
  ///
  /// rect     as in CopyTo.
  int PasteFrom(CPxImage& src, CRect rect);

  /// As the other PasteFrom, only where the mask lets it.
  ///
  ///     image[x, y] = src[x - rect.left, y - rect.top]   where mask[x - rect.left, y - rect.top] is not 0
  ///
  /// mask     read as one byte a pixel whatever its type, columns up to its width.
  int PasteFrom(CPxImage& src, CRect rect, CPxImage& mask);

  /// Places the image on the clipboard as the bitmap block that CPxDIBConvert::ConvertTo makes of it. Where none is
  /// made, the clipboard is emptied.
  ///
  /// owner    the window that takes the clipboard; null is allowed.
  /// returns  1, also where the clipboard cannot be opened; 0 without an image (the clipboard as it was).
  int CopyToClipboard(HWND owner);

  /// Returns 1: pasting from the clipboard is not offered.
  int PasteFromClipboard(HWND window);
};

/// Fills parts of the bound image with one pixel value.
///
/// pixels   1 to 4 channels of 8-bit, 16-bit or float samples. The value's type need not be the image's: rows are
///          stepped by the value's own size, and a value that does not lie wholly within the row's pixels is left out,
///          so that padding is never written. The area of interest is not looked at.
/// returns  1; 0 for other channel counts, beyond 32 bits a sample, a rectangle wholly outside, or a mask that is not
///          created. Nothing is written then.
/// cost     one pass over what is filled.
class RASTERKIT_API CPxDrawing : public CPxImageProcessingBase {
 public:
  CPxDrawing() = default;
  explicit CPxDrawing(CPxImage* image) : CPxImageProcessingBase(image) {}

  /// Fills a rectangle.
  ///
  ///     image[x, y] = value   for (x, y) of rect inside the image
  ///
  /// rect     right and bottom belong to it; edges in either order; cut at the image's edges.
  template <rasterkit::PixelValue Value>
  int SetFill(Value value, CRect rect) {
    return fill(&value, sizeof value, rect);
  }

  /// Fills the pixels that a mask selects.
  ///
  ///     image[x, y] = value   where mask[x, y] is not 0
  ///
  /// mask     read as one byte a pixel whatever its type, columns up to its width; beyond it nothing is filled. May be
  ///          the image itself.
  template <rasterkit::PixelValue Value>
  int SetFill(Value value, CPxImage& mask) {
    return fill(&value, sizeof value, mask);
  }

 private:
  int fill(const void* value, std::size_t bytes, const CRect& rect);
  int fill(const void* value, std::size_t bytes, CPxImage& mask);
};
