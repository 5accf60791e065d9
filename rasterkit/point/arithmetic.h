#pragma once
/// Sums, differences, products and quotients of samples, in place.

#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

/// Changes the samples of the bound image inside a rectangle.
///
/// constants   ADD, SUB and MUL bring every result to the 8-bit range, whatever the sample class: 16-bit and float
///             images too hold whole numbers from 0 to 255 afterwards. ADD limits above only and SUB below only; what
///             lies beyond the other end is stored by its low 8 bits, so that 10 - 20 by ADD is 246. Whole numbers are
///             calculated in 32 bits, wrapping; float constants in single precision. A float image with a whole
///             constant: in single precision, truncated, then limited. NaN, and what 32 bits cannot hold, is stored as
///             0, unless it was limited before.
/// pixels      1, 3 and 4 channels of 8-bit and 16-bit samples, alpha included; float samples as each method says.
///             Images of other types stay as they are, and the result is 1. The channel count is the colour model's.
/// rect        (-1, -1, -1, -1) is the whole image. For constants right and bottom belong to the rectangle, and edges
///             may be given in either order; for DIV and OR see there.
/// returns     1; 0 for a rectangle outside the image.
/// cost        one pass, no memory. The area of interest is not looked at.
class RASTERKIT_API CPxArithmeticProcessing : public CPxImageProcessingBase {
 public:
  CPxArithmeticProcessing() = default;
  explicit CPxArithmeticProcessing(CPxImage* image) : CPxImageProcessingBase(image) {}

  /// s = low 8 bits of min(s + k, 255). Float samples with 1 channel.
  int ADD(int k, CRect rect);
  /// s = low 8 bits of min(s + k, 255) truncated. Float samples with 1 channel.
  int ADD(float k, CRect rect);
  /// s = low 8 bits of max(s - k, 0). Float samples with 1 channel.
  int SUB(int k, CRect rect);
  /// s = low 8 bits of max(s - k, 0) truncated. Float samples with 1 channel.
  int SUB(float k, CRect rect);
  /// s = s * k, limited to 0 and 255. Float samples with 1 channel.
  int MUL(int k, CRect rect);
  /// s = s * k + 0.5, limited to 0 and 255, truncated: the product in single, the sum in double precision. Float
  /// samples with 1 channel.
  int MUL(float k, CRect rect);

  /// Divides by the samples of another image.
  ///
  ///     whole numbers:  s = s / (o + 1), truncated
  ///     float:          s = s * (o * 0.00392156862745098), in double precision: o weights s on the scale 0 to 255
  ///
  /// rect     the other image's pixel (0, 0) lies on (rect.left, rect.top), also when these are negative. Right and
  ///          bottom belong to it, but one column, one row, left > right, top > bottom and a rectangle that starts in
  ///          the last column or row are refused; only (-1, -1, -1, -1) is the whole image where that is one column
  ///          or row.
  /// other    may be of another size: only the part that both have is processed; and of another type, if its pixel has
  ///          as many bytes: it is read as the image's type. May be the image itself.
  /// pixels   1, 3 and 4 channels of 8-bit, 16-bit or float samples.
  /// returns  1; 0 for a refused rectangle, or another image that is not created or has a pixel of another size.
  int DIV(CPxImage& other, CRect rect);
  /// s = s | o for 8-bit and 16-bit samples; otherwise as DIV.
  int OR(CPxImage& other, CRect rect);

  /// These return 1 and change nothing.
  int AND(CPxImage& other, CRect rect);
  int NOT(CPxImage& other, CRect rect);
  int XOR(CPxImage& other, CRect rect);
  int DIV(int k, CRect rect);
  int DIV(float k, CRect rect);
};
