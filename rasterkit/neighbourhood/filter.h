#pragma once
/// Smoothing, sharpening and rank filters of 3 x 3 neighbours.

#include <rasterkit/geometry/regions.h>
#include <rasterkit/neighbourhood/convolution.h>

/// Also convolves, and fills as CPxDrawing does.
///
/// pixels   1 to 4 channels; 8-bit, 16-bit, float. Channels are independent, alpha included.
/// dst      takes the source's shape; may be the source itself.
/// returns  1; 0 without a source (dst untouched), outside 1 to 4 channels or beyond 32 bits a sample (dst is then a
///          copy of the source).
class RASTERKIT_API CPxFilter : public CPxConvolution {
 public:
  CPxFilter() = default;
  explicit CPxFilter(CPxImage* image) : CPxConvolution(image) {}

  /// Smooths a little, edge samples repeated outward.
  ///
  ///     dst = 0.75 src + 0.03125 (sum of the eight neighbours), truncated
  ///
  /// Every processed sample of a float image becomes -1.
  /// mask     honoured: where it is 0, dst keeps the source's pixel. One that does not fit the source: 0, dst a copy.
  /// cost     one pass; memory for 3 rows.
  int Blur(CPxImage& dst);

  /// Enhances what stands out, edge samples repeated outward.
  ///
  ///     dst = limit(1.8f src - 0.1f (sum of the eight neighbours), 0, 255 or 65535), truncated
  ///
  /// The weights are the single-precision numbers, which sum to a little less than 1: a flat 200 becomes 199. Every
  /// sample of a float image becomes -1. The mask is not looked at.
  /// cost     one pass; memory for 3 rows.
  int Sharpen(CPxImage& dst);

  /// The median of 3 x 3 samples, channel by channel: removes what is smaller than half of them, keeps edges.
  ///
  ///     dst[x, y, c] = the fifth least of src[x + i, y + j, c],  i and j from -1 to 1
  ///
  /// The outermost rows and columns keep the source's samples; an image of fewer than three of either is copied. Floats
  /// rank by IEEE 754 totalOrder: -0 before +0, NaN above infinity, or below -infinity with its sign set. The mask is
  /// not looked at.
  /// cost     one pass, no memory (for a row, if the image has three); in place, for 4 rows.
  int Median(CPxImage& dst);

  /// The median where a sample stands out from its neighbours, else the sample: removes impulse noise, leaves the rest.
  ///
  ///     dst[x, y, c] = |8 src[x, y, c] - sum of its eight neighbours| > threshold ? the median : src[x, y, c]
  ///
  /// Of floats the eight differences from the neighbours are added in double, rows top to bottom and left to right, and
  /// the total is truncated to a 32-bit integer after each of them; the magnitude of the least one, to which NaN and
  /// what no integer holds truncate, counts as 2147483648. So a NaN is always replaced.
  ///
  /// threshold  0 replaces every sample that is not the mean of its neighbours (of floats: whose total is not 0), a
  ///            negative one every sample. The outermost rows and columns keep the source's samples. The mask is not
  ///            looked at.
  /// cost       as Median.
  int RemoveRandomNoise(CPxImage& dst, int threshold);

  /// Fills a rectangle of the bound image, or the pixels that a mask selects: CPxDrawing::SetFill.
  template <rasterkit::PixelValue Value>
  int SetFill(Value value, CRect rect) {
    return CPxDrawing(GetImage()).SetFill(value, rect);
  }
  template <rasterkit::PixelValue Value>
  int SetFill(Value value, CPxImage& mask) {
    return CPxDrawing(GetImage()).SetFill(value, mask);
  }
};
