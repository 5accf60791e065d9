#pragma once
/// The mean of a series of images.

#include <rasterkit/core/processing_base.h>

/// Averages the images of the bound collection, which may be repeated exposures, to reduce noise.
class RASTERKIT_API CPxAveraging : public CPxImageProcessingBase {
 public:
  CPxAveraging() = default;
  explicit CPxAveraging(CPxImageArray* images) : CPxImageProcessingBase(images) {}

  /// Mode 0 is AveragingAverage; any other returns 0 and leaves dst untouched.
  int Averaging(CPxImage& dst, int mode);

  /// The mean of each sample over the series.
  ///
  ///     dst[x, y, c] = (1 / count) * (s0 + s1 + ...)
  ///
  /// in single precision, the sum taken in the collection's order and the result truncated.
  /// The last row and the last column become 0 in every channel. One image alone is copied, whatever its type, all rows
  /// and columns of it.
  ///
  /// images   1, 3 or 4 channels of 8-bit or 16-bit samples, all of the first one's width, height, channel count and
  ///          sample class.
  /// dst      takes the first image's shape and palette; may be an image of the series. The area of interest is not
  ///          looked at.
  /// returns  1; 0 for no images or a first one that is not created (dst untouched); 0 for other types or a series that
  ///          does not fit together (dst is then a copy of the first image).
  /// cost     one pass over all images at once, no memory but a destination of its own where dst is one of them.
  int AveragingAverage(CPxImage& dst);

  /// These return 0 and leave dst untouched.
  int AveragingAccumulation(CPxImage& dst);
  int AveragingMinMax(CPxImage& dst);
};
