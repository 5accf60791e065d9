#include "rasterkit/core/operands.h"

namespace rasterkit {

bool accepts(const CPxImage& image, Channels accepted, int& channels) {
  channels = accepted.source == Channels::ofMember ? image.channels : CPxImageInfo::GetChannel(image.colorModel);
  return channels >= accepted.least && channels <= accepted.most && Storage::rowsHold(image, channels);
}

CPxImage* processable(CPxImage* image, int channels) {
  return image && Storage::holdsItsPixels(*image) && Storage::rowsHold(*image, channels) ? image : nullptr;
}

Operands::Operands(CPxImageProcessingBase& self, CPxImage& dst, Channels accepted, AreaOfInterest areaOfInterest)
    : source_(self.GetImage()), dst_(dst) {
  if (!source_ || !Storage::holdsItsPixels(*source_)) {
    source_ = nullptr;
    return;
  }
  ready_ = accepts(*source_, accepted, channels_) && sampleClass(source_->bitsPerSample) != SampleClass::none &&
           (areaOfInterest == AreaOfInterest::ignored || takeMask(self.GetAOIImage()));
  if (!ready_) {
    refuse();
    return;
  }
  Storage::takeShape(dst, *source_);
  Storage::copyPadding(dst, *source_);
}

int Operands::refuse() {
  if (source_) dst_ = *source_;
  return 0;
}

void Operands::copySamples() { dst_ = *source_; }

// False where the area of interest does not fit the source.
bool Operands::takeMask(CPxImage* areaOfInterest) {
  if (!areaOfInterest) return true;
  if (!processable(areaOfInterest, 1) || areaOfInterest->channels != 1 || areaOfInterest->bitsPerSample > 8 ||
      areaOfInterest->width != source_->width || areaOfInterest->height != source_->height)
    return false;
  if (areaOfInterest == &dst_) areaOfInterest = &maskCopy_.emplace(*areaOfInterest);
  mask_ = viewOf<std::uint8_t>(static_cast<const CPxImage&>(*areaOfInterest), 1);
  return true;
}

}  // namespace rasterkit
