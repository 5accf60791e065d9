#include <rasterkit/point/tone.h>

#include <rasterkit/point/arithmetic.h>

#include "rasterkit/core/application.h"
#include "rasterkit/core/numbers.h"
#include "rasterkit/core/operands.h"
#include "rasterkit/core/region.h"
#include "rasterkit/point/sample_map.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rasterkit {
namespace {

// entry(i), within 0 and n - 1, for n entries.
template <class Entry>
void makeEntries(ToneTable& table, int n, Entry entry) {
  table.release();  // before there is memory for new ones: there may be none
  if (n < 1) return;
  std::vector<int> entries(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) entries[static_cast<std::size_t>(i)] = std::clamp(truncated(entry(i)), 0, n - 1);
  table.entries = std::move(entries);
}

// What every sample of S becomes: the low bits of its entry, or itself beyond the table.
template <class S>
std::vector<S> mapping(const std::vector<int>& entries) {
  std::vector<S> map(std::size_t{std::numeric_limits<S>::max()} + 1);
  for (std::size_t i = 0; i < map.size(); ++i)
    map[i] = static_cast<S>(i < entries.size() ? static_cast<std::size_t>(entries[i]) : i);
  return map;
}

int remap(CPxImage* image, const CRect& rect, const ToneTable& table) {
  if (!image || table.entries.empty()) {
    constexpr unsigned int okWithExclamation = 0x30;
    Application::instance().showMessage(kTableMissingText, okWithExclamation);
    return 0;
  }
  const int channels = CPxImageInfo::GetChannel(image->colorModel);
  if (!Storage::holdsItsPixels(*image) || !Storage::rowsHold(*image, channels)) return 0;
  const auto region = meansWhole(rect) ? wholeRegion(*image) : inclusiveRegion(rect, *image);
  if (!region) return 0;
  if ((channels != 1 && channels != 3 && channels != 4) || image->bitsPerSample > 16) return 1;

  return byWholeSampleType(image->bitsPerSample, [&]<class S>() {
    const auto map = mapKernel<S>();
    View<S> part = within(viewOf<S>(*image, channels), *region);
    joinRows(part);
    const std::vector<S> to = mapping<S>(table.entries);
    for (int y = 0; y < part.height; ++y) map(part.row(y), part.samples(), to.data());
    return 1;
  });
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

CPxBrightnessProcessing::~CPxBrightnessProcessing() = default;

int CPxBrightnessProcessing::Brightness(int value) {
  CPxArithmeticProcessing arithmetic(GetImage());
  const CRect whole(-1, -1, -1, -1);
  return value > 0 ? arithmetic.ADD(value, whole) : arithmetic.SUB(wrappedDifference(0, value), whole);
}

CPxContrastProcessing::~CPxContrastProcessing() = default;

int CPxContrastProcessing::SetCoefficient(float coefficient) {
  table_.coefficient = coefficient;
  return 1;
}

int CPxContrastProcessing::CreateVectorTable(int n) {
  const double factor = table_.coefficient;
  makeEntries(table_, n, [=](int i) { return i * factor + 0.5; });
  return 1;
}

int CPxContrastProcessing::Contrast(CRect rect) { return remap(GetImage(), rect, table_); }

int CPxContrastProcessing::AutoContrast() { return 0; }

CPxGammaProcessing::~CPxGammaProcessing() = default;

int CPxGammaProcessing::SetCoefficient(float coefficient) {
  table_.coefficient = coefficient;
  return 1;
}

int CPxGammaProcessing::CreateVectorTable(int n) {
  const double exponent = table_.coefficient;
  makeEntries(table_, n, [=](int i) { return std::pow(static_cast<double>(i), exponent); });
  return 1;
}

int CPxGammaProcessing::Gamma(CRect rect) { return remap(GetImage(), rect, table_); }
