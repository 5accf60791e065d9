#include <rasterkit/analysis/hough.h>

#include <rasterkit/analysis/peaks.h>

#include "rasterkit/analysis/angles.h"
#include "rasterkit/analysis/hough_kernels.h"
#include "rasterkit/core/kernels.h"
#include "rasterkit/core/numbers.h"
#include "rasterkit/core/operands.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <vector>

namespace rasterkit {
namespace {

constexpr DWORD kLeastStart = std::numeric_limits<std::int32_t>::max();

// DWORD is a type of its own on one system, of the same 32 bits.
std::uint32_t* counters(DWORD* row) { return reinterpret_cast<std::uint32_t*>(row); }
const std::uint32_t* counters(const DWORD* row) { return reinterpret_cast<const std::uint32_t*>(row); }

// The pixels that are not 0, collected and then voted for angle by angle: the counters of one angle stay in the nearest
// cache while thousands of points vote.
class Voters {
 public:
  explicit Voters(std::size_t most) : x_(most), y_(most), weight_(most) {}

  bool full() const { return size_ == x_.size(); }
  void add(int x, int y, std::uint32_t weight) {
    x_[size_] = x;
    y_[size_] = y;
    weight_[size_++] = weight;
  }

  template <class RowOf>
  void vote(double scale, int cells, RowOf rowOf) {
    const auto row = kernels<HoughKernels>().vote;
    for (int t = 0; t < kAngles && size_ > 0; ++t)
      row(x_.data(), y_.data(), weight_.data(), size_,
          VoteAngle{kSines[t], kCosines[t], scale, static_cast<double>(cells / 2), cells}, counters(rowOf(t)));
    size_ = 0;
  }

