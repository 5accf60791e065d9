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
