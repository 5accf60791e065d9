#pragma once
/// Edges: how fast samples change from one side of a pixel to the other.

#include <rasterkit/core/processing_base.h>

/// pixels   1 to 4 channels; 8-bit, 16-bit, float. Channels are independent, alpha included.
/// dst      takes the source's shape; may be the source itself.
/// returns  1; 0 without a source (dst untouched), outside 1 to 4 channels or beyond 32 bits a sample (dst is then a
///          copy of the source).
class RASTERKIT_API CPxEdgeDetection : public CPxImageProcessingBase {
 public:
  CPxEdgeDetection() = default;
  explicit CPxEdgeDetection(CPxImage* image) : CPxImageProcessingBase(image) {}

  enum PREWITT_FLAG : int {
    PREWITT_DIAGONAL = 0,    ///< edges from upper left to lower right
    PREWITT_HORIZONTAL = 1,  ///< horizontal edges
    PREWITT_VERTICAL = 2,    ///< vertical edges
  };
  enum SOBEL_FLAG : int {
    SOBEL_DIAGONAL = 0,    ///< edges from lower left to upper right: not those of PREWITT_DIAGONAL
    SOBEL_HORIZONTAL = 1,  ///< horizontal edges
    SOBEL_VERTICAL = 2,    ///< vertical edges
  };

  /// The size of a weighted difference of the two sides (Prewitt 1970), edge samples repeated outward.
  ///
  ///     diagonal     0  1  2      horizontal   1  1  1      vertical  -1  0  1
  ///                 -1  0  1                   0  0  0                -1  0  1
  ///                 -2 -1  0                  -1 -1 -1                -1  0  1
  ///
  ///     dst = limit(|sum|, 0, 255 or 65535); every processed sample of a float image becomes -1
  ///
  /// mask     honoured: where it is 0, dst keeps the source's pixel. One that does not fit the source: 0, dst a copy.
  /// flag     any other: 0, dst untouched.
  /// cost     one pass; memory for 3 rows.
  int Prewitt(CPxImage& dst, PREWITT_FLAG flag);

  /// The same with twice the weight in the middle (Sobel 1968).
  ///
  ///     diagonal    -2 -2  0      horizontal   1  2  1      vertical  -1  0  1
  ///                 -2  0  2                   0  0  0                -2  0  2
  ///                  0  2  2                  -1 -2 -1                -1  0  1
  ///
  ///     dst = limit(|sum| / 2 (diagonal) or |sum|, 0, 255 or 65535); float images as Prewitt
  ///
  /// mask, flag and cost as Prewitt.
  int Sobel3(CPxImage& dst, SOBEL_FLAG flag);

  /// How far a sample stands out from its eight neighbours.
  ///
  ///     dst = limit((8 src - sum of the neighbours) / 8, 0, 255), truncated; 0 on the frame of one pixel
  ///
  /// The limit is 255 in all sample classes. Float samples are summed in double precision, row by row, left to right;
  /// NaN gives 0. Images below 3 pixels in width or height become 0. The mask is not looked at.
  /// cost     one pass; memory for 3 rows.
  int Laplacian3(CPxImage& dst);

  /// These are not offered: they return 0 and touch nothing.
  int FeiChen(CPxImage& dst);
  int Laplacian3Minus(CPxImage& dst);
  int Laplacian3Prewitt(CPxImage& dst);
  int Laplacian3_4(CPxImage& dst);
  int Laplacian5(CPxImage& dst);
  int Laplacian9(CPxImage& dst);
  int MedianSquare2x2(CPxImage& dst);
  int PixelDifference(CPxImage& dst);
  int Roberts2(CPxImage& dst);
  int SeperatedPixelDifference(CPxImage& dst);
  int ShadowMask(CPxImage& dst);
};
