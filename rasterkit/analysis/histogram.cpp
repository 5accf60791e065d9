#include <rasterkit/analysis/histogram.h>

#include "rasterkit/core/count.h"
#include "rasterkit/core/dispatch.h"
#include "rasterkit/core/numbers.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

namespace rasterkit {
namespace {

int* zeros(int n) {
  void* const block = std::calloc(static_cast<std::size_t>(n), sizeof(int));
  if (!block) throw std::bad_alloc();
  return static_cast<int*>(block);
}

// The range [from, to) of n bins.
struct Range {
  Range(int from_, int to_, int n) : from(std::max(from_, 0)), to(to_ < 0 || to_ > n ? n : to_) {}
  int from;
  int to;
};

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

CPxHistogram::CPxHistogram(int nBins) : CPxHistogram() { Create(nBins); }
CPxHistogram::CPxHistogram(const CPxImage& image, int channel) : CPxHistogram() { Create(image, channel); }
CPxHistogram::CPxHistogram(const CPxHistogram& other) : CPxHistogram() { *this = other; }
CPxHistogram::~CPxHistogram() { Remove(); }

CPxHistogram& CPxHistogram::operator=(const CPxHistogram& other) {
  Remove();
  if (other.binCount_ == 0) return *this;
  Create(other.binCount_);
  SetBuffer(other.buffers_[HIST_RAW], HIST_RAW);
  return *this;
}

void CPxHistogram::Create(int nBins) {
  Remove();
  if (nBins < 1) return;
  buffers_[HIST_RAW] = zeros(nBins);
  binCount_ = nBins;
}

void CPxHistogram::Create(const CPxImage& image, int channel) {
  Remove();
  if (!Storage::holdsItsPixels(image) || channel < 0 || channel >= std::min(image.channels, 4)) return;
  const int bits = image.channelBits[channel];
  if (bits < 0 || bits > 16) return;
  Create(1 << bits);
  try {
    SetHistogram(image, channel);
  } catch (...) {
    Remove();
    throw;
  }
}

void CPxHistogram::Initialize() {
  std::fill(std::begin(buffers_), std::end(buffers_), nullptr);
  circular_ = binCount_ = 0;
  std::fill(std::begin(computed_), std::end(computed_), 0);
}

void CPxHistogram::Remove() {
  for (int*& buffer : buffers_) {
    std::free(buffer);
    buffer = nullptr;
  }
  binCount_ = 0;
}

int CPxHistogram::SetHistogram(const CPxImage& image, int channel) {
  if (!Storage::holdsItsPixels(image) || image.channels < 1 || image.channels > 4) return 0;
  if (image.channels == 1) channel = 0;
  if (channel < 0 || channel >= image.channels || !Storage::rowsHold(image, image.channels)) return 0;
  const SampleClass samples = sampleClass(image.bitsPerSample);
  if (samples != SampleClass::byte && samples != SampleClass::word) return 0;
  if (!IsCreated()) return 1;
  auto* const counts = reinterpret_cast<std::uint32_t*>(buffers_[HIST_RAW]);
  if (samples == SampleClass::byte)
    countValues(viewOf<std::uint8_t>(image, image.channels), channel, counts, binCount_);
  else
    countValues(viewOf<std::uint16_t>(image, image.channels), channel, counts, binCount_);
  return 1;
}

void CPxHistogram::CreateBuffer(HIST_FLAG flag) {
  if (!known(flag) || binCount_ < 1) return;
  const HIST_FLAG absent = flag == HIST_DIFF3 ? HIST_RAW : flag;
  if (!buffers_[absent]) buffers_[flag] = zeros(binCount_);
}

void CPxHistogram::SetBuffer(const int* values, HIST_FLAG flag) {
  int* const buffer = GetBuffer(flag);
  if (buffer && values) std::memmove(buffer, values, static_cast<std::size_t>(binCount_) * sizeof(int));
}

int CPxHistogram::GetValue(int pos, HIST_FLAG flag) const {
  if (!known(flag)) return -1;
  const int* const element = const_cast<CPxHistogram*>(this)->at(pos, flag);
  return element ? *element : 0;
}

void CPxHistogram::SetValue(int pos, int value, HIST_FLAG flag) {
  if (int* const element = at(pos, flag)) *element = value;
}

void CPxHistogram::AddValue(int pos, int value, HIST_FLAG flag) {
  if (int* const element = at(pos, flag)) *element = wrappedSum(*element, value);
}

void CPxHistogram::SubValue(int pos, int value, HIST_FLAG flag) {
  if (int* const element = at(pos, flag)) *element = std::min(wrappedDifference(*element, value), 0);
}

int CPxHistogram::GetHighValidPosition(HIST_FLAG flag) const { return GetHighValidPosition(GetBuffer(flag)); }
int CPxHistogram::GetLowValidPosition(HIST_FLAG flag) const { return GetLowValidPosition(GetBuffer(flag)); }
int CPxHistogram::GetMaxValue(int* pPos, int from, int to, HIST_FLAG flag) const {
  return GetMaxValue(GetBuffer(flag), from, to, pPos);
}
int CPxHistogram::GetMinValue(int* pPos, int from, int to, HIST_FLAG flag) const {
  return GetMinValue(GetBuffer(flag), from, to, pPos);
}
double CPxHistogram::GetMeanValue(int from, int to, HIST_FLAG flag) const {
  return GetMeanValue(GetBuffer(flag), from, to);
}

int CPxHistogram::GetHighValidPosition(const int* buffer) const {
  if (buffer)
    for (int i = binCount_ - 1; i >= 0; --i)
      if (buffer[i] != 0) return i;
  return -1;
}

int CPxHistogram::GetLowValidPosition(const int* buffer) const {
  if (buffer)
    for (int i = 0; i < binCount_; ++i)
      if (buffer[i] != 0) return i;
  return -1;
}

int CPxHistogram::GetMaxValue(const int* buffer, int from, int to, int* pPos) const {
  if (!buffer) return 0;
  const Range range(from, to, binCount_);
  int best = 0, position = range.from;
  for (int i = range.from; i < range.to; ++i) {
    if (buffer[i] > best) {
      best = buffer[i];
      position = i;
    }
  }
  if (pPos) *pPos = position;
  return best;
}

int CPxHistogram::GetMinValue(const int* buffer, int from, int to, int* pPos) const {
  if (buffer && pPos) *pPos = Range(from, to, binCount_).from;
  return std::numeric_limits<int>::max();
}

double CPxHistogram::GetMeanValue(const int* buffer, int from, int to) const {
  if (!buffer || binCount_ < 1) return 0.0;
  const Range range(from, to, binCount_);
  std::int64_t sum = 0;
  for (int i = range.from; i < range.to; ++i) sum += buffer[i];
  return static_cast<double>(sum) / binCount_;
}
