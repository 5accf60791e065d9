#pragma once
/// Size, orientation and position of an image.

#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

/// Every method takes 1 to 4 channels of 8-bit, 16-bit or float samples unless it says otherwise, and moves or blends
/// whole pixels, alpha included. The area of interest is not looked at. A destination may be the source itself.
class RASTERKIT_API CPxGeometryProcessing : public CPxImageProcessingBase {
 public:
  enum INTERPOLATION : int { INTERPOLATION_BILINEAR = 1, INTERPOLATION_NEAREST = 2 };
  enum FLIP_FLAG : int {
    FLIP_VERTICAL = 0,    ///< top becomes bottom
    FLIP_HORIZONTAL = 1,  ///< left becomes right
    FLIP_BOTH = 2,        ///< a half turn
  };

  CPxGeometryProcessing() = default;
  explicit CPxGeometryProcessing(CPxImage* image) : CPxImageProcessingBase(image) {}

  /// The pixel that Shift leaves behind: all samples 0 until set. Each form sets the first channels and keeps the
  /// others.
  void SetBackColor(unsigned char value);
  void SetBackColor(tagPXG2 value);
  void SetBackColor(tagPXG3 value);
  void SetBackColor(tagPXG4 value);

  /// Resamples the image to a size of width x height pixels.
  ///
  ///     sx = W / width, sy = H / height (W x H: the source's size; all arithmetic in double precision)
  ///     nearest:   dst[x, y] = src[trunc(x * sx + 0.5), trunc(y * sy + 0.5)]
  ///     bilinear:  x0 = floor(x * sx), dx = x * sx - x0, x1 = x0 + 1; the same downward
  ///                top = trunc(src[x0, y0] * (1 - dx) + src[x1, y0] * dx), bottom likewise from row y1
  ///                dst[x, y] = trunc(top * (1 - dy) + bottom * dy)
  ///
  /// Columns and rows beyond the last are the last. Pixel centres are not offset: dst[0, 0] is src[0, 0].
  ///
  /// mode     palette indices are never blended: CM_INDEX images are resampled to the nearest pixel whatever the mode.
  /// dst      is created with the source's model, bits, channel bits and palette. Where the mode is unknown, the
  ///          samples have more than 32 bits, or float samples are to be blended, it is created and all 0. Without a
  ///          source, with one of 0 columns or rows, and with a size below 1 it stays as it is.
  ///          Of an image whose model is unknown nothing can be created: dst is empty.
  /// returns  nearest: 1, or 0 in the cases above. Bilinear: always 0, also when dst holds the whole result.
  /// cost     one pass; tables for one row and one column, bilinear also two rows of samples.
  int Resize(int width, int height, CPxImage& dst, INTERPOLATION mode);

  /// Resamples the image by a factor, without blending.
  ///
  ///     dst[x, y] = src[trunc(x / factor), trunc(y / factor)]
  ///     width of dst = trunc(W * factor + 0.5), height likewise; in double precision, with 1 / factor formed once
  ///
  /// pixels   more than 32 bits a sample too.
  /// factor   above 0 and finite, and such that neither size becomes 0.
  /// dst      is created as by the other form. Of an image whose model is unknown nothing can be created: dst is empty
  ///          and the result 1.
  /// returns  1; 0 for another factor, without a source and for one of 0 columns or rows (dst as it was).
  /// cost     one pass; tables for one row and one column.
  int Resize(float factor, CPxImage& dst);

  /// Fills dst, at the size it has, with a magnified view of the image scrolled by origin.
  ///
  ///     r = float(1 / factor);  dst[x, y] = src[trunc((x + origin.x) * r) - trunc(origin.x * r), the same downward]
  ///
  /// The products are formed in double precision. dst[0, 0] is src[0, 0] always; origin sets where the blocks of equal
  /// pixels begin. Columns and rows outside the source are its nearest ones.
  ///
  /// dst      must be created and have pixels of as many bytes as the source's. Its model, palette and row padding
  ///          stay.
  /// pixels, cost: as Resize by a factor.
  /// returns  as Resize by a factor; 0 also where dst does not fit, and nothing is written then.
  int ResizeEx(float factor, CPoint origin, CPxImage& dst);

  /// Mirrors the image in place.
  ///
  /// pixels   1 to 8, 16 or 32 bits a sample.
  /// flag     any other value changes nothing and succeeds.
  /// returns  1; 0 for other pixels (the image unchanged).
  /// cost     one pass. Vertical no memory, else a table and memory for one row.
  int Flip(FLIP_FLAG flag);

  /// Moves the image's content in place; what is uncovered takes the background colour.
  ///
  ///     image[x, y] = old[x - offset.x, y - offset.y] where that lies inside, else the background
  ///
  /// Each byte of the background is one sample as it stands: 255 is 255 in 16-bit and float images too.
  ///
  /// returns  1. 0 where fewer than two columns or two rows of the old content would remain: the whole image is then
  ///          background. 0 beyond 32 bits a sample (unchanged). With a model of unknown channel count, offset.x
  ///          (unchanged).
  /// cost     one pass, memory for one row.
  int Shift(CPoint offset);

 private:
  unsigned char backColor_[4] = {};
};
