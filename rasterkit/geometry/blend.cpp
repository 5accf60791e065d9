#include "rasterkit/geometry/blend.h"

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/kernels.h"
#include "rasterkit/core/numbers.h"
#include "rasterkit/geometry/resample_kernels.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace rasterkit {
namespace {

template <class S>
const BlendRows<S>& blendRows() {
  const ResampleKernels& table = kernels<ResampleKernels>();
  if constexpr (std::is_same_v<S, std::uint8_t>) return table.bytes;
  if constexpr (std::is_same_v<S, std::uint16_t>) return table.words;
}

bool isWhole(double value) { return value == std::floor(value); }

// Each entry so many times.
template <class T>
std::vector<T> repeated(const std::vector<T>& entries, std::size_t times) {
  std::vector<T> all;
  all.reserve(entries.size() * times);
  for (const T& entry : entries) all.insert(all.end(), times, entry);
  return all;
}

}  // namespace

Axis::Axis(int from, int to)
    : first(static_cast<std::size_t>(to)), second(static_cast<std::size_t>(to)), share(static_cast<std::size_t>(to)) {
  const double scale = static_cast<double>(from) / to;
  for (std::size_t i = 0; i < share.size(); ++i) {
    const double position = static_cast<double>(i) * scale, whole = std::floor(position);
    first[i] = std::min(truncated(whole), from - 1);
    second[i] = std::min(first[i] + 1, from - 1);
    share[i] = position - whole;
  }
}

template <class S>
Weights<S>::Weights(const std::vector<double>& share) : weight(share.size()), stands(share.size()) {
  constexpr double unrounded = std::is_same_v<S, std::uint8_t> ? 0x1p45 : 0x1p16;
  for (std::size_t i = 0; i < share.size(); ++i)
    if (!isWhole(share[i] * unrounded)) rounded = i + 1;
  if (rounded == share.size()) return;

  if (!std::ranges::all_of(share, [](double d) { return isWhole(d * 0x1p16); })) {
    std::vector<std::uint32_t> cut(share.size());
    std::ranges::transform(share, cut.begin(), [](double d) { return static_cast<std::uint32_t>(d * 0x1p32); });
    kernels<ResampleKernels>().weigh(cut.data(), weight.data(), stands.data(), cut.size());
  }
  for (std::size_t i = 0; i < share.size(); ++i) {
    if (!isWhole(share[i] * 0x1p16)) continue;
    weight[i] = static_cast<std::uint16_t>(truncated(share[i] * 0x1p16));
    stands[i] = 1;
  }
  std::fill_n(stands.begin(), rounded, std::uint8_t{0});
}

template <class S>
Across<S>::Across(const Axis& axis, int width, int channels)
    : first_(axis.first, width, channels * static_cast<int>(sizeof(S))) {
  if (std::ranges::all_of(axis.share, [](double d) { return d == 0; })) return;
  second_.emplace(axis.second, width, channels * static_cast<int>(sizeof(S)));

  const auto each = static_cast<std::size_t>(channels);
  a_.resize(axis.share.size() * each);
  b_.resize(a_.size());
  const Weights<S> weights(axis.share);
  weight_ = repeated(weights.weight, each);
  rounded_ = weights.rounded * each;
  const auto stands = repeated(weights.stands, each);
  for (std::size_t i = rounded_; i < stands.size(); ++i)
    if (!stands[i]) exceptions_.push_back(i);
  if (rounded_ == 0 && exceptions_.empty()) return;
  share_ = repeated(axis.share, each);
  keep_.resize(share_.size());
  std::ranges::transform(share_, keep_.begin(), [](double d) { return 1 - d; });
}

template <class S>
const S* Across<S>::operator()(const S* row, S* room) {
  if (!second_) {
    if (first_.inOrder()) return row;
    first_.pick(row, room);
    return room;
  }
  first_.pick(row, a_.data());
  second_->pick(row, b_.data());
  const BlendRows<S>& kernel = blendRows<S>();
  kernel.across(a_.data(), b_.data(), keep_.data(), share_.data(), room, rounded_);
  kernel.acrossWhole(a_.data() + rounded_, b_.data() + rounded_, weight_.data() + rounded_, room + rounded_,
                     a_.size() - rounded_);
  for (const std::size_t i : exceptions_) room[i] = static_cast<S>(truncated(a_[i] * keep_[i] + b_[i] * share_[i]));
  return room;
}

template <class S>
void Down<S>::operator()(const S* a, const S* b, std::size_t y, S* out, std::size_t n) const {
  if (share_[y] == 0)
    copyBytes(out, a, n * sizeof(S));
  else if (weights_.stands[y])
    blendRows<S>().downWhole(a, b, weights_.weight[y], out, n);
  else
    blendRows<S>().down(a, b, 1 - share_[y], share_[y], out, n);
}

template struct Weights<std::uint8_t>;
template struct Weights<std::uint16_t>;
template class Across<std::uint8_t>;
template class Across<std::uint16_t>;
template class Down<std::uint8_t>;
template class Down<std::uint16_t>;

}  // namespace rasterkit
