#include "rasterkit/geometry/columns.h"

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/kernels.h"
#include "rasterkit/geometry/resample_kernels.h"

#include <algorithm>
#include <utility>

namespace rasterkit {
namespace {

// What one permute reads and writes, in bytes.
constexpr std::size_t kRead = 128;
constexpr std::size_t kWritten = 64;

}  // namespace

Columns::Columns(std::vector<std::int32_t> index, int width, int bytes)
    : index_(std::move(index)), bytes_(static_cast<std::size_t>(bytes)), inOrder_(true) {
  for (std::size_t i = 0; i < index_.size() && inOrder_; ++i) inOrder_ = index_[i] == static_cast<std::int32_t>(i);
  if (!inOrder_ && servesBytePermutes()) planPermutes(width);
}

// Blocks of as many whole pixels as 64 bytes hold, each from 128 bytes of the source row. None where some block's
// pixels lie further apart, or the row is shorter.
void Columns::planPermutes(int width) {
  const std::size_t rowBytes = static_cast<std::size_t>(width) * bytes_;
  const std::size_t pixels = kWritten / bytes_;
  if (rowBytes < kRead) return;
  for (std::size_t first = 0; first < index_.size(); first += pixels) {
    const auto begin = index_.begin() + static_cast<std::ptrdiff_t>(first);
    const std::size_t count = std::min(pixels, index_.size() - first);
    const auto [leftmost, rightmost] = std::minmax_element(begin, begin + static_cast<std::ptrdiff_t>(count));
    const std::size_t start = std::min(static_cast<std::size_t>(*leftmost) * bytes_, rowBytes - kRead);
    if ((static_cast<std::size_t>(*rightmost) + 1) * bytes_ > start + kRead) {
      starts_.clear();
      return;
    }
    starts_.push_back(static_cast<std::int32_t>(start));
    places_.resize(starts_.size() * kWritten);
    std::uint8_t* place = &places_[(starts_.size() - 1) * kWritten];
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t b = 0; b < bytes_; ++b)
        *place++ = static_cast<std::uint8_t>(static_cast<std::size_t>(begin[static_cast<std::ptrdiff_t>(i)]) * bytes_ +
                                             b - start);
    last_ = count * bytes_;
  }
  step_ = pixels * bytes_;
}

void Columns::pick(const void* in, void* out) const {
  const auto* const from = static_cast<const std::uint8_t*>(in);
  auto* const to = static_cast<std::uint8_t*>(out);
  if (inOrder_) {
    copyBytes(to, from, index_.size() * bytes_);
    return;
  }
#if RASTERKIT_HAS_VBMI
  if (!starts_.empty()) {
    vbmi::permuteKernels.permute(from, starts_.data(), places_.data(), to, starts_.size(), step_, last_);
    return;
  }
#endif
  kernels<ResampleKernels>().pick[bytes_](from, index_.data(), to, index_.size());
}

}  // namespace rasterkit
