#pragma once
// How often each sample value occurs.

#include "rasterkit/core/view.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

namespace rasterkit {

// Adds to counts[v], for each v below n, how many of the channel's samples have the value v; wraps in 32 bits.
//
// Neighbouring pixels are often alike, and a counter cannot be raised again before it has been stored: several tables
// take turns, and are summed at the end. Where a row's samples stand side by side and eight bytes of them are equal,
// they are counted at once.
template <class S, class Count>
void countValues(View<const S> in, int channel, Count* counts, int n) {
  constexpr std::size_t kValues = std::size_t{1} << (8 * sizeof(S));
  constexpr int kTables = sizeof(S) == 1 ? 8 : 2;
  std::vector<std::uint32_t> tables(kValues * kTables);
  std::uint32_t* const table = tables.data();
  const auto step = static_cast<std::size_t>(in.channels);
  const auto width = static_cast<std::size_t>(in.width);

  for (int y = 0; y < in.height; ++y) {
    const S* row = in.row(y) + channel;
    std::size_t x = 0;
    if (step == 1) {
      constexpr std::size_t kAtOnce = 8 / sizeof(S);
      for (; x + kAtOnce <= width; x += kAtOnce, row += kAtOnce) {
        std::uint64_t samples;
        std::memcpy(&samples, row, sizeof samples);
        if (samples == std::rotl(samples, 8 * int{sizeof(S)})) {
          table[*row] += kAtOnce;
          continue;
        }
        for (std::size_t k = 0; k < kAtOnce; ++k) ++table[k % kTables * kValues + row[k]];
      }
    }
    for (; x + kTables <= width; x += kTables, row += kTables * step)
      for (std::size_t k = 0; k < kTables; ++k) ++table[k * kValues + row[k * step]];
    for (; x < width; ++x, row += step) ++table[*row];
  }

  const std::size_t used = std::min(kValues, static_cast<std::size_t>(std::max(n, 0)));
  for (std::size_t k = 0; k < kTables; ++k)
    for (std::size_t v = 0; v < used; ++v)
      counts[v] = static_cast<Count>(static_cast<std::uint32_t>(counts[v]) + table[k * kValues + v]);
}

}  // namespace rasterkit
