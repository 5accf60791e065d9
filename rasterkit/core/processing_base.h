#pragma once
/// The common base of all operation classes.

#include <rasterkit/core/image.h>

/// Points an operation at its images: the source (for in-place operations also the target), an optional area of
/// interest, an optional collection. It owns none of them; the caller keeps them alive while the object is used.
///
/// The area of interest is an image of one channel, at most 8 bits and the source's size; operations that honour it
/// leave every pixel where it is 0 as it was. Setters store the pointer and check nothing.
///
/// Operations return 1 for success and 0 for failure. Without a source, or with one that is not created, they return 0
/// and touch nothing, unless they say otherwise. Any two of the images may be the same one: the result is that of
/// separate images.
///
/// Threads: distinct objects on distinct images may be used from distinct threads at once; one object, or two that
/// share an image which one of them changes, may not.
class RASTERKIT_API CPxImageProcessingBase {
 public:
  CPxImageProcessingBase() = default;
  explicit CPxImageProcessingBase(CPxImage* image, CPxImage* areaOfInterest = nullptr)
      : image_(image), areaOfInterest_(areaOfInterest) {}
  explicit CPxImageProcessingBase(CPxImageArray* images, CPxImage* areaOfInterest = nullptr)
      : images_(images), areaOfInterest_(areaOfInterest) {}

  void SetImage(CPxImage* image) { image_ = image; }
  CPxImage* GetImage() { return image_; }
  const CPxImage* GetImage() const { return image_; }
  void SetImageArray(CPxImageArray* images) { images_ = images; }
  CPxImageArray* GetImageArray() { return images_; }
  const CPxImageArray* GetImageArray() const { return images_; }
  void SetAOIImage(CPxImage* areaOfInterest) { areaOfInterest_ = areaOfInterest; }
  CPxImage* GetAOIImage() { return areaOfInterest_; }
  /// The row table of the area of interest; null where none is set.
  unsigned char** GetAOIImage() const;

  /// Copies one channel into a grey image.
  ///
  ///     out[x, y] = image[x, y, plane]
  ///
  /// plane    0 to channels - 1; the channel count itself, or a negative plane, gives an image of zeros.
  /// out      is created with the image's size and bits; may be the image itself.
  /// returns  1, beyond 32 bits a sample too (zeros); 0 for one channel, or a plane above the channel count (out
  ///          untouched).
  /// cost     one pass.
  int GetPlane(int plane, CPxImage& out);

  /// Copies the samples of in into one channel of the image.
  ///
  ///     image[x, y, plane] = in[x, y], sample x of each of in's rows, read as the image's sample type
  ///
  /// plane    0 to channels - 1; the channel count itself, or a negative plane, copies nothing.
  /// in       of the image's size; its model and bits are not looked at, but its pixel must have at least the bytes of
  ///          one sample of the image. May be the image itself.
  /// returns  1, beyond 32 bits a sample too (unchanged); 0 for another size, one channel, a plane above the channel
  ///          count, or a pixel of too few bytes (the image unchanged).
  /// cost     one pass, no memory; a row where in is the image itself.
  int SetPlane(int plane, CPxImage& in);

 private:
  CPxImage* image_ = nullptr;
  CPxImageArray* images_ = nullptr;
  CPxImage* areaOfInterest_ = nullptr;
};
