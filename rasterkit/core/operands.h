#pragma once
// What most operations do first with their images.

#include <rasterkit/core/processing_base.h>

#include "rasterkit/core/dispatch.h"

#include <optional>

namespace rasterkit {

/// The channel counts an operation takes, and where it reads the count: the image's member, or its colour model.
struct Channels {
  int least;
  int most;
  enum Source { ofMember, ofModel } source = ofMember;
};

/// Whether the operation looks at the area of interest.
enum class AreaOfInterest { ignored, honoured };

/// The images of an operation that reads a source and fills a destination.
///
/// Constructed, it is either ready: dst has the source's shape, palette, channel bits and row padding, and samples to
/// be written; or refused: dst is a copy of the source, or untouched where there is no source. dst may be the source:
/// then it holds the source's samples still. dst may also be the area of interest, which is read as it was before.
///
///     Operands operands(*this, dst, {1, 4});
///     if (!operands) return 0;
class Operands {
 public:
  Operands(CPxImageProcessingBase& self, CPxImage& dst, Channels accepted,
           AreaOfInterest areaOfInterest = AreaOfInterest::ignored);
  Operands(const Operands&) = delete;
  Operands& operator=(const Operands&) = delete;

  explicit operator bool() const { return ready_; }
  /// Makes dst a copy of the source after all, and gives 0. Only before anything is written to dst.
  int refuse();
  /// Gives dst the source's samples: for operations that leave some pixels as they were.
  void copySamples();

  const CPxImage& source() const { return *source_; }
  int channels() const { return channels_; }
  /// One byte a pixel, 0 where dst keeps the source's pixel; without rows where there is no area of interest.
  View<const std::uint8_t> mask() const { return mask_; }

 private:
  bool takeMask(CPxImage* areaOfInterest);

  const CPxImage* source_;
  CPxImage& dst_;
  int channels_ = 0;
  bool ready_ = false;
  std::optional<CPxImage> maskCopy_;  // where dst is the area of interest
  View<const std::uint8_t> mask_;
};

/// The image that an operation changes in place; null where it is missing or its rows do not hold that many channels.
CPxImage* processable(CPxImage* image, int channels);

/// Whether the image is created, has this many channels by its member or its model, and rows that hold them.
bool accepts(const CPxImage& image, Channels accepted, int& channels);

}  // namespace rasterkit
