#pragma once
/// Weighted sums over a rectangle of neighbours.

#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

/// Applies a kernel of any size to every channel of every pixel.
///
/// kernel   size.cx x size.cy weights, row by row from the top left; not flipped: the weight in column i and row j
///          belongs to the neighbour at x - cx / 2 + i, y - cy / 2 + j (whole divisions, so even sizes reach one
///          further to the upper left). May be larger than the image. Null, or a size below 1: 0.
/// pixels   1 to 4 channels; 8-bit and 16-bit. Channels are independent, alpha included. Float images are taken too,
///          but their samples are limited to -1: every one that is processed becomes -1.
/// mask     honoured: where it is 0, dst keeps the source's pixel.
/// dst      takes the source's shape; may be the source itself.
/// returns  1; 0 without a source (dst untouched); 0 outside 1 to 4 channels, beyond 32 bits a sample, with a mask that
///          does not fit the source, without a kernel, with a whole divisor of 0, or where a whole quotient of a
///          processed pixel overflows, -2147483648 / -1 (dst is then a copy of the source).
/// cost     one multiplication and addition for each weight that is not 0; memory for size.cy rows.
class RASTERKIT_API CPxConvolution : public CPxImageProcessingBase {
 public:
  CPxConvolution() = default;
  explicit CPxConvolution(CPxImage* image) : CPxImageProcessingBase(image) {}

  enum CONVOLUTION_FLAG : int {
    CONV_CREATE_DEST = 0,    ///< as CONV_KEEP_BORDER: dst takes the source's shape in any case
    CONV_KEEP_BORDER = 1,    ///< the cx / 2 columns and cy / 2 rows along each edge keep the source's pixels
    CONV_EXTEND_BORDER = 2,  ///< they are computed too, with the edge samples repeated outward
  };

  /// The sum in whole numbers.
  ///
  ///     dst = limit(sum / divisor + offset, 0, 255 or 65535)
  ///
  /// The sum and the addition wrap in 32 bits; the division truncates toward zero. Any flag but 0 and 2 means
  /// CONV_KEEP_BORDER.
  int Convolve(int* kernel, CSize size, CPxImage& dst, int divisor, int offset, CONVOLUTION_FLAG flag);

  /// The sum in double precision.
  ///
  ///     dst = truncate(limit(sum / divisor + offset, 0, 255 or 65535))
  ///
  /// Each product, the sum (row by row, left to right), the quotient and the offset are double; NaN counts as 0, and a
  /// divisor of 0 divides as IEEE 754 has it.
  int Convolve(float* kernel, CSize size, CPxImage& dst, float divisor, float offset, CONVOLUTION_FLAG flag);

  /// The size of the quotient: as Convolve, but a negative sum / divisor + offset becomes offset - sum / divisor.
  int ConvolveABS(int* kernel, CSize size, CPxImage& dst, int divisor, int offset, CONVOLUTION_FLAG flag);
  int ConvolveABS(float* kernel, CSize size, CPxImage& dst, float divisor, float offset, CONVOLUTION_FLAG flag);
};
