#pragma once
/// Erosion, dilation, opening and closing with a flat square.

#include <rasterkit/core/processing_base.h>

/// The structuring element is the square of side 2 size + 1 around the pixel; beyond the image the edge samples are
/// repeated.
///
/// pixels   1 to 4 channels; 8-bit, 16-bit, float. Channels are ranked independently, alpha included, so a result may
///          be a colour that the source does not have. Floats rank by IEEE 754 totalOrder: -0 before +0, NaN above
///          infinity, or below -infinity with its sign set.
/// size     0 copies, 1 is 3 x 3; any size up to the greatest int, also beyond the image. Negative: 0, dst untouched.
/// dst      takes the source's shape; may be the source itself.
/// cost     the same for every size, less for small ones; memory for at most 2 size + 2 rows (with size columns more on
///          either side), in place too, and for two more with a mask; Open and Close for as many again while that is
///          less than a megabyte.
class RASTERKIT_API CPxMorphologicProcessing : public CPxImageProcessingBase {
 public:
  CPxMorphologicProcessing() = default;
  explicit CPxMorphologicProcessing(CPxImage* image) : CPxImageProcessingBase(image) {}

  /// The least sample of the square around each pixel, channel by channel.
  ///
  ///     dst[x, y, c] = min of src[x + i, y + j, c],  i and j from -size to size
  ///
  /// mask     honoured: where it is 0, dst keeps the source's pixel.
  /// returns  1; 0 for a negative size or without a source (dst untouched); 0 outside 1 to 4 channels, beyond 32 bits a
  ///          sample, or with a mask that does not fit the source (dst is then a copy of the source).
  int Erode(CPxImage& dst, int size);

  /// The greatest sample of the square around each pixel, channel by channel.
  ///
  ///     dst[x, y, c] = max of src[x + i, y + j, c],  i and j from -size to size
  ///
  /// Mask and returns as Erode.
  int Dilate(CPxImage& dst, int size);

  /// Erodes, then dilates: removes what is brighter than its surroundings and narrower than the square.
  ///
  ///     dst = max of (min of src over the square) over the square
  ///
  /// mask     not looked at.
  /// returns  1; 0 for a negative size, without a source, outside 1 to 4 channels or beyond 32 bits a sample (dst
  ///          untouched).
  int Open(CPxImage& dst, int size);

  /// Dilates, then erodes: fills what is darker than its surroundings and narrower than the square.
  ///
  ///     dst = min of (max of src over the square) over the square
  ///
  /// Mask and returns as Open.
  int Close(CPxImage& dst, int size);
};
