#pragma once
/// Binary images, and images of which one side of a level is kept.

#include <rasterkit/core/processing_base.h>

/// Levels are in the source's own units for every sample class. All methods take one channel of 8-bit, 16-bit or float
/// samples; dst takes the source's shape and palette and may be the source itself. The area of interest is not looked
/// at. Threads: as the base class.
class RASTERKIT_API CPxThresholdProcessing : public CPxImageProcessingBase {
 public:
  CPxThresholdProcessing() = default;
  explicit CPxThresholdProcessing(CPxImage* image) : CPxImageProcessingBase(image) {}

  /// Binarises.
  ///
  ///     dst[x, y] = src[x, y] > level - 1 ? 255 : 0
  ///
  /// level    for whole numbers the test means "at least level"; float samples are compared with float(level - 1), NaN
  ///          fails. White is 255 in all three sample classes. Row padding becomes 0.
  /// returns  1; 0 with another channel count or beyond 32 bits a sample (dst is then a copy of the source).
  /// cost     one pass, no memory.
  int Threshold(CPxImage& dst, int level);

  /// Keeps the samples on one side of a level.
  ///
  ///     upper not 0:  dst[x, y] = src[x, y] > level - 1 ? src[x, y] : 0
  ///     upper 0:      dst[x, y] = src[x, y] < level + 1 ? src[x, y] : all bits set
  ///
  /// level    float samples are compared with float(level - 1) and float(level + 1), so those between level and the
  ///          next whole number outward are kept too; NaN is never kept. All bits set is 255, 65535 and, in float
  ///          images, a NaN. Row padding becomes 0 (upper) or 0xFF.
  /// returns  as Threshold.
  /// cost     one pass, no memory.
  int Cut(CPxImage& dst, int level, int upper);

  /// Copies the source to dst and returns 0: a partial threshold is not offered.
  int Partial(CPxImage& dst, int level);
};
