#include "rasterkit/core/count.h"

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/plane_kernels.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>
#include <vector>

namespace rasterkit {
namespace {

// Tallies tell how often each value came. They are raised through handles, copied for each row: what a counter of one
// byte stores might otherwise be, to the compiler, the place of the counters.

// Neighbouring pixels are often alike, and a counter cannot be raised again before it has been stored: several tables
// take turns, and are summed at the end.
class ByteTally {
  static constexpr std::size_t kTurns = 8;
  using Table = std::uint32_t[256];

 public:
  struct Counters {
    Table* tables;
    void add(std::uint8_t value, std::size_t turn) const { ++tables[turn % kTurns][value]; }
    void addSeveral(std::uint8_t value, std::uint32_t count) const { tables[0][value] += count; }
  };
  Counters counters() { return {tables_}; }

  std::uint32_t operator[](std::size_t value) const {
    std::uint32_t sum = 0;
    for (const Table& table : tables_) sum += table[value];
    return sum;
  }

 private:
  Table tables_[kTurns] = {};
};

// A counter is a byte, so that most of them stay in the nearest cache; what it cannot hold is counted apart.
class WordTally {
 public:
  struct Counters {
    std::uint8_t* low;
    std::uint32_t* rest;
    void add(std::uint16_t value, std::size_t) const {
      if (++low[value] == 0) [[unlikely]]
        rest[value] += 256;
    }
    void addSeveral(std::uint16_t value, std::uint32_t count) const { rest[value] += count; }
  };
  Counters counters() { return {low_.data(), rest_.data()}; }

  std::uint32_t operator[](std::size_t value) const { return rest_[value] + low_[value]; }

 private:
  std::vector<std::uint8_t> low_ = std::vector<std::uint8_t>(65536);
  std::vector<std::uint32_t> rest_ = std::vector<std::uint32_t>(65536);
};

// Tells the tally n values that stand side by side, eight bytes of equal ones at once. Pairs are not asked whether they
// are equal: a counter is raised again half as often as it is, so that this costs more than it saves.
template <class Value, bool arePairs = false, class Tally>
void tallyRow(const void* row, std::size_t n, Tally& tally) {
  constexpr std::size_t kAtOnce = 8 / sizeof(Value);
  const auto counters = tally.counters();
  const auto* bytes = static_cast<const unsigned char*>(row);
  const auto value = [&](std::size_t i) {
    Value loaded;
    std::memcpy(&loaded, bytes + i * sizeof(Value), sizeof loaded);
    return loaded;
  };
  for (; n >= kAtOnce; n -= kAtOnce, bytes += 8) {
    std::uint64_t values;
    std::memcpy(&values, bytes, sizeof values);
    if (!arePairs && values == std::rotl(values, 8 * int{sizeof(Value)})) {
      counters.addSeveral(value(0), kAtOnce);
      continue;
    }
    for (std::size_t i = 0; i < kAtOnce; ++i) counters.add(value(i), i);
  }
  for (std::size_t i = 0; i < n; ++i) counters.add(value(i), i);
}

// Rows of one channel's samples, side by side; one at a time.
template <class S>
class ChannelRows {
 public:
  using Extract = void (*)(const S* pixels, int channels, int plane, S* samples, std::size_t n);

  ChannelRows(View<const S> in, int channel, Extract extract)
      : in_(in),
        channel_(channel),
        extract_(extract),
        line_(in.channels == 1 || in.height == 0 ? 0 : static_cast<std::size_t>(in.width)) {}

  const S* operator[](int y) {
    if (in_.channels == 1) return in_.row(y);
    extract_(in_.row(y), in_.channels, channel_, line_.data(), line_.size());
    return line_.data();
  }

 private:
  View<const S> in_;
  int channel_;
  Extract extract_;
  std::vector<S> line_;
};

}  // namespace

void countValues(View<const std::uint8_t> in, int channel, std::uint32_t* counts, int n) {
  ChannelRows<std::uint8_t> rows(in, channel, kernels<PlaneKernels>().extract8);
  const auto width = static_cast<std::size_t>(in.width);
  // Many bytes are counted in pairs, as words: half as many counters are raised.
  constexpr std::size_t kMany = std::size_t{1} << 19;
  std::optional<WordTally> pairs;
  if (width * static_cast<std::size_t>(in.height) >= kMany) pairs.emplace();
  const std::size_t paired = pairs ? width / 2 * 2 : 0;

  ByteTally bytes;
  for (int y = 0; y < in.height; ++y) {
    const std::uint8_t* const row = rows[y];
    if (pairs) tallyRow<std::uint16_t, true>(row, paired / 2, *pairs);
    tallyRow<std::uint8_t>(row + paired, width - paired, bytes);
  }

  std::uint32_t found[256];
  for (std::size_t v = 0; v < 256; ++v) found[v] = bytes[v];
  for (std::size_t pair = 0; pairs && pair < 65536; ++pair) {
    found[pair & 0xFF] += (*pairs)[pair];
    found[pair >> 8] += (*pairs)[pair];
  }
  for (int v = 0; v < std::min(n, 256); ++v) counts[v] += found[v];
}

void countValues(View<const std::uint16_t> in, int channel, std::uint32_t* counts, int n) {
  ChannelRows<std::uint16_t> rows(in, channel, kernels<PlaneKernels>().extract16);
  WordTally words;
  for (int y = 0; y < in.height; ++y) tallyRow<std::uint16_t>(rows[y], static_cast<std::size_t>(in.width), words);
  for (int v = 0; v < std::min(n, 65536); ++v) counts[v] += words[static_cast<std::size_t>(v)];
}

}  // namespace rasterkit
