#include <rasterkit/point/lookup_tables.h>

#include "rasterkit/core/count.h"
#include "rasterkit/core/operands.h"

#include <algorithm>

using namespace rasterkit;

CPxPointProcessing::CPxPointProcessing(const CPxPointProcessing& other)
    : CPxImageProcessingBase(other), counters_(other.counters_) {
  point();
}

CPxPointProcessing& CPxPointProcessing::operator=(const CPxPointProcessing& other) {
  if (this == &other) return *this;
  RemoveAll();
  CPxImageProcessingBase::operator=(other);
  counters_ = other.counters_;
  point();
  return *this;
}

// One record for each block of counters.
void CPxPointProcessing::point() {
  for (auto& counts : counters_) tables_.Add({counts.data(), static_cast<int>(counts.size())});
}

void CPxPointProcessing::RemoveAll() {
  tables_.RemoveAll();
  counters_ = {};
}

int CPxPointProcessing::CalLookupTable() {
  RemoveAll();
  const CPxImage* const image = GetImage();
  int channels = 0;
  if (!image || !Storage::holdsItsPixels(*image) || !accepts(*image, {1, 4}, channels) || image->bitsPerSample > 16)
    return 0;
  const auto values = std::size_t{1} << std::max(image->bitsPerSample, 0);
  std::vector<std::vector<unsigned int>> counters(static_cast<std::size_t>(channels),
                                                  std::vector<unsigned int>(values));
  byWholeSampleType(image->bitsPerSample, [&]<class S>() {
    for (int channel = 0; channel < channels; ++channel)
      countValues(viewOf<S>(*image, channels), channel, counters[static_cast<std::size_t>(channel)].data(),
                  static_cast<int>(values));
    return 1;
  });
  counters_ = std::move(counters);
  point();
  return 1;
}
