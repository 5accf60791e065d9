#include <rasterkit/point/lookup_tables.h>

#include "rasterkit/core/count.h"
#include "rasterkit/core/operands.h"

namespace rasterkit {
namespace {

// One record for each block of counters, or none where there is no memory.
CArray<_PP_LOOKUP_TABLE> recordsOf(std::vector<std::vector<unsigned int>>& counters) {
  CArray<_PP_LOOKUP_TABLE> records;
  records.SetSize(static_cast<int>(counters.size()));
  for (int i = 0; i < records.GetSize(); ++i) {
    auto& counts = counters[static_cast<std::size_t>(i)];
    records[i] = {counts.data(), static_cast<int>(counts.size())};
  }
  return records;
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

CPxPointProcessing::CPxPointProcessing(const CPxPointProcessing& other)
    : CPxImageProcessingBase(other), counters_(other.counters_), tables_(recordsOf(counters_)) {}

CPxPointProcessing& CPxPointProcessing::operator=(const CPxPointProcessing& other) {
  if (this == &other) return *this;
  RemoveAll();
  CPxImageProcessingBase::operator=(other);
  auto counters = other.counters_;
  tables_ = recordsOf(counters);
  counters_ = std::move(counters);
  return *this;
}

void CPxPointProcessing::RemoveAll() {
  tables_.RemoveAll();
  std::vector<std::vector<unsigned int>>().swap(counters_);
}

int CPxPointProcessing::CalLookupTable() {
  RemoveAll();
  const CPxImage* const image = GetImage();
  int channels = 0;
  if (!image || !Storage::holdsItsPixels(*image) || !accepts(*image, {1, 4}, channels) || image->bitsPerSample > 16)
    return 0;
  const auto values = std::size_t{1} << image->bitsPerSample;
  std::vector<std::vector<unsigned int>> counters(static_cast<std::size_t>(channels),
                                                  std::vector<unsigned int>(values));
  byWholeSampleType(image->bitsPerSample, [&]<class S>() {
    for (int channel = 0; channel < channels; ++channel)
      countValues(viewOf<S>(*image, channels), channel, counters[static_cast<std::size_t>(channel)].data(),
                  static_cast<int>(values));
    return 1;
  });
  tables_ = recordsOf(counters);
  counters_ = std::move(counters);
  return 1;
}
