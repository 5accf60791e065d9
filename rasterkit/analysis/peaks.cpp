#include <rasterkit/analysis/peaks.h>

#include "rasterkit/analysis/peaks_kernels.h"
#include "rasterkit/core/kernels.h"
#include "rasterkit/core/numbers.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace rasterkit {
namespace {

int magnitude(int a) { return a < 0 ? wrappedDifference(0, a) : a; }

int limitedDifference(int a, int b) {
  const std::int64_t difference = std::int64_t{a} - b;
  return static_cast<int>(
      limited<std::int64_t>(difference, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// Smoothing -----------------------------------------------------------------------------------------------------------

// out[i] = mean of in over [i - half, i + half], as far as that lies within [0, n). in and out do not overlap.
void smoothOnce(const int* in, int* out, std::int64_t n, std::int64_t half, std::vector<std::uint32_t>& sums) {
  sums.resize(static_cast<std::size_t>(n) + 1);
  sums[0] = 0;
  for (std::int64_t i = 0; i < n; ++i) sums[i + 1] = sums[i] + static_cast<std::uint32_t>(in[i]);

  const std::int64_t left = std::min(half, n), right = std::max(left, n - half);  // whole spans lie between
  const auto shortened = [&](std::int64_t from, std::int64_t to) {
    for (std::int64_t i = from; i < to; ++i) {
      const std::int64_t first = std::max<std::int64_t>(i - half, 0), end = std::min(i + half + 1, n);
      out[i] = static_cast<int>(sums[end] - sums[first]) / static_cast<int>(end - first);
    }
  };
  shortened(0, left);
  shortened(right, n);
  if (left < right)
    kernels<PeaksKernels>().meanOfSpan(sums.data(), static_cast<int>(2 * half + 1), out + left,
                                       static_cast<std::size_t>(right - left));
}

// The same with half = 2, for 5 bins or more.
void smoothByFive(const int* in, int* out, int n) {
  const auto sum = [in](std::initializer_list<int> bins) {
    std::uint32_t total = 0;
    for (const int i : bins) total += static_cast<std::uint32_t>(in[i]);
    return static_cast<int>(total);
  };
  out[0] = sum({0, 1, 2}) / 3;
  out[1] = sum({0, 1, 2, 3}) / 4;
  kernels<PeaksKernels>().meanOfFive(in, out + 2, static_cast<std::size_t>(n - 4));
  out[n - 2] = sum({n - 4, n - 3, n - 2, n - 1}) / 4;
  out[n - 1] = sum({n - 3, n - 2, n - 1}) / 3;
}

void smoothOnce(const int* in, int* out, int n, int half, std::vector<std::uint32_t>& sums) {
  if (half == 2 && n >= 5)
    smoothByFive(in, out, n);
  else
    smoothOnce(in, out, std::int64_t{n}, std::int64_t{half}, sums);
}

bool equal(const int* a, const int* b, int n) {
  return n <= 0 || std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof(int)) == 0;
}

// Box smoothing of n bins within [from, to]. The buffers take turns; what lies outside the range is that of the one
// written last.
void smooth(const int* source, int* destination, int n, int passes, int half, int from, int to) {
  from = std::max(from, 0);
  if (to < 0 || to > n - 1) to = n - 1;
  from = std::min(from, to + 1);
  const int count = to - from + 1;
  std::vector<int> temporary(source, source + n);
  std::vector<std::uint32_t> sums;
  int *in = temporary.data(), *out = destination;

  for (; passes > 0; --passes) {
    if (count > 0) smoothOnce(in + from, out + from, count, std::max(half, 0), sums);
    std::swap(in, out);
    // Where nothing changes any more, all that is left is whose turn it is.
    if (equal(in + from, out + from, count)) passes = passes % 2 == 0 ? 2 : 1;
  }
  if (in != destination) std::copy_n(in, n, destination);
}

void differences(int* buffer, int first, int last) {
  if (!buffer) return;
  for (int i = first; i <= last; ++i) buffer[i] = wrappedDifference(buffer[i + 1], buffer[i]);
}

// Extrema -------------------------------------------------------------------------------------------------------------

// Walks along the curve, on a circular axis about twice round, and reports where a rise ends in a fall or a fall in a
// rise: extremum(isPeak, position), the middle of the plateau between them; false from it ends the walk.
template <class F>
void eachExtremum(const int* curve, int n, bool circular, F extremum) {
  if (!curve || n < 2) return;
  int slope = 0, start = 0;  // of the plateau, once there was a slope
  int i = 0, j = 1;
  for (std::int64_t step = 1;; ++step) {
    const int d = wrappedDifference(curve[j], curve[i]);
    if (d != 0) {
      if (slope != 0 && (d < 0) == (slope > 0)) {
        std::int64_t position = start <= i ? start + (i - start) / 2 : start + (std::int64_t{n} - start + i) / 2;
        if (position >= n) position -= n;
        if (!extremum(d < 0, static_cast<int>(position))) return;
      }
      start = j;
      slope = d;
    }
    ++i;
    ++j;
    if (circular) {
      if (j == n) j = 0;
      if (i == n) i = 0;
      if (step + 1 == 2 * std::int64_t{n}) return;
    } else if (j == n) {
      return;
    }
  }
}

// The same up to the first extremum that is met again.
template <class F>
void eachNewExtremum(const int* curve, int n, bool circular, F extremum) {
  std::vector<bool> peaks, valleys;
  if (circular && n > 0) {
    peaks.resize(static_cast<std::size_t>(n));
    valleys.resize(static_cast<std::size_t>(n));
  }
  eachExtremum(curve, n, circular, [&](bool isPeak, int position) {
    if (circular) {  // a linear axis is walked along once
      auto met = (isPeak ? peaks : valleys)[static_cast<std::size_t>(position)];
      if (met) return false;
      met = true;
    }
    return extremum(isPeak, position);
  });
}

bool hasMorePeaksThan(int most, const int* curve, int n, bool circular) {
  int count = 0;
  eachNewExtremum(curve, n, circular, [&](bool isPeak, int) { return !isPeak || ++count <= most; });
  return count > most;
}

// Smooths by five bins until there are few enough peaks.
void smoothAway(int most, int* curve, int n, bool circular) {
  if (!curve) return;
  std::vector<int> other(static_cast<std::size_t>(n));
  std::vector<std::uint32_t> sums;
  int *in = curve, *out = other.data();
  while (hasMorePeaksThan(most, in, n, circular)) {
    smoothOnce(in, out, n, 2, sums);
    std::swap(in, out);
    if (equal(in, out, n)) break;  // only where sums wrap: otherwise the curve becomes flat
  }
  if (in != curve) std::copy_n(in, n, curve);
}

// A peak takes over a neighbour that is merged into it, which is no higher: records come in order of density.
void merge(CPxHistogramDensity& group, const CPxHistogramDensity& record) {
  group.nextPosition = record.nextPosition;
  group.nextDensity = record.nextDensity;
}

// Groups of neighbours: a record that starts(k) begins one, any other is merged into the one before.
template <class F>
std::vector<CPxHistogramDensity> grouped(const std::vector<CPxHistogramDensity>& records, F starts) {
  std::vector<CPxHistogramDensity> groups;
  for (std::size_t k = 0; k < records.size(); ++k) {
    if (groups.empty() || starts(k))
      groups.push_back(records[k]);
    else
      merge(groups.back(), records[k]);
  }
  return groups;
}

// Merges records that rise little above the minimum before them. In each round the limit is 0.1 % of the peak higher;
// rounds that would merge nothing are passed over, and where no round would, it ends.
std::vector<CPxHistogramDensity> prominent(std::vector<CPxHistogramDensity> records, int peak, std::size_t most) {
  const auto limitOf = [peak](int level) { return level * 0.001 * peak; };
  for (int level = 6;;) {
    const int limit = truncated(limitOf(level));
    records = grouped(records, [&](std::size_t k) { return records[k].GetPrevDensityDiff() > limit; });
    if (records.size() <= most || peak <= 0) return records;

    int least = records[1].GetPrevDensityDiff();
    for (const auto& record : records)
      if (&record != &records[0]) least = std::min(least, record.GetPrevDensityDiff());
    int low = level, high = std::numeric_limits<int>::max();  // the level after low up to high that reaches least
    while (high - low > 1) {
      const int middle = low + (high - low) / 2;
      (limitOf(middle) < least ? low : high) = middle;
    }
    level = high;
    if (truncated(limitOf(level)) < least) return records;
  }
}

// Records -------------------------------------------------------------------------------------------------------------

// Null where the host left a slot without one.
CPxHistogramDensity* recordAt(const CPtrArray& records, int index) {
  return static_cast<CPxHistogramDensity*>(records[index]);
}

// Of the records from one end on, as long as their positions are passed, the last one.
template <class F>
CPxHistogramDensity* lastPassed(const CPtrArray& records, bool upward, F isPassed) {
  CPxHistogramDensity* last = nullptr;
  for (int n = records.GetSize(), i = 0; i < n; ++i) {
    CPxHistogramDensity* const record = recordAt(records, upward ? i : n - 1 - i);
    if (!record) continue;
    if (!isPassed(record->position)) break;
    last = record;
  }
  return last;
}

constexpr auto kAnyPosition = [](int) { return true; };

void append(CPtrArray& records, const CPxHistogramDensity& record) {
  auto copy = std::make_unique<CPxHistogramDensity>(record);
  records.Add(copy.get());
  copy.release();
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

// CPxHistogramDensity -------------------------------------------------------------------------------------------------

CPxHistogramDensity::~CPxHistogramDensity() = default;

int CPxHistogramDensity::GetPrevDensityDiff() const { return magnitude(wrappedDifference(previousDensity, density)); }
int CPxHistogramDensity::GetNextDensityDiff() const { return magnitude(wrappedDifference(nextDensity, density)); }
int CPxHistogramDensity::GetDensityDiff() const { return wrappedSum(GetPrevDensityDiff(), GetNextDensityDiff()); }

int CPxHistogramDensity::CompareDensity(const void* a, const void* b) {
  return limitedDifference(static_cast<const CPxHistogramDensity*>(b)->density,
                           static_cast<const CPxHistogramDensity*>(a)->density);
}

int CPxHistogramDensity::ComparePosition(const void* a, const void* b) {
  return limitedDifference(static_cast<const CPxHistogramDensity*>(b)->position,
                           static_cast<const CPxHistogramDensity*>(a)->position);
}

// CPxHistogramProcessing ----------------------------------------------------------------------------------------------

CPxHistogramProcessing::CPxHistogramProcessing(const CPxHistogramProcessing& other) : CPxHistogramProcessing() {
  copy(other);
}

CPxHistogramProcessing& CPxHistogramProcessing::operator=(const CPxHistogramProcessing& other) {
  if (this != &other) copy(other);
  return *this;
}

CPxHistogramProcessing::~CPxHistogramProcessing() {
  for (CPtrArray* const records : {&maxima_, &minima_, &validMaxima_}) RemoveHDArray(*records);
}

void CPxHistogramProcessing::copy(const CPxHistogramProcessing& other) {
  histogram_ = other.histogram_;
  minIntervalRatio_ = other.minIntervalRatio_;
  maxRawMaximaCount_ = other.maxRawMaximaCount_;
  maxValidMaximaCount_ = other.maxValidMaximaCount_;
  for (const auto array :
       {&CPxHistogramProcessing::maxima_, &CPxHistogramProcessing::minima_, &CPxHistogramProcessing::validMaxima_}) {
    RemoveHDArray(this->*array);
    for (int i = 0; i < (other.*array).GetSize(); ++i)
      if (const auto* const record = recordAt(other.*array, i)) append(this->*array, *record);
  }
}

int CPxHistogramProcessing::Smooth(int passes, HIST_FLAG flag, int halfWidth, int from, int to) {
  if (!histogram_ || flag < HIST_SMOOTHED || flag > HIST_DIFF3) return 0;
  histogram_->CreateBuffer(flag);
  const HIST_FLAG below = static_cast<HIST_FLAG>(flag - 1);
  if (below != HIST_RAW && !histogram_->computed(below)) Smooth(passes, below, halfWidth, from, to);

  const int n = histogram_->GetBinCount();
  int* const smoothed = histogram_->GetBuffer(HIST_SMOOTHED);
  switch (flag) {
    case HIST_SMOOTHED:
      if (smoothed && histogram_->IsCreated())
        smooth(histogram_->GetBuffer(HIST_RAW), smoothed, n, passes, halfWidth, from, to);
      break;
    case HIST_DIFF1: differences(smoothed, 0, n - 2); break;
    case HIST_DIFF2: differences(histogram_->GetBuffer(HIST_DIFF2), 1, n - 2); break;
    default: differences(histogram_->GetBuffer(HIST_DIFF3), 1, n - 3); break;
  }
  histogram_->computed(flag) = 1;
  return 1;
}

int CPxHistogramProcessing::FindMaximaMinima() {
  if (!histogram_) return 0;
  if (!histogram_->computed(HIST_SMOOTHED)) Smooth(1, HIST_SMOOTHED, 2, -1, -1);

  smoothAway(maxRawMaximaCount_, histogram_->GetBuffer(HIST_SMOOTHED), histogram_->GetBinCount(), circular());
  SetMaxMinArray();

  const auto link = [this](CPtrArray& records, CPtrArray& others) {
    for (int i = 0; i < records.GetSize(); ++i) {
      CPxHistogramDensity* const record = recordAt(records, i);
      if (const CPxHistogramDensity* const previous = GetPrevHDArray(others, record->position)) {
        record->previousPosition = previous->position;
        record->previousDensity = previous->density;
      }
      if (const CPxHistogramDensity* const next = GetNextHDArray(others, record->position)) {
        record->nextPosition = next->position;
        record->nextDensity = next->density;
      }
    }
  };
  link(maxima_, minima_);
  link(minima_, maxima_);
  SetValidMaxMinArray();
  return 1;
}

void CPxHistogramProcessing::SaveHistogram(const char* path, HIST_FLAG flag) {
  CStdioFile file(path, CStdioFile::modeCreate | CStdioFile::modeReadWrite | CStdioFile::typeText);
  if (const int* const buffer = histogram_ ? histogram_->GetBuffer(flag) : nullptr)
    for (int i = 0; i < histogram_->GetBinCount(); ++i) file.WriteString((std::to_string(buffer[i]) + "\n").c_str());
  file.Close();
}

int CPxHistogramProcessing::SetMaxMinArray() {
  RemoveHDArray(maxima_);
  RemoveHDArray(minima_);
  if (!histogram_) return 0;
  const int* const smoothed = histogram_->GetBuffer(HIST_SMOOTHED);
  eachNewExtremum(smoothed, histogram_->GetBinCount(), circular(), [&](bool isPeak, int position) {
    append(isPeak ? maxima_ : minima_, CPxHistogramDensity(position, smoothed[position]));
    return true;
  });
  return maxima_.GetSize();
}

int CPxHistogramProcessing::SetValidMaxMinArray() {
  RemoveHDArray(validMaxima_);
  if (!histogram_) return 0;
  std::vector<CPxHistogramDensity> records;
  for (int i = 0; i < maxima_.GetSize(); ++i)
    if (const auto* const record = recordAt(maxima_, i)) records.push_back(*record);
  if (records.empty()) return 0;
  std::ranges::stable_sort(
      records, [](const auto& a, const auto& b) { return CPxHistogramDensity::CompareDensity(&a, &b) < 0; });
  for (int i = 0, k = 0; i < maxima_.GetSize(); ++i)
    if (auto* const record = recordAt(maxima_, i)) *record = records[static_cast<std::size_t>(k++)];

  const auto most = static_cast<std::size_t>(maxValidMaximaCount_);
  if (records.size() > most) {
    const int n = histogram_->GetBinCount();
    const int minGap = truncated(n * minIntervalRatio_);
    records = grouped(records, [&](std::size_t k) {
      int distance = magnitude(wrappedDifference(records[k].position, records[k - 1].position));
      if (circular()) distance = std::min(distance, wrappedDifference(n, distance));
      return distance > minGap;
    });
    records = prominent(std::move(records), histogram_->GetMaxValue(nullptr, 0, -1, HIST_RAW), most);
  }
  for (const CPxHistogramDensity& record : records) append(validMaxima_, record);
  return 1;
}

CPxHistogramDensity* CPxHistogramProcessing::GetPrevHDArray(CPtrArray& records, int position) {
  auto* const before = lastPassed(records, true, [=](int passed) { return passed < position; });
  return before || !circular() ? before : lastPassed(records, true, kAnyPosition);
}

CPxHistogramDensity* CPxHistogramProcessing::GetNextHDArray(CPtrArray& records, int position) {
  auto* const after = lastPassed(records, false, [=](int passed) { return passed > position; });
  return after || !circular() ? after : lastPassed(records, false, kAnyPosition);
}

void CPxHistogramProcessing::RemoveHDArray(CPtrArray& records) {
  for (int i = 0; i < records.GetSize(); ++i) delete recordAt(records, i);
  records.RemoveAll();
}

int CPxHistogramProcessing::DeleteAtHDArray(CPtrArray& records, int index) {
  if (index > records.GetSize()) return 0;
  delete recordAt(records, index);
  records.RemoveAt(index);
  return 1;
}