 private:
  std::vector<double> x_, y_;  // whole, but multiplied with each sine and cosine
  std::vector<std::uint32_t> weight_;
  std::size_t size_ = 0;
};

// f(x, value) for the bytes of a row that are not 0.
template <class F>
void eachSet(const std::uint8_t* row, int width, F f) {
  for (int x = 0; x < width;) {
    std::uint64_t eight = 1;
    if (width - x >= 8) std::memcpy(&eight, row + x, sizeof eight);
    const int end = std::min(x + 8, width);
    if (eight == 0) {
      x = end;
      continue;
    }
    for (; x < end; ++x)
      if (row[x] != 0) f(x, row[x]);
  }
}

// The peaks of a histogram; positions in the order of the valid maxima.
std::vector<int> peakPositions(CPxHistogram& histogram, double minIntervalRatio, int maxValidMaximaCount) {
  CPxHistogramProcessing processing(&histogram);
  processing.SetMinIntervalRatio(minIntervalRatio);
  processing.SetMaxValidMaximaCount(maxValidMaximaCount);
  processing.Smooth(10, HIST_SMOOTHED, 2, -1, -1);
  processing.FindMaximaMinima();
  std::vector<int> positions;
  const CPtrArray& maxima = processing.GetValidMaximaArray();
  for (int i = 0; i < maxima.GetSize(); ++i)
    positions.push_back(static_cast<const CPxHistogramDensity*>(maxima[i])->position);
  return positions;
}

// Null where the host left a slot without one.
CPxHoughLine* lineAt(const CPtrArray& lines, int index) { return static_cast<CPxHoughLine*>(lines[index]); }

CPxHoughLine& append(CPtrArray& lines, const CPxHoughLine& line) {
  auto copy = std::make_unique<CPxHoughLine>(line);
  lines.Add(copy.get());
  return *copy.release();
}

// The ends of the line x * co + y * si = rho within a W x H image, y upward.
void clip(double rho, double co, double si, int width, int height, CPoint& first, CPoint& second) {
  const int right = width - 1, top = height - 1;
  if (std::fabs(co) == 1.0) {
    first = CPoint(truncated((rho - top * si) * (1 / co)), top);
    second = CPoint(truncated((rho - 0 * si) * (1 / co)), 0);
    if (first.x < 0)
      first = CPoint(0, truncated(rho / si));
    else if (first.x > right)
      first = CPoint(right, truncated((rho - right * co) / si));
    if (second.x < 0)
      second = CPoint(0, truncated(rho / si));
    else if (first.x >= right)  // the first end's column decides
      second = CPoint(right, truncated((rho - right * co) / si));
  } else {
    first = CPoint(0, truncated(rho * (1 / si)));
    second = CPoint(right, truncated((rho - right * co) * (1 / si)));
    for (CPoint* const end : {&first, &second}) {
      if (end->y > top)
        *end = CPoint(truncated((rho - top * si) / co), top);
      else if (end->y < 0)
        *end = CPoint(truncated(rho / co), 0);
    }
  }
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

// CPxHoughImage -------------------------------------------------------------------------------------------------------

CPxHoughImage::~CPxHoughImage() { Remove(); }

CPxHoughImage& CPxHoughImage::operator=(const CPxHoughImage& other) {
  Remove();
  Create(other.rhoCount_, other.thetaCount_);
  for (int t = 0; t < thetaCount_; ++t) std::copy_n(other.row(t), rhoCount_, row(t));
  return *this;
}

void CPxHoughImage::Create(int rhoCount, int thetaCount) {
  Remove();
  if (rhoCount < 1 || thetaCount < 1) return;
  cells_ = static_cast<DWORD*>(
      std::calloc(static_cast<std::size_t>(thetaCount), (static_cast<std::size_t>(rhoCount) + 1) * sizeof(DWORD)));
  rows_ = static_cast<DWORD**>(std::calloc(static_cast<std::size_t>(thetaCount), sizeof(DWORD*)));
  if (!cells_ || !rows_) {
    Remove();
    throw std::bad_alloc();
  }
  rhoCount_ = rhoCount;
  thetaCount_ = thetaCount;
  for (int t = 0; t < thetaCount; ++t) rows_[t] = row(t);
}

void CPxHoughImage::Remove() {
  std::free(cells_);
  std::free(rows_);
  Initialize();
}

void CPxHoughImage::Initialize() {
  rows_ = nullptr;
  cells_ = nullptr;
  rhoCount_ = thetaCount_ = 0;
}

DWORD* CPxHoughImage::row(int theta) const {
  return cells_ + static_cast<std::size_t>(theta) * (static_cast<std::size_t>(rhoCount_) + 1);
}

DWORD CPxHoughImage::GetAt(int rho, int theta) const {
  return holdsRho(rho) && holdsTheta(theta) ? row(theta)[rho] : 0;
}

void CPxHoughImage::SetAt(int rho, int theta, DWORD counter) {
  if (holdsRho(rho) && holdsTheta(theta)) row(theta)[rho] = counter;
}

DWORD CPxHoughImage::GetMax() const {
  DWORD result = 0;
  for (int t = 0; t < thetaCount_; ++t) result = std::max(result, GetThetaMax(t));
  return result;
}

DWORD CPxHoughImage::GetMin() const {
  DWORD result = kLeastStart;
  for (int t = 0; t < thetaCount_; ++t) result = std::min(result, GetThetaMin(t));
  return result;
}

double CPxHoughImage::GetMean() const {
  if (!IsCreated()) return 0;
  std::uint64_t sum = 0;
  for (int t = 0; t < thetaCount_; ++t)
    sum += kernels<HoughKernels>().sum(counters(row(t)), static_cast<std::size_t>(rhoCount_));
  return static_cast<double>(sum) / static_cast<double>(std::int64_t{rhoCount_} * thetaCount_);
}

DWORD CPxHoughImage::GetRhoMax(int rho) const {
  DWORD result = 0;
  for (int t = 0; t < thetaCount_; ++t) result = std::max(result, GetAt(rho, t));
  return result;
}

DWORD CPxHoughImage::GetRhoMin(int rho) const {
  DWORD result = kLeastStart;
  if (holdsRho(rho))
    for (int t = 0; t < thetaCount_; ++t) result = std::min(result, GetAt(rho, t));
  return result;
}

double CPxHoughImage::GetRhoMean(int rho) const {
  if (!holdsRho(rho)) return 0;
  std::uint64_t sum = 0;
  for (int t = 0; t < thetaCount_; ++t) sum += GetAt(rho, t);
  return static_cast<double>(sum) / thetaCount_;
}

DWORD CPxHoughImage::GetThetaMax(int theta) const {
  const DWORD* const cells = GetThetaBuffer(theta);
  return cells ? kernels<HoughKernels>().greatest(counters(cells), static_cast<std::size_t>(rhoCount_)) : 0;
}

DWORD CPxHoughImage::GetThetaMin(int theta) const {
  const DWORD* const cells = GetThetaBuffer(theta);
  return cells ? kernels<HoughKernels>().least(counters(cells), static_cast<std::size_t>(rhoCount_)) : kLeastStart;
}

double CPxHoughImage::GetThetaMean(int theta) const {
  const DWORD* const cells = GetThetaBuffer(theta);
  if (!cells) return 0;
  return static_cast<double>(kernels<HoughKernels>().sum(counters(cells), static_cast<std::size_t>(rhoCount_))) /
         rhoCount_;
}

// CPxHoughTransform ---------------------------------------------------------------------------------------------------

CPxHoughTransform::CPxHoughTransform(const CPxHoughTransform& other) : CPxHoughTransform() { *this = other; }

CPxHoughTransform& CPxHoughTransform::operator=(const CPxHoughTransform& other) {
  if (this == &other) return *this;
  CPxImageProcessingBase::operator=(other);
  accumulator_ = other.accumulator_;
  rhoMaximum_ = other.rhoMaximum_;
  rhoStep_ = other.rhoStep_;
  sines_ = other.sines_;
  cosines_ = other.cosines_;
  RemoveThetaRhoArray();
  for (int i = 0; i < other.lines_.GetSize(); ++i)
    if (const CPxHoughLine* const line = lineAt(other.lines_, i)) append(lines_, *line);
  return *this;
}

CPxHoughTransform::~CPxHoughTransform() { RemoveThetaRhoArray(); }

// The image that votes, one byte a pixel; null where it cannot.
const CPxImage* CPxHoughTransform::voters() const {
  const CPxImage* const image = GetImage();
  return image && Storage::holdsItsPixels(*image) && image->width <= image->bytesPerLine ? image : nullptr;
}

void CPxHoughTransform::ComputeSINCOS() {
  sines_ = kSines;
  cosines_ = kCosines;
}

int CPxHoughTransform::Direct() {
  const CPxImage* const image = voters();
  if (!image) return 0;
  const int width = image->width, height = image->height;
  rhoMaximum_ =
      std::sqrt(static_cast<double>(wrappedSum(wrappedProduct(width, width), wrappedProduct(height, height))));
  const double extent = 2 * rhoMaximum_;
  const int cells = truncated(extent);
  const double scale = cells / extent;
  rhoStep_ = extent / cells;
  accumulator_.Create(cells, kAngles);
  ComputeSINCOS();
  if (!accumulator_.IsCreated()) return 1;

  constexpr std::size_t kVoters = 16384;
  Voters list(kVoters);
  const auto vote = [&] { list.vote(scale, cells, [this](int t) { return accumulator_.row(t); }); };
  const auto pixels = viewOf<std::uint8_t>(*image, 1);
  for (int r = 0; r < pixels.height; ++r) {
    eachSet(pixels.row(r), width, [&](int k, std::uint8_t value) {
      list.add(k + 1, height - 1 - r, value);
      if (list.full()) vote();
    });
  }
  vote();
  return 1;
}

int CPxHoughTransform::Inverse(CPxImage& out, const CPxHoughImage& peaks) {
  const CPxImage* const image = voters();
  if (!image || !processable(&out, 1) || out.channels != 1 || out.bitsPerSample > 8) return 0;
  const int width = image->width, height = image->height;
  if (!sines_ || width < 1 || height < 1) return 1;

  const auto pixels = viewOf<std::uint8_t>(out, 1);
  const int columns = std::min(width, pixels.width), rows = std::min(height, pixels.height);
  const double greatest = peaks.GetMax();
  for (int t = 0; t < std::min(peaks.thetaCount_, kAngles); ++t) {
    const double co = cosines_[t], si = sines_[t];
    const DWORD* const cells = peaks.row(t);
    for (int i = 0; i < peaks.rhoCount_; ++i) {
      if (cells[i] < 128) continue;
      const std::uint8_t grey = lowByte(truncated(cells[i] / greatest * 255));
      const double rho = i * rhoStep_ - rhoMaximum_;
      if (std::fabs(co) <= 0.5) {
        for (int x = 0; x < columns; ++x) {
          const int y = wrappedDifference(height - 1, truncated((rho - x * co) * (1 / si)));
          if (limited(y, 0, height - 1) < pixels.height) pixels.row(limited(y, 0, height - 1))[x] = grey;
        }
      } else {
        for (int row = 0; row < rows; ++row) {
          const int x = truncated((rho - (height - 1 - row) * si) * (1 / co));
          if (limited(x, 0, width - 1) < pixels.width) pixels.row(row)[limited(x, 0, width - 1)] = grey;
        }
      }
    }
  }
  return 1;
}

int CPxHoughTransform::GetDisplayImage(CPxImage& out) {
  if (!voters()) return 0;
  const int cells = accumulator_.rhoCount_;
  Storage::create(out, CM_GRAY, 8, cells, accumulator_.thetaCount_, 0, Storage::Samples::any);
  Storage::fillPadding(out, 0);
  const double greatest = accumulator_.GetMax();
  const auto pixels = viewOf<std::uint8_t>(out, 1);
  for (int t = 0; t < pixels.height; ++t)
    kernels<HoughKernels>().display(counters(accumulator_.row(t)), greatest, pixels.row(t),
                                    static_cast<std::size_t>(cells));
  return 1;
}

int CPxHoughTransform::DetectLine(CPxImage& out) {
  const CPxImage* const image = voters();
  if (!image) return 0;
  RemoveThetaRhoArray();
  const int angles = accumulator_.thetaCount_, cells = accumulator_.rhoCount_;

  // A whole counter is above a limit's whole part where it is above the limit: the limits keep their fractions.
  CPxHistogram byAngle(angles);
  const double angleLimit = 0.6 * accumulator_.GetMax();
  for (int t = 0; t < angles; ++t)
    for (int r = 0; r < cells; ++r)
      if (accumulator_.row(t)[r] > angleLimit) byAngle.AddValue(t, static_cast<int>(accumulator_.row(t)[r]), HIST_RAW);
  byAngle.SetCircularModel(1);

  CPxHoughImage peaks(cells, angles);
  for (const int t : peakPositions(byAngle, 0.05, 2)) {
    if (!sines_ || t >= kAngles) continue;  // no line is known there
    CPxHoughLine line;
    line.theta = t;
    const double limit = 0.3 * accumulator_.GetRhoMax(t);  // the cell with the angle's number
    CPxHistogram byDistance(cells);
    for (int r = 0; r < cells; ++r)
      if (accumulator_.row(t)[r] > limit) byDistance.AddValue(r, static_cast<int>(accumulator_.row(t)[r]), HIST_RAW);
    // All may stay: none are merged, and the ratio decides nothing.
    for (const int r : peakPositions(byDistance, 0.002, std::numeric_limits<int>::max())) {
      line.rhos.Add(static_cast<DWORD>(r));
      peaks.SetAt(r, t, accumulator_.GetAt(r, t));
    }
    append(lines_, line);
  }

  out.Create(CM_GRAY, 8, image->width, image->height, 0, nullptr, 0);
  Inverse(out, peaks);
  SetLineInfo();
  return 1;
}

void CPxHoughTransform::SetLineInfo() {
  const CPxImage* const image = voters();
  if (!image || !sines_) return;
  for (int i = 0; i < lines_.GetSize(); ++i) {
    CPxHoughLine* const record = lineAt(lines_, i);
    if (!record || record->theta < 0 || record->theta >= kAngles) continue;
    CPxHoughLine& line = *record;
    for (int k = 0; k < line.rhos.GetSize(); ++k) {
      const double rho = line.rhos[k] * rhoStep_ - rhoMaximum_;
      CPoint first, second;
      clip(rho, cosines_[line.theta], sines_[line.theta], image->width, image->height, first, second);
      line.firstPoints.Add(CPoint(first.x, wrappedDifference(image->height - 1, first.y)));
      line.secondPoints.Add(CPoint(second.x, wrappedDifference(image->height - 1, second.y)));
    }
  }
}

void CPxHoughTransform::RemoveThetaRhoArray() {
  for (int i = 0; i < lines_.GetSize(); ++i) delete lineAt(lines_, i);
  lines_.RemoveAll();
}
