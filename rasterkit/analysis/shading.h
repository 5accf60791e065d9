#pragma once
/// Correction of uneven illumination.

#include <rasterkit/core/processing_base.h>

/// Corrects an image in place with a blank image: a picture of an evenly lit empty field. Threads: as the base class.
class RASTERKIT_API CIMPShadingCorrect : public CPxImageProcessingBase {
 public:
  CIMPShadingCorrect() = default;
  explicit CIMPShadingCorrect(CPxImage* image) : CPxImageProcessingBase(image) {}
  CIMPShadingCorrect(const CIMPShadingCorrect&) = default;
  CIMPShadingCorrect& operator=(const CIMPShadingCorrect&) = default;
  virtual ~CIMPShadingCorrect();

  /// Copies the blank image and computes the mean of each of its channels. Null changes nothing.
  ///
  /// Means of float images begin at the means that are there: calling it twice adds to them.
  void SetBlankImage(const CPxImage* blank);
  /// The object's own copy.
  CPxImage* GetBlankImage() { return &blank_; }

  /// Corrects the image.
  ///
  ///     1 channel:                        s = blank * s / mean
  ///     3 channels, 8-bit:                s = mean * s / blank
  ///     3 channels, 16-bit; 4 channels:   s = mean / (blank * s); the fourth channel stays
  ///
  /// in whole numbers, quotients truncated, mean that of the channel, rounded. Products wrap in 32 bits; results are
  /// limited to the greatest sample, and the low 8 bits of that are stored, in 16-bit images too. Samples of 0, and
  /// those whose divisor is 0, stay as they are.
  ///
  /// pixels   8-bit and 16-bit; images of 2 channels and float images stay as they are. The channel count is the
  ///          model's. Rows of the blank image are read as samples of the image's type.
  /// returns  1; 0 without a blank image, for one of another width or height, or of pixels of another size in bytes
  ///          (the image unchanged).
  /// cost     one pass, no memory.
  int ShadingCorrect();

 protected:
  /// Computes the means of the object's blank image, whatever the argument; 0 where there is none.
  int GetMean(CPxImage* ignored);

 private:
  float mean_[4] = {};
  CPxImage blank_;
};
